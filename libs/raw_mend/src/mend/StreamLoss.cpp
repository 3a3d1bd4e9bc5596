#include "mend/StreamLoss.h"

#include <lossless_jpeg/Markers.h>

#include <algorithm>
#include <cstdlib>

namespace raw_mend {

namespace {

constexpr double kMisfitting = 2.5;

/// The last differences of a stream, all of which can be decoded, up to its end.
struct Rest {
    lossless_jpeg::BitPlace place;
    std::size_t count = 0;
};

std::optional<Rest> find_rest(const StreamWalk& walk, const StreamPlace& from, std::uint64_t end,
                              std::size_t phase) {
    const Bytes bytes = walk.bytes().bytes().first(static_cast<std::size_t>(end));
    const std::size_t components = walk.frame().components;
    const std::size_t most = walk.frame().count() - from.value;
    Rest rest{from.place, 0};
    for (std::size_t left = 2 * most; left > 0;) {
        lossless_jpeg::DifferenceReader reader(bytes, walk.tables(), rest.place);
        std::uint16_t difference = 0;
        lossless_jpeg::BitPlace last = rest.place;
        for (rest.count = 0; rest.count < most && reader.take((phase + rest.count) % components, difference);
             ++rest.count) {
            last = reader.place();
        }
        left -= std::min(left, rest.count + 1);
        lossless_jpeg::DifferenceReader at_last(bytes, walk.tables(), last);
        if (at_last.closes() && at_last.stop() + 2 >= end) {
            return rest;
        }
        const std::uint64_t next = std::max(last.byte, rest.place.byte) + 1;
        if (next >= end) {
            return std::nullopt;
        }
        rest.place = {next, 0};
    }
    return std::nullopt;
}

bool is_near_any(std::span<const std::size_t> alarms, std::size_t value, std::size_t near) {
    const auto alarm = std::ranges::lower_bound(alarms, value - std::min(value, near));
    return alarm != alarms.end() && *alarm <= value + near;
}

/// The first row from which on all rows fit the next one with the same colours.
std::size_t find_fitting_row(const StreamWalk& walk, std::span<const std::uint16_t> values, std::size_t first,
                             std::span<const std::size_t> alarms) {
    const std::size_t row = walk.frame().row;
    const std::size_t lag = walk.fit().lag();
    StreamFit fit(walk.frame(), lag / row);
    for (std::size_t nth = walk.frame().rows; nth-- > first + lag / row;) {
        const std::size_t begin = nth * row;
        if (fit.misfit(values, begin, begin + row) > kMisfitting && !is_near_any(alarms, begin, 2 * lag)) {
            return nth;
        }
        for (std::size_t at = begin; at < begin + row; at += StreamFit::kBlock) {
            fit.learn(values, at, std::min(at + StreamFit::kBlock, begin + row));
        }
    }
    return first;
}

} // namespace

std::vector<ValueRun> outside(const std::vector<ValueRun>& others, const ValueRun& run) {
    std::vector<ValueRun> parts;
    std::size_t begin = run.begin;
    for (const ValueRun& other : others) {
        if (begin < other.begin) {
            parts.push_back({begin, other.begin});
        }
        begin = std::max(begin, other.end);
    }
    if (begin < run.end) {
        parts.push_back({begin, run.end});
    }
    return parts;
}

void fill_values(const StreamFrame& frame, std::size_t lag, std::span<std::uint16_t> values,
                 const ValueRun& run) {
    for (std::size_t at = run.begin; at < run.end; ++at) {
        values[at] = at < lag ? static_cast<std::uint16_t>(frame.predict(values, at)) : values[at - lag];
    }
}

ValueRun decode_after_loss(StreamWalk& walk, std::size_t loss, std::uint64_t end,
                           std::span<const std::size_t> alarms) {
    const StreamFrame& frame = walk.frame();
    const std::size_t lag = walk.fit().lag();
    const auto values = std::span(walk.values());
    const StreamPlace from = walk.place_of(loss);
    fill_values(frame, lag, values, {loss, values.size()});
    for (std::size_t phase = 0; phase < frame.components; ++phase) {
        const auto rest = find_rest(walk, from, end, phase);
        const std::size_t first = rest ? values.size() - rest->count : values.size();
        if (!rest || first % frame.components != phase || rest->count < 2 * lag) {
            continue;
        }
        lossless_jpeg::DifferenceReader reader(walk.bytes().bytes(), walk.tables(), rest->place);
        static_cast<void>(decode_values(reader, frame, values, first, values.size()));
        const std::size_t row = find_fitting_row(walk, values, (first + frame.row - 1) / frame.row, alarms);
        return {loss, row * frame.row};
    }
    return {loss, values.size()};
}

bool has_too_few_values(const StreamWalk& walk, std::uint64_t end) {
    constexpr std::uint64_t kNear = 16;
    const Bytes bytes = walk.bytes().bytes().first(static_cast<std::size_t>(end));
    const bool has_eoi =
        bytes.size() > 2 && bytes[bytes.size() - 2] == 0xFF && bytes.back() == lossless_jpeg::kEoi;
    return has_eoi && walk.decoded() < walk.frame().count() &&
           walk.place_of(walk.decoded()).place.byte + kNear >= end;
}

double compare_moved(StreamWalk& walk, std::size_t loss, std::size_t missing) {
    constexpr std::size_t kGarbage = 128; // Values before codes fall into step.
    const std::size_t lag = walk.fit().lag();
    const std::size_t step = walk.frame().components;
    const std::size_t back = ((missing + kGarbage) / lag + 2) * lag;
    const std::size_t begin = loss + kGarbage;
    const std::size_t end = std::min(begin + lag, walk.decoded());
    if (begin >= end || loss + step < back) {
        return 1;
    }
    const auto values = std::span<const std::uint16_t>(walk.values());
    const auto sum = [&](std::size_t distance) {
        double total = 1;
        for (std::size_t at = begin; at < end; ++at) {
            const std::size_t other = at - distance;
            total += std::abs((values[at] - values[at - step]) - (values[other] - values[other - step]));
        }
        return total;
    };
    return sum(back - missing) / sum(back);
}

} // namespace raw_mend
