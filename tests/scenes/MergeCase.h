// Cases for `Merge::merge` in short words, and the loop that answers what it asks.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "core/Layout.h"
#include "scenes/writing/Merge.h"

namespace orbo::Data {

/// One 32-bit member for each letter. Equal letters give the same layout.
inline const Layout* layoutOf(const std::string& letters) {
    static std::map<std::string, Layout> layouts;
    const auto [found, isNew] = layouts.try_emplace(letters);
    if (isNew) {
        for (const char letter : letters) {
            found->second.add(Member::kInt32, 1, std::string(1, letter).c_str());
        }
    }
    return &found->second;
}

/// Everything there is to know, also what `merge` need not ask.
struct MergeCase {
    using Text = Merge::RecordFacts::Text;

    std::vector<Merge::RecordFacts> records;
    Merge::ReadFacts read;
    Merge::ModelFacts model;
    Merge::Policy policy;
};

/// Gives `merge` what a write knows at once, and then answers its questions.
class MergeQuestioning {
  public:
    explicit MergeQuestioning(const MergeCase& known) : fKnown(known), fTold(known) {
        for (Merge::RecordFacts& record : fTold.records) {
            const bool isNode = record.kind == SceneRecord::Kind::kAssociations;
            if (isNode && record.text != MergeCase::Text::kNotUnderstood) {
                record.text = MergeCase::Text::kNotTried;
            }
            record.sameAsModel.reset();
            record.repeatsModel.reset();
            record.uses.reset();
            record.mentions.reset();
        }
        for (auto& node : fTold.read.nodes) node.second.unedited.reset();
    }

    /// Fails the test when a fact is asked for twice.
    Merge::Plan plan() {
        for (;;) {
            Merge::Plan plan = merge(fTold.records, fTold.read, fTold.model, fTold.policy);
            if (plan.questions.empty()) return plan;
            for (const Merge::Question& question : plan.questions) {
                const Asked asked{question.fact, question.record, question.node};
                const bool isNew = std::find(fAsked.begin(), fAsked.end(), asked) == fAsked.end();
                EXPECT_TRUE(isNew) << "asked twice";
                if (!isNew) return plan;
                fAsked.push_back(asked);
                answer(question, plan.structuresAtStake);
            }
        }
    }

    /// "text 0, uses 2, unedited n", in the order of the questions.
    [[nodiscard]] std::string asked() const {
        static const char* const kFacts[] = {"text", "uses", "mentions", "repeats", "unedited"};
        std::string words;
        for (const auto& [fact, record, node] : fAsked) {
            const bool isOfNode = fact == Fact::kUnedited;
            words += std::string(words.empty() ? "" : ", ") + kFacts[static_cast<int>(fact)] + ' ' +
                     (isOfNode ? node : std::to_string(record));
        }
        return words;
    }

  private:
    using Fact = Merge::Question::Fact;
    using Asked = std::tuple<Fact, std::size_t, std::string>;

    void answer(const Merge::Question& question, const std::vector<std::string>& atStake) {
        if (question.fact == Fact::kUnedited) {
            fTold.read.nodes.at(question.node) = fKnown.read.nodes.at(question.node);
            return;
        }
        const Merge::RecordFacts& known = fKnown.records.at(question.record);
        Merge::RecordFacts& told = fTold.records.at(question.record);
        if (question.fact == Fact::kText) {
            told.text = known.text;
            told.sameAsModel = known.sameAsModel;
        } else if (question.fact == Fact::kUses) {
            told.uses.emplace();
            for (const StructureUse& use : known.uses.value()) {
                const auto end = atStake.end();
                if (std::find(atStake.begin(), end, use.structure) != end) {
                    told.uses->push_back(use);
                }
            }
        } else if (question.fact == Fact::kMentions) {
            told.mentions = known.mentions.value();
        } else {
            told.repeatsModel = known.repeatsModel.value();
        }
    }

    const MergeCase& fKnown;
    MergeCase fTold;
    std::vector<Asked> fAsked;
};

/// Reads a case from words. The file's records, what was read and what the model has are words of
/// the forms
///
///     A:xy   structure A with the members x and y     n=1      node n with the content 1
///     A:?    its text cannot be read                  n=?      its text cannot be read
///     A:!    its statement was not understood         n=!      its statement was not understood
///                                                     n=1'     readable with the model's
///                                                     structures n=part   read in part
///
/// The scene is the node without name, and a node without content ends with "=". Records may go on
/// with "(A,B)", structures that the text names, "+" for a statement that holds more than is
/// written of it, "*" for bytes that the write would make for the model. Policies are "careful",
/// "rewrites-all" and "scene-first".
class MergeNotation {
  public:
    MergeNotation(const std::string& file, const std::string& read, const std::string& model,
                  const std::string& policy) {
        for (const std::string& word : wordsOf(read)) addRead(word);
        for (const std::string& word : wordsOf(model)) addModel(word);
        for (const std::string& word : wordsOf(file)) addRecord(word);
        compareReadWithModel();
        fCase.policy.careful = policy.find("careful") != std::string::npos;
        fCase.policy.rewritesAll = policy.find("rewrites-all") != std::string::npos;
        fCase.policy.sceneFirst = policy.find("scene-first") != std::string::npos;
    }
    [[nodiscard]] const MergeCase& parsed() const { return fCase; }

  private:
    static std::vector<std::string> wordsOf(const std::string& text) {
        std::istringstream in(text);
        return {std::istream_iterator<std::string>(in), {}};
    }
    static std::pair<std::string, std::string> splitAt(const std::string& word, char mark) {
        const std::size_t at = word.find(mark);
        return {word.substr(0, at), word.substr(at + 1)};
    }
    static bool isStructure(const std::string& word) { return word.find(':') != word.npos; }

    void addRead(const std::string& word) {
        const auto [name, value] = splitAt(word, isStructure(word) ? ':' : '=');
        if (isStructure(word)) {
            fCase.read.structures[name] = layoutOf(value);
        } else {
            fReadContents[name] = value;
        }
    }
    void addModel(const std::string& word) {
        const auto [name, value] = splitAt(word, isStructure(word) ? ':' : '=');
        if (isStructure(word)) {
            fCase.model.structures[name] = layoutOf(value);
        } else {
            fContents[name] = value;
            fCase.model.nodes[name] = !value.empty() && value != "part";
        }
    }
    void addRecord(std::string word) {
        Merge::RecordFacts record;
        record.plain = word.find('+') == word.npos;
        record.repeatsModel = word.find('*') != word.npos;
        const std::size_t end = word.find_first_of("(+*");
        const std::vector<std::string> named = namedIn(word.substr(std::min(end, word.size())));
        word.resize(std::min(end, word.size()));
        record.text = textOf(word);
        if (isStructure(word)) {
            std::string members;
            std::tie(record.name, members) = splitAt(word, ':');
            if (record.text == MergeCase::Text::kReadable) record.members = layoutOf(members);
        } else {
            record.kind = SceneRecord::Kind::kAssociations;
            addNode(record, word, named);
        }
        fCase.records.push_back(std::move(record));
    }
    void addNode(Merge::RecordFacts& record, const std::string& word,
                 const std::vector<std::string>& named) {
        std::string content;
        std::tie(record.name, content) = splitAt(word, '=');
        if (!content.empty() && content.back() == '\'') content.pop_back();
        const auto model = fContents.find(record.name);
        record.sameAsModel = model != fContents.end() && model->second == content;
        record.mentions = named;
        record.uses.emplace();
        for (const std::string& structure : named) {
            record.uses->push_back({structure, record.name, {}, "Node '" + record.name + "'"});
        }
    }
    static std::vector<std::string> namedIn(const std::string& marks) {
        std::vector<std::string> names;
        for (const char mark : marks) {
            if (mark >= 'A' && mark <= 'Z') names.emplace_back(1, mark);
        }
        return names;
    }
    static MergeCase::Text textOf(const std::string& word) {
        switch (word.back()) {
            case '?':
                return MergeCase::Text::kUnreadable;
            case '!':
                return MergeCase::Text::kNotUnderstood;
            case '\'':
                return MergeCase::Text::kReadableWithModel;
            default:
                return MergeCase::Text::kReadable;
        }
    }
    void compareReadWithModel() {
        for (const auto& [name, content] : fReadContents) {
            const auto model = fContents.find(name);
            const bool isUnedited = model != fContents.end() && model->second == content;
            if (content == "part") {
                fCase.read.partialNodes[name] = !isUnedited;
            } else {
                fCase.read.nodes[name].unedited = isUnedited;
            }
        }
    }

    std::map<std::string, std::string> fReadContents;
    std::map<std::string, std::string> fContents;  // of the model's nodes
    MergeCase fCase;
};

/// "keep A#0 structure-same, rewrite n node-changed, drop n#1 node-changed | record-dropped n" or
/// "refused: MESSAGE". "A#0" is the file's record 0.
inline std::string wordsOf(const Merge::Plan& plan, const MergeCase& mergeCase) {
    static const char* const kActions[] = {"keep", "rewrite", "add", "drop"};
    if (plan.refusal) return "refused: " + plan.refusal->message;
    const auto shown = [](const std::string& name) { return name.empty() ? "scene" : name; };
    std::string words;
    for (const Merge::Item& item : plan.items) {
        words += std::string(words.empty() ? "" : ", ") + kActions[static_cast<int>(item.action)];
        words += ' ' + shown(item.record ? mergeCase.records[*item.record].name : item.name);
        if (item.record) words += '#' + std::to_string(*item.record);
        words += ' ' + std::string(nameOf(item.reason));
    }
    const char* separator = " | ";
    for (const Finding& finding : plan.findings.all()) {
        words += separator + std::string(Finding::nameOf(finding.code));
        if (finding.node) words += ' ' + shown(*finding.node);
        separator = ", ";
    }
    return words;
}

}  // namespace orbo::Data
