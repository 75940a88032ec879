// One command of the command line: its help, its options, its work.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "process/Outcome.h"

namespace orbo::Quilmeta {

class Options;
class Output;

/// A command is declared in one source file, which defines the function that `Commands.h` names. An
/// object serves one run of the program: `declare`, then `run` once the words are parsed.
class Command {
  public:
    struct Help {
        const char* name;
        const char* summary;  ///< one line for the list of commands
        /// Stands below the options, and ends with an example. Begins with a line feed, which is
        /// not printed, so that the text of a raw string begins on a line of its own.
        const char* details;
    };

    Command() = default;
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;
    virtual ~Command() = default;

    [[nodiscard]] virtual const Help& help() const = 0;
    /// The option table. The values that it names are members of the command.
    virtual void declare(Options& options) = 0;
    /// Results go to `output`, messages to `complain`. Throws `CommandError` when nothing can be
    /// done.
    virtual Outcome run(Output& output) = 0;
};

}  // namespace orbo::Quilmeta
