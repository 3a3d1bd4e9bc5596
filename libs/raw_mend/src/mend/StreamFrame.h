#pragma once

#include <lossless_jpeg/Differences.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace raw_mend {

/// How the values of a lossless JPEG follow one another: rows of values, the components in turn.
struct StreamFrame {
    /// The head must be one that lossless_jpeg::can_decode() accepts, without restart intervals.
    explicit StreamFrame(const lossless_jpeg::Head& head);

    [[nodiscard]] std::size_t count() const { return row * rows; }
    /// What the difference of a value is added to, from the values before it.
    [[nodiscard]] int predict(std::span<const std::uint16_t> values, std::size_t at) const;

    std::size_t components = 1;
    std::size_t row = 0; ///< Values of a row.
    std::size_t rows = 0;
    unsigned predictor = 1;
    int first = 0;      ///< What the first value of each component adds to.
    unsigned limit = 0; ///< An encoder writes values less than this.
};

/// Decodes values from one index to another. Those before must be there. Returns the index of the first that
/// could not be decoded.
[[nodiscard]] std::size_t decode_values(lossless_jpeg::DifferenceReader& reader, const StreamFrame& frame,
                                        std::span<std::uint16_t> values, std::size_t from, std::size_t to);

/// How many rows lie between a row and the nearest one above it with the same colours: 1 or 2, whichever
/// makes the values differ less.
[[nodiscard]] std::size_t find_row_period(const StreamFrame& frame, std::span<const std::uint16_t> values);

} // namespace raw_mend
