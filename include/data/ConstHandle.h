// Typed access to the members of one element, to read them only.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Member.h>
#include <data/TextArgument.h>
#include <data/detail/Values.h>
#include <debug/Export.h>

#include <optional>
#include <string>

namespace orbo::Data {

class Handle;
class Layout;
class Structure;

/// Reads one element, as `Handle` does, but changes nothing and owns nothing. It borrows the
/// element's values and all that describes them, and counts no references: a copy is a few words.
///
///     const ConstHandle element = stream.element(5);
///     float radius = element.get<float>("radius");
///     std::array<float, 3> place = element.get<std::array<float, 3>>("place");
///
/// A handle from a stream is good until the last stream that shares the elements dies, the element
/// is removed, dense storage grows, or the structure gets new members. A handle made of another
/// handle is good until that handle is changed or destroyed.
class METADATA_API ConstHandle {
  public:
    /// Makes a handle without members and without data.
    ConstHandle() = default;
    /// Reads the chunk of `handle`, at the same current member.
    ConstHandle(const Handle& handle);  // NOLINT(google-explicit-constructor): reads the same

    /// Returns false when there is no element to read: `stream.element(5)` of a stream without
    /// number 5.
    [[nodiscard]] bool hasData() const { return fData != nullptr; }
    /// Returns true for the very structure object, not for an equal one.
    [[nodiscard]] bool usesStructure(const Structure& structure) const {
        return fStructure == &structure;
    }

    /// Gives the member's value as exactly its type: `float` for a float, `int` for an int32. A
    /// string is a `std::string_view`, good until it is replaced, or a `std::string`. A member of N
    /// values is a `std::array` of N; N matrices are one of 16 * N numbers, row after row.
    ///
    /// Throws `std::invalid_argument`, naming the member, its type and the request, when the
    /// structure has no such member, its type or length is another, the string is null, or the
    /// handle has no data. Finds the member by name each time: see `MemberRef` for loops.
    template <typename T>
    [[nodiscard]] T get(TextArgument member) const {
        detail::requireValueType<T>();
        const char* const values = detail::valuesToGet(*this, member, detail::Value<T>::request);
        if (detail::hasNullString<T>(values))
            detail::refuseNullString(detail::ValueCall::kGet, member);
        return detail::load<T>(values);
    }
    /// Gives the same value, or nothing where `get` would throw.
    template <typename T>
    [[nodiscard]] std::optional<T> tryGet(TextArgument member) const {
        detail::requireValueType<T>();
        const char* const values = detail::findValues(*this, member, detail::Value<T>::request);
        if (!values || detail::hasNullString<T>(values)) return std::nullopt;
        return detail::load<T>(values);
    }

    /// Makes the member the current one, by its place among the members or by its name. Both move
    /// to the end, where there is no current member, and return false when there is none. A null
    /// name returns false and moves nothing.
    bool setPositionByMemberIndex(unsigned int index);
    bool setPositionByMemberName(const char* name);
    /// Type and number of values of the current member. Both throw `std::out_of_range` ("Const
    /// Member") at the end.
    [[nodiscard]] Member::eDataType dataType() const;
    [[nodiscard]] unsigned int dataLength() const;

    /// These give the current member's values, which follow each other in memory. They are null
    /// without data, at the end, and when the member has another type; nothing is converted. A
    /// matrix is 16 numbers.
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
    /// The pointers may be null: a string that nobody has set is.
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

    /// Tells whether all values, or those of one member, are as in a new element: false, 0 or a
    /// null string. Both are false without data; the second is true for a name that no member has.
    [[nodiscard]] bool isDefault() const;
    [[nodiscard]] bool isDefaultMember(const char* name) const;

    /// Value `index` of the current member as text, in the classic locale, floats and doubles with
    /// six digits; empty when the member has no such value. Throws `std::out_of_range` ("Const
    /// Member") at the end.
    [[nodiscard]] std::string str(unsigned int index) const;

  private:
    friend class ElementHandle;
    friend class HandleAccess;
    friend class HandleStep;
    friend class MemberPlace;

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
    // Those of the current member, so that access does not look it up. No type at the end.
    unsigned long long fOffset = 0;
    Member::eDataType fType = Member::kInvalid;
    unsigned int fIndex = ~0U;
};

}  // namespace orbo::Data
