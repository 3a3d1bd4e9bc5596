#include "platform/Process.h"

#include "platform/win32/Errors.h"
#include "platform/win32/Handle.h"
#include "platform/win32/Wtf8.h"

#include <system_path/system_path.h>

#include <algorithm>
#include <mutex>
#include <sstream>

namespace plate_mend::host::platform {

namespace {

/// An argument as CommandLineToArgvW takes it apart again: in quotes, with the backslashes before a quote
/// doubled.
std::wstring quoted(const std::wstring& argument) {
    std::wstring text = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t letter : argument) {
        if (letter == L'"') {
            text.append(backslashes + 1, L'\\');
        }
        backslashes = letter == L'\\' ? backslashes + 1 : 0;
        text += letter;
    }
    text.append(backslashes, L'\\');
    return text + L"\"";
}

std::wstring command_line(const std::filesystem::path& program, const std::vector<std::string>& arguments) {
    std::wstring line = quoted(program.wstring());
    for (const std::string& argument : arguments) {
        line += L" " + quoted(wide_from(argument));
    }
    return line;
}

std::string crash_of(DWORD status) {
    std::ostringstream text;
    text << "exception 0x" << std::hex << status;
    return text.str();
}

/// A job whose processes end when its last handle is closed: ours, however this process ends. Throws
/// std::system_error about the program.
Handle make_job(const std::filesystem::path& program) {
    Handle job(::CreateJobObjectW(nullptr, nullptr));
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    if (!job || ::SetInformationJobObject(job.get(), JobObjectExtendedLimitInformation, &limits,
                                          sizeof limits) == FALSE) {
        fail_on(program);
    }
    return job;
}

struct Started {
    Handle process;
    Handle thread;
};

/// Starts the program, which does nothing until its thread is resumed.
Started start(const std::filesystem::path& program, std::wstring line) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION made{};
    // Wine now and then fails ("Internal error") when two threads start processes at once: in 5 of 92 rounds
    // of the tests of resumed runs; in none of 44 with the lock.
    static std::mutex one_at_a_time;
    const std::lock_guard lock(one_at_a_time);
    // Without a console, Ctrl-C does not reach it, and the system need not start a console's host with each.
    constexpr DWORD kFlags = DETACHED_PROCESS | CREATE_NEW_PROCESS_GROUP | CREATE_SUSPENDED;
    if (::CreateProcessW(system_path::reachable(program).c_str(), line.data(), nullptr, nullptr, FALSE,
                         kFlags, nullptr, nullptr, &startup, &made) == FALSE) {
        fail_on(program);
    }
    return {Handle(made.hProcess), Handle(made.hThread)};
}

} // namespace

struct Process::State {
    Handle job;
    Handle process;
    bool ended = false;
};

Process::Process(const std::filesystem::path& program, const std::vector<std::string>& arguments) {
    Handle job = make_job(program);
    Started started = start(program, command_line(program, arguments));
    if (::AssignProcessToJobObject(job.get(), started.process.get()) == FALSE ||
        ::ResumeThread(started.thread.get()) == static_cast<DWORD>(-1)) {
        const DWORD error = ::GetLastError();
        ::TerminateProcess(started.process.get(), 1);
        fail_on(program, error);
    }
    state_ = std::make_unique<State>(State{std::move(job), std::move(started.process)});
}

Process::~Process() {
    if (!state_->ended) {
        ::TerminateJobObject(state_->job.get(), 1);
        ::WaitForSingleObject(state_->process.get(), INFINITE);
    }
}

std::optional<Ending> Process::wait(std::chrono::milliseconds time) {
    constexpr std::chrono::milliseconds::rep kLongest = 0xFFFFFFFE;
    const auto at_most =
        static_cast<DWORD>(std::clamp<std::chrono::milliseconds::rep>(time.count(), 0, kLongest));
    if (::WaitForSingleObject(state_->process.get(), at_most) != WAIT_OBJECT_0) {
        return std::nullopt;
    }
    state_->ended = true;
    DWORD status = 0;
    ::GetExitCodeProcess(state_->process.get(), &status);
    // An unhandled exception ends a process with the exception's number.
    return status >= 0xC0000000 ? Ending{0, crash_of(status)} : Ending{static_cast<int>(status), ""};
}

} // namespace plate_mend::host::platform
