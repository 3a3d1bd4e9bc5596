#include "platform/Arguments.h"

#define NOMINMAX
#include <windows.h>

#include <shellapi.h>

#include <stdexcept>

namespace plate_mend::host::platform {

namespace {

std::string utf8_from_wide(const wchar_t* text) {
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string utf8(size > 0 ? static_cast<std::size_t>(size) : 1, '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text, -1, utf8.data(), size, nullptr, nullptr);
    utf8.pop_back(); // The NUL.
    return utf8;
}

} // namespace

std::vector<std::string> utf8_arguments(int /*argc*/, char** /*argv*/) {
    ::SetConsoleOutputCP(CP_UTF8);
    int count = 0;
    wchar_t** wide = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    if (wide == nullptr) {
        throw std::runtime_error("the command line cannot be read");
    }
    std::vector<std::string> arguments;
    for (int index = 1; index < count; ++index) {
        arguments.push_back(utf8_from_wide(wide[index]));
    }
    ::LocalFree(wide);
    return arguments;
}

} // namespace plate_mend::host::platform
