// Walks the members of a Structure.
// SPDX-License-Identifier: Apache-2.0
#include <data/StructureIterator.h>

#include <data/Structure.h>
#include <debug/Footprint.h>
#include <debug/Print.h>

#include <ostream>
#include <stdexcept>

#include <string>

#include "core/Layout.h"

namespace orbo::Data {

namespace {

constexpr unsigned int kEndIndex = Layout::kNoMember;

}  // namespace

StructureIterator::StructureIterator() : StructureIterator(*Structure::create(), kEnd) {}

StructureIterator::StructureIterator(const Structure& structure, IterLocation location)
    : fStructure(&structure), fIndex(location == kBegin ? 0 : kEndIndex) {
    structure.ref();
}

StructureIterator::StructureIterator(const StructureIterator& other)
    : fStructure(other.fStructure), fIndex(other.fIndex) {
    fStructure->ref();
}

StructureIterator& StructureIterator::operator=(const StructureIterator& other) {
    other.fStructure->ref();
    release();
    fStructure = other.fStructure;
    fIndex = other.fIndex;
    return *this;
}

StructureIterator::~StructureIterator() { release(); }

void StructureIterator::release() noexcept {
    if (!fStructure->isDeleting()) fStructure->unref();
}

bool StructureIterator::operator==(const StructureIterator& other) const {
    return fStructure == other.fStructure && fIndex == other.fIndex;
}

const Member* StructureIterator::current() const {
    if (fIndex >= fStructure->memberCount()) return nullptr;
    return &Layout::of(*fStructure).member(fIndex);
}

const Member* StructureIterator::operator->() {
    if (const Member* member = current()) return member;
    throw std::out_of_range("Member");
}

const Member* StructureIterator::operator->() const {
    if (const Member* member = current()) return member;
    throw std::out_of_range("Const Member");
}

const Member& StructureIterator::operator*() { return *operator->(); }
const Member& StructureIterator::operator*() const { return *operator->(); }

// Stepping from the end goes to member 0, because the end's index wraps round.
StructureIterator& StructureIterator::operator++() {
    ++fIndex;
    if (fIndex >= structure().memberCount()) fIndex = kEndIndex;
    return *this;
}

StructureIterator StructureIterator::operator++(int) {
    StructureIterator before(*this);
    ++*this;
    return before;
}

const Structure& StructureIterator::structure() const { return *fStructure; }

bool StructureIterator::valid() const { return fIndex != kEndIndex; }

bool StructureIterator::Debug(const StructureIterator* iterator, Debug::Print& print) {
    if (iterator) {
        print << "Structure Iterator for " << iterator->structure().name() << " at index "
              << std::to_string(iterator->fIndex) << '\n';
    } else {
        print << "orbo::Data::StructureIterator Static Data, invalid member = "
              << std::to_string(kEndIndex) << '\n';
    }
    return true;
}

bool StructureIterator::Debug(const StructureIterator* iterator, Debug::Footprint& footprint) {
    if (iterator) footprint.addObject(iterator, sizeof(StructureIterator));
    return true;
}

}  // namespace orbo::Data
