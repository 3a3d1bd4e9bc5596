#pragma once

#include <string>
#include <vector>

namespace plate_mend::host::platform {

/// The arguments of the program in UTF-8, without its own name. On Windows they are taken from the wide
/// command line, and the console is told to expect UTF-8.
[[nodiscard]] std::vector<std::string> utf8_arguments(int argc, char** argv);

} // namespace plate_mend::host::platform
