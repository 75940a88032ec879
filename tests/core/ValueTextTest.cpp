// Numbers as text, against the standard streams in the classic locale.
// SPDX-License-Identifier: Apache-2.0
#include "core/ValueText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <locale>
#include <random>
#include <sstream>

namespace orbo::Data {
namespace {

// All of this happens in a program whose locale has a decimal comma and groups digits.
template <typename T>
class NumberText : public testing::Test {
    std::locale fBefore = std::locale::global(std::locale("de_DE.UTF-8"));

  public:
    ~NumberText() override { std::locale::global(fBefore); }
};
using Numbers = testing::Types<int, unsigned int, long long, unsigned long long, float, double>;
TYPED_TEST_SUITE(NumberText, Numbers);

// A buffer that hands its text out in pieces, so that numbers straddle the ends of its get area.
struct InPieces : std::streambuf {
    InPieces(std::string& text, std::ptrdiff_t piece)
        : end(text.data() + text.size()), size(piece) {
        setg(text.data(), text.data(), text.data());
    }
    int_type underflow() override {
        setg(gptr(), gptr(), gptr() + std::min(size, end - gptr()));
        return gptr() == end ? traits_type::eof() : traits_type::to_int_type(*gptr());
    }
    char* end;
    std::ptrdiff_t size;
};

template <typename T>
std::string bits(const T& value) {
    return std::string(reinterpret_cast<const char*>(&value), sizeof value);
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
void expectSameAsStream(std::string text) {
    std::stringbuf plain(text);
    const std::string expected = extracted<T>(plain, [](std::istream& in, T& value) {
        in.imbue(std::locale::classic());
        return !(in >> value).fail();
    });
    for (const std::ptrdiff_t piece : {1, 2, 3, 5, 4096}) {
        InPieces buffer(text, piece);
        EXPECT_EQ(extracted<T>(buffer, [](auto& in, T& v) { return ValueText::extract(in, v); }),
                  expected)
            << "'" << text << "' in pieces of " << piece;
    }
}

TYPED_TEST(NumberText, OddTokensReadAsStreamsReadThem) {
    // Separated by "~".
    std::istringstream tokens(
        "~ "
        "~0~-0~+1~-1~+-1~--1~1.~.5~.~-.5~1..2~+~-~..~+.e5~.-~-+1~007~0x10~0X1p3~1e~1e+~1e-~1e5~1E+"
        "05~1e5x~1e999~"
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
        std::string text(random() % 24, ' ');
        for (char& character : text) character = alphabet[random() % alphabet.size()];
        expectSameAsStream<TypeParam>(text);
    }
}

// Of all magnitudes, by random bits.
template <typename T, typename Bits>
void expectSameDigitsAsStream(bool exact) {
    std::mt19937_64 random(11);
    std::ostringstream ours;
    std::ostringstream theirs;
    theirs.imbue(std::locale::classic());
    ValueText::setExactNumbers(ours, exact);
    for (int i = 0; i < 750000; ++i) {
        const Bits pattern = static_cast<Bits>(random());
        T value;
        std::memcpy(&value, &pattern, sizeof value);
        ours.str("");
        theirs.str("");
        ValueText::write(ours, sizeof(T) == 4 ? Member::kFloat : Member::kDouble, &value);
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

using NumberTextOut = NumberText<double>;

TEST_F(NumberTextOut, MillionsOfValuesComeOutAsFromStreamsAndExactOnesReadBack) {
    for (const bool exact : {false, true}) {
        expectSameDigitsAsStream<float, std::uint32_t>(exact);
        expectSameDigitsAsStream<double, std::uint64_t>(exact);
    }
}

// Short decimals, halves of the sixth digit and the neighbours of both.
TEST_F(NumberTextOut, EverydayNumbersComeOutAsFromStreams) {
    std::mt19937_64 random(13);
    for (int i = 0; i < 300000; ++i) {
        const auto number =
            static_cast<double>(static_cast<int>(random() % 20'000'001) - 10'000'000);
        double value = i % 2 == 0 ? number / std::pow(10, random() % 14)
                                  : std::ldexp(number, static_cast<int>(random() % 60) - 40);
        if (i % 5 == 0) value = std::nextafter(value, random() % 2 == 0 ? 0 : 1e300);
        std::ostringstream ours;
        std::ostringstream theirs;
        theirs.imbue(std::locale::classic());
        ValueText::write(ours, Member::kDouble, &value);
        theirs << value;
        ASSERT_EQ(ours.str(), theirs.str());
    }
}

TEST_F(NumberTextOut, FloatFlagsAndPrecisionAreTheStreams) {
    using Out = std::ios_base;
    for (const auto flags : {Out::dec, Out::hex | Out::showbase, Out::showpos, Out::uppercase,
                             Out::showpoint, Out::fixed, Out::scientific, Out::floatfield}) {
        for (const int precision : {0, 2, 6, 17, 300}) {
            std::ostringstream ours;
            std::ostringstream theirs;
            theirs.imbue(std::locale::classic());
            for (std::ostream* out : {&ours, &theirs}) {
                out->flags(flags);
                out->precision(precision);
            }
            for (const double value : {0.0, -0.0, 1.5, 1234567.5, 123456789.0, 1e-7, 1e300, 0.1}) {
                ValueText::write(ours, Member::kDouble, &value);
                theirs << value;
            }
            const int number = 1234567;
            ValueText::write(ours, Member::kInt32, &number);
            EXPECT_EQ(ours.str(), theirs.str() + "1234567") << "integers are plain decimal";
        }
    }
}

}  // namespace
}  // namespace orbo::Data
