// Accessor for text scenes.
// SPDX-License-Identifier: Apache-2.0
#include "accessors/QuilAsciiFileAccessor.h"

#include "accessors/Messages.h"
#include "accessors/TextSceneHeader.h"
#include "accessors/TextSceneReading.h"
#include "accessors/TextSection.h"

namespace orbo::Data {

using Result = TextSceneScanner::Result;

std::string QuilAsciiFileAccessor::openFailure() const { return "Could not open " + fileName(); }

bool QuilAsciiFileAccessor::check(Files::File& file, std::string& errors) const {
    return checkTextSceneHeader(file, errors);
}

bool QuilAsciiFileAccessor::scan(Files::File& file, ModelReading& reading,
                                 std::string& errors) const {
    if (!check(file, errors)) return false;
    const auto size = file.size();
    if (!size) return fail(errors, "Could not seek previous block.");
    TextSceneScanner scanner(file, 0, *size);
    const Result result = scanner.findTrailer();
    if (result == Result::kSeekFailed) return fail(errors, "Could not seek previous block.");
    if (result == Result::kReadFailed) return fail(errors, "Could not read block.");
    return readStatements(file, scanner, reading, errors);
}

std::unique_ptr<SceneSection> QuilAsciiFileAccessor::section(Files::File& file) const {
    return std::make_unique<TextSection>(file, writePolicy().anySize);
}

}  // namespace orbo::Data
