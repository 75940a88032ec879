// Accessor for text scenes.
// SPDX-License-Identifier: Apache-2.0
#include "accessors/QuilAsciiFileAccessor.h"

#include <utility>

#include "accessors/Messages.h"
#include "accessors/TextSceneHeader.h"
#include "accessors/TextSceneReading.h"
#include "accessors/TextSceneWriter.h"
#include "files/File.h"

namespace orbo::Data {

namespace {

using Result = TextSceneScanner::Result;

std::unique_ptr<Files::File> openToRead(const std::string& name) {
    return Files::FileSystem::current().open(name, Files::FileSystem::Mode::kRead);
}

}  // namespace

bool QuilAsciiFileAccessor::isFileSupported(const std::string& fileName) const {
    if (fileName.empty()) return false;
    const auto file = openToRead(fileName);
    std::string ignored;
    return file && checkTextSceneHeader(*file, ignored);
}

bool QuilAsciiFileAccessor::readImplementation(const std::set<std::string>* structureNames,
                                               const std::set<std::string>* associationNames,
                                               std::string& errors) {
    fTaken = TakenNames();
    if (fileName().empty()) return fail(errors, "Empty file name.");
    const auto file = openToRead(fileName());
    if (!file) return fail(errors, "Could not open " + fileName());
    if (!checkTextSceneHeader(*file, errors)) return false;

    const auto size = file->size();
    if (!size) return fail(errors, "Could not seek previous block.");
    TextSceneScanner scanner(*file, 0, *size);
    const Result result = scanner.findTrailer();
    if (result == Result::kSeekFailed) return fail(errors, "Could not seek previous block.");
    if (result == Result::kReadFailed) return fail(errors, "Could not read block.");
    ModelReading reading(structureNames, associationNames, ModelReading::Order::kLastToFirst);
    if (!readStatements(*file, scanner, reading, errors)) return false;
    fTaken = reading.build(associations(), readPolicy(), errors);
    return true;
}

bool QuilAsciiFileAccessor::write(std::string& errors) const {
    if (!lastReadSucceeded() && !fileName().empty()) {
        return fail(errors, "Could not write " + fileName() + ": the last read of it failed.");
    }
    TextSceneWriter writer(*this, fTaken);
    if (!writer.write(errors)) return false;
    std::swap(fTaken, writer.written());
    return true;
}

}  // namespace orbo::Data
