#include "platform/Arguments.h"

namespace plate_mend::host::platform {

std::vector<std::string> utf8_arguments(int argc, char** argv) {
    return argc < 1 ? std::vector<std::string>{} : std::vector<std::string>(argv + 1, argv + argc);
}

} // namespace plate_mend::host::platform
