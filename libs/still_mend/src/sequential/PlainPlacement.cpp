#include "sequential/PlainPlacement.h"

#include "sequential/BreakSearch.h"
#include "sequential/GapEstimate.h"
#include "sequential/RowFit.h"
#include "sequential/SeamSearch.h"
#include "sequential/SlipSearch.h"
#include "sequential/Smoothness.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace still_mend {

namespace {

// What these lead to is in the tables of docs/salvage.md, in the columns of codings without restarts. Costs
// are logarithms of odds. Measured with the laboratory in 96 trials (three scenes of 640 x 480 in 4:2:0,
// 4:4:4, 4:2:2 optimised and grey; blocks of zeros and of noise, bytes dropped and inserted), none of them
// doubtful:
//
//                      MCUs in place   claimed
//   as it is                  0.738     0.761
//   kClearMargin    4         0.738     0.783
//                  16         0.738     0.756
//   kMostOfUsual  1.2         0.738     0.756
//                   3         0.738     0.767
//   kMostOfAny      2         0.716     0.761
//                   8         0.738     0.761
//   kSlipCost       2         0.738     0.761
//                   8         0.738     0.761

constexpr std::size_t kShownBeforeBreak = 4; // MCUs that look rough before a break, of a run in the middle.
constexpr double kClearMargin = 8;           // Between the best place and any other, of a sure one.
constexpr double kMostOfUsual = 1.6;         // Step over a border of a sure place, of the usual step.
constexpr double kMostOfAny = 4;             // The same of a place that is worth a guess.
constexpr double kSlipCost = 4;              // A run that slipped is that much less likely.
constexpr double kSlipCostPerMcu = 1.0 / 8;  // And by each MCU that it slipped.
constexpr double kLevelMargin = 3;           // What a change of brightness must make likelier.
constexpr double kClearlySmoother = 0.7; // Of the steps straight on: the end of the scan speaks for a slip.
constexpr double kGapSpread = 3;         // Deviation of what bytes suggest: this many MCUs,
constexpr double kGapSpreadShare = 0.2;  // and this share of them.
constexpr double kMostGapCost = 8;       // An unlikely gap is still a possible one.
constexpr double kFarthestGap = 6;       // Of what bytes suggest, and a row.

/// What was placed last.
struct LastPlaced {
    RunPart part;
    std::size_t position = 0;
    Levels level{};
    bool sure = true;

    /// The first position after it.
    [[nodiscard]] std::size_t reached() const { return position + part.size(); }
    /// The position of a later part of the same run if nothing is missing in between.
    [[nodiscard]] std::size_t straight_to(const RunPart& later) const {
        return position + (later.first - part.first);
    }
};

class PlainPlacement {
  public:
    PlainPlacement(const ScanData& data, const Survey& survey, Canvas& canvas)
        : data_(data), survey_(survey), canvas_(canvas), wide_(canvas.wide()), typical_(typical_step(survey)),
          fit_(canvas, typical_), slips_(survey.traces, canvas.wide()), gaps_(survey) {}

    /// Places the only run, of which nothing but the end may be missing.
    std::vector<Placement> place_run() {
        const Run& run = survey_.runs[0];
        put({0, run.trace, run.trace + run.count}, 0, {}, true);
        return std::move(placements_);
    }

    std::vector<Placement> place() {
        auto parts = find_unbroken_parts(survey_, wide_, data_.total, typical_);
        fit_.measure_usual_steps(parts);
        parts = split_at_slips(joined(parts));
        find_tail(parts);
        if (tail_) {
            gaps_.calibrate(parts, *tail_);
        }
        for (std::size_t index = 0; index < parts.size(); ++index) {
            const RunPart& part = parts[index];
            if (survey_.runs[part.run].dc_known && part.first == survey_.runs[part.run].trace) {
                put(part, 0, {}, true);
            } else if (placements_.empty()) {
                continue;
            } else if (tail_ && index + 1 == parts.size()) {
                place_tail(part);
            } else if (part.run == last_.part.run) {
                place_next_of_run(part);
            } else {
                place_after_gap(part);
            }
        }
        show_broken_ends();
        return std::move(placements_);
    }

  private:
    /// Joins parts of a run between which there is only a rough part of the picture.
    [[nodiscard]] std::vector<RunPart> joined(const std::vector<RunPart>& parts) const {
        std::vector<RunPart> result;
        for (const auto& part : parts) {
            if (!result.empty() && result.back().run == part.run && fit_.continues(result.back(), part)) {
                result.back().last = part.last;
            } else {
                result.push_back(part);
            }
        }
        return result;
    }

    /// Splits parts where they slipped. A run from the scan's beginning to its end that has a few MCUs more
    /// or fewer than the picture slipped somewhere, even if that hardly shows.
    [[nodiscard]] std::vector<RunPart> split_at_slips(const std::vector<RunPart>& parts) const {
        std::vector<RunPart> result;
        for (const auto& part : parts) {
            if (is_in_place(survey_.runs[part.run], data_.total)) {
                result.push_back(part);
                continue;
            }
            const auto split = slips_.split(part);
            result.insert(result.end(), split.begin(), split.end());
        }
        if (result.size() != 1) {
            return result;
        }
        const Run& run = survey_.runs.front();
        if (run.at_eoi && run.count != data_.total) {
            const auto slip =
                static_cast<std::ptrdiff_t>(run.count) - static_cast<std::ptrdiff_t>(data_.total);
            if (const auto cut = slips_.best_cut(result.front(), slip)) {
                result.push_back({0, *cut, result.front().last});
                result.front().last = *cut;
            }
        }
        return result;
    }

    /// The place of the last part, if its run goes on to EOI: its last MCU is that of the picture.
    void find_tail(const std::vector<RunPart>& parts) {
        if (parts.empty()) {
            return;
        }
        const RunPart& last = parts.back();
        const Run& run = survey_.runs[last.run];
        const std::size_t rest = run.trace + run.count - last.first;
        if (run.at_eoi && rest <= data_.total && last.last == run.trace + run.count) {
            tail_ = data_.total - rest;
        }
    }

    /// Places the last part of the scan, of which the end is known.
    void place_tail(RunPart part) {
        std::size_t position = *tail_;
        if (part.run == last_.part.run) {
            const std::size_t straight = last_.straight_to(part);
            const auto as_it_is = fit_.at_level(part, straight, last_.level);
            const auto at_end = fit_.at(part, position);
            const bool goes_on = !as_it_is || !at_end || at_end->steps >= kClearlySmoother * as_it_is->steps;
            if (goes_on && straight == position) {
                put_with_gap(part, true); // Both ends agree.
                return;
            }
            const auto slip = static_cast<std::ptrdiff_t>(straight) - static_cast<std::ptrdiff_t>(position);
            if (const auto cut = goes_on ? slips_.best_cut(part, slip) : std::nullopt) {
                // It slipped later.
                put_with_gap({part.run, part.first, *cut}, last_.sure);
                position += *cut - part.first;
                part.first = *cut;
            }
        }
        if (last_.reached() > position) { // What is there already keeps its place.
            const std::size_t covered = last_.reached() - position;
            if (covered >= part.size()) {
                return;
            }
            part.first += covered;
            position += covered;
        }
        const auto fit = fit_.at(part, position, data_.total / wide_);
        put_fitting(part, position, fit ? fit->level : last_.level, fit.has_value());
    }

    /// Places a part of a different run from the last one: about as many MCUs are lost as the bytes suggest.
    void place_after_gap(const RunPart& part) {
        const std::size_t reached = last_.reached();
        const double expected = gaps_.lost_mcus(last_.part, part);
        const auto gap_cost = [&](std::size_t position) {
            const double off = (static_cast<double>(position - reached) - expected) /
                               (kGapSpread + kGapSpreadShare * expected);
            return std::min(off * off / 2, kMostGapCost);
        };
        const std::size_t last = reached + static_cast<std::size_t>(kFarthestGap * expected) + wide_;
        put_likeliest(part, search(part, reached, last, std::nullopt, gap_cost));
    }

    /// Places a part of the run that was placed last: most likely nothing is missing in between.
    void place_next_of_run(const RunPart& part) {
        const std::size_t position = last_.straight_to(part);
        if (position + part.size() > data_.total) {
            return;
        }
        const auto straight = fit_.at_level(part, position, last_.level);
        const auto levelled = fit_.at(part, position);
        if (!straight || !levelled) {
            put_with_gap(part, false);
            return;
        }
        const auto slip_cost = [position](std::size_t place) {
            return kSlipCost +
                   std::abs(static_cast<double>(place) - static_cast<double>(position)) * kSlipCostPerMcu;
        };
        const std::size_t first = std::max(last_.reached(), position - std::min(position, wide_ / 2));
        const auto others = search(part, first, position + wide_ / 2, position, slip_cost);
        const double best_other = others.best ? others.best->cost : straight->cost + kClearMargin;
        if (straight->cost <= std::min(best_other, levelled->cost + kLevelMargin)) {
            put_with_gap(part, last_.sure && straight->cost + kClearMargin < best_other);
        } else if (levelled->cost <= best_other) {
            put_fitting(part, position, levelled->level,
                        last_.sure && levelled->cost + kClearMargin < best_other);
        } else {
            put_likeliest(part, others);
        }
    }

    struct Likeliest {
        std::optional<RowFit::Fit> best;
        double margin = 0; ///< To the second best.
    };

    /// The likeliest place from the first to the last that leave room for a part, except one. cost_of: what
    /// else speaks against a position.
    template <typename CostOf>
    [[nodiscard]] Likeliest search(const RunPart& part, std::size_t first, std::size_t last,
                                   std::optional<std::size_t> except, CostOf cost_of) {
        const std::size_t limit = tail_.value_or(data_.total);
        last = std::min(last, limit - std::min(limit, part.size()));
        Likeliest found;
        for (std::size_t position = first; position <= last && !fit_.is_exhausted(); ++position) {
            auto fit = position == except ? std::nullopt : fit_.at(part, position);
            if (!fit) {
                continue;
            }
            fit->cost += cost_of(position);
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

    void put_likeliest(const RunPart& part, const Likeliest& found) {
        if (found.best && found.best->steps <= kMostOfAny) {
            const bool clear = found.margin >= kClearMargin && found.best->steps <= kMostOfUsual;
            put_fitting(part, found.best->position, found.best->level, last_.sure && clear);
        }
    }

    /// Puts a part directly after what was placed last, together with what is between them.
    void put_with_gap(const RunPart& part, bool sure) {
        put({part.run, last_.part.last, part.last}, last_.reached(), last_.level, sure);
    }

    /// Puts a part without its first MCUs, as far as these do not fit. It is sure if its level is, too.
    void put_fitting(const RunPart& part, std::size_t position, const Levels& level, bool sure) {
        const std::size_t misfits = fit_.misfits_before(part, position, level);
        if (misfits < part.size()) {
            const RunPart rest{part.run, part.first + misfits, part.last};
            const bool known = sure && fit_.proves_level(rest, position + misfits, level);
            put(rest, position + misfits, level, known);
        }
    }

    void put(const RunPart& part, std::size_t position, const Levels& level, bool sure) {
        if (position >= data_.total) {
            return;
        }
        const std::size_t count = std::min(part.size(), data_.total - position);
        last_ = {part, position, level, sure};
        put_levelled({part.first, part.first + count, position, wide_},
                     find_level_jumps(survey_.traces, {part.first, part.first + count, position, wide_}));
    }

    /// Puts a stretch of the last part in pieces, each with the level that the jumps before it leave.
    void put_levelled(Stretch rest, const std::vector<LevelJump>& jumps) {
        const std::size_t seam =
            find_seam(survey_.traces, rest, !is_undisturbed(survey_.runs[last_.part.run]))
                .value_or(rest.last);
        for (std::size_t index = 0; index <= jumps.size(); ++index) {
            const std::size_t last = index < jumps.size() ? jumps[index].trace : rest.last;
            put_piece({rest.first, last, rest.position, wide_}, seam);
            rest.position += last - rest.first;
            rest.first = last;
            if (index < jumps.size()) {
                last_.sure = false;
                for (std::size_t component = 0; component < last_.level.size(); ++component) {
                    last_.level[component] += jumps[index].change[component];
                }
            }
        }
        last_.sure = last_.sure && seam == rest.last;
    }

    /// Whether a run shows no sign of damage.
    [[nodiscard]] bool is_undisturbed(const Run& run) const {
        return run.dc_known && (run.count == data_.total || run.cut);
    }

    void put_piece(const Stretch& piece, std::size_t seam) {
        if (piece.size() == 0) {
            return;
        }
        const Run& run = survey_.runs[last_.part.run];
        const std::size_t certain = std::max(seam, piece.first) - piece.first;
        placements_.push_back({last_.part.run, piece.first - run.trace, piece.size(), piece.position,
                               last_.level, last_.sure && certain > 0, certain});
        canvas_.put(piece.position, piece.first, piece.size(), last_.level);
    }

    /// Shows what precedes a break: it looks rough for some MCUs, but may be good.
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

    const ScanData& data_;
    const Survey& survey_;
    Canvas& canvas_;
    std::size_t wide_;
    double typical_;
    RowFit fit_;
    SlipSearch slips_;
    GapEstimate gaps_;
    std::optional<std::size_t> tail_; // Position of the last part.
    LastPlaced last_;
    std::vector<Placement> placements_;
};

} // namespace

std::vector<Placement> place_plain(const ScanData& data, const Survey& survey, Canvas& canvas) {
    if (survey.runs.size() == 1) {
        const Run& run = survey.runs[0];
        const bool whole = run.count == data.total;
        // Nothing happened except that the end is missing.
        if (run.dc_known && (whole || run.cut)) {
            return PlainPlacement(data, survey, canvas).place_run();
        }
    }
    return PlainPlacement(data, survey, canvas).place();
}

} // namespace still_mend
