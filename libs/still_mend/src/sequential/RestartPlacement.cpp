#include "sequential/RestartPlacement.h"

#include "Work.h"
#include "sequential/Smoothness.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace still_mend {

namespace {

/// Runs that close, one behind the other, with numbers that follow one another.
struct Chain {
    std::size_t first; ///< Run.
    std::size_t last;  ///< One behind.
    [[nodiscard]] std::size_t size() const { return last - first; }
};

std::vector<Chain> find_chains(const std::vector<Run>& runs) {
    std::vector<Chain> chains;
    for (std::size_t index = 0; index < runs.size(); ++index) {
        if (!runs[index].closes) {
            continue;
        }
        const bool follows = !chains.empty() && chains.back().last == index && runs[index].adjacent &&
                             runs[index].restart == (runs[index - 1].restart + 1) % 8;
        if (follows) {
            ++chains.back().last;
        } else {
            chains.push_back({index, index + 1});
        }
    }
    return chains;
}

class RestartPlacement {
  public:
    RestartPlacement(const ScanData& data, const Survey& survey, Canvas& canvas)
        : data_(data), survey_(survey), canvas_(canvas), intervals_((data.total - 1) / data.interval + 1),
          typical_(typical_step(survey)), bytes_per_interval_(bytes_per_interval(survey)) {}

    std::vector<Placement> place() {
        const auto chains = find_chains(survey_.runs);
        std::size_t waiting = 0; // Intervals of the chains that are not placed yet.
        for (const auto& chain : chains) {
            waiting += chain.size();
        }
        place_broken();
        for (const Chain& chain : chains) {
            waiting -= chain.size();
            if (const auto place = find_place(chain, waiting)) {
                sure_ = place->sure;
                const std::size_t missing = intervals_ - std::min(intervals_, place->interval + chain.size());
                if (run(chain.last - 1).at_eoi && missing > 0 && missing % 8 == 0) {
                    put_parted(chain, place->interval, missing);
                } else {
                    put_chain(chain, place->interval);
                }
                next_run_ = chain.last;
                place_broken();
            }
        }
        return std::move(placements_);
    }

  private:
    [[nodiscard]] const Run& run(std::size_t index) const { return survey_.runs[index]; }

    struct Place {
        std::size_t interval = 0;
        bool sure = true;
    };

    /// The interval that the chain's first run is.
    [[nodiscard]] std::optional<Place> find_place(const Chain& chain, std::size_t waiting) const {
        const Run& first = run(chain.first);
        if (first.restart < 0) { // At the first byte of the scan.
            return next_ == 0 ? std::optional(Place{}) : std::nullopt;
        }
        const auto phase = (static_cast<std::size_t>(first.restart) + 1) % 8;
        std::size_t lowest = next_ + (phase + 8 - next_ % 8) % 8;
        if (lowest == 0) {
            lowest = 8; // No marker stands in front of the first interval.
        }
        if (run(chain.last - 1).at_eoi) {
            // The last marker is there, so the places count from the end.
            const std::size_t place = intervals_ >= chain.size() ? intervals_ - chain.size() : 0;
            if (place >= lowest && place % 8 == phase) {
                return Place{place};
            }
        }
        const std::size_t least = lowest + chain.size() + waiting;
        if (least > intervals_) {
            return lowest + chain.size() <= intervals_ ? std::optional(Place{lowest, false}) : std::nullopt;
        }
        const std::size_t highest = lowest + (intervals_ - least) / 8 * 8;
        return highest == lowest ? Place{lowest} : choose(chain, lowest, highest);
    }

    /// Whether a chain at this place follows what was placed before with a piece for each interval between.
    [[nodiscard]] bool is_seamless(const Chain& chain, std::size_t place) const {
        if (place - next_ != chain.first - next_run_) {
            return false;
        }
        for (std::size_t index = next_run_; index <= chain.first; ++index) {
            if (index > 0 && !run(index).adjacent) {
                return false;
            }
        }
        return true;
    }

    /// Of every eighth interval from the lowest to the highest: by the fit with what stands above, where one
    /// place fits clearly better than all others; otherwise by the bytes between this chain and what was
    /// placed before.
    [[nodiscard]] Place choose(const Chain& chain, std::size_t lowest, std::size_t highest) const {
        const std::size_t nearest = nearest_place(chain, lowest, highest);
        constexpr std::size_t kReach = 1024; // Intervals; a multiple of 8.
        const bool few = highest - lowest < 2 * kReach;
        const std::size_t from = few ? lowest : std::max(lowest, nearest - std::min(nearest, kReach));
        const std::size_t to = few ? highest : std::min(highest, nearest + kReach);
        std::size_t fitting = nearest;
        double best = -1;
        double second = -1;
        for (std::size_t place = from; place <= to; place += 8) {
            const auto step = step_at(chain, place);
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
        const bool clear = best >= 0 && second >= 0 && best < 0.6 * second && best < 3 * typical_ + 32;
        return clear ? Place{fitting} : Place{nearest, is_seamless(chain, nearest)};
    }

    /// The place that the bytes tell. Of two as likely the lower one.
    [[nodiscard]] std::size_t nearest_place(const Chain& chain, std::size_t lowest,
                                            std::size_t highest) const {
        const double expected = static_cast<double>(next_) +
                                static_cast<double>(run(chain.first).begin - end_) / bytes_per_interval_;
        const double steps = std::ceil((expected - static_cast<double>(lowest)) / 8 - 0.5);
        const double most = static_cast<double>(highest - lowest) / 8;
        return lowest + 8 * static_cast<std::size_t>(std::clamp(steps, 0.0, most));
    }

    /// The mean step from what stands above to the chain put at a place; nothing where too little is above.
    [[nodiscard]] std::optional<double> step_at(const Chain& chain, std::size_t place) const {
        double sum = 0;
        std::size_t count = 0;
        const std::size_t start = place * data_.interval;
        const std::size_t mcus = std::min(chain.size() * data_.interval, canvas_.wide());
        Work::add(mcus);
        for (std::size_t mcu = 0; mcu < mcus; ++mcu) {
            const std::size_t position = start + mcu;
            if (position >= canvas_.wide() && position < canvas_.total() &&
                canvas_.is_filled(position - canvas_.wide())) {
                sum += survey_.traces.step_down(canvas_.trace(position - canvas_.wide()),
                                                run(chain.first).trace + mcu);
                ++count;
            }
        }
        return count < 4 ? std::nullopt : std::optional(sum / static_cast<double>(count));
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

    void put_chain(const Chain& chain, std::size_t place) {
        for (std::size_t index = chain.first; index < chain.last; ++index, ++place) {
            put(index, place, run(index).count);
        }
        next_ = place;
        end_ = run(chain.last - 1).end;
    }

    /// A chain that is eight intervals short, or a multiple: so many were cut out of it without leaving a
    /// trace in the numbers. They are missing where its rows fit least.
    void put_parted(const Chain& chain, std::size_t place, std::size_t missing) {
        std::size_t parting = chain.first + 1;
        double worst = -1;
        for (std::size_t index = chain.first + 1; index < chain.last; ++index) {
            const std::size_t position = (place + index - chain.first) * data_.interval;
            const double misfit = misfit_at(run(chain.first).trace, run(index).trace, position, missing);
            if (misfit > worst) {
                worst = misfit;
                parting = index;
            }
        }
        put_chain({chain.first, parting}, place);
        put_chain({parting, chain.last}, next_ + missing);
    }

    /// How much worse the row from a trace on fits as if nothing were missing in front of it than with the
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

    /// Broken runs directly behind what was placed, as long as their numbers follow: what is smooth of them.
    /// Of the first, which has good MCUs before the first damage, the others are shown as well.
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
        if (place >= intervals_) { // A chain may be longer than the picture: its frame lost rows.
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
    std::size_t next_ = 0;     // First interval behind all that was placed.
    std::size_t next_run_ = 0; // And the first run.
    std::size_t end_ = 0;      // Byte offset there.
    bool sure_ = true;         // Of the chain placed last.
    std::vector<Placement> placements_;
};

} // namespace

std::vector<Placement> place_restarts(const ScanData& data, const Survey& survey, Canvas& canvas) {
    return RestartPlacement(data, survey, canvas).place();
}

} // namespace still_mend
