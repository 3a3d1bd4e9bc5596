#include "sequential/PlainPlacement.h"

#include "sequential/Smoothness.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <optional>

namespace still_mend {

namespace {

// MCUs that may be compared with what is above them, in all. A picture of 250 megapixels with a few breaks
// needs a twentieth; noise would need any number.
constexpr std::size_t kMostCompared = 1U << 25U;

/// MCUs of one run without a break between them.
struct Segment {
    std::size_t run = 0;
    std::size_t first = 0; ///< Trace.
    std::size_t last = 0;  ///< One behind.
    [[nodiscard]] std::size_t size() const { return last - first; }
};

double median(std::vector<double>& values) {
    if (values.empty()) {
        return 0;
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// The mean of the smaller three quarters.
double smaller_mean(std::vector<double>& values) {
    const std::size_t kept = std::max<std::size_t>(values.size() * 3 / 4, 1);
    const auto end = values.begin() + static_cast<std::ptrdiff_t>(kept);
    std::nth_element(values.begin(), end - 1, values.end());
    return std::accumulate(values.begin(), end, 0.0) / static_cast<double>(kept);
}

/// Whether a run stays where it is from its first MCU to its last: it begins the scan, and nothing proves
/// that it slipped, as an end with some MCUs too many or too few does. A picture has edges that look like
/// damage, so that no look tells where the first damage is.
bool is_in_place(const Run& run, std::size_t total) {
    return run.dc_known && (!run.at_eoi || run.count == total);
}

/// Finds the places within runs where noise begins and ends. Damage need not lead to an error: the decoder
/// often falls into step again by itself, some MCUs too early or too late.
class BreakSearch {
  public:
    BreakSearch(const Survey& survey, std::size_t wide, std::size_t total, double typical)
        : survey_(survey), traces_(survey.traces), wide_(wide), total_(total), bound_(3 * typical + 2 * 16) {}

    [[nodiscard]] std::vector<Segment> segments() const {
        std::vector<Segment> found;
        for (std::size_t index = 0; index < survey_.runs.size() && found.size() < kMostSegments; ++index) {
            const Run& run = survey_.runs[index];
            if (is_in_place(run, total_)) {
                add(index, run.trace, end_in_place(run), found);
            } else {
                split(index, found);
            }
        }
        return found;
    }

  private:
    static constexpr std::size_t kMostSegments = 512;
    static constexpr std::size_t kMostNoise = 256; // MCUs between damage and the error that it leads to.

    /// Alternates between looking for a change to rough and one to smooth, by the sums of what exceeds a
    /// bound.
    void split(std::size_t index, std::vector<Segment>& found) const {
        const Run& run = survey_.runs[index];
        const std::size_t end = run.trace + run.count;
        bool smooth = run.dc_known;
        std::size_t begin = run.trace;  // Of the current segment, if smooth.
        std::size_t change = run.trace; // Where the sum was 0 last.
        double sum = 0;
        for (std::size_t mcu = run.trace + 1; mcu < end && found.size() < kMostSegments; ++mcu) {
            const double step = std::min(traces_.step_right(mcu - 1, mcu), 4 * bound_);
            sum = std::max(0.0, sum + (smooth ? step - bound_ : bound_ - step));
            if (sum == 0) {
                change = mcu;
            }
            if (smooth && (sum > 7 * bound_ || is_misaligned(run, mcu))) {
                const std::size_t stop = sum > 7 * bound_ ? change : mcu;
                add(index, begin, std::max(stop, begin), found);
                smooth = sum <= 7 * bound_;
                begin = mcu;
                change = mcu;
                sum = 0;
            } else if (!smooth && sum > 7 * bound_) {
                smooth = true;
                begin = change;
                change = mcu;
                sum = 0;
            }
        }
        if (smooth) {
            add(index, begin, end_of_smooth(run, begin, end), found);
        }
    }

    /// A run that an error ended has noise before the error.
    [[nodiscard]] std::size_t end_of_smooth(const Run& run, std::size_t begin, std::size_t end) const {
        const bool good = run.closes || run.cut || run.count >= total_;
        return good ? end : begin + smooth_prefix(traces_, begin, end, (bound_ - 32) / 3);
    }

    /// The same of a run that stays in its place: only its last MCUs are looked at, and what is usual is what
    /// precedes them.
    [[nodiscard]] std::size_t end_in_place(const Run& run) const {
        const std::size_t end = run.trace + run.count;
        if (run.at_eoi || run.cut || run.count >= total_) {
            return end;
        }
        if (run.count <= kMostNoise) { // Nothing tells what is usual here.
            return run.trace + smooth_prefix(traces_, run.trace, end, (bound_ - 32) / 3);
        }
        const std::size_t begin = end - kMostNoise;
        std::vector<double> steps;
        for (std::size_t mcu = begin - std::min(begin - run.trace, 4 * kMostNoise); mcu + 1 < begin; ++mcu) {
            steps.push_back(traces_.step_right(mcu, mcu + 1));
        }
        return begin + smooth_prefix(traces_, begin, end, std::max(median(steps), (bound_ - 32) / 3));
    }

    void add(std::size_t index, std::size_t begin, std::size_t end, std::vector<Segment>& found) const {
        const Run& run = survey_.runs[index];
        if (end > begin && (end - begin >= kMinRun || (run.dc_known && begin == run.trace))) {
            found.push_back({index, begin, end});
        }
    }

    /// Whether the row that begins here does not fit the row before it, although that one fitted its own.
    [[nodiscard]] bool is_misaligned(const Run& run, std::size_t mcu) const {
        if (compared_ > kMostCompared || mcu < run.trace + 2 * wide_ || mcu + wide_ > run.trace + run.count ||
            traces_.step_right(mcu - 1, mcu) < bound_) {
            return false;
        }
        compared_ += wide_;
        double before = 0;
        double behind = 0;
        for (std::size_t index = 0; index < wide_; ++index) {
            before += traces_.step_down(mcu - 2 * wide_ + index, mcu - wide_ + index);
            behind += traces_.step_down(mcu - wide_ + index, mcu + index);
        }
        return behind > 3 * before + 32 * static_cast<double>(wide_);
    }

    const Survey& survey_;
    const McuTraces& traces_;
    std::size_t wide_;
    std::size_t total_;
    double bound_;
    mutable std::size_t compared_ = 0;
};

/// Finds where a run slipped: damage often leaves nothing but some MCUs too many or too few, and the row
/// behind it then fits that before best if it is moved by so many.
class SlipSearch {
  public:
    SlipSearch(const McuTraces& traces, std::size_t wide) : traces_(traces), wide_(wide) {}

    [[nodiscard]] std::vector<Segment> part(const Segment& segment) const {
        std::vector<bool> slips(segment.size(), false);
        for (std::ptrdiff_t slip = 1; slip <= kReach; ++slip) {
            mark(segment, slip, slips);
            mark(segment, -slip, slips);
        }
        std::vector<Segment> parts{segment};
        for (std::size_t index = 0; index < slips.size(); ++index) {
            const std::size_t mcu = segment.first + index;
            if (slips[index] && mcu >= parts.back().first + kMinRun && mcu + kMinRun <= segment.last) {
                parts.back().last = mcu;
                parts.push_back({segment.run, mcu, segment.last});
            }
        }
        return parts;
    }

    /// The MCU at which a slip by so many gains most, if it gains anything.
    [[nodiscard]] std::optional<std::size_t> best_cut(const Segment& segment, std::ptrdiff_t slip) const {
        const auto gains = gains_of(segment, slip);
        const auto most = std::max_element(gains.begin(), gains.end());
        if (most == gains.end() || *most <= 0) {
            return std::nullopt;
        }
        return segment.first + least(slip) + static_cast<std::size_t>(most - gains.begin());
    }

  private:
    static constexpr std::ptrdiff_t kReach = 6;
    static constexpr double kLeastGain = 0.4; // Of what the slip costs where there is none.

    [[nodiscard]] std::size_t least(std::ptrdiff_t slip) const {
        return wide_ + static_cast<std::size_t>(std::max<std::ptrdiff_t>(slip, 0));
    }

    /// By MCU, from the first that has a row above: how much better the row that begins there fits with the
    /// slip. Positive slips are MCUs too many.
    [[nodiscard]] std::vector<double> gains_of(const Segment& segment, std::ptrdiff_t slip) const {
        const std::size_t first = segment.first + least(slip);
        if (first + wide_ > segment.last) {
            return {};
        }
        std::vector<double> sums{0};
        for (std::size_t mcu = first; mcu < segment.last; ++mcu) {
            const auto above = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(mcu - wide_) - slip);
            sums.push_back(sums.back() + traces_.step_down(mcu - wide_, mcu) -
                           traces_.step_down(std::min(above, mcu), mcu));
        }
        std::vector<double> gains;
        for (std::size_t index = 0; index + wide_ < sums.size(); ++index) {
            gains.push_back(sums[index + wide_] - sums[index]);
        }
        return gains;
    }

    void mark(const Segment& segment, std::ptrdiff_t slip, std::vector<bool>& slips) const {
        const auto gains = gains_of(segment, slip);
        std::vector<double> sorted = gains;
        const double usual = std::max(-median(sorted), static_cast<double>(wide_));
        std::size_t best = gains.size();
        for (std::size_t index = 0; index < gains.size(); ++index) {
            if (gains[index] > kLeastGain * usual && (best == gains.size() || gains[index] > gains[best])) {
                best = index;
            }
            if (best < gains.size() && (index >= best + wide_ || index + 1 == gains.size())) {
                slips[least(slip) + best] = true;
                best = gains.size();
            }
        }
    }

    const McuTraces& traces_;
    std::size_t wide_;
};

class PlainPlacement {
  public:
    PlainPlacement(const ScanData& data, const Survey& survey, Canvas& canvas)
        : data_(data), survey_(survey), traces_(survey.traces), canvas_(canvas), wide_(canvas.wide()),
          typical_(typical_step(survey)), slips_(survey.traces, canvas.wide()) {}

    std::vector<Placement> place() {
        auto segments = BreakSearch(survey_, wide_, data_.total, typical_).segments();
        learn_distances(segments);
        segments = parted(merged(segments));
        find_tail(segments);
        learn_lost(segments);
        for (std::size_t index = 0; index < segments.size(); ++index) {
            const Segment& segment = segments[index];
            if (survey_.runs[segment.run].dc_known && segment.first == survey_.runs[segment.run].trace) {
                put(segment, 0, {}, true);
            } else if (placements_.empty()) {
                continue;
            } else if (tail_ && index + 1 == segments.size()) {
                place_tail(segment);
            } else {
                place_behind(segment);
            }
        }
        show_broken_ends();
        return std::move(placements_);
    }

  private:
    static constexpr std::size_t kRows = 4; // How far above what a fit compares with may be.
    static constexpr std::size_t kLeastPairs = 8;
    static constexpr std::size_t kShownBeforeBreak = 4;
    static constexpr double kClearMargin = 8;   // Between the best place and any other, of a sure one.
    static constexpr double kMostOfUsual = 1.6; // Step over a border of a sure place, of the usual step.
    static constexpr double kMostOfAny = 4;     // The same of a place that is worth a guess.
    static constexpr double kSlipCost = 4;      // A run that slipped is that much less likely.
    static constexpr double kLevelMargin = 3;   // What a change of brightness must make likelier.

    /// An MCU and the nearest that stands above a place for it.
    struct Pair {
        std::size_t above = 0; ///< Position.
        std::size_t below = 0; ///< Trace.
        std::size_t rows = 1;  ///< Apart.
    };

    /// How well the beginning of a segment fits under what is above a place.
    struct Fit {
        std::size_t position = 0;
        Levels level{};
        double steps = 0; ///< The usual ones are 1.
        double cost = 0;  ///< What speaks against the place, as the logarithm of a probability.
    };

    /// The mean steps from each row to those below it, one to kRows away.
    void learn_distances(const std::vector<Segment>& segments) {
        for (std::size_t rows = 1; rows <= kRows; ++rows) {
            double sum = 0;
            double count = 0;
            for (const auto& segment : segments) {
                for (std::size_t mcu = segment.first + rows * wide_; mcu < segment.last; ++mcu) {
                    sum += traces_.step_down(mcu - rows * wide_, mcu);
                    ++count;
                }
            }
            const double nearer = rows == 1 ? typical_ : usual_[rows - 1];
            usual_[rows] = std::max(count > 0 ? sum / count : nearer, nearer) + 1;
        }
    }

    /// Joins segments of a run where the rows on both sides fit each other as they are: what lay between was
    /// a rough part of the picture.
    [[nodiscard]] std::vector<Segment> merged(const std::vector<Segment>& segments) const {
        std::vector<Segment> joined;
        for (const auto& segment : segments) {
            if (!joined.empty() && joined.back().run == segment.run && fits_itself(joined.back(), segment)) {
                joined.back().last = segment.last;
            } else {
                joined.push_back(segment);
            }
        }
        return joined;
    }

    [[nodiscard]] bool fits_itself(const Segment& before, const Segment& segment) const {
        std::vector<double> steps;
        for (std::size_t mcu = segment.first; mcu < std::min(segment.last, segment.first + wide_); ++mcu) {
            if (mcu >= wide_ && mcu - wide_ >= before.first && mcu - wide_ < before.last) {
                steps.push_back(traces_.step_down(mcu - wide_, mcu));
            }
        }
        return steps.size() >= std::min<std::size_t>(8, wide_) && smaller_mean(steps) <= usual_[1] + 16;
    }

    /// Parts segments where they slipped. A run from the scan's beginning to its end that has some MCUs more
    /// or less than the picture did somewhere, be it hardly visible.
    [[nodiscard]] std::vector<Segment> parted(const std::vector<Segment>& segments) const {
        std::vector<Segment> parts;
        for (const auto& segment : segments) {
            if (is_in_place(survey_.runs[segment.run], data_.total)) {
                parts.push_back(segment);
                continue;
            }
            for (const auto& part : slips_.part(segment)) {
                parts.push_back(part);
            }
        }
        if (parts.size() != 1) {
            return parts;
        }
        const Run& run = survey_.runs.front();
        if (run.at_eoi && run.count != data_.total) {
            const auto slip =
                static_cast<std::ptrdiff_t>(run.count) - static_cast<std::ptrdiff_t>(data_.total);
            if (const auto cut = slips_.best_cut(parts.front(), slip)) {
                parts.push_back({0, *cut, parts.front().last});
                parts.front().last = *cut;
            }
        }
        return parts;
    }

    /// The place of the last segment, if its run goes on to EOI: the last MCU of it is that of the picture.
    void find_tail(const std::vector<Segment>& segments) {
        if (segments.empty()) {
            return;
        }
        const Run& run = survey_.runs[segments.back().run];
        const std::size_t rest = run.trace + run.count - segments.back().first;
        if (run.at_eoi && rest <= data_.total && segments.back().last == run.trace + run.count) {
            tail_ = data_.total - rest;
        }
    }

    void place_tail(Segment segment) {
        std::size_t position = *tail_;
        if (segment.run == last_.run) {
            const std::size_t straight = last_position_ + (segment.first - last_.first);
            const auto as_it_is = fit_at(segment, straight, &last_level_);
            const auto at_eoi = fit_at(segment, position, nullptr);
            const bool goes_on = !as_it_is || !at_eoi || at_eoi->steps >= 0.7 * as_it_is->steps;
            if (goes_on && straight == position) {
                bridge(segment, true); // Both ends agree.
                return;
            }
            const auto slip = static_cast<std::ptrdiff_t>(straight) - static_cast<std::ptrdiff_t>(position);
            if (const auto cut = goes_on ? slips_.best_cut(segment, slip) : std::nullopt) {
                // It slipped further on.
                bridge({segment.run, segment.first, *cut}, last_sure_);
                position += *cut - segment.first;
                segment.first = *cut;
            }
        }
        const std::size_t reached = last_position_ + last_.size();
        if (reached > position) { // What is there already keeps its place.
            const std::size_t covered = reached - position;
            if (covered >= segment.size()) {
                return;
            }
            segment.first += covered;
            position = reached;
        }
        const auto fit = fit_at(segment, position, nullptr, data_.total / wide_);
        put_smooth_part(segment, position, fit ? fit->level : last_level_, true);
    }

    void place_behind(const Segment& segment) {
        const std::size_t reached = last_position_ + last_.size();
        if (segment.run == last_.run) {
            place_straight(segment);
            return;
        }
        const double expected = std::max(lost_mcus(last_, segment) * share_lost_, 1.0);

        const auto prior = [&](std::size_t position) {
            const double off = (static_cast<double>(position - reached) - expected) / (3 + 0.2 * expected);
            return std::min(off * off / 2, 8.0);
        };
        const std::size_t last = reached + static_cast<std::size_t>(6 * expected) + wide_;
        take(segment, search(segment, reached, last, std::nullopt, prior));
    }

    /// A segment of the run that was placed last: most likely nothing is missing in between.
    void place_straight(const Segment& segment) {
        const std::size_t position = last_position_ + (segment.first - last_.first);
        if (position + segment.size() > data_.total) {
            return;
        }
        const auto straight = fit_at(segment, position, &last_level_);
        const auto levelled = fit_at(segment, position, nullptr);
        if (!straight || !levelled) {
            bridge(segment, false);
            return;
        }
        const auto prior = [position](std::size_t place) {
            return kSlipCost + std::abs(static_cast<double>(place) - static_cast<double>(position)) / 8;
        };
        const std::size_t reached = last_position_ + last_.size();
        const std::size_t first = std::max(reached, position - std::min(position, wide_ / 2));
        const auto others = search(segment, first, position + wide_ / 2, position, prior);
        const double best_other = others.best ? others.best->cost : straight->cost + kClearMargin;
        if (straight->cost <= std::min(best_other, levelled->cost + kLevelMargin)) {
            bridge(segment, last_sure_ && straight->cost + kClearMargin < best_other);
        } else if (levelled->cost <= best_other) {
            put_smooth_part(segment, position, levelled->level,
                            last_sure_ && levelled->cost + kClearMargin < best_other);
        } else {
            take(segment, others);
        }
    }

    struct Findings {
        std::optional<Fit> best;
        double margin = 0; ///< To the second best.
    };

    /// The likeliest place from the first to the last that leave room for a segment, but for one.
    template <typename Prior>
    [[nodiscard]] Findings search(const Segment& segment, std::size_t first, std::size_t last,
                                  std::optional<std::size_t> but, Prior prior) const {
        const std::size_t limit = tail_.value_or(data_.total);
        last = std::min(last, limit - std::min(limit, segment.size()));
        Findings found;
        for (std::size_t position = first; position <= last && compared_ < kMostCompared; ++position) {
            auto fit = position == but ? std::nullopt : fit_at(segment, position, nullptr);
            if (!fit) {
                continue;
            }
            fit->cost += prior(position);
            if (!found.best || fit->cost < found.best->cost) {
                found.margin = found.best ? found.best->cost - fit->cost : 0;
                found.best = fit;
            } else {
                const double margin = fit->cost - found.best->cost;
                found.margin = found.margin == 0 ? margin : std::min(found.margin, margin);
            }
        }
        return found;
    }

    /// Puts a segment at the likeliest place.
    void take(const Segment& segment, const Findings& found) {
        if (found.best && found.best->steps <= kMostOfAny) {
            const bool clear = found.margin >= kClearMargin && found.best->steps <= kMostOfUsual;
            put_smooth_part(segment, found.best->position, found.best->level, last_sure_ && clear);
        }
    }

    /// Takes a segment together with what lies between it and the one before.
    void bridge(const Segment& segment, bool sure) {
        const std::size_t position = last_position_ + last_.size();
        put({segment.run, last_.last, segment.last}, position, last_level_, sure);
    }

    /// Takes a segment without its first MCUs, as far as these do not fit: the decoder was not in step yet.
    void put_smooth_part(const Segment& segment, std::size_t position, const Levels& level, bool sure) {
        double sum = 0;
        double highest = 0;
        std::size_t start = 0;
        for (std::size_t mcu = 0; mcu < std::min(segment.size(), wide_); ++mcu) {
            if (const auto pair = pair_at(segment, position, mcu, kRows)) {
                const double bound = 3 * usual_[pair->rows] + 32;
                sum += std::min(step_over(*pair, level), 3 * bound) - bound;
                if (sum > highest) {
                    highest = sum;
                    start = mcu + 1;
                }
            }
        }
        if (start < segment.size()) {
            put({segment.run, segment.first + start, segment.last}, position + start, level, sure);
        }
    }

    /// What precedes a break looks rough for some MCUs, but may be good. It is shown.
    void show_broken_ends() {
        const std::vector<Placement> placed = placements_;
        for (const auto& before : placed) {
            const Run& run = survey_.runs[before.run];
            const std::size_t skip = before.skip + before.count;
            const std::size_t position = before.position + before.count;
            const std::size_t most = run.dc_known ? run.count : kShownBeforeBreak;
            std::size_t count = 0;
            while (count < most && skip + count < run.count && position + count < data_.total &&
                   !canvas_.is_filled(position + count)) {
                ++count;
            }
            if (count > 0) {
                placements_.push_back({before.run, skip, count, position, before.level, false});
                canvas_.put(position, run.trace + skip, count, before.level);
            }
        }
    }

    /// With no level given, the one that fits best is found. Nothing where too little is above.
    [[nodiscard]] std::optional<Fit> fit_at(const Segment& segment, std::size_t position, const Levels* given,
                                            std::size_t rows = kRows) const {
        std::vector<Pair> pairs;
        for (std::size_t mcu = 0; mcu < std::min(segment.size(), wide_); ++mcu) {
            if (const auto pair = pair_at(segment, position, mcu, rows)) {
                pairs.push_back(*pair);
            }
        }
        if (pairs.size() < std::min(kLeastPairs, wide_)) {
            return std::nullopt;
        }
        compared_ += pairs.size();
        Fit fit{position, given != nullptr ? *given : level_of(pairs)};
        double cost = 0;
        for (const auto& pair : pairs) {
            const double usual = usual_step(segment, pair);
            const double step = std::min(step_over(pair, fit.level) / usual, 6.0);
            fit.steps += step;
            cost += step + std::log(usual);
        }
        const auto count = static_cast<double>(pairs.size());
        fit.steps /= count;
        // Neighbours tell nearly the same: a quarter of them counts.
        fit.cost = cost / count * static_cast<double>(std::min(segment.size(), wide_)) / 4;
        return fit;
    }

    [[nodiscard]] std::optional<Pair> pair_at(const Segment& segment, std::size_t position, std::size_t mcu,
                                              std::size_t rows) const {
        std::size_t above = position + mcu;
        for (std::size_t row = 1; row <= rows && above >= wide_ && above < data_.total + wide_; ++row) {
            above -= wide_;
            if (canvas_.is_filled(above)) {
                return Pair{above, segment.first + mcu, row};
            }
        }
        return std::nullopt;
    }

    [[nodiscard]] double step_over(const Pair& pair, const Levels& level) const {
        const int offset = (level[0] - canvas_.level(pair.above)[0]) * traces_.step_of_dc();
        return traces_.step_down(canvas_.trace(pair.above), pair.below, offset);
    }

    /// The usual step over so many rows in this place: those further up, and those within the segment.
    [[nodiscard]] double usual_step(const Segment& segment, const Pair& pair) const {
        const std::size_t apart = pair.rows * wide_;
        double sum = usual_[1];
        double count = 1;
        if (pair.above >= apart && canvas_.is_filled(pair.above - apart)) {
            const auto& upper = canvas_.level(pair.above - apart);
            const int offset = (canvas_.level(pair.above)[0] - upper[0]) * traces_.step_of_dc();
            sum += traces_.step_down(canvas_.trace(pair.above - apart), canvas_.trace(pair.above), offset);
            ++count;
        }
        if (pair.below + apart < segment.last) {
            sum += traces_.step_down(pair.below, pair.below + apart);
            ++count;
        }
        return count > 1 ? sum / count : usual_[std::min(pair.rows, kRows)];
    }

    /// The median of what would level each MCU with that above, by the nearest of them.
    [[nodiscard]] Levels level_of(const std::vector<Pair>& pairs) const {
        std::size_t rows = 0;
        for (std::size_t near = 0; near < kLeastPairs && near < pairs.size();) {
            ++rows;
            near = static_cast<std::size_t>(std::count_if(
                pairs.begin(), pairs.end(), [rows](const Pair& pair) { return pair.rows <= rows; }));
        }
        Levels levels{};
        std::vector<double> values;
        for (std::size_t component = 0; component < traces_.components(); ++component) {
            values.clear();
            for (const auto& pair : pairs) {
                if (pair.rows <= rows) {
                    const double known = canvas_.level(pair.above)[component];
                    const int level = traces_.level_down(canvas_.trace(pair.above), pair.below, component);
                    values.push_back(known + static_cast<double>(level) / traces_.step_of_dc(component));
                }
            }
            levels[component] = static_cast<std::int32_t>(std::lround(median(values)));
        }
        return levels;
    }

    /// Bytes from the end of a segment to the next, as far as runs tell.
    [[nodiscard]] double bytes_between(const Segment& before, const Segment& segment) const {
        return std::max(offset_of(segment.run, segment.first) - offset_of(before.run, before.last), 0.0);
    }

    /// How many MCUs these bytes may have been.
    [[nodiscard]] double lost_mcus(const Segment& before, const Segment& segment) const {
        const auto density = [this](const Segment& of) {
            return (offset_of(of.run, of.last) - offset_of(of.run, of.first)) /
                   static_cast<double>(of.size());
        };
        return bytes_between(before, segment) / std::max((density(before) + density(segment)) / 2, 0.25);
    }

    /// With both ends known, so is the number of all lost MCUs: what is to be expected of each gap is put
    /// right by it.
    void learn_lost(const std::vector<Segment>& segments) {
        if (!tail_) {
            return;
        }
        double lost = 0;
        auto placed = static_cast<double>(segments.front().size());
        for (std::size_t index = 1; index < segments.size(); ++index) {
            lost += lost_mcus(segments[index - 1], segments[index]);
            placed += index + 1 < segments.size() ? static_cast<double>(segments[index].size()) : 0;
        }
        share_lost_ = std::clamp((static_cast<double>(*tail_) - placed) / std::max(lost, 1.0), 0.25, 4.0);
    }

    [[nodiscard]] double offset_of(std::size_t index, std::size_t trace) const {
        const Run& run = survey_.runs[index];
        const double share = static_cast<double>(trace - run.trace) / static_cast<double>(run.count);
        return static_cast<double>(run.begin) + share * static_cast<double>(run.end - run.begin);
    }

    void put(const Segment& segment, std::size_t position, const Levels& level, bool sure) {
        if (position >= data_.total) {
            return;
        }
        const std::size_t count = std::min(segment.size(), data_.total - position);
        const Run& run = survey_.runs[segment.run];
        placements_.push_back({segment.run, segment.first - run.trace, count, position, level, sure});
        canvas_.put(position, segment.first, count, level);
        last_ = segment;
        last_position_ = position;
        last_level_ = level;
        last_sure_ = sure;
    }

    const ScanData& data_;
    const Survey& survey_;
    const McuTraces& traces_;
    Canvas& canvas_;
    std::size_t wide_;
    double typical_;
    SlipSearch slips_;
    std::array<double, kRows + 1> usual_{}; // Steps to the row so many below.
    mutable std::size_t compared_ = 0;
    std::optional<std::size_t> tail_; // Position of the last segment.
    double share_lost_ = 1;           // Of the MCUs that bytes make expect.
    Segment last_;                    // What was placed last, and where.
    std::size_t last_position_ = 0;
    Levels last_level_{};
    bool last_sure_ = true;
    std::vector<Placement> placements_;
};

} // namespace

std::vector<Placement> place_plain(const ScanData& data, const Survey& survey, Canvas& canvas) {
    if (survey.runs.size() == 1) {
        const Run& run = survey.runs[0];
        const bool whole = run.count == data.total;
        // Nothing happened but that the end is missing.
        if (run.dc_known && (whole || run.cut)) {
            canvas.put(0, run.trace, run.count);
            return {{0, 0, run.count, 0, {}}};
        }
    }
    return PlainPlacement(data, survey, canvas).place();
}

} // namespace still_mend
