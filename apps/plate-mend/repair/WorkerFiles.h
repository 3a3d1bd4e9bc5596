#pragma once

#include "record/Json.h"

#include <filesystem>

// How the program and its workers communicate. A worker is started with the folder of its first task, and
// receives those of the others through its channel. Task and answer are files in the folder. When the answer
// is there, the worker replies kTaskDone, or ends; if it cannot answer, it ends.

namespace plate_mend::host {

inline constexpr const char* kTaskFile = "task.json";
inline constexpr const char* kAnswerFile = "answer.json";
inline constexpr const char* kWorkerLogFolder = "log"; ///< For the library, which writes kWorkerLog there.
inline constexpr const char* kWorkerLog = "PlateMend.log";

inline constexpr unsigned char kTaskDone = '.'; ///< The reply of a worker that is ready for the next task.

// Exit statuses of a worker that cannot answer.
inline constexpr int kOutOfMemory = 71;
inline constexpr int kNoRoom = 72;
inline constexpr int kNoFolder = 73;   ///< The folder of the task cannot be used for another reason.
inline constexpr int kNotLoaded = 127; ///< The system's, for a program whose libraries are missing.

/// Replaces a file. Throws std::system_error.
void write_json(const std::filesystem::path& file, const Json& json);

/// Makes a file blank, if it is there. Throws std::system_error.
void forget_json(const std::filesystem::path& file);

/// Throws JsonError, also for a file that is missing or blank.
[[nodiscard]] Json read_json(const std::filesystem::path& file);

} // namespace plate_mend::host
