// Replaces the metadata section of a scene by an accessor's model.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/writing/SceneWriter.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <utility>

#include "core/ContentHash.h"
#include "core/StructureRegistry.h"
#include "scenes/CheckedKind.h"
#include "scenes/Fingerprint.h"
#include "scenes/LayoutScan.h"
#include "scenes/SceneInputs.h"
#include "scenes/model/ModelPlace.h"
#include "scenes/model/ModelText.h"
#include "scenes/reading/RecordReader.h"
#include "scenes/reading/SceneReader.h"
#include "scenes/writing/CertainNode.h"
#include "scenes/writing/ModelCheck.h"
#include "scenes/writing/ModelCompare.h"

namespace orbo::Data {

namespace {

using Code = Finding::Code;
using Merge::Action;

Finding refusal(std::string message, const std::optional<std::string>& node = {}) {
    Finding finding;
    finding.message = std::move(message);
    finding.node = node;
    return finding;
}

// Names the place in front of a format's messages, which the format does not know.
std::string at(const std::string& place, const Findings& findings) {
    std::string messages;
    findings.appendTo(messages);
    return messages.empty() ? std::string() : place + ": " + messages;
}

std::set<std::string> madeNew(const Merge::Plan& plan, SceneRecord::Kind kind) {
    std::set<std::string> names;
    for (const Merge::Item& item : plan.items) {
        const bool isNew = item.action == Action::kAdd || item.action == Action::kRewrite;
        if (isNew && item.kind == kind) names.insert(item.name);
    }
    return names;
}

// Goes on by these bytes; false when they are others.
template <typename Views>
bool takeFrom(Views& next, Views end, std::string_view bytes) {
    while (!bytes.empty()) {
        while (next != end && next->empty()) ++next;
        if (next == end) return false;
        const std::size_t size = std::min(bytes.size(), next->size());
        if (bytes.substr(0, size) != next->substr(0, size)) return false;
        bytes.remove_prefix(size);
        next->remove_prefix(size);
    }
    return true;
}

// Also adds the record to the fingerprint.
bool holds(SceneInput& input, const SceneRecordRange& range, std::vector<std::string_view> expected,
           Fingerprint& fingerprint) {
    constexpr std::uint64_t kPiece = 64 * 1024;
    std::string bytes(static_cast<std::size_t>(std::min(range.end - range.begin, kPiece)), '\0');
    ContentHash record;
    auto next = expected.begin();
    if (!input.seek(range.begin)) return false;
    for (std::uint64_t left = range.end - range.begin; left > 0; left -= bytes.size()) {
        bytes.resize(static_cast<std::size_t>(std::min(left, kPiece)));
        if (input.read(bytes.data(), bytes.size()) != bytes.size()) return false;
        record.addBytes(bytes.data(), bytes.size());
        if (!takeFrom(next, expected.end(), bytes)) return false;
    }
    fingerprint.add(record, range.end - range.begin);
    return std::all_of(next, expected.end(), [](std::string_view rest) { return rest.empty(); });
}

bool isSame(const SceneRecord& left, const SceneRecord& right) {
    return left.kind == right.kind && left.name == right.name && left.format == right.format;
}

}  // namespace

SceneWriter::SceneWriter(const SceneKind& kind, const Accessor& accessor,
                         const ReadSnapshot& snapshot, ModelDigests& digests,
                         const Settings& settings)
    : fKind(kind),
      fSnapshot(snapshot),
      fSettings(settings),
      fDigests(digests),
      fModel(accessor, snapshot, settings.policy.addMissingStructures),
      fMaker({kind, fModel, snapshot, digests, fSettings.policy, fSettings.readPolicy}),
      fWritten(fModel.snapshot()) {
    fWritten.partialNodes = snapshot.partialNodes;
    fWritten.unloaded = snapshot.unloaded.afterWriting(fWritten.associations);
}

// Always returns false, for `return fail(...)`.
bool SceneWriter::fail(std::optional<Finding> problem) const {
    if (!problem) return false;
    problem->code = Code::kWriteFailed;
    fFindings->take(std::move(*problem));
    return false;
}

bool SceneWriter::compose(Files::File& file, Findings& findings) {
    fFindings = &findings;
    if (auto repeated = repeatedNameIn(fModel)) return fail(std::move(repeated));
    InputOfFile inFile(file);
    TailInput input(inFile, fTailBegin, fTail);
    if (!preloadTail(file, inFile)) return false;
    fLayout = scanLayout(fKind, input, fSettings.policy, findings);
    if (!fLayout || !loadTail(inFile) || !checkConflict(file, input)) return false;
    fPlan.policy = fSettings.policy;
    try {
        if (!decide()) return false;
    } catch (const SceneKindFailure& failure) {
        return fail(refusal(failure.what()));
    }
    Finding problem;
    fChanges = fKind.changes(*fLayout, fTail, fPlan, problem);
    if (fChanges.empty()) return fail(std::move(problem));
    if (!checkOldBytes(input)) return false;
    return !fSettings.policy.verify || verify(input);
}

// Those in the tail are known to be right.
bool SceneWriter::checkOldBytes(SceneInput& input) const {
    for (const SceneChange& change : fChanges) {
        if (change.offset >= fLayout->begin) break;
        const auto size =
            std::min<std::uint64_t>(change.oldBytes.size(), fLayout->begin - change.offset);
        std::string bytes(static_cast<std::size_t>(size), '\0');
        const auto got =
            input.seek(change.offset) ? input.read(bytes.data(), bytes.size()) : std::nullopt;
        if (!got || *got != size) return fail(refusal(change.seekFailure));
        if (change.oldBytes.substr(0, bytes.size()) != bytes) {
            return fail(refusal("The kind of scene made changes of bytes the file lacks."));
        }
    }
    return true;
}

// Where the last read met the metadata it most likely still is; then the scan finds it in memory.
bool SceneWriter::preloadTail(Files::File& file, SceneInput& input) {
    if (!fSnapshot.begin || !fSnapshot.status) return true;
    const auto size = file.size();
    if (size != fSnapshot.status->length || *fSnapshot.begin > *size) return true;
    fTailBegin = *fSnapshot.begin;
    fTail.resize(static_cast<std::size_t>(*size - fTailBegin));
    return (input.seek(fTailBegin) && readTail(input)) ||
           fail(refusal("Could not read the metadata."));
}

bool SceneWriter::loadTail(SceneInput& input) {
    const auto size = static_cast<std::size_t>(fLayout->size - fLayout->begin);
    if (!fTail.empty() && fTailBegin <= fLayout->begin &&
        fTail.size() == fLayout->size - fTailBegin) {
        fTail.erase(0, fTail.size() - size);
        fTailBegin = fLayout->begin;
        return true;
    }
    fTail.resize(size);
    fTailBegin = fLayout->begin;
    if (!input.seek(fTailBegin)) return fail(refusal(fLayout->cannotSeek));
    return readTail(input) || fail(refusal(fLayout->cannotRead));
}

// Fills the tail, which has its size.
bool SceneWriter::readTail(SceneInput& input) {
    const auto got = input.read(fTail.data(), fTail.size());
    return got && *got == fTail.size();
}

bool SceneWriter::checkConflict(Files::File& file, SceneInput& input) {
    if (!fSettings.policy.detectConflicts) return true;
    if (fSnapshot.fingerprint) {
        fMetConflict =
            fingerprintOf(*fLayout, fTail, input, fSnapshot.recordsMet) != *fSnapshot.fingerprint;
        fIsAsRead = !fMetConflict && !fSnapshot.recordsMet;
    } else {
        const auto status = file.status();
        fMetConflict = !status || !fSnapshot.status || !status->hasSameBytes(*fSnapshot.status);
    }
    return !fMetConflict || fail(refusal("The metadata in the file is no longer what was read."));
}

bool SceneWriter::decide() {
    const WritePolicy& policy = fSettings.policy;
    FactFinder finder({fKind, *fLayout, fTail, fModel, fSnapshot, fSettings.readPolicy, fDigests,
                       policy.exactNumbers, fIsAsRead});
    Merge::Plan merged =
        finder.plan({policy.verify, fSettings.rewritesAll, fKind.traits().sceneFirst});
    if (merged.refusal) return fail(std::move(merged.refusal));
    fNotes.add(std::move(merged.findings));
    fWritten.unreadable = std::move(finder.unreadable());
    const std::set<std::string> newStructures = madeNew(merged, Kind::kStructure);
    const std::set<std::string> newNodes = madeNew(merged, Kind::kAssociations);
    if (policy.verify) {
        if (!checkNewRecords(newStructures, newNodes)) return false;
    } else {
        addRemarks(finder, merged, newStructures, newNodes);
    }
    if (!checkUnderstood()) return false;
    fVerifiesParts = policy.verify && !fSettings.rewritesAll && changesNodesOnly(merged);
    for (const Merge::Item& item : merged.items) {
        if (!format(item, finder)) return false;
    }
    noteDigests(newNodes);
    if (fIsAsRead) noteKept(newNodes);
    return true;
}

// A strict kind cannot keep a record that it does not understand.
bool SceneWriter::checkUnderstood() const {
    if (!fKind.traits().strict) return true;
    for (const SceneLayout::Item& item : fLayout->records) {
        if (item.understood) continue;
        return fail(refusalOf(fKind, item.range));
    }
    return true;
}

// Records that stay as the file has them need no check: the file can carry them.
bool SceneWriter::checkNewRecords(const std::set<std::string>& structures,
                                  const std::set<std::string>& nodes) const {
    for (const auto& structure : fModel.structures()) {
        if (structures.count(structure->name()) == 0) continue;
        if (auto problem = notCarriedOf(*structure)) return fail(std::move(problem));
    }
    for (const WrittenModel::Node& node : fModel.nodes()) {
        if (nodes.count(*node.name) == 0) continue;
        if (auto problem = notCarriedOf(fModel, node)) return fail(std::move(problem));
    }
    return true;
}

void SceneWriter::addRemarks(const FactFinder& finder, const Merge::Plan& plan,
                             const std::set<std::string>& newStructures,
                             const std::set<std::string>& newNodes) {
    const auto structureInFile = [&](const std::string& name) -> const Structure* {
        const auto kept = plan.structuresOfTheFile.find(name);
        if (kept != plan.structuresOfTheFile.end()) return &finder.structureOf(kept->second);
        return fModel.structure(name);
    };
    WriteRemarks remarks(structureInFile, fSettings.readPolicy.unknownIndexTypesAsText, fNotes);
    for (const auto& structure : fModel.structures()) {
        if (newStructures.count(structure->name()) > 0) remarks.addStructure(*structure);
    }
    for (const WrittenModel::Node& node : fModel.nodes()) {
        if (newNodes.count(*node.name) > 0) {
            remarks.addNode(node);
        } else {
            remarks.addStructuresOf(node);
        }
    }
}

bool SceneWriter::format(const Merge::Item& item, const FactFinder& finder) {
    if (item.action == Action::kDrop) return true;
    const bool isStructure = item.kind == Kind::kStructure;
    const Part part = isStructure ? Part::kStructures : item.isScene ? Part::kScene : Part::kNodes;
    if (item.action == Action::kKeep) {
        SceneLayout::Item& kept = fLayout->records[*item.record];
        kept.kept = true;
        fPlan.entries.push_back({part, &kept, {}});
        return true;
    }
    if (!isStructure) return makeNode(item.name, part, finder);
    fPlan.entries.push_back({part, nullptr, {}});
    return formatStructure(item.name, fPlan.entries.back().bytes);
}

bool SceneWriter::formatStructure(const std::string& name, std::string& bytes) const {
    const std::string place = ModelPlace::ofStructure(name);
    Findings problems;
    if (const auto record = recordOf(*fModel.structure(name), problems)) {
        if (fKind.format(*record, bytes)) return true;
        problems.add(Code::kWriteFailed, "name cannot be written");
    }
    (void)fail(refusal(fKind.traits().cannotMakeStructure));
    return fail(refusal(at(place, problems)));
}

bool SceneWriter::isLeftOut(const Associations& node) const {
    // Whether the distances in a larger section fit their fields may depend on the texts.
    constexpr std::size_t kLargeSection = std::size_t{1} << 30;
    return fSettings.leavesOutCertain && fTail.size() < kLargeSection && readsBackForCertain(node);
}

bool SceneWriter::makeEmpty(const std::string& name, Part part) {
    Findings ignored;
    const auto record = recordOf(name, Associations(), fSettings.policy.exactNumbers, ignored);
    fLeftOut.insert(name);
    fPlan.entries.push_back({part, nullptr, {}});
    return (record && fKind.format(*record, fPlan.entries.back().bytes)) ||
           fail(refusal(ModelPlace::of(name) + ": name cannot be written", name));
}

bool SceneWriter::makeNode(const std::string& name, Part part, const FactFinder& finder) {
    if (isLeftOut(*fModel.entry(name))) return makeEmpty(name, part);
    std::optional<NodeMaker::Old> old;
    const SceneLayout::Item* const item = fSettings.rewritesAll ? nullptr : finder.itemReadAs(name);
    if (item) {
        old = {item->range, bytesOf(item->range)};
    }
    auto made = fMaker.make(name, old, fVerifiesParts, *fFindings);
    if (!made) return false;
    if (!made->pieces.empty()) {
        fPlan.pieces.emplace(fPlan.entries.size(), std::move(made->pieces));
    }
    fPlan.entries.push_back({part, nullptr, std::move(made->bytes)});
    fMade.push_back({std::move(made->record), made->textDigest});
    return true;
}

// Everything that the meaning of other records depends on stays as the file has it.
bool SceneWriter::changesNodesOnly(const Merge::Plan& plan) const {
    const auto& records = fLayout->records;
    const auto isStructure = [](const SceneLayout::Item& item) {
        return item.range.kind == Kind::kStructure;
    };
    const bool understandsAll =
        std::all_of(records.begin(), records.end(),
                    [](const SceneLayout::Item& item) { return item.understood; });
    const auto structures = std::count_if(records.begin(), records.end(), isStructure);
    const auto kept = std::count_if(plan.items.begin(), plan.items.end(), [](const auto& item) {
        return item.kind == Kind::kStructure && item.action == Action::kKeep;
    });
    const bool keepsAll =
        std::all_of(plan.items.begin(), plan.items.end(), [](const Merge::Item& item) {
            return item.kind != Kind::kStructure || item.action == Action::kKeep;
        });
    return fIsAsRead && understandsAll && keepsAll && kept == structures;
}

bool SceneWriter::verify(SceneInput& input) {
    ChangedInput changed(input, fLayout->size, fChanges);
    if (fVerifiesParts && isSection(changed)) return true;
    return verifyAll(changed);
}

std::string_view SceneWriter::bytesOf(const SceneRecordRange& range) const {
    return std::string_view(fTail).substr(static_cast<std::size_t>(range.begin - fTailBegin),
                                          static_cast<std::size_t>(range.end - range.begin));
}

std::vector<std::string_view> SceneWriter::bytesOf(std::size_t number) const {
    const ScenePlan::Entry& entry = fPlan.entries[number];
    if (entry.kept) return {bytesOf(entry.kept->range)};
    std::vector<std::string_view> bytes = {entry.bytes};
    const auto pieces = fPlan.pieces.find(number);
    if (pieces == fPlan.pieces.end()) return bytes;
    for (const SceneChange::Piece& piece : pieces->second) {
        bytes.insert(bytes.end(), {piece.bytes, piece.kept});
    }
    return bytes;
}

// Whether readers find just the records that were planned, where the texts of the new ones are
// verified already.
bool SceneWriter::isSection(SceneInput& changed) {
    Findings ignored;
    const auto layout = scanLayout(fKind, changed, fSettings.policy, ignored);
    if (!layout || layout->records.size() != fPlan.entries.size()) return false;
    auto made = fMade.begin();
    Fingerprint fingerprint;
    for (std::size_t i = 0; i < fPlan.entries.size(); ++i) {
        const SceneRecordRange& range = layout->records[i].range;
        const ScenePlan::Entry& entry = fPlan.entries[i];
        if (!range.closed || !holds(changed, range, bytesOf(i), fingerprint)) return false;
        if (entry.kept) {
            if (range.kind != entry.kept->range.kind) return false;
            continue;
        }
        if (made == fMade.end()) return false;
        const MadeRecord& expected = *made++;
        if (!expected.textDigest) continue;
        Finding problem;
        const auto record = fKind.parse(range, entry.bytes, nullptr, problem);
        if (!record || !isSame(*record, expected.record)) return false;
        if (digestOfText(record->text) != *expected.textDigest) return false;
    }
    fWritten.fingerprint = fingerprint.value();
    fWritten.begin = layout->begin;
    noteRecords();
    return true;
}

// The records of the new section are those of the plan, so the next write can take texts over, too.
void SceneWriter::noteRecords() {
    if (fSnapshot.records.size() != fLayout->records.size()) return;
    std::map<const SceneLayout::Item*, const ReadSnapshot::Record*> read;
    for (std::size_t i = 0; i < fLayout->records.size(); ++i) {
        read.emplace(&fLayout->records[i], &fSnapshot.records[i]);
    }
    auto made = fMade.begin();
    for (const ScenePlan::Entry& entry : fPlan.entries) {
        fWritten.records.push_back(entry.kept
                                       ? *read.at(entry.kept)
                                       : ReadSnapshot::Record{(made++)->record.name, true, true});
    }
}

// Reads the file as it will be, with the functions that will read it later.
bool SceneWriter::verifyAll(SceneInput& changed) const {
    const StructureRegistry::SetAside fileStructures;
    std::set<std::string> nodes;
    for (const WrittenModel::Node& node : fModel.nodes()) nodes.insert(*node.name);
    ModelBuilder::Request request;
    request.associationNames = &nodes;
    request.policy = fSettings.readPolicy;
    Accessor::AssociationsMap readBack;
    Findings problems;
    try {
        if (!readScene(fKind, changed, request, readBack, problems)) {
            fFindings->add(std::move(problems));
            return false;
        }
    } catch (const Index::eCreationErrors&) {
        return fail(refusal("An index type of the new metadata is not registered."));
    }
    auto difference = differenceOf(fModel, readBack, fLeftOut);
    if (!difference) return true;
    (void)fail(std::move(difference));
    fFindings->add(std::move(problems));
    return false;
}

// Without a verification, a new record may read back as something else than the model has: six
// digits, for example.
void SceneWriter::noteDigests(const std::set<std::string>& newNodes) {
    for (const WrittenModel::Node& node : fModel.nodes()) {
        if (!fSettings.policy.verify && newNodes.count(*node.name) > 0) continue;
        fWritten.associations[*node.name] = fDigests.of(*node.associations).value;
    }
}

// The texts of records that stay are where the last read found them.
void SceneWriter::noteKept(const std::set<std::string>& newNodes) {
    for (const auto& [name, text] : fSnapshot.texts) {
        if (newNodes.count(name) == 0 && fWritten.associations.count(name) > 0) {
            fWritten.texts.emplace(name, text);
        }
    }
}

}  // namespace orbo::Data
