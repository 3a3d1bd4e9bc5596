#include "ways/Layouts.h"

#include "locate/Anchors.h"
#include "ways/CompletedTables.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace raw_mend {

namespace {

using Reason = Layout::Reason;

constexpr std::size_t kMostDisplacements = 4;

class Layouts {
  public:
    Layouts(Bytes damaged, const Sample& sample)
        : damaged_(damaged), sample_(sample), range_(sample.range()), after_(sample.bytes_after()),
          filler_ends_(find_filler_ends(damaged)) {}

    std::vector<Layout> find() {
        auto displacements = find_displacements(damaged_, sample_.file, sample_.description.tables);
        displacements.resize(std::min(displacements.size(), kMostDisplacements));
        for (const std::int64_t displacement : displacements) {
            add(Reason::kTables, complete_tables(damaged_, sample_, displacement));
        }
        for (const std::int64_t displacement : displacements) {
            add_at(Reason::kStructure, static_cast<std::int64_t>(range_.offset) + displacement);
        }
        add_with_filler();
        add_unsupported();
        add_at(Reason::kSampleStart, static_cast<std::int64_t>(range_.offset));
        return std::move(layouts_);
    }

  private:
    [[nodiscard]] std::int64_t start_by_end() const {
        return static_cast<std::int64_t>(damaged_.size()) - static_cast<std::int64_t>(after_ + range_.length);
    }

    /// After filler, at the place that the end of the file or the sample says.
    void add_with_filler() {
        const auto sample_start = static_cast<std::int64_t>(range_.offset);
        for (const std::int64_t start : {start_by_end(), sample_start}) {
            if (is_after_filler(start)) {
                add_at(Reason::kFillerEnd, start);
            }
        }
    }

    /// As far from the end of the file as in the sample, or after most of all filler: whichever is nearer to
    /// the sample's offset first.
    void add_unsupported() {
        const auto filler_end = find_longest_filler_end(damaged_);
        const std::int64_t after_filler = filler_end ? static_cast<std::int64_t>(*filler_end) : -1;
        const auto distance = [&](std::int64_t start) {
            return std::abs(start - static_cast<std::int64_t>(range_.offset));
        };
        if (filler_end && distance(after_filler) < distance(start_by_end())) {
            add_at(Reason::kFillerEnd, after_filler);
        }
        add_at(Reason::kEndOfFile, start_by_end());
        add_at(Reason::kFillerEnd, after_filler);
    }

    /// The first bytes of the image may look like filler themselves.
    [[nodiscard]] bool is_after_filler(std::int64_t start) const {
        constexpr std::int64_t kMostAlike = 64;
        const auto end = std::ranges::lower_bound(
            filler_ends_, start, {}, [](std::uint64_t at) { return static_cast<std::int64_t>(at); });
        return start > 0 && end != filler_ends_.end() && static_cast<std::int64_t>(*end) - start < kMostAlike;
    }

    /// The sample's pieces, the first of which begins at the offset. A single one with a length of its own
    /// extends as far toward the end of the file as in the sample.
    void add_at(Reason reason, std::int64_t start) {
        if (start < 0) {
            return;
        }
        const auto first = static_cast<std::uint64_t>(start);
        std::vector<Extent> pieces;
        for (const Piece& piece : sample_.description.raw.pieces) {
            pieces.push_back({first + (piece.data.offset - range_.offset), piece.data.length});
        }
        const bool is_open = pieces.size() == 1 && !sample_.has_fixed_length();
        if (is_open && first + after_ < damaged_.size()) {
            pieces.front().length = damaged_.size() - after_ - first;
        }
        add(reason, std::move(pieces));
    }

    void add(Reason reason, std::vector<Extent> pieces) {
        const bool is_inside = std::ranges::all_of(
            pieces, [&](const Extent& piece) { return piece.length != 0 && piece.is_within(damaged_); });
        const bool is_known =
            std::ranges::any_of(layouts_, [&](const Layout& layout) { return layout.pieces == pieces; });
        if (!pieces.empty() && is_inside && !is_known) {
            layouts_.push_back({reason, std::move(pieces)});
        }
    }

    Bytes damaged_;
    const Sample& sample_;
    Extent range_;
    std::uint64_t after_;
    std::vector<std::uint64_t> filler_ends_;
    std::vector<Layout> layouts_;
};

} // namespace

std::vector<Layout> find_layouts(Bytes damaged, const Sample& sample) {
    return Layouts(damaged, sample).find();
}

} // namespace raw_mend
