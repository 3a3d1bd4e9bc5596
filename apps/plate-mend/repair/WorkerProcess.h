#pragma once

#include "platform/Process.h"

#include <cstdint>
#include <filesystem>
#include <string>

namespace plate_mend::host {

class Notes;

/// What workers are started from, and how much each may take.
struct WorkerLimits {
    std::filesystem::path program; ///< This program's file.
    unsigned seconds = 0;          ///< For each task; 0 is no limit.
    std::uint64_t memory = 0;      ///< In bytes; 0 is no limit.
    Notes* notes = nullptr;        ///< For notes of workers; null for none. Must outlive them.
};

/// How the work on a task ended.
struct TaskEnd {
    enum class Kind {
        kDone,   ///< The worker says so, and is ready for the next task.
        kEnded,  ///< The worker has ended, with or without an answer.
        kTimeUp, ///< The time limit is over.
        kStrange ///< The worker replied something that no worker replies.
    };
    Kind kind = Kind::kDone;
    platform::Ending ending; ///< Of a worker that has ended.
};

/// One worker: a process of this program that does tasks, one after another. It ends with the object, or with
/// the thread that started it.
class WorkerProcess {
  public:
    /// Starts a worker with its first task, which must be in the folder. Throws MachineFailure when none can
    /// be started.
    WorkerProcess(const std::filesystem::path& folder, const WorkerLimits& limits);

    /// Gives it another task. Returns whether it took it: not if it is gone.
    [[nodiscard]] bool take(const std::filesystem::path& folder);

    /// Waits until the task has ended or its time is over. Unless the task is done, the worker must not be
    /// used any more. Throws Interrupted.
    [[nodiscard]] TaskEnd wait(unsigned seconds);

  private:
    platform::Process process_;
};

} // namespace plate_mend::host
