#include "host/ProgramFile.h"

#include "platform/Process.h"

namespace test {

std::filesystem::path program_file() {
    return plate_mend::host::platform::own_program().parent_path() / PLATE_MEND_PROGRAM_NAME;
}

std::vector<std::string> limited(std::vector<std::string> arguments) {
#if defined(PLATE_MEND_LEAK_DETECTION)
    if (!arguments.empty() && (arguments.front() == "repair" || arguments.front() == "salvage")) {
        arguments.insert(arguments.begin() + 1, {"--memory-limit", "0"});
    }
#endif
    return arguments;
}

} // namespace test
