#pragma once

#include "cli/CommandTree.h"

#include <string>
#include <vector>

namespace plate_mend::host {

/// What a user probably meant by the first argument that is unknown: a command, or an option of the command
/// that comes first. Empty if all are known, or if nothing resembles it.
[[nodiscard]] std::string suggestion_for(const CommandTree& program,
                                         const std::vector<std::string>& arguments);

} // namespace plate_mend::host
