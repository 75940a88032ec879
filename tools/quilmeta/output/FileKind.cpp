// What an existing file is, by its first bytes, so that no command replaces what it should not.
// SPDX-License-Identifier: Apache-2.0
#include "output/FileKind.h"

#include <data/AccessorQuil.h>

#include <algorithm>
#include <filesystem>

namespace orbo::Quilmeta {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";
// The journal's title, as far as all versions share it.
constexpr std::string_view kJournalTitle = "A change of the file beside this";

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

/// Removes the token and the blanks ahead of it from the front of `text`.
bool take(std::string_view& text, std::string_view token) {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    if (!startsWith(text, token)) return false;
    text.remove_prefix(token.size());
    return true;
}

bool isDocument(std::string_view head) {
    return take(head, "{") && take(head, "\"quilmeta\"") && take(head, ":") && take(head, "1") &&
           (take(head, ",") || take(head, "}"));
}

// Also a damaged one, and one of a version that cannot be read.
bool isScene(std::string_view head) {
    namespace Quil = Data::AccessorQuil;
    return startsWith(head, Quil::Ascii::getHeaderPrefix()) ||
           startsWith(head, Quil::Binary::getFormChunkName());
}

}  // namespace

FileKind kindOf(std::string_view head) {
    if (isScene(head)) return FileKind::kScene;
    if (startsWith(head, kJournalTitle)) return FileKind::kJournal;
    return isDocument(head) ? FileKind::kDocument : FileKind::kOther;
}

bool isJournalName(const std::string& path) {
    constexpr std::string_view kSuffix = ".metadata-journal";
    const std::string name = std::filesystem::path(path).filename().string();
    const size_t found = name.rfind(kSuffix);
    if (found == name.npos) return false;
    const std::string_view rest = std::string_view(name).substr(found + kSuffix.size());
    return rest.empty() || startsWith(rest, ".set-aside-");
}

}  // namespace orbo::Quilmeta
