// Puts the records of a new section in their order.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/writing/MergeOrder.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>

namespace orbo::Data::Merge {

namespace {

class ItemList {
  public:
    ItemList(const Facts& facts, const Fates& fates) : fFacts(facts), fFates(fates) {}

    void addKept(Kind kind, Place place) {
        for (std::size_t number = 0; number < fFates.size(); ++number) {
            if (fFacts.records[number].kind != kind || fFates[number].place != place) continue;
            add(Action::kKeep, number);
        }
    }

    /// The model's record, among those of the file that stay in its place.
    void addModel(Kind kind, const std::string& name, const std::vector<std::size_t>& inFile) {
        const bool isStructure = kind == Kind::kStructure;
        Item item;
        item.action = Action::kAdd;
        item.reason = isStructure ? Reason::kStructureNew : Reason::kNodeNew;
        item.kind = kind;
        item.name = name;
        item.isScene = !isStructure && name.empty();
        const auto replaced = std::find_if(inFile.begin(), inFile.end(),
                                           [this](auto record) { return isReplaced(record); });
        const std::size_t count = fItems.size();
        for (auto record = inFile.begin(); record != inFile.end(); ++record) {
            item.reason = fFates[*record].reason;
            if (record == replaced) {
                fItems.push_back(item);
                fItems.back().action = Action::kRewrite;
            } else if (staysInPlace(*record)) {
                fItems.push_back(item);
                fItems.back().action = Action::kKeep;
                fItems.back().record = *record;
            }
        }
        if (fItems.size() == count) fItems.push_back(std::move(item));
    }

    void addDropped() {
        for (std::size_t number = 0; number < fFates.size(); ++number) {
            if (isReplaced(number)) add(Action::kDrop, number);
        }
    }

    std::vector<Item> take() { return std::move(fItems); }

  private:
    [[nodiscard]] bool staysInPlace(std::size_t record) const {
        return fFates[record].place == Place::kInPlace && !fFacts.policy.rewritesAll;
    }
    /// Or removed.
    [[nodiscard]] bool isReplaced(std::size_t record) const {
        const Place place = fFates[record].place;
        return place == Place::kGone || (place == Place::kInPlace && fFacts.policy.rewritesAll);
    }
    void add(Action action, std::size_t record) {
        Item item;
        item.action = action;
        item.reason = fFates[record].reason;
        item.kind = fFacts.records[record].kind;
        item.record = record;
        fItems.push_back(std::move(item));
    }

    const Facts& fFacts;
    const Fates& fFates;
    std::vector<Item> fItems;
};

}  // namespace

std::vector<Item> itemsInOrder(const Facts& facts, const Fates& fates,
                               const StructureDecision& structures, const NodeDecision& nodes) {
    ItemList list(facts, fates);
    const auto addScene = [&] {
        if (facts.isWritten({})) list.addModel(Kind::kAssociations, {}, nodes.recordsOf({}));
    };
    list.addKept(Kind::kStructure, Place::kAhead);
    for (const auto& structure : facts.model.structures) {
        list.addModel(Kind::kStructure, structure.first, structures.recordsOf(structure.first));
    }
    list.addKept(Kind::kStructure, Place::kBehind);
    list.addKept(Kind::kAssociations, Place::kAhead);
    if (facts.policy.sceneFirst) addScene();
    for (const auto& [name, isWritten] : facts.model.nodes) {
        if (isWritten && !name.empty()) {
            list.addModel(Kind::kAssociations, name, nodes.recordsOf(name));
        }
    }
    if (!facts.policy.sceneFirst) addScene();
    list.addKept(Kind::kAssociations, Place::kBehind);
    list.addDropped();
    return list.take();
}

}  // namespace orbo::Data::Merge
