#include "repair/Batch.h"

#include "files/Failures.h"
#include "files/Stop.h"
#include "platform/Files.h"
#include "record/RunRecord.h"
#include "text/Format.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>

namespace plate_mend::host {

namespace {

/// Whether a mask is wanted that an earlier run has not made.
bool lacks_mask(const Record& record, const Outputs& outputs) {
    const Attempt* taken = record.taken();
    return !outputs.mask.empty() && !record.mask && taken != nullptr && taken->image;
}

/// Whether a sidecar is wanted that an earlier run has not made, and has a place now.
bool lacks_sidecar(const Record& record, const Outputs& outputs, bool force) {
    return !outputs.sidecar.empty() && !record.sidecar && record.raw && record.metadata &&
           !record.metadata->in_result && (force || !platform::is_taken(outputs.sidecar));
}

/// The work on one batch, shared by its threads.
class Batch {
  public:
    Batch(const BatchRequest& request, const BatchListener& listener)
        : request_(request), listener_(listener),
          samples_(request.samples, SampleCache(request.record == nullptr ? "" : request.record->folder()),
                   listener.reads_samples),
          tools_{samples_, checks_, request.workers, request.inputs, request.record} {}

    BatchEnd run() {
        const std::size_t wanted = std::min<std::size_t>(std::max(1U, request_.jobs), request_.files.size());
        std::vector<std::thread> threads;
        threads.reserve(wanted);
        try {
            while (threads.size() + 1 < wanted) {
                threads.emplace_back([this, stop = current_stop()] {
                    const StopScope scope(stop);
                    work();
                });
            }
        } catch (const std::system_error&) {
            // The threads that did start do the work.
        }
        work(); // This thread works as well.
        for (std::thread& thread : threads) {
            thread.join();
        }
        if (failure_) {
            std::rethrow_exception(failure_);
        }
        return no_room_ ? BatchEnd::kNoRoom : interrupted_ ? BatchEnd::kStopped : BatchEnd::kDone;
    }

  private:
    void work() {
        try {
            WorkFolder folder;
            while (!ends_early()) {
                const std::size_t index = next_++;
                if (index >= request_.files.size()) {
                    return;
                }
                work_on(request_.files[index], folder);
            }
        } catch (const Interrupted&) {
            interrupted_ = true;
        } catch (...) {
            const std::lock_guard lock(mutex_);
            failure_ = std::current_exception();
            interrupted_ = true;
        }
    }

    bool ends_early() {
        if (is_interrupted()) {
            interrupted_ = true;
        }
        return interrupted_ || no_room_;
    }

    void work_on(const PlannedFile& file, WorkFolder& folder) {
        if (request_.repair.resume && request_.record != nullptr) {
            const auto record = request_.record->finished(file.input.path, file.outputs.raw);
            if (record && !lacks_mask(*record, file.outputs) &&
                !lacks_sidecar(*record, file.outputs, request_.repair.force)) {
                report(*record, false);
                return;
            }
        }
        announce(file.input);
        bool no_room = false;
        const Record record = repair_file(file, tools_, request_.repair, folder, no_room);
        add_to_record(record, no_room);
        report(record, true);
        if (no_room) {
            no_room_ = true;
        }
    }

    /// Results were already recorded before they were delivered; if this fails, that line is enough for the
    /// next run.
    void add_to_record(const Record& record, bool& no_room) {
        try {
            if (request_.record != nullptr) {
                request_.record->add(record);
            }
        } catch (const MachineFailure& e) {
            no_room = no_room || e.no_room();
            const std::lock_guard lock(mutex_);
            listener_.is_not_recorded(e.what());
        }
    }

    void announce(const Input& input) {
        const std::lock_guard lock(mutex_);
        listener_.begins(input);
    }

    void report(const Record& record, bool is_new) {
        const std::lock_guard lock(mutex_);
        listener_.ends(record, is_new);
    }

    const BatchRequest& request_;
    const BatchListener& listener_;
    Samples samples_;
    SampleChecks checks_ = request_.repair.pictures ? SampleChecks(request_.repair.work) : SampleChecks();
    RepairTools tools_;
    std::atomic<std::size_t> next_ = 0;
    std::atomic<bool> interrupted_ = false;
    std::atomic<bool> no_room_ = false;
    std::mutex mutex_; ///< Guards the listener and the failure.
    std::exception_ptr failure_;
};

} // namespace

BatchEnd run_batch(const BatchRequest& request, const BatchListener& listener) {
    try {
        return Batch(request, listener).run();
    } catch (const Interrupted&) {
        return BatchEnd::kStopped; // While the samples were read.
    }
}

} // namespace plate_mend::host
