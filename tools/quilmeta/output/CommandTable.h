// The commands and options as plain data, for completions and manual pages.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace orbo::Quilmeta {

struct OptionRow {
    std::vector<std::string> names;    ///< with their dashes, the short ones first
    std::string value;                 ///< "LIST"; empty for a flag
    std::vector<std::string> choices;  ///< the values, where they are a fixed set
    std::string description;
    bool required = false;
};

/// Describes a word that may stand behind a command without an option's name.
struct WordRow {
    std::string name, description;
    std::vector<std::string> choices;
    bool repeats = false;
};

struct CommandRow {
    std::string words;  ///< "refs list"; empty for the program itself
    std::string summary, details;
    std::vector<OptionRow> options;
    std::vector<WordRow> positionals;
    std::vector<std::string> commands;  ///< the words that may follow, "list" and "repath"
};

}  // namespace orbo::Quilmeta
