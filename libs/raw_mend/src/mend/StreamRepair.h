#pragma once

#include "container/Description.h"
#include "mend/Filling.h"
#include "mend/MaskedBorder.h"
#include "mend/StreamLoss.h"

#include <optional>

namespace raw_mend {

/// A stream that was put together anew.
struct RepairedStream {
    std::vector<unsigned char> bytes; ///< SOI to EOI.
    bool is_exact = false;            ///< All bytes are the photograph's own, to the last value.
    std::vector<ValueRun> lost;
    std::vector<ValueRun> doubtful;
};

/// What a stream of an intact photograph from the same camera shows about the rows.
struct StreamTraits {
    std::size_t period = 1;          ///< As find_row_period() returns.
    std::vector<std::size_t> alarms; ///< Values that do not fit the rows above, in ascending order.
    bool is_possible = true;         ///< An encoder writes such values.
    StreamSlices slices;
    MaskedBorder border; ///< None if not all values can be decoded.
};

/// The head must be one that can_repair() accepts.
///
///   slices  widths of the raw image's slices, in values; empty for none
///   height  rows of the raw image
[[nodiscard]] StreamTraits measure_stream(Bytes file, const lossless_jpeg::Head& head,
                                          std::span<const std::uint32_t> slices, std::size_t height);

/// Whether a stream with this head can be repaired: it can be decoded, and has no restart intervals.
[[nodiscard]] bool can_repair(const lossless_jpeg::Head& head);

/// Repairs a stream that begins with this head in the damaged file and seems to end at this offset, after
/// EOI. Sectors are counted from the origins.
[[nodiscard]] RepairedStream repair_stream(Bytes damaged, const lossless_jpeg::Head& head, std::uint64_t end,
                                           const StreamTraits& traits, std::span<const std::uint64_t> origins,
                                           Filling filling);

/// What the values of a complete stream say of it. Codes fall into step again after damage, and there may be
/// as many of them by chance.
struct CheckedStream {
    /// The stream put together again, if clusters of it were exchanged.
    std::optional<RepairedStream> reordered;
    bool is_possible = true; ///< An encoder writes such values, or those of the sample are as odd.
};
[[nodiscard]] CheckedStream check_values(Bytes damaged, const lossless_jpeg::Head& head, std::uint64_t end,
                                         Bytes sample, const lossless_jpeg::Head& sample_head,
                                         std::span<const std::uint64_t> origins);

/// A stream with the head of another one and without any differences: grey.
[[nodiscard]] std::vector<unsigned char> make_grey_stream(Bytes file, const lossless_jpeg::Head& head);

} // namespace raw_mend
