// Typed access to the members of one element.
// SPDX-License-Identifier: Apache-2.0
#include <data/Handle.h>
#include <data/Structure.h>
#include <debug/Count.h>
#include <debug/Footprint.h>
#include <debug/Print.h>

#include <stdexcept>
#include <utility>

#include "core/DataTypes.h"
#include "core/HandleAccess.h"
#include "core/Layout.h"
#include "debug/ObjectCounter.h"

namespace orbo::Data {

namespace {

constexpr unsigned int kEndIndex = Layout::kNoMember;

unsigned int firstMember(const Layout& layout) { return layout.memberCount() == 0 ? kEndIndex : 0; }

}  // namespace

Debug::ObjectCounter Handle::_objects;
const char* const Handle::kDebugHex = "hex";
const char* const Handle::kDebugType = "type";

Handle::Handle() : fLayout(&Layout::empty()), fIndex(kEndIndex) { _objects.objectCreated(); }

Handle::Handle(const Structure& structure) : Handle(structure, structure.allocateDefaultChunk()) {
    fOwnsData = true;
}

Handle::Handle(const Structure& structure, void* data)
    : Handle(structure, Layout::of(structure), static_cast<char*>(data)) {}

Handle::Handle(const Structure& structure, const Layout& layout, char* data)
    : fStructure(&structure), fLayout(&layout), fData(data), fIndex(firstMember(*fLayout)) {
    structure.ref();
    _objects.objectCreated();
}

Handle::Handle(const Handle& other)
    : fStructure(other.fStructure),
      fLayout(other.fLayout),
      fData(other.fData),
      fIndex(other.fIndex) {
    if (fStructure) fStructure->ref();
    _objects.objectCreated();
}

Handle::Handle(Handle&& other) noexcept : Handle() { swap(other); }

Handle& Handle::operator=(const Handle& other) {
    // A copy of itself, or of a copy of it, would point at the chunk that it is about to free.
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
    _objects.objectDestroyed();
}

void Handle::freeOwnedChunk() noexcept {
    if (std::exchange(fOwnsData, false)) fLayout->free(fData);
    fData = nullptr;
}

void Handle::pointToData(char* data, bool owns) {
    if (data != fData) {
        freeOwnedChunk();
        fData = data;
        if (fStructure) fLayout = RefPtr<const Layout>(&Layout::of(*fStructure));
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
    std::swap(fIndex, other.fIndex);
    std::swap(fOwnsData, other.fOwnsData);
}

bool Handle::usesStructure(const Structure& structure) const { return fStructure == &structure; }

// Without a chunk there is none to protect from the structure's changes.
void Handle::followStructure() {
    if (fData || !fStructure || fLayout.get() == &Layout::of(*fStructure)) return;
    fLayout = RefPtr<const Layout>(&Layout::of(*fStructure));
}

const Member* Handle::current() const {
    return fIndex < fLayout->memberCount() ? &fLayout->member(fIndex) : nullptr;
}

const Member& Handle::checkedCurrent() const {
    if (const Member* member = current()) return *member;
    throw std::out_of_range("Const Member");
}

bool Handle::setPositionByMemberIndex(unsigned int index) {
    if (index == fIndex) return true;
    followStructure();
    fIndex = index < fLayout->memberCount() ? index : kEndIndex;
    return fIndex != kEndIndex;
}

bool Handle::setPositionByMemberName(const char* name) {
    if (!name) return false;
    followStructure();
    fIndex = fLayout->indexOf(name);
    return fIndex != kEndIndex;
}

Member::eDataType Handle::dataType() const { return checkedCurrent().type(); }
unsigned int Handle::dataLength() const { return checkedCurrent().length(); }

char* Handle::valuesOf(Member::eDataType type) const {
    if (!fData || fIndex >= fLayout->memberCount()) return nullptr;
    const Member& member = fLayout->member(fIndex);
    return member.fType == type ? fData + member.fOffset : nullptr;
}

const void* Handle::asType(Member::eDataType type) const { return valuesOf(type); }
void* Handle::asType(Member::eDataType type) { return valuesOf(type); }

bool* Handle::asBoolean() { return reinterpret_cast<bool*>(valuesOf(Member::kBoolean)); }
double* Handle::asDouble() { return reinterpret_cast<double*>(valuesOf(Member::kDouble)); }
double* Handle::asDoubleMatrix4x4() {
    return reinterpret_cast<double*>(valuesOf(Member::kDoubleMatrix4x4));
}
float* Handle::asFloat() { return reinterpret_cast<float*>(valuesOf(Member::kFloat)); }
float* Handle::asFloatMatrix4x4() {
    return reinterpret_cast<float*>(valuesOf(Member::kFloatMatrix4x4));
}
signed char* Handle::asInt8() { return reinterpret_cast<signed char*>(valuesOf(Member::kInt8)); }
short* Handle::asInt16() { return reinterpret_cast<short*>(valuesOf(Member::kInt16)); }
int* Handle::asInt32() { return reinterpret_cast<int*>(valuesOf(Member::kInt32)); }
long long* Handle::asInt64() { return reinterpret_cast<long long*>(valuesOf(Member::kInt64)); }
char** Handle::asString() { return reinterpret_cast<char**>(valuesOf(Member::kString)); }
unsigned char* Handle::asUInt8() {
    return reinterpret_cast<unsigned char*>(valuesOf(Member::kUInt8));
}
unsigned short* Handle::asUInt16() {
    return reinterpret_cast<unsigned short*>(valuesOf(Member::kUInt16));
}
unsigned int* Handle::asUInt32() {
    return reinterpret_cast<unsigned int*>(valuesOf(Member::kUInt32));
}
unsigned long long* Handle::asUInt64() {
    return reinterpret_cast<unsigned long long*>(valuesOf(Member::kUInt64));
}

bool Handle::isDefault() const { return fLayout->isDefault(fData); }

bool Handle::isDefaultMember(const char* name) const {
    return name ? fLayout->isDefault(fData, name) : isDefault();
}

bool Handle::Debug(const Handle*, Debug::Count& count) {
    count = objectsAlive();
    return true;
}

bool Handle::Debug(const Handle* handle, Debug::Footprint& footprint) {
    if (handle) footprint.addObject(handle, sizeof(Handle));
    return true;
}

unsigned long long Handle::objectsCreated() { return _objects.created(); }
unsigned long long Handle::objectsAlive() { return _objects.alive(); }

Handle HandleAccess::borrow(const Structure& structure, const Layout& layout, char* data) {
    return Handle(structure, layout, data);
}

Handle HandleAccess::own(const Structure& structure, const Layout& layout, char* data) {
    Handle handle = borrow(structure, layout, data);
    handle.fOwnsData = true;
    return handle;
}

void HandleAccess::pointAnew(Handle& handle, const Layout& layout, char* data) {
    handle.freeOwnedChunk();
    handle.fLayout = RefPtr<const Layout>(&layout);
    handle.fData = data;
}

char* HandleAccess::release(Handle& handle) {
    if (!std::exchange(handle.fOwnsData, false)) return nullptr;
    return std::exchange(handle.fData, nullptr);
}

}  // namespace orbo::Data
