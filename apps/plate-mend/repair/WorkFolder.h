#pragma once

#include "files/SafeOutput.h"

#include <filesystem>
#include <optional>

namespace plate_mend::host {

/// The private folder in which one thread works on one file after another. To clear it takes less time than
/// to remove it and create another: file systems are slow to create files where many have just been removed.
class WorkFolder {
  public:
    /// The folder, in a parent. Nothing is in it, except what an earlier file's workers communicated with.
    /// The path is valid until the next call. Throws MachineFailure.
    [[nodiscard]] const std::filesystem::path& in(const std::filesystem::path& parent);

    /// Removes what a file has left there.
    void clear();

  private:
    std::filesystem::path parent_;
    std::optional<PrivateFolder> folder_;
};

} // namespace plate_mend::host
