// What the accessors for both kinds of scene files share.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/SceneFileAccessor.h"

#include <data/Recovery.h>

#include <new>
#include <utility>

#include "files/ReadAhead.h"
#include "scenes/Inspection.h"
#include "scenes/Messages.h"
#include "scenes/SceneChecker.h"
#include "scenes/model/ModelDigest.h"
#include "scenes/writing/SceneWriter.h"

namespace orbo::Data {

using Files::LockedFile;
using Use = LockedFile::Use;

LockedFile::Opening SceneFileAccessor::open(Use use) const {
    return LockedFile::open(fileName(), use, {patience(), waitingStops()});
}

bool SceneFileAccessor::isFileSupported(const std::string& fileName) const {
    if (fileName.empty()) return false;
    const auto opening = LockedFile::open(fileName, Use::kRead, {patience(), waitingStops()});
    Findings ignored;
    return opening.file && isScene(opening.file->file(), ignored);
}

bool SceneFileAccessor::readImplementation(const std::set<std::string>* structureNames,
                                           const std::set<std::string>* associationNames,
                                           std::string& errors) {
    fTaken = TakenNames();
    Findings findings;
    bool done = false;
    try {
        done = openAndRead(structureNames, associationNames, findings);
        if (fChecking) *fChecking = findings;
    } catch (...) {
        findings.appendTo(errors);
        throw;
    }
    findings.appendTo(errors);
    return done;
}

void SceneFileAccessor::publish(const Findings& findings, Files::File& file) const {
    std::vector<Finding> found = findings.inFileOrder();
    addLines(file, found);
    setFindings(std::move(found));
}

bool SceneFileAccessor::openAndRead(const std::set<std::string>* structureNames,
                                    const std::set<std::string>* associationNames,
                                    Findings& findings) {
    using Code = Finding::Code;
    LockedFile::Opening opened;
    if (!fChecking && !fileName().empty()) opened = open(Use::kRead);
    const LockedFile::Opening& opening = fChecking ? fChecked : opened;
    findings.add(Code::kFileNote, opening.notes);
    if (!opening.file) {
        const std::string problem = opening.problem.empty() ? openFailure() : opening.problem;
        findings.add(Code::kFileUnreadable, fileName().empty() ? "Empty file name." : problem);
        setFindings(findings.inFileOrder());
        return false;
    }
    Files::File& file = opening.file->file();
    ModelReading reading(structureNames, associationNames);
    if (fChecking) reading.setThorough();
    Files::ReadAhead ahead(file);
    const auto before = opening.hasLocks ? std::nullopt : look(file);
    bool done = scan(ahead, reading, findings);
    if (done) {
        fTaken = reading.build(associations(), readPolicy(), findings);
        remember(file);
    }
    // Where there are no locks, a writer may have been at work meanwhile.
    if (done && !opening.hasLocks && !(before && before == look(file))) {
        done = findings.fail(Finding::Code::kFileUnreadable,
                             "Another program has written the file while it was read.");
    }
    // Counting lines may take long, and changes nothing.
    if (!fChecking) file.unlock();
    publish(findings, file);
    return done;
}

void SceneFileAccessor::remember(Files::File& file) const {
    fTaken.status = file.status();
    if (writePolicy().detectConflicts) fTaken.fingerprint = fingerprintOf(file);
}

std::optional<std::uint64_t> SceneFileAccessor::fingerprintOf(Files::File& file) const {
    Files::ReadAhead ahead(file);
    const std::unique_ptr<SceneSection> found = section(ahead);
    if (fTaken.metOnly) found->findOnlyLast(*fTaken.metOnly);
    std::string ignored;
    return found->find(ignored) ? found->fingerprint() : std::nullopt;
}

// The metadata first: a change of it shows in the status, unless the time is too coarse.
std::optional<SceneFileAccessor::Look> SceneFileAccessor::look(Files::File& file) const {
    const std::optional<std::uint64_t> fingerprint = fingerprintOf(file);
    const std::optional<Files::FileStatus> status = file.status();
    if (!status) return std::nullopt;
    return Look{status->length, status->modified, fingerprint};
}

bool SceneFileAccessor::write(std::string& errors) const {
    return write(RewriteExtent::kWhole, errors);
}

bool SceneFileAccessor::rehearse(std::string& errors) const {
    return write(RewriteExtent::kChecks, errors);
}

bool SceneFileAccessor::write(RewriteExtent extent, std::string& errors) const {
    const std::lock_guard<std::mutex> lock(fWriting);
    std::string messages;
    Findings notes;
    const bool done = writeScene(extent, messages, notes);
    Findings findings;
    findings.add(done ? Finding::Code::kFileNote : Finding::Code::kWriteFailed,
                 std::move(messages));
    findings.appendTo(errors);
    if (done) findings.add(std::move(notes));
    setFindings(findings.inFileOrder());
    return done;
}

bool SceneFileAccessor::writeScene(RewriteExtent extent, std::string& errors,
                                   Findings& notes) const {
    setMetConflict(false);
    if (!lastReadSucceeded() && !fileName().empty()) {
        return fail(errors, "Could not write " + fileName() + ": the last read of it failed.");
    }
    const bool unedited = isUnedited(*this, fTaken);
    const Use writing = writePolicy().durable ? Use::kWrite : Use::kWriteInPlace;
    const auto opening = open(unedited ? Use::kRead : writing);
    addMessage(errors, opening.notes);
    if (!opening.file) {
        return fail(errors, opening.problem.empty()
                                ? "Could not open " + fileName() + " for writing."
                                : opening.problem);
    }
    Files::File& file = opening.file->file();
    if (unedited) {
        Findings findings;
        return isScene(file, findings) || fail(errors, findings);
    }
    const std::unique_ptr<SceneSection> metadata = section(file);
    SceneWriter writer(*this, fTaken, *metadata);
    const RewriteResult result = writer.write(*opening.file, extent, errors);
    setMetConflict(writer.metConflict() || result == RewriteResult::kConflict);
    if (result == RewriteResult::kFailed || result == RewriteResult::kConflict) return false;
    notes = writer.notes();
    if (extent == RewriteExtent::kChecks) return true;
    std::swap(fTaken, writer.written());
    try {
        remember(file);
    } catch (const std::bad_alloc&) {
        // The change is made all the same; the next write takes the file as it finds it.
        fTaken.fingerprint.reset();
    }
    return result == RewriteResult::kDone;
}

// A check changes nothing.
bool SceneFileAccessor::findJournal(const LockedFile::Opening& opening, const std::string& fileName,
                                    Findings& findings) {
    using Code = Finding::Code;
    using State = Recovery::State;
    const Recovery recovery = inspectionOf(opening, fileName);
    if (!recovery.setAside.empty()) {
        findings.add(Code::kJournalOrphaned,
                     "A journal that did not fit was set aside as " + recovery.setAside + ".");
    }
    const bool isPending = recovery.state != State::kNothing && recovery.state != State::kRefused;
    if (isPending && !opening.hasLocks) {
        return findings.fail(Code::kFileUnreadable,
                             "The file is in use by another program, or was when that ended: " +
                                 recovery.journal + " is there, and the file system has no locks");
    }
    switch (recovery.state) {
        case State::kUnused:
            findings.add(Code::kJournalPending,
                         "A journal is there, of a change that was cut short before it began.");
            break;
        case State::kUndo:
        case State::kFinish:
            return findings.fail(Code::kJournalPending,
                                 "A change was cut short; nothing else was looked at.");
        case State::kOrphaned:
            return findings.fail(Code::kJournalOrphaned,
                                 "A journal does not fit the file; nothing else was looked at.");
        case State::kRefused:
            return findings.fail(Code::kFileUnreadable, recovery.message);
        case State::kNothing:
            break;
    }
    return true;
}

std::vector<Finding> SceneFileAccessor::check(const std::string& fileName) {
    struct Guard {
        Guard(SceneFileAccessor& checking, Findings& found)
            : accessor(checking),
              readPolicy(checking.readPolicy()),
              writePolicy(checking.writePolicy()) {
            accessor.fChecking = &found;
            accessor.setReadPolicy({true});
            accessor.setWritePolicy(WritePolicy::careful());
        }
        ~Guard() {
            accessor.fChecking = nullptr;
            accessor.fChecked = {};
            accessor.setReadPolicy(readPolicy);
            accessor.setWritePolicy(writePolicy);
        }
        SceneFileAccessor& accessor;
        const ReadPolicy readPolicy;
        const WritePolicy writePolicy;
    };
    Findings found;
    const Guard guard(*this, found);
    Findings findings;
    // One lock for all: between two of them the file could become another one.
    fChecked = LockedFile::inspect(fileName, {patience(), waitingStops()});
    if (!findJournal(fChecked, fileName, findings)) {
        setFindings(findings.inFileOrder());
        return this->findings();
    }
    std::string ignored;
    if (!read(fileName, ignored)) {
        std::vector<Finding> all = findings.inFileOrder();
        all.insert(all.end(), this->findings().begin(), this->findings().end());
        setFindings(std::move(all));
        return this->findings();
    }
    Files::File& file = fChecked.file->file();
    findings.add(std::move(found));
    const std::unique_ptr<SceneSection> metadata = section(file);
    checkModel(*this, fTaken, findings);
    checkRewrite(*this, fTaken, *metadata, file, findings);
    publish(findings, file);
    return this->findings();
}

}  // namespace orbo::Data
