#include "repair/OwnPictures.h"

#include "files/FileBytes.h"
#include "judge/PreviewCoder.h"
#include "judge/RawDecoder.h"
#include "judge/Rendering.h"
#include "text/Paths.h"

#include <raw_mend/raw_mend.h>

#include <algorithm>
#include <new>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

/// More than any camera writes.
constexpr std::uint32_t kMostPictures = 64;

void require_memory_from(std::int32_t code) {
    if (code == RAW_MEND_NO_MEMORY) {
        throw std::bad_alloc();
    }
}

/// The pictures of a photograph; none if there are too many.
std::vector<RawMendPicture> list_pictures(const std::string& photograph) {
    std::vector<RawMendPicture> pictures(kMostPictures);
    std::uint32_t count = 0;
    const std::int32_t code = RawMendPictures(photograph.c_str(), pictures.data(), kMostPictures, &count);
    require_memory_from(code);
    pictures.resize(code == RAW_MEND_OK && count <= kMostPictures ? count : 0);
    return pictures;
}

std::vector<unsigned char> coded_as(const RawMendPicture& picture, const PreviewCoder& coder) {
    if (!PreviewCoder::can_code(picture.width, picture.height)) {
        return {};
    }
    switch (picture.coding) {
    case RAW_MEND_PICTURE_JPEG:
        return coder.jpeg(picture.width, picture.height, picture.length);
    case RAW_MEND_PICTURE_RGB:
        return coder.rgb(picture.width, picture.height);
    default:
        return {};
    }
}

/// The rendering of a photograph as its sensor has it; nothing where it cannot be rendered.
std::optional<PreviewCoder> coder_for(const fs::path& photograph) {
    RawDecoder decoder;
    if (!decoder.open(photograph) || !decoder.unpack().empty()) {
        return std::nullopt;
    }
    Image rendering = render(decoder.raw(), false);
    return rendering.rgb.empty() ? std::nullopt
                                 : std::optional<PreviewCoder>(std::in_place, std::move(rendering));
}

/// The pictures of the sample, by which those of its structure are recognised.
class SamplePictures {
  public:
    explicit SamplePictures(const fs::path& sample)
        : bytes_(sample), pictures_(list_pictures(utf8_from(sample))) {}

    [[nodiscard]] bool have(const RawMendPicture& picture, FileBytes& photograph) {
        return std::ranges::any_of(pictures_, [&](const RawMendPicture& one) {
            return one.length == picture.length &&
                   bytes_.read(one.offset, static_cast<std::size_t>(one.length)) ==
                       photograph.read(picture.offset, static_cast<std::size_t>(picture.length));
        });
    }

  private:
    FileBytes bytes_;
    std::vector<RawMendPicture> pictures_;
};

bool have_same_raw_image(const fs::path& one, const fs::path& other) {
    RawDecoder ours;
    RawDecoder theirs;
    return ours.open(one) && theirs.open(other) && ours.unpack().empty() && theirs.unpack().empty() &&
           ours.has_same_samples(theirs);
}

} // namespace

ReplacedPictures replace_pictures(const fs::path& photograph, const fs::path& sample,
                                  const fs::path& output) {
    const std::string name = utf8_from(photograph);
    const auto pictures = list_pictures(name);
    const auto coder = pictures.empty() ? std::nullopt : coder_for(photograph);
    if (!coder) {
        return {};
    }
    SamplePictures of_sample(sample);
    FileBytes bytes(photograph);
    ReplacedPictures result;
    std::vector<std::vector<unsigned char>> coded;
    std::vector<RawMendPictureData> data;
    for (const RawMendPicture& picture : pictures) {
        const bool is_foreign = of_sample.have(picture, bytes);
        const auto& other =
            coded.emplace_back(is_foreign ? coded_as(picture, *coder) : std::vector<unsigned char>());
        data.push_back({other.empty() ? nullptr : other.data(), other.size()});
        result.pictures += is_foreign ? 1U : 0U;
        result.replaced += other.empty() ? 0U : 1U;
    }
    if (result.replaced == 0) {
        return {};
    }
    const std::int32_t code = RawMendReplacePictures(
        name.c_str(), data.data(), static_cast<std::uint32_t>(data.size()), utf8_from(output).c_str());
    require_memory_from(code);
    if (code != RAW_MEND_OK || !have_same_raw_image(photograph, output)) {
        std::error_code none;
        fs::remove(output, none);
        return {};
    }
    return result;
}

} // namespace plate_mend::host
