// The commands and options as plain data, for completions and manual pages.
// SPDX-License-Identifier: Apache-2.0
#include "commands/OptionTable.h"

#include <CLI/CLI.hpp>

namespace orbo::Quilmeta {

namespace {

/// A type such as "auto|always|never" lists all values.
std::vector<std::string> choicesIn(const std::string& type) {
    if (type.find('|') == type.npos) return {};
    return CLI::detail::split(type, '|');
}

OptionRow rowOf(const CLI::Option& option) {
    OptionRow row;
    for (const std::string& name : option.get_snames()) row.names.push_back('-' + name);
    for (const std::string& name : option.get_lnames()) row.names.push_back("--" + name);
    if (option.get_items_expected_max() > 0) row.value = option.get_type_name();
    row.choices = choicesIn(row.value);
    row.description = option.get_description();
    row.required = option.get_required();
    return row;
}

void add(const CLI::App& app, const std::string& words, std::vector<CommandRow>& table) {
    CommandRow row;
    row.words = words;
    row.summary = app.get_description();
    row.details = app.get_footer();
    for (const CLI::Option* option : app.get_options()) {
        if (!option->get_positional())
            row.options.push_back(rowOf(*option));
        else
            row.positionals.push_back({option->get_name(true), option->get_description(),
                                       choicesIn(option->get_type_name()),
                                       option->get_items_expected_max() > 1});
    }
    const auto commands = app.get_subcommands([](const CLI::App*) { return true; });
    for (const CLI::App* command : commands) row.commands.push_back(command->get_name());
    table.push_back(std::move(row));
    for (const CLI::App* command : commands)
        add(*command, words.empty() ? command->get_name() : words + ' ' + command->get_name(),
            table);
}

}  // namespace

std::vector<CommandRow> commandTable(const CLI::App& program) {
    std::vector<CommandRow> table;
    add(program, "", table);
    return table;
}

}  // namespace orbo::Quilmeta
