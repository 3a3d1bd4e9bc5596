#include "platform/Desktop.h"

#include "host/platform/Children.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <array>
#include <string>

namespace test {
namespace {

namespace platform = plate_mend::host::platform;

/// Starts a program with these flags, with its output going there, or to its console. Returns its exit status
/// when it has ended.
DWORD status_of_child(DWORD flags, HANDLE output = nullptr) {
    std::wstring line = L"child desktop";
    STARTUPINFOW start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESHOWWINDOW | (output == nullptr ? 0 : STARTF_USESTDHANDLES);
    start.wShowWindow = SW_HIDE;
    start.hStdOutput = output;
    start.hStdError = output;
    PROCESS_INFORMATION process{};
    EXPECT_NE(::CreateProcessW(child_program().c_str(), line.data(), nullptr, nullptr,
                               output == nullptr ? FALSE : TRUE, flags, nullptr, nullptr, &start, &process),
              FALSE)
        << ::GetLastError();
    constexpr DWORD kHalfAMinute = 30'000;
    EXPECT_EQ(::WaitForSingleObject(process.hProcess, kHalfAMinute), WAIT_OBJECT_0);
    DWORD status = 0;
    ::GetExitCodeProcess(process.hProcess, &status);
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    return status;
}

/// A console that this process has, if need be a new one, as long as the object exists.
class Console {
  public:
    Console() : is_new_(::AllocConsole() != FALSE) {}
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;
    ~Console() {
        if (is_new_) {
            ::FreeConsole();
        }
        for (std::size_t index = 0; index < kStreams.size(); ++index) {
            ::SetStdHandle(kStreams[index], before_[index]);
        }
    }

  private:
    static constexpr std::array kStreams{STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE};
    std::array<HANDLE, kStreams.size()> before_{::GetStdHandle(kStreams[0]), ::GetStdHandle(kStreams[1]),
                                                ::GetStdHandle(kStreams[2])};
    bool is_new_;
};

TEST(DesktopWin32, HasStartedAProgramWithAConsoleOfItsOwn) {
    EXPECT_EQ(status_of_child(CREATE_NEW_CONSOLE), 1U);
}

TEST(DesktopWin32, HasNotStartedAProgramWithoutAConsole) {
    EXPECT_EQ(status_of_child(DETACHED_PROCESS), 0U);
}

TEST(DesktopWin32, HasNotStartedAProgramWhoseConsoleIsAnothers) {
    const Console console;
    EXPECT_EQ(status_of_child(0), 0U);
}

TEST(DesktopWin32, HasNotStartedAProgramWhoseOutputAnotherReads) {
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    HANDLE reader = nullptr;
    HANDLE writer = nullptr;
    ASSERT_NE(::CreatePipe(&reader, &writer, &inherited, 0), FALSE);
    EXPECT_EQ(status_of_child(CREATE_NO_WINDOW, writer), 0U);
    ::CloseHandle(reader);
    ::CloseHandle(writer);
}

} // namespace
} // namespace test
