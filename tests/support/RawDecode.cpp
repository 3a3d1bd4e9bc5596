#include "support/RawDecode.h"

#include <libraw/libraw.h>

#include <memory>

namespace test {

namespace {

/// A decoder that counts data errors and does not print them.
std::unique_ptr<LibRaw> make_decoder() {
    auto raw = std::make_unique<LibRaw>(0U);
    raw->set_dataerror_handler(nullptr, nullptr);
    return raw;
}

std::optional<RawPicture> unpacked(LibRaw& raw) {
    if (raw.unpack() != LIBRAW_SUCCESS) {
        return std::nullopt;
    }
    RawPicture picture;
    picture.width = raw.imgdata.sizes.raw_width;
    picture.height = raw.imgdata.sizes.raw_height;
    picture.errors = static_cast<unsigned>(raw.error_count());
    const std::size_t pixels = std::size_t{picture.width} * picture.height;
    if (const auto* bayer = raw.imgdata.rawdata.raw_image) {
        picture.samples.assign(bayer, bayer + pixels);
    } else if (const auto* color3 = raw.imgdata.rawdata.color3_image) {
        picture.samples.assign(&color3[0][0], &color3[0][0] + 3 * pixels);
    } else if (const auto* color4 = raw.imgdata.rawdata.color4_image) {
        picture.samples.assign(&color4[0][0], &color4[0][0] + 4 * pixels);
    } else {
        return std::nullopt;
    }
    return picture;
}

} // namespace

bool raw_opens(const std::filesystem::path& path) {
    const auto raw = make_decoder();
    return raw->open_file(path.c_str()) == LIBRAW_SUCCESS;
}

std::optional<RawPicture> decode_raw(const std::filesystem::path& path) {
    const auto raw = make_decoder();
    return raw->open_file(path.c_str()) == LIBRAW_SUCCESS ? unpacked(*raw) : std::nullopt;
}

std::optional<RawPicture> decode_raw(const Bytes& file) {
    const auto raw = make_decoder();
    Bytes copy = file;
    return raw->open_buffer(copy.data(), copy.size()) == LIBRAW_SUCCESS ? unpacked(*raw) : std::nullopt;
}

std::optional<Rendering> render_raw(const std::filesystem::path& path) {
    const auto raw = make_decoder();
    if (raw->open_file(path.c_str()) != LIBRAW_SUCCESS) {
        return std::nullopt;
    }
    raw->imgdata.params.use_camera_wb = 1;
    raw->imgdata.params.half_size = raw->imgdata.sizes.width > 2000 ? 1 : 0;
    if (raw->unpack() != LIBRAW_SUCCESS || raw->dcraw_process() != LIBRAW_SUCCESS) {
        return std::nullopt;
    }
    int result = 0;
    libraw_processed_image_t* image = raw->dcraw_make_mem_image(&result);
    if (image == nullptr || image->colors != 3 || image->bits != 8) {
        LibRaw::dcraw_clear_mem(image);
        return std::nullopt;
    }
    const unsigned step = image->width / 1000U + 1;
    Rendering rendering;
    rendering.width = image->width / step;
    rendering.height = image->height / step;
    for (unsigned row = 0; row < rendering.height; ++row) {
        for (unsigned column = 0; column < rendering.width; ++column) {
            const unsigned char* pixel =
                image->data + 3 * (std::size_t{row} * step * image->width + std::size_t{column} * step);
            rendering.rgb.insert(rendering.rgb.end(), pixel, pixel + 3);
        }
    }
    LibRaw::dcraw_clear_mem(image);
    return rendering;
}

} // namespace test
