// Assignments to random metadata, against a slow way by JSON documents.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "RandomModel.h"
#include "json/DocumentReader.h"
#include "patches/Assignment.h"
#include "patches/Import.h"

namespace orbo::Quilmeta {
namespace {

using nlohmann::json;
__extension__ using Wide = __int128;

/// What the types of whole numbers hold.
const std::map<std::string, std::pair<Wide, Wide>> kRanges = {
    {"int8", {-128, 127}},
    {"uint8", {0, 255}},
    {"int16", {-32768, 32767}},
    {"uint16", {0, 65535}},
    {"int32", {std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}},
    {"uint32", {0, std::numeric_limits<unsigned>::max()}},
    {"int64", {std::numeric_limits<long long>::min(), std::numeric_limits<long long>::max()}},
    {"uint64", {0, std::numeric_limits<unsigned long long>::max()}},
};

Wide wide(const json& value) {
    return value.is_number_unsigned() ? Wide(value.get<unsigned long long>())
                                      : Wide(value.get<long long>());
}

template <typename Number>
Number combined(char operation, Number left, Number right) {
    if (operation == '=') return right;
    return operation == '+' ? left + right : operation == '-' ? left - right : left * right;
}

template <typename Real>
bool combine(char operation, json& value, double operand) {
    const Real before = static_cast<Real>(value.get<double>());
    const Real after = combined(operation, before, static_cast<Real>(operand));
    value = static_cast<double>(after);
    return std::isfinite(after);
}

bool combine(const std::string& type, char operation, json& value, const json& operand) {
    const auto range = kRanges.find(type);
    if (range == kRanges.end())
        return type.substr(0, 3) == "flt" || type == "float"
                   ? combine<float>(operation, value, operand.get<double>())
                   : combine<double>(operation, value, operand.get<double>());
    const auto& [least, most] = range->second;
    const Wide after = combined(operation, wide(value), wide(operand));
    if (after < least || after > most) return false;
    value = after < 0 ? json(static_cast<long long>(after))
                      : json(static_cast<unsigned long long>(after));
    return true;
}

void addLeaves(json& value, std::vector<json*>& leaves) {
    if (!value.is_array()) return leaves.push_back(&value);
    for (json& part : value) addLeaves(part, leaves);
}

/// One assignment of random values.
class RandomAssignment {
  public:
    RandomAssignment(const json& structure, unsigned seed) : fRandom(seed) {
        const json& members = structure["members"];
        const json& member = members[below(static_cast<unsigned>(members.size()))];
        fTarget = member["name"];
        fMember = member;
        if (below(2) == 0) {
            fPart = below(member["length"].get<unsigned>() * partsPerValue(member["type"]));
            fTarget += '[' + std::to_string(*fPart) + ']';
        }
        // A member that has such a name itself comes first.
        for (const json& other : members)
            if (other["name"] == fTarget) fMember = other, fPart.reset();
        const char* operations[] = {"=", ":=", "+=", "-=", "*="};
        fOperation = operations[below(5)];
        fType = fMember["type"];
        makeOperands();
    }

    [[nodiscard]] std::string text() const {
        std::string text = fTarget + fOperation;
        if (fOperation == ":=") return text + fJson.dump();
        for (size_t i = 0; i < fOperands.size(); ++i)
            text +=
                (i == 0       ? ""
                 : i % 2 == 1 ? ", "
                              : " ") +
                (fOperands[i].is_string() ? fOperands[i].get<std::string>() : fOperands[i].dump());
        return text;
    }

    /// False where it has to be refused.
    bool apply(json& values) const {
        json& member = values[fMember["name"].get<std::string>()];
        std::vector<json*> leaves;
        addLeaves(member, leaves);
        if (fPart) leaves = {leaves[*fPart]};
        if (fOperation == ":=") (fPart ? *leaves[0] : member) = fJson;
        if (fOperation == ":=") return true;
        const bool isNumber = fType != "string" && fType != "bool";
        const bool fits = fOperands.size() == leaves.size() ||
                          (fOperands.size() == 1 && fOperation != "=" && isNumber);
        if (!fits || (!isNumber && fOperation != "=")) return false;
        if (fType == "string" && leaves.size() > 1) return false;
        for (size_t i = 0; i < leaves.size(); ++i) {
            const json& operand = fOperands[fOperands.size() == 1 ? 0 : i];
            if (!isNumber) *leaves[i] = operand;
            if (isNumber && !combine(fType, fOperation[0], *leaves[i], operand)) return false;
        }
        return true;
    }

  private:
    unsigned below(unsigned end) { return static_cast<unsigned>(fRandom() % end); }

    static unsigned partsPerValue(const std::string& type) {
        return type.find("4x4") == type.npos ? 1 : 16;
    }

    json part() {
        if (fType == "bool") return below(2) == 0;
        const char* texts[] = {"", " a, b ", "=", "\"x\\", "\xE8\x8C\xB6\n"};
        if (fType == "string") return texts[below(5)];
        const int numbers[] = {0, 1, 2, 3, 100, 255, -1, -7};
        const int number = numbers[below(below(4) == 0 ? 8 : 5)];
        if (kRanges.count(fType) != 0) return number;
        return number / 8.0 * (below(9) == 0 ? 1e36 : 1);
    }
    json value() {
        if (fType == "string" && below(4) == 0) return nullptr;
        if (fPart || partsPerValue(fType) == 1) return part();
        json matrix = json::array();
        while (matrix.size() < 16) matrix.push_back(part());
        return matrix;
    }

    void makeOperands() {
        const unsigned values = fPart ? 1 : fMember["length"].get<unsigned>();
        if (fOperation == ":=") return makeJson(values);
        unsigned count = values * (fPart ? 1 : partsPerValue(fType));
        if (fType != "string" && below(8) == 0) ++count;
        if (fOperation != "=" && below(2) == 0) count = 1;
        // A single string is all of the text.
        if (fType == "string") count = 1;
        while (fOperands.size() < count) fOperands.push_back(part());
    }
    void makeJson(unsigned values) {
        // These fit their types; what does not is in other tests.
        const auto fitting = [&] {
            for (;;) {
                json made = value();
                const auto range = kRanges.find(fType);
                if (range == kRanges.end() ||
                    (wide(made) >= range->second.first && wide(made) <= range->second.second))
                    return made;
            }
        };
        if (values == 1) return void(fJson = fitting());
        fJson = json::array();
        while (fJson.size() < values) fJson.push_back(fitting());
    }

    std::mt19937 fRandom;
    std::string fTarget, fOperation, fType;
    json fMember;
    std::optional<unsigned> fPart;
    std::vector<json> fOperands;
    json fJson;
};

/// The slow way. Nothing where the assignment has to be refused.
std::optional<json> edited(json document, const RandomAssignment& assignment,
                           const json& structure) {
    for (json& node : document["associations"])
        for (json& channel : node["channels"])
            for (json& stream : channel["streams"])
                for (json& element : stream["elements"])
                    if (stream["structure"] == structure["name"] &&
                        !assignment.apply(element["values"]))
                        return {};
    return document;
}

bool edit(Data::Accessor& scene, const std::string& text, const json& structure) try {
    for (auto& [name, node] : scene.associations())
        for (Data::Channel channel : node)
            for (Data::Stream& stream : channel) {
                if (stream.structure().name() != structure["name"].get<std::string>()) continue;
                const std::vector<std::string> texts = {text};
                const Assignments assignments(stream.structure(), texts);
                for (const auto& [index, element] : stream.elements()) {
                    Data::Handle handle = element;
                    assignments.apply(handle);
                }
            }
    return true;
} catch (const CommandError&) {
    return false;
}

void import(const json& document, const Scene& scene) {
    const std::string text = document.dump();
    JsonSource source{std::string_view(text)};
    import(readDocument(source), scene, ImportHow::kReplace);
}

std::string storedDocument(const Scene& scene) {
    store(scene);
    return documentOf(*opened(scene.accessor->fileName()).accessor);
}

TEST(EditLaw, DoesWhatAChangedDocumentDoes) {
    const TestFolder folder;
    std::map<bool, unsigned> outcomes;
    for (unsigned seed = 0; seed < 100; ++seed) {
        const std::string kind = seed % 2 == 0 ? ".kx" : ".ky";
        const Scene scene = opened(folder.bareScene("edited" + kind));
        const Scene other = opened(folder.bareScene("imported" + kind));
        RandomModel(seed).fill(*scene.accessor);
        const json document = json::parse(documentOf(*scene.accessor));
        for (unsigned i = 0; i < 30; ++i) {
            const json& structures = document["structures"];
            const json& structure = structures[i % structures.size()];
            const RandomAssignment assignment(structure, seed * 1000 + i);
            const auto expected = edited(document, assignment, structure);
            import(document, scene);
            const bool isDone = edit(*scene.accessor, assignment.text(), structure);
            ASSERT_EQ(isDone, expected.has_value()) << assignment.text() << structure;
            ++outcomes[isDone];
            if (!isDone) continue;
            import(*expected, other);
            ASSERT_EQ(documentOf(*scene.accessor), documentOf(*other.accessor))
                << assignment.text() << structure;
            if (i < 26) continue;
            ASSERT_EQ(storedDocument(scene), storedDocument(other)) << assignment.text();
        }
    }
    EXPECT_GT(outcomes[true], 1000U);
    EXPECT_GT(outcomes[false], 300U);
}

}  // namespace
}  // namespace orbo::Quilmeta
