#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace plate_mend::host {

/// Sensor data as rows of samples. Neighbours of one colour are dx samples and dy rows apart: 2 and 2 with
/// a Bayer filter, 6 and 6 with an X-Trans filter, the number of colours and 1 where each pixel has all.
struct SensorView {
    const std::uint16_t* samples = nullptr; ///< Null for data of another kind.
    std::size_t stride = 0;                 ///< Samples from row to row.
    std::size_t columns = 0;
    std::size_t rows = 0;
    std::size_t dx = 2;
    std::size_t dy = 2;
    unsigned black = 0;
    unsigned white = 65535;       ///< The highest value that the samples' width in bits allows.
    std::size_t tile_columns = 0; ///< Width of the tiles that make up the picture; 0: no tiles.
    bool doubtful = false;        ///< Something else has shown already that the file is damaged.
    bool in_columns = false;      ///< The rows are columns of the sensor: it is coded column by column.
    bool decodes_exactly =
        false; ///< Coded data of which every part ends where its image does, without an error.
    /// Rows end where the sensor's rows end: the next sample is the first of the next row.
    bool whole_rows = false;

    [[nodiscard]] const std::uint16_t* row(std::size_t y) const { return samples + y * stride; }

    /// Values from black to white; at least 1.
    [[nodiscard]] unsigned range() const { return std::max(1U, white - std::min(black, white)); }

    /// The lowest value that noise reaches: black less 1/64 of the range.
    [[nodiscard]] unsigned lowest() const { return black - std::min(black, range() / 64); }
    /// Whether a value is farther below black than that.
    [[nodiscard]] bool is_below_black(unsigned value) const { return value < lowest(); }
};

/// The step between two samples.
[[nodiscard]] constexpr unsigned step(unsigned a, unsigned b) {
    return a > b ? a - b : b - a;
}

} // namespace plate_mend::host
