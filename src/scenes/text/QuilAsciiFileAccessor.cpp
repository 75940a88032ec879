// Accessor for text scenes.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/text/QuilAsciiFileAccessor.h"

#include "scenes/text/TextSceneHeader.h"
#include "scenes/text/TextSceneReading.h"
#include "scenes/text/TextSection.h"

namespace orbo::Data {

using Result = TextSceneScanner::Result;

std::string QuilAsciiFileAccessor::openFailure() const { return "Could not open " + fileName(); }

bool QuilAsciiFileAccessor::isScene(Files::File& file, Findings& findings) const {
    return checkTextSceneHeader(file, findings);
}

bool QuilAsciiFileAccessor::scan(Files::File& file, ModelReading& reading,
                                 Findings& findings) const {
    if (!isScene(file, findings)) return false;
    const auto size = file.size();
    if (!size) return !isFailure(Result::kSeekFailed, 0, findings);
    TextSceneScanner scanner(file, 0, *size);
    const Result found = scanner.findTrailer();
    if (isFailure(found, scanner.position(), findings)) return false;
    reading.setStrikesOff();
    if (!readStatements(file, scanner, reading, findings)) return false;
    if (reading.isThorough()) checkTextSceneTrailer(file, scanner.trailer(), *size, findings);
    return true;
}

void QuilAsciiFileAccessor::addLines(Files::File& file, std::vector<Finding>& findings) const {
    countLines(file, findings);
}

std::unique_ptr<SceneSection> QuilAsciiFileAccessor::section(Files::File& file) const {
    return std::make_unique<TextSection>(file, writePolicy().anySize);
}

}  // namespace orbo::Data
