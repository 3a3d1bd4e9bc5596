#include "sequential/RestartPlacement.h"

#include "Work.h"
#include "sequential/Smoothness.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace still_mend {

namespace {

/// Runs that close, one after the other, with numbers that follow one another.
struct RunSequence {
    std::size_t first; ///< Run.
    std::size_t last;  ///< One after.
    [[nodiscard]] std::size_t size() const { return last - first; }
};

std::vector<RunSequence> find_sequences(const std::vector<Run>& runs) {
    std::vector<RunSequence> sequences;
    for (std::size_t index = 0; index < runs.size(); ++index) {
        if (!runs[index].closes) {
            continue;
        }
        const bool follows = !sequences.empty() && sequences.back().last == index && runs[index].adjacent &&
                             runs[index].restart == (runs[index - 1].restart + 1) % 8;
        if (follows) {
            ++sequences.back().last;
        } else {
            sequences.push_back({index, index + 1});
        }
    }
    return sequences;
}

// What this leads to is in the tables of docs/salvage.md, in the rows of removed restart intervals.
constexpr std::size_t kLeastAbove = 4; // MCUs that must have something above them.
constexpr double kClearlyBetter = 0.6; // Of the step at the second best place.

class RestartPlacement {
  public:
    RestartPlacement(const ScanData& data, const Survey& survey, Canvas& canvas)
        : data_(data), survey_(survey), canvas_(canvas), intervals_((data.total - 1) / data.interval + 1),
          typical_(typical_step(survey)), bytes_per_interval_(bytes_per_interval(survey)) {}

    std::vector<Placement> place() {
        const auto sequences = find_sequences(survey_.runs);
        std::size_t waiting = 0; // Intervals of the sequences that are not placed yet.
        for (const auto& sequence : sequences) {
            waiting += sequence.size();
        }
        place_broken();
        for (const RunSequence& sequence : sequences) {
            waiting -= sequence.size();
            if (const auto place = find_place(sequence, waiting)) {
                sure_ = place->sure;
                const std::size_t missing =
                    intervals_ - std::min(intervals_, place->interval + sequence.size());
                if (run(sequence.last - 1).at_eoi && missing > 0 && missing % 8 == 0) {
                    put_with_loss(sequence, place->interval, missing);
                } else {
                    put_sequence(sequence, place->interval);
                }
                next_run_ = sequence.last;
                place_broken();
            }
        }
        return std::move(placements_);
    }

  private:
    [[nodiscard]] const Run& run(std::size_t index) const { return survey_.runs[index]; }

    struct FirstInterval {
        std::size_t interval = 0;
        bool sure = true;
    };

    /// The interval that the sequence's first run is.
    [[nodiscard]] std::optional<FirstInterval> find_place(const RunSequence& sequence,
                                                          std::size_t waiting) const {
        const Run& first = run(sequence.first);
        if (first.restart < 0) { // At the first byte of the scan.
            return next_ == 0 ? std::optional(FirstInterval{}) : std::nullopt;
        }
        const auto phase = (static_cast<std::size_t>(first.restart) + 1) % 8;
        std::size_t lowest = next_ + (phase + 8 - next_ % 8) % 8;
        if (lowest == 0) {
            lowest = 8; // There is no marker before the first interval.
        }
        if (run(sequence.last - 1).at_eoi) {
            // The last marker survives, so places count from the end.
            const std::size_t place = intervals_ >= sequence.size() ? intervals_ - sequence.size() : 0;
            if (place >= lowest && place % 8 == phase) {
                return FirstInterval{place};
            }
        }
        const std::size_t least = lowest + sequence.size() + waiting;
        if (least > intervals_) {
            return lowest + sequence.size() <= intervals_ ? std::optional(FirstInterval{lowest, false})
                                                          : std::nullopt;
        }
        const std::size_t highest = lowest + (intervals_ - least) / 8 * 8;
        return highest == lowest ? FirstInterval{lowest} : choose(sequence, lowest, highest);
    }

    /// Whether a sequence at this place follows what was placed before with a piece for each interval
    /// between.
    [[nodiscard]] bool is_seamless(const RunSequence& sequence, std::size_t place) const {
        if (place - next_ != sequence.first - next_run_) {
            return false;
        }
        for (std::size_t index = next_run_; index <= sequence.first; ++index) {
            if (index > 0 && !run(index).adjacent) {
                return false;
            }
        }
        return true;
    }

    /// One of every eighth interval from the lowest to the highest: by the fit with what is above, where one
    /// place fits clearly better than all others; otherwise by the bytes between this sequence and what was
    /// placed before.
    [[nodiscard]] FirstInterval choose(const RunSequence& sequence, std::size_t lowest,
                                       std::size_t highest) const {
        const std::size_t nearest = nearest_place(sequence, lowest, highest);
        constexpr std::size_t kReach = 1024; // Intervals; a multiple of 8.
        const bool few = highest - lowest < 2 * kReach;
        const std::size_t from = few ? lowest : std::max(lowest, nearest - std::min(nearest, kReach));
        const std::size_t to = few ? highest : std::min(highest, nearest + kReach);
        std::size_t fitting = nearest;
        double best = -1;
        double second = -1;
        for (std::size_t place = from; place <= to; place += 8) {
            const auto step = step_at(sequence, place);
            if (!step) {
                continue;
            }
            if (best < 0 || *step < best) {
                second = best;
                best = *step;
                fitting = place;
            } else if (second < 0 || *step < second) {
                second = *step;
            }
        }
        const bool clear =
            best >= 0 && second >= 0 && best < kClearlyBetter * second && best < rough_step(typical_);
        return clear ? FirstInterval{fitting} : FirstInterval{nearest, is_seamless(sequence, nearest)};
    }

    /// The place that the bytes suggest; the lower one of two as likely.
    [[nodiscard]] std::size_t nearest_place(const RunSequence& sequence, std::size_t lowest,
                                            std::size_t highest) const {
        const double expected = static_cast<double>(next_) +
                                static_cast<double>(run(sequence.first).begin - end_) / bytes_per_interval_;
        const double steps = std::ceil((expected - static_cast<double>(lowest)) / 8 - 0.5);
        const double most = static_cast<double>(highest - lowest) / 8;
        return lowest + 8 * static_cast<std::size_t>(std::clamp(steps, 0.0, most));
    }

    /// The mean step from what is above to the sequence put at a place; nothing where too little is above.
    [[nodiscard]] std::optional<double> step_at(const RunSequence& sequence, std::size_t place) const {
        double sum = 0;
        std::size_t count = 0;
        const std::size_t start = place * data_.interval;
        const std::size_t mcus = std::min(sequence.size() * data_.interval, canvas_.wide());
        Work::add(mcus);
        for (std::size_t mcu = 0; mcu < mcus; ++mcu) {
            const std::size_t position = start + mcu;
            if (position >= canvas_.wide() && position < canvas_.total() &&
                canvas_.is_filled(position - canvas_.wide())) {
                sum += survey_.traces.step_down(canvas_.trace(position - canvas_.wide()),
                                                run(sequence.first).trace + mcu);
                ++count;
            }
        }
        return count < kLeastAbove ? std::nullopt : std::optional(sum / static_cast<double>(count));
    }

    static double bytes_per_interval(const Survey& survey) {
        Work::add(survey.runs.size());
        double bytes = 0;
        double count = 0;
        for (const auto& each : survey.runs) {
            if (each.closes) {
                bytes += static_cast<double>(each.end - each.begin + 2);
                ++count;
            }
        }
        return std::max(bytes / std::max(count, 1.0), 1.0);
    }

    void put_sequence(const RunSequence& sequence, std::size_t place) {
        for (std::size_t index = sequence.first; index < sequence.last; ++index, ++place) {
            put(index, place, run(index).count);
        }
        next_ = place;
        end_ = run(sequence.last - 1).end;
    }

    /// A sequence that is short by eight intervals or a multiple: that many were cut out of it without a sign
    /// in the numbers. They are missing where its rows fit least.
    void put_with_loss(const RunSequence& sequence, std::size_t place, std::size_t missing) {
        std::size_t after_loss = sequence.first + 1;
        double worst = -1;
        for (std::size_t index = sequence.first + 1; index < sequence.last; ++index) {
            const std::size_t position = (place + index - sequence.first) * data_.interval;
            const double misfit = misfit_at(run(sequence.first).trace, run(index).trace, position, missing);
            if (misfit > worst) {
                worst = misfit;
                after_loss = index;
            }
        }
        put_sequence({sequence.first, after_loss}, place);
        put_sequence({after_loss, sequence.last}, next_ + missing);
    }

    /// How much worse the row from a trace on fits as if nothing were missing before it than with the
    /// gap.
    [[nodiscard]] double misfit_at(std::size_t first, std::size_t trace, std::size_t position,
                                   std::size_t missing) const {
        const std::size_t wide = canvas_.wide();
        const std::size_t shift = missing * data_.interval;
        double sum = 0;
        double count = 0;
        for (std::size_t mcu = trace; mcu < std::min(trace + wide, survey_.traces.size()); ++mcu) {
            if (mcu >= first + wide) {
                sum += survey_.traces.step_down(mcu - wide, mcu);
                ++count;
            }
            if (shift < wide && mcu + shift < trace + wide && mcu + shift >= first + wide) {
                sum -= survey_.traces.step_down(mcu + shift - wide, mcu);
            }
        }
        double misfit = sum / std::max(count, 1.0);
        if (position % wide != 0) {
            misfit += survey_.traces.step_right(trace - 1, trace);
        }
        return misfit;
    }

    /// Broken runs directly after what was placed, as long as their numbers follow: what is smooth of them.
    /// The others are shown as well for the first, which has good MCUs before the first damage.
    void place_broken() {
        std::size_t place = next_;
        for (std::size_t index = next_run_; index < survey_.runs.size() && place < intervals_;
             ++index, ++place) {
            const Run& broken = run(index);
            const bool numbered =
                broken.restart < 0 ? place == 0
                                   : place > 0 && static_cast<std::size_t>(broken.restart) == (place - 1) % 8;
            if (!numbered || broken.closes) {
                return;
            }
            if (broken.count > 0) {
                const std::size_t end = broken.trace + broken.count;
                const std::size_t smooth =
                    broken.cut ? broken.count : smooth_prefix(survey_.traces, broken.trace, end, typical_);
                put(index, place, smooth);
                if (smooth < broken.count && index == placements_.size() - 1) {
                    placements_.push_back(
                        {index, smooth, broken.count - smooth, place * data_.interval + smooth, {}, false});
                }
            }
        }
    }

    void put(std::size_t index, std::size_t place, std::size_t count) {
        if (place >= intervals_) { // A sequence may be longer than the picture: its frame lost rows.
            return;
        }
        const std::size_t position = place * data_.interval;
        count = std::min(count, data_.total - position);
        placements_.push_back({index, 0, count, position, {}, sure_});
        canvas_.put(position, run(index).trace, count);
    }

    const ScanData& data_;
    const Survey& survey_;
    Canvas& canvas_;
    std::size_t intervals_;
    double typical_;
    double bytes_per_interval_;
    std::size_t next_ = 0;     // First interval after all that was placed.
    std::size_t next_run_ = 0; // And the first run.
    std::size_t end_ = 0;      // Byte offset there.
    bool sure_ = true;         // Whether the sequence placed last is.
    std::vector<Placement> placements_;
};

} // namespace

std::vector<Placement> place_restarts(const ScanData& data, const Survey& survey, Canvas& canvas) {
    return RestartPlacement(data, survey, canvas).place();
}

} // namespace still_mend
