#pragma once

#include "support/Bytes.h"

#include <optional>
#include <vector>

namespace test {

/// Bytes of a file.
struct ByteRun {
    std::size_t offset = 0;
    std::size_t size = 0;
};

/// Where a RAW file says its image is: strips or tiles of the largest of its images, samples of the raw track
/// with the most pixels, or CFA data. Read in straight lines from the file alone, without any part of the
/// library. Nothing if a table leads outside the file, or there is none.
[[nodiscard]] std::optional<std::vector<ByteRun>> find_image(const Bytes& file);

/// The image's bytes, one piece after another. Nothing where there is no place, or it ends after the file.
[[nodiscard]] std::optional<Bytes> image_bytes(const Bytes& file);

/// Where the first samples of all tracks of a CR3 are, in the order of the tracks. Throws std::out_of_range
/// if a table leads outside the file.
[[nodiscard]] std::vector<ByteRun> find_tracks(const Bytes& file);

} // namespace test
