// Works through the files of a command line until the end, a signal or a lost output.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "process/Outcome.h"
#include "process/Output.h"

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace orbo::Quilmeta {

enum class Purpose { kReading, kWriting };

struct FileResult {
    // NOLINTNEXTLINE(google-explicit-constructor): most work has nothing to say but its outcome
    FileResult(Outcome how, bool hasChanged = false, std::string what = {})
        : outcome(how), changed(hasChanged), report(std::move(what)) {}

    Outcome outcome;
    bool changed;        ///< the file was written, or would have been but for a dry run
    std::string report;  ///< what was done, for people: "3 elements set"; empty for nothing to say
};

/// One file's turn to be worked on.
struct FileTurn {
    size_t number;  ///< its place in the list of files, from 0
    const std::string& file;
    Output& output;  ///< of its results
};

/// The work on one file: results go to the turn's output, messages to `complain`. It is called on
/// any thread, for several files at once, so what it shares with other files needs a lock.
using FileWork = std::function<FileResult(const FileTurn& turn)>;

/// Writes the result of a file with an error; `messages` are what standard error gets, without the
/// name of the file.
using FailureReport =
    std::function<void(const FileTurn& turn, const std::vector<std::string>& messages)>;

/// How to work through files.
struct EachFile {
    Purpose purpose = Purpose::kReading;
    size_t jobs = 1;            ///< files at once; 0 is the number of processors
    bool once = false;          ///< a file that comes again, under any name, is left out
    FailureReport failed = {};  ///< none where failures have no result
};

/// Calls `work` for each file and returns the worst outcome. Results and messages come out in the
/// order of the files, however many are worked on at once. A failure with one file is reported and
/// the others follow; more than one file end in a line that counts them. After a signal, or when
/// the output cannot be delivered, no further file is started, and standard error lists which files
/// are done. A command that writes files prints about a file only after writing it.
Outcome forEachFile(const std::vector<std::string>& files, const EachFile& how, Output& output,
                    const FileWork& work);

/// How many threads the work on one file may use beside that on others: with all of them, as many
/// as there are jobs.
unsigned threadsForEachFile();

/// Runs the work on one file and returns its result. Reports an exception as a message about
/// `file`, hands that also to `failed`, line by line, and returns `kFailed`; but throws
/// `OutputError` and `Interrupted` on.
FileResult guarded(
    const std::string& file, const std::function<FileResult()>& work,
    const std::function<void(const std::vector<std::string>& messages)>& failed = {});

}  // namespace orbo::Quilmeta
