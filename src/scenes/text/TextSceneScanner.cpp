// Finds the metadata statements of a text scene, from the file's end backwards.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/text/TextSceneScanner.h"

#include <data/AccessorQuil.h>

#include <algorithm>
#include <string>

#include "core/Ascii.h"
#include "scenes/text/TextStatement.h"

namespace orbo::Data {

namespace {

using Files::BackwardLineReader;
using Files::LineDescriptor;

constexpr std::uint64_t kTrailerRange = 64 * 1024;

bool isTrailer(std::string_view line) {
    return Ascii::startsWith(line, AccessorQuil::Ascii::getTrailerPrefix());
}

// Tells why a search ended; `kDone` when it reached the beginning.
TextSceneScanner::Result failureOf(BackwardLineReader::Result result) {
    using Result = TextSceneScanner::Result;
    if (result == BackwardLineReader::Result::kSeekFailed) return Result::kSeekFailed;
    return result == BackwardLineReader::Result::kReadFailed ? Result::kReadFailed : Result::kDone;
}

}  // namespace

TextSceneScanner::TextSceneScanner(Files::File& file, std::uint64_t begin, std::uint64_t end)
    : fFile(file),
      fBegin(begin),
      fEnd(std::max(begin, end)),
      fLines(file, begin, fEnd),
      fPosition(fEnd),
      fNextBegin(fEnd),
      fLinesAhead(fEnd) {}

BackwardLineReader::Result TextSceneScanner::previous(LineDescriptor& line) {
    const BackwardLineReader::Result result = fLines.previous(line);
    fPosition = fLines.blockOffset();
    return result;
}

TextSceneScanner::Result TextSceneScanner::foundTrailer(std::uint64_t at) {
    fTrailer = at;
    fClose.reset();
    fNextBegin = at;
    fLinesAhead = TextLinesAhead(at);
    fBehindSceneCommand = false;
    return Result::kTrailer;
}

TextSceneScanner::Result TextSceneScanner::findTrailer() {
    std::string tail(static_cast<std::size_t>(std::min(fEnd - fBegin, kTrailerRange)), '\0');
    const std::uint64_t offset = fEnd - tail.size();
    fPosition = offset;
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
    fLinesAhead = TextLinesAhead(at);
    fClose.reset();
}

// As long as no trailer was met, scene commands may be text behind it.
TextSceneScanner::Result TextSceneScanner::trailerInFront() {
    LineDescriptor line;
    BackwardLineReader::Result result = BackwardLineReader::Result::kLine;
    while ((result = previous(line)) == BackwardLineReader::Result::kLine) {
        if (isTrailer(line.head())) return foundTrailer(line.begin);
    }
    return failureOf(result);
}

TextSceneScanner::Result TextSceneScanner::next(SceneRecordRange& statement) {
    LineDescriptor line;
    BackwardLineReader::Result result = BackwardLineReader::Result::kLine;
    while ((result = previous(line)) == BackwardLineReader::Result::kLine) {
        fLinesAhead.add(line);
        if (line.blank) continue;
        if (!fTrailer && isTrailer(line.head())) return foundTrailer(line.begin);
        if (endsScan(line)) return fTrailer ? Result::kDone : trailerInFront();
        // A line that begins like a command may be the middle of a statement: whether the line in
        // front of it ends with ";" tells.
        fBehindSceneCommand = TextStatement::isSceneCommand(line.head());
        if (TextStatement::isComment(line.head())) continue;
        if (line.closed) fClose = line.end;
        if (const auto kind = TextStatement::kindOf(line.head())) {
            statement = {*kind, line.begin, fClose.value_or(fNextBegin), fClose.has_value()};
            noteBeginOfStatement(line.begin);
            return Result::kStatement;
        }
    }
    return failureOf(result);
}

}  // namespace orbo::Data
