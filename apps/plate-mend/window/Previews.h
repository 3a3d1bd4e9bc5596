#pragma once

#include "run/LimitOptions.h"

#include <filesystem>
#include <mutex>
#include <string>

namespace plate_mend::host {

/// Finds the pictures inside damaged files, in workers. May be used by several threads; one is sought at a
/// time.
class Previews {
  public:
    /// The program is started for workers, and must outlive this object.
    explicit Previews(const std::filesystem::path& program) : program_(program) {}

    /// A small upright JPEG of the best picture inside a damaged file, which is only read; empty for none,
    /// and where that cannot be found out.
    [[nodiscard]] std::string preview_of(const std::filesystem::path& damaged);

  private:
    const std::filesystem::path& program_;
    std::mutex mutex_;
};

} // namespace plate_mend::host
