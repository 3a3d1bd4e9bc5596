#include "repair/WorkerProcess.h"

#include "files/Failures.h"
#include "repair/WorkerFiles.h"
#include "text/Paths.h"

#include <chrono>
#include <optional>
#include <system_error>
#include <thread>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

/// A folder's name for a process that works elsewhere.
std::string name_for_worker(const fs::path& folder) {
    return utf8_from(fs::absolute(folder));
}

/// Starts a worker. What refuses it may be over in a moment: a virus scanner that holds the program's file, a
/// lack of processes. It has three attempts.
platform::Process start(const fs::path& folder, const WorkerLimits& limits) {
    for (int attempts_left = 2;; --attempts_left) {
        try {
            return {limits.program, {"worker", name_for_worker(folder)}};
        } catch (const std::system_error& e) {
            if (attempts_left == 0) {
                throw MachineFailure("a worker cannot be started", e.code());
            }
        }
        std::this_thread::sleep_for(50ms);
    }
}

TaskEnd end_from(const platform::Event& event) {
    if (event.ending) {
        return {TaskEnd::Kind::kEnded, *event.ending};
    }
    return {event.reply == kTaskDone ? TaskEnd::Kind::kDone : TaskEnd::Kind::kStrange, {}};
}

} // namespace

WorkerProcess::WorkerProcess(const fs::path& folder, const WorkerLimits& limits)
    : process_(start(folder, limits)) {}

bool WorkerProcess::take(const fs::path& folder) {
    return !process_.wait(0ms) && process_.send(name_for_worker(folder));
}

TaskEnd WorkerProcess::wait(unsigned seconds) {
    const auto start = std::chrono::steady_clock::now();
    for (;;) {
        if (const auto event = process_.wait(100ms)) {
            return end_from(*event);
        }
        check_interruption();
        if (seconds != 0 && std::chrono::steady_clock::now() - start > std::chrono::seconds(seconds)) {
            return {TaskEnd::Kind::kTimeUp, {}};
        }
    }
}

} // namespace plate_mend::host
