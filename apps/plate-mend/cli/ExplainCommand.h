#pragma once

#include <string>

namespace plate_mend::host {

/// Prints what a code means: a number or a name. Returns the exit status.
[[nodiscard]] int run_explain(const std::string& code);

} // namespace plate_mend::host
