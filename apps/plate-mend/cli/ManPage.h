#pragma once

#include "cli/CommandTree.h"

#include <string>

namespace plate_mend::host {

/// The program's page for man(1), in roff with the man macros.
[[nodiscard]] std::string man_page(const CommandTree& program);

} // namespace plate_mend::host
