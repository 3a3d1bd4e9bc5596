#pragma once

#include <cstdint>
#include <filesystem>

namespace plate_mend::host {

/// Where the tracks of a CR3 end, against the file's end. Both 0 where they end together, where zeros fill
/// the rest, and where no tables are alive.
struct TracksEnd {
    std::uint64_t missing = 0; ///< Bytes of the tracks that would stand behind the end of the file.
    std::uint64_t behind = 0;  ///< Bytes behind the tracks.
};

/// By the tables of the file, as far as they are alive: each "stsz" tells a track's length, and the "co64"
/// behind it its offset.
[[nodiscard]] TracksEnd end_of_tracks(const std::filesystem::path& path);

} // namespace plate_mend::host
