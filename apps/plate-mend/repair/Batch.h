#pragma once

#include "repair/FileRepair.h"
#include "repair/Workers.h"

#include <cstddef>
#include <functional>
#include <vector>

namespace plate_mend::host {

class RunRecord;

/// The files of a batch, and how they are repaired.
struct BatchRequest {
    std::vector<PlannedFile> files;
    std::vector<std::filesystem::path> samples;
    const Protected& inputs; ///< Damaged files and samples.
    const Workers& workers;
    RepairSettings repair; ///< With `resume`, files that are finished according to the record are skipped.
    unsigned jobs = 1;     ///< Files at a time.
    RunRecord* record = nullptr; ///< Where finished files are recorded; null for nowhere.
};

/// Is notified of the progress. Calls come one at a time.
struct BatchListener {
    /// Before each sample is read, and after the last one: how many are done, of how many.
    std::function<void(std::size_t done, std::size_t total)> reads_samples;
    std::function<void(const Input& input)> begins;
    /// In no particular order. A record that is not new is from an earlier run.
    std::function<void(const Record& record, bool is_new)> ends;
    /// A finished file could not be recorded; its results stay. Why, for people.
    std::function<void(const std::string& problem)> is_not_recorded;
};

/// How a batch ended.
enum class BatchEnd {
    kDone,    ///< Each file has its record.
    kStopped, ///< The user interrupted, or the thread was asked to stop. Nothing remains of files without a
              ///< record.
    kNoRoom,  ///< The disk is full. Likewise.
};

/// Repairs all files. Throws what the listener throws.
[[nodiscard]] BatchEnd run_batch(const BatchRequest& request, const BatchListener& listener);

} // namespace plate_mend::host
