#pragma once

#include "record/Json.h"
#include "repair/WorkerProcess.h"

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace plate_mend::host {

/// The answer of a worker, or why there is none.
struct WorkerAnswer {
    Json json;           ///< An object; null where there is a problem.
    std::string problem; ///< A crash, the time limit, or an exception, in words.
};

/// The workers of a job: one for each thread that has tasks, started with its first, and replaced when it
/// has ended. May be used by several threads.
class WorkerPool {
  public:
    explicit WorkerPool(WorkerLimits limits);
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;
    ~WorkerPool(); ///< Ends the workers.

    /// Has a task done, and waits until it is. The task gets the limits as further members. The folder must
    /// exist, and belong to this task alone until it has ended. A worker that has done other tasks before may
    /// fail because of them, so then a new one does the task again: what it writes must be in the members
    /// "output" and "picture", as names in the folder. Throws Interrupted, and MachineFailure when no worker
    /// can be started, when the disk is full, or when memory runs out.
    [[nodiscard]] WorkerAnswer run(Json task, const std::filesystem::path& folder);

  private:
    struct Outcome;

    [[nodiscard]] std::unique_ptr<WorkerProcess> take_own();
    void keep(std::unique_ptr<WorkerProcess> worker);
    [[nodiscard]] Outcome finish(std::unique_ptr<WorkerProcess> worker, const std::filesystem::path& folder);
    void throw_for_status(int status) const;
    [[nodiscard]] std::string problem_of(const TaskEnd& end) const;
    [[nodiscard]] WorkerAnswer answer_from(Outcome outcome) const;

    WorkerLimits limits_;
    std::mutex mutex_; ///< Guards the map.
    /// Those that wait for a task. Linux ends a process with the thread that started it, so each belongs to
    /// one.
    std::map<std::thread::id, std::unique_ptr<WorkerProcess>> waiting_;
};

} // namespace plate_mend::host
