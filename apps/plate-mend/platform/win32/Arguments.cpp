#include "platform/Arguments.h"

#include "platform/win32/Wtf8.h"

#include <windows.h>

#include <shellapi.h>

#include <stdexcept>

namespace plate_mend::host::platform {

std::vector<std::string> utf8_arguments(int /*argc*/, char** /*argv*/) {
    ::SetConsoleOutputCP(CP_UTF8);
    int count = 0;
    wchar_t** wide = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    if (wide == nullptr) {
        throw std::runtime_error("the command line cannot be read");
    }
    std::vector<std::string> arguments;
    for (int index = 1; index < count; ++index) {
        arguments.push_back(wtf8_from(wide[index]));
    }
    ::LocalFree(wide);
    return arguments;
}

} // namespace plate_mend::host::platform
