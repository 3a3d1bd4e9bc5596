#include "cli/ParserTree.h"

#include <CLI/CLI.hpp>

#include <sstream>

namespace plate_mend::host {

namespace {

/// The values that an option accepts, from its type's name ("TEXT:{bash,zsh}"); none if it accepts any.
std::vector<std::string> values_of(const std::string& type) {
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

OptionDescription describe(const CLI::Option& option) {
    return {.short_names = option.get_snames(),
            .long_names = option.get_lnames(),
            .argument = option.get_positional() ? option.get_name(true) : "",
            .description = option.get_description(),
            .value_name = option.get_type_name(),
            .default_value = option.get_default_str(),
            .values = values_of(option.get_type_name()),
            .takes_value = option.get_items_expected_max() > 0,
            .takes_several = option.get_items_expected_max() > 1,
            .required = option.get_required()};
}

/// Adds the options of an app, and of the groups in it, which are apps without a name.
void add_options(const CLI::App& app, CommandTree& tree) {
    for (const CLI::Option* option :
         app.get_options([](const CLI::Option* one) { return !one->get_group().empty(); })) {
        (option->nonpositional() ? tree.options : tree.arguments).push_back(describe(*option));
    }
    for (const CLI::App* group :
         app.get_subcommands([](const CLI::App* one) { return one->get_name().empty(); })) {
        add_options(*group, tree);
    }
}

} // namespace

CommandTree command_tree_of(const CLI::App& app) {
    CommandTree tree;
    tree.name = app.get_name();
    tree.description = app.get_description();
    tree.footer = app.get_footer();
    tree.version = app.version();
    add_options(app, tree);
    for (const CLI::App* command : app.get_subcommands(
             [](const CLI::App* one) { return !one->get_name().empty() && !one->get_group().empty(); })) {
        tree.commands.push_back(command_tree_of(*command));
    }
    return tree;
}

} // namespace plate_mend::host
