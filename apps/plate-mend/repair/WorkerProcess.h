#pragma once

#include "record/Json.h"

#include <cstdint>
#include <filesystem>
#include <string>

namespace plate_mend::host {

class Notes;

/// What workers are started from, and how much each may take.
struct WorkerLimits {
    std::filesystem::path program; ///< This program's file.
    unsigned seconds = 0;          ///< 0 is no limit.
    std::uint64_t memory = 0;      ///< In bytes; 0 is no limit.
    Notes* notes = nullptr;        ///< For notes of workers; null for none. Must outlive them.
};

/// The answer of a worker, or why there is none.
struct WorkerAnswer {
    Json json;           ///< An object; null where there is a problem.
    std::string problem; ///< A crash, the time limit, or an exception, in words.
};

/// Starts a worker with a task, and waits until it ends. The task gets the limits as further members. The
/// folder must exist, and belong to this task alone until it has ended. Throws Interrupted, and
/// MachineFailure when no worker can be started, when the disk is full, or when memory runs out.
[[nodiscard]] WorkerAnswer run_worker(Json task, const std::filesystem::path& folder,
                                      const WorkerLimits& limits);

} // namespace plate_mend::host
