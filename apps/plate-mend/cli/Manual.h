#pragma once

#include <optional>
#include <string>

namespace CLI {
class App;
}

// The manual page and the completions of shells, made from the tree of commands and options itself. Commands
// and options of an empty group are left out, as they are in the help.

namespace plate_mend::host {

/// The page for man(1), in roff with the man macros.
[[nodiscard]] std::string man_page(const CLI::App& app);

enum class Shell { kBash, kZsh, kFish };

/// "bash", "zsh", "fish"; nothing for another text.
[[nodiscard]] std::optional<Shell> shell_named(const std::string& name);

/// A script that teaches the shell the program's commands and options. Values are completed as names of
/// files, or from the option's list of values where it has one.
[[nodiscard]] std::string completion(const CLI::App& app, Shell shell);

} // namespace plate_mend::host
