#pragma once

#include "record/Json.h"

#include <cstdint>
#include <filesystem>

namespace plate_mend::host {

/// What a worker found out about a task.
struct TaskAnswer {
    Json json;             ///< An object: the answer, or what went wrong.
    bool is_clean = false; ///< Nothing of the task is left in this process, and it may do another.
};

/// Does a task in this process. `place` goes before the names of files that are in the task's folder; empty
/// where the process is in that folder. Throws std::bad_alloc, and JsonError for what is no task.
[[nodiscard]] TaskAnswer do_task(const Json& task, const std::filesystem::path& place);

/// Throws std::bad_alloc where so much memory, in bytes, is not available.
void require_memory(std::uint64_t bytes);

} // namespace plate_mend::host
