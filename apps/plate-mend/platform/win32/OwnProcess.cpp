#include "platform/Process.h"

#include <windows.h>

#include <psapi.h>

#include <algorithm>
#include <system_error>
#include <utility>

namespace plate_mend::host::platform {

namespace {

constexpr UINT kTimeIsUp = 0xC00000B5; // What Windows itself calls a time-out.

void CALLBACK end_now(PVOID /*context*/, BOOLEAN /*fired*/) {
    ::TerminateProcess(::GetCurrentProcess(), kTimeIsUp);
}

bool has_limit(HANDLE job, std::uint64_t bytes) {
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_PROCESS_MEMORY;
    limits.ProcessMemoryLimit = static_cast<SIZE_T>(bytes);
    return ::SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits) !=
               FALSE &&
           ::AssignProcessToJobObject(job, ::GetCurrentProcess()) != FALSE;
}

} // namespace

std::filesystem::path own_program() {
    std::wstring name(32768, L'\0');
    name.resize(::GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size())));
    return name;
}

void survive_long_files() {} // There is no such limit.

std::uint64_t own_id() {
    return ::GetCurrentProcessId();
}

void end_with(std::uint64_t /*parent*/) {}

void end_after(unsigned seconds) {
    static HANDLE timer = nullptr; // The last one exists as long as the process.
    if (timer != nullptr) {
        ::DeleteTimerQueueTimer(nullptr, std::exchange(timer, nullptr), nullptr);
    }
    if (seconds == 0) {
        return;
    }
    constexpr std::uint64_t kLongest = 0xFFFFFFFE; // Milliseconds: 49 days.
    const auto time = static_cast<DWORD>(std::min(std::uint64_t{seconds} * 1000, kLongest));
    if (::CreateTimerQueueTimer(&timer, nullptr, end_now, nullptr, time, 0,
                                WT_EXECUTEONLYONCE | WT_EXECUTEINTIMERTHREAD) == FALSE) {
        throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(), "a timer");
    }
}

bool limit_memory(std::uint64_t bytes) {
    if (bytes == 0) {
        return true;
    }
    HANDLE job = ::CreateJobObjectW(nullptr, nullptr);
    if (job == nullptr) {
        return false;
    }
    if (!has_limit(job, bytes)) {
        ::CloseHandle(job);
        return false;
    }
    return true; // The job exists as long as the process.
}

OwnMemory own_memory() {
    PROCESS_MEMORY_COUNTERS counters{};
    counters.cb = sizeof counters;
    if (::K32GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof counters) == FALSE) {
        return {};
    }
    return {counters.PagefileUsage, counters.PagefileUsage};
}

std::filesystem::path enter(const std::filesystem::path& folder) {
    return folder;
}

void leave() noexcept {} // It never entered one.

} // namespace plate_mend::host::platform
