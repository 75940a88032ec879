// Options that several commands have, declared the same way.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace orbo::Quilmeta {

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
