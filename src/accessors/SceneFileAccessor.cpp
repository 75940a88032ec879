// What the accessors for both kinds of scene files share.
// SPDX-License-Identifier: Apache-2.0
#include "accessors/SceneFileAccessor.h"

#include <utility>

#include "accessors/Messages.h"
#include "accessors/SceneWriter.h"

namespace orbo::Data {

namespace {

using Mode = Files::FileSystem::Mode;

std::unique_ptr<Files::File> open(const std::string& name, Mode mode) {
    return Files::FileSystem::current().open(name, mode);
}

}  // namespace

bool SceneFileAccessor::isFileSupported(const std::string& fileName) const {
    if (fileName.empty()) return false;
    const auto file = open(fileName, Mode::kRead);
    std::string ignored;
    return file && check(*file, ignored);
}

bool SceneFileAccessor::readImplementation(const std::set<std::string>* structureNames,
                                           const std::set<std::string>* associationNames,
                                           std::string& errors) {
    fTaken = TakenNames();
    if (fileName().empty()) return fail(errors, "Empty file name.");
    const auto file = open(fileName(), Mode::kRead);
    if (!file) return fail(errors, openFailure());
    ModelReading reading(structureNames, associationNames);
    if (!scan(*file, reading, errors)) return false;
    fTaken = reading.build(associations(), readPolicy(), errors);
    return true;
}

bool SceneFileAccessor::write(std::string& errors) const {
    if (!lastReadSucceeded() && !fileName().empty()) {
        return fail(errors, "Could not write " + fileName() + ": the last read of it failed.");
    }
    auto file = open(fileName(), Mode::kReadWrite);
    if (!file) return fail(errors, "Could not open " + fileName() + " for writing.");
    const std::unique_ptr<SceneSection> metadata = section(std::move(file));
    SceneWriter writer(*this, fTaken, *metadata);
    if (!writer.write(errors)) return false;
    std::swap(fTaken, writer.written());
    return true;
}

}  // namespace orbo::Data
