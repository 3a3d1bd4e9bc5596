#pragma once

#include <string>
#include <vector>

// The program's commands and options, without those that are hidden in the help.

namespace plate_mend::host {

/// An option, or a positional argument, which has no names.
struct OptionDescription {
    std::vector<std::string> short_names; ///< Without the hyphen.
    std::vector<std::string> long_names;  ///< Without the hyphens.
    std::string argument;                 ///< What the help calls an argument, such as "FILE".
    std::string description;
    std::string value_name;          ///< The kind of value, such as "TEXT".
    std::string default_value;       ///< Empty where the description names it, or there is none.
    std::vector<std::string> values; ///< The permitted values; empty if any value is accepted.
    bool takes_value = false;
    bool takes_several = false; ///< Accepts more than one value.
    bool required = false;

    /// "-s", "--sample".
    [[nodiscard]] std::vector<std::string> names() const;
};

/// A command. The program itself is one too, and contains all others.
struct CommandTree {
    std::string name;
    std::string description;
    std::string footer;  ///< The end of the help.
    std::string version; ///< The program's version.
    std::vector<OptionDescription> options;
    std::vector<OptionDescription> arguments;
    std::vector<CommandTree> commands;
};

} // namespace plate_mend::host
