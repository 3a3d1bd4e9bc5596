#include "cli/ManPage.h"

#include "text/Format.h"
#include "text/Text.h"

#include <string_view>

namespace plate_mend::host {

namespace {

/// Escapes text for roff: nothing in it acts as a request or an escape, and hyphens can still be copied.
std::string roff(std::string_view text) {
    std::string result;
    bool line_begins = true;
    for (const char letter : text) {
        result += line_begins && letter == '.' ? "\\&" : "";
        result +=
            replace_letters({&letter, 1}, "\\-'`^~", {"\\e", "\\-", "\\(aq", "\\(ga", "\\(ha", "\\(ti"});
        line_begins = letter == '\n';
    }
    return result;
}

std::string value_name(const OptionDescription& option) {
    const auto values = option.values;
    return values.empty() ? option.value_name : join(values, "|");
}

std::string roff_option(const OptionDescription& option) {
    std::string names;
    for (const std::string& name : option.names()) {
        names += (names.empty() ? "\\fB" : ", \\fB") + roff(name) + "\\fR";
    }
    if (option.takes_value) {
        names += " \\fI" + roff(value_name(option)) + "\\fR";
    }
    std::string text = ".TP\n" + names + '\n' + roff(option.description);
    if (!option.default_value.empty()) {
        text += " (default: " + roff(option.default_value) + ')';
    }
    return text + (option.required ? " (required)\n" : "\n");
}

std::string roff_argument(const OptionDescription& option) {
    const auto values = option.values;
    return ".TP\n\\fI" + roff(option.argument) + "\\fR\n" + roff(option.description) +
           (values.empty() ? "" : ": " + roff(join(values, ", "))) + '\n';
}

std::string roff_options(const CommandTree& app) {
    std::string text;
    for (const OptionDescription& argument : app.arguments) {
        text += roff_argument(argument);
    }
    for (const OptionDescription& option : app.options) {
        text += roff_option(option);
    }
    return text;
}

std::string roff_usage(const std::string& program, const CommandTree& command) {
    std::string text = "\\fB" + roff(program) + ' ' + roff(command.name) + "\\fR";
    for (const OptionDescription& option : command.options) {
        if (option.required) {
            text += " \\fB" + roff(option.names().back()) + "\\fR \\fI" + roff(value_name(option)) + "\\fR";
        }
    }
    text += " [\\fIoptions\\fR]";
    for (const OptionDescription& argument : command.arguments) {
        const bool many = argument.takes_several;
        const std::string name = "\\fI" + roff(argument.argument) + "\\fR" + (many ? " ..." : "");
        text += argument.required ? ' ' + name : " [" + name + ']';
    }
    return text;
}

std::string roff_preformatted(const std::string& text) {
    return ".nf\n" + roff(text) + "\n.fi\n";
}

std::string roff_command(const CommandTree& app, const CommandTree& command) {
    std::string text = ".SS " + roff(command.name) + '\n' + roff_usage(app.name, command) + "\n.PP\n" +
                       roff(command.description) + ".\n" + roff_options(command);
    if (!command.footer.empty() && command.footer != app.footer) {
        text += ".PP\n" + roff_preformatted(command.footer);
    }
    return text;
}

} // namespace

std::string man_page(const CommandTree& program) {
    const std::string version = on_one_line(program.version);
    std::string text = ".TH \"" + roff(upper(program.name)) + R"(" "1" "" ")" + roff(version) +
                       "\" \"User Commands\"\n.SH NAME\n" + roff(program.name) + " \\- " +
                       roff(on_one_line(program.description)) + "\n.SH SYNOPSIS\n";
    for (const CommandTree& command : program.commands) {
        text += roff_usage(program.name, command) + "\n.br\n";
    }
    text += "\\fB" + roff(program.name) + "\\fR [\\fIoptions\\fR]\n.SH OPTIONS\n" + roff_options(program) +
            ".SH COMMANDS\n";
    for (const CommandTree& command : program.commands) {
        text += roff_command(program, command);
    }
    return program.footer.empty() ? text : text + ".SH NOTES\n" + roff_preformatted(program.footer);
}

} // namespace plate_mend::host
