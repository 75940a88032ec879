// Index of two numbers, such as the two vertices of an edge.
// SPDX-License-Identifier: Apache-2.0

#include <data/IndexPair.h>
#include <debug/Footprint.h>
#include <debug/Print.h>

#include <ostream>

#include "debug/ObjectCounter.h"
#include "streams/IndexNumbers.h"

namespace orbo::Data {

namespace {

unsigned int distance(unsigned int a, unsigned int b) { return a < b ? b - a : a - b; }

}  // namespace

IndexPair::IndexPair() = default;

IndexPair::IndexPair(unsigned int first, unsigned int second) : fFirst(first), fSecond(second) {}

IndexPair::IndexPair(const IndexPair& other) : IndexPair(other.fFirst, other.fSecond) {}

IndexPair::IndexPair(const std::string& text) {
    unsigned int numbers[2];
    takeIndexNumbers(text, numbers, 2);
    fFirst = numbers[0];
    fSecond = numbers[1];
}

IndexPair::~IndexPair() = default;

IndexPair& IndexPair::operator=(const IndexPair& other) = default;

void IndexPair::getIndexPair(unsigned int& first, unsigned int& second) const {
    first = fFirst;
    second = fSecond;
}

std::string IndexPair::asString() const {
    return std::to_string(fFirst) + ' ' + std::to_string(fSecond);
}

unsigned int IndexPair::denseSpaceBetween(const IndexType& other) const {
    const auto* pair = dynamic_cast<const IndexPair*>(&other);
    if (!pair) return 0;
    return (distance(fFirst, pair->fFirst) + 1) * (distance(fSecond, pair->fSecond) + 1);
}

bool IndexPair::operator==(const IndexPair& other) const {
    return fFirst == other.fFirst && fSecond == other.fSecond;
}

bool IndexPair::operator!=(const IndexPair& other) const { return !(*this == other); }

bool IndexPair::operator<(const IndexPair& other) const {
    return fFirst != other.fFirst ? fFirst < other.fFirst : fSecond < other.fSecond;
}

bool IndexPair::operator<=(const IndexPair& other) const { return !(other < *this); }

bool IndexPair::operator>(const IndexPair& other) const { return other < *this; }

bool IndexPair::operator>=(const IndexPair& other) const { return !(*this < other); }

bool IndexPair::Debug(const IndexPair* index, Debug::Print& print) {
    if (!index) return true;
    print << (std::to_string(index->fFirst) + ',' + std::to_string(index->fSecond)).c_str();
    return true;
}

bool IndexPair::Debug(const IndexPair* index, Debug::Footprint& footprint) {
    if (index) footprint.addObject(index, sizeof(IndexPair));
    return true;
}

}  // namespace orbo::Data

template class orbo::Counted<orbo::Data::IndexPair>;
