#pragma once

#include "judge/RawDecoder.h"
#include "judge/signs/Sign.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <vector>

namespace plate_mend::host {

/// Some bytes that are in two places.
struct Repeat {
    std::uint64_t first = 0;
    std::uint64_t second = 0; ///< A multiple of 256 bytes later, and no byte of it is one of the first place.
    std::uint64_t length = 0; ///< At least 512.
};

/// Sectors that bytes hold twice: the noise of a sensor never gives the same sector again. Patterns and
/// sectors of few values do not count, since overexposed and black areas repeat themselves. Ascending by the
/// second place. Takes time in proportion to the bytes and the logarithm of their number.
[[nodiscard]] std::vector<Repeat> find_repeats(std::span<const unsigned char> bytes);

/// The sign of sectors that an image holds twice. Which of both is where it belongs is not known: where each
/// row takes the same number of bytes, the rows of both are bad. None for images in several parts, whose
/// heads are alike.
///
///   decoder  has unpacked the file
[[nodiscard]] Sign find_repeated_sectors(const RawDecoder& decoder, const std::filesystem::path& file);

} // namespace plate_mend::host
