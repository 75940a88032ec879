// MEMBER=VALUE: what is stored, and how the rest is refused; texts that are one value.
// SPDX-License-Identifier: Apache-2.0
#include "Assignment.h"
#include "ParseValue.h"
#include "Trouble.h"

#include <data/Handle.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>

namespace orbo::Quilmeta {
namespace {

using Data::Member;

/// What becomes of the member of a new element, or the refusal.
std::string outcome(const std::vector<std::string>& assignments, const char* member) {
    const RefPtr<Data::Structure> structure(Data::Structure::create());
    structure->addMember(Member::kUInt8, 1, "layer");
    structure->addMember(Member::kFloat, 3, "position");
    structure->addMember(Member::kDoubleMatrix4x4, 2, "bind");
    structure->addMember(Member::kString, 2, "tags");
    structure->addMember(Member::kInt16, 1, "a=b");
    structure->addMember(Member::kInt16, 1, "position[1]");
    Data::Handle element(*structure);
    try {
        assign(*structure, element, assignments);
    } catch (const Trouble& trouble) {
        return trouble.what();
    }
    EXPECT_TRUE(element.setPositionByMemberName(member));
    std::string text;
    const bool strings = element.dataType() == Member::kString;
    for (unsigned int i = 0; i < element.dataLength(); ++i) {
        const char* string = strings ? element.asString()[i] : nullptr;
        text += (strings ? string ? string : "none" : element.str(i)) + "|";
    }
    return text.substr(0, text.size() - 1);
}

TEST(Assignment, StoresOrNamesWhatItRefuses) {
    const std::string zeros = "0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0";
    const std::string counted = "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16";
    const std::string known = " (members: layer, position, bind, tags, a=b, position[1])";
    const struct {
        std::string assignment;
        const char* member;
        std::string expected;
    } rows[] = {
        {"layer=255", "layer", "255"},
        {"position= 0.5 -1\t2 ", "position", "0.5|-1|2"},
        {"position[2]=7", "position", "0|0|7"},
        {"bind[1]=" + counted, "bind", zeros + "|" + counted},
        {"bind=" + counted + " " + zeros, "bind", counted + "|" + zeros},
        // Strings are taken as they are.
        {"tags[1]= a=b \"c\" \xFF", "tags", "none| a=b \"c\" \xFF"},
        {"tags[0]=", "tags", "|none"},
        // Names may look like syntax.
        {"a=b=3", "a=b", "3"},
        {"position[1]=4", "position[1]", "4"},
        {"position[1]=4", "position", "0|0|0"},
        {"colour=1", "", "structure \"structure\" has no member \"colour\"" + known},
        {"bind=1", "", "\"bind\" takes 32 values, but 1 was given"},
        {"bind[1]=1", "", "\"bind[1]\" takes 16 values, but 1 was given"},
        {"tags=a b", "", "\"tags\" holds 2 strings: set one at a time, as in \"tags[0]=TEXT\""},
    };
    for (const auto& row : rows) EXPECT_EQ(outcome({row.assignment}, row.member), row.expected);
    for (const std::string name : {"position[", "position[]", "position[-1]", "[0]", "",
                                   "position[0]x", "position[4294967296]"})
        EXPECT_NE(outcome({name + "=1"}, "").find("has no member"), std::string::npos) << name;
}

TEST(Assignment, RefusesAValueThatIsGivenTwice) {
    const struct {
        std::vector<std::string> assignments;
        const char* expected;
    } rows[] = {
        {{"layer=1", "layer=1"}, "\"layer\" is given twice"},
        {{"layer=1", "layer[0]=2"}, "\"layer[0]\" is given twice"},
        {{"position[0]=1", "layer=2", "position=1 2 3"}, "\"position\" is given twice"},
        {{"tags[1]=a", "tags[0]=b", "tags[01]=c"}, "\"tags[01]\" is given twice"},
        {{"position[2]=3", "layer=2", "position[0]=1"}, "1|0|3"},
        // A member of its own.
        {{"position[0]=1", "position[1]=2"}, "1|0|0"},
    };
    for (const auto& row : rows) EXPECT_EQ(outcome(row.assignments, "position"), row.expected);
}

/// What is refused leaves the value as it was.
template <typename Value>
void check(Parsed expected, std::initializer_list<std::pair<std::string, Value>> rows) {
    for (const auto& [text, result] : rows) {
        Value value = 1;
        EXPECT_EQ(parseValue(text, value), expected) << '"' << text << '"';
        EXPECT_EQ(value, result) << '"' << text << '"';
    }
}
template <typename Value>
void refuse(Parsed expected, std::initializer_list<std::string> texts) {
    for (const std::string& text : texts) check<Value>(expected, {{text, 1}});
}

TEST(ParseValue, TakesWholeIntegersInRange) {
    check<signed char>(Parsed::kGood, {{"-128", -128}, {"+127", 127}, {"007", 7}, {"-0", 0}});
    check<unsigned long long>(Parsed::kGood, {{"18446744073709551615", ~0ULL}});
    refuse<signed char>(Parsed::kOutOfRange, {"128", "-129", "99999999999999999999"});
    refuse<unsigned long long>(Parsed::kOutOfRange, {"18446744073709551616"});
    refuse<unsigned long long>(Parsed::kMalformed, {"-18446744073709551615"});
    refuse<int>(Parsed::kMalformed, {"", " 5", "5 ", "5\n", "12abc", "1,5", "1.0", "1e2", "0x10",
                                     "+", "-", "+-1", "++1", "1-", std::string("5\0", 2)});
}

TEST(ParseValue, TakesWholeRealsThatTheTypeCanHold) {
    check<double>(Parsed::kGood,
                  {{"-2e3", -2000}, {"+.5", 0.5}, {"1.", 1}, {"0e-999", 0}, {"5e-324", 5e-324}});
    check<float>(Parsed::kGood, {{"16777217", 16777216.0f}, {"1e-45", 1e-45f}});
    refuse<double>(Parsed::kOutOfRange, {"1e309", "-1e309", "1e-400"});
    refuse<float>(Parsed::kOutOfRange, {"1e39", "1e-46"});
    refuse<double>(Parsed::kMalformed, {"", "1,5", "1.5f", "1.5.5", ".", "e5", "1e", "inf", "nan",
                                        "0x1p3", "1 2", "+-1", "1'000"});
}

TEST(ParseValue, TakesTheSpellingsOfBooleansInScenes) {
    check<bool>(Parsed::kGood, {{"1", true}, {"t", true}, {"T", true}, {"true", true}});
    check<bool>(Parsed::kGood, {{"0", false}, {"f", false}, {"F", false}, {"False", false}});
    refuse<bool>(Parsed::kMalformed, {"", "TRUE", "yes", "2", "01", "truet", " 1"});
}

}  // namespace
}  // namespace orbo::Quilmeta
