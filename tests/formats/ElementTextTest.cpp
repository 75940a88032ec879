// The short way of elements to text and back, against the long one.
// SPDX-License-Identifier: Apache-2.0
#include <data/Stream.h>
#include <data/StreamSerializerRaw.h>
#include <data/Structure.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <memory>
#include <random>
#include <sstream>
#include <streambuf>

#include "core/Ascii.h"
#include "core/DataTypes.h"
#include "core/StructureRegistry.h"
#include "core/ValueText.h"
#include "formats/ReadContext.h"

namespace orbo::Data {
namespace {

/// Hands out one character at a time, so that no value is ever in sight.
class Drops : public std::streambuf {
  public:
    explicit Drops(std::string text) : fText(std::move(text)) {}

  protected:
    int_type underflow() override {
        if (fNext == fText.size()) return traits_type::eof();
        char* const at = fText.data() + fNext++;
        setg(at, at, at + 1);
        return traits_type::to_int_type(*at);
    }
    // Tells the position only.
    pos_type seekoff(off_type, std::ios_base::seekdir, std::ios_base::openmode) override {
        return static_cast<off_type>(fNext) - (egptr() - gptr());
    }

  private:
    std::string fText;
    std::size_t fNext = 0;
};

class ElementTexts : public testing::Test {
  protected:
    ElementTexts() {
        for (int type = 0; type < Member::kInvalid; ++type) {
            const auto name = "m" + std::to_string(type);
            fStructure->addMember(static_cast<Member::eDataType>(type), 1 + type % 3, name.c_str());
        }
        Structure::registerStructure(*fStructure);
    }

    unsigned long long bits() { return fRandom(); }

    // Any bit pattern but NaNs, infinities and strings that nobody could read back.
    void fill(Handle& handle) {
        for (unsigned int m = 0; m < fStructure->memberCount(); ++m) {
            handle.setPositionByMemberIndex(m);
            const auto type = static_cast<Member::eDataType>(m);
            const int values = dataType(type).numbers * (1 + static_cast<int>(m) % 3);
            for (int i = 0; i < values; ++i) fillOne(handle, type, i);
        }
    }

    void fillOne(Handle& handle, Member::eDataType type, int i) {
        void* const at = handle.asType(type);
        const double wide = std::ldexp(static_cast<double>(bits() % 2000000) - 1e6,
                                       static_cast<int>(bits() % 90) - 60);
        if (type == Member::kString) {
            const char* const texts[] = {"",           "plain", "a \"b\" c", "back\\slash",
                                         "line\nfeed", "\t"};
            static_cast<char**>(at)[i] = ::strdup(texts[bits() % std::size(texts)]);
        } else if (type == Member::kBoolean) {
            static_cast<bool*>(at)[i] = bits() % 2 == 0;
        } else if (type == Member::kFloat || type == Member::kFloatMatrix4x4) {
            static_cast<float*>(at)[i] = static_cast<float>(wide);
        } else if (type == Member::kDouble || type == Member::kDoubleMatrix4x4) {
            static_cast<double*>(at)[i] = bits() % 2 ? wide : std::round(wide);
        } else {
            const unsigned long long value = bits() >> bits() % 64;
            const auto size = static_cast<std::size_t>(dataType(type).size);
            std::memcpy(static_cast<char*>(at) + size * static_cast<std::size_t>(i), &value, size);
        }
    }

    std::string written(const Stream& stream, bool exact) {
        std::ostringstream out;
        ValueText::setExactNumbers(out, exact);
        std::string errors;
        EXPECT_EQ(StreamSerializerRaw::theFormat().write(stream, out, errors), 0) << errors;
        return out.str();
    }

    std::string byMember(Stream& stream, bool exact) {
        const StreamSerializerRaw& format = StreamSerializerRaw::theFormat();
        std::ostringstream out;
        ValueText::setExactNumbers(out, exact);
        std::string errors;
        out << "name s\nindexType numeric\nstructure S\n";
        for (StreamIterator it = stream.begin(); it != stream.end(); ++it) {
            out << it.index().asString();
            for (unsigned int m = 0; m < fStructure->memberCount(); ++m) {
                out << (m == 0 ? '\n' : ' ');
                it->setPositionByMemberIndex(m);
                format.writeMember(*it, 0, out, errors);
            }
            out << '\n';
        }
        out << "endStream\n";
        return out.str();
    }

    std::string oneOf(std::initializer_list<const char*> choices) {
        return choices.begin()[bits() % choices.size()];
    }

    // The same values in another form. `lines` counts those of the header, which stay as they are.
    std::string inAnotherForm(const std::string& text, int lines) {
        std::string result;
        bool isQuoted = false;
        bool isIndex = true;
        for (std::size_t i = 0; i < text.size(); ++i) {
            const char c = text[i];
            if (c == '"' && !isIndex) isQuoted = !isQuoted;
            if (isQuoted && c == '\\') {
                result += text.substr(i++, 2);
            } else if (isQuoted && bits() % 8 == 0 && c != '"' && c != 'n') {
                result += std::string("\\") + c;  // stands for itself
            } else if (!isQuoted && c == ' ' && lines <= 0 && !isIndex) {
                result += oneOf({" ", "\t", "  ", "\n", "\r\n", " \r\n\t", "\v\f"});
            } else if (!isQuoted && c == '\n' && --lines < 0) {
                isIndex = !isIndex;
                result += oneOf({"\n", "\r\n", " \n", "\t\r\n", isIndex ? "\n\r\n \n" : "\n"});
            } else {
                if (c == '\n') isIndex = true;
                result += c;
            }
        }
        return result;
    }

    struct Outcome {
        std::string stream;  // as it is written again
        std::string errors;
        std::string left;  // behind what was read
        std::ios_base::iostate state;
    };

    Outcome outcomeOf(std::istream&& in) {
        Outcome outcome{};
        fContext.attachTo(in);
        const std::unique_ptr<Stream> read(
            StreamSerializerRaw::theFormat().read(in, outcome.errors));
        outcome.stream = read ? written(*read, true) : "none";
        outcome.state = in.rdstate();
        outcome.left.assign(std::istreambuf_iterator<char>(in.rdbuf()), {});
        return outcome;
    }

    // Reads the text in sight, and character by character: the fast path and the general reader.
    Outcome bothAgree(const std::string& text) {
        Drops drops(text);
        const Outcome fast = outcomeOf(std::istringstream(text));
        const Outcome general = outcomeOf(std::istream(&drops));
        EXPECT_EQ(fast.stream, general.stream) << text;
        EXPECT_EQ(fast.errors, general.errors) << text;
        EXPECT_EQ(fast.left, general.left) << text;
        EXPECT_EQ(fast.state, general.state) << text;
        return fast;
    }

    Stream filledStream(const std::string& indexType, unsigned elements) {
        Stream stream(*fStructure, "s");
        stream.setIndexType(indexType);
        for (unsigned int k = 0; k < elements; ++k) {
            const std::string index = indexType == "pair"     ? std::to_string(k / 3) + " 7"
                                      : indexType == "string" ? "lid \"" + std::to_string(k % 9)
                                                              : std::to_string(k * k);
            Handle element = stream.emplaceElement(Index::doCreate(indexType, index));
            fill(element);
        }
        return stream;
    }

    ReadContext fContext;
    StructureRegistry::SetAside fOwnRegistry;
    RefPtr<Structure> fStructure{new Structure("S")};
    std::mt19937_64 fRandom{11};
};

TEST_F(ElementTexts, ShortWayIsTheLongWay) {
    for (const bool dense : {false, true}) {
        Stream stream(*fStructure, "s");
        stream.useDenseStorage(dense);
        for (unsigned int k = 0; k < 300; ++k) {
            Handle element = stream.emplaceElement(dense ? k : k * k);
            fill(element);
        }
        EXPECT_EQ(written(stream, false), byMember(stream, false));
        const std::string text = written(stream, true);
        EXPECT_EQ(text, byMember(stream, true));

        std::istringstream inSight(text);
        Drops drops(text);
        std::istream outOfSight(&drops);
        for (std::istream* in : {static_cast<std::istream*>(&inSight), &outOfSight}) {
            std::string errors;
            const std::unique_ptr<Stream> read(StreamSerializerRaw::theFormat().read(*in, errors));
            ASSERT_TRUE(read) << errors;
            EXPECT_EQ(written(*read, true), text);
        }
    }
}

TEST_F(ElementTexts, OtherFormsHaveTheSameValues) {
    for (const char* const type : {"numeric", "pair", "string"}) {
        const std::string text = written(filledStream(type, 40), true);
        for (int i = 0; i < 10; ++i) {
            const Outcome outcome = bothAgree(inAnotherForm(text, 3) + "behind\n");
            EXPECT_EQ(outcome.stream, text);
            EXPECT_EQ(Ascii::trim(outcome.left), "behind");
        }
    }
}

TEST_F(ElementTexts, DamagedFormsAreReadAsEver) {
    for (const char* const type : {"numeric", "pair", "string"}) {
        const std::string text = written(filledStream(type, 4), false);
        const std::size_t header = text.find("structure");
        for (int i = 0; i < 400; ++i) {
            std::string damaged = inAnotherForm(text, 3);
            const std::size_t at = header + bits() % (damaged.size() - header);
            const std::string strange("\0\"\\\n\r \t-+.e,x9\x01", 15);
            damaged[at] = strange[bits() % strange.size()];
            if (bits() % 4 == 0) damaged.resize(at);
            fContext.partial = i % 2 == 0;
            bothAgree(damaged);
        }
    }
}

// Short integers, of which many stand on a line, have a way of their own.
TEST_F(ElementTexts, ManyIntegersAreReadOneByOne) {
    for (const auto type : {Member::kInt8, Member::kUInt32, Member::kInt32, Member::kInt64}) {
        RefPtr<Structure> many(new Structure("Many"));
        many->addMember(type, 150, "numbers");
        many->addMember(Member::kInt32, 1, "behind");
        Structure::registerStructure(*many);
        for (int i = 0; i < 200; ++i) {
            std::string text = "name s\nstructure Many\n0\n";
            for (int number = 0; number < 150; ++number) {
                const auto bound = std::size_t{1} << bits() % (i % 20 + 2);
                const bool isOdd = bits() % 64 == 0;
                if (type != Member::kUInt32 && bits() % 4 == 0) text += '-';
                text += isOdd ? oneOf({"", "+", "00000000", "123456789", "4294967296", "1.5", "x"})
                              : std::to_string(bits() % bound % 128);
                text += bits() % 64 == 0 ? oneOf({"  ", "\t", "\n", "\r\n", " x ", "\x01"}) : " ";
            }
            fContext.partial = i % 3 == 0;
            bothAgree(text + "7\n1\nendStream\n" + std::string(bits() % 100, ' '));
        }
        Structure::deregisterStructure(*many);
    }
}

// Also where they are longer than the buffer in front of the output.
TEST_F(ElementTexts, StringsAreQuotedCharacterByCharacter) {
    RefPtr<Structure> one(new Structure("One"));
    one->addMember(Member::kString, 1, "text");
    Structure::registerStructure(*one);
    for (int i = 0; i < 300; ++i) {
        std::string value(bits() % (i % 10 == 0 ? 10000 : 70), 'x');
        std::string quoted;
        for (char& c : value) {
            if (bits() % 10 == 0) c = "\"\\\n\r\t"[bits() % 5];
            if (c == '"' || c == '\\' || c == '\n') quoted += '\\';
            quoted += c == '\n' ? 'n' : c;
        }
        Stream stream(*one, "s");
        *stream.emplaceElement(0).asString() = ::strdup(value.c_str());
        const std::string text = written(stream, false);
        EXPECT_EQ(text,
                  "name s\nindexType numeric\nstructure One\n0\n\"" + quoted + "\"\nendStream\n");
        EXPECT_EQ(bothAgree(text).stream, text);
    }
}

// The long way says what is wrong, wherever the short one stopped.
TEST_F(ElementTexts, LinesThatAreNotPlainAreReadAsEver) {
    RefPtr<Structure> pair(new Structure("P"));
    pair->addMember(Member::kInt8, 1, "small");
    pair->addMember(Member::kFloat, 1, "number");
    Structure::registerStructure(*pair);
    const std::string plain = "0\n1 0.5\n1\n2 1.5\n";
    for (const char* line :
         {"300 1",  "1",       "1 1 1",     "1 x",       "+1 1",         "1 1e2",
          "1 1e",   "1 1e+",   "1 inf",     "\v1 1",     "1\r 1 \r",     "1 1e-50",
          "1 1e39", "1 1E-38", "1 1e99999", "1 0e99999", "1 1e00000002", "1 1e5x",
          "1 .5",   "- 1",     "",          "1 1\n4\n",  "1\n\n\r\n1",   "-128 1",
          "-129 1", "1 1\x01", "1\x01 1",   "1 -.5e-3",  "1 5.e1",       "1 1.e"}) {
        bothAgree("name s\nstructure P\n" + plain + "7\n" + line + "\n1\n9 9\nendStream\n");
    }
}

}  // namespace
}  // namespace orbo::Data
