#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Signs of damage in the sensor data themselves. A decoder takes whatever bytes it is given; what it makes of
// zeros, of noise or of displaced data looks like no photograph, and that can be measured.

namespace plate_mend::host {

/// Sensor data as rows of samples. Neighbours of one colour are dx samples and dy rows apart: 2 and 2 behind
/// a Bayer filter, 6 and 6 behind an X-Trans filter, the number of colours and 1 where each pixel has all.
struct SensorView {
    const std::uint16_t* samples = nullptr;
    std::size_t stride = 0; ///< Samples from row to row.
    std::size_t columns = 0;
    std::size_t rows = 0;
    std::size_t dx = 2;
    std::size_t dy = 2;
    unsigned black = 0;
    unsigned white = 65535;       ///< The highest value that the samples' width in bits allows.
    std::size_t tile_columns = 0; ///< Of the tiles that the picture is put together from; 0 for no tiles.
    bool doubtful = false;        ///< Something else told already that not all is well.
    bool whole_rows =
        false; ///< Rows end where the sensor's rows end: the next sample is the next row's first.

    [[nodiscard]] const std::uint16_t* row(std::size_t y) const { return samples + y * stride; }
};

/// What was found.
struct PixelSigns {
    std::vector<bool> bad_rows; ///< One a row.
    /// From this row on the data are displaced or mean something else; nothing when no such place was found.
    std::optional<std::size_t> displaced_from;
    bool place_is_known = false; ///< That row is where the displacement begins, and not only where it shows.
    std::vector<std::string> findings; ///< In words, at most one of a kind.
};

/// Looks for
///   - values that the samples' width in bits does not allow, and values far below black,
///   - runs as rough as noise over the whole range,
///   - runs of one value that begin and end abruptly, or that no sensor gives,
///   - a place from which everything is displaced,
///   - rows that go on in the next row, where there is other reason for doubt: all is shifted there,
///   - rows that fit one another only when they are shifted: a wrong width,
///   - tiles that do not fit one another.
[[nodiscard]] PixelSigns find_signs(const SensorView& view);

} // namespace plate_mend::host
