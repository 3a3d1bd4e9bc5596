#include "Batch.h"

#include "SafeOutput.h"
#include "platform/Interrupt.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <thread>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

bool is_there(const std::optional<FileIdentity>& file) {
    std::error_code none;
    return !file || fs::file_size(path_from(file->path), none) == file->size;
}

/// The work on one batch, shared by its threads.
class Batch {
  public:
    Batch(const BatchRequest& request, const BatchListener& listener)
        : request_(request), listener_(listener), samples_(request.samples),
          workers_(request.limits, request.log_directory) {
        for (const Record& record : request.former) {
            former_[record.damaged.path] = &record;
        }
    }

    bool run() {
        std::vector<std::thread> threads;
        for (unsigned number = 0; number < std::max(1U, request_.jobs); ++number) {
            threads.emplace_back([this] { work(); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        if (failure_) {
            std::rethrow_exception(failure_);
        }
        return !interrupted_;
    }

  private:
    void work() {
        try {
            while (!interrupted_ && !platform::interrupted()) {
                const std::size_t index = next_++;
                if (index >= request_.inputs.size()) {
                    return;
                }
                work_on(request_.inputs[index]);
            }
            interrupted_ = true;
        } catch (const Interrupted&) {
            interrupted_ = true;
        } catch (...) {
            const std::lock_guard lock(mutex_);
            failure_ = std::current_exception();
            interrupted_ = true;
        }
    }

    void work_on(const Input& input) {
        if (const Record* record = request_.resume ? finished(input) : nullptr) {
            tell(*record, false);
            return;
        }
        tell_of_begin(input);
        const auto judged =
            request_.resume ? judged_anew(input, workers_, request_.repair) : std::optional<Record>();
        tell(judged ? *judged : repair_file(input, samples_, workers_, request_.repair), true);
    }

    /// The record of a former run, when it delivered something that is still there.
    [[nodiscard]] const Record* finished(const Input& input) const {
        const auto found = former_.find(utf8_from(input.path));
        const bool delivered = found != former_.end() && (found->second->raw || found->second->jpeg);
        return delivered && is_there(found->second->raw) && is_there(found->second->jpeg) ? found->second
                                                                                          : nullptr;
    }

    void tell_of_begin(const Input& input) {
        const std::lock_guard lock(mutex_);
        listener_.begins(input);
    }

    void tell(const Record& record, bool is_new) {
        const std::lock_guard lock(mutex_);
        listener_.ends(record, is_new);
    }

    const BatchRequest& request_;
    const BatchListener& listener_;
    Samples samples_;
    Workers workers_;
    std::map<std::string, const Record*> former_;
    std::atomic<std::size_t> next_ = 0;
    std::atomic<bool> interrupted_ = false;
    std::mutex mutex_; ///< Of the listener and the failure.
    std::exception_ptr failure_;
};

} // namespace

void check_outputs(const BatchRequest& request) {
    std::set<fs::path> inputs;
    for (const Input& input : request.inputs) {
        inputs.insert(fs::weakly_canonical(input.path));
    }
    for (const fs::path& sample : request.samples) {
        inputs.insert(fs::weakly_canonical(sample));
    }
    std::map<fs::path, fs::path> owners;
    for (const Input& input : request.inputs) {
        const Outputs outputs = outputs_of(input, request.repair);
        for (const fs::path& output : {outputs.raw, outputs.jpeg}) {
            const fs::path place = fs::weakly_canonical(output);
            if (inputs.count(place) != 0) {
                throw OutputClash(utf8_from(output) + ": the output is also an input");
            }
            const auto [owner, is_new] = owners.emplace(place, input.path);
            if (!is_new) {
                throw OutputClash(utf8_from(output) + " would be the result of " + utf8_from(owner->second) +
                                  " and of " + utf8_from(input.path));
            }
        }
    }
}

bool run_batch(const BatchRequest& request, const BatchListener& listener) {
    return Batch(request, listener).run();
}

} // namespace plate_mend::host
