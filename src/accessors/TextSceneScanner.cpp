// Finds the metadata statements of a text scene, from the file's end backwards.
// SPDX-License-Identifier: Apache-2.0
#include "accessors/TextSceneScanner.h"

#include <data/AccessorQuil.h>

#include <algorithm>
#include <string>

#include "accessors/TextStatement.h"
#include "core/Ascii.h"

namespace orbo::Data {

namespace {

using Files::BackwardLineReader;
using Files::LineDescriptor;

constexpr std::uint64_t kTrailerRange = 64 * 1024;

bool isTrailer(std::string_view line) {
    return Ascii::startsWith(line, AccessorQuil::Ascii::getTrailerPrefix());
}

// The command that the line begins with; empty for none.
std::string_view sceneCommandOf(std::string_view line) {
    using namespace AccessorQuil::Ascii;
    for (const auto getter :
         {getConnectAttrCommandName, getCreateNodeCommandName, getSetAttrCommandName,
          getRelationshipCommandName, getSelectCommandName}) {
        if (Ascii::startsWith(line, getter())) return getter();
    }
    return {};
}

}  // namespace

TextSceneScanner::TextSceneScanner(Files::File& file, std::uint64_t begin, std::uint64_t end)
    : fFile(file),
      fBegin(begin),
      fEnd(std::max(begin, end)),
      fLines(file, begin, fEnd),
      fNextBegin(fEnd) {}

TextSceneScanner::Result TextSceneScanner::foundTrailer(std::uint64_t at) {
    fTrailer = at;
    fClose.reset();
    fNextBegin = at;
    fBehindSceneCommand = false;
    return Result::kTrailer;
}

TextSceneScanner::Result TextSceneScanner::findTrailer() {
    std::string tail(static_cast<std::size_t>(std::min(fEnd - fBegin, kTrailerRange)), '\0');
    const std::uint64_t offset = fEnd - tail.size();
    if (!fFile.seek(offset)) return Result::kSeekFailed;
    if (!Files::readExactly(fFile, tail.data(), tail.size())) return Result::kReadFailed;
    const std::size_t feed = tail.rfind('\n' + AccessorQuil::Ascii::getTrailerPrefix());
    if (feed == std::string::npos) return Result::kDone;
    fLines = BackwardLineReader(fFile, fBegin, offset + feed + 1);
    return foundTrailer(offset + feed + 1);
}

bool TextSceneScanner::endsScan(const LineDescriptor& line) const {
    return fBehindSceneCommand && line.closed;
}

void TextSceneScanner::noteBeginOfStatement(std::uint64_t at) {
    fNextBegin = at;
    fClose.reset();
}

// What begins like a command may be the middle of a statement; the line in front tells. A metadata
// statement that is still open ends here only if it is the very word: its last line may be the name
// of a node.
void TextSceneScanner::noteSceneCommand(const LineDescriptor& line) {
    const std::string_view command = sceneCommandOf(line.head());
    fBehindSceneCommand = !command.empty();
    if (command.empty()) return;
    const std::string_view rest = line.head().substr(command.size());
    if (rest.empty() || Ascii::isBlank(rest.front())) noteBeginOfStatement(line.begin);
}

TextSceneScanner::Result TextSceneScanner::next(TextStatementRange& statement) {
    LineDescriptor line;
    BackwardLineReader::Result result = BackwardLineReader::Result::kLine;
    while ((result = fLines.previous(line)) == BackwardLineReader::Result::kLine) {
        if (line.blank) continue;
        if (TextStatement::isComment(line.head())) {
            if (!fTrailer && isTrailer(line.head())) return foundTrailer(line.begin);
            continue;
        }
        if (endsScan(line)) return Result::kDone;
        if (line.closed) fClose = line.end;
        if (const auto kind = TextStatement::kindOf(line.head())) {
            statement = {*kind, line.begin, fClose.value_or(fNextBegin), fClose.has_value()};
            fBehindSceneCommand = false;
            noteBeginOfStatement(line.begin);
            return Result::kStatement;
        }
        noteSceneCommand(line);
    }
    if (result == BackwardLineReader::Result::kSeekFailed) return Result::kSeekFailed;
    if (result == BackwardLineReader::Result::kReadFailed) return Result::kReadFailed;
    return Result::kDone;
}

}  // namespace orbo::Data
