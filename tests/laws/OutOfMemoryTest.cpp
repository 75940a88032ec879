// Every allocation fails once, and every one from some point on: nothing leaks, nothing is half
// done. SPDX-License-Identifier: Apache-2.0
#include <data/Associations.h>
#include <data/AssociationsSerializerRaw.h>
#include <data/IndexString.h>
#include <data/Structure.h>
#include <data/StructureSerializerRaw.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <sstream>

#include "core/StructureRegistry.h"

namespace {

// 0 lets everything pass; n fails the n-th allocation from now.
unsigned long allocationsUntilFailure = 0;
bool failsForGood = false;

bool fails() {
    if (allocationsUntilFailure == 0) return false;
    if (allocationsUntilFailure > 1) return --allocationsUntilFailure, false;
    if (!failsForGood) allocationsUntilFailure = 0;
    return true;
}

}  // namespace

// The linker sends the library's calls here (see CMakeLists.txt).
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
char* __real_strdup(const char* text);
void* __wrap_malloc(std::size_t size) { return fails() ? nullptr : __real_malloc(size); }
void* __wrap_calloc(std::size_t count, std::size_t size) {
    return fails() ? nullptr : __real_calloc(count, size);
}
char* __wrap_strdup(const char* text) { return fails() ? nullptr : __real_strdup(text); }
}

#if defined(__GNUC__) && !defined(__clang__)
// Both ends of the pair are replaced here; the compiler sees only one at a time.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif
void* operator new(std::size_t size) {
    if (void* block = fails() ? nullptr : __real_malloc(size)) return block;
    throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return fails() ? nullptr : __real_malloc(size);
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }

namespace orbo::Data {
namespace {

constexpr const char* kText =
    "channel\nname c\n"
    "stream\nname a\nstructure S\n0\n\"first text of some length\" 1 2\n7\n\"x\" 3 4\nendStream\n"
    "stream\nname b\nindexType string\nstructure S\nkey\n\"text\" 5 6\nendStream\n"
    "endChannel\nendAssociations\n";

std::string written(const Associations& associations) {
    std::ostringstream out;
    std::string errors;
    AssociationsSerializerRaw::theFormat().write(associations, out, errors);
    return out.str();
}

std::unique_ptr<Associations> readText() {
    std::istringstream in(kText);
    std::string errors;
    return std::unique_ptr<Associations>(AssociationsSerializerRaw::theFormat().read(in, errors));
}

void defineStructure() {
    std::istringstream in("name=S:string=label:float[2]=uv");
    std::string errors;
    const RefPtr<Structure> structure(StructureSerializerRaw::theFormat().read(in, errors));
    if (structure) Structure::registerStructure(*structure);
}

void edit(Associations& associations) {
    Channel channel = associations.channel("c");
    Stream* stream = channel.findDataStream("a");
    if (!stream) return;
    stream->setElement(3, stream->element(0));
    stream->reindexElement(3, 9);
    stream->swapElements(0, 9);
    stream->useDenseStorage(true);
    stream->setElement(300, stream->element(0));
    channel.renameDataStream("a", "z");
    channel.renameDataStream("b", "z");
    channel.addElement(IndexString("new"));
    const_cast<Structure&>(stream->structure()).addMember(Member::kString, 2, "late");
    stream->element(0);
    Associations copy(associations);
    copy.makeUnique();
    associations.setChannel(Channel("empty"));
}

// Runs once for every allocation the scenario makes; `check` sees what was left each time.
template <typename Scenario, typename Check>
void failEachAllocation(Scenario scenario, Check check) {
    for (const bool forGood : {false, true}) {
        unsigned long n = 1;
        for (bool reached = true; reached; ++n) {
            const auto structures = Structure::objectsAlive();
            const auto handles = Handle::objectsAlive();
            failsForGood = forGood;
            {
                StructureRegistry::SetAside aside;
                allocationsUntilFailure = n;
                try {
                    scenario();
                } catch (const std::bad_alloc&) {
                }
                reached = forGood ? allocationsUntilFailure == 1 : allocationsUntilFailure == 0;
                allocationsUntilFailure = 0;
                check();
            }
            ASSERT_EQ(Structure::objectsAlive(), structures) << "allocation " << n;
            ASSERT_EQ(Handle::objectsAlive(), handles) << "allocation " << n;
            ASSERT_LT(n, 100000U);
        }
        EXPECT_GT(n, 40U) << "the scenario allocates";
    }
}

TEST(OutOfMemory, ReadingGivesAllOrNothing) {
    std::unique_ptr<Associations> read;
    failEachAllocation(
        [&] {
            read.reset();
            defineStructure();
            read = readText();
        },
        [&] {
            if (read && !read->empty()) {
                EXPECT_EQ(written(*read).size(), written(*readText()).size());
            }
            read.reset();
        });
}

TEST(OutOfMemory, EditingLeavesSoundElements) {
    std::unique_ptr<Associations> edited;
    failEachAllocation(
        [&] {
            const auto pause = std::exchange(allocationsUntilFailure, 0UL);
            defineStructure();
            edited = readText();
            allocationsUntilFailure = pause;
            edit(*edited);
        },
        [&] {
            // Each element can be read and freed, whatever was cut short.
            EXPECT_NE(written(*edited).find("endAssociations"), std::string::npos);
            edited.reset();
        });
}

}  // namespace
}  // namespace orbo::Data
