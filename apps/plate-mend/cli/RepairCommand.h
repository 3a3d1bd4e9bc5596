#pragma once

#include "cli/LimitOptions.h"
#include "platform/Files.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace plate_mend::host {

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

/// Repairs photographs, tells of each and writes the reports.
///
///   is_removable  whether a path is on a medium that people take out; tests have answers of their own
[[nodiscard]] int
run_repair(const RepairOptions& options, const std::filesystem::path& program,
           const std::function<bool(const std::filesystem::path&)>& is_removable = platform::is_removable);

} // namespace plate_mend::host
