// Decides what becomes of the records of a scene when a model is written to it.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/writing/Merge.h"

#include <algorithm>
#include <set>
#include <utility>

#include "scenes/model/ModelPlace.h"

namespace orbo::Data::Merge {

namespace {

using Code = Finding::Code;
using Text = RecordFacts::Text;
using Fact = Question::Fact;

template <typename Map>
const typename Map::mapped_type* find(const Map& map, const std::string& name) {
    const auto found = map.find(name);
    return found == map.end() ? nullptr : &found->second;
}

bool haveSameMembers(const Layout* left, const Layout* right) {
    return left && right && left->members() == right->members();
}

bool beginsWith(const Layout& layout, const Layout& front) {
    return front.memberCount() > 0 && layout.memberCount() >= front.memberCount() &&
           std::equal(front.members().begin(), front.members().end(), layout.members().begin());
}

bool isReadable(const RecordFacts& record) {
    return record.text == Text::kReadable || record.text == Text::kReadableWithModel;
}

std::string quoted(const std::string& structure) { return "Structure '" + structure + "'"; }

/// What stands where in the new section, and what does not.
enum class Place {
    kAhead,    ///< kept, in front of what the model has
    kInPlace,  ///< kept where the model's record of the name would be written
    kBehind,   ///< kept, behind the model's record of the name, which readers must find first
    kGone,
    kForeign,  ///< no record for us; the kind of scene keeps it with other foreign parts
};

/// All readable structure records of one name share a fate; the first in the file counts.
struct StructureGroup {
    enum class Change {
        kNone,      ///< the model has the same, or nobody has anything to say about it
        kErased,    ///< the caller removed what the last read gave
        kNeeded,    ///< the same, but a record that stays uses it
        kChanged,   ///< the model has something else
        kConflict,  ///< the same, but others have changed what the last read gave
    };

    std::vector<std::size_t> records;
    Change change = Change::kNone;
    const StructureUse* use = nullptr;

    [[nodiscard]] bool isErasedOrChanged() const {
        return change == Change::kErased || change == Change::kChanged;
    }
    [[nodiscard]] bool isLost() const {
        return change != Change::kNone && change != Change::kNeeded;
    }
};

/// All readable records of one node share a fate.
struct NodeGroup {
    std::vector<std::size_t> records;
    bool isSame = false;
    bool isRewritten = false;  // the same content, but its old text would not be read any more

    [[nodiscard]] bool dropsOthers() const { return !isSame && records.size() > 1; }
};

class Merger {
  public:
    Merger(const std::vector<RecordFacts>& records, const ReadFacts& read, const ModelFacts& model,
           const Policy& policy)
        : fRecords(records),
          fRead(read),
          fModel(model),
          fPolicy(policy),
          fPlaces(records.size(), Place::kAhead),
          fReasons(records.size(), Reason::kNodeOfOthers) {}

    Plan plan() {
        if (!refusesPartialNodes()) decide();
        return std::move(fPlan);
    }

  private:
    using Change = StructureGroup::Change;

    void decide() {
        askForTexts();
        if (!fPlan.questions.empty()) return;
        groupStructures();
        groupNodes();
        if (!fPlan.questions.empty()) return;
        if (!findUses()) return;
        settleStructures();
        if (refuses() || !findRewrittenNodes()) return;
        settleNodes();
        if (refusesLosses() || !dropRepeated()) return;
        addFindings();
        listItems();
    }

    void ask(Fact fact, std::size_t record) { fPlan.questions.push_back({fact, record, {}}); }

    bool refuse(const std::string& message) {
        Findings findings;
        findings.add(Code::kWriteFailed, message);
        fPlan.refusal = findings.all().front();
        return true;
    }
    bool refuse(const std::string& message, const std::optional<std::string>& node,
                const TextPlace& where = {}) {
        refuse(message);
        Finding& refusal = *fPlan.refusal;
        refusal.node = node;
        refusal.channel = where.channel;
        refusal.stream = where.stream;
        return true;
    }

    // Their records stay as they are, so what the caller did to them would be lost.
    bool refusesPartialNodes() {
        for (const auto& [name, isEdited] : fRead.partialNodes) {
            if (!isEdited) continue;
            return refuse(
                ModelPlace::of(name) + " was read in part: it cannot be changed or removed.", name);
        }
        return false;
    }

    /// A node that neither the model nor the last read knows stays, whatever its text says.
    [[nodiscard]] bool concerns(const std::string& node) const {
        const bool* const isWritten = find(fModel.nodes, node);
        return (isWritten && *isWritten) || fRead.nodes.count(node) > 0;
    }
    [[nodiscard]] bool isWritten(const std::string& node) const {
        const bool* const written = find(fModel.nodes, node);
        return written && *written;
    }
    [[nodiscard]] const Layout* readMembers(const std::string& structure) const {
        const auto* const found = find(fRead.structures, structure);
        return found ? *found : nullptr;
    }
    [[nodiscard]] const Layout* modelMembers(const std::string& structure) const {
        const auto* const found = find(fModel.structures, structure);
        return found ? *found : nullptr;
    }

    void askForTexts() {
        for (std::size_t number = 0; number < fRecords.size(); ++number) {
            const RecordFacts& record = fRecords[number];
            if (record.text != Text::kNotTried) continue;
            if (record.kind == Kind::kStructure || concerns(record.name)) ask(Fact::kText, number);
        }
    }

    void groupStructures() {
        for (std::size_t number = 0; number < fRecords.size(); ++number) {
            const RecordFacts& record = fRecords[number];
            if (record.kind != Kind::kStructure) continue;
            if (record.text == Text::kNotUnderstood) {
                set(number, Place::kForeign, Reason::kNotUnderstood);
            } else if (isReadable(record)) {
                fStructures[record.name].records.push_back(number);
            } else {
                const bool isNamesake = modelMembers(record.name) != nullptr;
                set(number, isNamesake ? Place::kBehind : Place::kAhead,
                    Reason::kStructureUnreadable);
            }
        }
        for (auto& [name, group] : fStructures) group.change = changeOf(name, group);
    }

    // A filtered read may have taken another record than the one that counts: as long as the caller
    // leaves the structure alone, all of them stay.
    [[nodiscard]] Change changeOf(const std::string& name, const StructureGroup& group) const {
        const Layout* const model = modelMembers(name);
        const Layout* const read = readMembers(name);
        const auto isIn = [&](const Layout* members) {
            return std::any_of(group.records.begin(), group.records.end(), [&](std::size_t r) {
                return haveSameMembers(fRecords[r].members, members);
            });
        };
        const bool fileHasRead = isIn(read);
        if (!model) return fileHasRead ? Change::kErased : Change::kNone;
        if (haveSameMembers(model, fRecords[group.records.front()].members)) return Change::kNone;
        if (haveSameMembers(model, read) && isIn(model)) return Change::kNone;
        return read && !fileHasRead ? Change::kConflict : Change::kChanged;
    }

    void groupNodes() {
        for (std::size_t number = 0; number < fRecords.size(); ++number) {
            const RecordFacts& record = fRecords[number];
            if (record.kind != Kind::kAssociations) continue;
            if (record.text == Text::kNotUnderstood) {
                set(number, Place::kForeign, Reason::kNotUnderstood);
            } else if (!concerns(record.name)) {
                set(number, Place::kAhead, Reason::kNodeOfOthers);
            } else if (isReadable(record)) {
                fNodes[record.name].records.push_back(number);
            } else {
                set(number, isWritten(record.name) ? Place::kBehind : Place::kAhead,
                    Reason::kNodeUnreadable);
            }
        }
        for (auto& [name, group] : fNodes) compareWithModel(name, group);
    }

    // A filtered read may have taken another record than the first: as long as the caller leaves
    // the node alone, all of them stay.
    void compareWithModel(const std::string& name, NodeGroup& group) {
        if (fModel.nodes.count(name) == 0) return;
        const auto same = std::find_if(group.records.begin(), group.records.end(), [this](auto r) {
            return fRecords[r].sameAsModel.value_or(false);
        });
        if (same == group.records.end()) return;
        group.isSame = same == group.records.begin() || isUnedited(name);
        if (!group.isSame) return;
        group.isRewritten = std::any_of(group.records.begin(), group.records.end(), [this](auto r) {
            return fRecords[r].text == Text::kReadableWithModel;
        });
    }

    bool isUnedited(const std::string& name) {
        const ReadFacts::Node* const read = find(fRead.nodes, name);
        if (!read) return false;
        if (!read->unedited) fPlan.questions.push_back({Fact::kUnedited, 0, name});
        return read->unedited.value_or(false);
    }

    /// The record stays for another reason than that the model has the same.
    [[nodiscard]] bool staysByItself(std::size_t number) const {
        const RecordFacts& record = fRecords[number];
        if (record.kind != Kind::kAssociations) return false;
        const NodeGroup* const group =
            isReadable(record) && concerns(record.name) ? find(fNodes, record.name) : nullptr;
        if (!group) return true;
        return group->isSame && (number != group->records.front() || !isWritten(record.name));
    }

    /// False when it has to ask for them.
    bool findUses() {
        std::set<std::string> atStake;
        for (const auto& [name, group] : fStructures) {
            if (group.change != Change::kNone) atStake.insert(name);
        }
        fPlan.structuresAtStake.assign(atStake.begin(), atStake.end());
        if (atStake.empty()) return true;
        for (const bool understood : {true, false}) {
            for (std::size_t number = 0; number < fRecords.size(); ++number) {
                const RecordFacts& record = fRecords[number];
                if ((record.text != Text::kNotUnderstood) != understood) continue;
                if (!staysByItself(number)) continue;
                if (!record.uses) ask(Fact::kUses, number);
                if (record.uses) noteUses(*record.uses);
            }
        }
        return fPlan.questions.empty();
    }

    void noteUses(const std::vector<StructureUse>& uses) {
        for (const StructureUse& use : uses) {
            const auto group = fStructures.find(use.structure);
            if (group == fStructures.end() || group->second.change == Change::kNone) continue;
            if (!group->second.use) group->second.use = &use;
        }
    }

    // What somebody else put in the place of what was read is not the caller's to remove.
    void settleStructures() {
        for (auto& [name, group] : fStructures) {
            if (group.use && group.change == Change::kErased && !newNameOf(name)) {
                group.change = Change::kNeeded;
            }
            for (const std::size_t record : group.records) settle(record, name, group);
            if (!group.isLost()) fPlan.structuresOfTheFile.emplace(name, group.records.front());
        }
    }

    void settle(std::size_t record, const std::string& name, const StructureGroup& group) {
        switch (group.change) {
            case Change::kNone:
                if (!modelMembers(name)) {
                    set(record, Place::kAhead, Reason::kStructureOfOthers);
                } else {
                    const bool counts = record == group.records.front();
                    set(record, Place::kInPlace,
                        counts ? Reason::kStructureSame : Reason::kStructureDuplicateSame);
                }
                break;
            case Change::kNeeded:
                set(record, Place::kAhead, Reason::kStructureNeeded);
                break;
            case Change::kConflict:
                set(record, Place::kBehind, Reason::kStructureConflict);
                break;
            case Change::kErased:
                set(record, Place::kGone, Reason::kStructureErased);
                break;
            case Change::kChanged:
                set(record, Place::kGone, Reason::kStructureChanged);
                break;
        }
    }

    // Null unless the model has a structure that begins like the one that is gone, and that neither
    // the file nor the last read knows.
    [[nodiscard]] const std::string* newNameOf(const std::string& name) const {
        const Layout* const read = readMembers(name);
        if (!read) return nullptr;
        for (const auto& [other, members] : fModel.structures) {
            if (fStructures.count(other) > 0 || readMembers(other)) continue;
            if (beginsWith(*members, *read)) return &other;
        }
        return nullptr;
    }

    bool refuses() {
        if (refusesChangeOfUsed()) return true;
        return fPolicy.careful && (refusesStructures() || refusesNodes());
    }

    bool refusesChangeOfUsed() {
        for (const auto& [name, group] : fStructures) {
            if (!group.use || group.change == Change::kNeeded) continue;
            const std::string* const newName =
                group.change == Change::kErased ? newNameOf(name) : nullptr;
            return refuse(quoted(name) + " cannot be " +
                              (newName ? "renamed to '" + *newName + "'" : "changed") + ": " +
                              group.use->words + " stays as it is in the file and needs it",
                          group.use->node, group.use->where);
        }
        return false;
    }

    bool refusesStructures() {
        for (const auto& [name, group] : fStructures) {
            if (group.change == Change::kConflict) {
                return refuse(quoted(name) + " in the file is another one than was read");
            }
            if (group.isErasedOrChanged() && group.records.size() > 1) {
                return refuse(quoted(name) + " is in the file " +
                              std::to_string(group.records.size()) +
                              " times; a change would drop the others");
            }
        }
        return false;
    }

    bool refusesNodes() {
        for (const auto& [name, group] : fNodes) {
            if (!group.dropsOthers()) continue;
            return refuse(ModelPlace::of(name) + " has " + std::to_string(group.records.size()) +
                              " records in the file; a change would drop the others",
                          name);
        }
        return false;
    }

    [[nodiscard]] bool isLost(const std::string& structure) const {
        const StructureGroup* const group = find(fStructures, structure);
        return group && group->isLost();
    }

    /// A node that the model has as well is written anew if its old text names a structure that is
    /// lost: nobody could read it. False when it has to ask for the names.
    bool findRewrittenNodes() {
        const bool losesAny = std::any_of(fStructures.begin(), fStructures.end(),
                                          [](const auto& each) { return each.second.isLost(); });
        if (!losesAny) return true;
        for (auto& [name, group] : fNodes) {
            if (!group.isSame || !isWritten(name)) continue;
            const std::size_t first = group.records.front();
            if (!fRecords[first].mentions) {
                ask(Fact::kMentions, first);
                continue;
            }
            const std::vector<std::string>& names = *fRecords[first].mentions;
            group.isRewritten =
                group.isRewritten || std::any_of(names.begin(), names.end(),
                                                 [this](const auto& n) { return isLost(n); });
        }
        return fPlan.questions.empty();
    }

    void settleNodes() {
        for (const auto& [name, group] : fNodes) {
            for (const std::size_t record : group.records) settle(record, name, group);
        }
    }

    void settle(std::size_t record, const std::string& name, const NodeGroup& group) {
        const bool isFirst = record == group.records.front();
        if (!group.isSame) {
            set(record, Place::kGone,
                isWritten(name) ? Reason::kNodeChanged : Reason::kNodeRemoved);
        } else if (!isWritten(name)) {
            set(record, Place::kAhead, Reason::kNodeEmptySame);
        } else if (group.isRewritten) {
            set(record, isFirst ? Place::kGone : Place::kBehind, Reason::kNodeSameInOtherWords);
        } else {
            set(record, Place::kInPlace, Reason::kNodeSame);
        }
    }

    [[nodiscard]] bool isInModel(const RecordFacts& record) const {
        return record.kind == Kind::kStructure ? modelMembers(record.name) != nullptr
                                               : isWritten(record.name);
    }

    // What the caller removed goes with all that its statement held.
    bool refusesLosses() {
        for (std::size_t number = 0; number < fRecords.size(); ++number) {
            const RecordFacts& record = fRecords[number];
            if (record.plain || fPlaces[number] != Place::kGone || !isInModel(record)) continue;
            const bool isStructure = record.kind == Kind::kStructure;
            const std::string message =
                (isStructure ? quoted(record.name) : ModelPlace::of(record.name)) +
                ": its statement holds more than is written of it";
            if (fPolicy.careful) {
                refuse(message);
                if (!isStructure) fPlan.refusal->node = record.name;
                return true;
            }
            fPlan.findings.add(Code::kTextPassedOver, message, subjectOf(record));
        }
        return false;
    }

    static SceneRecord subjectOf(const RecordFacts& record) {
        SceneRecord subject;
        subject.kind = record.kind;
        subject.name = record.name;
        subject.place = record.place;
        return subject;
    }

    /// What an earlier write stored although nobody can read it is replaced all the same. False
    /// when it has to ask.
    bool dropRepeated() {
        for (std::size_t number = 0; number < fRecords.size(); ++number) {
            const RecordFacts& record = fRecords[number];
            if (record.text != Text::kUnreadable) continue;
            if (record.kind == Kind::kAssociations && !isWritten(record.name)) continue;
            if (record.kind == Kind::kStructure && fModel.structures.empty()) continue;
            if (!record.repeatsModel) ask(Fact::kRepeatsModel, number);
            if (record.repeatsModel.value_or(false)) {
                set(number, Place::kGone, Reason::kRepeatsModel);
            }
        }
        return fPlan.questions.empty();
    }

    void addFindings() {
        for (const auto& [name, group] : fStructures) addFindings(name, group);
        for (const auto& [name, group] : fNodes) {
            if (!group.dropsOthers()) continue;
            SceneRecord subject;
            subject.kind = Kind::kAssociations;
            subject.name = name;
            for (std::size_t other = 1; other < group.records.size(); ++other) {
                fPlan.findings.add(
                    Code::kRecordDropped,
                    "Another record of " + ModelPlace::of(name) + " goes from the file", subject);
            }
        }
    }

    void addFindings(const std::string& name, const StructureGroup& group) {
        if (group.change == Change::kNeeded) {
            fPlan.findings.add(Code::kStructureKept, quoted(name) + " stays in the file: " +
                                                         group.use->words + " needs it");
        }
        if (group.change == Change::kConflict) {
            fPlan.findings.add(Code::kStructureDiffers,
                               quoted(name) +
                                   " in the file is another one than was read; it stays, "
                                   "behind the one that is written");
        }
        if (!group.isErasedOrChanged()) return;
        for (std::size_t other = 1; other < group.records.size(); ++other) {
            fPlan.findings.add(Code::kRecordDropped,
                               "Another record of structure '" + name + "' goes from the file");
        }
    }

    void set(std::size_t record, Place place, Reason reason) {
        fPlaces[record] = place;
        fReasons[record] = reason;
    }

    void listItems() {
        listKept(Kind::kStructure, Place::kAhead);
        for (const auto& [name, members] : fModel.structures) listModel(Kind::kStructure, name);
        listKept(Kind::kStructure, Place::kBehind);
        listKept(Kind::kAssociations, Place::kAhead);
        if (fPolicy.sceneFirst && isWritten({})) listModel(Kind::kAssociations, {});
        for (const auto& [name, isWritten] : fModel.nodes) {
            if (isWritten && !name.empty()) listModel(Kind::kAssociations, name);
        }
        if (!fPolicy.sceneFirst && isWritten({})) listModel(Kind::kAssociations, {});
        listKept(Kind::kAssociations, Place::kBehind);
        for (std::size_t number = 0; number < fRecords.size(); ++number) {
            if (fPlaces[number] == Place::kGone) list(Action::kDrop, number);
        }
    }

    void listKept(Kind kind, Place place) {
        for (std::size_t number = 0; number < fRecords.size(); ++number) {
            if (fRecords[number].kind != kind || fPlaces[number] != place) continue;
            list(Action::kKeep, number);
        }
    }

    void list(Action action, std::size_t record) {
        fPlan.items.push_back({action, fReasons[record], fRecords[record].kind, record, {}, false});
    }

    /// The records of the file that share the name; empty without any.
    [[nodiscard]] const std::vector<std::size_t>& recordsOf(Kind kind,
                                                            const std::string& name) const {
        static const std::vector<std::size_t> none;
        if (kind == Kind::kStructure) {
            const StructureGroup* const group = find(fStructures, name);
            return group ? group->records : none;
        }
        const NodeGroup* const group = find(fNodes, name);
        return group ? group->records : none;
    }

    /// The model's record, or in its place those of the file that say the same.
    void listModel(Kind kind, const std::string& name) {
        const bool isStructure = kind == Kind::kStructure;
        const std::vector<std::size_t>& records = recordsOf(kind, name);
        Item item{Action::kAdd, isStructure ? Reason::kStructureNew : Reason::kNodeNew,
                  kind,         {},
                  name,         !isStructure && name.empty()};
        if (!records.empty()) {
            item.reason = fReasons[records.front()];
            const Place place = fPlaces[records.front()];
            if (place == Place::kInPlace && !fPolicy.rewritesAll) {
                item.action = Action::kKeep;
                for (const std::size_t record : records) {
                    item.record = record;
                    fPlan.items.push_back(item);
                }
                return;
            }
            if (place != Place::kBehind) item.action = Action::kRewrite;
        }
        fPlan.items.push_back(std::move(item));
    }

    const std::vector<RecordFacts>& fRecords;
    const ReadFacts& fRead;
    const ModelFacts& fModel;
    const Policy& fPolicy;
    std::map<std::string, StructureGroup> fStructures;
    std::map<std::string, NodeGroup> fNodes;
    std::vector<Place> fPlaces;
    std::vector<Reason> fReasons;
    Plan fPlan;
};

}  // namespace

const char* nameOf(Reason reason) {
    switch (reason) {
        case Reason::kStructureUnreadable:
            return "structure-unreadable";
        case Reason::kStructureOfOthers:
            return "structure-of-others";
        case Reason::kStructureErased:
            return "structure-erased";
        case Reason::kStructureNeeded:
            return "structure-needed";
        case Reason::kStructureSame:
            return "structure-same";
        case Reason::kStructureDuplicateSame:
            return "structure-duplicate";
        case Reason::kStructureChanged:
            return "structure-changed";
        case Reason::kStructureConflict:
            return "structure-conflict";
        case Reason::kStructureNew:
            return "structure-new";
        case Reason::kNotUnderstood:
            return "not-understood";
        case Reason::kNodeOfOthers:
            return "node-of-others";
        case Reason::kNodeUnreadable:
            return "node-unreadable";
        case Reason::kNodeSame:
            return "node-same";
        case Reason::kNodeEmptySame:
            return "node-empty";
        case Reason::kNodeSameInOtherWords:
            return "node-in-other-words";
        case Reason::kNodeRemoved:
            return "node-removed";
        case Reason::kNodeChanged:
            return "node-changed";
        case Reason::kNodeNew:
            return "node-new";
        case Reason::kRepeatsModel:
            return "repeats-the-model";
    }
    return "";
}

Plan merge(const std::vector<RecordFacts>& records, const ReadFacts& read, const ModelFacts& model,
           const Policy& policy) {
    return Merger(records, read, model, policy).plan();
}

}  // namespace orbo::Data::Merge
