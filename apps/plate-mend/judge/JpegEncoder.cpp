#include "judge/JpegEncoder.h"

#include "judge/LibjpegErrors.h"

#include <cstdlib>

namespace plate_mend::host {

namespace {

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
    bool encode(const Image& image, int quality) {
        return runs(errors_, [&] { compress(image, quality); });
    }

    [[nodiscard]] const unsigned char* data() const { return buffer_; }
    [[nodiscard]] unsigned long size() const { return size_; }

  private:
    void compress(const Image& image, int quality) {
        jpeg_create_compress(&codec_);
        jpeg_mem_dest(&codec_, &buffer_, &size_);
        codec_.image_width = static_cast<JDIMENSION>(image.width);
        codec_.image_height = static_cast<JDIMENSION>(image.height);
        codec_.input_components = 3;
        codec_.in_color_space = JCS_RGB;
        jpeg_set_defaults(&codec_);
        jpeg_set_quality(&codec_, quality, TRUE);
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

} // namespace

std::vector<unsigned char> encode_jpeg(const Image& image, int quality) {
    Encoder encoder;
    if (image.rgb.empty() || !encoder.encode(image, quality)) {
        return {};
    }
    return {encoder.data(), encoder.data() + encoder.size()};
}

} // namespace plate_mend::host
