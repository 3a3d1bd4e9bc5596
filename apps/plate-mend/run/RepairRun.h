#pragma once

#include "run/RepairOptions.h"

#include <cstddef>
#include <filesystem>
#include <functional>

namespace plate_mend::host {

class Notes;
struct Input;
struct Record;
struct RepairSelection;

/// Is notified of a run. Calls come one at a time, from the threads of the run.
class RunObserver {
  public:
    virtual ~RunObserver() = default;

    /// The files are known. The selection lasts as long as the run.
    virtual void selects(const RepairSelection& selection) = 0;
    /// Before each sample is read, and after the last one: how many are done, of how many.
    virtual void reads_samples(std::size_t done, std::size_t total) = 0;
    virtual void begins(const Input& input) = 0;
    /// In no particular order. A record that is not new is from an earlier run.
    virtual void ends(const Record& record, bool is_new) = 0;
};

/// What a run needs besides its options. All of it must outlive the run.
struct RunSurroundings {
    const std::filesystem::path& program; ///< This program's file, which is started again for workers.
    /// Whether a path is on a removable medium.
    const std::function<bool(const std::filesystem::path&)>& is_removable;
    Notes& notes;
    RunObserver* observer = nullptr; ///< Null: nobody.
};

/// Repairs photographs, reports on each, and writes the reports, or says what it would do (--dry-run).
/// Returns the exit status. Throws UsageError, ListError, Interrupted, MachineFailure, and others for errors
/// inside the program; a full disk is a status and a note.
[[nodiscard]] int run_repairs(const RepairOptions& options, const RunSurroundings& surroundings);

} // namespace plate_mend::host
