#include "judge/Picture.h"

#include "files/FileBytes.h"
#include "judge/Image.h"
#include "judge/JpegEncoder.h"
#include "judge/LibjpegErrors.h"
#include "judge/Rendering.h"
#include "platform/Files.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

/// Longer side, in pixels, that decode_coarsely() leaves at least.
constexpr unsigned kCoarseSide = 480;

/// The image in the size for contact sheets.
Image shrink(const Image& image) {
    const std::size_t side = std::max(image.width, image.height);
    return side <= kPictureSide ? image
                                : scale(image, std::max<std::size_t>(1, image.width * kPictureSide / side),
                                        std::max<std::size_t>(1, image.height * kPictureSide / side));
}

/// The image upright, by its Exif orientation, 1 to 8. Other values leave it as it is.
Image turn_upright(const Image& image, unsigned orientation) {
    if (orientation < 2 || orientation > 8) {
        return image;
    }
    const bool swaps = orientation >= 5;
    const bool mirrored_x = orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
    const bool mirrored_y = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
    Image upright;
    upright.width = swaps ? image.height : image.width;
    upright.height = swaps ? image.width : image.height;
    upright.rgb.reserve(image.rgb.size());
    for (std::size_t y = 0; y < upright.height; ++y) {
        for (std::size_t x = 0; x < upright.width; ++x) {
            const std::size_t column = swaps ? y : x;
            const std::size_t row = swaps ? x : y;
            const unsigned char* pixel = image.pixel(mirrored_x ? image.width - 1 - column : column,
                                                     mirrored_y ? image.height - 1 - row : row);
            upright.rgb.insert(upright.rgb.end(), pixel, pixel + 3);
        }
    }
    return upright;
}

/// The orientation in an Exif segment, by its entry of tag 0x0112; 1 when there is none.
unsigned orientation_in(const unsigned char* exif, std::size_t size) {
    const auto find = [&](const std::vector<unsigned char>& entry, std::size_t value) -> unsigned {
        const auto* last = exif + size;
        const auto* found = std::search(exif, last, entry.begin(), entry.end());
        return static_cast<std::size_t>(last - found) > value ? found[value] : 0U;
    };
    const unsigned little = find({0x12, 0x01, 0x03, 0x00, 0x01, 0x00, 0x00, 0x00}, 8);
    const unsigned big = find({0x01, 0x12, 0x00, 0x03, 0x00, 0x00, 0x00, 0x01}, 9);
    return little != 0 ? little : big != 0 ? big : 1;
}

/// libjpeg's decompressor, destroyed on every way out.
class Decoder {
  public:
    Decoder() { codec_.err = &errors_; }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;
    ~Decoder() { jpeg_destroy_decompress(&codec_); }

    /// Decodes into image, in a coarser resolution where that leaves a side of so many pixels. False when it
    /// cannot.
    bool decode(std::span<const unsigned char> jpeg, unsigned wanted_side, Image& image,
                unsigned& orientation) {
        if (!runs(errors_, [&] { start(jpeg, wanted_side); })) {
            return false;
        }
        for (const auto* marker = codec_.marker_list; marker != nullptr; marker = marker->next) {
            orientation = std::max(orientation, orientation_in(marker->data, marker->data_length));
        }
        image.width = codec_.output_width;
        image.height = codec_.output_height;
        image.rgb.resize(3 * image.width * image.height);
        return runs(errors_, [&] {
            while (codec_.output_scanline < codec_.output_height) {
                JSAMPROW row = &image.rgb[3 * image.width * codec_.output_scanline];
                jpeg_read_scanlines(&codec_, &row, 1);
            }
        }); // What follows the last row does not matter here.
    }

    /// Whether all that was decoded is as it was written, as far as libjpeg notices.
    [[nodiscard]] bool is_clean() const { return errors_.num_warnings == 0; }

    /// Decodes bytes[0..size-1] to the end. Whether there was neither an error nor a warning.
    bool decodes_cleanly(const unsigned char* bytes, std::size_t size) {
        const bool starts = runs(errors_, [&] {
            jpeg_create_decompress(&codec_);
            jpeg_mem_src(&codec_, bytes, static_cast<unsigned long>(size));
            jpeg_read_header(&codec_, TRUE);
            jpeg_start_decompress(&codec_);
        });
        if (!starts) {
            return false;
        }
        std::vector<unsigned char> row(static_cast<std::size_t>(codec_.output_width) *
                                       static_cast<std::size_t>(codec_.output_components));
        const bool ends = runs(errors_, [&] {
            while (codec_.output_scanline < codec_.output_height) {
                JSAMPROW samples = row.data();
                jpeg_read_scanlines(&codec_, &samples, 1);
            }
            jpeg_finish_decompress(&codec_);
        });
        return ends && errors_.num_warnings == 0;
    }

  private:
    void start(std::span<const unsigned char> jpeg, unsigned wanted_side) {
        jpeg_create_decompress(&codec_);
        jpeg_mem_src(&codec_, jpeg.data(), static_cast<unsigned long>(jpeg.size()));
        jpeg_save_markers(&codec_, JPEG_APP0 + 1, 0xFFFF);
        jpeg_read_header(&codec_, TRUE);
        const unsigned side = std::max(codec_.image_width, codec_.image_height);
        codec_.scale_num = 1;
        codec_.scale_denom = side >= 8 * wanted_side   ? 8
                             : side >= 4 * wanted_side ? 4
                             : side >= 2 * wanted_side ? 2
                                                       : 1;
        codec_.out_color_space = JCS_RGB;
        jpeg_start_decompress(&codec_);
    }

    jpeg_decompress_struct codec_{};
    JumpingErrors errors_;
};

void write(const Image& image, const fs::path& path) {
    constexpr int kQuality = 82;
    const auto jpeg = encode_jpeg(image, kQuality);
    if (!jpeg.empty()) {
        fs::remove(path); // An earlier attempt may have left one.
        platform::NewFile(path).write(jpeg.data(), jpeg.size());
    }
}

} // namespace

bool is_jpeg_whole(const unsigned char* bytes, std::size_t size) {
    return Decoder().decodes_cleanly(bytes, size);
}

std::optional<Image> decode_coarsely(std::span<const unsigned char> bytes) {
    Decoder decoder;
    Image image;
    unsigned orientation = 1;
    return decoder.decode(bytes, kCoarseSide, image, orientation) && decoder.is_clean()
               ? std::optional(std::move(image))
               : std::nullopt;
}

void write_raw_picture(LibRaw& unpacked, const fs::path& picture) {
    write(shrink(render(unpacked, true)), picture);
}

void write_jpeg_picture(const fs::path& jpeg, const fs::path& picture) {
    FileBytes file(jpeg);
    Image image;
    unsigned orientation = 1;
    const auto bytes = file.read(0, static_cast<std::size_t>(file.size()));
    if (Decoder().decode(bytes, kPictureSide, image, orientation)) {
        write(turn_upright(shrink(image), orientation), picture);
    }
}

} // namespace plate_mend::host
