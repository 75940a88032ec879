// Replaces the metadata section of a scene by an accessor's model.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/writing/SceneWriter.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "core/StructureRegistry.h"
#include "scenes/CheckedKind.h"
#include "scenes/LayoutScan.h"
#include "scenes/SceneInputs.h"
#include "scenes/model/ModelDigest.h"
#include "scenes/model/ModelPlace.h"
#include "scenes/model/ModelText.h"
#include "scenes/reading/SceneReader.h"
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

}  // namespace

SceneWriter::SceneWriter(const SceneKind& kind, const Accessor& accessor,
                         const ReadSnapshot& snapshot, const Settings& settings)
    : fKind(kind),
      fSnapshot(snapshot),
      fSettings(settings),
      fModel(accessor, snapshot, settings.policy.addMissingStructures),
      fWritten(fModel.snapshot()) {
    fWritten.partialNodes = snapshot.partialNodes;
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
    InputOfFile input(file);
    fLayout = scanLayout(fKind, input, fSettings.policy, findings);
    if (!fLayout || !loadTail(input) || !checkConflict(file, input)) return false;
    ScenePlan plan;
    plan.policy = fSettings.policy;
    try {
        if (!decide(plan)) return false;
    } catch (const SceneKindFailure& failure) {
        return fail(refusal(failure.what()));
    }
    Finding problem;
    fChanges = fKind.changes(*fLayout, fTail, plan, problem);
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

bool SceneWriter::loadTail(SceneInput& input) {
    fTail.resize(static_cast<std::size_t>(fLayout->size - fLayout->begin));
    if (!input.seek(fLayout->begin)) return fail(refusal(fLayout->cannotSeek));
    const auto got = input.read(fTail.data(), fTail.size());
    return (got && *got == fTail.size()) || fail(refusal(fLayout->cannotRead));
}

bool SceneWriter::checkConflict(Files::File& file, SceneInput& input) {
    if (!fSettings.policy.detectConflicts) return true;
    if (fSnapshot.fingerprint) {
        fMetConflict =
            fingerprintOf(*fLayout, fTail, input, fSnapshot.recordsMet) != *fSnapshot.fingerprint;
    } else {
        const auto status = file.status();
        fMetConflict = !status || !fSnapshot.status || !status->hasSameBytes(*fSnapshot.status);
    }
    return !fMetConflict || fail(refusal("The metadata in the file is no longer what was read."));
}

bool SceneWriter::decide(ScenePlan& plan) {
    const WritePolicy& policy = fSettings.policy;
    FactFinder finder(
        {fKind, *fLayout, fTail, fModel, fSnapshot, fSettings.readPolicy, policy.exactNumbers});
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
    for (const Merge::Item& item : merged.items) {
        if (!format(item, plan)) return false;
    }
    noteDigests(newNodes);
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

bool SceneWriter::format(const Merge::Item& item, ScenePlan& plan) const {
    if (item.action == Action::kDrop) return true;
    const bool isStructure = item.kind == Kind::kStructure;
    const Part part = isStructure ? Part::kStructures : item.isScene ? Part::kScene : Part::kNodes;
    if (item.action == Action::kKeep) {
        SceneLayout::Item& kept = fLayout->records[*item.record];
        kept.kept = true;
        plan.entries.push_back({part, &kept, {}});
        return true;
    }
    plan.entries.push_back({part, nullptr, {}});
    std::string& bytes = plan.entries.back().bytes;
    return isStructure ? formatStructure(item.name, bytes) : formatNode(item.name, bytes);
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

bool SceneWriter::formatNode(const std::string& name, std::string& bytes) const {
    const std::string place = ModelPlace::of(name);
    Findings problems;
    const auto record =
        recordOf(name, *fModel.entry(name), fSettings.policy.exactNumbers, problems);
    if (!record) {
        const SceneTraits& traits = fKind.traits();
        (void)fail(refusal(name.empty() ? traits.cannotMakeScene : traits.cannotMakeNode, name));
        return fail(refusal(at(place, problems), name));
    }
    return fKind.format(*record, bytes) || fail(refusal(place + ": name cannot be written", name));
}

// Reads the file as it will be, with the functions that will read it later.
bool SceneWriter::verify(SceneInput& input) const {
    const StructureRegistry::SetAside fileStructures;
    std::set<std::string> nodes;
    for (const WrittenModel::Node& node : fModel.nodes()) nodes.insert(*node.name);
    ModelBuilder::Request request;
    request.associationNames = &nodes;
    request.policy = fSettings.readPolicy;
    ChangedInput changed(input, fLayout->size, fChanges);
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
    auto difference = differenceOf(fModel, readBack);
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
        fWritten.associations[*node.name] = digestOf(*node.associations);
    }
}

}  // namespace orbo::Data
