// Feeds the metadata statements of a text scene to a reading of the model.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/text/TextSceneReading.h"

#include <algorithm>
#include <string>
#include <utility>

#include "core/Ascii.h"
#include "scenes/text/TextStatement.h"

namespace orbo::Data {

namespace {

using Result = TextSceneScanner::Result;

// As far as something behind the trailer's line is looked for.
constexpr std::uint64_t kMostOfTrailer = 64 * 1024;

void addUnreadable(const SceneRecordRange& range, const char* message,
                   const std::optional<std::string>& node, ModelReading& reading) {
    using Code = Finding::Code;
    const Code code = range.closed ? Code::kStatementUnreadable : Code::kStatementUnclosed;
    SceneRecord record;
    record.place.offset = range.begin;
    if (node) {
        record.kind = SceneRecord::Kind::kAssociations;
        record.name = *node;
    }
    reading.add(code, message, record);
}

Result readStatement(Files::File& file, const SceneRecordRange& range, ModelReading& reading) {
    const char* message = TextStatement::unreadableMessage(range.kind);
    if (!range.closed) {
        addUnreadable(range, message, std::nullopt, reading);
        return Result::kStatement;
    }
    std::string bytes(static_cast<std::size_t>(range.end - range.begin), '\0');
    if (!file.seek(range.begin)) return Result::kSeekFailed;
    if (!Files::readExactly(file, bytes.data(), bytes.size())) return Result::kReadFailed;
    const bool isNode = range.kind == SceneRecord::Kind::kAssociations;
    const auto node = isNode ? TextStatement::nodeOf(bytes) : std::nullopt;
    auto parts = TextStatement::takeApart(range.kind, std::move(bytes), message);
    if (!parts) {
        addUnreadable(range, message, node, reading);
    } else if (reading.wants(parts->record)) {
        SceneRecord record = TextStatement::unescaped(std::move(*parts));
        record.place.offset = range.begin;
        reading.add(std::move(record));
    }
    return Result::kStatement;
}

}  // namespace

bool isFailure(Result result, std::uint64_t offset, Findings& findings) {
    const bool seekFailed = result == Result::kSeekFailed;
    if (!seekFailed && result != Result::kReadFailed) return false;
    findings.add(Finding::Code::kFileUnreadable,
                 seekFailed ? "Could not seek previous block." : "Could not read block.", {offset});
    return true;
}

bool readStatements(Files::File& file, TextSceneScanner& scanner, ModelReading& reading,
                    Findings& findings) {
    reading.setOrder(ModelReading::Order::kLastToFirst);
    std::size_t met = 0;
    // Without a known trailer, what was met may yet turn out to lie behind it.
    while (!scanner.trailer() || reading.wantsMore()) {
        SceneRecordRange range;
        Result result = scanner.next(range);
        std::uint64_t position = scanner.position();
        if (result == Result::kStatement) {
            ++met;
            position = range.begin;
            result = readStatement(file, range, reading);
        }
        if (result == Result::kTrailer) {
            met = 0;
            reading.discard();
        }
        if (result == Result::kDone) return true;
        if (isFailure(result, position, findings)) return false;
    }
    reading.setMetOnly(met);
    return true;
}

void checkTextSceneTrailer(Files::File& file, std::optional<std::uint64_t> trailer,
                           std::uint64_t fileSize, Findings& findings) {
    using Code = Finding::Code;
    if (!trailer) {
        findings.add(Code::kTrailerMissing,
                     "There is no line \"// End of\" at the end: the scene may have lost its end.",
                     {fileSize});
        return;
    }
    std::string text(
        static_cast<std::size_t>(std::min<std::uint64_t>(fileSize - *trailer, kMostOfTrailer)),
        '\0');
    if (!file.seek(*trailer) || !Files::readExactly(file, text.data(), text.size())) return;
    const std::size_t lineEnd = std::min(text.find('\n'), text.size());
    const std::size_t begin = text.find_first_not_of(Ascii::kBlanks, lineEnd);
    if (begin == std::string::npos) return;
    findings.add(
        Code::kLeftoverBytes,
        std::to_string(fileSize - *trailer - begin) + " bytes follow the last line of the scene.",
        {*trailer + begin});
}

}  // namespace orbo::Data
