#pragma once

#include <string>

namespace plate_mend::host {

/// What a code means: a number or a name.
[[nodiscard]] int run_explain(const std::string& code);

} // namespace plate_mend::host
