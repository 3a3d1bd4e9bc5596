#include "coding/PreviewJpeg.h"

#include <jpeg_errors/JpegErrors.h>

#include <algorithm>
#include <limits>
#include <vector>

namespace raw_mend {

namespace {

/// libjpeg's decompressor, destroyed on every way out.
class Decompressor {
  public:
    Decompressor() {
        info.err = &errors;
        errors.strict = true;
    }
    Decompressor(const Decompressor&) = delete;
    Decompressor& operator=(const Decompressor&) = delete;
    ~Decompressor() { jpeg_destroy_decompress(&info); }

    jpeg_decompress_struct info{};
    jpeg_errors::JpegErrors errors;
};

} // namespace

std::optional<std::uint64_t> measure_jpeg(Bytes bytes, std::uint32_t width, std::uint32_t height) {
    constexpr std::size_t kMost = std::numeric_limits<unsigned long>::max();
    Decompressor codec;
    jpeg_decompress_struct& info = codec.info;
    const bool has_begun = jpeg_errors::run_jpeg(codec.errors, [&] {
        jpeg_create_decompress(&info);
        jpeg_mem_src(&info, bytes.data(), static_cast<unsigned long>(std::min(bytes.size(), kMost)));
        jpeg_read_header(&info, TRUE);
        info.out_color_space = info.jpeg_color_space; // No time is spent on colours.
    });
    // Several scans are decoded into memory for all of the picture.
    if (!has_begun || info.image_width != width || info.image_height != height ||
        jpeg_has_multiple_scans(&info) != FALSE) {
        return std::nullopt;
    }
    if (!jpeg_errors::run_jpeg(codec.errors, [&] { jpeg_start_decompress(&info); })) {
        return std::nullopt;
    }
    std::vector<JSAMPLE> row(std::size_t{info.output_width} *
                             static_cast<std::size_t>(info.output_components));
    const bool is_complete = jpeg_errors::run_jpeg(codec.errors, [&] {
        JSAMPROW rows[] = {row.data()};
        while (info.output_scanline < info.output_height) {
            jpeg_read_scanlines(&info, rows, 1);
        }
        jpeg_finish_decompress(&info);
    });
    return is_complete ? std::optional<std::uint64_t>(bytes.size() - info.src->bytes_in_buffer)
                       : std::nullopt;
}

} // namespace raw_mend
