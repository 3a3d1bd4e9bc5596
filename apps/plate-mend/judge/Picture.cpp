#include "judge/Picture.h"

#include "files/FileBytes.h"
#include "platform/Files.h"

#include <libraw/libraw.h>

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include <jpeglib.h>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

/// Interleaved RGB rows, 8 bits per sample.
struct Image {
    std::size_t width = 0;
    std::size_t height = 0;
    std::vector<unsigned char> rgb;

    [[nodiscard]] const unsigned char* pixel(std::size_t x, std::size_t y) const {
        return &rgb[3 * (y * width + x)];
    }
};

/// The image in the size for contact sheets: each pixel is the mean of those it replaces.
Image shrink(const Image& image) {
    const std::size_t side = std::max(image.width, image.height);
    if (side <= kPictureSide) {
        return image;
    }
    Image small;
    small.width = std::max<std::size_t>(1, image.width * kPictureSide / side);
    small.height = std::max<std::size_t>(1, image.height * kPictureSide / side);
    small.rgb.reserve(3 * small.width * small.height);
    for (std::size_t y = 0; y < small.height; ++y) {
        const std::size_t top = y * image.height / small.height;
        const std::size_t bottom = std::max(top + 1, (y + 1) * image.height / small.height);
        for (std::size_t x = 0; x < small.width; ++x) {
            const std::size_t left = x * image.width / small.width;
            const std::size_t right = std::max(left + 1, (x + 1) * image.width / small.width);
            for (std::size_t colour = 0; colour < 3; ++colour) {
                std::size_t sum = 0;
                for (std::size_t row = top; row < bottom; ++row) {
                    for (std::size_t column = left; column < right; ++column) {
                        sum += image.pixel(column, row)[colour];
                    }
                }
                small.rgb.push_back(static_cast<unsigned char>(sum / ((bottom - top) * (right - left))));
            }
        }
    }
    return small;
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

/// libjpeg's error manager: an error leaves libjpeg by a jump back into runs().
struct JumpingErrors : jpeg_error_mgr {
    JumpingErrors() : jpeg_error_mgr{} {
        jpeg_std_error(this);
        error_exit = [](j_common_ptr codec) {
            std::longjmp(static_cast<JumpingErrors*>(codec->err)->out, 1);
        };
        emit_message = [](j_common_ptr codec, int level) { codec->err->num_warnings += level < 0 ? 1 : 0; };
        output_message = [](j_common_ptr) {};
    }
    std::jmp_buf out{};
};

/// Calls what calls libjpeg with this error manager; false when libjpeg cannot go on. While libjpeg runs, the
/// calls must not hold anything with a destructor: a jump skips it.
template <typename Calls>
bool runs(JumpingErrors& errors, const Calls& calls) {
    // NOLINTNEXTLINE(cert-err52-cpp): libjpeg has no other way out.
    if (setjmp(errors.out) != 0) {
        return false;
    }
    calls();
    return true;
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

    /// Decodes into image, in a coarser resolution where that is enough. False when it cannot.
    bool decode(const std::vector<unsigned char>& jpeg, Image& image, unsigned& orientation) {
        if (!runs(errors_, [&] { start(jpeg); })) {
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
    void start(const std::vector<unsigned char>& jpeg) {
        jpeg_create_decompress(&codec_);
        jpeg_mem_src(&codec_, jpeg.data(), static_cast<unsigned long>(jpeg.size()));
        jpeg_save_markers(&codec_, JPEG_APP0 + 1, 0xFFFF);
        jpeg_read_header(&codec_, TRUE);
        const unsigned side = std::max(codec_.image_width, codec_.image_height);
        codec_.scale_num = 1;
        codec_.scale_denom = side >= 8 * kPictureSide   ? 8
                             : side >= 4 * kPictureSide ? 4
                             : side >= 2 * kPictureSide ? 2
                                                        : 1;
        codec_.out_color_space = JCS_RGB;
        jpeg_start_decompress(&codec_);
    }

    jpeg_decompress_struct codec_{};
    JumpingErrors errors_;
};

/// libjpeg's compressor and its output, freed on every way out.
class Encoder {
  public:
    Encoder() { codec_.err = &errors_; }
    Encoder(const Encoder&) = delete;
    Encoder& operator=(const Encoder&) = delete;
    ~Encoder() {
        jpeg_destroy_compress(&codec_);
        std::free(buffer_); // NOLINT(cppcoreguidelines-no-malloc): libjpeg took it from malloc.
    }

    /// False when it cannot.
    bool encode(const Image& image) {
        return runs(errors_, [&] { compress(image); });
    }

    [[nodiscard]] const unsigned char* data() const { return buffer_; }
    [[nodiscard]] unsigned long size() const { return size_; }

  private:
    void compress(const Image& image) {
        jpeg_create_compress(&codec_);
        jpeg_mem_dest(&codec_, &buffer_, &size_);
        codec_.image_width = static_cast<JDIMENSION>(image.width);
        codec_.image_height = static_cast<JDIMENSION>(image.height);
        codec_.input_components = 3;
        codec_.in_color_space = JCS_RGB;
        jpeg_set_defaults(&codec_);
        jpeg_set_quality(&codec_, 82, TRUE);
        jpeg_start_compress(&codec_, TRUE);
        while (codec_.next_scanline < codec_.image_height) {
            // libjpeg does not write to its input, but does not say so.
            auto* row = const_cast<JSAMPROW>(&image.rgb[3 * image.width * codec_.next_scanline]);
            jpeg_write_scanlines(&codec_, &row, 1);
        }
        jpeg_finish_compress(&codec_);
    }

    unsigned char* buffer_ = nullptr;
    unsigned long size_ = 0;
    jpeg_compress_struct codec_{};
    JumpingErrors errors_;
};

void write(const Image& image, const fs::path& path) {
    Encoder encoder;
    if (!image.rgb.empty() && encoder.encode(image)) {
        fs::remove(path); // An earlier attempt may have left one.
        platform::NewFile(path).write(encoder.data(), encoder.size());
    }
}

} // namespace

bool is_jpeg_whole(const unsigned char* bytes, std::size_t size) {
    return Decoder().decodes_cleanly(bytes, size);
}

void write_raw_picture(LibRaw& unpacked, const fs::path& picture) {
    unpacked.imgdata.params.half_size = 1;
    unpacked.imgdata.params.use_camera_wb = 1;
    unpacked.imgdata.params.output_bps = 8;
    if (unpacked.dcraw_process() != LIBRAW_SUCCESS) {
        return;
    }
    int error = 0;
    const std::unique_ptr<libraw_processed_image_t, decltype(&LibRaw::dcraw_clear_mem)> rendered(
        unpacked.dcraw_make_mem_image(&error), &LibRaw::dcraw_clear_mem);
    if (rendered == nullptr || rendered->type != LIBRAW_IMAGE_BITMAP || rendered->bits != 8 ||
        (rendered->colors != 3 && rendered->colors != 1)) {
        return;
    }
    Image image{rendered->width, rendered->height, {}};
    const std::size_t colours = rendered->colors;
    image.rgb.reserve(3 * image.width * image.height);
    for (std::size_t index = 0; index < image.width * image.height; ++index) {
        for (std::size_t colour = 0; colour < 3; ++colour) {
            image.rgb.push_back(rendered->data[index * colours + (colours == 3 ? colour : 0)]);
        }
    }
    write(shrink(image), picture);
}

void write_jpeg_picture(const fs::path& jpeg, const fs::path& picture) {
    FileBytes file(jpeg);
    Image image;
    unsigned orientation = 1;
    if (Decoder().decode(file.read(0, static_cast<std::size_t>(file.size())), image, orientation)) {
        write(turn_upright(shrink(image), orientation), picture);
    }
}

} // namespace plate_mend::host
