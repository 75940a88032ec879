// Reports of the files that a command changes: for people, or as JSON.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "patches/Patch.h"
#include "process/ResultFormat.h"
#include "scene/SceneFile.h"

#include <optional>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// `editFiles` for commands whose results may be JSON. In text, each file that has changed gets a
/// line with the report of its `FileResult`; in JSON, each file that was worked through is an
/// object, with what `edit` writes to its output as `details`. Written to standard output, so that
/// messages stay apart.
Outcome changeFiles(const std::vector<std::string>& files, const SceneAccess& access, size_t jobs,
                    Output& output, const FileWork& edit);

struct ReportHow {
    ResultFormat format = ResultFormat::kText;
    bool dryRun = false;
    bool silent = false;  ///< no report in text
};

/// Adds the report to work that goes through files in its own way.
FileWork reporting(FileWork work, const ReportHow& how);

/// Holds what the JSON of one file's report has beside the lines that the work writes.
struct ReportParts {
    std::optional<Patch> changes{};        ///< of a dry run
    std::vector<std::string> conflicts{};  ///< of a merge, in JSON
    std::vector<std::string> errors{};     ///< messages, which standard error has as well
};
/// Returns the parts of the report that `output` belongs to; null in text.
ReportParts* reportPartsOf(Output& output);

/// Prints the changes of a dry run as `diff` prints them, or keeps them for the report in JSON.
void showChanges(Patch patch, const std::string& before, const std::string& after, Output& output);

/// Prints what differs between a scene as its file has it and the scene to be written, as `diff`
/// prints it: what a dry run would change.
void showDryRun(const Data::Accessor& before, const Data::Accessor& after, Output& output);

}  // namespace orbo::Quilmeta
