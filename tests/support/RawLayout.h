#pragma once

#include "support/Bytes.h"

#include <vector>

namespace test {

/// The bytes [begin, end) of a file.
struct FileRange {
    std::size_t begin = 0;
    std::size_t end = 0;
    bool operator==(const FileRange&) const = default;
};

/// Where an intact photograph that is built like TIFF has its parts. Read apart from the raw engine, so that
/// one cannot hide the other's mistake.
struct RawLayout {
    std::vector<FileRange> pieces;  ///< Strips or tiles of the raw image, in the order of its lists.
    std::vector<FileRange> entries; ///< The entries of all directories, one range per directory.

    [[nodiscard]] std::size_t image_begin() const;
    [[nodiscard]] std::size_t image_end() const;
};

/// The raw image is the strips or tiles of one directory that have the most bytes. No pieces if the file is
/// not built like TIFF, or all such lists lead outside it.
[[nodiscard]] RawLayout read_raw_layout(const Bytes& file);

} // namespace test
