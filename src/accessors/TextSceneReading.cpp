// Feeds the metadata statements of a text scene to a reading of the model.
// SPDX-License-Identifier: Apache-2.0
#include "accessors/TextSceneReading.h"

#include <utility>

#include "accessors/Messages.h"
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
        reading.add(std::move(*record));
    } else {
        reading.addMessageOnly(message);
    }
    return Result::kStatement;
}

}  // namespace

bool readStatements(Files::File& file, TextSceneScanner& scanner, ModelReading& reading,
                    std::string& errors) {
    reading.setOrder(ModelReading::Order::kLastToFirst);
    // Without a known trailer, what was met may yet turn out to lie behind it.
    while (!scanner.trailer() || reading.wantsMore()) {
        SceneRecordRange range;
        Result result = scanner.next(range);
        if (result == Result::kStatement) result = readStatement(file, range, reading);
        if (result == Result::kTrailer) reading.discard();
        if (result == Result::kSeekFailed) return fail(errors, "Could not seek previous block.");
        if (result == Result::kReadFailed) return fail(errors, "Could not read block.");
        if (result == Result::kDone) break;
    }
    return true;
}

}  // namespace orbo::Data
