#include "mend/StreamTail.h"

#include "mend/LevelShift.h"
#include "mend/StreamEncoding.h"

#include <algorithm>
#include <utility>

namespace raw_mend {

namespace {

/// The head, and the data.
std::vector<unsigned char> join(Bytes sample, const lossless_jpeg::Head& sample_head, Bytes damaged,
                                const ByteRange& data) {
    const Bytes head = sample.subspan(static_cast<std::size_t>(sample_head.begin),
                                      static_cast<std::size_t>(sample_head.end - sample_head.begin));
    const Bytes rest =
        damaged.subspan(static_cast<std::size_t>(data.begin), static_cast<std::size_t>(data.length()));
    std::vector<unsigned char> stream(head.begin(), head.end());
    stream.insert(stream.end(), rest.begin(), rest.end());
    return stream;
}

/// Moves values to the levels of the border. Returns whether it shows them.
bool shift_levels(const StreamFrame& frame, std::span<std::uint16_t> values, std::size_t from,
                  const StreamTraits& traits) {
    std::vector<RowState> states(frame.rows, RowState::kLost);
    std::fill(states.begin() + static_cast<std::ptrdiff_t>(from / frame.row), states.end(), RowState::kRun);
    const auto estimates = measure_border(frame, traits.slices, values, states, traits.border);
    if (estimates.empty()) {
        return false;
    }
    const LevelShift level = combine(estimates, std::nullopt, {}, frame.components);
    for (std::size_t at = from; at < values.size(); ++at) {
        values[at] = static_cast<std::uint16_t>(values[at] + level.shift[at % frame.row % frame.components]);
    }
    return true;
}

/// Fills values before those that survive with the nearest row of the same colours.
void fill_front(const StreamWalk& walk, std::span<std::uint16_t> values, std::size_t end, Filling filling) {
    const std::size_t lag = walk.fit().lag();
    for (std::size_t at = 0; at < end; ++at) {
        values[at] =
            filling == Filling::kZeros ? std::uint16_t{0} : values[at + (end - at + lag - 1) / lag * lag];
    }
}

} // namespace

std::optional<RepairedStream> mend_tail(Bytes damaged, const ByteRange& data, Bytes sample,
                                        const lossless_jpeg::Head& sample_head, const StreamTraits& traits,
                                        Filling filling) {
    const std::vector<unsigned char> stream = join(sample, sample_head, damaged, data);
    const auto head = lossless_jpeg::read_head(stream, 0);
    if (!head || head->predictor != 1 || traits.border.columns == 0) {
        return std::nullopt;
    }
    StreamBytes bytes(stream, 0, stream.size());
    StreamWalk walk(*head, traits.period, bytes);
    const auto values = std::span(walk.values());
    const ValueRun lost = decode_after_loss(walk, 0, stream.size(), traits.alarms);
    if (!has_masked_border(traits.slices, values, traits.border, lost.end) ||
        !shift_levels(walk.frame(), values, lost.end, traits)) {
        return std::nullopt;
    }
    fill_front(walk, values, lost.end, filling);
    RepairedStream result;
    result.bytes = encode_values(*head, stream, {0, {head->end, 0}}, values);
    result.lost.push_back(lost);
    result.doubtful.push_back({lost.end, values.size()});
    return result;
}

} // namespace raw_mend
