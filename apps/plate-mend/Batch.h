#pragma once

#include "FileRepair.h"
#include "Worker.h"

#include <filesystem>
#include <functional>
#include <stdexcept>
#include <vector>

namespace plate_mend::host {

/// What a batch works on, and what is told of it.
struct BatchRequest {
    std::vector<Input> inputs;
    std::vector<std::filesystem::path> samples;
    RepairSettings repair;
    WorkerLimits limits;
    std::filesystem::path log_directory; ///< Empty: no log is kept.
    unsigned jobs = 1;                   ///< Files at a time.
    /// Records of a former run. Files that it finished, and whose results are still there, are not done
    /// again; neither are those without a record whose results are there: they are judged anew.
    std::vector<Record> former;
    bool resume = false;
};

/// Who is told of the work, by one call at a time.
struct BatchListener {
    std::function<void(const Input& input)> begins;
    /// In no order. A record that is not new stood in the reports of the former run.
    std::function<void(const Record& record, bool is_new)> ends;
};

/// Two results of a batch would be written to one place, or one to the place of an input. what() names them.
class OutputClash : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Throws OutputClash, before anything is done.
void check_outputs(const BatchRequest& request);

/// Repairs all inputs. True when all were done; false when the user interrupted: then each finished file had
/// its record, and of the others nothing is left. Throws what the listener throws.
[[nodiscard]] bool run_batch(const BatchRequest& request, const BatchListener& listener);

} // namespace plate_mend::host
