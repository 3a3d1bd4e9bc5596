#include "util/Log.h"

#include "util/Utf8Path.h"

#include <string>

namespace plate_mend::util::log {

namespace {

// The separator is the same on every system; the log library turns it into the system's own. See
// docs/compatibility.md, The log.
constexpr const char* kSeparator = "\\";
constexpr const char* kLogSuffix = ".log";

} // namespace

// By value: see docs/compatibility.md, All formats.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
unsigned char initLog(std::filesystem::path config_directory, std::filesystem::path log_directory) {
    const std::string log_file = utf8_from_path(log_directory) + kSeparator + kModuleName + kLogSuffix;
    const std::string config = utf8_from_path(config_directory);
    const unsigned char started = InitLogEx(config.c_str(), kModuleName, log_file.c_str());
    if (started != 0) { // Not only 1: see docs/compatibility.md, The log.
        PLATE_MEND_LOG_INFORMATION("util::log::initLog", "Init success, config dir: [%s], log file: [%s]",
                                   config.c_str(), log_file.c_str());
    }
    return started;
}

} // namespace plate_mend::util::log
