// Says what is wrong with the words of a command line.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// The innermost command that the parsed words name, and the words in front of its own name.
struct Called {
    explicit Called(const CLI::App& app);
    [[nodiscard]] std::string help() const { return command->help(words); }

    const CLI::App* command;
    std::string words;
};

/// The commands that may follow this one.
std::vector<std::string> commandsOf(const CLI::App& app);

/// Says what is wrong with the words, in any order, that `app` could not parse.
std::string usageMessage(const CLI::App& app, const CLI::ParseError& error,
                         const std::vector<std::string>& words);

}  // namespace orbo::Quilmeta
