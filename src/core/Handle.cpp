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
    : fStructure(&structure),
      fLayout(&Layout::of(structure)),
      fData(static_cast<char*>(data)),
      fIndex(firstMember(*fLayout)) {
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

const void* Handle::asType(Member::eDataType type) const {
    const Member* member = fData ? current() : nullptr;
    return member && member->type() == type ? fData + member->offset() : nullptr;
}

void* Handle::asType(Member::eDataType type) {
    return const_cast<void*>(std::as_const(*this).asType(type));
}

bool* Handle::asBoolean() { return static_cast<bool*>(asType(Member::kBoolean)); }
double* Handle::asDouble() { return static_cast<double*>(asType(Member::kDouble)); }
double* Handle::asDoubleMatrix4x4() {
    return static_cast<double*>(asType(Member::kDoubleMatrix4x4));
}
float* Handle::asFloat() { return static_cast<float*>(asType(Member::kFloat)); }
float* Handle::asFloatMatrix4x4() { return static_cast<float*>(asType(Member::kFloatMatrix4x4)); }
signed char* Handle::asInt8() { return static_cast<signed char*>(asType(Member::kInt8)); }
short* Handle::asInt16() { return static_cast<short*>(asType(Member::kInt16)); }
int* Handle::asInt32() { return static_cast<int*>(asType(Member::kInt32)); }
long long* Handle::asInt64() { return static_cast<long long*>(asType(Member::kInt64)); }
char** Handle::asString() { return static_cast<char**>(asType(Member::kString)); }
unsigned char* Handle::asUInt8() { return static_cast<unsigned char*>(asType(Member::kUInt8)); }
unsigned short* Handle::asUInt16() { return static_cast<unsigned short*>(asType(Member::kUInt16)); }
unsigned int* Handle::asUInt32() { return static_cast<unsigned int*>(asType(Member::kUInt32)); }
unsigned long long* Handle::asUInt64() {
    return static_cast<unsigned long long*>(asType(Member::kUInt64));
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
    Handle handle;
    handle.fStructure = &structure;
    structure.ref();
    handle.fIndex = firstMember(layout);
    point(handle, layout, data);
    return handle;
}

Handle HandleAccess::own(const Structure& structure, const Layout& layout, char* data) {
    Handle handle = borrow(structure, layout, data);
    handle.fOwnsData = true;
    return handle;
}

void HandleAccess::point(Handle& handle, const Layout& layout, char* data) {
    handle.freeOwnedChunk();
    if (handle.fLayout.get() != &layout) handle.fLayout = RefPtr<const Layout>(&layout);
    handle.fData = data;
}

char* HandleAccess::release(Handle& handle) {
    if (!std::exchange(handle.fOwnsData, false)) return nullptr;
    return std::exchange(handle.fData, nullptr);
}

}  // namespace orbo::Data
