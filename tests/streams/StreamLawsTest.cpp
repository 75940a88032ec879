// Both storages against a slow and obvious model, under random operations.
// SPDX-License-Identifier: Apache-2.0

#include <algorithm>
#include <functional>
#include <iterator>
#include <map>
#include <random>

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
    bool copy(unsigned int from, unsigned int to) { return set(to, at(from)); }
    bool remove(unsigned int k) {
        if (!dense) elements.erase(k);
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

using Both = std::pair<bool, bool>;

// A stream and its model; the results of every operation must be equal.
struct Pair {
    Pair(std::mt19937& bits, Structure& shared) : random(bits), structure(shared) {}

    std::mt19937& random;
    Structure& structure;
    Stream stream{structure, "stream"};
    Model model;
    RefPtr<Structure> equal = numberAndText();

    unsigned int below(unsigned int limit) { return static_cast<unsigned int>(random() % limit); }
    unsigned int number() { return below(below(50) == 0 ? 700 : 20); }

    void step(Pair& other) {
        const unsigned int a = number();
        const unsigned int b = below(8) == 0 ? a : number();
        Handle fresh = item(structure, static_cast<int>(below(100)), "text");
        const std::string value = words(fresh);
        const Handle within = stream.element(a);  // the storage may move or free its chunk
        const Handle noData(structure, nullptr);
        if (below(20) == 0) {  // new members move everything; handles and chunks are older
            const std::string name = "more" + std::to_string(structure.memberCount());
            structure.addMember(below(2) ? Member::kString : Member::kInt8, 3, name.c_str());
        }
        const auto adopt = [this](unsigned int k, Handle handle) {
            return StreamAccess::adoptElement(stream, k, std::move(handle));
        };
        Stream foreign(*equal, "foreign");
        EXPECT_TRUE(stream.mergeStream(foreign)) << "nothing to merge";
        foreign.setElement(0, Handle(*equal));
        const bool dense = !model.dense;
        const Pair& from = a < b ? *this : other;
        const std::pair<const char*, std::function<Both()>> operations[] = {
            {"set", [&] { return Both(stream.setElement(a, fresh), model.set(a, value)); }},
            {"adopt", [&] { return Both(adopt(a, std::move(fresh)), model.set(a, value)); }},
            {"adopt borrowed", [&] { return Both(adopt(b, within), model.copy(a, b)); }},
            {"copy", [&] { return Both(stream.setElement(b, within), model.copy(a, b)); }},
            {"no data", [&] { return Both(stream.setElement(a, noData), model.set(a, kNoData)); }},
            {"emplace",
             [&] {
                 EXPECT_EQ(words(stream.emplaceElement(a)), kDefault);
                 return Both(true, model.set(a, kDefault));
             }},
            {"reserve", [&] { return Both(stream.reserve(a + 1), model.makeRoom(0)); }},
            {"remove", [&] { return Both(stream.removeElement(a), model.remove(a)); }},
            {"reindex", [&] { return Both(stream.reindexElement(a, b), model.reindex(a, b)); }},
            {"swap", [&] { return Both(stream.swapElements(a, b), model.swap(a, b)); }},
            {"range", [&] { return Both(stream.setElementRange(a, a + b), model.range(b + 1)); }},
            // From here on, rarely.
            {"set foreign", [&] { return Both(stream.setElement(a, Handle(*equal)), false); }},
            {"merge foreign", [&] { return Both(stream.mergeStream(foreign), false); }},
            {"adopt foreign", [&] { return Both(adopt(a, Handle(*equal)), false); }},
            {"clear", [&] { return Both(stream.clear(), model.clear()); }},
            {"storage", [&] { return Both(stream.useDenseStorage(dense), model.useDense(dense)); }},
            {"merge",
             [&] { return Both(stream.mergeStream(from.stream), model.merge(from.model)); }},
            {"share", [&] { return share(other, a, fresh); }}};
        const auto& [name, run] = operations[below(16) == 0 ? 11 + below(7) : below(11)];
        SCOPED_TRACE(name);
        const auto [result, expected] = run();
        EXPECT_EQ(result, expected);
        check();
        other.check();
    }

    // What is set while both share is in both; afterwards they have nothing in common.
    Both share(Pair& other, unsigned int a, const Handle& fresh) {
        other.stream = stream;
        const Both results(stream.setElement(a, fresh), model.set(a, words(fresh)));
        other.model = model;
        EXPECT_TRUE(stream == other.stream && other.stream.makeUnique());
        EXPECT_FALSE(stream == other.stream || stream.makeUnique());
        return results;
    }

    void check() const {
        std::string expected;
        for (const auto& [index, value] : model.elements) {
            expected += std::to_string(index) + '=' + value + '|';
            EXPECT_EQ(words(Stream(stream).element(index)), value) << index;
        }
        EXPECT_EQ(stream.elementCount(), model.count());
        EXPECT_EQ(words(stream), model.dense && model.cleared() ? "0=-|" : expected);
    }
};

TEST(StreamLawsTest, StoragesBehaveAsTheModel) {
    const auto storages = StreamImpl::objectsAlive();
    const auto handles = Handle::objectsAlive();
    for (unsigned int seed = 1; seed <= 60; ++seed) {
        std::mt19937 random(seed);
        const RefPtr<Structure> structure = numberAndText();
        Pair one(random, *structure);
        Pair other(random, *structure);
        for (int i = 0; i < 200 && !HasFailure(); ++i) {
            SCOPED_TRACE("seed " + std::to_string(seed) + " step " + std::to_string(i));
            random() % 2 == 0 ? one.step(other) : other.step(one);
        }
    }
    EXPECT_EQ(StreamImpl::objectsAlive(), storages);
    EXPECT_EQ(Handle::objectsAlive(), handles);
}

}  // namespace

}  // namespace orbo::Data
