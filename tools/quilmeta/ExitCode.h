// What commands come to, and the exit codes of that: the only place that knows them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orbo::Quilmeta {

/// From good to bad: a command over many files comes to the worst that happened to one of them.
enum class Outcome {
    kDone,             ///< all that was asked for, also when there was nothing to do
    kNothingSelected,  ///< no node, channel, stream or path is one that was asked for
    kFound,            ///< what the command looks for: findings, missing files, work to recover
    kUnreadable,       ///< done, but the file has metadata that cannot be read
    kFailed,           ///< a file cannot be read at all, or a request cannot be met or delivered
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

}  // namespace orbo::Quilmeta
