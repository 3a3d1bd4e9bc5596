#pragma once

#include "files/SafeOutput.h"

#include <filesystem>
#include <mutex>
#include <string>

namespace plate_mend::host {

/// The library's log of a whole run: each worker writes its own, which is appended here. May be used by
/// several threads.
class RunLog {
  public:
    explicit RunLog(OutputFile file) : file_(std::move(file)) {}

    /// Appends a line with a title and then a log, and removes that log. A missing log adds nothing. Throws
    /// MachineFailure when the run's log cannot be written.
    void take(const std::filesystem::path& log, const std::string& title);

  private:
    OutputFile file_;
    std::mutex mutex_;
};

} // namespace plate_mend::host
