#include "support/Jpeg.h"

#include "support/Scene.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include <jpeglib.h>

namespace test {

namespace {

void throw_error(j_common_ptr /*info*/) {
    throw std::runtime_error("libjpeg");
}
void ignore_message(j_common_ptr /*info*/) {}

} // namespace

Bytes make_jpeg(const std::vector<unsigned char>& rgb, unsigned width, unsigned height, int quality) {
    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&info, &buffer, &size);
    info.image_width = width;
    info.image_height = height;
    info.input_components = 3;
    info.in_color_space = JCS_RGB;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, quality, TRUE);
    jpeg_start_compress(&info, TRUE);
    while (info.next_scanline < height) {
        auto* row = const_cast<unsigned char*>(rgb.data()) + std::size_t{info.next_scanline} * width * 3;
        jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    Bytes jpeg(buffer, buffer + size);
    std::free(buffer);
    return jpeg;
}

Bytes make_preview(const Scene& scene, unsigned width, unsigned height) {
    return make_jpeg(scene.rgb8(width, height), width, height);
}

bool jpeg_decodes(const Bytes& jpeg) {
    return jpeg_samples(jpeg).has_value();
}

std::optional<Bytes> jpeg_samples(const Bytes& jpeg) {
    jpeg_decompress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    errors.error_exit = throw_error;
    errors.output_message = ignore_message;
    jpeg_create_decompress(&info);
    bool clean = false;
    Bytes samples;
    try {
        jpeg_mem_src(&info, jpeg.data(), static_cast<unsigned long>(jpeg.size()));
        jpeg_read_header(&info, TRUE);
        jpeg_start_decompress(&info);
        const auto stride = std::size_t{info.output_width} * static_cast<std::size_t>(info.output_components);
        samples.resize(stride * info.output_height);
        while (info.output_scanline < info.output_height) {
            auto* row = samples.data() + stride * info.output_scanline;
            jpeg_read_scanlines(&info, &row, 1);
        }
        clean = errors.num_warnings == 0;
    } catch (const std::runtime_error&) {
        clean = false;
    }
    jpeg_destroy_decompress(&info);
    return clean ? std::optional(std::move(samples)) : std::nullopt;
}

} // namespace test
