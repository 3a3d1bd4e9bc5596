#include "mend/RowSegments.h"

#include "locate/Sectors.h"
#include "mend/RowPath.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

namespace raw_mend {

namespace {

constexpr std::int64_t kMostMoved =
    std::int64_t{256} * 1024; ///< Bytes lost or put in at one place, if the end is unknown.
constexpr std::size_t kMostChoices = 8;
/// In pictures of few rows, smooth ones look alike with and without a loss: the break was up to 82 rows away
/// from where it seemed to be (arw, "4 KiB lost" in docs/measurements/verdicts.md). In 40 trials on pictures
/// of 1,300 rows and more it was found.
constexpr std::uint64_t kFewRows = 1000;
constexpr std::uint64_t kMostUnclear = 96;
constexpr std::uint64_t kMargin = 64;      ///< Rows by which the border of a piece may be wrong: a window.
constexpr std::uint64_t kRowsNearStep = 8; ///< A step, among which its break is searched for.

class Chain {
  public:
    Chain(Bytes file, const RowGeometry& geometry, const RowAnchors& anchors)
        : file_(file), geometry_(geometry), anchors_(anchors), current_(anchors.front) {}

    RowSegments find(std::span<const PhasePiece> pieces) {
        for (std::size_t nth = 0; nth < pieces.size(); ++nth) {
            const PhasePiece& piece = pieces[nth];
            if (row_at(piece.end, current_) <= kMargin / 2 ||
                row_at(piece.begin, current_) >= geometry_.rows) {
                continue;
            }
            const bool is_last = nth + 1 == pieces.size();
            if (piece.phase != phase_of(current_)) {
                add_break(piece, is_last);
            }
            // Whole rows that are lost or put in do not change the phase.
            const bool is_only = !anchors_.back || phase_of(*anchors_.back) != phase_of(current_) ||
                                 *anchors_.back == current_;
            known_ = is_only ? std::max(known_, row_at(piece.end, current_)) : known_;
        }
        add_last_break();
        end_segment(geometry_.image_bytes());
        doubt_unanchored();
        return std::move(result_);
    }

    /// Nothing if the rows show no break at one of the steps.
    std::optional<RowSegments> follow(const RowPath& path) {
        for (const RowStep& step : path.steps) {
            const std::uint64_t near = std::max(row_at(step.before, current_), first_row() + kRowsNearStep);
            const auto found =
                find_row_break({file_, geometry_, current_, step.start}, near - kRowsNearStep,
                               row_at(step.after, step.start) + kRowsNearStep, anchors_.origins);
            if (!found || found->gain < kLeastRowGain) {
                return std::nullopt;
            }
            add(*found, step.start);
        }
        end_segment(geometry_.image_bytes());
        std::ranges::copy(path.unclear, std::back_inserter(result_.doubtful));
        return std::move(result_);
    }

  private:
    [[nodiscard]] std::int64_t row_bytes() const { return static_cast<std::int64_t>(geometry_.row_bytes); }

    [[nodiscard]] std::uint64_t phase_of(std::int64_t start) const {
        return static_cast<std::uint64_t>((start % row_bytes() + row_bytes()) % row_bytes());
    }

    /// The row of an image at an offset of the file; 0 if that is before it.
    [[nodiscard]] std::uint64_t row_at(std::uint64_t offset, std::int64_t start) const {
        const std::int64_t inside = static_cast<std::int64_t>(offset) - start;
        return inside > 0 ? static_cast<std::uint64_t>(inside / row_bytes()) : 0;
    }

    /// The first row that the next break may be in.
    [[nodiscard]] std::uint64_t first_row() const {
        const std::uint64_t begun = begin_ / geometry_.row_bytes;
        return std::max(begun, known_ > kMargin ? known_ - kMargin : 0);
    }

    /// The best break before a piece. Of the possible displacements, few are tried: the one that the end of
    /// the file shows, then the least ones of whole sectors.
    void add_break(const PhasePiece& piece, bool is_last) {
        std::optional<RowBreak> best;
        std::int64_t start = 0;
        for (const std::int64_t choice : choices(piece.phase)) {
            const std::uint64_t last = row_at(piece.begin, choice) + kMargin;
            const auto found =
                find_row_break({file_, geometry_, current_, choice}, first_row(), last, anchors_.origins);
            if (found && (!best || found->gain > best->gain)) {
                best = found;
                start = choice;
            }
            if (is_last && best && choice == anchors_.back) {
                break;
            }
        }
        if (best) {
            add(*best, start);
        }
    }

    [[nodiscard]] std::vector<std::int64_t> choices(std::uint64_t phase) const {
        std::vector<std::int64_t> all;
        const std::int64_t nearest =
            current_ + (static_cast<std::int64_t>(phase) - static_cast<std::int64_t>(phase_of(current_)));
        for (std::int64_t start = nearest - kMostMoved / row_bytes() * row_bytes();
             start <= nearest + kMostMoved; start += row_bytes()) {
            all.push_back(start);
        }
        const auto rank = [&](std::int64_t start) {
            const std::int64_t moved = std::abs(start - current_);
            const bool has_sectors = moved % static_cast<std::int64_t>(kSectorBytes) == 0;
            return start == anchors_.back ? -1 : moved + (has_sectors ? 0 : 2 * kMostMoved);
        };
        std::ranges::sort(all, {}, rank);
        all.resize(std::min(all.size(), kMostChoices));
        return all;
    }

    /// The one after the last clear piece, if what the end of the file shows is so much better.
    void add_last_break() {
        if (!anchors_.back || *anchors_.back == current_) {
            return;
        }
        const auto found = find_row_break({file_, geometry_, current_, *anchors_.back}, first_row(),
                                          geometry_.rows, anchors_.origins);
        if (found && found->gain >= kLeastRowGain) {
            add(*found, *anchors_.back);
        }
    }

    void add(const RowBreak& found, std::int64_t start) {
        const std::uint64_t lost = current_ > start ? static_cast<std::uint64_t>(current_ - start) : 0;
        result_.gain = breaks_ > 0 ? std::min(result_.gain, found.gain) : found.gain;
        ++breaks_;
        end_segment(found.at);
        const std::uint64_t unclear =
            lost > 0 && geometry_.rows < kFewRows ? kMostUnclear * geometry_.row_bytes : 0;
        if (found.possible.length() + unclear > 0) {
            result_.doubtful.push_back(
                {found.possible.begin - std::min(found.possible.begin, unclear),
                 std::min(found.possible.end + lost + unclear, geometry_.image_bytes())});
        }
        begin_ = found.at + lost;
        current_ = start;
        known_ = 0;
    }

    void end_segment(std::uint64_t end) {
        // What is before the file or after its end is lost.
        const auto size = static_cast<std::int64_t>(file_.size());
        const std::int64_t first = std::max<std::int64_t>(-current_, static_cast<std::int64_t>(begin_));
        const std::int64_t last = std::min<std::int64_t>(size - current_, static_cast<std::int64_t>(end));
        if (first < last) {
            result_.segments.push_back(
                {{static_cast<std::uint64_t>(first), static_cast<std::uint64_t>(last)}, current_});
        }
    }

    /// Where segments are that neither the first bytes nor the last show follows from their phase alone,
    /// which leaves whole rows open.
    void doubt_unanchored() {
        for (const RowSegment& segment : result_.segments) {
            if (segment.start != anchors_.front && segment.start != anchors_.back) {
                result_.doubtful.push_back(segment.image);
            }
        }
    }

    Bytes file_;
    const RowGeometry& geometry_;
    const RowAnchors& anchors_;
    std::int64_t current_;    // Of the segment that is being found.
    std::uint64_t begin_ = 0; // Of the same, in the image.
    std::uint64_t known_ = 0; // The row up to which its phase is known.
    std::size_t breaks_ = 0;
    RowSegments result_;
};

} // namespace

RowSegments find_row_segments(Bytes file, const RowGeometry& geometry, std::span<const PhasePiece> pieces,
                              const RowAnchors& anchors) {
    const auto path =
        anchors.back ? find_row_path(file, geometry, anchors.front, *anchors.back) : std::nullopt;
    if (auto segments = path ? Chain(file, geometry, anchors).follow(*path) : std::nullopt) {
        return std::move(*segments);
    }
    return Chain(file, geometry, anchors).find(pieces);
}

} // namespace raw_mend
