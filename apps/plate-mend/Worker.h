#pragma once

#include "Record.h"
#include "judge/Judge.h"

#include <cstdint>
#include <filesystem>
#include <string>

// Whatever may crash, hang or take all memory on hostile bytes runs in a worker: this program once more,
// started with a folder in which it finds its task and leaves its answer.

namespace plate_mend::host {

/// What workers are started from, and how much each may take.
struct WorkerLimits {
    std::filesystem::path program; ///< This program's file.
    unsigned seconds = 0;          ///< 0 is no limit.
    std::uint64_t memory = 0;      ///< In bytes; 0 is no limit.
};

/// The user asked the program to end while a worker ran.
class Interrupted : public std::exception {
  public:
    [[nodiscard]] const char* what() const noexcept override { return "interrupted"; }
};

/// Runs tasks in workers, each in one of its own. A crash, the time limit and an exception of the library
/// become the problem of the answer, in words. May be used by several threads, each with a folder of its own,
/// which must exist. All throw Interrupted, and std::system_error when no worker can be started.
class Workers {
  public:
    Workers(WorkerLimits limits, std::filesystem::path log_directory)
        : limits_(std::move(limits)), log_directory_(std::move(log_directory)) {}

    /// Files of an advanced repair.
    struct RepairTask {
        std::filesystem::path damaged;
        std::filesystem::path sample;
        std::filesystem::path output;
    };
    /// The advanced repair. Gives an attempt with its code or its problem. The library works in the folder.
    [[nodiscard]] Attempt repair(const std::filesystem::path& folder, const RepairTask& task) const;

    /// Files of a general repair.
    struct SalvageTask {
        std::filesystem::path damaged;
        std::filesystem::path output;
        std::filesystem::path picture; ///< Where a small upright JPEG of the result goes; empty: nowhere.
    };
    /// The general repair.
    [[nodiscard]] SalvagedPicture salvage(const std::filesystem::path& folder, const SalvageTask& task) const;

    /// Appends zeros for what a result lacks at its end by the sample. Gives how many, 0 for none.
    [[nodiscard]] std::uint64_t fill(const std::filesystem::path& folder, const std::filesystem::path& result,
                                     const std::filesystem::path& sample) const;

    /// Whether bytes are missing in front of the end of a damaged file's preview. True too where a
    /// problem of the worker leaves it unknown.
    [[nodiscard]] bool is_lost_in_preview(const std::filesystem::path& folder,
                                          const std::filesystem::path& damaged) const;

    /// The verdict of an independent decode. A problem is its only finding.
    [[nodiscard]] Judgement judge(const std::filesystem::path& folder, const JudgeRequest& task) const;

  private:
    WorkerLimits limits_;
    std::filesystem::path log_directory_; ///< Empty: no log is kept.
};

/// The worker's side: does the task in the folder. Gives the exit status of the process.
[[nodiscard]] int work(const std::filesystem::path& folder);

} // namespace plate_mend::host
