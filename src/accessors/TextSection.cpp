// The metadata section of a text scene as the file holds it now.
// SPDX-License-Identifier: Apache-2.0
#include "accessors/TextSection.h"

#include <algorithm>
#include <iterator>

#include "accessors/Messages.h"
#include "accessors/TextStatement.h"
#include "core/Ascii.h"

namespace orbo::Data {

namespace {

using Fate = SectionPlan::Fate;
using Result = TextSceneScanner::Result;

// A first section is only put into scenes of at least this size, in front of a trailer that is no
// further from the end.
constexpr std::uint64_t kTrailerBlock = 1024;

const char* searchFailure(Result result, bool metStatements) {
    if (result == Result::kSeekFailed) {
        return metStatements ? "Could not seek to the first metadata block."
                             : "Could not seek to the last metadata block.";
    }
    return metStatements ? "Failed reading line while searching metadata start."
                         : "Failed reading line while searching metadata end.";
}

}  // namespace

bool TextSection::find(std::string& errors) {
    const auto size = fFile.size();
    if (!size) return fail(errors, "Could not seek to trailer start.");
    fSize = *size;
    return scan(errors) && checkTrailer(errors) && readTail(errors);
}

bool TextSection::scan(std::string& errors) {
    TextSceneScanner scanner(fFile, 0, fSize);
    Result result = scanner.findTrailer();
    if (result == Result::kSeekFailed) return fail(errors, "Could not seek to trailer start.");
    if (result == Result::kReadFailed) return fail(errors, "Could not read trailer.");
    do {
        Statement statement;
        result = scanner.next(statement.where);
        if (result == Result::kStatement) fStatements.push_back(statement);
        if (result == Result::kTrailer) fStatements.clear();
    } while (result == Result::kStatement || result == Result::kTrailer);
    if (result != Result::kDone) return fail(errors, searchFailure(result, !fStatements.empty()));
    std::reverse(fStatements.begin(), fStatements.end());
    fTrailer = scanner.trailer();
    return true;
}

// A scene without a trailer may have lost its end; nothing is written into it.
bool TextSection::checkTrailer(std::string& errors) const {
    if (fTrailer) return true;
    if (!fStatements.empty()) {
        return fail(errors, "Failed reading line while searching metadata end.");
    }
    return fail(errors, fSize < kTrailerBlock && !fAnySize ? "Could not seek to trailer start."
                                                           : "Could not find trailer prefix.");
}

bool TextSection::readTail(std::string& errors) {
    fTailBegin = fStatements.empty() ? *fTrailer : fStatements.front().where.begin;
    if (!fFile.seek(fTailBegin)) return fail(errors, "Failed to seek to the trailer position.");
    fTail.resize(static_cast<std::size_t>(fSize - fTailBegin));
    return Files::readExactly(fFile, fTail.data(), fTail.size()) ||
           fail(errors, "Failed to read the file trailer.");
}

bool TextSection::checkPlace(std::string& errors) const {
    const bool isFirst = std::none_of(fStatements.begin(), fStatements.end(),
                                      [](const Statement& s) { return s.understood; });
    if (!isFirst || fAnySize) return true;
    if (fSize < kTrailerBlock) return fail(errors, "Could not seek to trailer start.");
    return fSize - *fTrailer <= kTrailerBlock || fail(errors, "Could not find trailer prefix.");
}

// Unclosed statements right in front are taken in: the first line of the section might close them.
std::uint64_t TextSection::begin() const {
    auto first = std::find_if(fStatements.begin(), fStatements.end(),
                              [](const Statement& statement) { return statement.understood; });
    if (first == fStatements.end()) return *fTrailer;
    std::uint64_t begin = first->where.begin;
    while (first != fStatements.begin() && !std::prev(first)->where.closed &&
           std::prev(first)->where.end == begin) {
        begin = (--first)->where.begin;
    }
    return begin;
}

std::uint64_t TextSection::end() const {
    for (auto statement = fStatements.rbegin(); statement != fStatements.rend(); ++statement) {
        if (statement->understood) return statement->where.end;
    }
    return *fTrailer;
}

std::string_view TextSection::bytes(std::uint64_t from, std::uint64_t to) const {
    return std::string_view(fTail).substr(static_cast<std::size_t>(from - fTailBegin),
                                          static_cast<std::size_t>(to - from));
}

// Statements without a ";" go last, so that none of the lines that move together with them can
// close them.
std::string TextSection::foreignLines() const {
    std::string lines;
    std::string unclosed;
    auto statement = fStatements.begin();
    const std::uint64_t last = end();
    for (std::uint64_t at = begin(); at < last;) {
        std::string_view line = bytes(at, last);
        line = line.substr(0, std::min(line.find('\n'), line.size() - 1) + 1);
        while (statement != fStatements.end() && statement->where.end <= at) ++statement;
        const bool inside = statement != fStatements.end() && statement->where.begin <= at;
        at += line.size();
        if (Ascii::trim(line).empty()) continue;
        if (inside && statement->understood) {
            // A comment outlives the statement that it was put into.
            if (statement->fate != Fate::kDropped || !TextStatement::isComment(line)) continue;
        }
        (inside && !statement->where.closed ? unclosed : lines) += line;
    }
    return lines + unclosed;
}

void TextSection::appendKept(std::string& out, SceneRecord::Kind kind, Fate fate) const {
    for (const Statement& statement : fStatements) {
        if (statement.understood && statement.where.kind == kind && statement.fate == fate) {
            out += bytesOf(statement);
        }
    }
}

}  // namespace orbo::Data
