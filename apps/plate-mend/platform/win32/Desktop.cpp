#include "platform/Desktop.h"

#include "platform/win32/Wtf8.h"

#include <windows.h>

#include <shellapi.h>

#include <array>
#include <cstdint>
#include <cstdlib>

namespace plate_mend::host::platform {

namespace {

namespace fs = std::filesystem;

bool open_with_shell(const std::wstring& what) {
    const HINSTANCE result = ::ShellExecuteW(nullptr, L"open", what.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
    constexpr std::intptr_t kLastError = 32;
    return reinterpret_cast<std::intptr_t>(result) > kLastError;
}

/// Whether what the process prints goes into a file, or to another program.
bool is_redirected(DWORD stream) {
    const DWORD type = ::GetFileType(::GetStdHandle(stream));
    return type == FILE_TYPE_DISK || type == FILE_TYPE_PIPE;
}

} // namespace

bool open_address(const std::string& address) {
    return open_with_shell(wide_from(address));
}

bool open_path(const fs::path& path) {
    return open_with_shell(fs::absolute(path).make_preferred().native());
}

bool is_started_from_desktop() {
    std::array<DWORD, 2> processes{};
    return ::GetConsoleProcessList(processes.data(), static_cast<DWORD>(processes.size())) == 1 &&
           !is_redirected(STD_OUTPUT_HANDLE) && !is_redirected(STD_ERROR_HANDLE);
}

fs::path home_folder() {
    const wchar_t* home = ::_wgetenv(L"USERPROFILE");
    return home == nullptr ? fs::path() : fs::path(home);
}

std::vector<fs::path> volumes() {
    std::vector<fs::path> found;
    const DWORD drives = ::GetLogicalDrives();
    for (unsigned number = 0; number < 26; ++number) {
        if ((drives >> number & 1U) != 0) {
            found.emplace_back(std::wstring{static_cast<wchar_t>(L'A' + number), L':', L'\\'});
        }
    }
    return found;
}

} // namespace plate_mend::host::platform
