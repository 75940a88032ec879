// Typed access to the members of one element.
// SPDX-License-Identifier: Apache-2.0
#include <data/Handle.h>
#include <data/Structure.h>
#include <debug/Footprint.h>
#include <debug/Print.h>

#include <ostream>
#include <stdexcept>
#include <utility>

#include "core/DataTypes.h"
#include "core/HandleAccess.h"
#include "core/Layout.h"
#include "core/MemberAtChunk.h"
#include "debug/ObjectCounter.h"

namespace orbo::Data {

namespace {

constexpr unsigned int kEndIndex = Layout::kNoMember;

}  // namespace

const char* const Handle::kDebugHex = "hex";
const char* const Handle::kDebugType = "type";

Handle::Handle() : fLayout(&Layout::empty()), fIndex(kEndIndex) {}

Handle::Handle(const Structure& structure) : Handle(structure, structure.allocateDefaultChunk()) {
    fOwnsData = true;
}

Handle::Handle(const Structure& structure, void* data)
    : Handle(structure, Layout::of(structure), static_cast<char*>(data)) {}

Handle::Handle(const Structure& structure, const Layout& layout, char* data)
    : fStructure(&structure),
      fLayout(&layout),
      fData(data),
      fIndex(layout.memberCount() != 0 ? 0 : kEndIndex) {
    if (fIndex == 0) fType = layout.member(0).fType;  // the first member is at offset 0
    structure.ref();
}

Handle::Handle(const Handle& other)
    : Counted(other),
      fStructure(other.fStructure),
      fLayout(other.fLayout),
      fData(other.fData),
      fOffset(other.fOffset),
      fType(other.fType),
      fIndex(other.fIndex) {
    if (fStructure) fStructure->ref();
}

Handle::Handle(Handle&& other) noexcept : Handle() { swap(other); }

Handle& Handle::operator=(const Handle& other) {
    // Without this test, assigning a handle to itself or to a copy of it would free the chunk that
    // both use.
    if (this == &other) return *this;
    Handle copy(other);
    if (fOwnsData && fData == other.fData) copy.fOwnsData = std::exchange(fOwnsData, false);
    swap(copy);
    return *this;
}

Handle& Handle::operator=(Handle&& other) noexcept {
    if (this == &other) return *this;
    const bool sameChunk = fOwnsData && fData == other.fData;
    if (sameChunk) other.fOwnsData = std::exchange(fOwnsData, false);
    Handle taken(std::move(other));
    swap(taken);
    return *this;
}

Handle::~Handle() {
    freeOwnedChunk();
    if (fStructure) fStructure->unref();
}

void Handle::freeOwnedChunk() noexcept {
    if (std::exchange(fOwnsData, false)) fLayout->free(fData);
    fData = nullptr;
}

void Handle::pointToData(char* data, bool owns) {
    if (data != fData) {
        freeOwnedChunk();
        fData = data;
        if (fStructure) useLayout(Layout::of(*fStructure));
    }
    fOwnsData = owns;
}

bool Handle::makeUnique() {
    if (fOwnsData) return false;
    char* copy = fLayout->duplicate(fData);
    if (fData && !copy && fLayout->totalSize() != 0) throw std::bad_alloc();
    fData = copy;
    fOwnsData = true;
    return true;
}

void Handle::swap(Handle& other) noexcept {
    std::swap(fStructure, other.fStructure);
    std::swap(fLayout, other.fLayout);
    std::swap(fData, other.fData);
    std::swap(fOffset, other.fOffset);
    std::swap(fType, other.fType);
    std::swap(fIndex, other.fIndex);
    std::swap(fOwnsData, other.fOwnsData);
}

bool Handle::usesStructure(const Structure& structure) const { return fStructure == &structure; }

// A handle without a chunk follows the structure; a chunk keeps the layout it was made with.
void Handle::followStructure() {
    if (!fData && fStructure) useLayout(Layout::of(*fStructure));
}

// An index behind the last member is kept, because the structure may get more members.
void Handle::useLayout(const Layout& layout) {
    if (fLayout.get() == &layout) return;
    fLayout = RefPtr<const Layout>(&layout);
    noteMember();
}

void Handle::moveTo(unsigned int member) {
    fIndex = member < fLayout->memberCount() ? member : kEndIndex;
    noteMember();
}

void Handle::noteMember() noexcept {
    const Member* const member = current();
    fType = member ? member->fType : Member::kInvalid;
    fOffset = member ? member->fOffset : 0;
}

const Member* Handle::current() const {
    return fIndex < fLayout->memberCount() ? &fLayout->member(fIndex) : nullptr;
}

const Member& checkedMember(const Member* current) {
    if (!current) throw std::out_of_range("Const Member");
    return *current;
}

const Member& Handle::checkedCurrent() const { return checkedMember(current()); }

bool Handle::setPositionByMemberIndex(unsigned int index) {
    if (index == fIndex) return true;
    followStructure();
    moveTo(index);
    return fIndex != kEndIndex;
}

bool Handle::setPositionByMemberName(const char* name) {
    if (!name) return false;
    followStructure();
    moveTo(fLayout->indexOf(name));
    return fIndex != kEndIndex;
}

Member::eDataType Handle::dataType() const { return checkedCurrent().type(); }
unsigned int Handle::dataLength() const { return checkedCurrent().length(); }

// At the end no type matches.
const void* Handle::asType(Member::eDataType type) const {
    return type == Member::kInvalid ? nullptr : valuesOf<void>(type);
}
void* Handle::asType(Member::eDataType type) {
    return const_cast<void*>(std::as_const(*this).asType(type));
}

bool Handle::isDefault() const { return fLayout->isDefault(fData); }

bool Handle::isDefaultMember(const char* name) const {
    return name ? fLayout->isDefault(fData, name) : isDefault();
}

bool Handle::Debug(const Handle* handle, Debug::Footprint& footprint) {
    if (handle) footprint.addObject(handle, sizeof(Handle));
    return true;
}

Handle HandleAccess::borrow(const Structure& structure, const Layout& layout, char* data) {
    return Handle(structure, layout, data);
}

Handle HandleAccess::handleOn(const ElementHandle& element) {
    if (!element.fStructure) return Handle();
    Handle handle = borrow(*element.fStructure, *element.fLayout, const_cast<char*>(element.fData));
    handle.moveTo(element.fIndex);
    return handle;
}

Handle HandleAccess::own(const Structure& structure, const Layout& layout, char* data) {
    Handle handle = borrow(structure, layout, data);
    handle.fOwnsData = true;
    return handle;
}

void HandleAccess::pointAnew(Handle& handle, const Layout& layout, char* data) {
    handle.freeOwnedChunk();
    handle.useLayout(layout);
    handle.fData = data;
}

char* HandleAccess::release(Handle& handle) {
    if (!std::exchange(handle.fOwnsData, false)) return nullptr;
    return std::exchange(handle.fData, nullptr);
}

}  // namespace orbo::Data

template class orbo::Counted<orbo::Data::Handle>;
