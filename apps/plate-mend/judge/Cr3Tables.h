#pragma once

#include <cstdint>
#include <filesystem>

namespace plate_mend::host {

/// Where the tracks of a CR3 end, compared with the end of the file. Both 0 where they end together, where
/// zeros fill the rest, and where no tables survive.
struct TracksEnd {
    std::uint64_t missing = 0; ///< Bytes of the tracks that would be past the end of the file.
    std::uint64_t after = 0;   ///< Bytes after the tracks.
};

/// By the tables of the file, as far as they survive: each "stsz" holds the length of a track, and the "co64"
/// after it its offset.
[[nodiscard]] TracksEnd end_of_tracks(const std::filesystem::path& path);

} // namespace plate_mend::host
