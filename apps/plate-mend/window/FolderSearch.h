#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace plate_mend::host {

/// What a browser knows of a folder that was dropped on the page: its name, and some of the files in it. It
/// does not say where the folder is.
struct DroppedFolder {
    /// One of the files.
    struct File {
        std::string name; ///< Its path in the folder, as bytes.
        std::uint64_t size = 0;
    };
    std::string name;
    std::vector<File> files;
};

/// How long a search may take.
struct SearchLimits {
    std::size_t folders = 100'000; ///< That are looked at.
    unsigned depth = 8;            ///< Below a starting folder.
    std::chrono::milliseconds time{4'000};
};

/// Folders of that name that have all of these files, with the same sizes. Without any file, none: a name
/// alone proves nothing. Links are not followed, and hidden folders are left out.
[[nodiscard]] std::vector<std::filesystem::path>
find_dropped(const DroppedFolder& dropped, const std::vector<std::filesystem::path>& starts,
             const SearchLimits& limits = {});

} // namespace plate_mend::host
