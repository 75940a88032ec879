// Typed access to the members of one element, to read them only.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Member.h>
#include <debug/Export.h>

#include <string>

namespace orbo::Data {

class Handle;
class Layout;
class Structure;

/// A cursor on one chunk, as `Handle` is, that can change nothing and owns nothing: it borrows the
/// chunk and all that describes it, and counts no references. A copy is a few words.
///
/// One from a stream is good as long as some stream has the storage, and until the element goes,
/// dense storage grows, or the structure gets new members. One made of a handle is good until that
/// handle is changed or destroyed.
class METADATA_API ConstHandle {
  public:
    /// No members, no data.
    ConstHandle() = default;
    /// On the handle's chunk, at its member.
    ConstHandle(const Handle& handle);  // NOLINT(google-explicit-constructor): reads the same

    [[nodiscard]] bool hasData() const { return fData != nullptr; }
    /// True for the very structure object, not for an equal one.
    [[nodiscard]] bool usesStructure(const Structure& structure) const {
        return fStructure == &structure;
    }

    /// Both move to the end and return false when there is no such member.
    bool setPositionByMemberIndex(unsigned int index);
    /// Null returns false and stays.
    bool setPositionByMemberName(const char* name);
    /// Of the current member; at the end both throw `std::out_of_range` ("Const Member").
    [[nodiscard]] Member::eDataType dataType() const;
    [[nodiscard]] unsigned int dataLength() const;

    /// The current member's first value, or null without data, at the end, or for another type.
    [[nodiscard]] const void* asType(Member::eDataType type) const {
        return type == Member::kInvalid ? nullptr : valuesOf<void>(type);
    }
    [[nodiscard]] const bool* asBoolean() const { return valuesOf<bool>(Member::kBoolean); }
    [[nodiscard]] const double* asDouble() const { return valuesOf<double>(Member::kDouble); }
    [[nodiscard]] const double* asDoubleMatrix4x4() const {
        return valuesOf<double>(Member::kDoubleMatrix4x4);
    }
    [[nodiscard]] const float* asFloat() const { return valuesOf<float>(Member::kFloat); }
    [[nodiscard]] const float* asFloatMatrix4x4() const {
        return valuesOf<float>(Member::kFloatMatrix4x4);
    }
    [[nodiscard]] const signed char* asInt8() const { return valuesOf<signed char>(Member::kInt8); }
    [[nodiscard]] const short* asInt16() const { return valuesOf<short>(Member::kInt16); }
    [[nodiscard]] const int* asInt32() const { return valuesOf<int>(Member::kInt32); }
    [[nodiscard]] const long long* asInt64() const { return valuesOf<long long>(Member::kInt64); }
    [[nodiscard]] const char* const* asString() const {
        return valuesOf<const char*>(Member::kString);
    }
    [[nodiscard]] const unsigned char* asUInt8() const {
        return valuesOf<unsigned char>(Member::kUInt8);
    }
    [[nodiscard]] const unsigned short* asUInt16() const {
        return valuesOf<unsigned short>(Member::kUInt16);
    }
    [[nodiscard]] const unsigned int* asUInt32() const {
        return valuesOf<unsigned int>(Member::kUInt32);
    }
    [[nodiscard]] const unsigned long long* asUInt64() const {
        return valuesOf<unsigned long long>(Member::kUInt64);
    }

    /// Both false without data; the second true for a name that no member has.
    [[nodiscard]] bool isDefault() const;
    [[nodiscard]] bool isDefaultMember(const char* name) const;

    /// Value `index` of the current member as text; empty when the member has no such value. At the
    /// end it throws `std::out_of_range` ("Const Member").
    [[nodiscard]] std::string str(unsigned int index) const;

  private:
    friend class HandleAccess;

    ConstHandle(const Structure* structure, const Layout& layout, const char* data)
        : fStructure(structure), fLayout(&layout), fData(data) {}

    [[nodiscard]] const Member* current() const;
    void moveTo(const Member* member, unsigned int index) {
        fIndex = index;
        fType = member ? member->fType : Member::kInvalid;
        fOffset = member ? member->fOffset : 0;
    }
    bool moveTo(unsigned int index);
    template <typename T>
    [[nodiscard]] const T* valuesOf(Member::eDataType type) const {
        return fData && fType == type ? reinterpret_cast<const T*>(fData + fOffset) : nullptr;
    }

    const Structure* fStructure = nullptr;
    const Layout* fLayout = nullptr;  // the one that fData was made with
    const char* fData = nullptr;
    // Of the current member, so that access does not look it up. No type at the end.
    unsigned long long fOffset = 0;
    Member::eDataType fType = Member::kInvalid;
    unsigned int fIndex = ~0U;
};

}  // namespace orbo::Data
