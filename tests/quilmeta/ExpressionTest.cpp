// What expressions select, and what they say when they are wrong.
// SPDX-License-Identifier: Apache-2.0
#include <data/IndexPair.h>
#include <data/IndexString.h>
#include <data/Stream.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "expressions/Expression.h"
#include "expressions/StreamFilter.h"
#include "values/ClosestName.h"

namespace orbo::Quilmeta {
namespace {

using Data::Member;

Place somewhere() {
    return Place()
        .set(Field::kFile, "shots/a.kx")
        .set(Field::kNode, "rig:lid")
        .set(Field::kChannel, "edge")
        .set(Field::kStream, "crease");
}

/// A stream of one element, under an index, that has members of many types.
class Bench {
  public:
    explicit Bench(const Data::Index& index = 7)
        : fStructure(structure()), fStream(*fStructure, "crease") {
        if (index.complexIndex()) fStream.setIndexType(index.typeName());
        Data::Handle element = fStream.emplaceElement(index);
        element.set("f", 0.4F);
        element.set("nan", std::numeric_limits<float>::quiet_NaN());
        element.set("d", 0.4);
        element.set("i8", static_cast<signed char>(-5));
        element.set("i32", 12);
        element.set("i64", std::numeric_limits<long long>::max());
        element.set("u64", std::numeric_limits<unsigned long long>::max());
        element.set("yes", true);
        element.set("name", "gold rim");
        element.set("odd name", 3);
        element.set("pos", std::array<float, 3>{0.1F, 2, 3});
        std::array<double, 16> matrix{};
        matrix[5] = 1.5;
        element.set("matrix", matrix);
    }

    bool selects(const std::string& text, const Place& place = somewhere()) {
        const StreamFilter filter(Expression(text), *fStructure);
        int count = 0;
        filter.forEach(fStream, place, [&](const auto&, const auto&) { ++count; });
        return count == 1;
    }
    /// "true", "false" or "unknown": neither the expression nor its opposite selects.
    std::string truth(const std::string& text) {
        const bool is = selects(text);
        const bool isNot = selects("not (" + text + ")");
        EXPECT_FALSE(is && isNot) << text;
        return is ? "true" : isNot ? "false" : "unknown";
    }
    std::string error(const std::string& text) {
        try {
            selects(text);
        } catch (const ExpressionError& error) {
            return error.what();
        }
        return {};
    }

  private:
    static RefPtr<Data::Structure> structure() {
        RefPtr<Data::Structure> structure(Data::Structure::create());
        structure->setName("Crease");
        structure->addMember(Member::kInt8, 1, "i8");
        structure->addMember(Member::kFloat, 1, "f");
        structure->addMember(Member::kFloat, 1, "nan");
        structure->addMember(Member::kDouble, 1, "d");
        structure->addMember(Member::kInt32, 1, "i32");
        structure->addMember(Member::kInt64, 1, "i64");
        structure->addMember(Member::kUInt64, 1, "u64");
        structure->addMember(Member::kBoolean, 1, "yes");
        structure->addMember(Member::kString, 1, "name");
        structure->addMember(Member::kString, 1, "none");
        structure->addMember(Member::kInt32, 1, "odd name");
        structure->addMember(Member::kFloat, 3, "pos");
        structure->addMember(Member::kDoubleMatrix4x4, 1, "matrix");
        return structure;
    }

    RefPtr<Data::Structure> fStructure;
    Data::Stream fStream;
};

struct Row {
    const char* expression;
    const char* truth;
};

template <size_t kCount>
void check(Bench bench, const Row (&rows)[kCount]) {
    for (const Row& row : rows) EXPECT_EQ(bench.truth(row.expression), row.truth) << row.expression;
}

TEST(Expression, ComparesNumbersExactly) {
    const Row kRows[] = {
        {"f == 0.4", "true"},
        {"d == 0.4", "true"},
        {"f == d", "false"},
        {"0.4 == f", "true"},
        {"f in (0.3, 0.4)", "true"},
        {"f in 0.4..0.5", "true"},
        {"f in 0.3..0.4", "true"},
        {"f + 0.0 == 0.4", "false"},
        {"f < 1e300", "true"},
        {"f > -1e300", "true"},
        {"f <= 1", "true"},
        {"i8 == -5", "true"},
        {"i8 < 4000000000", "true"},
        {"i8 < u64", "true"},
        {"u64 > i64", "true"},
        {"u64 == 18446744073709551615", "true"},
        {"u64 < 18446744073709551616", "true"},
        {"u64 == 18446744073709551615.0", "false"},
        {"u64 < 18446744073709551615.0", "true"},
        {"i64 == 9223372036854775807", "true"},
        {"i64 < 9223372036854775807.0", "true"},
        {"i64 > 9223372036854774784.0", "true"},
        {"i32 > 11.5", "true"},
        {"i32 < 11.5", "false"},
        {"-11.5 > i8 * 3", "true"},
        {"i32 == 12.0", "true"},
        {"-9223372036854775808 < -9223372036854775807", "true"},
    };
    check(Bench(), kRows);
}

TEST(Expression, Calculates) {
    const Row kRows[] = {
        {"i32 + 2 * 3 == 18", "true"},
        {"(i32 + 2) * 3 == 42", "true"},
        {"20 - i32 - 3 == 5", "true"},
        {"i32 / 5 == 2", "true"},
        {"i8 / 2 == -2", "true"},
        {"i32 / 5.0 == 2.4", "true"},
        {"-i8 == 5", "true"},
        {"--i32 == 12", "true"},
        {"i32 -2 == 10", "true"},
        {"i64 + 1 > 0", "unknown"},
        {"i64 - 1 < i64", "true"},
        {"u64 + 1 > 0", "unknown"},
        {"u64 - 1 < u64", "true"},
        {"0 - u64 < 0", "unknown"},
        {"i64 * i64 * i64 > 0", "unknown"},
        {"(-9223372036854775807 - 1) / -1 > 0", "unknown"},
        {"i32 / 0 == 0", "unknown"},
        {"d / 0 == 0", "unknown"},
        {"d / 0.0 > 0", "unknown"},
        {"1e308 * 10 > 0", "unknown"},
        {"name + 1 == 1", "unknown"},
        {"yes + 1 == 2", "unknown"},
    };
    check(Bench(), kRows);
}

TEST(Expression, HasThreeValues) {
    const Row kRows[] = {
        {"x > 1", "unknown"},
        {"x == x", "unknown"},
        {"x == null", "unknown"},
        {"exists(x)", "false"},
        {"exists(f) and exists(pos) and exists(pos[2])", "true"},
        {"exists(pos[3])", "false"},
        {"pos[3] > 0", "unknown"},
        {"nan == nan", "unknown"},
        {"nan != 1", "unknown"},
        {"nan == null", "false"},
        {"none == \"a\"", "unknown"},
        {"none != \"a\"", "unknown"},
        {"none == null", "true"},
        {"none != null", "false"},
        {"name == null", "false"},
        {"null != name", "true"},
        {"f == null", "false"},
        {"none in (null, \"a\")", "true"},
        {"none in (\"b\", \"a\")", "unknown"},
        {"none ~ \"*\"", "unknown"},
        {"none =~ \"\"", "unknown"},
        {"none < null", "unknown"},
        {"name == 1", "unknown"},
        {"f != \"0.4\"", "unknown"},
        {"name in (1, \"gold rim\")", "true"},
        {"name in (1, \"gold\")", "unknown"},
        {"yes == 1", "unknown"},
        {"node > 5", "unknown"},
        {"x > 1 and false", "false"},
        {"x > 1 or true", "true"},
        {"x > 1 or yes", "true"},
        {"x > 1 and yes", "unknown"},
        {"nan > 1 or f > 0", "true"},
        {"nan > 1 and f > 9", "false"},
        {"not not yes", "true"},
        {"(f > 0) == yes", "true"},
        {"(nan > 0) == yes", "unknown"},
        {"yes != false", "true"},
        {"yes < true", "unknown"},
    };
    check(Bench(), kRows);
}

TEST(Expression, ReadsPlacesStringsAndLists) {
    const Row kRows[] = {
        {"channel == \"edge\" and stream == \"crease\" and structure == \"Crease\"", "true"},
        {"node ~ \"rig:*\" and file ~ \"*.kx\" and indextype == \"numeric\"", "true"},
        {"node !~ \"rig:*\"", "false"},
        {"name ~ \"gold\"", "false"},
        {"name ~ \"g?ld*\"", "true"},
        {"name =~ \"ld r\"", "true"},
        {"name !=~ \"^r\"", "true"},
        {"name =~ \"^gold\\\\s\"", "true"},
        {"name > \"gold\" and name < \"gold\\u0073\"", "true"},
        {"name in \"gold\"..\"gole\"", "true"},
        {"name in (\"silver\", \"gold rim\",)", "true"},
        {"i32 in (1..3, 12..12)", "true"},
        {"i32 in 13..11", "false"},
        {"member[\"odd name\"] == 3", "true"},
        {"member[\"pos\"][1] == 2", "true"},
        {"f[0] == 0.4", "true"},
        {"pos == (0.1, 2, 3)", "true"},
        {"(0.1, 2, 4) != pos", "true"},
        {"pos == (0.1, 2)", "false"},
        {"pos == (0.1, 2, \"3\")", "unknown"},
        {"pos == (0.2, 2, \"3\")", "false"},
        {"pos in ((1, 2, 3), (0.1, 2, 3))", "true"},
        {"matrix[5] == 1.5 and matrix[15] == 0", "true"},
        {"matrix == (0,0,0,0, 0,1.5,0,0, 0,0,0,0, 0,0,0,0)", "true"},
        {"not f > 1 and\n\tyes", "true"},
        {"false and yes or yes", "true"},
    };
    check(Bench(), kRows);
}

TEST(Expression, KnowsEachTypeOfIndex) {
    const Row kNumber[] = {
        {"index == 7", "true"},        {"index in 7..7", "true"},    {"index * 2 > 13.5", "true"},
        {"index == \"7\"", "unknown"}, {"index[0] == 7", "unknown"}, {"index == (7, 7)", "unknown"},
        {"index == null", "false"},
    };
    check(Bench(), kNumber);
    const Row kPair[] = {
        {"index == (3, 70)", "true"},           {"index != (3, 7)", "true"},
        {"(3, 70) == index", "true"},           {"index < (4, 0) and (3, 9) < index", "true"},
        {"index in ((1, 2), (3, 70))", "true"}, {"index[0] == 3 and index[1] == 70", "true"},
        {"index[0] + index[1] == 73", "true"},  {"index == 3", "unknown"},
        {"index == (3, 70, 1)", "unknown"},     {"indextype == \"pair\"", "true"},
    };
    check(Bench(Data::IndexPair(3, 70)), kPair);
    const Row kString[] = {
        {"index == \"a lid that is long enough\"", "true"},
        {"index ~ \"*lid*\"", "true"},
        {"index =~ \"^a\"", "true"},
        {"index == 7", "unknown"},
    };
    check(Bench(Data::IndexString("a lid that is long enough")), kString);
}

TEST(Expression, PointsAtWhatIsWrong) {
    const struct {
        const char* expression;
        const char* error;
    } kRows[] = {
        {"", "the expression ends where a value is needed\n    \n    ^"},
        {"f = 1", "\"=\" is no operator: write \"==\" to compare\n    f = 1\n      ^"},
        {"f > 1 && yes", "\"&&\" is no operator: write \"and\"\n    f > 1 && yes\n          ^"},
        {"1 < f < 3",
         "comparisons do not chain: join two of them with \"and\"\n    1 < f < 3\n          ^"},
        {"f", "member \"f\" (float) is no condition: compare it with something\n    f\n    ^"},
        {"f + 1", "this is no condition: compare it with something\n    f + 1\n      ^"},
        {"pos > 1",
         "member \"pos\" (float[3]) has 3 values: write pos[0] for the first, or compare it with a "
         "list\n    pos > 1\n    ^"},
        {"yes and matrix == 1",
         "member \"matrix\" (dbl4x4) has 16 values: write matrix[0] for the first, or compare it "
         "with a list\n    yes and matrix == 1\n            ^"},
        {"name == \"\u8336\\u0041\" and >",
         "a value is needed here\n    name == \"\u8336\\u0041\" and >\n"
         "                           ^"},
        {"f >\n\tyes or\n\t$x",
         "line 3 of the expression: \"$\" has no meaning here; odd names of "
         "members are written as member[\"odd name\"]\n    \\t$x\n      ^"},
        {"name =~ \"(\"", "bad regular expression: missing ): (\n    name =~ \"(\"\n            ^"},
        {"i32 in 5",
         "behind \"in\" a range or a list in parentheses is needed\n    i32 in 5\n"
         "           ^"},
        {"i32 in 1..\"a\"",
         "both ends of a range are numbers, or both are strings\n"
         "    i32 in 1..\"a\"\n              ^"},
        {"name == \"a", "the string has no end\n    name == \"a\n            ^"},
        {"index[2] == 1",
         "an index has the numbers index[0] and index[1]\n    index[2] == 1\n"
         "         ^"},
        {"f > .5", "a number begins with a digit, as 0.5 does\n    f > .5\n        ^"},
        {"(f, 1) == pos", "a list has plain values only\n    (f, 1) == pos\n     ^"},
        {"f + (1, 2) == pos",
         "a list can only be compared, with ==, != or in\n    f + (1, 2) == pos\n        ^"},
    };
    Bench bench;
    for (const auto& row : kRows) EXPECT_EQ(bench.error(row.expression), row.error);
}

TEST(Expression, ShowsTheSurroundingsInALongLine) {
    const std::string error = Bench().error("f > 1 or name == \"" + std::string(300, 'a') + "\" $" +
                                            std::string(300, ' '));
    EXPECT_EQ(error.substr(error.find('\n')), "\n    ..." + std::string(58, 'a') + "\" $" +
                                                  std::string(59, ' ') + "...\n" +
                                                  std::string(67, ' ') + "^");
}

TEST(Expression, ForgivesMisuseThatIsIdle) {
    Bench bench;
    EXPECT_FALSE(bench.selects("structure == \"Other\" and pos > 1"));
    EXPECT_TRUE(bench.selects("structure != \"Other\" or pos > 1"));
    EXPECT_TRUE(bench.selects("(exists(x) and pos > 1) or yes"));
    EXPECT_NE(bench.error("channel == \"edge\" and pos > 1"), "");
}

TEST(Expression, CannotExhaustTheStack) {
    const auto repeated = [](const std::string& text, int count) {
        std::string all;
        for (int i = 0; i < count; ++i) all += text;
        return all;
    };
    Bench bench;
    EXPECT_TRUE(bench.selects(repeated("(", 90) + "yes" + repeated(")", 90)));
    for (const char* opening : {"(", "not ", "- ", "exists(", "f in ("})
        EXPECT_THROW(Expression(repeated(opening, 100000)), ExpressionError) << opening;
    EXPECT_TRUE(bench.selects(repeated("yes and ", 50000) + "yes"));
    EXPECT_TRUE(bench.selects("0 < 1" + repeated(" + 1", 50000)));
}

TEST(Expression, TellsWhereNothingCanMatch) {
    const Expression expression("channel == \"edge\" and f > 1 or node ~ \"old:*\"");
    const auto canMatch = [&](const char* node, const char* channel) {
        Place place;
        if (node) place.set(Field::kNode, node);
        if (channel) place.set(Field::kChannel, channel);
        return expression.canMatch(place);
    };
    EXPECT_TRUE(canMatch(nullptr, nullptr));
    EXPECT_TRUE(canMatch("new:a", nullptr));
    EXPECT_TRUE(canMatch("new:a", "edge"));
    EXPECT_TRUE(canMatch("old:a", "tag"));
    EXPECT_FALSE(canMatch("new:a", "tag"));
    EXPECT_FALSE(Expression("not (x > 1 or true)").canMatch({}));
}

TEST(Expression, WarnsOfMembersThatNoStructureHas) {
    RefPtr<Data::Structure> structure(Data::Structure::create());
    structure->addMember(Member::kFloat, 1, "roughness");
    MembersSeen seen;
    seen.add(*structure);
    const auto warnings =
        Expression("roughness > 1 or (rougness < 2 and exists(q) and z > rougness)").warnings(seen);
    ASSERT_EQ(warnings.size(), 2u);
    EXPECT_EQ(warnings[0],
              "no structure has a member \"rougness\", did you mean \"roughness\"?\n"
              "    roughness > 1 or (rougness < 2 and exists(q) and z > rougness)\n"
              "                      ^");
    EXPECT_EQ(warnings[1].substr(0, warnings[1].find('\n')), "no structure has a member \"z\"");
}

TEST(StreamFilter, WalksManyElementsOfEveryKindOfIndex) {
    RefPtr<Data::Structure> structure(Data::Structure::create());
    structure->addMember(Member::kUInt32, 1, "n");
    structure->addMember(Member::kString, 1, "s");
    Data::Stream stream(*structure, "s");
    for (unsigned int i = 0; i < 1000; ++i) stream.emplaceElement(i * 3).set("n", i);
    for (unsigned int i = 0; i < 300; ++i) stream.emplaceElement({i, i + 1}).set("n", i);
    stream.emplaceElement("lid").set("n", 5U);
    const auto found = [&](const char* text) {
        std::vector<std::string> indices;
        const StreamFilter filter(Expression(text), *structure);
        filter.forEach(stream, {}, [&](const auto& index, const auto& element) {
            indices.push_back(index.asString());
            element.set("s", "found");
        });
        return indices;
    };
    using List = std::vector<std::string>;
    EXPECT_EQ(found("n == 5"), (List{"15", "5 6", "lid"}));
    EXPECT_EQ(found("n == 5 and index > 10"), (List{"15"}));
    EXPECT_EQ(found("index[1] == 129 or index == \"lid\" or index == 384"),
              (List{"384", "128 129", "lid"}));
    EXPECT_EQ(found("s == \"found\"").size(), 5u);
    EXPECT_EQ(found("n in 0..9999").size(), 1301u);
}

TEST(ClosestName, FindsWhatWasMeant) {
    const struct {
        const char* wanted;
        const char* question;
    } kRows[] = {
        {"rougness", ", did you mean \"roughness\"?"},
        {"ROUGHNESS", ", did you mean \"roughness\"?"},
        {"raduis", ", did you mean \"radius\"?"},
        {"sied", ", did you mean \"side\"?"},
        {"material", ""},
        {"", ""},
    };
    const std::vector<std::string> names{"radius", "roughness", "side", std::string(100, 'a')};
    for (const auto& row : kRows) EXPECT_EQ(didYouMean(row.wanted, names), row.question);
}

}  // namespace
}  // namespace orbo::Quilmeta
