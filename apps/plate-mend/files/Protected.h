#pragma once

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <utility>

namespace plate_mend::host {

/// Files that nothing may be written over, by whatever path they are reached: the damaged files and the
/// samples of a run. Filled first, then queried by any number of threads.
class Protected {
  public:
    /// A missing file is protected by its name.
    void add(const std::filesystem::path& file);

    /// Whether the path leads to one of the files, by its name or through links of any kind.
    [[nodiscard]] bool covers(const std::filesystem::path& path) const;

  private:
    std::set<std::string> names_;
    std::set<std::pair<std::uint64_t, std::uint64_t>> files_; ///< Volume and index.
};

} // namespace plate_mend::host
