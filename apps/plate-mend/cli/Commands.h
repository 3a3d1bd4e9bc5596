#pragma once

#include "platform/Files.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

// What the program does, one function a command. Each tells results on the standard output and failures on
// the standard error stream, turns exceptions into messages, and gives the exit status. Paths are UTF-8.

namespace plate_mend::host {

/// What a worker may take.
struct LimitOptions {
    unsigned seconds = 600;
    std::uint64_t memory_mib = 4096;
};

/// What to repair, with what, and what to tell of it.
struct RepairOptions {
    std::vector<std::string> paths;          ///< Damaged files, and folders of them.
    std::vector<std::string> samples;        ///< Whole photographs.
    std::vector<std::string> sample_folders; ///< Folders of whole photographs.
    std::vector<std::string> extensions;     ///< Taken of folders; empty: all nine.
    std::string files_from;                  ///< A list of further paths; empty: none.
    std::string root;          ///< Where results' places are reckoned from; empty: what all share.
    std::string out;           ///< Folder of the results; empty: beside the damaged files.
    std::string output;        ///< Name of the one result; empty: made from the damaged file's.
    std::string json;          ///< File for JSON Lines, "-" for the standard output; empty: none.
    std::string csv;           ///< The same for a table.
    std::string report;        ///< File for a contact sheet; empty: none.
    std::string task;          ///< The run's name in `out`; empty: the only run there.
    std::string log_directory; ///< Empty: no log is kept.
    unsigned jobs = 0;         ///< Files at a time; 0: as many as there are processors.
    unsigned most_samples = 8; ///< Tried for a file.
    bool force = false;        ///< Replace existing files.
    bool no_fallback = false;  ///< No JPEG is salvaged.
    bool resume = false;       ///< Skip what a former run finished.
    bool quiet = false;        ///< Nothing but failures of the program itself is told.
    LimitOptions limits;
};

/// What to salvage a picture from.
struct SalvageOptions {
    std::string damaged;
    std::string output; ///< Empty: a name made from the damaged file's.
    bool force = false;
    LimitOptions limits;
};

/// What to look at.
struct DiagnoseOptions {
    std::vector<std::string> files;
    std::string sample; ///< Empty: none.
    bool json = false;  ///< One object per file instead of text.
    LimitOptions limits;
};

/// Repairs photographs, tells of each and writes the reports.
///
///   is_removable  whether a path is on a medium that people take out; tests have answers of their own
[[nodiscard]] int
run_repair(const RepairOptions& options, const std::filesystem::path& program,
           const std::function<bool(const std::filesystem::path&)>& is_removable = platform::is_removable);

/// The general repair of one photograph or JPEG.
[[nodiscard]] int run_salvage(const SalvageOptions& options, const std::filesystem::path& program);

/// Whether LibRaw opens each file, asked in a worker.
[[nodiscard]] int run_check(const std::vector<std::string>& files, const LimitOptions& limits,
                            const std::filesystem::path& program);

/// What is left of each file, looked at in a worker.
[[nodiscard]] int run_diagnose(const DiagnoseOptions& options, const std::filesystem::path& program);

/// What a code means: a number or a name.
[[nodiscard]] int run_explain(const std::string& code);

} // namespace plate_mend::host
