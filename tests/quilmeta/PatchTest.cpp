// Differences, patches and merges of random metadata.
// SPDX-License-Identifier: Apache-2.0
#include "patches/Patch.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>

#include "RandomModel.h"
#include "patches/Apply.h"
#include "patches/Differences.h"
#include "patches/Merge.h"

namespace orbo::Quilmeta {
namespace {

std::string textOf(const Patch& patch) {
    return written([&](Output& output) { write(patch, output); });
}
Patch patchOf(const std::string& text) {
    JsonSource source{std::string_view(text)};
    return readPatch(source);
}
Patch differences(const Data::Accessor& left, const Data::Accessor& right) {
    return differences(select(left, {}), select(right, {}));
}

/// Metadata in memory alone.
std::unique_ptr<Data::Accessor> model(unsigned seed, unsigned changes = 0) {
    auto scene = Data::Accessor::accessorByExtension("scene.kx");
    RandomModel(seed, Values::kAny).fill(*scene);
    if (changes != 0) RandomModel(changes, Values::kAny).change(*scene);
    return scene;
}

void applied(const Patch& patch, Data::Accessor& scene) {
    EXPECT_EQ(apply(patch, scene).text(), "");
}

TEST(Patch, MakesTheOtherSideAndTheFirstOneAgain) {
    size_t changes = 0;
    for (unsigned seed = 0; seed < 300; ++seed) {
        const auto left = model(seed);
        const auto right = model(seed % 3 == 0 ? seed + 1000 : seed, seed + 1);
        const std::string text = textOf(differences(*left, *right));
        const Patch patch = patchOf(text);
        ASSERT_EQ(textOf(patch), text);
        changes += patch.changes.size();
        applied(patch, *left);
        ASSERT_EQ(textOf(differences(*left, *right)), textOf({})) << seed << text;
        applied(reversed(patch), *left);
        ASSERT_EQ(textOf(differences(*left, *model(seed))), textOf({})) << seed << text;
    }
    EXPECT_GT(changes, 1000U);
}

TEST(Patch, HoldsInBothKindsOfFiles) {
    const TestFolder folder;
    for (unsigned seed = 0; seed < 30; ++seed) {
        const Scene left = opened(folder.bareScene(seed % 2 == 0 ? "left.kx" : "left.ky"));
        RandomModel(seed).fill(*left.accessor);
        store(left);
        const Scene right = opened(folder.bareScene("right.ky"));
        RandomModel(seed).fill(*right.accessor);
        RandomModel(seed + 1).change(*right.accessor);
        store(right);
        const std::string file = left.accessor->fileName();
        const Scene before = opened(file);
        const Patch patch =
            differences(*before.accessor, *opened(right.accessor->fileName()).accessor);
        applied(patch, *before.accessor);
        store(before);
        const std::string other = right.accessor->fileName();
        ASSERT_EQ(textOf(differences(*opened(file).accessor, *opened(other).accessor)), textOf({}))
            << seed;
        const Scene after = opened(file);
        applied(reversed(patch), *after.accessor);
        store(after);
        const Patch none = differences(*opened(file).accessor, *left.accessor);
        ASSERT_EQ(textOf(none), textOf({})) << seed;
    }
}

/// One element with one member of two values.
std::unique_ptr<Data::Accessor> oneElement(float first, float second, const char* text) {
    auto scene = Data::Accessor::accessorByExtension("scene.kx");
    const RefPtr<Data::Structure> structure(new Data::Structure("S"));
    structure->addMember(Data::Member::kFloat, 2, "pair");
    structure->addMember(Data::Member::kString, 1, "text");
    scene->setStructures({structure.get()});
    Data::Stream stream(*structure, "s");
    Data::Handle element = stream.emplaceElement(7);
    element.asFloat()[0] = first;
    element.asFloat()[1] = second;
    element.setPositionByMemberName("text");
    if (text) *element.asString() = ::strdup(text);
    scene->associations()["n"].channel("c").setDataStream(stream);
    return scene;
}

TEST(Patch, ComparesBits) {
    const float odd = -std::nanf("0x12");
    const std::string patch =
        textOf(differences(*oneElement(0, odd, nullptr), *oneElement(-0.0F, std::nanf(""), "")));
    EXPECT_EQ(patch, R"({ "quilmetaPatch": 1, "changes": [
  { "change": "set", "node": "n", "channel": "c", "stream": "s", "index": 7, "member": "pair", )"
                     R"("old": [0, "NaN:0xffc00012"], "new": [-0.0, "NaN"] }
] }
)");
    const auto scene = oneElement(0, odd, nullptr);
    applied(patchOf(patch), *scene);
    EXPECT_TRUE(differences(*scene, *oneElement(-0.0F, std::nanf(""), "")).changes.empty());
}

TEST(Patch, SaysOfNullStringsWhatFilesHold) {
    EXPECT_NE(textOf(differences(*oneElement(0, 0, "lid"), *oneElement(0, 0, nullptr)))
                  .find(R"("member": "text", "old": "lid", "new": "")"),
              std::string::npos);
}

std::string change(const std::string& rest) {
    return R"({"change": "set", "node": "n", "channel": "c", "stream": "s", )" + rest + "}";
}

TEST(Patch, ChangesAllOrNothing) {
    const std::string good =
        change(R"("index": 7, "member": "pair", "old": [1.0, 2e0], "new": [3, 4])");
    const std::string element =
        R"({"change": "element", "node": "n", "channel": "c", "stream": "s", )";
    const struct {
        std::string change, problems;
    } rows[] = {
        {change(R"("index": 7, "member": "pair", "old": [1, 2], "new": [3, 4])"),
         "node n, channel c, stream s, index 7, member pair: is [3, 4] instead of [1, 2]\n"},
        {change(R"("index": 7, "member": "no", "old": 1, "new": 2)"),
         "node n, channel c, stream s, index 7, member no: there is no such member\n"},
        {change(R"("index": 8, "member": "pair", "old": [1, 2], "new": [3, 4])"),
         "node n, channel c, stream s, index 8, member pair: there is no such element\n"},
        {change(R"("index": "x", "member": "pair", "old": [1, 2], "new": [3, 4])"),
         "line 2: $.changes[1].index: \"x\" is no whole number\n"},
        {change(R"("index": 7, "member": "text", "old": "x", "new": 4)"),
         "line 2: $.changes[1].new: is not a string\n"},
        {element + R"("index": 7, "old": null, "new": {"pair": [1, 2], "text": null}})",
         "node n, channel c, stream s, index 7: is { \"pair\": [3, 4], \"text\": \"x\" } instead "
         "of "
         "null\n"},
        {element + R"("index": 9, "old": null, "new": {"pair": [1, 2]}})",
         "line 2: $.changes[1].new: has no value for member \"text\"\n"},
        {R"({"change": "structure", "structure": "S", "new": null, "old": {"name": "S", "members": [
            {"name": "pair", "type": "float", "length": 2},
            {"name": "text", "type": "string", "length": 1}]}})",
         "node n, channel c, stream s: uses the structure \"S\", which the patch removes\n"},
        {R"({"change": "stream", "node": "n", "channel": "c", "stream": "t", "old": null, "new":
            {"name": "t", "structure": "no", "indexType": "pair", "elements": []}})",
         "line 3: $.changes[1].new: there is no structure \"no\"\n"},
    };
    for (const auto& row : rows) {
        const auto scene = oneElement(1, 2, "x");
        const std::string patch =
            R"({"quilmetaPatch": 1, "changes": [)" + good + ",\n" + row.change + "]}";
        EXPECT_EQ(apply(patchOf(patch), *scene).text(), row.problems);
        EXPECT_TRUE(differences(*scene, *oneElement(1, 2, "x")).changes.empty()) << row.change;
    }
}

TEST(Patch, MustBeWhole) {
    const struct {
        const char *text, *problems;
    } rows[] = {
        {"{}",
         "line 1: $: has no \"changes\"\nline 1: $: has no \"quilmetaPatch\": this is no patch\n"},
        {R"({"quilmetaPatch": 2, "changes": {}})",
         "line 1: $.changes: is not a list\n"
         "line 1: $.quilmetaPatch: is a version that this program does not know\n"},
        {R"({"quilmetaPatch": 1, "changes": [7, {"change": "all"},
{"change": "structure", "structure": "S", "old": null, "new": null},
{"change": "structure", "structure": "S", "member": "m", "old": null, "new": {}},
{"change": "set", "node": "n", "channel": "c", "stream": "s", "index": 1, "member": "m", "old": 1}
]})",
         "line 1: $.changes[0]: is not an object\n"
         "line 1: $.changes[1]: has no \"change\" that is \"set\", \"element\", \"stream\" or "
         "\"structure\"\n"
         "line 2: $.changes[2]: has neither an old nor a new value\n"
         "line 3: $.changes[3].member: is unknown\n"
         "line 4: $.changes[4]: lacks one of its keys\n"},
    };
    for (const auto& row : rows) {
        std::string problems;
        try {
            patchOf(row.text);
        } catch (const CommandError& error) {
            problems = error.what();
        }
        EXPECT_EQ(problems, row.problems);
    }
}

TEST(Merge, WithAnUnchangedSideIsTheOtherSide) {
    for (unsigned seed = 0; seed < 100; ++seed) {
        const auto base = model(seed);
        const auto changed = model(seed, seed + 1);
        const Patch none;
        const Patch patch = differences(*base, *changed);
        const MergePlan plan = planMerge(none, patch);
        EXPECT_TRUE(plan.conflicts.empty());
        EXPECT_EQ(textOf(plan.toOurs), textOf(patch));
        EXPECT_EQ(textOf(plan.toTheirs), textOf(none));
        EXPECT_EQ(textOf(planMerge(patch, none).toTheirs), textOf(patch));
        EXPECT_EQ(textOf(planMerge(patch, patch).toOurs), textOf(none));
    }
}

TEST(Merge, ComesToTheSameFromBothSides) {
    size_t merged = 0;
    for (unsigned seed = 0; seed < 300; ++seed) {
        const auto base = model(seed);
        const auto ours = model(seed, seed + 1);
        const auto theirs = model(seed, seed + 2);
        const MergePlan plan = planMerge(differences(*base, *ours), differences(*base, *theirs));
        if (!plan.conflicts.empty()) continue;
        if (!apply(plan.toOurs, *ours).empty() || !apply(plan.toTheirs, *theirs).empty()) continue;
        ++merged;
        ASSERT_EQ(textOf(differences(*ours, *theirs)), textOf({})) << seed;
    }
    EXPECT_GT(merged, 20U);
}

TEST(Merge, FindsConflictsOfPartsAndWholes) {
    Change set{Change::Kind::kSet, {}, "n", "c", "s", "1", "m", "1", "2"};
    Change other = set;
    other.after = "3";
    Change element{Change::Kind::kElement, {}, "n", "c", "s", "1", {}, "{ \"m\": 1 }", "null"};
    Change elsewhere = element;
    elsewhere.index = "10";
    Change stream{Change::Kind::kStream, {}, "n", "c", "s", {}, {}, "{}", "null"};
    const std::string place = "conflict: node n, channel c, stream s";
    const struct {
        Change ours, theirs;
        std::string text;
    } rows[] = {
        {set, set, ""},
        {set, elsewhere, ""},
        {set, other, place + ", index 1, member m\n  base:   1\n  ours:   2\n  theirs: 3\n"},
        {set, element,
         place + ", index 1, member m\n  base:   1\n  ours:   2\n"
                 "  theirs: removed node n, channel c, stream s, index 1\n"},
        {element, set,
         place + ", index 1, member m\n  base:   1\n"
                 "  ours:   removed node n, channel c, stream s, index 1\n  theirs: 2\n"},
        {stream, elsewhere,
         place + ", index 10\n  base:   { \"m\": 1 }\n"
                 "  ours:   removed node n, channel c, stream s\n  theirs: null\n"},
        {set, stream,
         place + ", index 1, member m\n  base:   1\n  ours:   2\n"
                 "  theirs: removed node n, channel c, stream s\n"},
    };
    for (const auto& row : rows) {
        std::string text;
        for (const MergeConflict& conflict : planMerge({{row.ours}}, {{row.theirs}}).conflicts)
            text += textOf(conflict);
        EXPECT_EQ(text, row.text);
    }
}

}  // namespace
}  // namespace orbo::Quilmeta
