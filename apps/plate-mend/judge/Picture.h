#pragma once

#include "judge/Image.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <span>

class LibRaw;

namespace plate_mend::host {

/// Longer side of the pictures for contact sheets, in pixels.
inline constexpr unsigned kPictureSide = 960;

/// Renders unpacked sensor data upright with the camera's white balance into a small JPEG. Nothing is written
/// where the data cannot be rendered: a contact sheet can do without.
void write_raw_picture(LibRaw& unpacked, const std::filesystem::path& picture);

/// The same for a JPEG, turned upright by its Exif orientation.
void write_jpeg_picture(const std::filesystem::path& jpeg, const std::filesystem::path& picture);

/// A JPEG in a coarse resolution, not turned; nothing where libjpeg does not decode it without a warning.
///
///   bytes  from its SOI on; others may follow it
[[nodiscard]] std::optional<Image> decode_coarsely(std::span<const unsigned char> bytes);

/// Whether libjpeg decodes a JPEG to its end without a warning.
///
///   bytes  the JPEG, bytes[0..size-1]
[[nodiscard]] bool is_jpeg_whole(const unsigned char* bytes, std::size_t size);

} // namespace plate_mend::host
