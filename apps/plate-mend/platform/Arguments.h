#pragma once

#include <string>
#include <vector>

namespace plate_mend::host::platform {

/// The arguments of the program without its own name, in the form that bytes_of gives paths. On Windows they
/// are taken from the wide command line, and the console is told to expect UTF-8.
[[nodiscard]] std::vector<std::string> utf8_arguments(int argc, char** argv);

} // namespace plate_mend::host::platform
