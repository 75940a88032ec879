// One typed, dimensioned field of a Structure, and the library's table of data types.
// SPDX-License-Identifier: Apache-2.0
#include <data/Member.h>
#include <debug/Footprint.h>
#include <debug/Print.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <ostream>
#include <string>
#include <type_traits>
#include <utility>

#include "core/DataTypes.h"
#include "debug/ObjectCounter.h"

namespace orbo::Data {

namespace {

char* duplicateName(const char* name) {
    if (!name) return nullptr;
    char* copy = ::strdup(name);
    if (!copy) throw std::bad_alloc();
    return copy;
}

template <typename T>
bool areDefault(const T* values, unsigned long long count) {
    return std::all_of(values, values + count, [](T value) { return value == T{}; });
}

}  // namespace

Member::Member() = default;

Member::Member(eDataType type, unsigned int length, const char* name, unsigned long long offset)
    : fType(type), fName(duplicateName(name)), fLength(length), fOffset(offset) {}

Member::Member(const Member& other)
    : Member(other.fType, other.fLength, other.fName, other.fOffset) {}

Member::Member(Member&& other) noexcept
    : fType(other.fType),
      fName(std::exchange(other.fName, nullptr)),
      fLength(other.fLength),
      fOffset(other.fOffset) {}

Member& Member::operator=(const Member& other) {
    char* name = duplicateName(other.fName);
    std::free(std::exchange(fName, name));
    fLength = other.fLength;
    fOffset = other.fOffset;
    fType = other.fType;
    return *this;
}

Member::~Member() { std::free(fName); }

bool Member::operator!=(const Member& other) const {
    if (fType != other.fType || fOffset != other.fOffset || fLength != other.fLength) return true;
    if (fName == other.fName) return false;
    return !fName || !other.fName || std::strcmp(fName, other.fName) != 0;
}

Member::eDataType Member::type(const Member* member) { return member ? member->fType : kInvalid; }
unsigned int Member::length(const Member* member) { return member ? member->fLength : 0; }
const char* Member::name(const Member* member) { return member ? member->fName : nullptr; }

unsigned long long Member::offset(const Member* member) {
    return member ? member->fOffset : kNotPlaced;
}

unsigned long long Member::offset(const Member* member, unsigned int k) {
    if (!member) return 0;
    return static_cast<unsigned int>(typeSize(member->fType)) * k + member->fOffset;
}

const char* Member::typeName(eDataType type) { return dataType(type).name; }
int Member::typeSize(eDataType type) { return dataType(type).size; }
int Member::typeAlignment(eDataType type) { return dataType(type).alignment; }

Member::eDataType Member::typeFromName(const char* name) {
    if (!name) return kInvalid;
    for (std::size_t i = 0; i < kDataTypes.size(); ++i) {
        if (std::strcmp(name, kDataTypes[i].name) == 0) return static_cast<eDataType>(i);
    }
    return kInvalid;
}

bool Member::fillWithDefault(char* chunk) const {
    std::memset(chunk + fOffset, 0, std::size_t{fLength} * dataType(fType).size);
    return true;
}

bool Member::isDefault(const char* chunk) const {
    if (!chunk) return false;
    const char* const values = chunk + fOffset;
    return visitMemberType(fType, [&](auto type) {
        using Scalar = typename decltype(type)::Scalar;
        // Compares bytes where the bits decide, because another program may have stored a boolean
        // that is neither 0 nor 1. Floating-point values compare as numbers: -0.0 is a default, a
        // NaN never is.
        using Compared = std::conditional_t<std::is_integral_v<Scalar>, char, Scalar>;
        constexpr std::uint64_t kComparisons = std::is_integral_v<Scalar> ? sizeof(Scalar) : 1;
        return areDefault(reinterpret_cast<const Compared*>(values),
                          fLength * kComparisons * type.kScalars);
    });
}

bool Member::constructDuplicate(char* destination, const char* source) const {
    if (fType != kString) return true;
    char** to = reinterpret_cast<char**>(destination + fOffset);
    char* const* from = reinterpret_cast<char* const*>(source + fOffset);
    for (unsigned int k = 0; k < fLength; ++k) {
        to[k] = from[k] ? ::strdup(from[k]) : nullptr;
        if (from[k] && !to[k]) {
            // The slots not reached yet still hold the source's pointers.
            std::fill(to + k, to + fLength, nullptr);
            return false;
        }
    }
    return true;
}

bool Member::destroy(char* chunk) const {
    if (!storesData(fType)) return false;
    if (fType != kString) return true;
    char** strings = reinterpret_cast<char**>(chunk + fOffset);
    for (unsigned int k = 0; k < fLength; ++k) std::free(std::exchange(strings[k], nullptr));
    return true;
}

bool Member::Debug(const Member* member, Debug::Footprint& footprint) {
    if (!member) return true;
    footprint.addObject(member, sizeof(Member));
    if (member->fName) footprint.addMember(member->fName, std::strlen(member->fName) + 1);
    return true;
}

bool Member::Debug(const Member* member, Debug::Print& print) {
    if (!member) return true;
    const std::string line = std::string("'") + (member->fName ? member->fName : "") + "' " +
                             typeName(member->fType) + "[" + std::to_string(member->fLength) +
                             "] +" + std::to_string(member->fOffset);
    print << line.c_str() << '\n';
    return true;
}

}  // namespace orbo::Data

template class orbo::Counted<orbo::Data::Member>;
