#include "support/RawDecode.h"

#include <libraw/libraw.h>

#include <algorithm>
#include <memory>

namespace test {

namespace {

/// A decoder that counts data errors and does not print them.
std::unique_ptr<LibRaw> make_decoder() {
    auto raw = std::make_unique<LibRaw>(0U);
    raw->set_dataerror_handler(nullptr, nullptr);
    return raw;
}

/// Marks what LibRaw leaves undecoded; no row of a photograph consists of it.
constexpr std::uint16_t kUndecoded = 0xD15C;

/// LibRaw does not clear the memory it decodes into, so a broken file would show what was there: perhaps the
/// rows of the original, decoded before. It seeks the image data once that memory is there, and then this
/// fills it.
class FillingStream : public LibRaw_buffer_datastream {
  public:
    FillingStream(LibRaw& raw, Bytes& file) : LibRaw_buffer_datastream(file.data(), file.size()), raw_(raw) {}

    int seek(INT64 offset, int whence) override {
        const auto& data = raw_.imgdata.rawdata;
        const auto& sizes = raw_.imgdata.sizes;
        if (data.raw_alloc != nullptr && !filled_) {
            filled_ = true;
            const std::size_t values = data.color4_image != nullptr   ? 4
                                       : data.color3_image != nullptr ? 3
                                                                      : 1;
            std::fill_n(static_cast<std::uint16_t*>(data.raw_alloc),
                        values * sizes.raw_width * sizes.raw_height, kUndecoded);
        }
        return LibRaw_buffer_datastream::seek(offset, whence);
    }

  private:
    LibRaw& raw_;
    bool filled_ = false;
};

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
    return std::filesystem::is_regular_file(path) ? decode_raw(read_file(path)) : std::nullopt;
}

std::optional<RawPicture> decode_raw(const Bytes& file) {
    const auto raw = make_decoder();
    Bytes copy = file;
    FillingStream stream(*raw, copy);
    return raw->open_datastream(&stream) == LIBRAW_SUCCESS ? unpacked(*raw) : std::nullopt;
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
