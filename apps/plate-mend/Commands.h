#pragma once

#include <string>
#include <vector>

// What the program does, one function a command. Each tells results on the standard output and failures on
// the standard error stream, turns exceptions of the library into messages, and gives the exit status.
// Paths are UTF-8.

namespace plate_mend::host {

struct OutputOptions {
    std::string output; ///< Empty: a name made from the damaged file's.
    bool force = false; ///< Replace an existing file.
};

struct RepairOptions {
    std::string damaged;
    std::string sample;
    std::string log_directory; ///< Empty: no log is kept.
    OutputOptions output;
};

struct SalvageOptions {
    std::string damaged;
    OutputOptions output;
};

/// The advanced repair of one photograph.
[[nodiscard]] int run_repair(const RepairOptions& options);

/// The general repair of one photograph.
[[nodiscard]] int run_salvage(const SalvageOptions& options);

/// Whether LibRaw opens each file.
[[nodiscard]] int run_check(const std::vector<std::string>& files);

} // namespace plate_mend::host
