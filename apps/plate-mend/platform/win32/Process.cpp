#include "platform/Process.h"

#include "platform/win32/Channel.h"
#include "platform/win32/Errors.h"
#include "platform/win32/Handle.h"
#include "platform/win32/Wtf8.h"

#include <system_path/system_path.h>

#include <algorithm>
#include <array>
#include <mutex>
#include <sstream>
#include <utility>

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

/// What a process is started with: the one handle that it inherits, which is its standard input.
class Inheritance {
  public:
    /// Throws std::system_error about the program.
    Inheritance(const Handle& handle, const std::filesystem::path& program) : handle_(handle.get()) {
        SIZE_T size = 0;
        ::InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        room_.resize(size);
        auto* list = static_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(static_cast<void*>(room_.data()));
        if (::InitializeProcThreadAttributeList(list, 1, 0, &size) == FALSE) {
            fail_on(program);
        }
        startup_.lpAttributeList = list;
        if (::UpdateProcThreadAttribute(list, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, &handle_, sizeof handle_,
                                        nullptr, nullptr) == FALSE) {
            const DWORD error = ::GetLastError();
            ::DeleteProcThreadAttributeList(list);
            fail_on(program, error);
        }
        startup_.StartupInfo.cb = sizeof startup_;
        startup_.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
        startup_.StartupInfo.hStdInput = handle_;
    }
    Inheritance(const Inheritance&) = delete;
    Inheritance& operator=(const Inheritance&) = delete;
    ~Inheritance() { ::DeleteProcThreadAttributeList(startup_.lpAttributeList); }
    [[nodiscard]] STARTUPINFOW* startup() { return &startup_.StartupInfo; }

  private:
    HANDLE handle_;
    std::vector<unsigned char> room_;
    STARTUPINFOEXW startup_{};
};

/// Starts the program, which does nothing until its thread is resumed.
Started start(const std::filesystem::path& program, std::wstring line, const Handle& input) {
    Inheritance inheritance(input, program);
    PROCESS_INFORMATION made{};
    // Wine now and then fails ("Internal error") when two threads start processes at once: in 5 of 92 rounds
    // of the tests of resumed runs; in none of 44 with the lock.
    static std::mutex one_at_a_time;
    const std::lock_guard lock(one_at_a_time);
    // Without a console, Ctrl-C does not reach it, and the system need not start a console's host with each.
    constexpr DWORD kFlags =
        DETACHED_PROCESS | CREATE_NEW_PROCESS_GROUP | CREATE_SUSPENDED | EXTENDED_STARTUPINFO_PRESENT;
    if (::CreateProcessW(system_path::reachable(program).c_str(), line.data(), nullptr, nullptr, TRUE, kFlags,
                         nullptr, nullptr, inheritance.startup(), &made) == FALSE) {
        fail_on(program);
    }
    return {Handle(made.hProcess), Handle(made.hThread)};
}

Ending ending_of(const Handle& process) {
    DWORD status = 0;
    ::GetExitCodeProcess(process.get(), &status);
    // An unhandled exception ends a process with the exception's number.
    return status >= 0xC0000000 ? Ending{0, crash_of(status)} : Ending{static_cast<int>(status), ""};
}

} // namespace

struct Process::State {
    explicit State(const std::filesystem::path& program) : job(make_job(program)), channel(program) {}
    Handle job;
    Handle process;
    Channel channel;
    bool ended = false;
};

Process::Process(const std::filesystem::path& program, const std::vector<std::string>& arguments) {
    auto state = std::make_unique<State>(program);
    const Handle their_end = state->channel.take_their_end();
    Started started = start(program, command_line(program, arguments), their_end);
    if (::AssignProcessToJobObject(state->job.get(), started.process.get()) == FALSE ||
        ::ResumeThread(started.thread.get()) == static_cast<DWORD>(-1)) {
        const DWORD error = ::GetLastError();
        ::TerminateProcess(started.process.get(), 1);
        fail_on(program, error);
    }
    state->process = std::move(started.process);
    state_ = std::move(state);
}

Process::~Process() {
    if (!state_->ended) {
        ::TerminateJobObject(state_->job.get(), 1);
        ::WaitForSingleObject(state_->process.get(), INFINITE);
    }
}

bool Process::send(const std::string& text) {
    return ::WaitForSingleObject(state_->process.get(), 0) == WAIT_TIMEOUT && state_->channel.send(text);
}

std::optional<Event> Process::wait(std::chrono::milliseconds time) {
    constexpr std::chrono::milliseconds::rep kLongest = 0xFFFFFFFE;
    const auto at_most =
        static_cast<DWORD>(std::clamp<std::chrono::milliseconds::rep>(time.count(), 0, kLongest));
    const std::array<HANDLE, 2> both = {state_->channel.expect(), state_->process.get()};
    const DWORD first =
        ::WaitForMultipleObjects(static_cast<DWORD>(both.size()), both.data(), FALSE, at_most);
    if (first == WAIT_TIMEOUT) {
        return std::nullopt;
    }
    if (first == WAIT_OBJECT_0) {
        if (const auto byte = state_->channel.receive()) {
            return Event{*byte, std::nullopt};
        }
        // It has closed the pipe, most likely because it is ending.
        if (::WaitForSingleObject(state_->process.get(), at_most) != WAIT_OBJECT_0) {
            return std::nullopt;
        }
    }
    state_->ended = true;
    return Event{0, ending_of(state_->process)};
}

std::optional<std::string> receive() {
    constexpr DWORD kPiece = 4096;
    std::string text;
    while (text.empty() || text.back() != '\0') {
        const std::size_t before = text.size();
        text.resize(before + kPiece);
        DWORD count = 0;
        if (::ReadFile(::GetStdHandle(STD_INPUT_HANDLE), text.data() + before, kPiece, &count, nullptr) ==
                FALSE ||
            count == 0) {
            return std::nullopt;
        }
        text.resize(before + count);
    }
    text.pop_back();
    return text;
}

void reply(unsigned char byte) {
    DWORD count = 0;
    ::WriteFile(::GetStdHandle(STD_INPUT_HANDLE), &byte, 1, &count, nullptr);
}

} // namespace plate_mend::host::platform
