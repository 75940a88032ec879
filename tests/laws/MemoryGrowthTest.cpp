// Memory follows what has been read: lengths that a text declares reserve nothing.
// SPDX-License-Identifier: Apache-2.0
#include <data/Associations.h>
#include <data/AssociationsSerializerRaw.h>
#include <data/Structure.h>
#include <data/StructureSerializerRaw.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <istream>
#include <memory>
#include <streambuf>
#include <string>

#include "core/StructureRegistry.h"
#include "formats/ReadContext.h"
#include "laws/Allocations.h"

namespace orbo::Data {
namespace {

constexpr std::size_t kSlack = 1024 * 1024;

/// A text that comes in pieces and, unless it is one piece, cannot tell how much is left.
class Pieces : public std::streambuf {
  public:
    /// The text outlives it; 0 gives it as a whole.
    Pieces(const std::string& text, std::size_t piece) : fText(text), fPiece(piece) {
        if (piece == 0) give(text.size());
    }
    [[nodiscard]] std::size_t taken() const {
        return fGiven - static_cast<std::size_t>(egptr() - gptr());
    }

  protected:
    int_type underflow() override {
        if (fGiven == fText.size()) return traits_type::eof();
        give(std::min(fPiece, fText.size() - fGiven));
        return traits_type::to_int_type(*gptr());
    }
    pos_type seekoff(off_type offset, std::ios_base::seekdir, std::ios_base::openmode) override {
        return fPiece == 0 && offset == 0 ? pos_type(static_cast<off_type>(taken())) : pos_type(-1);
    }

  private:
    void give(std::size_t size) {
        char* const first = const_cast<char*>(fText.data()) + fGiven;
        setg(first, first, first + size);
        fGiven += size;
    }

    const std::string& fText;
    const std::size_t fPiece;
    std::size_t fGiven = 0;
};

std::string repeated(const std::string& text, int times) {
    std::string all;
    all.reserve(text.size() * static_cast<std::size_t>(times));
    for (int i = 0; i < times; ++i) all += text;
    return all;
}

std::string nodeText(const std::string& elements, const std::string& indexType = "numeric",
                     const std::string& name = "s") {
    return "channel\nname c\nstream\nname " + name + "\nindexType " + indexType +
           "\nstructure S\n" + elements + "endStream\nendChannel\nendAssociations\n";
}

class MemoryGrowth : public testing::Test {
  protected:
    /// Reads by `read`, which gives an owner, and compares the peak with what is left in the end.
    template <typename Read>
    static void expectBounded(const std::string& text, std::size_t piece, const Read& read,
                              const std::string& what, std::size_t values = 0) {
        Pieces buffer(text, piece);
        std::istream in(&buffer);
        std::string errors;
        errors.reserve(kSlack / 16);
        Allocations::startPeak();
        const std::size_t before = Allocations::inUse();
        const auto object = read(in, errors);
        const std::size_t model = object ? Allocations::inUse() - before : 0;
        const std::size_t beyond = Allocations::peak() - before - model;
        EXPECT_LE(beyond, buffer.taken() + values + kSlack)
            << what << " in pieces of " << piece << ", of " << text.size() << " bytes: " << errors;
    }
};

TEST_F(MemoryGrowth, OfElementsFollowsTheirValues) {
    const std::string huge = "4000000000";
    const struct {
        const char* what;
        std::string structure, text;
        std::size_t values = 0;  // bytes of those that were read, where no model comes of them
    } rows[] = {
        {"one string of very many", "string[200000000]=a", nodeText("0\n\"a\"\n")},
        {"none of very many", "string[200000000]=a",
         "channel\nname c\nstream\nname s\nstructure S\n0\n"},
        {"a few floats", "float[" + huge + "]=a", nodeText("0\n1 2 3\n")},
        {"floats to the end", "float[200000000]=a",
         "channel\nname c\nstream\nname s\nstructure S\n0\n1 2 3"},
        {"bad booleans", "bool[" + huge + "]=a", nodeText("0\n" + repeated("no ", 200000) + "\n")},
        {"matrices", "dbl4x4[" + huge + "]=a:flt4x4[" + huge + "]=b", nodeText("0\n1 2 3\n")},
        {"signs in matrices", "dbl4x4[" + huge + "]=a", nodeText("0\n" + repeated("-", 500000))},
        {"many members", "float[200000000]=a:string[200000000]=b:int8[" + huge + "]=c",
         nodeText("0\n1 2 \"x\" 3\n1\n1 2\n")},
        {"many bad elements", "dbl4x4[500]=a", nodeText(repeated("0\nx\n", 50000))},
        {"bad indices", "float[1000000]=a", nodeText(repeated("x\n", 100000))},
        {"all strings", "string[400000]=a", nodeText("0\n" + repeated("\"\"", 400000) + "\n")},
        {"all doubles", "double[800000]=a", nodeText("0\n" + repeated("1 ", 800000) + "\n")},
        {"two thirds of the doubles", "double[1500000]=a",
         nodeText("0\n" + repeated("1 ", 1000000) + "\n"), 1000000 * sizeof(double)},
        {"a long string", "string=a", nodeText("0\n\"" + repeated("text", 3000000) + "\"\n")},
        {"long strings", "string[2]=a",
         nodeText("0\n\"" + repeated("text", 2000000) + "\" \"" + repeated("\\\\n", 2000000) +
                  "\"\n")},
        {"a long string without an end", "string=a",
         nodeText("0\n\"" + repeated("text", 3000000) + "\n")},
        {"a long index", "int8=a", nodeText(repeated("x", 9000000) + "\n1\n", "string")},
        {"a long name", "int8=a", nodeText("0\n1\n", "numeric", repeated("n", 9000000))},
        {"many elements", "int8=a",
         [] {
             std::string all;
             for (int i = 0; i < 100000; ++i) all += std::to_string(i) + "\n1\n";
             return nodeText(all);
         }()},
    };
    for (const auto& row : rows) {
        const StructureRegistry::SetAside ownRegistry;
        const std::string structureText = "name=S:" + row.structure;
        Pieces structure(structureText, 0);
        std::istream in(&structure);
        std::string errors;
        Structure::registerStructure(*StructureSerializerRaw::theFormat().read(in, errors));
        const auto read = [](std::istream& from, std::string& messages) {
            return std::unique_ptr<Associations>(
                AssociationsSerializerRaw::theFormat().read(from, messages));
        };
        for (const std::size_t piece : {0, 1000}) {
            expectBounded(row.text, piece, read, row.what, row.values);
            ReadContext partial;
            partial.partial = true;
            const auto readInPart = [&](std::istream& from, std::string& messages) {
                partial.attachTo(from);
                return read(from, messages);
            };
            expectBounded(row.text, piece, readInPart, std::string(row.what) + ", in part",
                          row.values);
        }
    }
}

TEST_F(MemoryGrowth, OfStructuresFollowsTheirMembers) {
    std::string many = "name=A";
    for (int i = 0; i < 40000; ++i) many += ":int8=m" + std::to_string(i);
    const std::pair<const char*, std::string> rows[] = {
        {"huge lengths", "name=A:string[4000000000]=a:dbl4x4[4000000000]=b:bool[4294967295]=c"},
        {"a long text of nothing", "name=A:int8=a" + repeated(":\n", 2000000)},
        {"bad fields", "name=A:int8=a" + repeated(":x", 1000000)},
        {"a long name", "name=" + repeated("n", 9000000) + ":int8=a"},
        {"many members", many},
    };
    for (const auto& [what, text] : rows) {
        for (const std::size_t piece : {0, 1000}) {
            expectBounded(
                text, piece,
                [](std::istream& from, std::string& messages) {
                    return RefPtr<Structure>(
                        StructureSerializerRaw::theFormat().read(from, messages));
                },
                what);
        }
    }
}

// Whoever names such a structure, or makes a handle without a chunk, allocates none.
TEST_F(MemoryGrowth, OfHugeStructuresIsThatOfTheirMembers) {
    const RefPtr<Structure> structure(Structure::create());
    structure->addMember(Member::kString, 4000000000U, "a");
    Allocations::startPeak();
    const std::size_t before = Allocations::inUse();
    Stream stream(*structure, "s");
    Handle handle(*structure, nullptr);
    EXPECT_TRUE(handle.setPositionByMemberName("a") && !handle.isDefault());
    EXPECT_FALSE(stream.hasElement(0));
    EXPECT_LE(Allocations::peak() - before, kSlack);
}

}  // namespace
}  // namespace orbo::Data
