// What becomes of the records of a scene: each row of the table in docs/architecture.md by its
// name. SPDX-License-Identifier: Apache-2.0
#include <string>
#include <vector>

#include "scenes/MergeCase.h"

namespace orbo::Data {
namespace {

struct Example {
    const char* file;
    const char* read;
    const char* model;
    const char* policy;
    const char* plan;
};

struct Row {
    const char* name;
    std::vector<Example> examples;
};

// MergeNotation and wordsOf say how to read the words.
const Row kRows[] = {
    {"not-understood",
     {{"A:! n=!", "", "A:x n=1", "", "add A structure-new, add n node-new"},
      {"n=!(B) B:x", "B:x", "", "", "keep B#1 structure-needed | structure-kept"}}},
    {"structure-unreadable",
     {{"A:?", "", "", "", "keep A#0 structure-unreadable"},
      {"A:?", "", "A:x", "careful", "add A structure-new, keep A#0 structure-unreadable"}}},
    {"structure-of-others",
     {{"A:x A:y", "", "B:x", "careful",
       "keep A#0 structure-of-others, keep A#1 structure-of-others, add B structure-new"},
      {"A:y", "A:x", "", "careful", "keep A#0 structure-of-others"}}},
    {"structure-erased",
     {{"A:x", "A:x", "", "careful", "drop A#0 structure-erased"},
      {"A:x A:y", "A:x", "", "",
       "drop A#0 structure-erased, drop A#1 structure-erased"
       " | record-dropped"},
      {"A:x A:y", "A:x", "", "careful",
       "refused: Structure 'A' is in the file 2 times; a change would drop the others"}}},
    {"structure-needed",
     {{"A:x n=1(A)", "A:x", "", "careful",
       "keep A#0 structure-needed, keep n#1 node-of-others | structure-kept"},
      {"A:x n=1 n=2(A)", "A:x n=1", "n=1", "",
       "keep A#0 structure-needed, keep n#1 node-same, keep n#2 node-same | structure-kept"},
      {"A:x n=1(A)", "A:x", "B:xy", "",
       "refused: Structure 'A' cannot be renamed to 'B': Node 'n' stays as it is in the file and "
       "needs it"},
      // A structure of that name is none that came under a new name.
      {"A:x B:xy n=1(A)", "A:x", "B:xy", "",
       "keep A#0 structure-needed, keep B#1 structure-same, keep n#2 node-of-others"
       " | structure-kept"},
      {"A:x n=1(A)", "A:x B:y", "B:xy", "",
       "keep A#0 structure-needed, add B structure-new, keep n#1 node-of-others"
       " | structure-kept"},
      {"A:xy n=1(A)", "A:xy", "B:x", "",
       "keep A#0 structure-needed, add B structure-new, keep n#1 node-of-others"
       " | structure-kept"}}},
    {"structure-same",
     {{"A:x A:y B:x", "A:x B:x", "A:x B:x", "careful",
       "keep A#0 structure-same, keep A#1 structure-same, keep B#2 structure-same"},
      // A filtered read takes the last of a name.
      {"A:x A:y", "A:y", "A:y", "careful", "keep A#0 structure-same, keep A#1 structure-same"},
      {"A:x", "A:y", "A:x", "careful", "keep A#0 structure-same"},
      {"A:x A:y", "A:x", "A:x", "careful rewrites-all",
       "rewrite A structure-same, drop A#0 structure-same, drop A#1 structure-same"}}},
    {"structure-changed",
     {{"A:x", "A:x", "A:y", "careful", "rewrite A structure-changed, drop A#0 structure-changed"},
      {"A:x", "", "A:y", "careful", "rewrite A structure-changed, drop A#0 structure-changed"},
      {"A:x A:y", "A:x", "A:z", "",
       "rewrite A structure-changed, drop A#0 structure-changed, drop A#1 structure-changed"
       " | record-dropped"},
      {"A:x A:y", "", "A:y", "careful",
       "refused: Structure 'A' is in the file 2 times; a change would drop the others"},
      {"A:x n=1(A)", "A:x", "A:y", "",
       "refused: Structure 'A' cannot be changed: Node 'n' stays as it is in the file and "
       "needs it"}}},
    {"structure-conflict",
     {{"A:x", "A:y", "A:z", "",
       "add A structure-conflict, keep A#0 structure-conflict | structure-differs"},
      {"A:x", "A:y", "A:y", "careful",
       "refused: Structure 'A' in the file is another one than was read"},
      {"A:x n=1(A)", "A:y", "A:z", "",
       "refused: Structure 'A' cannot be changed: Node 'n' stays as it is in the file and "
       "needs it"}}},
    {"structure-new", {{"A:x", "", "B:x A:x", "", "keep A#0 structure-same, add B structure-new"}}},
    {"node-of-others",
     {{"n=1 n=2", "", "m=1", "",
       "keep n#0 node-of-others, keep n#1 node-of-others, add m node-new"},
      {"n=1", "", "n=", "careful", "keep n#0 node-of-others"}}},
    {"node-in-part",
     {{"n=1 n=2", "n=part", "n=part", "careful", "keep n#0 node-in-part, keep n#1 node-in-part"},
      {"n=1 A:x", "n=part", "A:x", "",
       "refused: Node 'n' was read in part: it cannot be changed or removed."},
      {"A:x n=1(A)", "A:x n=part", "A:y n=part", "",
       "refused: Structure 'A' cannot be changed: Node 'n' stays as it is in the file and "
       "needs it"}}},
    {"node-unreadable",
     {{"n=?", "n=1", "", "", "keep n#0 node-unreadable"},
      {"n=?", "", "n=1", "careful", "add n node-new, keep n#0 node-unreadable"},
      {"A:x n=?(A)", "A:x n=1", "n=2", "",
       "keep A#0 structure-needed, add n node-new, keep n#1 node-unreadable | structure-kept"}}},
    {"node-same",
     {{"n=1 n=2 =1", "n=1 =1", "n=1 =1", "careful",
       "keep n#0 node-same, keep n#1 node-same, keep scene#2 node-same"},
      {"=1 n=1", "n=1 =1", "n=1 =1", "scene-first", "keep scene#0 node-same, keep n#1 node-same"},
      // A filtered read takes the last of a name.
      {"n=1 n=2", "n=2", "n=2", "careful", "keep n#0 node-same, keep n#1 node-same"},
      {"n=1 n=2", "n=1", "n=1", "rewrites-all",
       "rewrite n node-same, drop n#0 node-same, drop n#1 node-same"}}},
    {"node-empty",
     {{"n= n=1", "n=", "n=", "careful", "keep n#0 node-empty, keep n#1 node-empty"},
      {"A:x n=(A)", "A:x n=", "n=", "",
       "keep A#0 structure-needed, keep n#1 node-empty | structure-kept"}}},
    {"node-in-other-words",
     {{"A:x n=1(A) n=2", "A:x n=1", "n=1", "careful",
       "rewrite n node-in-other-words, keep n#2 node-in-other-words, drop A#0 structure-erased, "
       "drop n#1 node-in-other-words"},
      // The order is that of the next write, for which all of these are the same.
      {"A:x n=? n=1(A) n=2", "A:x n=1", "n=1", "",
       "rewrite n node-in-other-words, keep n#3 node-in-other-words, keep n#1 node-unreadable, "
       "drop A#0 structure-erased, drop n#2 node-in-other-words"},
      {"n=1' n=2", "n=1", "n=1", "careful",
       "rewrite n node-in-other-words, keep n#1 node-in-other-words, drop n#0 node-in-other-words"},
      // Only the text of what the model has counts; the others need nothing new.
      {"n=1 n=2'", "n=1", "n=1", "careful", "keep n#0 node-same, keep n#1 node-same"},
      {"n=1 n=2' n=3", "n=2", "n=2", "careful",
       "keep n#0 node-in-other-words, rewrite n node-in-other-words, "
       "keep n#2 node-in-other-words, drop n#1 node-in-other-words"},
      // What the model does not have needs its structure, also in front of what it has.
      {"A:x n=1(A) n=2", "A:x n=2", "A:y n=2", "careful",
       "refused: Structure 'A' cannot be changed: Node 'n' stays as it is in the file and "
       "needs it"}}},
    {"node-removed",
     {{"n=1", "n=1", "", "careful", "drop n#0 node-removed"},
      {"n=1", "n=1", "n=", "careful", "drop n#0 node-removed"},
      {"n=1 n=2", "n=1", "", "", "drop n#0 node-removed, drop n#1 node-removed | record-dropped n"},
      {"n=1 n=2", "n=1", "", "careful",
       "refused: Node 'n' has 2 records in the file; a change would drop the others"}}},
    {"node-changed",
     {{"n=1", "n=1", "n=2", "careful", "rewrite n node-changed, drop n#0 node-changed"},
      {"n=1", "", "n=2", "careful", "rewrite n node-changed, drop n#0 node-changed"},
      {"n=1 n=2", "n=1", "n=2", "",
       "rewrite n node-changed, drop n#0 node-changed, drop n#1 node-changed | record-dropped n"},
      {"n=1 n=2", "", "n=2", "careful",
       "refused: Node 'n' has 2 records in the file; a change would drop the others"},
      {"A:x n=1(A)", "A:x n=1", "A:y n=2", "careful",
       "rewrite A structure-changed, rewrite n node-changed, drop A#0 structure-changed, "
       "drop n#1 node-changed"}}},
    {"node-new",
     {{"n=1", "", "m=1 =1", "", "keep n#0 node-of-others, add m node-new, add scene node-new"},
      {"", "", "m=1 =1", "scene-first", "add scene node-new, add m node-new"}}},
    {"holds-more",
     {{"n=1+", "n=1", "n=2", "", "rewrite n holds-more, drop n#0 holds-more | text-passed-over n"},
      {"n=1+", "n=1", "n=2", "careful",
       "refused: Node 'n': its statement holds more than is written of it"},
      {"A:x+", "A:x", "A:y", "careful",
       "refused: Structure 'A': its statement holds more than is written of it"},
      {"A:x+ n=1+ m=1+", "A:x n=1", "", "careful",
       "keep m#2 node-of-others, drop A#0 structure-erased, drop n#1 node-removed"}}},
    {"repeats-the-model",
     {{"A:?* n=?*", "", "A:x n=1", "careful",
       "add A structure-new, add n node-new, drop A#0 repeats-the-model, "
       "drop n#1 repeats-the-model"},
      {"n=?*", "n=1", "n=", "", "keep n#0 node-unreadable"},
      // A record that goes needs no structure.
      {"A:x n=?(A)*", "A:x", "n=1", "",
       "add n node-new, drop A#0 structure-erased, drop n#1 repeats-the-model"}}},
};

TEST(Merge, DecidesByItsTable) {
    for (const Row& row : kRows) {
        for (const Example& example : row.examples) {
            SCOPED_TRACE(std::string(row.name) + ": " + example.file + " | " + example.read +
                         " | " + example.model + " | " + example.policy);
            const MergeNotation notation(example.file, example.read, example.model, example.policy);
            MergeQuestioning questioning(notation.parsed());
            EXPECT_EQ(example.plan, wordsOf(questioning.plan(), notation.parsed()));
        }
    }
}

TEST(Merge, HasARowForEachReason) {
    std::vector<std::string_view> reasons;
    for (const Merge::NamedReason& named : Merge::kReasons) {
        EXPECT_EQ(reasons.size(), static_cast<std::size_t>(named.reason)) << named.name;
        reasons.push_back(named.name);
    }
    std::vector<std::string_view> rows;
    for (const Row& row : kRows) {
        rows.emplace_back(row.name);
        std::string plans;
        for (const Example& example : row.examples) plans += std::string(example.plan) + ',';
        // What was not understood is in no plan.
        const bool isPlanned = plans.find(std::string(" ") + row.name) != std::string::npos;
        EXPECT_EQ(isPlanned, rows.back() != nameOf(Merge::Reason::kNotUnderstood)) << row.name;
    }
    EXPECT_EQ(rows, reasons);
}

// "record-dropped A#1": the structure and the record that it is about.
TEST(Merge, SaysWhichRecordAFindingIsAbout) {
    const auto shown = [](const Finding& finding) {
        return std::string(Finding::nameOf(finding.code)) + ' ' +
               finding.structure.value_or(finding.node.value_or("")) + '#' +
               (finding.offset ? std::to_string(*finding.offset) : "none") + finding.tag;
    };
    const struct {
        const char* file;
        const char* read;
        const char* model;
        const char* policy;
        const char* found;
    } kCases[] = {
        {"A:x B:x A:x", "A:x B:x", "B:x", "", "record-dropped A#2T"},
        {"n=1 m=1 n=2", "n=1", "", "", "record-dropped n#2T"},
        {"B:x A:x n=1(A)", "A:x B:x", "B:x", "", "structure-kept A#1T"},
        {"B:x A:x", "A:y B:x", "A:z B:x", "", "structure-differs A#1T"},
        {"n=1+ A:x+", "n=1 A:x", "n=2 A:y", "", "text-passed-over n#0T, text-passed-over #1T"},
        {"B:x A:x", "A:y B:x", "A:z B:x", "careful", "write-failed A#1T"},
        {"A:x B:x A:x", "A:x B:x", "B:x", "careful", "write-failed A#2T"},
        {"n=1 m=1 n=2", "n=1", "", "careful", "write-failed n#2T"},
        {"m=1 n=1+", "n=1", "n=2", "careful", "write-failed n#1T"},
        {"m=1 n=1", "n=part", "", "", "write-failed n#1T"},
        {"B:x A:x n=1(A)", "A:x B:x", "A:y B:x", "", "write-failed A#1T"},
    };
    for (const auto& each : kCases) {
        MergeCase known = MergeNotation(each.file, each.read, each.model, each.policy).parsed();
        for (std::size_t number = 0; number < known.records.size(); ++number) {
            known.records[number].place = {number, "T"};
        }
        const Merge::Plan plan = MergeQuestioning(known).plan();
        std::string found = plan.refusal ? shown(*plan.refusal) : "";
        if (!plan.refusal) {
            for (const Finding& finding : plan.findings.all()) {
                found += (found.empty() ? "" : ", ") + shown(finding);
            }
        }
        EXPECT_EQ(each.found, found) << each.file << " | " << each.model;
    }
}

TEST(Merge, AsksOnlyWhatMatters) {
    const struct {
        const char* file;
        const char* read;
        const char* model;
        const char* asked;
    } kCases[] = {
        {"A:x n=1(A)", "A:x", "A:x", ""},
        {"n=1(A) A:x", "A:x n=1", "A:x n=1", "text 0"},
        {"n=1(A) A:x m=2 m=!", "A:x n=1", "n=2", "text 0, uses 2, uses 3"},
        {"n=1(A) n=2 A:x", "A:x n=1", "n=1", "text 0, text 1, uses 1, mentions 0"},
        {"n=1 n=2", "n=2", "n=2", "text 0, text 1, unedited n"},
        {"n=? n=1 A:?", "n=1", "n=1", "text 0, text 1, repeats 0"},
    };
    for (const auto& each : kCases) {
        const MergeNotation notation(each.file, each.read, each.model, "");
        MergeQuestioning questioning(notation.parsed());
        (void)questioning.plan();
        EXPECT_EQ(each.asked, questioning.asked()) << each.file;
    }
}

}  // namespace
}  // namespace orbo::Data
