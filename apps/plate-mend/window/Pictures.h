#pragma once

#include "files/SafeOutput.h"
#include "report/Spool.h"

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace plate_mend::host {

/// The small pictures that the window shows, on the disk. All of them are JPEGs that this program encoded.
/// May be used by several threads.
class Pictures {
  public:
    /// Keeps them in a private folder in this one, which must exist once there is a picture.
    explicit Pictures(std::filesystem::path folder) : folder_(std::move(folder)) {}

    /// Keeps a JPEG; nothing for an empty one. Throws MachineFailure.
    [[nodiscard]] std::optional<Spool::Place> add(const std::string& jpeg);
    /// Throws MachineFailure.
    [[nodiscard]] std::string read(const Spool::Place& place);

  private:
    std::filesystem::path folder_;
    std::mutex mutex_;
    std::unique_ptr<PrivateFolder> private_; ///< Null until there is a picture.
    std::unique_ptr<Spool> spool_;
};

} // namespace plate_mend::host
