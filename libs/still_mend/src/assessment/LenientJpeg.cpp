#include "assessment/LenientJpeg.h"

#include "Work.h"
#include "assessment/IntactJpeg.h"
#include "jpeg/JpegDecompressor.h"
#include "jpeg/Markers.h"

#include <algorithm>
#include <array>

namespace still_mend {

namespace {

/// Whether it is a picture that one interleaved scan can hold.
bool can_be_written(const Frame& frame) {
    const std::size_t count = frame.components.size();
    return (count == 1 || count == 3 || count == 4) && frame.blocks_per_mcu() <= kMaxBlocksPerMcu;
}

/// Counts what libjpeg decodes while it reads all scans, stops it if that is too much, and remembers how far
/// it got before anything was wrong.
struct Watch : jpeg_progress_mgr {
    explicit Watch(const JpegDecompressor& watched)
        : jpeg_progress_mgr{}, codec(watched), left(watched.most_visits()) {
        progress_monitor = [](j_common_ptr common) { static_cast<Watch*>(common->progress)->check(common); };
    }

    /// Called by libjpeg before each step.
    void check(j_common_ptr common) {
        if (codec.errors.num_warnings == 0) {
            scan = codec.info.input_scan_number;
            row = codec.info.input_iMCU_row;
            offset = codec.consumed();
        }
        const std::uint64_t blocks = codec.blocks_of_step();
        if (blocks > left) {
            exhausted = true;
            common->err->error_exit(common);
        }
        Work::add(blocks);
        left -= blocks;
    }

    const JpegDecompressor& codec;
    std::uint64_t left;
    int scan = 1;
    std::size_t row = 0;
    std::size_t offset = 0;
    bool exhausted = false;
};

/// Reads one JPEG.
class LenientReader {
  public:
    explicit LenientReader(Bytes jpeg) : jpeg_(jpeg), codec_(jpeg), watch_(codec_) {}

    std::optional<LenientJpeg> read() {
        if (!codec_.read_header()) {
            return std::nullopt;
        }
        header_end_ = codec_.consumed();
        Frame frame = codec_.frame();
        if (!can_be_written(frame) || !codec_.is_affordable(frame)) {
            return std::nullopt;
        }
        codec_.info.progress = &watch_;
        jvirt_barray_ptr* arrays = nullptr;
        if (!run_jpeg(codec_.errors, [&] { arrays = jpeg_read_coefficients(&codec_.info); }) ||
            arrays == nullptr) {
            return std::nullopt;
        }
        std::optional<LenientJpeg> picture(LenientJpeg{frame, {}, CoefficientStore(frame)});
        take_tables(*picture);
        for (std::size_t index = 0; index < frame.components.size(); ++index) {
            if (!run_jpeg(codec_.errors, [&] { copy(frame, index, arrays[index], picture->store); })) {
                return std::nullopt;
            }
        }
        describe(*picture);
        return picture;
    }

    /// After a failed read: the offset of the marker at which libjpeg had to stop, if it was after the
    /// header.
    [[nodiscard]] std::optional<std::size_t> fatal_marker() const {
        const std::size_t end = codec_.consumed();
        if (header_end_ == 0 || watch_.exhausted || codec_.info.unread_marker == 0) {
            return std::nullopt;
        }
        for (std::size_t offset = end; offset > header_end_ + 1; --offset) {
            if (jpeg_[offset - 2] == 0xFF && jpeg_[offset - 1] == codec_.info.unread_marker) {
                return offset - 2;
            }
        }
        return std::nullopt;
    }

  private:
    void take_tables(LenientJpeg& picture) const {
        for (std::size_t index = 0; index < picture.frame.components.size(); ++index) {
            auto& component = picture.frame.components[index];
            const JQUANT_TBL* table = codec_.info.comp_info[index].quant_table;
            component.quant = static_cast<unsigned>(index);
            QuantTable values;
            values.values.fill(1); // The component was in no scan.
            for (std::size_t k = 0; table != nullptr && k < 64; ++k) {
                values.values[k] = table->quantval[kNaturalOrder[k]];
            }
            picture.tables.quant[index] = values;
        }
    }

    void copy(const Frame& frame, std::size_t index, jvirt_barray_ptr array, CoefficientStore& store) {
        const auto& component = codec_.info.comp_info[index];
        const auto rows_high = std::min<std::size_t>(
            component.height_in_blocks, std::size_t{frame.mcus_high()} * frame.components[index].v_samp);
        const auto wide = std::min<std::size_t>(
            component.width_in_blocks, std::size_t{frame.mcus_wide()} * frame.components[index].h_samp);
        for (std::size_t row = 0; row < rows_high; ++row) {
            auto* const* rows = codec_.info.mem->access_virt_barray(
                reinterpret_cast<j_common_ptr>(&codec_.info), array, static_cast<JDIMENSION>(row), 1, FALSE);
            for (std::size_t column = 0; column < wide; ++column) {
                std::copy_n(rows[0][column], 64, store.block(index, row, column).begin());
            }
        }
    }

    void describe(LenientJpeg& picture) const {
        const std::size_t all = picture.frame.mcus();
        const bool undisturbed = codec_.errors.num_warnings == 0 || watch_.scan > 1;
        picture.smooth = undisturbed ? all : std::min(all, watch_.row * picture.frame.mcus_wide());
        picture.first_bad = codec_.errors.num_warnings == 0 ? codec_.consumed() : watch_.offset;
        picture.end = codec_.consumed();
        picture.eoi_found = !codec_.ran_out();
    }

    Bytes jpeg_;
    JpegDecompressor codec_;
    Watch watch_;
    std::size_t header_end_ = 0;
};

} // namespace

std::optional<LenientJpeg> read_leniently(Bytes jpeg) {
    if (!begins_as_jpeg(jpeg)) {
        return std::nullopt;
    }
    std::optional<std::size_t> marker;
    {
        LenientReader reader(jpeg);
        if (auto picture = reader.read()) {
            return picture;
        }
        marker = reader.fatal_marker();
    }
    return marker ? LenientReader(jpeg.first(*marker)).read() : std::nullopt;
}

} // namespace still_mend
