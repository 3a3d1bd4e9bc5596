#include "jpeg/JpegDecompressor.h"

#include "Work.h"
#include "jpeg/Markers.h"

#include <algorithm>
#include <functional>
#include <limits>

namespace still_mend {

namespace {

constexpr std::uint64_t kFreeBlocks = std::uint64_t{1} << 20U;
constexpr std::uint64_t kBlocksPerByte = 8; // A block takes a bit and more, except in arithmetic coding.
constexpr std::uint64_t kFreeVisits = std::uint64_t{1} << 24U;
constexpr std::uint64_t kVisitsPerByte = 64; // A blank picture in libjpeg's own ten scans takes 20.

unsigned char code_of(const jpeg_decompress_struct& info) {
    if (info.arith_code != FALSE) {
        return info.progressive_mode != FALSE ? marker::kSof10 : marker::kSof9;
    }
    return info.progressive_mode != FALSE ? marker::kSof2 : marker::kSof1;
}

} // namespace

JpegDecompressor::~JpegDecompressor() {
    Work::add(consumed());
    jpeg_destroy_decompress(&info);
}

bool JpegDecompressor::read_header() {
    return run_jpeg(errors, [this] {
        constexpr std::size_t kMost = std::numeric_limits<unsigned long>::max();
        jpeg_create_decompress(&info);
        jpeg_mem_src(&info, jpeg_.data(), static_cast<unsigned long>(std::min(jpeg_.size(), kMost)));
        jpeg_read_header(&info, TRUE);
    });
}

Frame JpegDecompressor::frame() const {
    Frame frame;
    frame.code = code_of(info);
    frame.width = info.image_width;
    frame.height = info.image_height;
    for (int index = 0; index < info.num_components; ++index) {
        const auto& from = info.comp_info[index];
        frame.components.push_back(
            {static_cast<unsigned>(from.component_id), static_cast<unsigned>(from.h_samp_factor),
             static_cast<unsigned>(from.v_samp_factor), static_cast<unsigned>(from.quant_tbl_no)});
    }
    if (frame.components.size() == 1) {
        frame.components[0].h_samp = 1;
        frame.components[0].v_samp = 1;
    }
    return frame;
}

bool JpegDecompressor::is_affordable(const Frame& frame) {
    std::uint64_t blocks = 0;
    for (const auto& component : frame.components) {
        blocks += std::uint64_t{frame.blocks_wide(component)} * frame.blocks_high(component);
    }
    return blocks <= kFreeBlocks + kBlocksPerByte * jpeg_.size() &&
           (!jpeg_has_multiple_scans(&info) || std::uint64_t{frame.width} * frame.height <= kMaxPixels);
}

std::uint64_t JpegDecompressor::most_visits() const {
    return kFreeVisits + kVisitsPerByte * jpeg_.size();
}

std::uint64_t JpegDecompressor::blocks_of_step() const {
    std::uint64_t blocks = 0;
    for (int index = 0; index < info.comps_in_scan; ++index) {
        const auto& component = *info.cur_comp_info[index];
        blocks += std::uint64_t{component.width_in_blocks} * static_cast<unsigned>(component.v_samp_factor);
    }
    return blocks;
}

std::size_t JpegDecompressor::consumed() const {
    if (info.src == nullptr) {
        return 0;
    }
    return ran_out() ? jpeg_.size() : static_cast<std::size_t>(info.src->next_input_byte - jpeg_.data());
}

bool JpegDecompressor::ran_out() const {
    const std::less<> before;
    const JOCTET* next = info.src->next_input_byte;
    return before(next, jpeg_.data()) || before(jpeg_.data() + jpeg_.size(), next);
}

} // namespace still_mend
