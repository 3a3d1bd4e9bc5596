#include "cli/Suggestion.h"

#include "text/Similar.h"

#include <algorithm>

namespace plate_mend::host {

namespace {

bool is_option(const std::string& argument) {
    return argument.size() > 2 && argument.compare(0, 2, "--") == 0;
}

std::vector<std::string> option_names(const CommandTree& command) {
    std::vector<std::string> names;
    for (const OptionDescription& option : command.options) {
        for (const std::string& name : option.long_names) {
            names.push_back("--" + name);
        }
    }
    return names;
}

/// The option that was probably meant by the first one that is unknown. Values of options follow a "=".
std::string suggest_option(const CommandTree& command, const std::vector<std::string>& arguments) {
    const std::vector<std::string> known = option_names(command);
    for (const std::string& argument : arguments) {
        if (argument == "--") {
            break;
        }
        const std::string name = argument.substr(0, argument.find('='));
        if (is_option(name) && std::find(known.begin(), known.end(), name) == known.end()) {
            return most_similar(name, known);
        }
    }
    return "";
}

} // namespace

std::string suggestion_for(const CommandTree& program, const std::vector<std::string>& arguments) {
    const auto word = std::find_if(arguments.begin(), arguments.end(),
                                   [](const std::string& one) { return one.empty() || one.front() != '-'; });
    if (word == arguments.end()) {
        return suggest_option(program, arguments);
    }
    std::vector<std::string> commands;
    for (const CommandTree& command : program.commands) {
        if (command.name == *word) {
            return suggest_option(command, arguments);
        }
        commands.push_back(command.name);
    }
    return most_similar(*word, commands);
}

} // namespace plate_mend::host
