#pragma once

#include "run/LimitOptions.h"

#include <string>
#include <vector>

namespace plate_mend::host {

/// What to repair, with which samples, and what to report.
struct RepairOptions {
    std::vector<std::string> paths;          ///< Damaged files, and folders of them.
    std::vector<std::string> samples;        ///< Intact photographs, and folders of them.
    std::vector<std::string> sample_folders; ///< Likewise.
    std::vector<std::string> extensions;     ///< Taken from folders; empty: by content.
    std::string files_from;                  ///< A list of further paths; empty: none.
    bool list_ends_in_null = false;          ///< Each path of the list ends in a NUL byte, not with its line.
    std::string root;   ///< Results keep their paths relative to it; empty: the folder that all paths share.
    std::string out;    ///< Folder of the results; empty: beside the damaged files.
    std::string output; ///< Name of the only result; empty: derived from the damaged file's.
    std::string json;   ///< File for JSON Lines, "-" for the standard output; empty: none.
    std::string csv;    ///< Likewise, for a table.
    std::string report; ///< File for a contact sheet, "-" likewise; empty: none.
    std::string mask;   ///< File for the mask of the only result, or an ending for those beside
                        ///< each result; empty: none.
    std::string task;   ///< The run's name in `out`; empty: the only run there.
    std::string log_directory; ///< Empty: no log is kept.
    unsigned jobs = 0;         ///< Files repaired at a time; 0: as many as there are processors.
    unsigned most_samples = 8; ///< Samples tried per file.
    bool force = false;        ///< Replace existing files.
    bool no_fallback = false;  ///< No JPEG is salvaged.
    bool no_fill = false;      ///< Lost pixels stay zero.
    bool no_sidecar = false;   ///< No XMP is written.
    bool resume = false;       ///< Skip what an earlier run finished.
    bool quiet = false;        ///< Print only failures of the program itself.
    bool dry_run = false;      ///< Print what a run would do, and write nothing.
    bool silent = false;       ///< Print nothing at all: somebody else shows the run.
    bool pictures = false;     ///< Records have small pictures even without a contact sheet.
    LimitOptions limits;
};

/// How many files are repaired at a time.
[[nodiscard]] unsigned jobs_of(const RepairOptions& options);

} // namespace plate_mend::host
