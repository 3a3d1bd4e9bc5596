#pragma once

#include "mend/StreamWalk.h"

namespace raw_mend {

/// Values of a stream, from one index up to another.
struct ValueRun {
    std::size_t begin = 0;
    std::size_t end = 0;
};

/// The parts of a run that are in none of these, which are in ascending order.
[[nodiscard]] std::vector<ValueRun> outside(const std::vector<ValueRun>& others, const ValueRun& run);

/// Fills values that are lost from the nearest row above with the same colours; without one, with what is
/// predicted.
void fill_values(const StreamFrame& frame, std::size_t lag, std::span<std::uint16_t> values,
                 const ValueRun& run);

/// Decodes what is after values that are lost. The stream is counted from its end: the last value is
/// followed by EOI, which ends at that byte, so that each value after the loss is at its index, if not at its
/// level. Values from the loss on that cannot be decoded, or do not fit the rows after them, are filled.
/// Rows near the alarms need not fit. Returns those that are filled; none are after them if nothing can be
/// decoded.
[[nodiscard]] ValueRun decode_after_loss(StreamWalk& walk, std::size_t loss, std::uint64_t end,
                                         std::span<const std::size_t> alarms);

/// Whether all data were decoded up to EOI, which ends at that byte, but are too few values: some are
/// missing, wherever.
[[nodiscard]] bool has_too_few_values(const StreamWalk& walk, std::uint64_t end);

/// How well the steps from value to value after a loss fit those of the rows before it if so many values were
/// lost there, by how well they fit if none was: less than 1 if the former is more likely.
[[nodiscard]] double compare_moved(StreamWalk& walk, std::size_t loss, std::size_t missing);

} // namespace raw_mend
