#include "cli/Manual.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <sstream>
#include <string_view>
#include <vector>

namespace plate_mend::host {

namespace {

// What the tree tells.

std::vector<const CLI::App*> commands_of(const CLI::App& app) {
    return app.get_subcommands([](const CLI::App* command) {
        return !command->get_name().empty() && !command->get_group().empty();
    });
}

/// Of the app and of the groups in it.
std::vector<const CLI::Option*> options_of(const CLI::App& app) {
    std::vector<const CLI::Option*> options =
        app.get_options([](const CLI::Option* option) { return !option->get_group().empty(); });
    for (const CLI::App* group :
         app.get_subcommands([](const CLI::App* command) { return command->get_name().empty(); })) {
        const auto more = options_of(*group);
        options.insert(options.end(), more.begin(), more.end());
    }
    return options;
}

bool takes_value(const CLI::Option& option) {
    return option.get_items_expected_max() > 0;
}

/// "-s", "--sample".
std::vector<std::string> names_of(const CLI::Option& option) {
    std::vector<std::string> names;
    for (const std::string& name : option.get_snames()) {
        names.push_back('-' + name);
    }
    for (const std::string& name : option.get_lnames()) {
        names.push_back("--" + name);
    }
    return names;
}

/// The values that an option may have, as its type tells them ("TEXT:{bash,zsh}"); none when any will do.
std::vector<std::string> values_of(const CLI::Option& option) {
    const std::string type = option.get_type_name();
    const std::size_t first = type.find('{');
    const std::size_t last = type.find('}');
    std::vector<std::string> values;
    if (first == std::string::npos || last == std::string::npos || last < first) {
        return values;
    }
    std::istringstream list(type.substr(first + 1, last - first - 1));
    for (std::string value; std::getline(list, value, ',');) {
        values.push_back(value);
    }
    return values;
}

std::vector<const CLI::Option*> named_options_of(const CLI::App& app) {
    auto options = options_of(app);
    std::erase_if(options, [](const CLI::Option* option) { return !option->nonpositional(); });
    return options;
}

std::vector<const CLI::Option*> arguments_of(const CLI::App& app) {
    auto options = options_of(app);
    std::erase_if(options, [](const CLI::Option* option) { return !option->get_positional(); });
    return options;
}

std::string joined(const std::vector<std::string>& words, const std::string& between) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : between) + word;
    }
    return text;
}

/// The text with each of some characters replaced.
std::string replaced(std::string_view text, std::string_view letters, const std::vector<std::string>& by) {
    std::string result;
    for (const char letter : text) {
        const std::size_t found = letters.find(letter);
        result += found == letters.npos ? std::string(1, letter) : by.at(found);
    }
    return result;
}

std::string one_line(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

// The manual page.

/// Text for roff: nothing in it is a request or an escape, and a hyphen stays one that can be copied.
std::string roff(std::string_view text) {
    std::string result;
    bool line_begins = true;
    for (const char letter : text) {
        result += line_begins && letter == '.' ? "\\&" : "";
        result += replaced({&letter, 1}, "\\-'`^~", {"\\e", "\\-", "\\(aq", "\\(ga", "\\(ha", "\\(ti"});
        line_begins = letter == '\n';
    }
    return result;
}

std::string upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::toupper(letter)); });
    return text;
}

std::string value_name(const CLI::Option& option) {
    const auto values = values_of(option);
    return values.empty() ? option.get_type_name() : joined(values, "|");
}

std::string roff_option(const CLI::Option& option) {
    std::string names;
    for (const std::string& name : names_of(option)) {
        names += (names.empty() ? "\\fB" : ", \\fB") + roff(name) + "\\fR";
    }
    if (takes_value(option)) {
        names += " \\fI" + roff(value_name(option)) + "\\fR";
    }
    std::string text = ".TP\n" + names + '\n' + roff(option.get_description());
    return text + (option.get_required() ? " (required)\n" : "\n");
}

std::string roff_argument(const CLI::Option& option) {
    const auto values = values_of(option);
    return ".TP\n\\fI" + roff(option.get_name(true)) + "\\fR\n" + roff(option.get_description()) +
           (values.empty() ? "" : ": " + roff(joined(values, ", "))) + '\n';
}

std::string roff_options(const CLI::App& app) {
    std::string text;
    for (const CLI::Option* argument : arguments_of(app)) {
        text += roff_argument(*argument);
    }
    for (const CLI::Option* option : named_options_of(app)) {
        text += roff_option(*option);
    }
    return text;
}

std::string roff_usage(const std::string& program, const CLI::App& command) {
    std::string text = "\\fB" + roff(program) + ' ' + roff(command.get_name()) + "\\fR";
    for (const CLI::Option* option : named_options_of(command)) {
        if (option->get_required()) {
            text +=
                " \\fB" + roff(names_of(*option).back()) + "\\fR \\fI" + roff(value_name(*option)) + "\\fR";
        }
    }
    text += " [\\fIoptions\\fR]";
    for (const CLI::Option* argument : arguments_of(command)) {
        const bool many = argument->get_items_expected_max() > 1;
        const std::string name = "\\fI" + roff(argument->get_name(true)) + "\\fR" + (many ? " ..." : "");
        text += argument->get_required() ? ' ' + name : " [" + name + ']';
    }
    return text;
}

std::string roff_as_it_is(const std::string& text) {
    return ".nf\n" + roff(text) + "\n.fi\n";
}

std::string roff_command(const CLI::App& app, const CLI::App& command) {
    std::string text = ".SS " + roff(command.get_name()) + '\n' + roff_usage(app.get_name(), command) +
                       "\n.PP\n" + roff(command.get_description()) + ".\n" + roff_options(command);
    if (!command.get_footer().empty() && command.get_footer() != app.get_footer()) {
        text += ".PP\n" + roff_as_it_is(command.get_footer());
    }
    return text;
}

// Shells.

/// The name as part of a shell function's name.
std::string identifier(std::string name) {
    std::replace_if(
        name.begin(), name.end(), [](unsigned char letter) { return std::isalnum(letter) == 0; }, '_');
    return name;
}

/// In single quotes, for bash and zsh.
std::string in_quotes(std::string_view text) {
    return '\'' + replaced(text, "'", {"'\\''"}) + '\'';
}

std::string all_names(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::Option* option : named_options_of(app)) {
        for (const std::string& name : names_of(*option)) {
            names.push_back(name);
        }
    }
    return joined(names, " ");
}

std::string argument_values(const CLI::App& app) {
    std::vector<std::string> values;
    for (const CLI::Option* argument : arguments_of(app)) {
        const auto more = values_of(*argument);
        values.insert(values.end(), more.begin(), more.end());
    }
    return joined(values, " ");
}

std::string command_names(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : commands_of(app)) {
        names.push_back(command->get_name());
    }
    return joined(names, " ");
}

/// The cases of the word in front of the cursor, for one command.
std::string bash_values(const CLI::App& app) {
    std::string files;
    std::string text;
    for (const CLI::Option* option : named_options_of(app)) {
        if (!takes_value(*option)) {
            continue;
        }
        const std::string names = joined(names_of(*option), "|");
        if (const auto values = values_of(*option); !values.empty()) {
            text += "        " + names + ") words=" + in_quotes(joined(values, " ")) + "; files= ;;\n";
        } else {
            files += (files.empty() ? "" : "|") + names;
        }
    }
    return files.empty() ? text : text + "        " + files + ") words= ;;\n";
}

std::string bash_command(const CLI::App& app) {
    const std::string values = argument_values(app);
    return "    options=" + in_quotes(all_names(app)) + "\n    words=" + in_quotes(values) +
           "\n    files=" + (values.empty() ? "yes" : "") + "\n    case $previous in\n" + bash_values(app) +
           "    *) [[ $current == -* ]] && words=$options files= ;;\n    esac\n    ;;\n";
}

std::string bash_completion(const CLI::App& app) {
    const std::string function = '_' + identifier(app.get_name());
    std::string text = "# bash completion for " + app.get_name() + "\n" + function +
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
                       in_quotes(command_names(app) + ' ' + all_names(app)) + " ;;\n";
    for (const CLI::App* command : commands_of(app)) {
        text += "    " + command->get_name() + ")\n" + bash_command(*command);
    }
    return text +
           "    esac\n"
           "    COMPREPLY=()\n"
           "    [ -n \"$words\" ] && mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
           "    [ -n \"$files\" ] && mapfile -t COMPREPLY < <(compgen -f -- \"$current\")\n"
           "    return 0\n"
           "}\n"
           "complete -o filenames -F " +
           function + ' ' + app.get_name() + '\n';
}

std::string zsh_text(const std::string& text) {
    return replaced(one_line(text), "\\[]:'", {"\\\\", "\\[", "\\]", "\\:", "'\\''"});
}

std::string zsh_value(const CLI::Option& option) {
    const auto values = values_of(option);
    return values.empty() ? "file:_files" : "value:(" + joined(values, " ") + ")";
}

std::string zsh_arguments(const CLI::App& app) {
    std::string text;
    for (const CLI::Option* option : named_options_of(app)) {
        const std::string begin = " \\\n        '(" + joined(names_of(*option), " ") + ")";
        const std::string value = takes_value(*option) ? ':' + zsh_value(*option) : "";
        const std::string end = '[' + zsh_text(option->get_description()) + ']' + value + '\'';
        for (const std::string& name : names_of(*option)) {
            text += begin;
            text += name;
            text += end;
        }
    }
    return text;
}

std::string zsh_completion(const CLI::App& app) {
    const std::string function = '_' + identifier(app.get_name());
    std::string text = "#compdef " + app.get_name() + '\n' + function +
                       "() {\n    local context state state_descr line\n    typeset -A opt_args\n"
                       "    local -a commands=(\n";
    for (const CLI::App* command : commands_of(app)) {
        text +=
            "        '" + zsh_text(command->get_name()) + ':' + zsh_text(command->get_description()) + "'\n";
    }
    text += "    )\n    _arguments -C" + zsh_arguments(app) +
            " \\\n        '1:command:->command' '*::argument:->argument'\n    case $state in\n"
            "    command) _describe command commands ;;\n    argument)\n        case $words[1] in\n";
    for (const CLI::App* command : commands_of(app)) {
        const auto arguments = arguments_of(*command);
        text += "        " + command->get_name() + ") _arguments" + zsh_arguments(*command) +
                (arguments.empty() ? "" : " \\\n        '*:" + zsh_value(*arguments.front()) + '\'') +
                " ;;\n";
    }
    return text + "        esac\n        ;;\n    esac\n}\nif [ \"$funcstack[1]\" = " + function +
           " ]; then\n    " + function + " \"$@\"\nelse\n    compdef " + function + ' ' + app.get_name() +
           "\nfi\n";
}

std::string fish_text(const std::string& text) {
    return '\'' + replaced(one_line(text), "\\'", {"\\\\", "\\'"}) + '\'';
}

std::string fish_options(const CLI::App& app, const std::string& begin) {
    std::string text;
    for (const CLI::Option* option : named_options_of(app)) {
        text += begin;
        for (const std::string& name : option->get_snames()) {
            text += " -s " + name;
        }
        for (const std::string& name : option->get_lnames()) {
            text += " -l " + name;
        }
        const auto values = values_of(*option);
        text += takes_value(*option) ? " -r" : "";
        text += values.empty() ? "" : " -f -a " + fish_text(joined(values, " "));
        text += " -d " + fish_text(option->get_description()) + '\n';
    }
    return text;
}

std::string fish_completion(const CLI::App& app) {
    const std::string begin = "complete -c " + app.get_name() + " -n ";
    std::string text = "# fish completion for " + app.get_name() + '\n' + begin +
                       "__fish_use_subcommand -f\n" + fish_options(app, begin + "__fish_use_subcommand");
    for (const CLI::App* command : commands_of(app)) {
        const std::string inside = begin + "'__fish_seen_subcommand_from " + command->get_name() + '\'';
        text += begin + "__fish_use_subcommand -a " + command->get_name() + " -d " +
                fish_text(command->get_description()) + '\n' + fish_options(*command, inside);
        if (const std::string values = argument_values(*command); !values.empty()) {
            text += inside + " -f -a " + fish_text(values) + '\n';
        }
    }
    return text;
}

} // namespace

std::string man_page(const CLI::App& app) {
    const std::string version = one_line(app.version());
    std::string text = ".TH \"" + roff(upper(app.get_name())) + R"(" "1" "" ")" + roff(version) +
                       "\" \"User Commands\"\n.SH NAME\n" + roff(app.get_name()) + " \\- " +
                       roff(one_line(app.get_description())) + "\n.SH SYNOPSIS\n";
    for (const CLI::App* command : commands_of(app)) {
        text += roff_usage(app.get_name(), *command) + "\n.br\n";
    }
    text += "\\fB" + roff(app.get_name()) + "\\fR [\\fIoptions\\fR]\n.SH OPTIONS\n" + roff_options(app) +
            ".SH COMMANDS\n";
    for (const CLI::App* command : commands_of(app)) {
        text += roff_command(app, *command);
    }
    return app.get_footer().empty() ? text : text + ".SH NOTES\n" + roff_as_it_is(app.get_footer());
}

std::optional<Shell> shell_named(const std::string& name) {
    if (name == "bash") {
        return Shell::kBash;
    }
    if (name == "zsh") {
        return Shell::kZsh;
    }
    return name == "fish" ? std::optional(Shell::kFish) : std::nullopt;
}

std::string completion(const CLI::App& app, Shell shell) {
    switch (shell) {
    case Shell::kBash:
        return bash_completion(app);
    case Shell::kZsh:
        return zsh_completion(app);
    case Shell::kFish:
        break;
    }
    return fish_completion(app);
}

} // namespace plate_mend::host
