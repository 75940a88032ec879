// Tells what an existing file is, so that no command replaces what it must not.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace orbo::Quilmeta {

enum class FileKind {
    kScene,
    kJournal,   ///< left by an interrupted write of a scene, or set aside
    kDocument,  ///< a JSON document of `export`, or of `show --json`
    kTable,     ///< comma-separated values of `table`
    kOther,
};

/// Looks at the first bytes of the file, and asks the accessor that serves its extension. Throws
/// `CommandError` when the file cannot be read.
FileKind kindOf(const std::string& path);

/// Whether the last part of the path is a name that journals have.
bool isJournalName(const std::string& path);

}  // namespace orbo::Quilmeta
