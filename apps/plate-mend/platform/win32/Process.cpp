#include "platform/Process.h"

#include <windows.h>

#include <iomanip>
#include <sstream>
#include <system_error>

namespace plate_mend::host::platform {

namespace {

/// An argument as CommandLineToArgvW takes it apart again: in quotes, with the backslashes in front of a
/// quote doubled.
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

std::wstring wide(const std::string& utf8) {
    return std::filesystem::path(std::u8string(utf8.begin(), utf8.end())).wstring();
}

std::string crash_of(DWORD status) {
    std::ostringstream text;
    text << "exception 0x" << std::hex << status;
    return text.str();
}

} // namespace

struct Process::State {
    HANDLE process = nullptr;
    bool ended = false;
};

Process::Process(const std::filesystem::path& program, const std::vector<std::string>& arguments)
    : state_(std::make_unique<State>()) {
    std::wstring line = quoted(program.wstring());
    for (const std::string& argument : arguments) {
        line += L" " + quoted(wide(argument));
    }
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION made{};
    // Without a console of ours, Ctrl-C does not reach it.
    if (::CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, FALSE,
                         CREATE_NO_WINDOW | CREATE_NEW_PROCESS_GROUP, nullptr, nullptr, &startup,
                         &made) == FALSE) {
        throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(), program.string());
    }
    ::CloseHandle(made.hThread);
    state_->process = made.hProcess;
}

Process::~Process() {
    if (!state_->ended) {
        ::TerminateProcess(state_->process, 1);
        ::WaitForSingleObject(state_->process, INFINITE);
    }
    ::CloseHandle(state_->process);
}

std::optional<Ending> Process::wait(std::chrono::milliseconds time) {
    if (::WaitForSingleObject(state_->process, static_cast<DWORD>(time.count())) != WAIT_OBJECT_0) {
        return std::nullopt;
    }
    state_->ended = true;
    DWORD status = 0;
    ::GetExitCodeProcess(state_->process, &status);
    // Exceptions that nobody handles end a process with their number.
    return status >= 0xC0000000 ? Ending{0, crash_of(status)} : Ending{static_cast<int>(status), ""};
}

std::filesystem::path own_program() {
    std::wstring name(32768, L'\0');
    name.resize(::GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size())));
    return name;
}

void limit_memory(std::uint64_t bytes) {
    if (bytes == 0) {
        return;
    }
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_PROCESS_MEMORY;
    limits.ProcessMemoryLimit = static_cast<SIZE_T>(bytes);
    HANDLE job = ::CreateJobObjectW(nullptr, nullptr); // It lives as long as the process.
    ::SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits);
    ::AssignProcessToJobObject(job, ::GetCurrentProcess());
}

} // namespace plate_mend::host::platform
