#pragma once

#include "cli/CommandTree.h"

namespace CLI {
class App;
}

namespace plate_mend::host {

/// The commands and options that a parser of command lines knows.
[[nodiscard]] CommandTree command_tree_of(const CLI::App& app);

} // namespace plate_mend::host
