#include "repair/OwnSettings.h"

#include "judge/PreviewOverlay.h"
#include "judge/RawDecoder.h"
#include "metadata/MetadataBlock.h"
#include "metadata/OwnMetadataChoice.h"
#include "metadata/Sidecar.h"
#include "platform/Files.h"
#include "platform/MappedFile.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <span>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;
using FileSpan = std::span<const unsigned char>;

void map_whole(platform::MappedFile& mapped, const fs::path& file) {
    if (mapped.open(file, std::numeric_limits<std::uint64_t>::max()) != platform::MapResult::kMapped) {
        throw std::runtime_error("the photograph cannot be read");
    }
}

FileSpan without_zeros_at_end(FileSpan file) {
    std::size_t size = file.size();
    while (size != 0 && file[size - 1] == 0) {
        --size;
    }
    return file.first(size);
}

/// How many bytes two ends have in common.
std::size_t common_at_end(FileSpan one, FileSpan other) {
    constexpr std::size_t kPiece = 4096;
    const auto before_end = [](FileSpan bytes, std::size_t done) {
        return bytes.last(done + kPiece).first(kPiece);
    };
    std::size_t common = 0;
    while (common + kPiece <= std::min(one.size(), other.size()) &&
           std::ranges::equal(before_end(one, common), before_end(other, common))) {
        common += kPiece;
    }
    one = one.first(one.size() - common);
    other = other.first(other.size() - common);
    const auto ends = std::mismatch(one.rbegin(), one.rend(), other.rbegin(), other.rend());
    return common + static_cast<std::size_t>(ends.first - one.rbegin());
}

/// From where on the damaged file is in the result. The exact engine takes all of it from its image on. Zeros
/// at the ends do not count: one of them may have been filled up.
std::optional<ImagePlace> common_end(FileSpan damaged, FileSpan result) {
    constexpr std::size_t kLeastShare = 8; // One in so many bytes of the damaged file.
    damaged = without_zeros_at_end(damaged);
    result = without_zeros_at_end(result);
    const std::size_t common = common_at_end(damaged, result);
    return common * kLeastShare < damaged.size()
               ? std::nullopt
               : std::optional(ImagePlace{.offset = damaged.size() - common, .is_exact = false});
}

/// The repaired photograph, decoded when it is first needed.
class DecodedResult {
  public:
    explicit DecodedResult(const fs::path& result) : result_(result) {}

    [[nodiscard]] std::optional<bool> is_shown_by(FileSpan jpeg) {
        if (!decoder_) {
            decoder_ = std::make_unique<RawDecoder>();
            decodes_ = decoder_->open(result_) && decoder_->unpack().empty();
        }
        return decodes_ ? shows_picture(*decoder_, jpeg) : std::nullopt;
    }

  private:
    const fs::path& result_;
    std::unique_ptr<RawDecoder> decoder_;
    bool decodes_ = false;
};

bool has_all(const CameraFacts& facts, const CameraFacts& wanted) {
    return std::ranges::includes(facts, wanted);
}

void write_text(const fs::path& file, const std::string& text) {
    fs::remove(file);
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): texts are of char.
    platform::NewFile(file).write(reinterpret_cast<const unsigned char*>(text.data()), text.size());
}

} // namespace

std::optional<OwnMetadata> find_own_metadata(const MetadataRequest& request) {
    platform::MappedFile damaged;
    platform::MappedFile result;
    map_whole(damaged, request.damaged);
    map_whole(result, request.result);
    const auto blocks = find_metadata(damaged.bytes());
    if (blocks.empty()) {
        return std::nullopt;
    }
    const auto image = request.image ? std::optional(ImagePlace{*request.image, true})
                                     : common_end(damaged.bytes(), result.bytes());
    DecodedResult decoded(request.result);
    auto own = choose_own_metadata(blocks, image, [&](std::uint64_t jpeg) -> std::optional<bool> {
        return jpeg < damaged.bytes().size()
                   ? decoded.is_shown_by(damaged.bytes().subspan(static_cast<std::size_t>(jpeg)))
                   : std::nullopt;
    });
    if (own) {
        own->in_result = has_all(main_facts(result.bytes()), own->facts);
        if (!own->in_result && !request.sidecar.empty()) {
            write_text(request.sidecar, sidecar_text(own->facts, request.sample));
        }
    }
    return own;
}

} // namespace plate_mend::host
