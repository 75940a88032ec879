// What the accessors for both kinds of scene files share.
// SPDX-License-Identifier: Apache-2.0
#include "accessors/SceneFileAccessor.h"

#include <utility>

#include "accessors/Messages.h"
#include "accessors/SceneWriter.h"

namespace orbo::Data {

using Files::LockedFile;
using Use = LockedFile::Use;

LockedFile::Opening SceneFileAccessor::open(Use use) const {
    return LockedFile::open(fileName(), use, patience());
}

bool SceneFileAccessor::isFileSupported(const std::string& fileName) const {
    if (fileName.empty()) return false;
    const auto opening = LockedFile::open(fileName, Use::kRead, patience());
    std::string ignored;
    return opening.file && check(opening.file->file(), ignored);
}

bool SceneFileAccessor::readImplementation(const std::set<std::string>* structureNames,
                                           const std::set<std::string>* associationNames,
                                           std::string& errors) {
    fTaken = TakenNames();
    if (fileName().empty()) return fail(errors, "Empty file name.");
    const auto opening = open(Use::kRead);
    addMessage(errors, opening.notes);
    if (!opening.file) {
        return fail(errors, opening.problem.empty() ? openFailure() : opening.problem);
    }
    Files::File& file = opening.file->file();
    ModelReading reading(structureNames, associationNames);
    if (!scan(file, reading, errors)) return false;
    fTaken = reading.build(associations(), readPolicy(), errors);
    remember(file);
    return true;
}

void SceneFileAccessor::remember(Files::File& file) const {
    fTaken.status = file.status();
    if (!writePolicy().detectConflicts) return;
    const std::unique_ptr<SceneSection> found = section(file);
    std::string ignored;
    if (found->find(ignored)) fTaken.fingerprint = found->fingerprint();
}

bool SceneFileAccessor::write(std::string& errors) const {
    setMetConflict(false);
    if (!lastReadSucceeded() && !fileName().empty()) {
        return fail(errors, "Could not write " + fileName() + ": the last read of it failed.");
    }
    const auto opening = open(Use::kWrite);
    addMessage(errors, opening.notes);
    if (!opening.file) {
        return fail(errors, opening.problem.empty()
                                ? "Could not open " + fileName() + " for writing."
                                : opening.problem);
    }
    Files::File& file = opening.file->file();
    const std::unique_ptr<SceneSection> metadata = section(file);
    SceneWriter writer(*this, fTaken, *metadata);
    const RewriteResult result = writer.write(*opening.file, errors);
    setMetConflict(writer.metConflict());
    if (result == RewriteResult::kFailed) return false;
    std::swap(fTaken, writer.written());
    remember(file);
    return result == RewriteResult::kDone;
}

}  // namespace orbo::Data
