// Options that several commands have, declared the same way.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/SceneAccess.h"

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace orbo::Quilmeta {

inline void addWait(CLI::App& command, SceneAccess& access) {
    const auto check = [](const std::string& text) {
        constexpr double kLongest = 24 * 60 * 60;
        double seconds = -1;
        const bool isNumber = CLI::detail::lexical_cast(text, seconds);
        return isNumber && seconds >= 0 && seconds <= kLongest
                   ? std::string()
                   : '"' + text + "\" is no number of seconds from 0 to 86400";
    };
    command
        .add_option("--wait", access.wait,
                    "How long to wait for others that use a scene; 10 unless given")
        ->type_name("SECONDS")
        ->check(check);
}

/// For commands that only show what they read.
inline void addPartial(CLI::App& command, SceneAccess& access) {
    command.add_flag("--partial", access.partial,
                     "Also take what can be read of a node with values that cannot");
}

/// For commands that write scenes.
inline void addWriting(CLI::App& command, SceneAccess& access) {
    addWait(command, access);
    access.writes = true;
    command.add_flag("--no-journal", access.noJournal,
                     "Write in place; a kill in the middle damages the scene");
    command.add_flag("--dry-run", access.dryRun,
                     "Check and report everything, end as a real run would, and write nothing");
}

/// The words of a command line behind its options, at least one, as they are.
inline CLI::Option* addWords(CLI::App& command, const char* name, std::vector<std::string>& words,
                             const char* description) {
    // An option that takes extra words takes "[a,b]" apart. This one waits for more words than
    // there can be instead, and is content with those that came.
    constexpr int kMost = CLI::detail::expected_max_vector_size;
    return command.add_option(name, words, description)
        ->required()
        ->type_name("")
        ->expected(kMost, kMost)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

/// An option that may be given several times, with one value each.
inline CLI::Option* addEach(CLI::App& command, const char* name, std::vector<std::string>& values,
                            const char* type, const char* description) {
    return command.add_option(name, values, description)->type_name(type)->allow_extra_args(false);
}

}  // namespace orbo::Quilmeta
