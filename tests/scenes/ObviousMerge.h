// Another `Merge::merge`, slow and obvious: it decides about each record by a look at all others.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "scenes/MergeCase.h"

namespace orbo::Data {

/// Follows the table in docs/architecture.md, and knows all facts from the start. Equal layouts are
/// the same object.
class ObviousMerge {
  public:
    explicit ObviousMerge(const MergeCase& mergeCase) : fCase(mergeCase) {
        for (std::size_t number = 0; number < fCase.records.size(); ++number) {
            const bool isNode = record(number).kind == Kind::kAssociations;
            (isNode ? fNodes : fStructures).insert(record(number).name);
        }
    }

    /// Without questions and what is only for answering them.
    Merge::Plan plan() {
        Merge::Plan plan;
        if ((plan.refusal = refusalIn(plan.findings))) return plan;
        for (const std::string& name : fStructures) addFindingsOfStructure(name, plan.findings);
        for (const std::string& name : fNodes) addFindingsOfNode(name, plan.findings);
        listItems(plan.items);
        for (const std::string& name : fStructures) {
            const Numbers all = readable(Kind::kStructure, name);
            if (!all.empty() && !isLost(name)) plan.structuresOfTheFile[name] = all.front();
        }
        return plan;
    }

  private:
    using Kind = SceneRecord::Kind;
    using Text = MergeCase::Text;
    using Reason = Merge::Reason;
    using Action = Merge::Action;
    using Numbers = std::vector<std::size_t>;

    // --- what the facts say

    [[nodiscard]] const Merge::RecordFacts& record(std::size_t number) const {
        return fCase.records[number];
    }
    [[nodiscard]] const Layout* modelHas(const std::string& structure) const {
        const auto found = fCase.model.structures.find(structure);
        return found == fCase.model.structures.end() ? nullptr : found->second;
    }
    [[nodiscard]] const Layout* readHad(const std::string& structure) const {
        const auto found = fCase.read.structures.find(structure);
        return found == fCase.read.structures.end() ? nullptr : found->second;
    }
    [[nodiscard]] bool modelHasContent(const std::string& node) const {
        const auto found = fCase.model.nodes.find(node);
        return found != fCase.model.nodes.end() && found->second;
    }
    [[nodiscard]] bool wasRead(const std::string& node) const {
        return fCase.read.nodes.count(node) > 0;
    }
    [[nodiscard]] bool isUnedited(const std::string& node) const {
        return wasRead(node) && fCase.read.nodes.at(node).unedited.value();
    }
    [[nodiscard]] bool isOfOthers(const std::string& node) const {
        return !modelHasContent(node) && !wasRead(node);
    }
    [[nodiscard]] Numbers readable(Kind kind, const std::string& name) const {
        Numbers numbers;
        numbers.reserve(fCase.records.size());
        for (std::size_t number = 0; number < fCase.records.size(); ++number) {
            const Text text = record(number).text;
            const bool isReadable = text == Text::kReadable || text == Text::kReadableWithModel;
            if (record(number).kind != kind || record(number).name != name) continue;
            if (isReadable) numbers.push_back(number);
        }
        return numbers;
    }

    // --- structures

    [[nodiscard]] bool fileHasWhatWasRead(const std::string& name) const {
        for (const std::size_t each : readable(Kind::kStructure, name)) {
            if (record(each).members == readHad(name)) return true;
        }
        return false;
    }
    /// The row, before anybody asks who uses the structure.
    [[nodiscard]] Reason wishFor(const std::string& name) const {
        const Layout* const first = record(readable(Kind::kStructure, name).front()).members;
        if (!modelHas(name)) {
            return fileHasWhatWasRead(name) ? Reason::kStructureErased : Reason::kStructureOfOthers;
        }
        const bool isLeftAlone = modelHas(name) == readHad(name) && fileHasWhatWasRead(name);
        if (modelHas(name) == first || isLeftAlone) return Reason::kStructureSame;
        const bool othersChangedIt = readHad(name) && !fileHasWhatWasRead(name);
        return othersChangedIt ? Reason::kStructureConflict : Reason::kStructureChanged;
    }
    [[nodiscard]] Reason reasonOfStructure(const std::string& name) const {
        const Reason wish = wishFor(name);
        const bool isNeeded = wish == Reason::kStructureErased && firstUse(name) && !newName(name);
        return isNeeded ? Reason::kStructureNeeded : wish;
    }
    [[nodiscard]] bool isLost(const std::string& name) const {
        if (readable(Kind::kStructure, name).empty()) return false;
        const Reason reason = reasonOfStructure(name);
        return reason == Reason::kStructureErased || reason == Reason::kStructureChanged ||
               reason == Reason::kStructureConflict;
    }
    [[nodiscard]] std::optional<std::string> newName(const std::string& name) const {
        const std::vector<Member>& old = readHad(name)->members();
        for (const auto& [other, layout] : fCase.model.structures) {
            if (!readable(Kind::kStructure, other).empty() || readHad(other)) continue;
            std::vector<Member> front = layout->members();
            if (front.size() < old.size()) continue;
            front.erase(front.begin() + static_cast<std::ptrdiff_t>(old.size()), front.end());
            if (front == old) return other;
        }
        return std::nullopt;
    }
    /// By a record that keeps its bytes although the model does not have its content.
    [[nodiscard]] const StructureUse* firstUse(const std::string& structure) const {
        for (const bool isUnderstood : {true, false}) {
            for (std::size_t number = 0; number < fCase.records.size(); ++number) {
                const Merge::RecordFacts& user = record(number);
                if ((user.text != Text::kNotUnderstood) != isUnderstood) continue;
                if (user.kind != Kind::kAssociations || !keepsItsMeaning(number)) continue;
                for (const StructureUse& use : *user.uses) {
                    if (use.structure == structure) return &use;
                }
            }
        }
        return nullptr;
    }

    // --- nodes

    /// The record that has the model's content, of a node that is the same.
    [[nodiscard]] std::optional<std::size_t> sameRecord(const std::string& node) const {
        if (isOfOthers(node)) return std::nullopt;
        const Numbers all = readable(Kind::kAssociations, node);
        for (const std::size_t each : all) {
            if (!*record(each).sameAsModel) continue;
            if (each == all.front() || isUnedited(node)) return each;
            return std::nullopt;
        }
        return std::nullopt;
    }
    [[nodiscard]] bool repeatsTheModel(std::size_t number) const {
        const Merge::RecordFacts& unread = record(number);
        if (unread.text != Text::kUnreadable || !*unread.repeatsModel) return false;
        return unread.kind == Kind::kStructure ? !fCase.model.structures.empty()
                                               : modelHasContent(unread.name);
    }
    [[nodiscard]] bool keepsItsMeaning(std::size_t number) const {
        const Merge::RecordFacts& node = record(number);
        if (node.text == Text::kNotUnderstood || isOfOthers(node.name)) return true;
        if (node.text == Text::kUnreadable) return !repeatsTheModel(number);
        const auto same = sameRecord(node.name);
        return same && (*same != number || !modelHasContent(node.name));
    }
    [[nodiscard]] bool needsOtherWords(const std::string& node) const {
        const auto same = sameRecord(node);
        if (!same || !modelHasContent(node)) return false;
        if (record(*same).text == Text::kReadableWithModel) return true;
        for (const std::string& structure : *record(*same).mentions) {
            if (isLost(structure)) return true;
        }
        return false;
    }

    // --- the row of each record

    [[nodiscard]] Reason rowOf(std::size_t number) const {
        const Merge::RecordFacts& each = record(number);
        if (each.text == Text::kNotUnderstood) return Reason::kNotUnderstood;
        if (repeatsTheModel(number)) return Reason::kRepeatsTheModel;
        if (isGone(number) && !each.plain && modelHasIt(each)) return Reason::kHoldsMore;
        return rowOfContent(number);
    }
    [[nodiscard]] bool modelHasIt(const Merge::RecordFacts& each) const {
        return each.kind == Kind::kStructure ? modelHas(each.name) != nullptr
                                             : modelHasContent(each.name);
    }
    [[nodiscard]] Reason rowOfContent(std::size_t number) const {
        const Merge::RecordFacts& each = record(number);
        if (each.kind == Kind::kStructure) {
            return each.text == Text::kUnreadable ? Reason::kStructureUnreadable
                                                  : reasonOfStructure(each.name);
        }
        if (fCase.read.partialNodes.count(each.name) > 0) return Reason::kNodeInPart;
        if (isOfOthers(each.name)) return Reason::kNodeOfOthers;
        if (each.text == Text::kUnreadable) return Reason::kNodeUnreadable;
        const bool hasContent = modelHasContent(each.name);
        if (!sameRecord(each.name)) return hasContent ? Reason::kNodeChanged : Reason::kNodeRemoved;
        if (!hasContent) return Reason::kNodeEmpty;
        return needsOtherWords(each.name) ? Reason::kNodeInOtherWords : Reason::kNodeSame;
    }
    /// The file's bytes go, whether or not the model's come in their place.
    [[nodiscard]] bool isGone(std::size_t number) const {
        const Merge::RecordFacts& each = record(number);
        if (each.text == Text::kNotUnderstood) return false;
        if (repeatsTheModel(number)) return true;
        switch (rowOfContent(number)) {
            case Reason::kStructureErased:
            case Reason::kStructureChanged:
            case Reason::kNodeRemoved:
            case Reason::kNodeChanged:
                return true;
            case Reason::kNodeInOtherWords:
                return number == *sameRecord(each.name);
            default:
                return false;
        }
    }

    // --- refusals and findings

    static Finding failure(const std::string& message) {
        Finding finding;
        finding.code = Finding::Code::kWriteFailed;
        finding.message = message;
        return finding;
    }
    static std::string words(Kind kind, const std::string& name) {
        if (kind == Kind::kStructure) return "Structure '" + name + "'";
        return name.empty() ? "Scene" : "Node '" + name + "'";
    }

    std::optional<Finding> refusalIn(Findings& findings) const {
        if (auto refusal = refusalOfParts()) return refusal;
        if (auto refusal = refusalOfUsed()) return refusal;
        if (fCase.policy.careful) {
            if (auto refusal = refusalOfStructures()) return refusal;
            if (auto refusal = refusalOfNodes()) return refusal;
        }
        for (std::size_t number = 0; number < fCase.records.size(); ++number) {
            if (rowOf(number) != Reason::kHoldsMore) continue;
            const Merge::RecordFacts& each = record(number);
            Finding finding = failure(words(each.kind, each.name) +
                                      ": its statement holds more than is written of it");
            if (each.kind == Kind::kAssociations) finding.node = each.name;
            if (fCase.policy.careful) return finding;
            finding.code = Finding::Code::kTextPassedOver;
            findings.take(finding);
        }
        return std::nullopt;
    }
    [[nodiscard]] std::optional<Finding> refusalOfParts() const {
        for (const auto& [name, isEdited] : fCase.read.partialNodes) {
            if (!isEdited) continue;
            Finding refusal = failure(words(Kind::kAssociations, name) +
                                      " was read in part: it cannot be changed or removed.");
            refusal.node = name;
            return refusal;
        }
        return std::nullopt;
    }
    [[nodiscard]] std::optional<Finding> refusalOfUsed() const {
        for (const std::string& name : fStructures) {
            const StructureUse* const use = isLost(name) ? firstUse(name) : nullptr;
            if (!use) continue;
            const bool isErased = wishFor(name) == Reason::kStructureErased;
            const std::string done = isErased ? "renamed to '" + *newName(name) + "'" : "changed";
            Finding refusal = failure(words(Kind::kStructure, name) + " cannot be " + done + ": " +
                                      use->words + " stays as it is in the file and needs it");
            refusal.node = use->node;
            return refusal;
        }
        return std::nullopt;
    }
    [[nodiscard]] std::optional<Finding> refusalOfStructures() const {
        for (const std::string& name : fStructures) {
            if (!isLost(name)) continue;
            if (reasonOfStructure(name) == Reason::kStructureConflict) {
                return failure(words(Kind::kStructure, name) +
                               " in the file is another one than was read");
            }
            const std::size_t count = readable(Kind::kStructure, name).size();
            if (count == 1) continue;
            return failure(words(Kind::kStructure, name) + " is in the file " +
                           std::to_string(count) + " times; a change would drop the others");
        }
        return std::nullopt;
    }
    [[nodiscard]] std::optional<Finding> refusalOfNodes() const {
        for (const std::string& name : fNodes) {
            const std::size_t count = readable(Kind::kAssociations, name).size();
            if (isOfOthers(name) || sameRecord(name) || count < 2) continue;
            Finding refusal =
                failure(words(Kind::kAssociations, name) + " has " + std::to_string(count) +
                        " records in the file; a change would drop the others");
            refusal.node = name;
            return refusal;
        }
        return std::nullopt;
    }
    void addFindingsOfStructure(const std::string& name, Findings& findings) const {
        using Code = Finding::Code;
        const Numbers all = readable(Kind::kStructure, name);
        if (all.empty()) return;
        const std::string structure = words(Kind::kStructure, name);
        switch (reasonOfStructure(name)) {
            case Reason::kStructureNeeded:
                findings.add(Code::kStructureKept, structure + " stays in the file: " +
                                                       firstUse(name)->words + " needs it");
                break;
            case Reason::kStructureConflict:
                findings.add(Code::kStructureDiffers,
                             structure +
                                 " in the file is another one than was read; it stays, behind the "
                                 "one that is written");
                break;
            case Reason::kStructureErased:
            case Reason::kStructureChanged:
                for (std::size_t other = 1; other < all.size(); ++other) {
                    findings.add(Code::kRecordDropped,
                                 "Another record of structure '" + name + "' goes from the file");
                }
                break;
            default:
                break;
        }
    }
    void addFindingsOfNode(const std::string& name, Findings& findings) const {
        if (isOfOthers(name) || sameRecord(name)) return;
        const std::size_t count = readable(Kind::kAssociations, name).size();
        for (std::size_t other = 1; other < count; ++other) {
            Finding finding = failure("Another record of " + words(Kind::kAssociations, name) +
                                      " goes from the file");
            finding.code = Finding::Code::kRecordDropped;
            finding.node = name;
            findings.take(finding);
        }
    }

    // --- the order

    enum class Spot { kAhead, kInPlace, kBehind, kNowhere };

    [[nodiscard]] Spot spotOf(std::size_t number) const {
        const Merge::RecordFacts& each = record(number);
        if (each.text == Text::kNotUnderstood || isGone(number)) return Spot::kNowhere;
        switch (rowOf(number)) {
            case Reason::kStructureSame:
            case Reason::kNodeSame:
            case Reason::kNodeInOtherWords:
                return fCase.policy.rewritesAll ? Spot::kNowhere : Spot::kInPlace;
            case Reason::kStructureConflict:
                return Spot::kBehind;
            case Reason::kStructureUnreadable:
            case Reason::kNodeUnreadable:
                return modelHasIt(each) ? Spot::kBehind : Spot::kAhead;
            default:
                return Spot::kAhead;
        }
    }
    void listItems(std::vector<Merge::Item>& items) const {
        listKept(items, Kind::kStructure, Spot::kAhead);
        for (const auto& each : fCase.model.structures) {
            listModel(items, Kind::kStructure, each.first);
        }
        listKept(items, Kind::kStructure, Spot::kBehind);
        listKept(items, Kind::kAssociations, Spot::kAhead);
        std::vector<std::string> nodes;
        for (const auto& [name, hasContent] : fCase.model.nodes) {
            if (hasContent) nodes.push_back(name);
        }
        // The scene has the least of all names.
        const bool hasScene = !nodes.empty() && nodes.front().empty();
        if (hasScene && !fCase.policy.sceneFirst) {
            std::rotate(nodes.begin(), nodes.begin() + 1, nodes.end());
        }
        for (const std::string& name : nodes) listModel(items, Kind::kAssociations, name);
        listKept(items, Kind::kAssociations, Spot::kBehind);
        for (std::size_t number = 0; number < fCase.records.size(); ++number) {
            if (record(number).text == Text::kNotUnderstood) continue;
            if (spotOf(number) == Spot::kNowhere) items.push_back(itemOf(Action::kDrop, number));
        }
    }
    void listKept(std::vector<Merge::Item>& items, Kind kind, Spot spot) const {
        for (std::size_t number = 0; number < fCase.records.size(); ++number) {
            if (record(number).kind != kind || spotOf(number) != spot) continue;
            items.push_back(itemOf(Action::kKeep, number));
        }
    }
    [[nodiscard]] Merge::Item itemOf(Action action, std::size_t number) const {
        Merge::Item item;
        item.action = action;
        item.reason = rowOf(number);
        item.kind = record(number).kind;
        item.record = number;
        return item;
    }
    void listModel(std::vector<Merge::Item>& items, Kind kind, const std::string& name) const {
        Merge::Item item;
        item.action = Action::kAdd;
        item.reason = kind == Kind::kStructure ? Reason::kStructureNew : Reason::kNodeNew;
        item.kind = kind;
        item.name = name;
        item.isScene = kind == Kind::kAssociations && name.empty();
        bool isKept = false;
        bool isReplaced = false;
        for (const std::size_t number : readable(kind, name)) {
            const Spot spot = spotOf(number);
            item.reason = rowOf(number);
            if (spot == Spot::kInPlace) {
                items.push_back(item);
                items.back().action = Action::kKeep;
                items.back().record = number;
                isKept = true;
            } else if (spot == Spot::kNowhere && !isReplaced) {
                items.push_back(item);
                items.back().action = Action::kRewrite;
                isReplaced = true;
            }
        }
        if (!isKept && !isReplaced) items.push_back(item);
    }

    const MergeCase& fCase;
    std::set<std::string> fStructures;  // names in the file
    std::set<std::string> fNodes;
};

}  // namespace orbo::Data
