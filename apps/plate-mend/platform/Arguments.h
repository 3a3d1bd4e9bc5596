#pragma once

#include <string>
#include <vector>

namespace plate_mend::host::platform {

/// The arguments of the program without its own name, in the form that bytes_of returns for paths. On Windows
/// they come from the wide command line, and the console is switched to UTF-8.
[[nodiscard]] std::vector<std::string> utf8_arguments(int argc, char** argv);

} // namespace plate_mend::host::platform
