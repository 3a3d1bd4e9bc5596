#pragma once

#include "cli/CommandTree.h"

#include <optional>
#include <string>

namespace plate_mend::host {

enum class Shell { kBash, kZsh, kFish };

/// "bash", "zsh", "fish"; nothing for any other text.
[[nodiscard]] std::optional<Shell> shell_from_name(const std::string& name);

/// A script with which the shell completes the program's commands and options. Values are completed as names
/// of files, or from the option's list of values where it has one.
[[nodiscard]] std::string completion(const CommandTree& program, Shell shell);

} // namespace plate_mend::host
