// Finds the facts that `Merge::merge` decides by, as far as it asks for them.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/writing/FactFinder.h"

#include <memory>
#include <utility>

#include "formats/RawScan.h"
#include "scenes/model/ModelDigest.h"
#include "scenes/model/ModelText.h"
#include "scenes/reading/QuietRead.h"
#include "scenes/writing/ModelCompare.h"

namespace orbo::Data {

namespace {

using Merge::RecordFacts;
using Kind = SceneRecord::Kind;
using Text = RecordFacts::Text;

// The model's streams still have the structures that the record was written with, which may be
// gone from the file.
std::unique_ptr<Associations> readWithStructuresOf(const Associations& entry,
                                                   const SceneRecord& record,
                                                   IndexTypes::Unknown unknownIndexTypes) {
    const StructureRegistry::SetAside streamStructures;
    forEachStream(entry, [](const Channel&, const Stream& stream) {
        const Structure& structure = stream.structure();
        if (!Structure::structureByName(structure.name())) {
            Structure::registerStructure(*RefPtr<Structure>(new Structure(structure)));
        }
        return true;
    });
    return tryToReadAssociations(record, unknownIndexTypes);
}

}  // namespace

FactFinder::FactFinder(const Sources& sources)
    : fSources(sources),
      fUnknownIndexTypes(sources.policy.unknownIndexTypesAsText ? IndexTypes::Unknown::kAsText
                                                                : IndexTypes::Unknown::kThrow),
      fRecords(sources.layout.records.size()),
      fStructures(sources.layout.records.size()) {
    addRecords();
    addModel();
    addSnapshot();
}

std::string_view FactFinder::bytesOf(const SceneLayout::Item& item) const {
    return fSources.tail.substr(static_cast<std::size_t>(item.range.begin - fSources.layout.begin),
                                static_cast<std::size_t>(item.range.end - item.range.begin));
}

std::optional<SceneRecord> FactFinder::parse(std::size_t number) const {
    const SceneLayout::Item& item = fSources.layout.records[number];
    if (!item.range.closed) return std::nullopt;
    Finding ignored;
    return fSources.kind.parse(item.range, std::string(bytesOf(item)), nullptr, ignored);
}

// Structures first: what the nodes mean depends on them.
void FactFinder::addRecords() {
    const bool knowsNodes = addAsRead();
    for (const Kind kind : {Kind::kStructure, Kind::kAssociations}) {
        if (kind == Kind::kAssociations && knowsNodes) break;
        for (std::size_t number = 0; number < fRecords.size(); ++number) {
            SceneLayout::Item& item = fSources.layout.records[number];
            if (item.range.kind != kind) continue;
            RecordFacts& facts = fRecords[number];
            facts.kind = kind;
            facts.place = {item.range.begin, item.range.tag};
            const auto record = parse(number);
            item.understood = record.has_value();
            facts.text = record ? Text::kNotTried : Text::kNotUnderstood;
            if (!record) continue;
            facts.plain = record->plain;
            kind == Kind::kStructure ? addStructure(number, *record) : addNode(number, *record);
        }
    }
}

// Takes over what the last read found out about nodes: it still holds for a file that has not
// changed.
bool FactFinder::addAsRead() {
    const std::vector<ReadSnapshot::Record>& read = fSources.snapshot.records;
    if (!fSources.isAsRead || read.size() != fRecords.size()) return false;
    for (std::size_t number = 0; number < fRecords.size(); ++number) {
        SceneLayout::Item& item = fSources.layout.records[number];
        if (item.range.kind != Kind::kAssociations) continue;
        RecordFacts& facts = fRecords[number];
        facts.kind = Kind::kAssociations;
        facts.place = {item.range.begin, item.range.tag};
        item.understood = read[number].understood;
        facts.text = item.understood ? Text::kNotTried : Text::kNotUnderstood;
        if (!item.understood) continue;
        facts.name = read[number].node;
        facts.plain = read[number].plain;
        ReadRecords& records = fReadRecords[facts.name];
        ++records.count;
        records.last = number;
    }
    for (RecordFacts& facts : fRecords) {
        const bool isNode = facts.kind == Kind::kAssociations && facts.text == Text::kNotTried;
        if (!isNode || !isAsRead(facts.name)) continue;
        facts.text = Text::kReadable;
        const Associations* const entry = fSources.model.entry(facts.name);
        facts.sameAsModel = entry && isUnedited(facts.name);
    }
    return true;
}

// The only record of the node was read without a fault, so that the digest is one of its text.
bool FactFinder::isAsRead(const std::string& node) const {
    const auto records = fReadRecords.find(node);
    const auto digest = fSources.snapshot.associations.find(node);
    return records != fReadRecords.end() && records->second.count == 1 &&
           digest != fSources.snapshot.associations.end() && digest->second;
}

const SceneLayout::Item* FactFinder::itemReadAs(const std::string& node) const {
    if (!isAsRead(node)) return nullptr;
    const std::size_t number = fReadRecords.at(node).last;
    const bool isPlain = fRecords[number].plain;
    return isPlain ? &fSources.layout.records[number] : nullptr;
}

void FactFinder::addStructure(std::size_t number, const SceneRecord& record) {
    RecordFacts& facts = fRecords[number];
    RefPtr<Structure> structure = tryToReadStructure(record);
    if (!structure) {
        facts.text = Text::kUnreadable;
        facts.name = RawScan::structureNameIn(record.text);
        return;
    }
    facts.text = Text::kReadable;
    facts.name = structure->name();
    facts.members = &Layout::of(*structure);
    if (!Structure::structureByName(structure->name())) {
        Structure::registerStructure(*structure);
    }
    fStructures[number] = std::move(structure);
}

void FactFinder::addNode(std::size_t number, const SceneRecord& record) {
    const std::string& name = record.name;
    fRecords[number].name = name;
    const bool concerns =
        fSources.model.hasNode(name) || fSources.snapshot.associations.count(name) > 0;
    // The text is at hand now.
    if (concerns) readNode(number, record);
}

void FactFinder::addModel() {
    for (const auto& structure : fSources.model.structures()) {
        fModel.structures.emplace(structure->name(), &Layout::of(*structure));
    }
    for (const std::string& name : fSources.model.entryNames()) {
        fModel.nodes.emplace(name, fSources.model.hasNode(name));
    }
}

void FactFinder::addSnapshot() {
    const ReadSnapshot& snapshot = fSources.snapshot;
    for (const auto& [name, layout] : snapshot.structures) {
        fRead.structures.emplace(name, layout.get());
    }
    for (const auto& node : snapshot.associations) fRead.nodes[node.first];
    for (const auto& [name, digest] : snapshot.partialNodes) {
        const Associations* const entry = fSources.model.entry(name);
        fRead.partialNodes.emplace(name, !entry || fSources.digests.of(*entry).value != digest);
    }
}

Merge::Plan FactFinder::plan(const Merge::Policy& policy) {
    for (;;) {
        Merge::Plan plan = merge(fRecords, fRead, fModel, policy);
        if (plan.questions.empty()) return plan;
        for (const Merge::Question& question : plan.questions) answer(question, plan);
    }
}

void FactFinder::answer(const Merge::Question& question, const Merge::Plan& plan) {
    switch (question.fact) {
        case Fact::kText:
            if (const auto record = parse(question.record)) readNode(question.record, *record);
            break;
        case Fact::kUses:
            fRecords[question.record].uses = usesOfRecord(question.record, plan);
            break;
        case Fact::kMentions: {
            std::vector<std::string> names;
            if (const auto record = parse(question.record)) {
                for (RawScan::NamedStructure& named : RawScan::structuresNamedIn(record->text)) {
                    names.push_back(std::move(named.structure));
                }
            }
            fRecords[question.record].mentions = std::move(names);
            break;
        }
        case Fact::kRepeatsModel:
            fRecords[question.record].repeatsModel = repeatsModel(question.record);
            break;
        case Fact::kUnedited:
            fRead.nodes[question.node].unedited = isUnedited(question.node);
            break;
    }
}

// A record that the last read could not read counts as unreadable, even if its structure has come
// into the file since.
void FactFinder::readNode(std::size_t number, const SceneRecord& record) {
    RecordFacts& facts = fRecords[number];
    facts.text = Text::kUnreadable;
    const bool isKnown = fSources.snapshot.unreadable.has(record);
    const Associations* const entry = fSources.model.entry(facts.name);
    auto read = isKnown ? nullptr : tryToReadAssociations(record, fUnknownIndexTypes);
    if (read) {
        facts.text = Text::kReadable;
    } else if (!isKnown && entry && fSources.snapshot.associations.count(facts.name) > 0 &&
               fTriedWithModel.insert(facts.name).second) {
        read = readWithStructuresOf(*entry, record, fUnknownIndexTypes);
        if (read) facts.text = Text::kReadableWithModel;
    }
    if (read) {
        facts.sameAsModel = entry && isSame(*entry, *read);
    } else {
        fUnreadable.add(record);
    }
}

bool FactFinder::isUnedited(const std::string& node) const {
    const auto taken = fSources.snapshot.associations.find(node);
    const Associations* const entry = fSources.model.entry(node);
    return entry && taken != fSources.snapshot.associations.end() && taken->second &&
           *taken->second == fSources.digests.of(*entry).value;
}

std::vector<StructureUse> FactFinder::usesOfRecord(std::size_t number,
                                                   const Merge::Plan& plan) const {
    const std::set<std::string> names(plan.structuresAtStake.begin(), plan.structuresAtStake.end());
    const auto record = parse(number);
    return record ? usesOf(*record, names)
                  : usesIn(bytesOf(fSources.layout.records[number]), names);
}

bool FactFinder::repeatsModel(std::size_t number) {
    const RecordFacts& facts = fRecords[number];
    const std::string old(bytesOf(fSources.layout.records[number]));
    if (facts.kind == Kind::kStructure) return modelStructures().count(old) > 0;
    const Associations* const entry = fSources.model.entry(facts.name);
    Findings ignored;
    const auto record =
        entry ? recordOf(facts.name, *entry, fSources.exactNumbers, ignored) : std::nullopt;
    std::string bytes;
    return record && fSources.kind.format(*record, bytes) && bytes == old;
}

const std::set<std::string>& FactFinder::modelStructures() {
    if (fModelStructures) return *fModelStructures;
    fModelStructures.emplace();
    for (const auto& structure : fSources.model.structures()) {
        Findings ignored;
        std::string bytes;
        const auto record = recordOf(*structure, ignored);
        if (record && fSources.kind.format(*record, bytes)) fModelStructures->insert(bytes);
    }
    return *fModelStructures;
}

}  // namespace orbo::Data
