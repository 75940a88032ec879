// Both storages against a slow and obvious model, under random operations.
// SPDX-License-Identifier: Apache-2.0

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>

#include "streams/Elements.h"
#include "streams/StreamAccess.h"

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

    // What dense storage does before it stores something: room for `k`, and data for all.
    void revive() {
        if (!dense) return;
        for (auto& entry : elements) {
            if (entry.second == kNoData) entry.second = kDefault;
        }
    }
    void fillUpTo(unsigned int end) {
        for (unsigned int k = count(); k < end; ++k) elements[k] = kDefault;
    }

    bool set(unsigned int k, const std::string& value) {
        if (dense) {
            if (value == kNoData) return false;
            revive();
            fillUpTo(k);
        }
        elements[k] = value;
        return true;
    }
    bool remove(unsigned int k) {
        if (!dense) {
            elements.erase(k);
        } else if (has(k) && elements[k] != kNoData) {
            elements[k] = kDefault;
        }
        return true;
    }
    bool reindex(unsigned int from, unsigned int to) {
        if (!has(from)) return false;
        if (from == to) return true;
        revive();
        const std::string value = elements[from];
        if (dense) fillUpTo(to);
        elements[to] = value;
        if (dense) {
            elements[from] = kDefault;
        } else {
            elements.erase(from);
        }
        return true;
    }
    bool swap(unsigned int a, unsigned int b) {
        if (!has(a) || !has(b)) return false;
        std::swap(elements[a], elements[b]);
        return true;
    }
    bool range(unsigned int span) {
        if (!dense || span == count()) return true;
        if (span > count()) {
            revive();
            fillUpTo(span);
        } else {
            elements.erase(elements.lower_bound(span == 0 ? 0 : span - 1), elements.end());
        }
        return true;
    }
    bool clear() {
        if (!dense) elements.clear();
        for (auto& entry : elements) entry.second = kNoData;
        return true;
    }
    bool useDense(bool wanted) {
        if (dense == wanted) return true;
        const bool cleared = std::any_of(elements.begin(), elements.end(),
                                         [](auto& entry) { return entry.second == kNoData; });
        if (wanted && cleared) return false;
        const bool wasEmpty = elements.empty();
        // Without a block, a walk ends behind the first element.
        if (dense && cleared) elements.erase(std::next(elements.begin()), elements.end());
        dense = wanted;
        if (dense && !wasEmpty) {
            for (unsigned int k = 0; k < elements.rbegin()->first; ++k) {
                elements.emplace(k, kDefault);
            }
        }
        return wasEmpty;
    }
    bool merge(const Model& other) {
        for (unsigned int k = 0; k < other.count(); ++k) {
            const auto element = other.elements.find(k);
            if (element == other.elements.end() || element->second == kNoData) continue;
            if (!set(k, std::string(element->second))) return false;
        }
        return true;
    }
};

class Pair {
  public:
    Pair(const Structure& structure, bool dense)
        : fStructure(structure), fStream(structure, "stream") {
        useDense(dense);
    }

    // One random operation on both; the results must be equal.
    void step(std::mt19937& random, Pair& other) {
        const unsigned int a = number(random);
        const unsigned int b = number(random);
        switch (random() % 14) {
            case 0:
                return expect(fStream.removeElement(a), fModel.remove(a), "remove");
            case 1:
                return expect(fStream.reindexElement(a, b), fModel.reindex(a, b), "reindex");
            case 2:
                return expect(fStream.swapElements(a, b), fModel.swap(a, b), "swap");
            case 3:
                return setRange(a, b);
            case 4:
                return copyWithin(a, b);
            case 5:
                return setWithoutData(a);
            case 6:
                return adopt(a, below(random, 100));
            case 7:
                if (random() % 8 == 0) clear();
                return;
            case 8:
                if (random() % 8 == 0) useDense(random() % 2 == 0);
                return;
            case 9:
                if (random() % 8 == 0) merge(other);
                return;
            case 10:
                if (random() % 8 == 0) share(other);
                return;
            case 11:
                if (random() % 8 == 0) fStream.makeUnique();
                return;
            default:
                return set(a, below(random, 100));
        }
    }

    void check(const std::string& when) const {
        ASSERT_EQ(fStream.elementCount(), fModel.count()) << when;
        std::string expected;
        for (const auto& [index, value] : fModel.elements) {
            expected += std::to_string(index) + '=' + value + '|';
            Stream stream(fStream);
            ASSERT_EQ(words(stream.element(index)), value) << when << " element " << index;
        }
        const bool cleared =
            fModel.dense && !expected.empty() && fModel.elements.begin()->second == kNoData;
        if (cleared) expected = "0=-|";
        ASSERT_EQ(words(fStream), expected) << when;
    }

    [[nodiscard]] const std::string& lastOperation() const { return fOperation; }

  private:
    static unsigned int below(std::mt19937& random, unsigned int limit) {
        return static_cast<unsigned int>(random() % limit);
    }
    static unsigned int number(std::mt19937& random) {
        return below(random, below(random, 50) == 0 ? 700 : 20);
    }
    void expect(bool result, bool expected, const char* operation) {
        fOperation = operation;
        EXPECT_EQ(result, expected) << operation;
    }
    void set(unsigned int k, unsigned int value) {
        const std::string text = "text " + std::to_string(value);
        const Handle handle = item(fStructure, static_cast<int>(value), text.c_str());
        expect(fStream.setElement(k, handle), fModel.set(k, std::to_string(value) + ' ' + text),
               "set");
    }
    void adopt(unsigned int k, unsigned int value) {
        const std::string text = "own " + std::to_string(value);
        expect(StreamAccess::adoptElement(fStream, k,
                                          item(fStructure, static_cast<int>(value), text.c_str())),
               fModel.set(k, std::to_string(value) + ' ' + text), "adopt");
    }
    // From a handle on the very storage, which may move or free the chunk.
    void copyWithin(unsigned int from, unsigned int to) {
        const Handle handle = fStream.element(from);
        const std::string value = fModel.has(from) ? fModel.elements[from] : kNoData;
        expect(fStream.setElement(to, handle), fModel.set(to, value), "copy within");
    }
    void setWithoutData(unsigned int k) {
        const Handle handle(fStructure, nullptr);
        expect(fStream.setElement(k, handle), fModel.set(k, kNoData), "set without data");
    }
    void setRange(unsigned int a, unsigned int b) {
        const unsigned int first = std::min(a, b);
        const unsigned int last = std::max(a, b);
        expect(fStream.setElementRange(first, last), fModel.range(last - first + 1), "range");
    }
    void clear() { expect(fStream.clear(), fModel.clear(), "clear"); }
    void useDense(bool dense) {
        const bool wanted = fModel.useDense(dense);
        expect(fStream.useDenseStorage(dense), wanted, "useDenseStorage");
    }
    void merge(Pair& other) {
        expect(fStream.mergeStream(other.fStream), fModel.merge(other.fModel), "merge");
    }
    // Shares and detaches at once: afterwards both hold the same, and nothing in common.
    void share(Pair& other) {
        other.fStream = fStream;
        expect(other.fStream.makeUnique(), true, "share");
        other.fModel = fModel;
    }

    const Structure& fStructure;
    Stream fStream;
    Model fModel;
    std::string fOperation;
};

TEST(StreamLawsTest, StoragesBehaveAsTheModel) {
    for (unsigned int seed = 1; seed <= 30; ++seed) {
        std::mt19937 random(seed);
        const RefPtr<Structure> structure = numberAndText();
        Pair one(*structure, seed % 2 == 0);
        Pair other(*structure, seed % 3 == 0);
        for (int i = 0; i < 400; ++i) {
            // New members change the place of everything; the values must stay.
            if (random() % 100 == 0) {
                structure->addMember(Member::kInt8, 3, ("more" + std::to_string(i)).c_str());
            }
            Pair& chosen = random() % 2 ? one : other;
            chosen.step(random, &chosen == &one ? other : one);
            const std::string when = "seed " + std::to_string(seed) + " step " + std::to_string(i) +
                                     ' ' + chosen.lastOperation();
            one.check(when);
            other.check(when);
            if (testing::Test::HasFailure()) return;
        }
    }
}

}  // namespace

}  // namespace orbo::Data
