// The outcomes of commands, and the exit code of each.
// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orbo::Quilmeta {

/// From good to bad: a command over many files ends with the worst outcome of any file.
enum class Outcome {
    kDone,             ///< everything asked for was done, or there was nothing to do
    kNothingSelected,  ///< the file has none of the nodes, channels, streams or paths asked for
    kFound,            ///< the command found what it looks for: damage, missing files, journals
    kUnreadable,       ///< done, but the file has metadata that cannot be read
    kFailed,           ///< a file cannot be read, or a request cannot be met or delivered
    kUsage,            ///< the command line is wrong
};

/// The table of docs/exit-codes.md. A process that a signal ends has no exit code.
constexpr int exitCodeOf(Outcome outcome) {
    switch (outcome) {
        case Outcome::kDone:
            return 0;
        case Outcome::kNothingSelected:
        case Outcome::kFound:
        case Outcome::kUnreadable:
            return 1;
        case Outcome::kFailed:
        case Outcome::kUsage:
            break;
    }
    return 2;
}

/// How a summary puts it: "done", "without a match".
constexpr const char* wordsFor(Outcome outcome) {
    switch (outcome) {
        case Outcome::kDone:
            return "done";
        case Outcome::kNothingSelected:
            return "without a match";
        case Outcome::kFound:
            return "with findings";
        case Outcome::kUnreadable:
            return "not read completely";
        case Outcome::kFailed:
        case Outcome::kUsage:
            break;
    }
    return "failed";
}

}  // namespace orbo::Quilmeta
