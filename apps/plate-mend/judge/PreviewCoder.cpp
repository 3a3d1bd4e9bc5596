#include "judge/PreviewCoder.h"

#include "judge/JpegEncoder.h"

#include <array>
#include <utility>

namespace plate_mend::host {

namespace {

constexpr std::uint64_t kMostPixels = 100'000'000;
constexpr std::array kQualities = {90, 80, 70, 60, 45, 30};

} // namespace

PreviewCoder::PreviewCoder(Image rendering) : rendering_(std::move(rendering)) {}

std::vector<unsigned char> PreviewCoder::jpeg(std::uint32_t width, std::uint32_t height,
                                              std::uint64_t longest) const {
    const Image picture = fit_into(rendering_, width, height);
    std::vector<unsigned char> jpeg;
    for (const int quality : kQualities) {
        jpeg = encode_jpeg(picture, quality);
        if (jpeg.size() <= longest) {
            break;
        }
    }
    return jpeg;
}

std::vector<unsigned char> PreviewCoder::rgb(std::uint32_t width, std::uint32_t height) const {
    return fit_into(rendering_, width, height).rgb;
}

bool PreviewCoder::can_code(std::uint32_t width, std::uint32_t height) {
    return width != 0 && height != 0 && std::uint64_t{width} * height <= kMostPixels;
}

} // namespace plate_mend::host
