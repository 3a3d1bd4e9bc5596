#include "repair/WorkerProcess.h"

#include "files/Failures.h"
#include "platform/Process.h"
#include "repair/WorkerFiles.h"
#include "report/Notes.h"
#include "text/Format.h"
#include "text/Paths.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <system_error>
#include <thread>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

[[noreturn]] void fail_for_memory(const WorkerLimits& limits) {
    throw MachineFailure("memory ran out" +
                         (limits.memory == 0
                              ? std::string()
                              : " (--memory-limit allows " + std::to_string(limits.memory >> 20U) + " MiB)"));
}

void throw_for_status(int status, const WorkerLimits& limits) {
    if (status == kOutOfMemory) {
        fail_for_memory(limits);
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

/// Waits until the worker ends, its time is over or the user interrupts. Returns the problem, if there is
/// one.
std::string wait_for(platform::Process& process, const WorkerLimits& limits) {
    const auto start = std::chrono::steady_clock::now();
    for (;;) {
        if (const auto ending = process.wait(100ms)) {
            if (ending->by_system) {
                throw MachineFailure("the system ended a worker; most likely memory ran out");
            }
            if (ending->crashed.empty()) {
                throw_for_status(ending->status, limits);
            }
            return ending->crashed.empty() ? "" : "crashed: " + ending->crashed;
        }
        check_interruption();
        if (limits.seconds != 0 &&
            std::chrono::steady_clock::now() - start > std::chrono::seconds(limits.seconds)) {
            return "stopped after " + format_count(limits.seconds, "second");
        }
    }
}

/// Starts a worker. What refuses it may be over in a moment: a virus scanner that holds the program's file, a
/// lack of processes. It has three attempts.
platform::Process start(const fs::path& folder, const WorkerLimits& limits) {
    for (int attempts_left = 2;; --attempts_left) {
        try {
            return {limits.program, {"worker", utf8_from(folder)}};
        } catch (const std::system_error& e) {
            if (attempts_left == 0) {
                throw MachineFailure("a worker cannot be started", e.code());
            }
        }
        std::this_thread::sleep_for(50ms);
    }
}

/// Returns the problem, if there is one.
std::string run_process(const fs::path& folder, const WorkerLimits& limits) {
    platform::Process process = start(folder, limits);
    return wait_for(process, limits);
}

void write_task(Json task, const fs::path& folder, const WorkerLimits& limits) {
    task.set("memory", limits.memory);
    // The worker's own limit applies if this program is gone or hangs.
    constexpr unsigned kGrace = 5;
    constexpr unsigned kLongest = std::numeric_limits<unsigned>::max() - kGrace;
    task.set("seconds", limits.seconds == 0 ? 0U : std::min(limits.seconds, kLongest) + kGrace);
    task.set("parent", platform::own_id());
    try {
        fs::remove(folder / kAnswerFile);
        write_json(folder / kTaskFile, task);
    } catch (const std::system_error& e) {
        throw MachineFailure(utf8_from(folder) + ": no task can be written there", e.code());
    }
}

} // namespace

WorkerAnswer run_worker(Json task, const fs::path& folder, const WorkerLimits& limits) {
    write_task(std::move(task), folder, limits);
    if (std::string problem = run_process(folder, limits); !problem.empty()) {
        return {Json(), std::move(problem)};
    }
    Json answer;
    try {
        answer = read_json(folder / kAnswerFile);
    } catch (const JsonError&) {
        return {Json(), "ended without an answer"};
    }
    if (limits.notes != nullptr && answer.has("note")) {
        limits.notes->add(answer.required_text("note"));
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
