// Both storages against a slow and obvious model, under random operations.
// SPDX-License-Identifier: Apache-2.0

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <utility>

#include "streams/Elements.h"
#include "streams/StreamAccess.h"
#include "streams/StreamImpl.h"

namespace orbo::Data {

namespace {

const char* const kDefault = "0 ~";
const char* const kNoData = "-";

// Elements by number, as words. A dense model has all numbers below its count.
struct Model {
    bool dense = false;
    std::map<unsigned int, std::string> elements;

    [[nodiscard]] unsigned int count() const { return static_cast<unsigned int>(elements.size()); }
    [[nodiscard]] bool has(unsigned int k) const { return elements.count(k) != 0; }
    [[nodiscard]] std::string at(unsigned int k) const { return has(k) ? elements.at(k) : kNoData; }
    [[nodiscard]] bool cleared() const {
        return std::any_of(elements.begin(), elements.end(),
                           [](const auto& entry) { return entry.second == kNoData; });
    }

    // What dense storage does before it stores something: data for all, and all below `end`.
    bool makeRoom(unsigned int end) {
        if (!dense) return true;
        for (auto& entry : elements) {
            if (entry.second == kNoData) entry.second = kDefault;
        }
        for (unsigned int k = count(); k < end; ++k) elements[k] = kDefault;
        return true;
    }
    bool set(unsigned int k, const std::string& value) {
        if (dense && value == kNoData) return false;
        makeRoom(k);
        elements[k] = value;
        return true;
    }
    bool remove(unsigned int k) {
        if (!dense) return elements.erase(k), true;
        if (at(k) != kNoData) elements[k] = kDefault;
        return true;
    }
    bool reindex(unsigned int from, unsigned int to) {
        if (!has(from) || from == to) return has(from);
        makeRoom(to);
        elements[to] = std::exchange(elements[from], kDefault);
        if (!dense) elements.erase(from);
        return true;
    }
    bool swap(unsigned int a, unsigned int b) {
        if (!has(a) || !has(b)) return false;
        std::swap(elements[a], elements[b]);
        return true;
    }
    bool range(unsigned int span) {
        if (!dense || span == count()) return true;
        if (span > count()) return makeRoom(span);
        elements.erase(elements.lower_bound(span - 1), elements.end());
        return true;
    }
    bool clear() {
        if (!dense) elements.clear();
        for (auto& entry : elements) entry.second = kNoData;
        return true;
    }
    bool useDense(bool wanted) {
        if (dense == wanted) return true;
        if (wanted && cleared()) return false;
        const bool wasEmpty = elements.empty();
        // Without a block, a walk ends behind the first element.
        if (dense && cleared()) elements.erase(std::next(elements.begin()), elements.end());
        dense = wanted;
        const unsigned int end = wanted && !wasEmpty ? elements.rbegin()->first : 0;
        for (unsigned int k = 0; k < end; ++k) elements.emplace(k, kDefault);
        return wasEmpty;
    }
    bool merge(const Model& other) {
        for (unsigned int k = 0; k < other.count(); ++k) {
            if (other.at(k) != kNoData && !set(k, other.at(k))) return false;
        }
        return true;
    }
};

// A stream and its model; the results of every operation must be equal.
class Pair {
  public:
    Pair(std::mt19937& random, Structure& structure)
        : fRandom(random), fStructure(structure), fStream(structure, "stream") {}

    void step(Pair& other) {
        using Operation = void (Pair::*)(Pair&, unsigned int a, unsigned int b);
        static constexpr Operation kOften[] = {
            &Pair::set,  &Pair::set,   &Pair::adopt,          &Pair::copyWithin, &Pair::reindex,
            &Pair::swap, &Pair::range, &Pair::setWithoutData, &Pair::remove};
        static constexpr Operation kRarely[] = {&Pair::clear, &Pair::changeStorage, &Pair::merge,
                                                &Pair::changeStorage, &Pair::share};
        changeLayout();
        const unsigned int a = number();
        const unsigned int b = below(8) == 0 ? a : number();
        const Operation run = below(16) == 0 ? kRarely[below(5)] : kOften[below(9)];
        (this->*run)(other, a, b);
    }

    void check() const {
        ASSERT_EQ(fStream.elementCount(), fModel.count()) << fOperation;
        std::string expected;
        for (const auto& [index, value] : fModel.elements) {
            expected += std::to_string(index) + '=' + value + '|';
            ASSERT_EQ(words(Stream(fStream).element(index)), value) << fOperation << ' ' << index;
        }
        const bool withoutBlock = fModel.dense && fModel.cleared();
        ASSERT_EQ(words(fStream), withoutBlock ? "0=-|" : expected) << fOperation;
    }

  private:
    unsigned int below(unsigned int limit) { return static_cast<unsigned int>(fRandom() % limit); }
    unsigned int number() { return below(below(50) == 0 ? 700 : 20); }
    // New members change the place of everything; the values must stay.
    void changeLayout() {
        if (below(30) != 0) return;
        const std::string name = "more" + std::to_string(fStructure.memberCount());
        fStructure.addMember(below(2) ? Member::kString : Member::kInt8, 3, name.c_str());
    }
    void expect(const char* operation, bool result, bool expected) {
        fOperation = operation;
        EXPECT_EQ(result, expected) << operation;
    }
    // Handles may be older than the layout of the element that they are stored to.
    std::pair<Handle, std::string> fresh() {
        const unsigned int value = below(100);
        Handle handle = item(fStructure, static_cast<int>(value), "text");
        changeLayout();
        return {std::move(handle), std::to_string(value) + " text"};
    }

    void set(Pair&, unsigned int a, unsigned int) {
        const auto [handle, value] = fresh();
        expect("set", fStream.setElement(a, handle), fModel.set(a, value));
    }
    void adopt(Pair&, unsigned int a, unsigned int) {
        auto [handle, value] = fresh();
        const bool expected = fModel.set(a, value);
        expect("adopt", StreamAccess::adoptElement(fStream, a, std::move(handle)), expected);
    }
    // From a handle on the very storage, which may move or free the chunk.
    void copyWithin(Pair&, unsigned int a, unsigned int b) {
        const Handle handle = fStream.element(a);
        changeLayout();
        expect("copy within", fStream.setElement(b, handle), fModel.set(b, fModel.at(a)));
    }
    void setWithoutData(Pair&, unsigned int a, unsigned int) {
        const Handle handle(fStructure, nullptr);
        expect("set without data", fStream.setElement(a, handle), fModel.set(a, kNoData));
    }
    void remove(Pair&, unsigned int a, unsigned int) {
        expect("remove", fStream.removeElement(a), fModel.remove(a));
    }
    void reindex(Pair&, unsigned int a, unsigned int b) {
        expect("reindex", fStream.reindexElement(a, b), fModel.reindex(a, b));
    }
    void swap(Pair&, unsigned int a, unsigned int b) {
        expect("swap", fStream.swapElements(a, b), fModel.swap(a, b));
    }
    void range(Pair&, unsigned int a, unsigned int b) {
        const auto [first, last] = std::minmax({a, b});
        expect("range", fStream.setElementRange(first, last), fModel.range(last - first + 1));
    }
    void clear(Pair&, unsigned int, unsigned int) {
        expect("clear", fStream.clear(), fModel.clear());
    }
    void changeStorage(Pair&, unsigned int, unsigned int) {
        const bool wanted = !fModel.dense;
        const bool expected = fModel.useDense(wanted);
        expect("useDenseStorage", fStream.useDenseStorage(wanted), expected);
    }
    void merge(Pair& other, unsigned int a, unsigned int b) {
        Pair& from = a < b ? *this : other;
        expect("merge", fStream.mergeStream(from.fStream), fModel.merge(from.fModel));
    }
    // What is set while both share is in both; afterwards they have nothing in common.
    void share(Pair& other, unsigned int a, unsigned int b) {
        other.fStream = fStream;
        set(other, a, b);
        EXPECT_TRUE(fStream == other.fStream);
        expect("share", other.fStream.makeUnique() && !fStream.makeUnique(), true);
        EXPECT_FALSE(fStream == other.fStream);
        other.fModel = fModel;
    }

    std::mt19937& fRandom;
    Structure& fStructure;
    Stream fStream;
    Model fModel;
    const char* fOperation = "";
};

TEST(StreamLawsTest, StoragesBehaveAsTheModel) {
    const auto storages = StreamImpl::objectsAlive();
    const auto handles = Handle::objectsAlive();
    for (unsigned int seed = 1; seed <= 60; ++seed) {
        std::mt19937 random(seed);
        const RefPtr<Structure> structure = numberAndText();
        Pair one(random, *structure);
        Pair other(random, *structure);
        for (int i = 0; i < 200; ++i) {
            SCOPED_TRACE("seed " + std::to_string(seed) + " step " + std::to_string(i));
            const bool first = random() % 2 == 0;
            (first ? one : other).step(first ? other : one);
            one.check();
            other.check();
            if (testing::Test::HasFailure()) return;
        }
    }
    EXPECT_EQ(StreamImpl::objectsAlive(), storages);
    EXPECT_EQ(Handle::objectsAlive(), handles);
}

}  // namespace

}  // namespace orbo::Data
