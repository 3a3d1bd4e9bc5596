#include "ways/FittingRows.h"

#include "locate/ImageContent.h"
#include "locate/RowExtent.h"
#include "ways/TwinRows.h"

#include <algorithm>

namespace raw_mend {

namespace {

/// The images of the sample's geometry in a damaged file.
class FittingRowsSearch {
  public:
    FittingRowsSearch(Bytes damaged, const Sample& sample)
        : damaged_(damaged), sample_(sample), length_(sample.range().length) {
        const SamplePlace place{sample.rows->extent.offset, sample.bytes_after()};
        found_ = find_row_extent(damaged, sample.rows->geometry, sample.traits, place);
        std::erase_if(found_.images, [&](const ImagePlace& image) { return !is_inside(image); });
    }

    /// The one whose place is proved; of several, the one that ends as the sample's does.
    std::optional<FoundImage> choose() const {
        std::vector<ImagePlace> certain;
        std::ranges::copy_if(found_.images, std::back_inserter(certain),
                             [](const ImagePlace& image) { return !image.is_doubtful(); });
        if (certain.size() > 1) {
            std::erase_if(certain, [](const ImagePlace& image) { return image.proof != PlaceProof::kEnd; });
        }
        return certain.size() == 1 ? describe(certain.front()) : std::nullopt;
    }

  private:
    [[nodiscard]] bool is_inside(const ImagePlace& image) const {
        return image.start >= 0 &&
               Extent{static_cast<std::uint64_t>(image.start), length_}.is_within(damaged_);
    }

    [[nodiscard]] std::optional<FoundImage> describe(const ImagePlace& place) const {
        FoundImage image{Way::kRows, {}, 0, {}};
        const bool is_one_phase = has_one_phase(place);
        auto offset = static_cast<std::uint64_t>(place.start);
        for (const Piece& piece : sample_.description.raw.pieces) {
            const Extent extent{offset, piece.data.length};
            const bool is_lost = is_zeros(extent.of(damaged_));
            image.pieces.push_back(is_lost ? std::nullopt : std::optional(extent));
            const bool has_rows = extent.offset >= place.picture_begin && extent.end() <= place.picture_end;
            image.proved += has_rows && is_one_phase ? 1 : 0;
            offset = extent.end();
        }
        add_doubts(place, image);
        return image.count_found() == 0 ? std::nullopt : std::optional(std::move(image));
    }

    /// Whether nothing was lost or put in between the rows of an image.
    [[nodiscard]] bool has_one_phase(const ImagePlace& place) const {
        const std::uint64_t margin = 64 * sample_.rows->geometry.row_bytes;
        const auto start = static_cast<std::uint64_t>(place.start);
        return std::ranges::all_of(found_.pieces, [&](const PhasePiece& piece) {
            return piece.phase == place.phase || piece.end <= start + margin ||
                   piece.begin + margin >= start + length_;
        });
    }

    void add_doubts(const ImagePlace& place, FoundImage& image) const {
        const auto other = std::ranges::find_if(found_.images, [&](const ImagePlace& one) {
            const auto length = static_cast<std::int64_t>(length_);
            return one.start + length <= place.start || place.start + length <= one.start;
        });
        if (other != found_.images.end()) {
            image.doubts.emplace_back("Another image of this kind begins at offset " +
                                      std::to_string(other->start) + ".");
            image.proved = place.proof == PlaceProof::kEnd ? image.proved : 0;
        }
    }

    Bytes damaged_;
    const Sample& sample_;
    std::uint64_t length_;
    RowExtent found_; ///< Images within the file only.
};

} // namespace

std::optional<FoundImage> find_fitting_rows(Bytes damaged, const Sample& sample) {
    const bool is_single = sample.rows && !has_twin(sample.description);
    return is_single ? FittingRowsSearch(damaged, sample).choose() : std::nullopt;
}

} // namespace raw_mend
