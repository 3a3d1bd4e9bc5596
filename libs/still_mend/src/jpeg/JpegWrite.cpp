#include "jpeg/JpegWrite.h"

#include "jpeg/JpegError.h"
#include "jpeg/Markers.h"

#include <algorithm>
#include <array>

namespace still_mend {

namespace {

class SegmentWriter {
  public:
    SegmentWriter(std::ostream& stream, unsigned char code) : stream_(stream), code_(code) {}

    void u8(unsigned value) { content_.push_back(static_cast<unsigned char>(value)); }
    void u16(unsigned value) {
        u8(value >> 8U);
        u8(value & 0xFFU);
    }

    void write() {
        const std::size_t length = content_.size() + 2;
        const std::array<char, 4> head{static_cast<char>(0xFF), static_cast<char>(code_),
                                       static_cast<char>(length >> 8U), static_cast<char>(length & 0xFFU)};
        stream_.write(head.data(), head.size());
        stream_.write(reinterpret_cast<const char*>(content_.data()),
                      static_cast<std::streamsize>(content_.size()));
    }

  private:
    std::ostream& stream_;
    unsigned char code_;
    std::vector<unsigned char> content_;
};

void write_quant_table(std::ostream& stream, unsigned number, const QuantTable& table) {
    const bool wide = *std::max_element(table.values.begin(), table.values.end()) > 255;
    SegmentWriter segment(stream, marker::kDqt);
    segment.u8((wide ? 0x10U : 0U) | number);
    for (const unsigned value : table.values) {
        wide ? segment.u16(value) : segment.u8(value);
    }
    segment.write();
}

void write_huffman_table(std::ostream& stream, unsigned number, const HuffmanCodes& codes) {
    SegmentWriter segment(stream, marker::kDht);
    segment.u8(number);
    for (const unsigned count : codes.counts) {
        segment.u8(count);
    }
    for (unsigned index = 0; index < codes.size(); ++index) {
        segment.u8(codes.symbols[index]);
    }
    segment.write();
}

/// Hands libjpeg's output to a stream.
struct StreamDestination : jpeg_destination_mgr {
    explicit StreamDestination(std::ostream& to) : jpeg_destination_mgr{}, stream(to) {
        init_destination = [](j_compress_ptr info) { reset(info); };
        empty_output_buffer = [](j_compress_ptr info) -> boolean {
            auto& self = of(info);
            self.write(self.buffer.size());
            reset(info);
            return TRUE;
        };
        term_destination = [](j_compress_ptr info) {
            auto& self = of(info);
            self.write(self.buffer.size() - self.free_in_buffer);
        };
    }

    static StreamDestination& of(j_compress_ptr info) { return *static_cast<StreamDestination*>(info->dest); }
    static void reset(j_compress_ptr info) {
        auto& self = of(info);
        self.next_output_byte = self.buffer.data();
        self.free_in_buffer = self.buffer.size();
    }
    void write(std::size_t count) {
        stream.write(reinterpret_cast<const char*>(buffer.data()), static_cast<std::streamsize>(count));
    }

    std::ostream& stream;
    std::array<JOCTET, 65536> buffer{};
};

/// libjpeg's compressor, destroyed on every way out.
class Compressor {
  public:
    explicit Compressor(std::ostream& stream) : destination_(stream) { info_.err = &errors_; }
    Compressor(const Compressor&) = delete;
    Compressor& operator=(const Compressor&) = delete;
    ~Compressor() { jpeg_destroy_compress(&info_); }

    void write(const Frame& frame, const Tables& tables, CoefficientStore& store,
               const std::vector<Bytes>& segments) {
        if (!run_jpeg(errors_, [&] { compress(frame, tables, store, segments); })) {
            throw JpegError{};
        }
    }

  private:
    /// Within run_jpeg.
    void compress(const Frame& frame, const Tables& tables, CoefficientStore& store,
                  const std::vector<Bytes>& segments) {
        jpeg_create_compress(&info_);
        info_.dest = &destination_;
        describe(frame, tables);
        info_.write_JFIF_header = segments.empty() && frame.components.size() != 4 ? TRUE : FALSE;
        info_.write_Adobe_marker = FALSE;
        info_.optimize_coding = TRUE;
        std::array<jvirt_barray_ptr, 4> arrays = request_arrays(frame);
        jpeg_write_coefficients(&info_, arrays.data());
        for (const Bytes segment : segments) {
            jpeg_write_marker(&info_, segment[1], segment.data() + 4,
                              static_cast<unsigned>(segment.size() - 4));
        }
        for (std::size_t index = 0; index < frame.components.size(); ++index) {
            fill(frame, index, arrays[index], store);
            store.release(index);
        }
        jpeg_finish_compress(&info_);
    }

    static J_COLOR_SPACE color_space(std::size_t components) {
        return components == 1 ? JCS_GRAYSCALE : components == 3 ? JCS_YCbCr : JCS_CMYK;
    }

    void describe(const Frame& frame, const Tables& tables) {
        info_.image_width = frame.width;
        info_.image_height = frame.height;
        info_.input_components = static_cast<int>(frame.components.size());
        info_.in_color_space = color_space(frame.components.size());
        jpeg_set_defaults(&info_);
        jpeg_set_colorspace(&info_, info_.in_color_space);
        for (std::size_t number = 0; number < 4; ++number) {
            if (tables.quant[number]) {
                set_quant_table(number, *tables.quant[number]);
            }
        }
        for (std::size_t index = 0; index < frame.components.size(); ++index) {
            const auto& from = frame.components[index];
            auto& to = info_.comp_info[index];
            to.component_id = static_cast<int>(from.id);
            to.h_samp_factor = static_cast<int>(from.h_samp);
            to.v_samp_factor = static_cast<int>(from.v_samp);
            to.quant_tbl_no = static_cast<int>(from.quant);
        }
    }

    void set_quant_table(std::size_t number, const QuantTable& table) {
        auto*& slot = info_.quant_tbl_ptrs[number];
        if (slot == nullptr) {
            slot = jpeg_alloc_quant_table(reinterpret_cast<j_common_ptr>(&info_));
        }
        for (std::size_t k = 0; k < 64; ++k) {
            slot->quantval[kNaturalOrder[k]] = table.values[k];
        }
        slot->sent_table = FALSE;
    }

    std::array<jvirt_barray_ptr, 4> request_arrays(const Frame& frame) {
        std::array<jvirt_barray_ptr, 4> arrays{};
        for (std::size_t index = 0; index < frame.components.size(); ++index) {
            const auto& component = frame.components[index];
            arrays[index] = info_.mem->request_virt_barray(
                reinterpret_cast<j_common_ptr>(&info_), JPOOL_IMAGE, FALSE,
                frame.mcus_wide() * component.h_samp, frame.mcus_high() * component.v_samp, component.v_samp);
        }
        return arrays;
    }

    void fill(const Frame& frame, std::size_t index, jvirt_barray_ptr array, const CoefficientStore& store) {
        const auto& component = frame.components[index];
        for (unsigned row = 0; row < frame.mcus_high() * component.v_samp; row += component.v_samp) {
            auto* const* rows = info_.mem->access_virt_barray(reinterpret_cast<j_common_ptr>(&info_), array,
                                                              row, component.v_samp, TRUE);
            for (unsigned line = 0; line < component.v_samp; ++line) {
                for (unsigned column = 0; column < frame.mcus_wide() * component.h_samp; ++column) {
                    copy(store.block(index, row + line, column), rows[line][column]);
                }
            }
        }
    }

    /// Values beyond what baseline can code occur only in noise.
    static void copy(const Block& from, JBLOCK& to) {
        to[0] = std::clamp<std::int16_t>(from[0], -1024, 1023);
        std::transform(from.begin() + 1, from.end(), to + 1,
                       [](std::int16_t value) { return std::clamp<std::int16_t>(value, -1023, 1023); });
    }

    jpeg_compress_struct info_{};
    JpegErrors errors_;
    StreamDestination destination_;
};

} // namespace

void write_headers(std::ostream& stream, const Frame& frame, const Scan& scan, const Tables& tables) {
    for (unsigned number = 0; number < 4; ++number) {
        if (tables.quant[number]) {
            write_quant_table(stream, number, *tables.quant[number]);
        }
    }
    SegmentWriter header(stream, frame.code);
    header.u8(8);
    header.u16(frame.height);
    header.u16(frame.width);
    header.u8(static_cast<unsigned>(frame.components.size()));
    for (const auto& component : frame.components) {
        header.u8(component.id);
        header.u8(component.h_samp << 4U | component.v_samp);
        header.u8(component.quant);
    }
    header.write();
    for (unsigned number = 0; number < 4; ++number) {
        if (tables.dc[number]) {
            write_huffman_table(stream, number, *tables.dc[number]);
        }
        if (tables.ac[number]) {
            write_huffman_table(stream, 0x10U | number, *tables.ac[number]);
        }
    }
    if (tables.restart_interval != 0) {
        SegmentWriter interval(stream, marker::kDri);
        interval.u16(tables.restart_interval);
        interval.write();
    }
    SegmentWriter scan_header(stream, marker::kSos);
    scan_header.u8(static_cast<unsigned>(scan.components.size()));
    for (const auto& component : scan.components) {
        scan_header.u8(frame.components[component.index].id);
        scan_header.u8(component.dc << 4U | component.ac);
    }
    scan_header.u8(scan.ss);
    scan_header.u8(scan.se);
    scan_header.u8(scan.ah << 4U | scan.al);
    scan_header.write();
}

void write_coefficients(std::ostream& stream, const Frame& frame, const Tables& tables,
                        CoefficientStore& store, const std::vector<Bytes>& segments) {
    Compressor(stream).write(frame, tables, store, segments);
}

} // namespace still_mend
