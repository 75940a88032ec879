// What holds for every decision about records, on a million random small cases.
// SPDX-License-Identifier: Apache-2.0
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "scenes/MergeCase.h"
#include "scenes/ObviousMerge.h"

namespace orbo::Data {
namespace {

using Kind = SceneRecord::Kind;
using Text = MergeCase::Text;
using Merge::Action;
using Merge::Reason;

/// Cases with up to five records, two names of structures, a node and the scene. Contents of nodes
/// are numbers; 0 is no content.
class RandomCase {
  public:
    explicit RandomCase(std::uint64_t seed) : fState(seed * 0x9E3779B97F4A7C15U + 1) {
        for (const char* const name : {"A", "B"}) addStructure(name);
        for (const char* const name : {"", "n"}) addNode(name);
        const std::size_t count = below(6);
        fCase.records.reserve(count);
        while (fCase.records.size() < count) addRecord();
        fCase.policy.careful = below(2) == 0;
        fCase.policy.rewritesAll = below(8) == 0;
        fCase.policy.sceneFirst = below(2) == 0;
    }

    [[nodiscard]] const MergeCase& get() const { return fCase; }

  private:
    static constexpr std::size_t kNone = 9;

    std::size_t below(std::size_t limit) {
        fState ^= fState << 13U;
        fState ^= fState >> 7U;
        fState ^= fState << 17U;
        return static_cast<std::size_t>((fState >> 32U) % limit);
    }
    const Layout* anyLayout() {
        static const Layout* const kLayouts[] = {layoutOf("x"), layoutOf("xy"), layoutOf("y")};
        return kLayouts[below(3)];
    }
    void addStructure(const char* name) {
        if (below(3) > 0) fCase.read.structures[name] = anyLayout();
        const auto read = fCase.read.structures.find(name);
        if (below(2) == 0 && read != fCase.read.structures.end()) {
            fCase.model.structures[name] = read->second;
        } else if (below(2) == 0) {
            fCase.model.structures[name] = anyLayout();
        }
    }
    void addNode(const char* name) {
        const std::size_t content = below(4) == 0 ? kNone : below(3);
        const std::size_t read = below(4) == 0 ? kNone : below(3) == 0 ? below(3) : content;
        fContents[name] = content;
        if (below(12) == 0) {
            fCase.read.partialNodes[name] = below(8) == 0;
            fCase.model.nodes[name] = false;
            fContents[name] = kNone;
            return;
        }
        if (content != kNone) fCase.model.nodes[name] = content > 0;
        if (read != kNone) fCase.read.nodes[name].unedited = read == content;
    }
    void addRecord() {
        Merge::RecordFacts record;
        record.plain = below(8) > 0;
        record.text = below(3) > 0    ? Text::kReadable
                      : below(2) == 0 ? Text::kUnreadable
                                      : Text::kNotUnderstood;
        record.repeatsModel = record.text == Text::kUnreadable && below(3) == 0;
        if (below(2) == 0) {
            record.name = below(2) == 0 ? "A" : "B";
            if (record.text == Text::kReadable) record.members = anyLayout();
        } else {
            record.kind = Kind::kAssociations;
            record.name = below(3) == 0 ? "" : "n";
            fillNode(record);
        }
        fCase.records.push_back(std::move(record));
    }
    void fillNode(Merge::RecordFacts& record) {
        const bool hasNode = fCase.read.nodes.count(record.name) + fContents[record.name] < kNone;
        if (record.text == Text::kReadable && hasNode && below(6) == 0) {
            record.text = Text::kReadableWithModel;
        }
        record.sameAsModel = below(3) == fContents[record.name];
        const bool isUnderstood = record.text != Text::kNotUnderstood;
        record.mentions.emplace();
        record.uses.emplace();
        for (const char* const structure : {"A", "B"}) {
            if (below(3) > 0) continue;
            record.mentions->push_back(structure);
            if (below(4) == 0) continue;
            record.uses->push_back({structure, {}, {}, std::to_string(fCase.records.size())});
            if (isUnderstood) record.uses->back().node = record.name;
        }
    }

    std::uint64_t fState;
    std::map<std::string, std::size_t> fContents;  // of the model's nodes
    MergeCase fCase;
};

bool isSame(const Finding& left, const Finding& right) {
    return left.code == right.code && left.message == right.message && left.node == right.node;
}

bool isSame(const Merge::Item& left, const Merge::Item& right) {
    return left.action == right.action && left.reason == right.reason && left.kind == right.kind &&
           left.record == right.record && left.name == right.name && left.isScene == right.isScene;
}

bool isSame(const Merge::Plan& left, const Merge::Plan& right) {
    if (left.refusal.has_value() != right.refusal.has_value()) return false;
    if (left.refusal) return isSame(*left.refusal, *right.refusal);
    const auto areSame = [](const auto& a, const auto& b) { return isSame(a, b); };
    const auto& findings = left.findings.all();
    const auto& others = right.findings.all();
    return std::equal(findings.begin(), findings.end(), others.begin(), others.end(), areSame) &&
           std::equal(left.items.begin(), left.items.end(), right.items.begin(), right.items.end(),
                      areSame) &&
           left.structuresOfTheFile == right.structuresOfTheFile;
}

bool listsEachRecordOnce(const MergeCase& known, const Merge::Plan& plan) {
    std::vector<int> listed(known.records.size());
    for (const Merge::Item& item : plan.items) {
        const bool isOfTheFile = item.action == Action::kKeep || item.action == Action::kDrop;
        if (item.record.has_value() != isOfTheFile) return false;
        if (isOfTheFile) ++listed[*item.record];
    }
    for (std::size_t number = 0; number < listed.size(); ++number) {
        const bool isForeign = known.records[number].text == Text::kNotUnderstood;
        if (listed[number] != (isForeign ? 0 : 1)) return false;
    }
    return true;
}

/// What readers find of the structure: the members of its first readable record.
const Layout* foundBefore(const MergeCase& known, const std::string& structure) {
    for (const Merge::RecordFacts& record : known.records) {
        if (record.members && record.name == structure) return record.members;
    }
    return nullptr;
}

const Layout* foundAfter(const MergeCase& known, const Merge::Plan& plan,
                         const std::string& structure) {
    for (const Merge::Item& item : plan.items) {
        if (item.kind != Kind::kStructure || item.action == Action::kDrop) continue;
        if (item.action != Action::kKeep) {
            if (item.name == structure) return known.model.structures.at(structure);
            continue;
        }
        const Merge::RecordFacts& record = known.records[*item.record];
        if (record.members && record.name == structure) return record.members;
    }
    return nullptr;
}

bool keepsWhatKeptRecordsUse(const MergeCase& known, const Merge::Plan& plan) {
    std::vector<bool> isKept(known.records.size());
    for (std::size_t number = 0; number < isKept.size(); ++number) {
        isKept[number] = known.records[number].text == Text::kNotUnderstood;
    }
    for (const Merge::Item& item : plan.items) {
        if (item.action == Action::kKeep) isKept[*item.record] = true;
    }
    for (std::size_t number = 0; number < isKept.size(); ++number) {
        const Merge::RecordFacts& record = known.records[number];
        if (!isKept[number] || record.kind != Kind::kAssociations) continue;
        for (const StructureUse& use : *record.uses) {
            const Layout* const before = foundBefore(known, use.structure);
            if (before && foundAfter(known, plan, use.structure) != before) return false;
        }
    }
    return true;
}

/// The caller leaves the structure or node as the last read took it from the file.
bool isLeftAlone(const MergeCase& known, const Merge::RecordFacts& dropped) {
    const std::string& name = dropped.name;
    if (dropped.kind == Kind::kStructure) {
        const auto read = known.read.structures.find(name);
        const auto model = known.model.structures.find(name);
        if (model == known.model.structures.end()) return read == known.read.structures.end();
        return read != known.read.structures.end() && read->second == model->second;
    }
    const auto read = known.read.nodes.find(name);
    if (read == known.read.nodes.end()) return known.model.nodes.count(name) == 0;
    if (!*read->second.unedited) return false;
    for (const Merge::RecordFacts& record : known.records) {
        const bool isRead =
            record.text == Text::kReadable || record.text == Text::kReadableWithModel;
        if (record.kind == Kind::kAssociations && record.name == name && isRead &&
            *record.sameAsModel) {
            return true;
        }
    }
    return false;  // others have changed it in the file
}

bool dropsOnlyWhatTheCallerChanged(const MergeCase& known, const Merge::Plan& plan) {
    for (const Merge::Item& item : plan.items) {
        if (item.action != Action::kDrop) continue;
        const Merge::RecordFacts& record = known.records[*item.record];
        const bool isWrittenAgain = record.kind == Kind::kAssociations &&
                                    record.text != Text::kUnreadable && *record.sameAsModel &&
                                    item.reason != Reason::kNodeRemoved;
        if (item.reason == Reason::kRepeatsTheModel || isWrittenAgain) continue;
        if (isLeftAlone(known, record)) return false;
    }
    return true;
}

std::string wordsOf(const MergeCase& known) {
    static const char* const kTexts[] = {"not tried", "not understood", "unreadable", "readable",
                                         "readable with the model"};
    std::string words = known.policy.careful ? "careful" : "";
    for (const Merge::RecordFacts& record : known.records) {
        words += "\nrecord '" + record.name + "' " + kTexts[static_cast<int>(record.text)];
        if (record.members) words += " members " + std::to_string(record.members->memberCount());
        if (record.sameAsModel.value_or(false)) words += " same";
        if (record.repeatsModel.value_or(false)) words += " repeats";
        if (!record.plain) words += " holds more";
        if (!record.uses) continue;
        for (const StructureUse& use : *record.uses) words += " uses " + use.structure;
        for (const std::string& name : *record.mentions) words += " mentions " + name;
    }
    const auto add = [&words](const char* whose, const auto& structures) {
        for (const auto& [name, layout] : structures) {
            words += std::string(whose) + name + ' ' + layout->member(0).name();
            words += " members " + std::to_string(layout->memberCount());
        }
    };
    add("\nread ", known.read.structures);
    for (const auto& [name, node] : known.read.nodes) {
        words += "\nread '" + name + (*node.unedited ? "' unedited" : "' edited");
    }
    for (const auto& part : known.read.partialNodes) words += "\npart '" + part.first + "'";
    add("\nmodel ", known.model.structures);
    for (const auto& [name, isWritten] : known.model.nodes) {
        words += "\nmodel '" + name + (isWritten ? "'" : "' empty");
    }
    return words;
}

/// Of a million cases one part for each parameter, so that the parts run beside each other.
class MergeLaws : public ::testing::TestWithParam<int> {
  protected:
    static constexpr std::uint64_t kCases = 250000;
};

TEST_P(MergeLaws, HoldForRandomCases) {
    const std::uint64_t first = kCases * static_cast<std::uint64_t>(GetParam());
    std::uint64_t plans = 0;
    for (std::uint64_t seed = first; seed < first + kCases; ++seed) {
        const RandomCase random(seed);
        const MergeCase& known = random.get();
        const Merge::Plan plan = MergeQuestioning(known).plan();
        const Merge::Plan expected = ObviousMerge(known).plan();
        ASSERT_TRUE(isSame(plan, expected))
            << seed << ' ' << wordsOf(known) << "\nmerge:   " << wordsOf(plan, known)
            << "\nobvious: " << wordsOf(expected, known);
        if (plan.refusal) continue;
        ++plans;
        const auto shown = [&] { return wordsOf(known) + '\n' + wordsOf(plan, known); };
        ASSERT_TRUE(listsEachRecordOnce(known, plan)) << shown();
        // A check rewrites all, but only to see whether it could.
        if (known.policy.rewritesAll) continue;
        ASSERT_TRUE(keepsWhatKeptRecordsUse(known, plan)) << shown();
        if (!known.policy.careful) continue;
        ASSERT_TRUE(dropsOnlyWhatTheCallerChanged(known, plan)) << shown();
    }
    EXPECT_GT(plans, kCases / 2);
}

INSTANTIATE_TEST_SUITE_P(Random, MergeLaws, ::testing::Range(0, 4));

}  // namespace
}  // namespace orbo::Data
