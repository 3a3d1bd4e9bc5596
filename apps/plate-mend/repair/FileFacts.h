#pragma once

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <utility>

namespace plate_mend::host {

/// What the bytes of a photograph show without decoding it, even if it is damaged.
struct FileFacts {
    std::filesystem::path path;
    std::string kind;       ///< As kind_of returns it.
    std::uint64_t size = 0; ///< In bytes.
    std::filesystem::file_time_type changed{};
    unsigned little_endian = 0; ///< Pairs of directory entries in either byte order.
    unsigned big_endian = 0;
    /// Widths and heights of pictures: in directories, JPEG frames and CR3 sample entries, as far as they
    /// survive.
    std::set<std::pair<std::uint32_t, std::uint32_t>> sizes;
};

/// Searches the first 8 MiB of a file, where photographs have their structure. If a file cannot be read, only
/// its name is known.
[[nodiscard]] FileFacts facts_of(const std::filesystem::path& path);

} // namespace plate_mend::host
