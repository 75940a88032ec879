// What an existing file is, by its first bytes, so that no command replaces what it should not.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace orbo::Quilmeta {

enum class FileKind {
    kScene,
    kJournal,   ///< left by an interrupted write of a scene, or set aside
    kDocument,  ///< a JSON document of `export`, or of `show --json`
    kOther,
};

/// So many bytes at the front of a file tell its kind.
constexpr size_t kHeadSize = 256;

FileKind kindOf(std::string_view head);

/// Whether the last part of the path is a name that journals have.
bool isJournalName(const std::string& path);

}  // namespace orbo::Quilmeta
