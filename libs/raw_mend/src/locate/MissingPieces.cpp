#include "locate/MissingPieces.h"

#include "coding/BaselineJpeg.h"

#include <algorithm>
#include <array>

namespace raw_mend {

namespace {

constexpr std::uint64_t kFillerBytes = 32;
constexpr std::ptrdiff_t kMostHeadBytes =
    65536; // Of a preview, from SOI to the end of SOS: an APP1 among them.

bool is_filler_before(Bytes damaged, std::uint64_t offset) {
    if (offset < kFillerBytes) {
        return true;
    }
    const Bytes bytes = damaged.subspan(static_cast<std::size_t>(offset - kFillerBytes), kFillerBytes);
    return std::all_of(bytes.begin(), bytes.end(), [&](unsigned char byte) { return byte == bytes[0]; });
}

class GapSearch {
  public:
    GapSearch(Bytes damaged, std::span<const CodedPlace> places, const CodedSample& sample)
        : damaged_(damaged), places_(places), sample_(sample) {}

    std::vector<Gap> run(const std::vector<EntropyData>& before_first) {
        std::vector<Gap> gaps{front(before_first)};
        for (std::size_t nth = 0; nth + 1 < places_.size(); ++nth) {
            gaps.push_back(between(places_[nth], places_[nth + 1].offset));
        }
        gaps.push_back(back());
        return gaps;
    }

  private:
    [[nodiscard]] std::size_t room(std::uint64_t bytes) const {
        const std::uint64_t pieces = bytes / std::max<std::uint64_t>(sample_.shortest_possible(), 1);
        return static_cast<std::size_t>(std::min<std::uint64_t>(pieces, sample_.count()));
    }

    /// The bytes after a stream of the usual length.
    [[nodiscard]] std::uint64_t excess(const CodedPlace& place, std::uint64_t limit) const {
        const std::uint64_t bytes = limit - place.offset;
        return bytes - std::min(bytes, sample_.mean());
    }

    /// Data without a head that end where the first place's padding begins are a piece; bytes that are as
    /// they are before the sample's first piece show that none is missing. If there are fewer bytes than in
    /// the sample, the file may have lost any number with its beginning.
    [[nodiscard]] Gap front(const std::vector<EntropyData>& before_first) const {
        const std::uint64_t offset = places_.front().offset;
        const std::uint64_t usual = sample_.streams().front().begin;
        if (offset == usual) {
            return {};
        }
        const Gap any{0, offset < usual ? sample_.count() : room(offset), offset - std::min(offset, usual)};
        const bool reaches = !before_first.empty() && before_first.back().closed &&
                             offset - before_first.back().range.end <= sample_.spacing().most_padding();
        if (reaches && !before_first.back().has_head) {
            return {1, std::max<std::size_t>(any.most, 1), any.bytes};
        }
        const bool eoi = has_eoi_before(damaged_, offset, sample_.spacing().most_padding());
        const bool usual_end =
            eoi == sample_.eoi_before_first() && (!eoi || (reaches && is_whole(before_first.back())));
        return usual_end && !is_filler_before(damaged_, offset) ? Gap{} : any;
    }

    /// Whether a stretch with a head is a whole picture. If not, its head and its end may be of two streams,
    /// and all between them be lost.
    [[nodiscard]] bool is_whole(const EntropyData& picture) const {
        const auto last = damaged_.begin() + static_cast<std::ptrdiff_t>(picture.range.begin);
        constexpr std::array<unsigned char, 3> kSoi{0xFF, 0xD8, 0xFF};
        const auto soi =
            std::find_end(last - std::min<std::ptrdiff_t>(last - damaged_.begin(), kMostHeadBytes), last,
                          kSoi.begin(), kSoi.end());
        const auto check = check_baseline_jpeg(damaged_, static_cast<std::uint64_t>(soi - damaged_.begin()));
        return check.jpeg && check.jpeg->data.end() == picture.range.end;
    }

    [[nodiscard]] Gap between(const CodedPlace& place, std::uint64_t next) const {
        if (!place.proved) { // A fault is often noticed long after the damage.
            const std::size_t pieces = room(next - place.offset);
            return {0, pieces - std::min<std::size_t>(pieces, 1), excess(place, next)};
        }
        if (sample_.spacing().allows(place.range(), next)) {
            return {};
        }
        const std::size_t most = room(next - place.end);
        return {std::min<std::size_t>(most, 1), most, next - place.end};
    }

    /// Any number may have been truncated, unless the file ends after the last place as the sample does.
    [[nodiscard]] Gap back() const {
        const CodedPlace& last = places_.back();
        if (last.proved && sample_.ends_alike(damaged_.size() - last.end)) {
            return {};
        }
        return {0, sample_.count(), excess(last, damaged_.size())};
    }

    Bytes damaged_;
    std::span<const CodedPlace> places_;
    const CodedSample& sample_;
};

/// Distributes those that are missing: each gap has its least number; the others go where most bytes are per
/// piece.
std::vector<std::size_t> distribute(const std::vector<Gap>& gaps, std::size_t missing) {
    std::vector<std::size_t> counts;
    counts.reserve(gaps.size());
    for (const Gap& gap : gaps) {
        counts.push_back(gap.least);
        missing -= gap.least;
    }
    // As many as the longest bytes per piece allow, found by halving: linear in the gaps for each of 64
    // steps.
    const auto taken = [&](std::size_t nth, std::uint64_t bytes_per_piece) {
        return static_cast<std::size_t>(
            std::clamp<std::uint64_t>(gaps[nth].bytes / bytes_per_piece, gaps[nth].least, gaps[nth].most));
    };
    const auto total = [&](std::uint64_t bytes_per_piece) {
        std::size_t sum = 0;
        for (std::size_t nth = 0; nth < gaps.size(); ++nth) {
            sum += taken(nth, bytes_per_piece) - gaps[nth].least;
        }
        return sum;
    };
    std::uint64_t low = 1;
    std::uint64_t high = std::uint64_t{1} << 62U;
    while (low < high) {
        const std::uint64_t middle = low + (high - low) / 2;
        if (total(middle) > missing) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    for (std::size_t nth = 0; nth < gaps.size(); ++nth) {
        missing -= taken(nth, low) - counts[nth];
        counts[nth] = taken(nth, low);
    }
    for (std::size_t nth = gaps.size(); nth-- > 0 && missing > 0;) { // After the last place first.
        const std::size_t more = std::min(missing, gaps[nth].most - counts[nth]);
        counts[nth] += more;
        missing -= more;
    }
    return counts;
}

} // namespace

std::vector<Gap> find_gaps(Bytes damaged, std::span<const CodedPlace> places,
                           const std::vector<EntropyData>& before_first, const CodedSample& sample) {
    return GapSearch(damaged, places, sample).run(before_first);
}

std::optional<std::vector<Position>> find_positions(const std::vector<Gap>& gaps, std::size_t missing) {
    std::uint64_t least_after = 0;
    std::uint64_t most_after = 0;
    for (const Gap& gap : gaps) {
        least_after += gap.least;
        most_after += gap.most;
    }
    if (least_after > missing || most_after < missing) {
        return std::nullopt;
    }
    const auto likely = distribute(gaps, missing);
    std::vector<Position> positions;
    std::uint64_t least_before = 0;
    std::uint64_t most_before = 0;
    std::size_t likely_before = 0;
    for (std::size_t nth = 0; nth + 1 < gaps.size(); ++nth) {
        least_before += gaps[nth].least;
        most_before += gaps[nth].most;
        least_after -= gaps[nth].least;
        most_after -= gaps[nth].most;
        likely_before += likely[nth];
        const std::uint64_t least =
            std::max(least_before, missing - std::min<std::uint64_t>(most_after, missing));
        const std::uint64_t most = std::min(most_before, missing - least_after);
        positions.push_back({nth + static_cast<std::size_t>(least), nth + static_cast<std::size_t>(most),
                             nth + likely_before});
    }
    return positions;
}

} // namespace raw_mend
