// Documents that are read back.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>

#include "RandomModel.h"
#include "json/DocumentReader.h"
#include "patches/Import.h"

namespace orbo::Quilmeta {
namespace {

SceneModel modelOf(const std::string& document) {
    JsonSource source{std::string_view(document)};
    return readDocument(source);
}

TEST(Import, GivesTheSameDocumentAgain) {
    const TestFolder folder;
    for (unsigned seed = 0; seed < 60; ++seed) {
        const char* kind = seed % 2 == 0 ? ".kx" : ".ky";
        const Scene first = opened(folder.bareScene(std::string("first") + kind));
        RandomModel(seed).fill(*first.accessor);
        store(first);
        const std::string document = documentOf(*opened(first.accessor->fileName()).accessor);

        const Scene second = opened(folder.bareScene(std::string("second") + kind));
        import(modelOf(document), second, seed % 3 == 0 ? ImportHow::kReplace : ImportHow::kMerge);
        store(second);
        const Scene again = opened(second.accessor->fileName());
        ASSERT_EQ(documentOf(*again.accessor), document) << "seed " << seed;
    }
}

std::string problemsOf(const std::string& document) {
    try {
        modelOf(document);
    } catch (const CommandError& error) {
        return error.what();
    }
    return "none\n";
}

/// A document with one stream of one structure.
std::string document(const std::string& elements, const std::string& indexType = "numeric") {
    return R"({"associations": [{"channels": [{"streams": [
{"elements": [)" +
           elements + R"(], "name": "s", "indexType": ")" + indexType + R"(", "structure": "S"}
], "name": "c"}], "name": "n"}], "structures": [{"name": "S", "members": [
{"name": "a", "type": "int8", "length": 1}, {"name": "b", "type": "float", "length": 2},
{"name": "t", "type": "string", "length": 1}, {"name": "f", "type": "bool", "length": 1},
{"name": "m", "type": "flt4x4", "length": 1}, {"name": "u", "type": "uint64", "length": 1}]}],
"quilmeta": 1})";
}

const std::string kMatrix = "[1,0,0,0,0,1,0,0,0,0,1,0,0,0,0,1]";
std::string values(const std::string& a, const std::string& b = "[1, 2]",
                   const std::string& t = "null", const std::string& f = "true",
                   const std::string& m = kMatrix, const std::string& u = "0") {
    return R"({"m": )" + m + R"(, "a": )" + a + R"(, "b": )" + b + R"(, "t": )" + t + R"(, "f": )" +
           f + R"(, "u": )" + u + "}";
}
std::string element(const std::string& index, const std::string& values) {
    return R"({"values": )" + values + R"(, "index": )" + index + "}";
}

TEST(Import, TakesKeysInAnyOrderAndValuesOfEveryForm) {
    const SceneModel model = modelOf(
        document(element("7", values("-128", R"(["-Infinity", 0.1])", R"({"base64": "/w=="})",
                                     "false", kMatrix, "18446744073709551615"))));
    const Data::Stream* stream = model.nodes.at("n").findChannel("c")->findDataStream("s");
    const Data::ConstHandle found = stream->element(7);
    EXPECT_EQ(found.get<signed char>("a"), -128);
    EXPECT_EQ(found.get<std::string>("t"), "\xFF");
    EXPECT_EQ(found.get<unsigned long long>("u"), 18446744073709551615ULL);
    EXPECT_EQ(found.str(0), "-128");
}

TEST(Import, FindsEveryProblemWithLineAndPath) {
    const std::string place = "line 2: $.associations[0].channels[0].streams[0].elements[0]";
    const struct {
        std::string elements, problems;
    } rows[] = {
        {element("0", values("1")), "none\n"},
        {"", "none\n"},
        {element("0", values("128")), place + ".values.a: 128 is out of range\n"},
        {element("0", values("1.5")), place + ".values.a: 1.5 is no whole number\n"},
        {element("0", values("\"1\"")), place + ".values.a: \"1\" is no whole number\n"},
        {element("0", values("1", "[1]")), place + ".values.b: has 1 value instead of 2\n"},
        {element("0", values("1", "2")), place + ".values.b: is not a list\n"},
        {element("0", values("1", "[1, \"x\"]")), place + ".values.b[1]: \"x\" is no number\n"},
        {element("0", values("1", "[1, 2]", "3")), place + ".values.t: is not a string\n"},
        {element("0", values("1", "[1, 2]", "\"a\\u0000\"")),
         place + ".values.t: has a byte 0, which no string can hold\n"},
        {element("0", values("1", "[1, 2]", R"({"base64": "/w="})")),
         place + ".values.t: is not base64\n"},
        {element("0", values("1", "[1, 2]", "null", "1")),
         place + ".values.f: is not true or false\n"},
        {element("0", values("1", "[1, 2]", "null", "true", "[1]")),
         place + ".values.m: has 1 value instead of 16\n"},
        {element("-1", values("1")), place + ".index: -1 is no whole number\n"},
        {element("4294967296", values("1")), place + ".index: 4294967296 is out of range\n"},
        {element("0", values("1")) + "," + element("0", values("1")),
         "line 2: $.associations[0].channels[0].streams[0].elements[1].index: comes twice: index "
         "0\n"},
        {R"({"index": 0})", place + ": needs an index and values\n"},
        {R"({"index": 0, "values": {}})", place + ".values: has fewer values than the structure\n"},
        {R"({"index": 0, "values": {"a": 1, "long name of nothing": 2}})",
         place + ".values[\"long name of nothing\"]: is unknown\n"},
        {R"({"index": 0, "index": 1, "values": {}})",
         place + ".index: comes twice\n" + place +
             ".values: has fewer values than the structure\n"},
        {"7", place + ": is not an object\n"},
        {"{\"index\": 0\n\n \"values\"}",
         "line 4: $.associations[0].channels[0].streams[0].elements[0]: is no JSON: missing a "
         "comma "
         "or '}' after an object member\n"},
    };
    for (const auto& row : rows) EXPECT_EQ(problemsOf(document(row.elements)), row.problems);
}

TEST(Import, FindsProblemsOfTheOutline) {
    std::string zeros;
    for (int i = 0; i < 63; ++i) zeros += "[0]";
    const struct {
        std::string document, problems;
    } rows[] = {
        {"", "line 1: $: is no JSON: the document is empty\n"},
        {"[]", "line 1: $: is not an object\n"},
        {"{}",
         "line 1: $: has no \"associations\", as `export` writes it\n"
         "line 1: $: has no \"quilmeta\", as `export` writes it\n"
         "line 1: $: has no \"structures\", as `export` writes it\n"},
        {R"({"quilmeta": 2, "structures": 1, "associations": [], "more": [[]]})",
         "line 1: $.more: is unknown\n"
         "line 1: $.quilmeta: is a version that this program does not know\n"
         "line 1: $.structures: is not a list\n"},
        {R"({"quilmeta": 1, "associations": [], "structures": [
{"name": "A", "members": []}, {"name": "A", "members": []}, {"members": []},
{"name": "B", "members": [{"name": "x", "type": "int9", "length": 1}]},
{"name": "C", "members": [{"name": "x", "type": "int8", "length": 0}]}]})",
         "line 2: $.structures[0]: has no members, which scenes cannot hold\n"
         "line 2: $.structures[1]: comes twice: structure \"A\"\n"
         "line 2: $.structures[1]: has no members, which scenes cannot hold\n"
         "line 2: $.structures[2]: needs a name and members\n"
         "line 3: $.structures[3].members[0]: has the unknown type \"int9\"\n"
         "line 4: $.structures[4].members[0]: is no member: its name is empty or taken, or its "
         "length is 0\n"},
        {R"({"quilmeta": 1, "structures": [], "associations": [{"name": "n", "channels": [
{"name": "c", "streams": [{"name": "s", "structure": "no", "indexType": "numeric",
"elements": []}]}]},
{"name": "n", "channels": []}]})",
         "line 2: $.associations[0].channels[0].streams[0]: the document has no structure \"no\"\n"
         "line 4: $.associations[1]: comes twice: node \"n\"\n"},
        {std::string(100'000, '['), "line 1: $" + zeros + ": is nested too deeply\n"},
        {"\xEF\xBB\xBF{\"\xFF\": 1}", "line 1: $: is no JSON: invalid encoding in string\n"},
        {R"({"quilmeta": 1, "structures": [], "associations": []})" + std::string("\0{}", 3),
         "line 1: $: is no JSON: has a byte 0 behind its end\n"},
    };
    for (const auto& row : rows) EXPECT_EQ(problemsOf(row.document), row.problems);
}

TEST(Import, TakesEveryTypeOfIndex) {
    EXPECT_EQ(problemsOf(document(element("[1, 2]", values("1")), "pair")), "none\n");
    EXPECT_EQ(problemsOf(document(element("\"lid\"", values("1")), "string")), "none\n");
    const std::string text = document(element("\"0.5 0.5\"", values("1")), "uv set");
    const SceneModel model = modelOf(text);
    const Data::Stream* stream = model.nodes.at("n").findChannel("c")->findDataStream("s");
    EXPECT_EQ(stream->indexType(), "uv set");
    EXPECT_EQ(stream->cbegin().index().typeName(), "uv set");
    EXPECT_EQ(stream->cbegin().index().asString(), "0.5 0.5");
}

}  // namespace
}  // namespace orbo::Quilmeta
