// Random expressions select what a slow, obvious evaluator says they do.
// SPDX-License-Identifier: Apache-2.0
#include <data/IndexPair.h>
#include <data/IndexString.h>
#include <data/Stream.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "expressions/Expression.h"
#include "expressions/StreamFilter.h"

namespace orbo::Quilmeta {
namespace {

using Data::Member;
__extension__ typedef __int128 Wide;

struct Value {
    enum Kind { kUnknown, kNull, kBool, kInteger, kReal, kText, kPair };
    Kind kind = kUnknown;
    bool truth = false;
    Wide integer = 0;
    bool isUnsigned = false;
    double real = 0;
    bool isFloatMember = false, isDecimalLiteral = false, isMember = false;
    float narrow = 0;
    std::string text;
    std::pair<Wide, Wide> pair;
};

Value ofBool(bool truth) {
    Value value;
    value.kind = Value::kBool;
    value.truth = truth;
    return value;
}
Value ofInteger(Wide integer, bool isUnsigned = false) {
    Value value;
    value.kind = Value::kInteger;
    value.integer = integer;
    value.isUnsigned = isUnsigned;
    return value;
}
Value ofReal(double real) {
    Value value;
    value.kind = Value::kReal;
    value.real = real;
    return value;
}
Value ofText(const std::string& text) {
    Value value;
    value.kind = Value::kText;
    value.text = text;
    return value;
}
Value null() {
    Value value;
    value.kind = Value::kNull;
    return value;
}

using Element = std::map<std::string, Value>;

/// An expression as text, and what it gives for an element.
struct Term {
    std::string text;
    std::function<Value(const Element&)> value;
};

bool isNumber(const Value& value) {
    return value.kind == Value::kInteger || value.kind == Value::kReal;
}

/// All integers and reals that occur are exact in a long double.
long double exact(const Value& value) {
    static_assert(std::numeric_limits<long double>::digits >= 64);
    return value.kind == Value::kInteger ? static_cast<long double>(value.integer) : value.real;
}

template <typename T>
bool holds(const std::string& sign, const T& a, const T& b) {
    if (sign == "==") return a == b;
    if (sign == "!=") return a != b;
    if (sign == "<") return a < b;
    if (sign == "<=") return a <= b;
    if (sign == ">") return a > b;
    return a >= b;
}

Value compareWithNull(const Value& other) {
    if (other.kind == Value::kUnknown) return {};
    if (other.kind == Value::kReal && std::isnan(other.real) && !other.isMember) return {};
    return ofBool(other.kind == Value::kNull);
}

Value opposite(const Value& a) { return a.kind == Value::kBool ? ofBool(!a.truth) : Value(); }

Value compare(const std::string& sign, Value a, Value b) {
    const auto isNull = [](const Value& value) {
        return value.kind == Value::kNull && !value.isMember;
    };
    if ((isNull(a) || isNull(b)) && (sign == "==" || sign == "!=")) {
        const Value equal = compareWithNull(isNull(b) ? a : b);
        return sign == "==" ? equal : opposite(equal);
    }
    if (isNumber(a) && isNumber(b)) {
        if (a.isFloatMember && b.isDecimalLiteral) b.real = b.narrow;
        if (b.isFloatMember && a.isDecimalLiteral) a.real = a.narrow;
        if (std::isnan(exact(a)) || std::isnan(exact(b))) return {};
        return ofBool(holds(sign, exact(a), exact(b)));
    }
    if (a.kind != b.kind) return {};
    if (a.kind == Value::kText) return ofBool(holds(sign, a.text, b.text));
    if (a.kind == Value::kPair) return ofBool(holds(sign, a.pair, b.pair));
    if (a.kind == Value::kBool && (sign == "==" || sign == "!="))
        return ofBool(holds(sign, a.truth, b.truth));
    return {};
}

Value calculate(char sign, const Value& a, const Value& b) {
    if (!isNumber(a) || !isNumber(b)) return {};
    if (sign == '/' && exact(b) == 0) return {};
    if (a.kind == Value::kInteger && b.kind == Value::kInteger) {
        const bool isUnsigned = a.isUnsigned || b.isUnsigned;
        const long double rough = sign == '*' ? exact(a) * exact(b) : 0;
        if (std::fabs(rough) > 1e30L) return {};
        const Wide x = a.integer;
        const Wide y = b.integer;
        const Wide result = sign == '+' ? x + y : sign == '-' ? x - y : sign == '*' ? x * y : x / y;
        const Wide most = isUnsigned ? Wide{std::numeric_limits<unsigned long long>::max()}
                                     : Wide{std::numeric_limits<long long>::max()};
        if (result > most || result < std::numeric_limits<long long>::min()) return {};
        return ofInteger(result, isUnsigned);
    }
    const auto x = static_cast<double>(exact(a));
    const auto y = static_cast<double>(exact(b));
    const double result = sign == '+' ? x + y : sign == '-' ? x - y : sign == '*' ? x * y : x / y;
    if (std::isnan(result)) return {};
    if (std::isinf(result) && !std::isinf(x) && !std::isinf(y)) return {};
    return ofReal(result);
}

Value both(const Value& a, const Value& b) {
    if (a.kind == Value::kBool && !a.truth) return a;
    if (b.kind == Value::kBool && !b.truth) return b;
    return a.kind == Value::kBool && b.kind == Value::kBool ? ofBool(true) : Value();
}

Value either(const Value& a, const Value& b) { return opposite(both(opposite(a), opposite(b))); }

bool globMatches(const char* pattern, const char* text) {
    if (*pattern == '*') {
        if (globMatches(pattern + 1, text)) return true;
        return *text && globMatches(pattern, text + 1);
    }
    if (!*pattern) return !*text;
    if (!*text) return false;
    return (*pattern == '?' || *pattern == *text) && globMatches(pattern + 1, text + 1);
}

class Generator {
  public:
    explicit Generator(unsigned int seed) : fRandom(seed) {}

    unsigned int below(unsigned int limit) { return static_cast<unsigned int>(fRandom() % limit); }
    template <typename List>
    auto any(const List& list) {
        return list[below(static_cast<unsigned int>(std::size(list)))];
    }

    long long integer() {
        static constexpr long long kOdd[] = {std::numeric_limits<long long>::max(),
                                             std::numeric_limits<long long>::min(),
                                             9007199254740993, 127, 16777217};
        return below(4) == 0 ? any(kOdd) : static_cast<long long>(below(9)) - 4;
    }
    double real() {
        static constexpr double kOdd[] = {std::numeric_limits<double>::infinity(),
                                          std::numeric_limits<double>::quiet_NaN(),
                                          9007199254740992.0,
                                          18446744073709551616.0,
                                          1e308,
                                          -0.0};
        return below(4) == 0 ? any(kOdd) : (static_cast<int>(below(9)) - 4) / 10.0;
    }
    std::string text() {
        static const char* const kTexts[] = {"", "a", "b", "ab", "aab", "B", "\xC3\xA4"};
        return any(kTexts);
    }

    Element element() {
        Element element;
        element["f"] = ofReal(static_cast<float>(real()));
        element["f"].isFloatMember = true;
        element["d"] = ofReal(real());
        element["i"] = ofInteger(static_cast<signed char>(integer()));
        element["j"] = ofInteger(integer());
        element["u"] = ofInteger(static_cast<unsigned long long>(integer()), true);
        element["b"] = ofBool(below(2) == 0);
        element["s"] = below(5) == 0 ? null() : ofText(text());
        for (int k = 0; k < 3; ++k)
            element["v[" + std::to_string(k) + "]"] = ofInteger(static_cast<int>(below(2)));
        for (auto& [name, value] : element) value.isMember = true;
        return element;
    }

    Term condition(int depth) {
        if (depth > 0 && below(2) == 0) {
            const Term a = condition(depth - 1);
            const Term b = condition(depth - 1);
            switch (below(3)) {
                case 0:
                    return {"(" + a.text + " and " + b.text + ")",
                            [=](const Element& e) { return both(a.value(e), b.value(e)); }};
                case 1:
                    return {"(" + a.text + " or " + b.text + ")",
                            [=](const Element& e) { return either(a.value(e), b.value(e)); }};
                default:
                    return {"(not " + a.text + ")",
                            [=](const Element& e) { return opposite(a.value(e)); }};
            }
        }
        switch (below(9)) {
            case 0:
                return member("b");
            case 1:
                return match();
            case 2:
                return inList();
            case 3:
                return vector();
            case 4:
                return field();
            default:
                return comparison(depth);
        }
    }

  private:
    static Term member(const std::string& name) {
        return {name, [=](const Element& e) { return e.count(name) ? e.at(name) : Value(); }};
    }
    static Term constant(const std::string& text, const Value& value) {
        return {text, [=](const Element&) { return value; }};
    }
    Term literal() {
        switch (below(6)) {
            case 0:
            case 1: {
                const long long number = integer();
                return constant(std::to_string(number), ofInteger(number));
            }
            case 2: {
                const auto number = static_cast<unsigned long long>(integer());
                return constant(std::to_string(number), ofInteger(number, number >> 63 != 0));
            }
            case 3: {
                static const char* const kDecimals[] = {"0.1",  "-0.2", "0.3",    "0.4",
                                                        "1e40", "-0.0", "9.0e15", "0.25"};
                const std::string digits = any(kDecimals);
                Value value = ofReal(std::strtod(digits.c_str(), nullptr));
                value.isDecimalLiteral = true;
                value.narrow = digits == "1e40" ? std::numeric_limits<float>::max()
                                                : std::strtof(digits.c_str(), nullptr);
                // No float is as large: to compare with it is to compare with its double.
                if (digits == "1e40") value.isDecimalLiteral = false;
                return constant(digits, value);
            }
            case 4: {
                const std::string chosen = text();
                return constant('"' + chosen + '"', ofText(chosen));
            }
            default:
                return below(2) == 0 ? constant("null", null()) : constant("true", ofBool(true));
        }
    }
    Term value(int depth) {
        static const char* const kMembers[] = {"f", "d", "i",    "j",    "u",     "s",
                                               "b", "x", "v[0]", "v[3]", "index", "index[1]"};
        if (depth > 0 && below(3) == 0) {
            const Term a = value(depth - 1);
            if (below(5) == 0)
                return {"-(" + a.text + ")",
                        [=](const Element& e) { return calculate('-', ofInteger(0), a.value(e)); }};
            const Term b = value(depth - 1);
            const char sign = any(std::string("+-*/"));
            return {"(" + a.text + ' ' + sign + ' ' + b.text + ")",
                    [=](const Element& e) { return calculate(sign, a.value(e), b.value(e)); }};
        }
        return below(5) < 2 ? literal() : member(any(kMembers));
    }
    Term comparison(int depth) {
        static const char* const kSigns[] = {"==", "!=", "<", "<=", ">", ">="};
        const std::string sign = any(kSigns);
        const Term a = below(8) == 0 && depth > 0 ? condition(depth - 1) : value(depth);
        const Term b = value(depth);
        return {"(" + a.text + ' ' + sign + ' ' + b.text + ")",
                [=](const Element& e) { return compare(sign, a.value(e), b.value(e)); }};
    }
    Term match() {
        static const char* const kPatterns[] = {"*", "a*", "?", "*b", "a?b", "", "*a*b*"};
        const std::string pattern = any(kPatterns);
        const Term a = value(0);
        return {"(" + a.text + " ~ \"" + pattern + "\")", [=](const Element& e) {
                    const Value found = a.value(e);
                    if (found.kind != Value::kText) return Value();
                    // The only character of two bytes counts as one.
                    const std::string text = found.text == "\xC3\xA4" ? "~" : found.text;
                    return ofBool(globMatches(pattern.c_str(), text.c_str()));
                }};
    }
    Term inList() {
        const Term a = value(1);
        std::string text = "(" + a.text + " in (";
        std::vector<std::pair<Term, Term>> ranges;
        for (unsigned int left = below(3) + 1; left > 0; --left) {
            const Term first = literal();
            if (first.value({}).kind == Value::kInteger && below(2) == 0) {
                const Term last = constant("3", ofInteger(3));
                text += first.text + "..3,";
                ranges.emplace_back(first, last);
            } else {
                text += first.text + ',';
                ranges.emplace_back(first, Term());
            }
        }
        return {text + "))", [=](const Element& e) {
                    Value any = ofBool(false);
                    for (const auto& [first, last] : ranges) {
                        const Value low = first.value(e);
                        any =
                            either(any, last.value ? both(compare(">=", a.value(e), low),
                                                          compare("<=", a.value(e), last.value(e)))
                                                   : compare("==", a.value(e), low));
                    }
                    return any;
                }};
    }
    Term vector() {
        const unsigned int bits = below(8);
        std::string text = "(v == (";
        for (int k = 0; k < 3; ++k) text += std::to_string(bits >> k & 1) + ',';
        return {text + "))", [=](const Element& e) {
                    Value all = ofBool(true);
                    for (unsigned int k = 0; k < 3; ++k)
                        all = both(all, compare("==", e.at("v[" + std::to_string(k) + "]"),
                                                ofInteger(bits >> k & 1)));
                    return all;
                }};
    }
    Term field() {
        const std::string chosen = text();
        return {"(node == \"" + chosen + "\")",
                [=](const Element&) { return ofBool(chosen == "ab"); }};
    }

    std::mt19937_64 fRandom;
};

/// Elements in a stream, and the same for the slow evaluator.
class Scene {
  public:
    Scene(Generator& generator, int kind, unsigned int count)
        : fStructure(structure()), fStream(*fStructure, "stream") {
        for (unsigned int i = 0; i < count; ++i) {
            Element element = generator.element();
            store(element, setIndex(element, kind, i));
            fElements.push_back(std::move(element));
        }
    }

    /// One letter for each element: "t" where the expression selects it, "." elsewhere.
    std::string selected(const std::string& text) {
        std::string letters(fElements.size(), '.');
        const StreamFilter filter(Expression(text), *fStructure);
        filter.forEach(fStream, Place().set(Field::kNode, "ab"),
                       [&](const auto&, const auto& element) {
                           letters[element.template get<unsigned int>("number")] = 't';
                       });
        return letters;
    }
    std::string expected(const Term& term, bool truth) {
        std::string letters;
        for (const Element& element : fElements) {
            const Value value = term.value(element);
            letters += value.kind == Value::kBool && value.truth == truth ? 't' : '.';
        }
        return letters;
    }

  private:
    static RefPtr<Data::Structure> structure() {
        RefPtr<Data::Structure> structure(Data::Structure::create());
        structure->addMember(Member::kInt8, 1, "i");
        structure->addMember(Member::kFloat, 1, "f");
        structure->addMember(Member::kDouble, 1, "d");
        structure->addMember(Member::kInt64, 1, "j");
        structure->addMember(Member::kUInt64, 1, "u");
        structure->addMember(Member::kBoolean, 1, "b");
        structure->addMember(Member::kString, 1, "s");
        structure->addMember(Member::kUInt16, 3, "v");
        structure->addMember(Member::kUInt32, 1, "number");
        return structure;
    }
    static Data::Index setIndex(Element& element, int kind, unsigned int i) {
        if (kind == 0) {
            element["index"] = ofInteger(i);
            return i;
        }
        if (kind == 1) {
            element["index"].kind = Value::kPair;
            element["index"].pair = {i / 4, i % 4};
            element["index[1]"] = ofInteger(i % 4);
            return Data::IndexPair(i / 4, i % 4);
        }
        const std::string text = i == 0 ? "ab" : "ab" + std::to_string(i);
        element["index"] = ofText(text);
        return Data::IndexString(text);
    }
    void store(const Element& element, const Data::Index& index) {
        Data::Handle handle = fStream.emplaceElement(index);
        handle.set("f", static_cast<float>(element.at("f").real));
        handle.set("d", element.at("d").real);
        handle.set("i", static_cast<signed char>(element.at("i").integer));
        handle.set("j", static_cast<long long>(element.at("j").integer));
        handle.set("u", static_cast<unsigned long long>(element.at("u").integer));
        handle.set("b", element.at("b").truth);
        if (element.at("s").kind == Value::kText) handle.set("s", element.at("s").text);
        std::array<unsigned short, 3> numbers{};
        for (size_t k = 0; k < 3; ++k)
            numbers[k] =
                static_cast<unsigned short>(element.at("v[" + std::to_string(k) + "]").integer);
        handle.set("v", numbers);
        handle.set("number", static_cast<unsigned int>(fElements.size()));
    }

    RefPtr<Data::Structure> fStructure;
    Data::Stream fStream;
    std::vector<Element> fElements;
};

TEST(ExpressionLaw, SelectsWhatASlowEvaluatorSelects) {
    Generator generator(20);
    int cases = 0;
    for (int round = 0; round < 60; ++round) {
        const unsigned int count = 1 + generator.below(round % 6 == 0 ? 300 : 40);
        Scene scene(generator, round % 3, count);
        for (int i = 0; i < 120; ++i) {
            const Term term = generator.condition(3);
            ASSERT_EQ(scene.selected(term.text), scene.expected(term, true)) << term.text;
            ASSERT_EQ(scene.selected("not (" + term.text + ")"), scene.expected(term, false))
                << term.text;
            cases += 2 * static_cast<int>(count);
        }
    }
    EXPECT_GT(cases, 200000);
}

}  // namespace
}  // namespace orbo::Quilmeta
