// Tells what an existing file is, so that no command replaces what it must not.
// SPDX-License-Identifier: Apache-2.0
#include "output/FileKind.h"

#include "process/CommandError.h"
#include "process/Messages.h"
#include "scene/SceneFile.h"
#include "values/SafeText.h"

#include <data/AccessorQuil.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string_view>

namespace orbo::Quilmeta {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";
// The beginning of a journal's title that all versions share.
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

/// Says whether these are the first bytes of a JSON document that `export` could have written.
bool isDocument(std::string_view head) {
    return take(head, "{") && take(head, "\"quilmeta\"") && take(head, ":") && take(head, "1") &&
           (take(head, ",") || take(head, "}"));
}

/// Reads the first bytes of a file, without waiting for the writer of a pipe.
std::string headOf(const std::string& path) {
    constexpr size_t kHeadSize = 256;
    const int file = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    std::string head(kHeadSize, '\0');
    const ssize_t got = file < 0 ? -1 : ::pread(file, head.data(), head.size(), 0);
    const int error = errno;
    if (file >= 0) ::close(file);
    if (got < 0)
        throw CommandError(
            fmt::format("cannot write {}: {}", inQuotes(path), systemMessage(error)));
    head.resize(static_cast<size_t>(got));
    return head;
}

/// True also for a damaged scene and for one of an unknown version, which no accessor takes.
bool beginsAsScene(std::string_view head) {
    namespace Quil = Data::AccessorQuil;
    return startsWith(head, Quil::Ascii::getHeaderPrefix()) ||
           startsWith(head, Quil::Binary::getFormChunkName());
}

}  // namespace

// A scene is recognised first, because replacing one by mistake costs the most.
FileKind kindOf(const std::string& path) {
    const std::string head = headOf(path);
    if (beginsAsScene(head) || isScene(path)) return FileKind::kScene;
    if (startsWith(head, kJournalTitle)) return FileKind::kJournal;
    if (startsWith(head, "index,") || startsWith(head, "index\n")) return FileKind::kTable;
    return isDocument(head) ? FileKind::kDocument : FileKind::kOther;
}

// The library appends ".metadata-journal" to the name of a scene, and more to a journal that it
// sets aside.
bool isJournalName(const std::string& path) {
    constexpr std::string_view kSuffix = ".metadata-journal";
    const std::string name = std::filesystem::path(path).filename().string();
    const size_t found = name.rfind(kSuffix);
    if (found == name.npos) return false;
    const std::string_view rest = std::string_view(name).substr(found + kSuffix.size());
    return rest.empty() || startsWith(rest, ".set-aside-");
}

}  // namespace orbo::Quilmeta
