// The accessor for a kind of scene file.
// SPDX-License-Identifier: Apache-2.0
#include <data/Recovery.h>
#include <data/SceneAccessor.h>

#include <cstdint>
#include <mutex>
#include <new>
#include <optional>
#include <utility>

#include "files/LockedFile.h"
#include "files/ReadAhead.h"
#include "files/ScannedBlocks.h"
#include "scenes/CheckedKind.h"
#include "scenes/Findings.h"
#include "scenes/Inspection.h"
#include "scenes/LayoutScan.h"
#include "scenes/SceneInputs.h"
#include "scenes/reading/NodeLoader.h"
#include "scenes/reading/SceneReader.h"
#include "scenes/writing/SceneChecker.h"
#include "scenes/writing/SceneRewrite.h"
#include "scenes/writing/SceneWriter.h"
#include "scenes/writing/Unedited.h"

namespace orbo::Data {

namespace {

using Code = Finding::Code;
using Files::LockedFile;
using Use = LockedFile::Use;

/// Tells two states of a file apart.
struct Look {
    std::uint64_t length;
    std::int64_t modified;
    std::optional<std::uint64_t> fingerprint;
    bool operator==(const Look& other) const {
        return length == other.length && modified == other.modified &&
               fingerprint == other.fingerprint;
    }
};

/// What a read or a check is asked for.
struct ReadTask {
    const std::set<std::string>* structureNames = nullptr;
    const std::set<std::string>* associationNames = nullptr;
    ReadPolicy policy = {};
    bool isCheck = false;
};

// Without locks, a journal means that somebody may be at work.
bool findJournal(const LockedFile::Opening& opening, const std::string& fileName,
                 Findings& findings) {
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

}  // namespace

struct SceneAccessor::State {
    State(SceneAccessor& accessor, std::unique_ptr<const SceneKind> ofFile)
        : owner(accessor), kind(std::make_unique<CheckedKind>(std::move(ofFile))) {}

    [[nodiscard]] LockedFile::Opening open(const std::string& fileName, Use use) const {
        return LockedFile::open(fileName, use, {owner.patience(), owner.waitingStops()});
    }
    [[nodiscard]] std::optional<std::uint64_t> fingerprint(
        Files::File& file, std::optional<std::size_t> recordsMet) const;
    [[nodiscard]] std::optional<Look> look(Files::File& file) const;
    void remember(Files::File& file, bool withFingerprint);
    bool read(const LockedFile::Opening& opening, const ReadTask& task, Findings& findings);
    bool load(const std::string& node, LockedFile::Opening& opening, Findings& findings);
    void publish(const Findings& findings, const LockedFile::Opening& opening) const;
    [[nodiscard]] std::string cannotOpen(const LockedFile::Opening& opening) const;
    bool recognise(Files::File& file, Findings& findings) const;
    void publish(const Findings& findings, Files::File& file) const;
    bool write(RewriteExtent extent, std::string& errors);
    bool write(RewriteExtent extent, Findings& findings, Findings& notes);
    bool writeComposed(SceneWriter& writer, LockedFile& file, RewriteExtent extent,
                       Findings& findings);

    SceneAccessor& owner;
    const std::unique_ptr<const CheckedKind> kind;
    ReadSnapshot snapshot;  // a write replaces what the last read left
    std::mutex writing;     // threads that write take turns
};

// Covers only the records. Empty when there is no metadata section.
std::optional<std::uint64_t> SceneAccessor::State::fingerprint(
    Files::File& file, std::optional<std::size_t> recordsMet) const {
    Files::ReadAhead ahead(file);
    InputOfFile input(ahead);
    Findings ignored;
    const WritePolicy policy = owner.writePolicy();
    const auto layout = scanLayout(*kind, input, policy, ignored, recordsMet);
    return layout ? fingerprintOf(*layout, {}, input) : std::nullopt;
}

// Reads the metadata before the status: a change in between then shows in the time of change,
// unless the system's clock is too coarse.
std::optional<Look> SceneAccessor::State::look(Files::File& file) const {
    const std::optional<std::uint64_t> metadata = fingerprint(file, {});
    const std::optional<Files::FileStatus> status = file.status();
    if (!status) return std::nullopt;
    return Look{status->length, status->modified, metadata};
}

void SceneAccessor::State::remember(Files::File& file, bool withFingerprint) {
    snapshot.status = file.status();
    if (withFingerprint && !snapshot.fingerprint) {
        snapshot.fingerprint = fingerprint(file, snapshot.recordsMet);
    }
}

bool SceneAccessor::State::recognise(Files::File& file, Findings& findings) const {
    InputOfFile input(file);
    Finding problem;
    if (kind->recognise(input, problem)) return true;
    findings.take(std::move(problem));
    return false;
}

void SceneAccessor::State::publish(const Findings& findings, Files::File& file) const {
    std::vector<Finding> found = findings.inFileOrder();
    if (kind->traits().hasLines) countLines(file, found);
    owner.setFindings(std::move(found));
}

// Ends the lock: counting lines may take long and needs none.
void SceneAccessor::State::publish(const Findings& findings,
                                   const LockedFile::Opening& opening) const {
    if (!opening.file) return owner.setFindings(findings.inFileOrder());
    opening.file->file().unlock();
    publish(findings, opening.file->file());
}

bool SceneAccessor::State::read(const LockedFile::Opening& opening, const ReadTask& task,
                                Findings& findings) {
    Files::File& file = opening.file->file();
    const auto before = opening.hasLocks ? std::nullopt : look(file);
    Files::ReadAhead ahead(file);
    Files::ScannedBlocks blocks(ahead);
    InputOfFile input(blocks);
    ModelBuilder::Request request;
    request.structureNames = task.structureNames;
    request.associationNames = task.associationNames;
    request.policy = task.policy;
    request.isCheck = task.isCheck;
    request.threads = task.isCheck ? 1 : task.policy.threads;
    request.leavesNodes = task.policy.nodesOnDemand && !task.isCheck;
    request.strikesOff = kind->traits().lastFirst;
    const bool withFingerprint = task.isCheck || owner.writePolicy().detectConflicts;
    auto found = readScene(*kind, input, request, owner.associations(), findings, withFingerprint);
    if (!found) return false;
    snapshot = std::move(*found);
    remember(file, withFingerprint);
    // Without locks, a writer may have changed the file during the read.
    if (opening.hasLocks || (before && before == look(file))) return true;
    return findings.fail(Code::kFileUnreadable,
                         "Another program has written the file while it was read.");
}

std::string SceneAccessor::State::cannotOpen(const LockedFile::Opening& opening) const {
    const std::string& fileName = owner.fileName();
    if (fileName.empty()) return "Empty file name.";
    if (!opening.problem.empty()) return opening.problem;
    std::string message = kind->traits().cannotOpen;
    const std::size_t place = message.find("%s");
    return place == std::string::npos ? message : message.replace(place, 2, fileName);
}

bool SceneAccessor::State::load(const std::string& node, LockedFile::Opening& opening,
                                Findings& findings) {
    NodeLoader loader(*kind, owner, snapshot);
    if (!loader.mayLoad(node, findings)) return false;
    if (loader.isLoaded(node)) return true;
    opening = open(owner.fileName(), Use::kRead);
    findings.add(Code::kFileNote, opening.notes);
    if (!opening.file) return findings.fail(Code::kFileUnreadable, cannotOpen(opening));
    return loader.load(node, opening.file->file(), findings);
}

bool SceneAccessor::State::write(RewriteExtent extent, std::string& errors) {
    const std::lock_guard<std::mutex> lock(writing);
    Findings findings;
    Findings notes;
    const bool done = write(extent, findings, notes);
    findings.appendTo(errors);
    if (done) findings.add(std::move(notes));
    std::vector<Finding> found = findings.inFileOrder();
    for (Finding& finding : found) {
        const bool isReason =
            !done && finding.code != Code::kMore && finding.code != Code::kFileNote;
        if (isReason) finding.code = Code::kWriteFailed;
    }
    owner.setFindings(std::move(found));
    return done;
}

bool SceneAccessor::State::write(RewriteExtent extent, Findings& findings, Findings& notes) {
    owner.setMetConflict(false);
    const std::string& fileName = owner.fileName();
    if (!owner.lastReadSucceeded() && !fileName.empty()) {
        return findings.fail(Code::kWriteFailed,
                             "Could not write " + fileName + ": the last read of it failed.");
    }
    if (!snapshot.undigested.empty()) {
        return findings.fail(Code::kWriteFailed,
                             "Could not write " + fileName +
                                 ": it was read to be looked at, and edits were not prepared.");
    }
    const WritePolicy policy = owner.writePolicy();
    ModelDigests digests;
    const bool unedited = isUnedited(owner, snapshot, digests);
    owner.setMetEdits(!unedited);
    const Use changing = policy.durable ? Use::kWrite : Use::kWriteInPlace;
    const auto opening = open(fileName, unedited ? Use::kRead : changing);
    findings.add(opening.file ? Code::kFileNote : Code::kWriteFailed, opening.notes);
    if (!opening.file) {
        return findings.fail(Code::kWriteFailed,
                             opening.problem.empty()
                                 ? "Could not open " + fileName + " for writing."
                                 : opening.problem);
    }
    if (unedited) return recognise(opening.file->file(), findings);
    SceneWriter writer(*kind, owner, snapshot, digests, {policy, owner.readPolicy(), false});
    const bool done = writeComposed(writer, *opening.file, extent, findings);
    if (done) notes = std::move(writer.notes());
    return done;
}

bool SceneAccessor::State::writeComposed(SceneWriter& writer, LockedFile& file,
                                         RewriteExtent extent, Findings& findings) {
    const bool isComposed = writer.compose(file.file(), findings);
    const RewriteResult result =
        isComposed ? rewrite(file, writer.changes(), owner.writePolicy(), extent, findings)
                   : RewriteResult::kFailed;
    owner.setMetConflict(writer.metConflict() || result == RewriteResult::kConflict);
    if (result == RewriteResult::kFailed || result == RewriteResult::kConflict) return false;
    if (extent == RewriteExtent::kChecks) return true;
    std::swap(snapshot, writer.written());
    try {
        remember(file.file(), owner.writePolicy().detectConflicts);
    } catch (const std::bad_alloc&) {
        // The file is written. Without a fingerprint the next write compares the file's status.
        snapshot.fingerprint.reset();
    }
    return result == RewriteResult::kDone;
}

SceneAccessor::SceneAccessor(std::unique_ptr<const SceneKind> kind)
    : fState(std::make_unique<State>(*this, std::move(kind))) {}

SceneAccessor::~SceneAccessor() = default;

bool SceneAccessor::isFileSupported(const std::string& fileName) const {
    if (fileName.empty()) return false;
    const auto opening = fState->open(fileName, Use::kRead);
    Findings ignored;
    return opening.file && fState->recognise(opening.file->file(), ignored);
}

bool SceneAccessor::isEdited() const {
    ModelDigests digests;
    return !fState->snapshot.undigested.empty() || !isUnedited(*this, fState->snapshot, digests);
}

bool SceneAccessor::readImplementation(const std::set<std::string>* structureNames,
                                       const std::set<std::string>* associationNames,
                                       std::string& errors) {
    fState->snapshot = ReadSnapshot();
    Findings findings;
    LockedFile::Opening opening;
    if (!fileName().empty()) opening = fState->open(fileName(), Use::kRead);
    findings.add(Code::kFileNote, opening.notes);
    bool done = false;
    try {
        if (opening.file) {
            const ReadTask task{structureNames, associationNames, readPolicy(), false};
            done = fState->read(opening, task, findings);
        } else {
            findings.add(Code::kFileUnreadable, fState->cannotOpen(opening));
        }
    } catch (...) {
        findings.appendTo(errors);
        throw;
    }
    findings.appendTo(errors);
    fState->publish(findings, opening);
    return done;
}

bool SceneAccessor::load(const std::string& name, std::string& errors) {
    Findings findings;
    LockedFile::Opening opening;
    bool done = false;
    try {
        done = fState->load(name, opening, findings);
    } catch (...) {
        findings.appendTo(errors);
        throw;
    }
    findings.appendTo(errors);
    fState->publish(findings, opening);
    return done;
}

std::set<std::string> SceneAccessor::unloadedNodes() const {
    std::set<std::string> names;
    if (!lastReadSucceeded()) return names;
    for (const auto& [name, places] : fState->snapshot.unloaded.places) names.insert(name);
    return names;
}

void SceneAccessor::prepareEdits() {
    Accessor::prepareEdits();
    ReadSnapshot& snapshot = fState->snapshot;
    for (std::set<std::string>& names = snapshot.undigested; !names.empty();) {
        const auto name = names.begin();
        const auto node = associations().find(*name);
        if (node == associations().end()) {
            snapshot.associations.emplace(*name, std::nullopt);
        } else {
            snapshot.add(*name, node->second, digestOf(node->second));
        }
        names.erase(name);
    }
}

bool SceneAccessor::write(std::string& errors) const {
    return fState->write(RewriteExtent::kWhole, errors);
}

bool SceneAccessor::rehearse(std::string& errors) const {
    return fState->write(RewriteExtent::kChecks, errors);
}

std::vector<Finding> SceneAccessor::check(const std::string& fileName) {
    Findings findings;
    // One lock for everything: between two locks another program could replace the file.
    const auto opening = LockedFile::inspect(fileName, {patience(), waitingStops()});
    std::string ignored;
    if (!findJournal(opening, fileName, findings)) {
        setFindings(findings.inFileOrder());
        return this->findings();
    }
    Files::File& file = opening.file->file();
    const auto readAll = [&](std::string&) {
        fState->snapshot = ReadSnapshot();
        findings.add(Code::kFileNote, opening.notes);
        return fState->read(opening, {nullptr, nullptr, {true}, true}, findings);
    };
    if (readBy(readAll, fileName, ignored)) {
        checkModel(*this, fState->snapshot, findings);
        checkRewrite(*fState->kind, *this, fState->snapshot, file, findings);
    }
    fState->publish(findings, file);
    return this->findings();
}

}  // namespace orbo::Data
