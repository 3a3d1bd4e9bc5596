#include "cli/Completion.h"

#include "text/Format.h"
#include "text/Text.h"

#include <algorithm>
#include <cctype>
#include <string_view>
#include <vector>

namespace plate_mend::host {

namespace {

/// The name as part of a shell function's name.
std::string identifier(std::string name) {
    std::replace_if(
        name.begin(), name.end(), [](unsigned char letter) { return std::isalnum(letter) == 0; }, '_');
    return name;
}

/// In single quotes, for bash and zsh.
std::string quote(std::string_view text) {
    return '\'' + replace_letters(text, "'", {"'\\''"}) + '\'';
}

std::string all_names(const CommandTree& app) {
    std::vector<std::string> names;
    for (const OptionDescription& option : app.options) {
        for (const std::string& name : option.names()) {
            names.push_back(name);
        }
    }
    return join(names, " ");
}

std::string argument_values(const CommandTree& app) {
    std::vector<std::string> values;
    for (const OptionDescription& argument : app.arguments) {
        const auto more = argument.values;
        values.insert(values.end(), more.begin(), more.end());
    }
    return join(values, " ");
}

std::string command_names(const CommandTree& app) {
    std::vector<std::string> names;
    for (const CommandTree& command : app.commands) {
        names.push_back(command.name);
    }
    return join(names, " ");
}

/// The cases for the word before the cursor, for one command.
std::string bash_values(const CommandTree& app) {
    std::string files;
    std::string text;
    for (const OptionDescription& option : app.options) {
        if (!option.takes_value) {
            continue;
        }
        const std::string names = join(option.names(), "|");
        if (const auto values = option.values; !values.empty()) {
            text += "        " + names + ") words=" + quote(join(values, " ")) + "; files= ;;\n";
        } else {
            files += (files.empty() ? "" : "|") + names;
        }
    }
    return files.empty() ? text : text + "        " + files + ") words= ;;\n";
}

std::string bash_command(const CommandTree& app) {
    const std::string values = argument_values(app);
    return "    options=" + quote(all_names(app)) + "\n    words=" + quote(values) +
           "\n    files=" + (values.empty() ? "yes" : "") + "\n    case $previous in\n" + bash_values(app) +
           "    *) [[ $current == -* ]] && words=$options files= ;;\n    esac\n    ;;\n";
}

std::string bash_completion(const CommandTree& app) {
    const std::string function = '_' + identifier(app.name);
    std::string text = "# bash completion for " + app.name + "\n" + function +
                       "() {\n"
                       "    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}\n"
                       "    local command= options= words= files= index\n"
                       "    for ((index = 1; index < COMP_CWORD; index++)); do\n"
                       "        case ${COMP_WORDS[index]} in\n"
                       "        -*) ;;\n"
                       "        *) command=${COMP_WORDS[index]}; break ;;\n"
                       "        esac\n"
                       "    done\n"
                       "    case $command in\n"
                       "    '') words=" +
                       quote(command_names(app) + ' ' + all_names(app)) + " ;;\n";
    for (const CommandTree& command : app.commands) {
        text += "    " + command.name + ")\n" + bash_command(command);
    }
    return text +
           "    esac\n"
           "    COMPREPLY=()\n"
           "    [ -n \"$words\" ] && mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
           "    [ -n \"$files\" ] && mapfile -t COMPREPLY < <(compgen -f -- \"$current\")\n"
           "    return 0\n"
           "}\n"
           "complete -o filenames -F " +
           function + ' ' + app.name + '\n';
}

std::string zsh_text(const std::string& text) {
    return replace_letters(on_one_line(text), "\\[]:'", {"\\\\", "\\[", "\\]", "\\:", "'\\''"});
}

std::string zsh_value(const OptionDescription& option) {
    const auto values = option.values;
    return values.empty() ? "file:_files" : "value:(" + join(values, " ") + ")";
}

std::string zsh_arguments(const CommandTree& app) {
    std::string text;
    for (const OptionDescription& option : app.options) {
        const std::string begin = " \\\n        '(" + join(option.names(), " ") + ")";
        const std::string value = option.takes_value ? ':' + zsh_value(option) : "";
        const std::string end = '[' + zsh_text(option.description) + ']' + value + '\'';
        for (const std::string& name : option.names()) {
            text += begin;
            text += name;
            text += end;
        }
    }
    return text;
}

std::string zsh_completion(const CommandTree& app) {
    const std::string function = '_' + identifier(app.name);
    std::string text = "#compdef " + app.name + '\n' + function +
                       "() {\n    local context state state_descr line\n    typeset -A opt_args\n"
                       "    local -a commands=(\n";
    for (const CommandTree& command : app.commands) {
        text += "        '" + zsh_text(command.name) + ':' + zsh_text(command.description) + "'\n";
    }
    text += "    )\n    _arguments -C" + zsh_arguments(app) +
            " \\\n        '1:command:->command' '*::argument:->argument'\n    case $state in\n"
            "    command) _describe command commands ;;\n    argument)\n        case $words[1] in\n";
    for (const CommandTree& command : app.commands) {
        const auto& arguments = command.arguments;
        text += "        " + command.name + ") _arguments" + zsh_arguments(command) +
                (arguments.empty() ? "" : " \\\n        '*:" + zsh_value(arguments.front()) + '\'') + " ;;\n";
    }
    return text + "        esac\n        ;;\n    esac\n}\nif [ \"$funcstack[1]\" = " + function +
           " ]; then\n    " + function + " \"$@\"\nelse\n    compdef " + function + ' ' + app.name + "\nfi\n";
}

std::string fish_text(const std::string& text) {
    return '\'' + replace_letters(on_one_line(text), "\\'", {"\\\\", "\\'"}) + '\'';
}

std::string fish_options(const CommandTree& app, const std::string& begin) {
    std::string text;
    for (const OptionDescription& option : app.options) {
        text += begin;
        for (const std::string& name : option.short_names) {
            text += " -s " + name;
        }
        for (const std::string& name : option.long_names) {
            text += " -l " + name;
        }
        const auto values = option.values;
        text += option.takes_value ? " -r" : "";
        text += values.empty() ? "" : " -f -a " + fish_text(join(values, " "));
        text += " -d " + fish_text(option.description) + '\n';
    }
    return text;
}

std::string fish_completion(const CommandTree& app) {
    const std::string begin = "complete -c " + app.name + " -n ";
    std::string text = "# fish completion for " + app.name + '\n' + begin + "__fish_use_subcommand -f\n" +
                       fish_options(app, begin + "__fish_use_subcommand");
    for (const CommandTree& command : app.commands) {
        const std::string inside = begin + "'__fish_seen_subcommand_from " + command.name + '\'';
        text += begin + "__fish_use_subcommand -a " + command.name + " -d " + fish_text(command.description) +
                '\n' + fish_options(command, inside);
        if (const std::string values = argument_values(command); !values.empty()) {
            text += inside + " -f -a " + fish_text(values) + '\n';
        }
    }
    return text;
}

} // namespace

std::optional<Shell> shell_from_name(const std::string& name) {
    if (name == "bash") {
        return Shell::kBash;
    }
    if (name == "zsh") {
        return Shell::kZsh;
    }
    return name == "fish" ? std::optional(Shell::kFish) : std::nullopt;
}

std::string completion(const CommandTree& program, Shell shell) {
    switch (shell) {
    case Shell::kBash:
        return bash_completion(program);
    case Shell::kZsh:
        return zsh_completion(program);
    case Shell::kFish:
        break;
    }
    return fish_completion(program);
}

} // namespace plate_mend::host
