// Feeds the metadata statements of a text scene to a reading of the model.
// SPDX-License-Identifier: Apache-2.0
#include "accessors/TextSceneReading.h"

#include <utility>

#include "accessors/TextStatement.h"

namespace orbo::Data {

namespace {

using Result = TextSceneScanner::Result;

Result readStatement(Files::File& file, const SceneRecordRange& range, ModelReading& reading) {
    const char* message = TextStatement::unreadableMessage(range.kind);
    std::optional<SceneRecord> record;
    if (range.closed) {
        std::string bytes(static_cast<std::size_t>(range.end - range.begin), '\0');
        if (!file.seek(range.begin)) return Result::kSeekFailed;
        if (!Files::readExactly(file, bytes.data(), bytes.size())) return Result::kReadFailed;
        record = TextStatement::parse(range.kind, std::move(bytes), message);
    }
    if (record) {
        record->place.offset = range.begin;
        reading.add(std::move(*record));
    } else {
        using Code = Finding::Code;
        reading.add(range.closed ? Code::kStatementUnreadable : Code::kStatementUnclosed, message,
                    {range.begin});
    }
    return Result::kStatement;
}

}  // namespace

bool isFailure(Result result, Findings& findings) {
    const bool seekFailed = result == Result::kSeekFailed;
    if (!seekFailed && result != Result::kReadFailed) return false;
    findings.add(Finding::Code::kFileUnreadable,
                 seekFailed ? "Could not seek previous block." : "Could not read block.");
    return true;
}

bool readStatements(Files::File& file, TextSceneScanner& scanner, ModelReading& reading,
                    Findings& findings) {
    reading.setOrder(ModelReading::Order::kLastToFirst);
    // Without a known trailer, what was met may yet turn out to lie behind it.
    while (!scanner.trailer() || reading.wantsMore()) {
        SceneRecordRange range;
        Result result = scanner.next(range);
        if (result == Result::kStatement) result = readStatement(file, range, reading);
        if (result == Result::kTrailer) reading.discard();
        if (result == Result::kDone) break;
        if (isFailure(result, findings)) return false;
    }
    return true;
}

}  // namespace orbo::Data
