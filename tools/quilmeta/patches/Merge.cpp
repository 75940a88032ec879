// Merges what two sides changed of the same metadata.
// SPDX-License-Identifier: Apache-2.0
#include "patches/Merge.h"

#include "json/JsonText.h"

#include <map>
#include <string_view>

namespace orbo::Quilmeta {

namespace {

using Kind = Change::Kind;

/// The changes of one side by their place. The key of a part begins with the key of the whole: line
/// feeds, which names in JSON have none of, stand between the names.
class ChangesByPlace {
  public:
    explicit ChangesByPlace(const Patch& patch) {
        for (const Change& change : patch.changes)
            fChanges.emplace(keyOf(change, change.kind), &change);
    }

    /// The change of the same place.
    [[nodiscard]] const Change* same(const Change& change) const {
        return at(keyOf(change, change.kind));
    }
    /// A change of the whole that `change` is about a part of, or of a part of it.
    [[nodiscard]] const Change* overlapping(const Change& change) const {
        if (change.kind == Kind::kStructure) return nullptr;
        if (change.kind == Kind::kSet)
            if (const Change* whole = at(keyOf(change, Kind::kElement))) return whole;
        if (change.kind != Kind::kStream)
            if (const Change* whole = at(keyOf(change, Kind::kStream))) return whole;
        const std::string start = keyOf(change, change.kind) + '\n';
        const auto part = fChanges.lower_bound(start);
        const bool isPart =
            part != fChanges.end() && part->first.compare(0, start.size(), start) == 0;
        return isPart ? part->second : nullptr;
    }

  private:
    static std::string keyOf(const Change& change, Kind depth) {
        std::string key;
        const auto add = [&](std::string_view name) {
            key += '\n';
            appendJson(key, name);
        };
        if (depth == Kind::kStructure) return add(change.structure), key;
        key = "s";
        add(change.node);
        add(change.channel);
        add(change.stream);
        if (depth != Kind::kStream) key += '\n' + change.index;
        if (depth == Kind::kSet) add(change.member);
        return key;
    }

    [[nodiscard]] const Change* at(const std::string& key) const {
        const auto found = fChanges.find(key);
        return found == fChanges.end() ? nullptr : found->second;
    }

    std::map<std::string, const Change*> fChanges;
};

/// Shows what a side made of the place of the conflict.
std::string sideText(const Change& change, const std::string& place) {
    if (change.place() == place) return change.after;
    return (change.removes() ? "removed " : change.adds() ? "added " : "changed ") + change.place();
}

}  // namespace

const Change& partOf(const MergeConflict& conflict) {
    return conflict.ours.kind < conflict.theirs.kind ? conflict.ours : conflict.theirs;
}

MergePlan planMerge(const Patch& ours, const Patch& theirs) {
    const ChangesByPlace our(ours);
    const ChangesByPlace their(theirs);
    MergePlan plan;
    for (const Change& change : theirs.changes) {
        const Change* other = our.same(change);
        if (other && other->after == change.after) continue;
        if (!other) other = our.overlapping(change);
        if (other)
            plan.conflicts.push_back({*other, change});
        else
            plan.toOurs.changes.push_back(change);
    }
    for (const Change& change : ours.changes)
        if (!their.same(change) && !their.overlapping(change))
            plan.toTheirs.changes.push_back(change);
    return plan;
}

std::string textOf(const MergeConflict& conflict) {
    const Change& part = partOf(conflict);
    const std::string place = part.place();
    return "conflict: " + place + "\n  base:   " + part.before +
           "\n  ours:   " + sideText(conflict.ours, place) +
           "\n  theirs: " + sideText(conflict.theirs, place) + '\n';
}

JsonObject jsonOf(const MergeConflict& conflict) {
    const Change& part = partOf(conflict);
    const auto sideOf = [&](const Change& change) {
        return change.kind == part.kind ? change.after : jsonOf(change).text();
    };
    return placeJsonOf(part, "conflict")
        .addJson("base", part.before)
        .addJson("ours", sideOf(conflict.ours))
        .addJson("theirs", sideOf(conflict.theirs));
}

}  // namespace orbo::Quilmeta
