#pragma once

#include "record/Json.h"

#include <filesystem>

// How the program and its workers communicate: by files in the folder of a task, and by exit statuses.

namespace plate_mend::host {

inline constexpr const char* kTaskFile = "task.json";
inline constexpr const char* kAnswerFile = "answer.json";
inline constexpr const char* kWorkerLogFolder = "log"; ///< For the library, which writes kWorkerLog there.
inline constexpr const char* kWorkerLog = "PlateMend.log";

// Exit statuses of a worker that cannot answer.
inline constexpr int kOutOfMemory = 71;
inline constexpr int kNoRoom = 72;
inline constexpr int kNoFolder = 73;   ///< The folder of the task cannot be used for another reason.
inline constexpr int kNotLoaded = 127; ///< The system's, for a program whose libraries are missing.

/// Replaces a file. Throws std::system_error.
void write_json(const std::filesystem::path& file, const Json& json);

/// Throws JsonError, also for a file that is missing.
[[nodiscard]] Json read_json(const std::filesystem::path& file);

} // namespace plate_mend::host
