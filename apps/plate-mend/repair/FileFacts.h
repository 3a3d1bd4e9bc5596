#pragma once

#include "files/Formats.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <set>
#include <utility>

namespace plate_mend::host {

/// What can be told of a photograph by looking at its bytes, whether it is damaged or not.
struct FileFacts {
    std::filesystem::path path;
    std::optional<RawFormat> format;
    std::uint64_t size = 0; ///< In bytes.
    std::filesystem::file_time_type changed{};
    unsigned little_endian = 0; ///< Pairs of directory entries in either byte order.
    unsigned big_endian = 0;
    /// Widths and heights of pictures: in directories, JPEG frames and CR3 sample entries, as far as they are
    /// alive.
    std::set<std::pair<std::uint32_t, std::uint32_t>> sizes;
};

/// Looks through the first megabytes of a file, where photographs have their structure. A file that cannot be
/// read has no facts but its name.
[[nodiscard]] FileFacts facts_of(const std::filesystem::path& path);

} // namespace plate_mend::host
