// Names one element of a stream: a number, or a value of a registered index type.
// SPDX-License-Identifier: Apache-2.0

#include <data/Index.h>
#include <data/IndexPair.h>
#include <data/IndexString.h>
#include <data/IndexType.h>
#include <debug/Footprint.h>
#include <debug/Print.h>

#include <ostream>
#include <stdexcept>
#include <utility>

#include "debug/ObjectCounter.h"
#include "debug/StartUp.h"
#include "streams/IndexNumbers.h"

namespace orbo::Data {

namespace {

[[gnu::used]] const char* const linksRegistration = &registrationAnchor;

unsigned int numberIn(const std::string& text) {
    unsigned int number = 0;
    takeIndexNumbers(text, &number, 1);
    return number;
}

IndexType* referencedClone(const IndexType* value) {
    IndexType* clone = value ? value->clone() : nullptr;
    if (clone) clone->ref();
    return clone;
}

}  // namespace

// This constructor does not count, so that placeholders do not show up among the indices created.
Index::Index() : Counted(Uncounted()) {}

Index::Index(unsigned int number) : fNumber(number) {}

Index::Index(const std::string& text) : fNumber(numberIn(text)) {}

Index::Index(const IndexType& value) : fType(referencedClone(&value)) {}

Index::Index(const Index& other)
    : Counted(other), fNumber(other.fNumber), fType(referencedClone(other.fType)) {}

Index::Index(Index&& other) noexcept
    : fNumber(other.fNumber), fType(std::exchange(other.fType, nullptr)) {}

Index Index::take(IndexType* fresh) {
    Index index(0U);
    fresh->ref();
    index.fType = fresh;
    return index;
}

Index Index::ofText(TextArgument text) { return IndexString::doCreate(std::string(text.view())); }

Index Index::pairOf(unsigned int first, unsigned int second) {
    return take(new IndexPair(first, second));
}

void Index::refuseNumber(bool isNegative, unsigned long long number) {
    const std::string shown =
        isNegative ? "-" + std::to_string(0 - number) : std::to_string(number);
    throw std::out_of_range("No index can have the number " + shown + ".");
}

Index::~Index() {
    if (fType) fType->unref();
}

Index& Index::operator=(const Index& other) {
    // By contract, an index that is assigned to itself releases its typed value before the value is
    // read.
    IndexType* const shared = &other == this ? nullptr : other.fType;
    if (shared) {
        shared->ref();
    } else {
        fNumber = other.fNumber;
    }
    if (fType) fType->unref();
    fType = shared;
    return *this;
}

Index& Index::operator=(unsigned int number) {
    if (fType) fType->unref();
    fType = nullptr;
    fNumber = number;
    return *this;
}

std::string Index::asString() const { return fType ? fType->asString() : std::to_string(fNumber); }

std::string Index::typeName() const { return fType ? fType->typeName() : theTypeName(); }

std::string Index::theTypeName() { return "numeric"; }

bool Index::supportsDenseMode() const { return !fType || fType->supportsDenseMode(); }

unsigned int Index::denseSpaceBetween(const Index& other) const {
    if (fType && other.fType) return fType->denseSpaceBetween(*other.fType);
    if (fType || other.fType) return 0;
    return (fNumber < other.fNumber ? other.fNumber - fNumber : fNumber - other.fNumber) + 1;
}

bool Index::operator==(const Index& other) const {
    if (fType && other.fType) return *fType == *other.fType;
    return !fType && !other.fType && fNumber == other.fNumber;
}

bool Index::equalsValue(const IndexType& value) const { return fType && *fType == value; }

bool Index::equalsText(TextArgument text) const {
    const auto* const string = dynamic_cast<const IndexString*>(fType);
    return string && string->indexString() == text.view();
}

bool Index::operator!=(const Index& other) const {
    if (fType && other.fType) return *fType != *other.fType;
    return fType || other.fType || fNumber != other.fNumber;
}

bool Index::operator<(const Index& other) const {
    if (fType && other.fType) return *fType < *other.fType;
    if (fType || other.fType) return other.fType != nullptr;
    return fNumber < other.fNumber;
}

bool Index::operator<=(const Index& other) const {
    if (fType && other.fType) return *fType <= *other.fType;
    if (fType || other.fType) return other.fType != nullptr;
    return fNumber <= other.fNumber;
}

bool Index::operator>(const Index& other) const {
    if (fType && other.fType) return *fType > *other.fType;
    if (fType || other.fType) return fType != nullptr;
    return fNumber > other.fNumber;
}

bool Index::operator>=(const Index& other) const {
    if (fType && other.fType) return *fType >= *other.fType;
    if (fType || other.fType) return fType != nullptr;
    return fNumber >= other.fNumber;
}

Index::Creators& Index::creators() {
    static Creators creators{{theTypeName(), &Index::TypeCreator}};
    return creators;
}

IndexCreator Index::creator(const std::string& typeName) {
    const auto entry = creators().find(typeName);
    if (entry == creators().end()) throw eCreatorNotFound;
    return entry->second;
}

Index Index::doCreate(const std::string& typeName, const std::string& text) {
    const IndexCreator create = creator(typeName);
    if (!create) throw eCreatorNotFound;
    return create(text);
}

bool Index::registerType(const std::string& typeName, IndexCreator creator) {
    return creators().emplace(typeName, creator).second;
}

void Index::deregisterType(const std::string& typeName) { creators().erase(typeName); }

Index Index::TypeCreator(const std::string& text) { return Index(text); }

bool Index::Debug(const Index* index, Debug::Print& print) {
    if (index && !index->fType) print << index->asString().c_str();
    return true;
}

bool Index::Debug(const Index* index, Debug::Footprint& footprint) {
    if (index) footprint.addObject(index, sizeof(Index));
    return true;
}

}  // namespace orbo::Data

template class orbo::Counted<orbo::Data::Index>;
