#include "mend/StreamRuns.h"

#include "mend/LevelShift.h"
#include "mend/StreamPlaces.h"
#include "mend/StreamSides.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace raw_mend {

namespace {

constexpr std::size_t kRowsBefore = 96; // Of the first suspect: damage is noticed late.
constexpr std::size_t kNearRows = 16;
constexpr std::size_t kShortRun = 64;
constexpr std::size_t kTrimRows = 4;
constexpr double kMisfittingRow = 2.5;

class RunsRepair {
  public:
    RunsRepair(StreamWalk& walk, const StreamSlices& slices, const MaskedBorder& border)
        : walk_(walk), frame_(walk.frame()), lag_(walk.fit().lag()), slices_(slices), border_(border),
          states_(frame_.rows, RowState::kLost), trusted_(states_) {}

    std::optional<StreamRuns> run(std::span<const StreamTears::Suspect> suspects, std::uint64_t end) {
        const std::size_t first_row = suspects.front().value / frame_.row;
        const bool is_short = has_too_few_values(walk_, end);
        const std::size_t before_first = is_short ? first_row : kRowsBefore;
        const std::size_t begin = (first_row - std::min(first_row, before_first)) * frame_.row;
        chain_ = decode_chain(walk_, walk_.place_of(begin), end);
        const auto runs = find_phase_runs(frame_, chain_);
        auto placed = place_runs(frame_, chain_, runs, lag_);
        if (placed.empty() || placed.front().value != chain_.first + placed.front().run.begin ||
            (is_empty(placed.front()) && suspects.front().value > begin + kNearRows * frame_.row) ||
            (placed.size() == 1 && (is_short || end_of(placed.front()) + lag_ >= frame_.count()))) {
            return std::nullopt;
        }
        const std::size_t before = end_of(placed.front());
        result_.loss = std::min(find_loss(suspects, before), walk_.decoded());
        result_.certain = find_certain(suspects, result_.loss);
        set_rows(states_, {0, result_.loss}, RowState::kKnown);
        set_rows(trusted_, {0, result_.loss}, RowState::kKnown);
        fill_values(frame_, lag_, walk_.values(), {result_.loss, frame_.count()});
        placed = place_runs(frame_, chain_, runs, lag_,
                            [this](const PlacedRun& run) { return compare_with_known(run); });
        ValueRun above{0, result_.loss};
        for (const PlacedRun& run : std::span(placed).subspan(1)) {
            add(run, above);
        }
        if (above.end < frame_.count()) {
            lose({above.end, frame_.count()});
        }
        settle();
        return std::move(result_);
    }

  private:
    /// Values between losses, with those above.
    struct Part {
        ValueRun run;
        ValueRun above;
        bool is_placed = false; ///< For certain.
        bool is_level = false;

        [[nodiscard]] bool is_trusted() const { return is_placed && is_level; }
    };

    /// Sets the state of the rows from one in which a run begins up to one in which it ends.
    void set_rows(std::vector<RowState>& states, const ValueRun& run, RowState state) const {
        std::fill(states.begin() + static_cast<std::ptrdiff_t>(run.begin / frame_.row),
                  states.begin() + static_cast<std::ptrdiff_t>(run.end / frame_.row), state);
    }

    [[nodiscard]] static bool is_empty(const PlacedRun& run) { return run.run.begin == run.run.end; }

    [[nodiscard]] static std::size_t end_of(const PlacedRun& run) {
        return run.value + run.run.end - run.run.begin;
    }

    /// Where the values of the first run end: at the first suspect in its last rows where the level changes,
    /// since a short run between two losses may have been taken for a part of it; or at its end.
    [[nodiscard]] std::size_t find_loss(std::span<const StreamTears::Suspect> suspects,
                                        std::size_t end) const {
        for (const StreamTears::Suspect& suspect : suspects) {
            const std::size_t row = suspect.value / frame_.row;
            const bool is_at_end = suspect.value + kTrimRows * frame_.row >= end;
            const bool is_near = suspect.value + kShortRun * frame_.row >= end;
            if (suspect.value < end + frame_.row &&
                (is_at_end || (is_near && suspect.misfit > 1 && jumps_at(row)))) {
                return suspect.value;
            }
        }
        return end;
    }

    /// Before the first suspect where the level of whole rows changes, and as damage is noticed late.
    [[nodiscard]] std::size_t find_certain(std::span<const StreamTears::Suspect> suspects,
                                           std::size_t loss) const {
        const std::size_t late = loss - std::min(loss, kNearRows * frame_.row);
        for (const StreamTears::Suspect& suspect : suspects) {
            if (suspect.misfit > 1 && suspect.value < late && jumps_at(suspect.value / frame_.row)) {
                return suspect.value;
            }
        }
        return late;
    }

    /// The mean step of a row's values from the row above.
    [[nodiscard]] double step_of(std::size_t row, std::size_t component) const {
        double sum = 0;
        for (std::size_t at = row * frame_.row + component; at < (row + 1) * frame_.row;
             at += frame_.components) {
            sum += signed_value(walk_.values()[at]) - signed_value(walk_.values()[at - lag_]);
        }
        return sum * static_cast<double>(frame_.components) / static_cast<double>(frame_.row);
    }

    [[nodiscard]] bool jumps_at(std::size_t row) const {
        constexpr std::size_t kRows = 12;
        constexpr double kMuch = 3;
        const std::size_t lag = lag_ / frame_.row;
        const std::size_t first = std::max(row - std::min(row, kRows), lag);
        const std::size_t last = std::min(row + kRows, walk_.decoded() / frame_.row);
        for (std::size_t component = 0; component < frame_.components; ++component) {
            double usual = 0;
            double most = 0;
            for (std::size_t nth = first; nth < last; ++nth) {
                const double step = std::abs(step_of(nth, component));
                const bool is_here = nth >= row && nth <= row + lag;
                (is_here ? most : usual) = std::max(is_here ? most : usual, step);
            }
            if (most > kMuch * usual + 0.5) {
                return true;
            }
        }
        return false;
    }

    void lose(const ValueRun& run) {
        if (run.begin < run.end) {
            result_.lost.push_back(run);
        }
    }

    [[nodiscard]] RowGap gap_between(const ValueRun& above, const ValueRun& run) const {
        const std::size_t lost = above.end / frame_.row;
        const std::size_t next = run.begin / frame_.row;
        const auto [first, last] = slices_.rows_around(next, frame_);
        return {std::max(first, (above.begin + frame_.row - 1) / frame_.row), std::max(first, lost), next,
                std::min(last, run.end / frame_.row)};
    }

    /// How a run fits the rows beside it that are known before all others.
    [[nodiscard]] std::vector<SidePlace> compare_with_known(const PlacedRun& placed) {
        const ValueRun run{placed.value, end_of(placed)};
        if (run.begin < result_.loss || is_empty(placed)) {
            return {};
        }
        decode(placed, run);
        set_rows(trusted_, run, RowState::kRun);
        auto places = compare_sides(frame_, slices_, walk_.values(), trusted_);
        set_rows(trusted_, run, RowState::kLost);
        return places;
    }

    /// Puts a run after those above it, which end at a value.
    void add(const PlacedRun& placed, ValueRun& above) {
        ValueRun run{placed.value, end_of(placed)};
        decode(placed, run);
        trim(run);
        if (run.begin >= run.end) {
            return;
        }
        set_rows(states_, run, RowState::kRun);
        const LevelShift shift = measure(states_, &above, run);
        move(run, shift);
        set_rows(states_, run, RowState::kKnown);
        parts_.push_back({run, above, placed.is_certain, false});
        lose({above.end, run.begin});
        fill_values(frame_, lag_, walk_.values(), {above.end, run.begin});
        fill_values(frame_, lag_, walk_.values(), {run.end, frame_.count()});
        above = run;
    }

    void decode(const PlacedRun& placed, const ValueRun& run) {
        const auto values = std::span(walk_.values());
        std::size_t from = placed.run.begin;
        for (std::size_t at = run.begin; at < run.end; ++at, ++from) {
            values[at] = static_cast<std::uint16_t>(frame_.predict(values, at) + chain_.differences[from]);
        }
    }

    [[nodiscard]] double misfit(std::size_t row, std::size_t other) const {
        const auto values = std::span<const std::uint16_t>(walk_.values());
        double sum = 0;
        for (std::size_t at = 0; at < frame_.row; ++at) {
            sum += std::abs(signed_value(values[row * frame_.row + at]) -
                            signed_value(values[other * frame_.row + at]));
        }
        return sum / static_cast<double>(frame_.row) + 1;
    }

    /// Takes rows off both ends that do not fit the others.
    void trim(ValueRun& run) const {
        const std::size_t lag = lag_ / frame_.row;
        std::size_t first = run.begin / frame_.row;
        std::size_t last = run.end / frame_.row;
        if (last < first + 4 * lag + 2 * kTrimRows) {
            run.end = run.begin;
            return;
        }
        const auto usual = [&](std::size_t from, std::size_t to) {
            double sum = 0;
            for (std::size_t row = from; row < to; ++row) {
                sum += misfit(row, row + lag);
            }
            return sum / static_cast<double>(to - from);
        };
        const std::size_t rows = std::min<std::size_t>(kNearRows, last - first - lag - kTrimRows);
        const double at_begin = usual(first + kTrimRows, first + kTrimRows + rows);
        for (std::size_t row = first + kTrimRows; row-- > run.begin / frame_.row;) {
            if (misfit(row, row + lag) > kMisfittingRow * at_begin) {
                first = row + 1;
                break;
            }
        }
        const double at_end = usual(last - lag - kTrimRows - rows, last - lag - kTrimRows);
        for (std::size_t row = last - kTrimRows; row < run.end / frame_.row; ++row) {
            if (misfit(row, row - lag) > kMisfittingRow * at_end) {
                last = row;
                break;
            }
        }
        run = {first * frame_.row, last * frame_.row};
    }

    void move(const ValueRun& run, const LevelShift& shift) {
        const auto values = std::span(walk_.values());
        for (std::size_t at = run.begin; at < run.end; ++at) {
            values[at] =
                static_cast<std::uint16_t>(values[at] + shift.shift[at % frame_.row % frame_.components]);
        }
    }

    /// Trusts what values before the loss prove, then what these prove, and so on.
    void settle() {
        for (bool has_changed = true; has_changed;) {
            has_changed = false;
            for (Part& part : parts_) {
                if (!part.is_trusted() && prove(part)) {
                    has_changed = true;
                }
            }
        }
        for (const Part& part : parts_) {
            if (!part.is_trusted()) {
                result_.doubtful.push_back(part.run);
            }
        }
    }

    bool prove(Part& part) {
        set_rows(trusted_, part.run, RowState::kRun);
        if (!part.is_placed) {
            const auto moved = find_place_by_sides(frame_, slices_, walk_.values(), trusted_);
            part.is_placed = moved && *moved == 0;
        }
        if (!part.is_level) {
            const std::size_t rows_above = part.above.end / frame_.row;
            const bool has_above = rows_above > 0 && trusted_[rows_above - 1] == RowState::kKnown;
            const LevelShift shift = measure(trusted_, has_above ? &part.above : nullptr, part.run);
            if (shift.is_certain) {
                move(part.run, shift);
                part.is_level = true;
            }
        }
        set_rows(trusted_, part.run, part.is_trusted() ? RowState::kKnown : RowState::kLost);
        return part.is_trusted();
    }

    /// How far a run is from its level.
    ///
    ///   above  values right above it to compare it with; null: none
    [[nodiscard]] LevelShift measure(std::span<const RowState> states, const ValueRun* above,
                                     const ValueRun& run) const {
        const auto values = std::span<const std::uint16_t>(walk_.values());
        std::vector<LevelEstimate> estimates = measure_border(frame_, slices_, values, states, border_);
        auto rows = above != nullptr
                        ? measure_level(frame_, values, lag_ / frame_.row, gap_between(*above, run))
                        : std::nullopt;
        if (rows) {
            estimates.push_back(std::move(*rows));
        }
        if (auto seam = measure_seam(frame_, slices_, values, states)) {
            estimates.push_back(std::move(*seam));
        }
        const auto balance = measure_greens(frame_, slices_, values, states);
        const LevelMarks marks(frame_, slices_, values, states, border_.reach());
        return combine(estimates, balance, marks, frame_.components);
    }

    StreamWalk& walk_;
    const StreamFrame& frame_;
    std::size_t lag_;
    const StreamSlices& slices_;
    const MaskedBorder& border_;
    std::vector<RowState> states_;  // By row of the stream.
    std::vector<RowState> trusted_; // The same, with only those parts known that are trusted.
    StreamChain chain_;
    StreamRuns result_;
    std::vector<Part> parts_;
};

} // namespace

std::optional<StreamRuns> mend_runs(StreamWalk& walk, std::span<const StreamTears::Suspect> suspects,
                                    std::uint64_t end, const StreamSlices& slices,
                                    const MaskedBorder& border) {
    if (walk.frame().predictor != 1 || suspects.empty()) {
        return std::nullopt;
    }
    return RunsRepair(walk, slices, border).run(suspects, end);
}

} // namespace raw_mend
