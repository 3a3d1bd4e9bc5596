#pragma once

#include "support/Bytes.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

namespace test {

/// A RAW file's sensor data, decoded by LibRaw. Two files hold the same picture when these are equal.
struct RawPicture {
    unsigned width = 0; ///< The whole sensor area's, in pixels.
    unsigned height = 0;
    unsigned errors = 0; ///< What LibRaw counted of data errors.
    std::vector<std::uint16_t> samples;

    bool operator==(const RawPicture&) const = default;
};

/// Whether LibRaw opens the file.
[[nodiscard]] bool raw_opens(const std::filesystem::path& path);

/// The decoded picture; nothing when LibRaw does not open or unpack the file.
[[nodiscard]] std::optional<RawPicture> decode_raw(const std::filesystem::path& path);
[[nodiscard]] std::optional<RawPicture> decode_raw(const Bytes& file);

/// An 8-bit RGB rendering of at most about 1000 pixels in width, as interleaved rows.
struct Rendering {
    unsigned width = 0;
    unsigned height = 0;
    std::vector<unsigned char> rgb;
};
[[nodiscard]] std::optional<Rendering> render_raw(const std::filesystem::path& path);

} // namespace test
