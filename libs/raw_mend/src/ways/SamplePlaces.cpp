#include "ways/SamplePlaces.h"

#include "coding/Cells.h"
#include "coding/ZlibStream.h"
#include "locate/ImageContent.h"
#include "ways/Layouts.h"

#include <algorithm>

namespace raw_mend {

namespace {

/// Coded data with a head are found by it, or not at all.
bool has_heads(Coding coding) {
    switch (coding) {
    case Coding::kLosslessJpeg:
    case Coding::kLossyJpeg:
    case Coding::kCrx:
    case Coding::kFujiLossless:
        return true;
    default:
        return false;
    }
}

class Guess {
  public:
    Guess(Bytes damaged, const Sample& sample) : damaged_(damaged), sample_(sample) {
        for (const Piece& piece : sample.description.raw.pieces) {
            if (piece.data.is_within(sample.file)) {
                expected_.add(piece.data.of(sample.file));
            }
        }
    }

    std::optional<FoundImage> make() const {
        std::vector<Layout> layouts = find_layouts(damaged_, sample_);
        std::erase_if(layouts, [&](const Layout& layout) { return !is_possible(layout); });
        if (layouts.empty()) {
            return std::nullopt;
        }
        const auto best =
            std::ranges::max_element(layouts, {}, [&](const Layout& layout) { return fit(layout); });
        FoundImage image{
            Way::kSamplePlaces, {}, 0, {"Nothing proves the place of the image; it is a guess."}};
        for (const Extent& piece : best->pieces) {
            const bool is_lost = is_zeros(piece.of(damaged_));
            image.pieces.push_back(is_lost ? std::nullopt : std::optional(piece));
        }
        return image.count_found() == 0 ? std::nullopt : std::optional(std::move(image));
    }

  private:
    [[nodiscard]] bool is_possible(const Layout& layout) const {
        const bool is_deflate = sample_.description.raw.frame.coding == Coding::kDeflate;
        if (is_deflate && !std::ranges::all_of(layout.pieces, [&](const Extent& piece) {
                return may_be_zlib(piece.of(damaged_));
            })) {
            return false;
        }
        ImageContent content(sample_.description.raw.frame);
        for (const Extent& piece : layout.pieces) {
            content.add(piece.of(damaged_));
        }
        return content.can_be_like(expected_);
    }

    /// How well what can be checked fits: cells, where the sample has them. The same for all others.
    [[nodiscard]] std::uint64_t fit(const Layout& layout) const {
        std::uint64_t cells = 0;
        if (sample_.has_cells) {
            for (const Extent& piece : layout.pieces) {
                const Bytes bytes = piece.of(damaged_);
                for (std::size_t at = 0; at + kCellBytes <= bytes.size(); at += kCellBytes) {
                    cells += is_cell(bytes.data() + at) ? 1 : 0;
                }
            }
        }
        return cells;
    }

    Bytes damaged_;
    const Sample& sample_;
    ImageContent expected_{sample_.description.raw.frame};
};

} // namespace

std::optional<FoundImage> find_at_sample_places(Bytes damaged, const Sample& sample) {
    return has_heads(sample.description.raw.frame.coding) ? std::nullopt : Guess(damaged, sample).make();
}

} // namespace raw_mend
