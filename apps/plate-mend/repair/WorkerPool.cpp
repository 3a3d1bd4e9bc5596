#include "repair/WorkerPool.h"

#include "files/Failures.h"
#include "platform/Process.h"
#include "repair/WorkerFiles.h"
#include "report/Notes.h"
#include "text/Format.h"
#include "text/Paths.h"

#include <algorithm>
#include <limits>
#include <system_error>
#include <utility>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

Json with_limits(Json task, const WorkerLimits& limits) {
    task.set("memory", limits.memory);
    // The worker's own limit applies if this program is gone or hangs.
    constexpr unsigned kGrace = 5;
    constexpr unsigned kLongest = std::numeric_limits<unsigned>::max() - kGrace;
    task.set("seconds", limits.seconds == 0 ? 0U : std::min(limits.seconds, kLongest) + kGrace);
    task.set("parent", platform::own_id());
    return task;
}

void write_task(const Json& task, const fs::path& folder) {
    try {
        forget_json(folder / kAnswerFile);
        write_json(folder / kTaskFile, task);
    } catch (const std::system_error& e) {
        throw MachineFailure(utf8_from(folder) + ": no task can be written there", e.code());
    }
}

/// Removes what an unfinished task may have written.
void remove_traces(const Json& task, const fs::path& folder) {
    std::error_code ignored;
    for (const char* member : {"output", "picture"}) {
        const fs::path name = path_from(unescaped_name(task.text(member)));
        if (!name.empty() && !name.has_parent_path()) {
            fs::remove(folder / name, ignored);
        }
    }
    fs::remove(folder / kWorkerLogFolder / kWorkerLog, ignored);
}

/// Null for none.
Json read_answer(const fs::path& folder) {
    try {
        return read_json(folder / kAnswerFile);
    } catch (const JsonError&) {
        return {};
    }
}

} // namespace

/// How a task ended, and its answer.
struct WorkerPool::Outcome {
    TaskEnd end;
    Json answer; ///< Null for none.

    /// Whether earlier tasks of the same worker may be the reason why there is no answer. The time limit is
    /// not among them: it would apply twice.
    [[nodiscard]] bool is_doubtful() const {
        const int status = end.ending.status;
        return end.kind != TaskEnd::Kind::kTimeUp && answer.is_null() && status != kNoRoom &&
               status != kNoFolder;
    }
};

WorkerPool::WorkerPool(WorkerLimits limits) : limits_(std::move(limits)) {}

WorkerPool::~WorkerPool() = default;

WorkerAnswer WorkerPool::run(Json task, const fs::path& folder) {
    const Json whole = with_limits(std::move(task), limits_);
    write_task(whole, folder);
    if (auto worker = take_own(); worker != nullptr && worker->take(folder)) {
        Outcome outcome = finish(std::move(worker), folder);
        if (!outcome.is_doubtful()) {
            return answer_from(std::move(outcome));
        }
        remove_traces(whole, folder);
        write_task(whole, folder);
    }
    return answer_from(finish(std::make_unique<WorkerProcess>(folder, limits_), folder));
}

std::unique_ptr<WorkerProcess> WorkerPool::take_own() {
    const std::lock_guard lock(mutex_);
    return std::exchange(waiting_[std::this_thread::get_id()], nullptr);
}

void WorkerPool::keep(std::unique_ptr<WorkerProcess> worker) {
    const std::lock_guard lock(mutex_);
    waiting_[std::this_thread::get_id()] = std::move(worker);
}

WorkerPool::Outcome WorkerPool::finish(std::unique_ptr<WorkerProcess> worker, const fs::path& folder) {
    Outcome outcome{worker->wait(limits_.seconds), {}};
    const bool is_done = outcome.end.kind == TaskEnd::Kind::kDone;
    if (is_done || (outcome.end.kind == TaskEnd::Kind::kEnded && outcome.end.ending.crashed.empty())) {
        outcome.answer = read_answer(folder);
    }
    if (is_done && !outcome.answer.is_null()) {
        keep(std::move(worker));
    }
    return outcome;
}

void WorkerPool::throw_for_status(int status) const {
    if (status == kOutOfMemory) {
        throw MachineFailure("memory ran out" + (limits_.memory == 0
                                                     ? std::string()
                                                     : " (--memory-limit allows " +
                                                           std::to_string(limits_.memory >> 20U) + " MiB)"));
    }
    if (status == kNoRoom) {
        throw MachineFailure("a worker cannot answer", std::make_error_code(std::errc::no_space_on_device));
    }
    if (status == kNoFolder) {
        throw MachineFailure("a worker cannot use its folder");
    }
    if (status == kNotLoaded) {
        throw MachineFailure("a worker cannot be loaded; is the program installed completely?");
    }
}

/// Why the worker has ended; empty if by itself.
std::string WorkerPool::problem_of(const TaskEnd& end) const {
    if (end.kind == TaskEnd::Kind::kTimeUp) {
        return "stopped after " + format_count(limits_.seconds, "second");
    }
    if (end.ending.by_system) {
        throw MachineFailure("the system ended a worker; most likely memory ran out");
    }
    if (!end.ending.crashed.empty()) {
        return "crashed: " + end.ending.crashed;
    }
    throw_for_status(end.ending.status);
    return "";
}

WorkerAnswer WorkerPool::answer_from(Outcome outcome) const {
    if (std::string problem = problem_of(outcome.end); !problem.empty()) {
        return {Json(), std::move(problem)};
    }
    Json& answer = outcome.answer;
    if (answer.is_null()) {
        return {Json(), "ended without an answer"};
    }
    if (limits_.notes != nullptr && answer.has("note")) {
        limits_.notes->add(answer.required_text("note"));
    }
    if (answer.has("machine")) {
        throw MachineFailure(answer.required_text("machine"), answer.truth("no_room"));
    }
    if (answer.has("exception")) {
        return {Json(), answer.required_text("exception")};
    }
    return {std::move(answer), ""};
}

} // namespace plate_mend::host
