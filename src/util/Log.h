#pragma once

#include <quill_log/quill_log.h>

#include <filesystem>

// Log lines have two forms, one per level. The macros fill in the module name, the line number and, in an
// error line, the source path relative to the repository; the function's name is a literal such as
// "ArwRepair::AdvanceRepair".
// Texts are fixed, misspellings included: see docs/compatibility.md, The log.
//
//   level 1, information   [function](line): text
//   level 3, error         ---src/FOLDER/File.cpp---
//                          [function](line): text

namespace plate_mend {

inline constexpr const char* kModuleName = "PlateMend";

} // namespace plate_mend

/// Logs at level 1: PLATE_MEND_LOG_INFORMATION("ArwRepair::AdvanceRepair", "format", arguments...).
#define PLATE_MEND_LOG_INFORMATION(function, format, ...)                                                    \
    LogEx(::plate_mend::kModuleName, QUILL_LOG_INFORMATION, "[%s](%d): " format, function,                   \
          __LINE__ __VA_OPT__(, ) __VA_ARGS__)

/// Logs at level 3, beginning with the source path.
#define PLATE_MEND_LOG_ERROR(function, format, ...)                                                          \
    LogEx(::plate_mend::kModuleName, QUILL_LOG_ERROR, "---%s---\n[%s](%d): " format, PLATE_MEND_SOURCE_PATH, \
          function, __LINE__ __VA_OPT__(, ) __VA_ARGS__)

namespace plate_mend::util::log {

/// Starts the log "PlateMend.log" in log_directory. Returns what InitLogEx returned: 1 for success. Throws
/// std::system_error when a path has no UTF-8 form. The order of the directories is the opposite of that in
/// MndRawInit: see docs/compatibility.md, The log.
unsigned char initLog(std::filesystem::path config_directory, std::filesystem::path log_directory);

} // namespace plate_mend::util::log
