// Numbers as text, against the standard streams.
// SPDX-License-Identifier: Apache-2.0
#include "core/ValueText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <iomanip>
#include <limits>
#include <locale>
#include <random>
#include <sstream>

namespace orbo::Data {
namespace {

// A buffer that hands its text out in pieces, so that numbers straddle the ends of its get area.
class InPieces : public std::streambuf {
  public:
    InPieces(std::string text, std::size_t piece) : fText(std::move(text)), fPiece(piece) {}

  protected:
    int_type underflow() override {
        const std::size_t size = std::min(fPiece, fText.size() - fNext);
        if (size == 0) return traits_type::eof();
        char* first = fText.data() + fNext;
        setg(first, first, first + size);
        fNext += size;
        return traits_type::to_int_type(*first);
    }

  private:
    std::string fText;
    std::size_t fPiece;
    std::size_t fNext = 0;
};

template <typename T>
std::string bits(T value) {
    char bytes[sizeof value];
    std::memcpy(bytes, &value, sizeof value);
    return std::string(bytes, sizeof value);
}

// Everything that can be seen of three extractions in a row: values, states, what is left.
template <typename T, typename Extract>
std::string extracted(std::streambuf& buffer, Extract extract) {
    std::istream in(&buffer);
    std::ostringstream seen;
    for (int i = 0; i < 3; ++i) {
        T value = 99;
        const bool good = extract(in, value);
        seen << good << ' ' << in.rdstate() << ' ' << bits(value) << '|';
        if (i == 1) in.clear();
    }
    in.clear();
    seen << in.rdbuf();
    return seen.str();
}

template <typename T>
void expectSameAsStream(const std::string& text) {
    std::stringbuf plain(text);
    const std::string expected =
        extracted<T>(plain, [](std::istream& in, T& value) { return !(in >> value).fail(); });
    for (const std::size_t piece : {1, 2, 3, 5, 4096}) {
        InPieces buffer(text, piece);
        EXPECT_EQ(extracted<T>(buffer, [](auto& in, T& v) { return ValueText::extract(in, v); }),
                  expected)
            << "'" << text << "' in pieces of " << piece;
    }
}

template <typename T>
class NumberText : public testing::Test {};
using Numbers = testing::Types<int, unsigned int, long long, unsigned long long, float, double>;
TYPED_TEST_SUITE(NumberText, Numbers);

TYPED_TEST(NumberText, OddTokensReadAsStreamsReadThem) {
    // Separated by "~".
    std::istringstream tokens(
        "~ ~0~-0~+1~-1~+-1~--1~1.~.5~.~-.5~1..2~007~0x10~0X1p3~1e~1e+~1e-~1e5~1E+05~1e5x~1e999~"
        "-1e999~1e-999~4.9e-324~2e-45~inf~-inf~nan~NaN~infinity~12abc~1,5~1.234,5~1'000~1_0~"
        "\"1\"~1;2~1/2~300~2147483647~2147483648~-2147483648~-2147483649~4294967295~4294967296~"
        "9223372036854775807~9223372036854775808~-9223372036854775808~18446744073709551615~"
        "18446744073709551616~99999999999999999999999~0000000000000000000000000000000001~"
        "1.7976931348623157e308~1.8e308~3.4028235e38~3.4028236e38~"
        "0.1000000000000000055511151231257827021181583404541015625~\t\v\f\r\n7~7\v8~1e5 6 x~");
    for (std::string token; std::getline(tokens, token, '~');) {
        for (const char* behind : {"", " ", "\n", " 2 3", "x"}) {
            expectSameAsStream<TypeParam>(token + behind);
            expectSameAsStream<TypeParam>("  " + token + behind);
        }
    }
}

TYPED_TEST(NumberText, RandomTokensReadAsStreamsReadThem) {
    std::mt19937 random(7);
    const std::string alphabet = "0123456789012345678901234567890123456789..eE+-- x\n";
    for (int i = 0; i < 40000; ++i) {
        std::string text;
        for (auto length = random() % 24; length-- > 0;)
            text += alphabet[random() % alphabet.size()];
        expectSameAsStream<TypeParam>(text);
    }
}

// Of all magnitudes, by random bits.
template <typename T, typename Bits>
void expectSameDigitsAsStream(unsigned int rounds, bool exact) {
    std::mt19937_64 random(11);
    std::ostringstream ours;
    std::ostringstream theirs;
    ValueText::setExactNumbers(ours, exact);
    for (unsigned int i = 0; i < rounds; ++i) {
        const Bits pattern = static_cast<Bits>(random());
        T value;
        std::memcpy(&value, &pattern, sizeof value);
        ours.str("");
        theirs.str("");
        const auto type = sizeof(T) == 4 ? Member::kFloat : Member::kDouble;
        ValueText::write(ours, type, &value);
        if (!exact) {
            theirs << value;
            ASSERT_EQ(ours.str(), theirs.str());
        } else if (std::isfinite(value)) {
            T back = 0;
            std::istringstream in(ours.str());
            ASSERT_TRUE(ValueText::extract(in, back)) << ours.str();
            ASSERT_EQ(bits(back), bits(value)) << ours.str();
        }
    }
}

TEST(NumberTextOut, MillionsOfValuesComeOutAsFromStreamsAndExactOnesReadBack) {
    for (const bool exact : {false, true}) {
        expectSameDigitsAsStream<float, std::uint32_t>(750000, exact);
        expectSameDigitsAsStream<double, std::uint64_t>(750000, exact);
    }
}

TEST(NumberTextOut, FloatFlagsAndPrecisionAreTheStreams) {
    const double values[] = {0, -0.0, 1, 1.5, 123456789, 1e-7, 1e300, 0.1};
    for (const auto& manipulate :
         {+[](std::ostream& out) { out << std::setprecision(0); },
          +[](std::ostream& out) { out << std::setprecision(17); },
          +[](std::ostream& out) { out << std::setprecision(300); },
          +[](std::ostream& out) { out << std::fixed << std::setprecision(2); },
          +[](std::ostream& out) { out << std::scientific << std::uppercase; },
          +[](std::ostream& out) { out << std::hexfloat; },
          +[](std::ostream& out) { out << std::showpos << std::showpoint; },
          +[](std::ostream& out) { out << std::hex << std::showbase; }}) {
        std::ostringstream ours;
        std::ostringstream theirs;
        manipulate(ours);
        manipulate(theirs);
        for (const double value : values) {
            ValueText::write(ours, Member::kDouble, &value);
            theirs << value;
        }
        EXPECT_EQ(ours.str(), theirs.str());
        const int number = 1234567;
        ours.str("");
        ValueText::write(ours, Member::kInt32, &number);
        EXPECT_EQ(ours.str(), "1234567") << "integers are plain decimal";
    }
}

class GermanPunctuation : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

class UnderLocale : public testing::TestWithParam<const char*> {
  protected:
    void SetUp() override {
        const std::string name = GetParam();
        std::locale::global(name.empty()
                                ? std::locale(std::locale::classic(), new GermanPunctuation)
                                : std::locale(name.c_str()));
    }
    void TearDown() override { std::locale::global(fBefore); }

    std::locale fBefore;
};

TEST_P(UnderLocale, NumbersStayClassic) {
    std::stringstream text;  // imbued with the global locale
    const double value = 1234567.5;
    const int number = 1234567;
    ValueText::write(text, Member::kDouble, &value);
    ValueText::write(text, " ");
    ValueText::write(text, Member::kInt32, &number);
    text << std::showpoint;
    ValueText::write(text, " ");
    ValueText::write(text, Member::kDouble, &value);
    EXPECT_EQ(text.str(), "1.23457e+06 1234567 1.23457e+06");

    std::istringstream in("1.5 +1.5 1.000x");  // the second goes through a stream
    for (const double expected : {1.5, 1.5, 1.0}) {
        double read = 0;
        EXPECT_TRUE(ValueText::extract(in, read));
        EXPECT_EQ(read, expected);
    }
}

INSTANTIATE_TEST_SUITE_P(Locales, UnderLocale, testing::Values("", "de_DE.UTF-8"),
                         [](const auto& locale) {
                             return *locale.param ? std::string("deDE") : std::string("imbued");
                         });

}  // namespace
}  // namespace orbo::Data
