#pragma once

#include "Formats.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace plate_mend::host {

/// Something of the format's structure that was looked for.
struct Landmark {
    std::string name;
    bool needed = false;                 ///< A repair with a sample needs it in the damaged file.
    std::optional<std::uint64_t> offset; ///< Where it stands; nothing when it is lost.
};

/// Where the entries put image data. The numbers are those of the file: they may lead anywhere.
struct ImageData {
    std::uint64_t offset = 0;
    std::optional<std::uint64_t> size; ///< Nothing when no entry tells.
};

/// What leads to the image, as far as it is alive.
struct Landmarks {
    std::vector<Landmark> found;
    std::vector<ImageData> images;
    std::optional<bool>
        big_endian;       ///< Of the entries, or else of the header; nothing for CR3 or when unknown.
    std::string obstacle; ///< Why no repair reads this file though all is there, in words; empty for nothing.
    /// All that a repair needs is there.
    [[nodiscard]] bool complete() const;
};

/// Looks for the landmarks as the advanced repair does, but in both byte orders, since without a sample
/// nobody knows the damaged file's; the order given, when there is one, is looked at alone. Never throws for
/// any bytes; linear.
[[nodiscard]] Landmarks find_landmarks(std::span<const unsigned char> bytes, RawFormat format,
                                       std::optional<bool> big_endian = std::nullopt);

} // namespace plate_mend::host
