#include "repair/OwnPictures.h"

#include "files/FileBytes.h"
#include "judge/PreviewCoder.h"
#include "judge/RawDecoder.h"
#include "judge/Rendering.h"
#include "text/Paths.h"

#include <raw_mend/raw_mend.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
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

/// Which pictures of a photograph are the sample's, byte for byte.
std::vector<bool> find_foreign(const std::vector<RawMendPicture>& pictures, const fs::path& photograph,
                               const fs::path& sample) {
    SamplePictures of_sample(sample);
    FileBytes bytes(photograph);
    std::vector<bool> are_foreign;
    std::ranges::transform(pictures, std::back_inserter(are_foreign),
                           [&](const RawMendPicture& picture) { return of_sample.have(picture, bytes); });
    return are_foreign;
}

/// A decoded photograph, and its pictures as the sensor has them.
class Decoded {
  public:
    explicit Decoded(const fs::path& photograph) : decodes_(decode(decoder_, photograph)) {}

    /// Nothing where the photograph cannot be rendered.
    [[nodiscard]] std::optional<PreviewCoder> make_coder() {
        Image rendering = decodes_ ? render(decoder_.raw(), false) : Image();
        return rendering.rgb.empty() ? std::nullopt
                                     : std::optional<PreviewCoder>(std::in_place, std::move(rendering));
    }

    [[nodiscard]] bool has_raw_image_of(const fs::path& other) const {
        RawDecoder theirs;
        return decode(theirs, other) && decoder_.has_same_samples(theirs);
    }

  private:
    static bool decode(RawDecoder& decoder, const fs::path& photograph) {
        return decoder.open(photograph) && decoder.unpack().empty();
    }

    RawDecoder decoder_;
    bool decodes_;
};

} // namespace

ReplacedPictures replace_pictures(const fs::path& photograph, const fs::path& sample,
                                  const fs::path& output) {
    const std::string name = utf8_from(photograph);
    const auto pictures = list_pictures(name);
    const std::vector<bool> are_foreign = find_foreign(pictures, photograph, sample);
    const auto foreign = std::ranges::count(are_foreign, true);
    if (foreign == 0) {
        return {};
    }
    Decoded decoded(photograph);
    const auto coder = decoded.make_coder();
    if (!coder) {
        return {};
    }
    std::vector<std::vector<unsigned char>> coded;
    std::vector<RawMendPictureData> data;
    for (std::size_t index = 0; index < pictures.size(); ++index) {
        const auto& other = coded.emplace_back(are_foreign[index] ? coded_as(pictures[index], *coder)
                                                                  : std::vector<unsigned char>());
        data.push_back({other.empty() ? nullptr : other.data(), other.size()});
    }
    const auto replaced = std::ranges::count_if(coded, [](const auto& picture) { return !picture.empty(); });
    if (replaced == 0) {
        return {};
    }
    const std::int32_t code = RawMendReplacePictures(
        name.c_str(), data.data(), static_cast<std::uint32_t>(data.size()), utf8_from(output).c_str());
    require_memory_from(code);
    if (code != RAW_MEND_OK || !decoded.has_raw_image_of(output)) {
        std::error_code none;
        fs::remove(output, none);
        return {};
    }
    return {static_cast<std::uint64_t>(foreign), static_cast<std::uint64_t>(replaced)};
}

} // namespace plate_mend::host
