#include "mend/StreamRepair.h"

#include "mend/LevelShift.h"
#include "mend/StreamEncoding.h"
#include "mend/StreamPhases.h"
#include "mend/StreamRuns.h"
#include "mend/StreamTears.h"

#include <lossless_jpeg/Markers.h>
#include <lossless_jpeg/Stream.h>

#include <algorithm>
#include <cstdint>
#include <utility>

namespace raw_mend {

namespace {

constexpr std::size_t kLateRows = 16; // Before a loss was noticed. The most in docs/measurements/verdicts.md.
constexpr std::size_t kFewRows = 1000;          // Of a stream: where its rows begin shows in many only.
constexpr std::uint64_t kMoreBytes = 1U << 20U; // Than the stream seems to have.

class StreamRepair {
  public:
    StreamRepair(const lossless_jpeg::Head& head, StreamWalk& walk, const StreamTraits& traits,
                 Filling filling)
        : head_(head), walk_(walk), traits_(traits), filling_(filling) {}

    /// Nothing continues the values at one of the suspects.
    RepairedStream run(const std::vector<StreamTears::Suspect>& suspects, std::optional<std::uint64_t> end) {
        if (auto mended = run_on(suspects, end)) {
            return std::move(*mended);
        }
        const std::size_t count = walk_.values().size();
        const std::size_t loss = choose_loss(suspects, end);
        const StreamPlace place = walk_.place_of(loss);
        const ValueRun lost =
            end ? decode_after_loss(walk_, place.value, *end, traits_.alarms) : fill_rest(place.value);
        RepairedStream result;
        result.lost.push_back(lost);
        // If all could be decoded, something before the end is foreign. Other predictors than the left
        // neighbour hide foreign values: their sums do not move away from the rows above.
        const bool is_unknown = walk_.frame().predictor != 1 ||
                                (walk_.decoded() == count && lost.begin >= count) ||
                                (end && may_be_earlier(lost.begin, *end));
        const std::size_t certain = is_unknown ? 0 : last_certain(suspects, lost.begin);
        if (certain < lost.begin) {
            result.doubtful.push_back({certain, lost.begin});
        }
        if (lost.end < count && !correct_levels(lost)) {
            result.doubtful.push_back({lost.end, count});
        }
        clear({&lost, 1});
        wanted_ = walk_.values();
        result.bytes = encode(place);
        const auto rest = static_cast<std::ptrdiff_t>(lost.end);
        if ((result.doubtful.empty() || result.doubtful.back().end < count) && lost.end < count &&
            !std::equal(wanted_.begin() + rest, wanted_.end(), walk_.values().begin() + rest)) {
            result.doubtful.push_back({lost.end, count});
        }
        return result;
    }

  private:
    /// If it is clear where runs between losses belong.
    std::optional<RepairedStream> run_on(const std::vector<StreamTears::Suspect>& suspects,
                                         std::optional<std::uint64_t> end) {
        auto runs = mend_runs(walk_, suspects, end.value_or(walk_.bytes().bytes().size()), traits_.slices,
                              traits_.border);
        if (!runs) {
            return std::nullopt;
        }
        const StreamPlace place = walk_.place_of(runs->loss);
        clear(runs->lost);
        RepairedStream result;
        wanted_ = walk_.values();
        result.bytes = encode(place);
        if (runs->certain < runs->loss) {
            result.doubtful.push_back({runs->certain, runs->loss});
        }
        for (const ValueRun& run : outside(runs->lost, {runs->loss, wanted_.size()})) {
            const bool is_doubtful = std::ranges::any_of(
                runs->doubtful, [&](const ValueRun& other) { return other.begin == run.begin; });
            const auto begin = static_cast<std::ptrdiff_t>(run.begin);
            const auto last = static_cast<std::ptrdiff_t>(run.end);
            if (is_doubtful || !std::equal(wanted_.begin() + begin, wanted_.begin() + last,
                                           walk_.values().begin() + begin)) {
                result.doubtful.push_back(run);
            }
        }
        result.lost = std::move(runs->lost);
        return result;
    }

    void clear(std::span<const ValueRun> lost) {
        for (const ValueRun& run : lost) {
            if (filling_ == Filling::kZeros) {
                std::fill(walk_.values().begin() + static_cast<std::ptrdiff_t>(run.begin),
                          walk_.values().begin() + static_cast<std::ptrdiff_t>(run.end), std::uint16_t{0});
            }
        }
    }

    ValueRun fill_rest(std::size_t loss) {
        const ValueRun rest{loss, walk_.values().size()};
        fill_values(walk_.frame(), walk_.fit().lag(), walk_.values(), rest);
        return rest;
    }

    /// If the data could be decoded up to their end, but are too few, values are missing before that: after
    /// the suspect after which the others fit best when they are moved by as many.
    std::size_t choose_loss(const std::vector<StreamTears::Suspect>& suspects,
                            std::optional<std::uint64_t> end) {
        const std::size_t decoded = walk_.decoded();
        const std::size_t last = suspects.empty() ? decoded : suspects.back().value;
        if (!end || suspects.size() < 2 || decoded - last > walk_.frame().row ||
            !has_too_few_values(walk_, *end)) {
            return last;
        }
        constexpr double kLikely = 0.9;
        std::size_t loss = last_in_place(suspects);
        double least = kLikely;
        for (const auto& suspect : suspects) {
            const double misfit = compare_moved(walk_, suspect.value, walk_.values().size() - decoded) /
                                  std::max(suspect.misfit, 1.0);
            if (suspect.value != last && misfit < least) {
                least = misfit;
                loss = suspect.value;
            }
        }
        return loss;
    }

    /// Whether values may be missing long before a loss: the data go on to their end, and their rows do not
    /// all begin where they should.
    [[nodiscard]] bool may_be_earlier(std::size_t loss, std::uint64_t end) const {
        if (loss + walk_.frame().row < walk_.decoded() || !has_too_few_values(walk_, end)) {
            return false;
        }
        if (walk_.frame().rows < kFewRows) {
            return true;
        }
        const StreamChain chain = decode_chain(walk_, walk_.place_of(0), end);
        const auto runs = find_phase_runs(walk_.frame(), chain);
        return runs.empty() || runs.front().begin != 0 ||
               runs.front().end + kLateRows * walk_.frame().row < chain.size();
    }

    /// The last suspect before the first one that is not where the alarms let it be.
    [[nodiscard]] std::size_t last_in_place(const std::vector<StreamTears::Suspect>& suspects) const {
        constexpr std::size_t kNear = 4 * StreamFit::kBlock;
        std::size_t last = suspects.front().value;
        for (const auto& suspect : suspects) {
            const auto alarm =
                std::ranges::lower_bound(traits_.alarms, suspect.value - std::min(suspect.value, kNear));
            if (alarm == traits_.alarms.end() || *alarm > suspect.value + kNear) {
                break;
            }
            last = suspect.value;
        }
        return last;
    }

    /// Values before a loss may be wrong already: from the first suspect on that the alarms do not account
    /// for, and as damage is noticed late in flat parts of a picture.
    [[nodiscard]] std::size_t last_certain(const std::vector<StreamTears::Suspect>& suspects,
                                           std::size_t loss) const {
        const std::size_t near = loss - std::min(loss, kLateRows * walk_.frame().row);
        const auto first =
            std::ranges::find_if(suspects, [](const auto& suspect) { return suspect.misfit > 1; });
        return first == suspects.end() ? near : std::min(near, first->value);
    }

    /// Of the rows of the stream: known before the loss, a run after it.
    [[nodiscard]] std::vector<RowState> states_around(const ValueRun& lost) const {
        const StreamFrame& frame = walk_.frame();
        std::vector<RowState> states(frame.rows, RowState::kLost);
        const auto at = [&](std::size_t row) { return states.begin() + static_cast<std::ptrdiff_t>(row); };
        std::fill(states.begin(), at(lost.begin / frame.row), RowState::kKnown);
        std::fill(at((lost.end + frame.row - 1) / frame.row), states.end(), RowState::kRun);
        return states;
    }

    /// Returns whether all values after the loss are at their levels for certain.
    bool correct_levels(const ValueRun& lost) {
        const StreamFrame& frame = walk_.frame();
        if (frame.predictor != 1) {
            return false;
        }
        const auto values = std::span(walk_.values());
        const std::size_t period = walk_.fit().lag() / frame.row;
        const auto [first, last] = traits_.slices.rows_around(lost.begin / frame.row, frame);
        const auto found =
            measure_level(frame, values, period, {first, lost.begin / frame.row, lost.end / frame.row, last});
        const std::vector<RowState> states = states_around(lost);
        std::vector<LevelEstimate> estimates =
            measure_border(frame, traits_.slices, values, states, traits_.border);
        if (found) {
            estimates.push_back(*found);
        }
        if (estimates.empty()) {
            return false;
        }
        const LevelMarks marks(frame, traits_.slices, values, states, traits_.border.reach());
        const LevelShift level = combine(estimates, std::nullopt, marks, frame.components);
        for (std::size_t at = lost.end - std::min(lost.end, frame.row); at < values.size(); ++at) {
            if (at >= lost.begin) {
                values[at] =
                    static_cast<std::uint16_t>(values[at] + level.shift[at % frame.row % frame.components]);
            }
        }
        return level.is_certain;
    }

    std::vector<unsigned char> encode(const StreamPlace& place) {
        return encode_values(head_, walk_.bytes().bytes(), place, walk_.values());
    }

    const lossless_jpeg::Head& head_;
    StreamWalk& walk_;
    const StreamTraits& traits_;
    Filling filling_;
    std::vector<std::uint16_t> wanted_;
};

/// Where EOI ends in the stream, if the stream goes on to that offset of the file.
std::optional<std::uint64_t> end_in_stream(const StreamBytes& bytes, std::uint64_t end) {
    const ByteRange& last = bytes.runs().back();
    if (end < last.begin + 2 || end > last.end) {
        return std::nullopt;
    }
    return bytes.bytes().size() - (last.end - end);
}

/// Where an EOI ends that the values run into, if another stream or nothing follows it: there are too few.
std::optional<std::uint64_t> find_early_end(const StreamWalk& walk) {
    constexpr std::size_t kNear = 16;
    const Bytes bytes = walk.bytes().bytes();
    const auto marks = [&](std::size_t at, unsigned code) {
        return at + 2 <= bytes.size() && bytes[at] == 0xFF && bytes[at + 1] == code;
    };
    const auto from = static_cast<std::size_t>(walk.place_of(walk.decoded()).place.byte);
    for (std::size_t at = from; at < from + kNear; ++at) {
        if (marks(at, lossless_jpeg::kEoi)) {
            std::size_t next = at + 2;
            while (next < std::min(at + kNear, bytes.size()) && bytes[next] == 0) {
                ++next;
            }
            return next == bytes.size() || marks(next, lossless_jpeg::kSoi)
                       ? std::optional<std::uint64_t>(at + 2)
                       : std::nullopt;
        }
    }
    return std::nullopt;
}

RepairedStream take_whole(StreamWalk& walk) {
    const Bytes all = walk.bytes().bytes().first(static_cast<std::size_t>(*walk.find_end()));
    return {{all.begin(), all.end()}, true, {}, {}};
}

std::size_t measure_period(Bytes file, const lossless_jpeg::Head& head) {
    constexpr std::size_t kRows = 64;
    const StreamFrame frame(head);
    const lossless_jpeg::ComponentTables tables(head);
    std::vector<std::uint16_t> values(std::min(frame.rows, kRows) * frame.row);
    lossless_jpeg::DifferenceReader reader(file, tables, {head.end, 0});
    static_cast<void>(decode_values(reader, frame, values, 0, values.size()));
    return find_row_period(frame, values);
}

/// The first fault of a stream, or a break if there is none.
std::optional<StreamBreak> find_worst_break(const lossless_jpeg::Head& head, StreamBytes& bytes,
                                            std::size_t period) {
    StreamWalk walk(head, period, bytes);
    std::optional<StreamBreak> worst;
    while (const auto broken = walk.run(walk.frame().count())) {
        worst = broken;
        if (broken->is_fault) {
            break;
        }
    }
    return worst;
}

} // namespace

bool can_repair(const lossless_jpeg::Head& head) {
    return lossless_jpeg::can_decode(head) && head.restart_interval == 0;
}

StreamTraits measure_stream(Bytes file, const lossless_jpeg::Head& head,
                            std::span<const std::uint32_t> slices, std::size_t height) {
    StreamTraits traits{measure_period(file, head), {}, true, {}, {}};
    StreamBytes bytes(file, head.begin, file.size() - head.begin);
    StreamWalk walk(head, traits.period, bytes);
    while (const auto broken = walk.run(walk.frame().count())) {
        if (broken->is_fault) {
            traits.is_possible = false;
            break;
        }
        traits.alarms.push_back(broken->value);
    }
    const StreamFrame& frame = walk.frame();
    traits.slices = StreamSlices(slices, height, frame, walk.fit().lag());
    if (walk.decoded() == frame.count()) {
        traits.border = find_masked_border(frame, traits.slices, walk.values());
    }
    return traits;
}

RepairedStream repair_stream(Bytes damaged, const lossless_jpeg::Head& head, std::uint64_t end,
                             const StreamTraits& traits, std::span<const std::uint64_t> origins,
                             Filling filling) {
    using Care = StreamTears::Care;
    for (Care care = Care::kCautious;;) {
        StreamBytes bytes(damaged, head.begin, end - head.begin + kMoreBytes);
        StreamWalk walk(head, traits.period, bytes);
        StreamTears tears(damaged, walk, origins, traits.alarms, care);
        if (tears.run()) {
            return take_whole(walk);
        }
        if (care == Care::kNone || tears.undone() + tears.passed_over() == 0) {
            const auto early = find_early_end(walk);
            return StreamRepair(head, walk, traits, filling)
                .run(tears.suspects(), early ? early : end_in_stream(bytes, end));
        }
        // Where some is lost, nothing proves that any other place was a tear.
        care = care == Care::kCautious && tears.passed_over() > 0 ? Care::kBold : Care::kNone;
    }
}

CheckedStream check_values(Bytes damaged, const lossless_jpeg::Head& head, std::uint64_t end, Bytes sample,
                           const lossless_jpeg::Head& sample_head, std::span<const std::uint64_t> origins) {
    StreamBytes bytes(damaged, head.begin, end - head.begin + kMoreBytes);
    const auto broken = find_worst_break(head, bytes, measure_period(damaged, head));
    if (!broken) {
        return {};
    }
    const StreamTraits traits = measure_stream(sample, sample_head, {}, 0);
    StreamWalk walk(head, traits.period, bytes);
    StreamTears tears(damaged, walk, origins, traits.alarms, StreamTears::Care::kCautious);
    if (tears.run() && tears.undone() > 0) {
        return {take_whole(walk), true};
    }
    return {std::nullopt, !broken->is_fault || !traits.is_possible};
}

std::vector<unsigned char> make_grey_stream(Bytes file, const lossless_jpeg::Head& head) {
    const Bytes kept =
        file.subspan(static_cast<std::size_t>(head.begin), static_cast<std::size_t>(head.end - head.begin));
    lossless_jpeg::DifferenceWriter writer(head);
    writer.begin({kept.begin(), kept.end()}, 0, 0);
    const StreamFrame frame(head);
    for (std::size_t at = 0; at < frame.count(); ++at) {
        writer.put(at % frame.row % frame.components, 0);
    }
    return writer.finish();
}

} // namespace raw_mend
