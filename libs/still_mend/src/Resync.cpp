#include "Resync.h"

#include "Markers.h"
#include "Pieces.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <optional>

namespace still_mend {

namespace {

// MCUs that may be compared with what is above them, in all. A picture of 250 megapixels with a few breaks
// needs a twentieth; noise would need any number.
constexpr std::size_t kMostCompared = 1U << 25U;

constexpr double kNoiseStep = 20 * 16; // Noise has 30 levels and more from row to row.

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

/// Finds the places within runs where noise begins and ends. Damage need not lead to an error: the decoder
/// often falls into step again by itself, some MCUs too early or too late.
class BreakSearch {
  public:
    BreakSearch(const Survey& survey, std::size_t wide, std::size_t total, double typical)
        : survey_(survey), traces_(survey.traces), wide_(wide), total_(total), bound_(3 * typical + 2 * 16) {}

    [[nodiscard]] std::vector<Segment> segments() const {
        std::vector<Segment> found;
        for (std::size_t index = 0; index < survey_.runs.size() && found.size() < kMostSegments; ++index) {
            split(index, found);
        }
        return found;
    }

  private:
    static constexpr std::size_t kMostSegments = 512;

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
            // A run that an error ended has noise before the error.
            const bool good = run.closes || run.cut || run.count == total_;
            add(index, begin, good ? end : begin + smooth_prefix(traces_, begin, end, (bound_ - 32) / 3),
                found);
        }
    }

    void add(std::size_t index, std::size_t begin, std::size_t end, std::vector<Segment>& found) const {
        if (end > begin && (end - begin >= kMinRun || survey_.runs[index].dc_known)) {
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

class PlainPlacement {
  public:
    PlainPlacement(const ScanData& data, const Survey& survey, Canvas& canvas)
        : data_(data), survey_(survey), traces_(survey.traces), canvas_(canvas),
          typical_(typical_step(survey)) {}

    std::vector<Placement> place() {
        typical_down_ = typical_step_down();
        const auto segments = merged(BreakSearch(survey_, canvas_.wide(), data_.total, typical_).segments());
        for (const auto& segment : segments) {
            if (survey_.runs[segment.run].dc_known && segment.first == survey_.runs[segment.run].trace) {
                put(segment, 0, {});
            } else if (!placements_.empty()) {
                place_behind(segment);
            }
        }
        return std::move(placements_);
    }

  private:
    struct Fit {
        double step = 0; ///< Mean of the smaller three quarters, over the border with what is above.
        Levels level{};
    };

    [[nodiscard]] double typical_step_down() const {
        std::vector<double> steps;
        for (const auto& run : survey_.runs) {
            for (std::size_t mcu = canvas_.wide(); mcu < run.count; ++mcu) {
                steps.push_back(traces_.step_down(run.trace + mcu - canvas_.wide(), run.trace + mcu));
            }
        }
        return median(steps);
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
        const std::size_t wide = canvas_.wide();
        std::vector<double> steps;
        for (std::size_t mcu = segment.first; mcu < std::min(segment.last, segment.first + wide); ++mcu) {
            if (mcu >= wide && mcu - wide >= before.first && mcu - wide < before.last) {
                steps.push_back(traces_.step_down(mcu - wide, mcu));
            }
        }
        return steps.size() >= std::min<std::size_t>(8, wide) &&
               smaller_mean(steps) <= 2 * typical_down_ + 48;
    }

    void place_behind(const Segment& segment) {
        // Where it would be if nothing had happened in between, and where if nothing happens behind it.
        std::optional<Fit> straight;
        const auto from_end = place_from_end(segment);
        if (segment.run == last_.run) {
            const std::size_t position = last_position_ + (segment.first - last_.first);
            straight = fit_at(segment, position, &last_level_);
            if (from_end && *from_end == position) {
                // Both agree; brightness may have changed all the same.
                const auto levelled = fit_at(segment, position, nullptr);
                if (straight && levelled && levelled->step < 0.7 * straight->step - 16) {
                    put_smooth_part(segment, position, levelled->level);
                } else {
                    bridge(segment);
                }
                return;
            }
        }
        std::optional<Found> best;
        if (from_end) {
            best = fit_from_end(segment, *from_end);
        }
        if (straight && straight->step <= 2 * typical_down_ + 48 &&
            (!best || best->fit.step > 0.7 * straight->step)) {
            bridge(segment);
            return;
        }
        if (!best) {
            best = search(segment);
        }
        // With an end that does not agree, something did happen.
        const double most = from_end ? 4 * typical_down_ + 160 : kNoiseStep;
        if (straight && straight->step <= most && (!best || best->fit.step > 0.5 * straight->step)) {
            bridge(segment); // A rough part of the picture: no other place fits much better.
        } else if (best) {
            put_smooth_part(segment, best->position, best->fit.level);
        }
    }

    /// Takes a segment together with what lies between it and the one before.
    void bridge(const Segment& segment) {
        const std::size_t position = last_position_ + last_.size();
        put({segment.run, last_.last, segment.last}, position, last_level_);
    }

    /// Takes a segment without its first MCUs, as far as these do not fit: the decoder was not in step yet.
    void put_smooth_part(const Segment& segment, std::size_t position, const Levels& level) {
        const double bound = 3 * typical_down_ + 64;
        double sum = 0;
        double highest = 0;
        std::size_t start = 0;
        for (std::size_t mcu = 0; mcu < std::min(segment.size(), canvas_.wide()); ++mcu) {
            if (const auto above = above_of(position + mcu)) {
                const int offset = (level[0] - canvas_.level(*above)[0]) * traces_.step_of_dc();
                const double step = traces_.step_down(canvas_.trace(*above), segment.first + mcu, offset);
                sum += std::min(step, 3 * bound) - bound;
                if (sum > highest) {
                    highest = sum;
                    start = mcu + 1;
                }
            }
        }
        if (start < segment.size()) {
            put({segment.run, segment.first + start, segment.last}, position + start, level);
        }
    }

    static constexpr std::size_t kRows = 4; // How far above what a fit compares with may be.

    struct Found {
        std::size_t position;
        Fit fit;
    };

    /// The place that makes the last MCU of the segment's run the last of the picture, if EOI follows it.
    [[nodiscard]] std::optional<std::size_t> place_from_end(const Segment& segment) const {
        const Run& run = survey_.runs[segment.run];
        const std::size_t rest = run.trace + run.count - segment.first;
        if (!run.at_end || rest > data_.total || data_.total - rest < last_position_ + last_.size()) {
            return std::nullopt;
        }
        return data_.total - rest;
    }

    /// There, or a few MCUs beside it where that fits clearly better: another break may follow.
    [[nodiscard]] std::optional<Found> fit_from_end(const Segment& segment, std::size_t position) const {
        const auto fit = fit_at(segment, position, nullptr);
        if (!fit) {
            return level_from_afar(segment, position);
        }
        Found best{position, *fit};
        const std::size_t reached = last_position_ + last_.size();
        const std::size_t around = canvas_.wide() / 4;
        const std::size_t first = std::max(reached, position > around ? position - around : 0);
        for (std::size_t place = first; place <= position + around && place + segment.size() <= data_.total;
             ++place) {
            const auto other = fit_at(segment, place, nullptr);
            if (other && other->step < 0.7 * fit->step && other->step < best.fit.step) {
                best = {place, *other};
            }
        }
        return best;
    }

    [[nodiscard]] std::optional<Found> search(const Segment& segment) const {
        const std::size_t reached = last_position_ + last_.size();
        const std::size_t wide = canvas_.wide();
        const std::size_t most = data_.total > segment.size() ? data_.total - segment.size() : 0;
        const auto lost = static_cast<std::size_t>(std::max(bytes_between(segment), 0.0) / bytes_per_mcu());
        const std::size_t last = std::min(most, reached + std::max(2 * wide, 2 * lost + wide));
        std::vector<double> steps;
        std::optional<Found> best;
        for (std::size_t position = reached; position <= last && compared_ < kMostCompared; ++position) {
            const auto fit = fit_at(segment, position, nullptr);
            if (!fit) {
                continue;
            }
            steps.push_back(fit->step);
            if (!best || fit->step < best->fit.step) {
                best = Found{position, *fit};
            }
        }
        if (!best || best->fit.step > 2.5 * typical_down_ + 48 || best->fit.step > 0.6 * median(steps)) {
            return std::nullopt;
        }
        return best;
    }

    /// Too many rows are missing above for a fit: brightness and colour are then those of the last row there
    /// is.
    [[nodiscard]] std::optional<Found> level_from_afar(const Segment& segment, std::size_t position) const {
        const auto fit = fit_at(segment, position, nullptr, data_.total / canvas_.wide());
        return fit ? std::optional(Found{position, *fit}) : std::nullopt;
    }

    /// How well the beginning of a segment fits under what is above a position. With no level given, the one
    /// that fits best is found. Nothing where too little is above.
    [[nodiscard]] std::optional<Fit> fit_at(const Segment& segment, std::size_t position, const Levels* given,
                                            std::size_t rows = kRows) const {
        const std::size_t wide = canvas_.wide();
        const std::size_t least = std::min<std::size_t>(8, wide);
        std::vector<std::pair<std::size_t, std::size_t>> pairs; // Position above, trace below.
        for (std::size_t mcu = 0; mcu < std::min(segment.size(), wide); ++mcu) {
            if (position + mcu >= data_.total) {
                break;
            }
            if (const auto above = above_of(position + mcu, rows)) {
                pairs.emplace_back(*above, segment.first + mcu);
            }
        }
        if (pairs.size() < least) {
            return std::nullopt;
        }
        compared_ += pairs.size();
        Fit fit;
        fit.level = given != nullptr ? *given : level_of(pairs);
        std::vector<double> steps;
        for (const auto& [above, below] : pairs) {
            const int offset = (fit.level[0] - canvas_.level(above)[0]) * traces_.step_of_dc();
            steps.push_back(traces_.step_down(canvas_.trace(above), below, offset));
        }
        fit.step = smaller_mean(steps);
        return fit;
    }

    [[nodiscard]] std::optional<std::size_t> above_of(std::size_t position, std::size_t rows = kRows) const {
        for (std::size_t row = 0; row < rows && position >= canvas_.wide(); ++row) {
            position -= canvas_.wide();
            if (canvas_.taken(position)) {
                return position;
            }
        }
        return std::nullopt;
    }

    /// The median of what would level each MCU with that above.
    [[nodiscard]] Levels level_of(const std::vector<std::pair<std::size_t, std::size_t>>& pairs) const {
        Levels levels{};
        std::vector<double> values;
        for (std::size_t component = 0; component < traces_.components(); ++component) {
            values.clear();
            for (const auto& [above, below] : pairs) {
                const double known = canvas_.level(above)[component];
                const int level = traces_.level_down(canvas_.trace(above), below, component);
                values.push_back(known + static_cast<double>(level) / traces_.step_of_dc(component));
            }
            levels[component] = static_cast<std::int32_t>(std::lround(median(values)));
        }
        return levels;
    }

    [[nodiscard]] double bytes_per_mcu() const {
        double bytes = 0;
        double count = 0;
        for (const auto& run : survey_.runs) {
            bytes += static_cast<double>(run.end - run.begin);
            count += static_cast<double>(run.count);
        }
        return std::max(bytes / std::max(count, 1.0), 0.25);
    }

    /// Bytes from the end of what was placed last to the segment, as far as runs tell.
    [[nodiscard]] double bytes_between(const Segment& segment) const {
        return offset_of(segment.run, segment.first) - offset_of(last_.run, last_.last);
    }

    [[nodiscard]] double offset_of(std::size_t index, std::size_t trace) const {
        const Run& run = survey_.runs[index];
        const double share = static_cast<double>(trace - run.trace) / static_cast<double>(run.count);
        return static_cast<double>(run.begin) + share * static_cast<double>(run.end - run.begin);
    }

    void put(const Segment& segment, std::size_t position, const Levels& level) {
        const std::size_t count = std::min(segment.size(), data_.total - position);
        const Run& run = survey_.runs[segment.run];
        placements_.push_back({segment.run, segment.first - run.trace, count, position, level});
        canvas_.put(position, segment.first, count, level);
        last_ = segment;
        last_position_ = position;
        last_level_ = level;
    }

    const ScanData& data_;
    const Survey& survey_;
    const McuTraces& traces_;
    Canvas& canvas_;
    double typical_;
    double typical_down_ = 0;
    mutable std::size_t compared_ = 0;
    Segment last_; // What was placed last, and where.
    std::size_t last_position_ = 0;
    Levels last_level_{};
    std::vector<Placement> placements_;
};

} // namespace

namespace {

/// Whether data that belong to the scan are left behind its last MCU, up to an EOI: then some MCUs before are
/// not what they should be.
bool ends_later(const ScanData& data, const Run& run) {
    const std::size_t next = next_marker(data.file, run.end, data.limit);
    return next < data.limit && data.file[next + 1] == marker::kEnd;
}

} // namespace

std::vector<Placement> place_plain(const ScanData& data, const Survey& survey, Canvas& canvas) {
    if (!survey.runs.empty()) {
        const Run& first = survey.runs[0];
        if (first.dc_known && first.count == data.total && (first.closes || !ends_later(data, first))) {
            canvas.put(0, first.trace, first.count);
            return {{0, 0, first.count, 0, {}}};
        }
    }
    return PlainPlacement(data, survey, canvas).place();
}

} // namespace still_mend
