// Typed access to the members of one element.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/ConstHandle.h>
#include <data/Member.h>
#include <data/TextArgument.h>
#include <data/detail/Values.h>
#include <debug/Counted.h>
#include <debug/Export.h>
#include <debug/RefPtr.h>

#include <optional>
#include <string>

namespace orbo::Data {

class Structure;

/// Reads and changes one element. A handle knows a structure, which it keeps alive, a chunk with
/// the element's values, and a current member, which the functions without a name work on.
///
///     Handle lid = stream.element("lid");
///     float radius = lid.get<float>("radius");
///     lid.set("radius", 2 * radius);
///     lid.set("name", "lid");
///
/// A handle from a stream borrows its chunk; `Stream` says how long it is good. A copy of a handle
/// shares the chunk and never owns it, and must not outlive the owner; a move hands ownership over.
class METADATA_API Handle : public Counted<Handle> {
  public:
    /// Makes a handle without members and without data.
    Handle();
    /// Owns a new chunk of default values, at the first member. It has no data when the structure
    /// has no members or memory runs out.
    explicit Handle(const Structure& structure);
    /// Borrows `data`, a chunk of the structure as it is now, at the first member.
    Handle(const Structure& structure, void* data);
    Handle(const Handle& other);
    Handle(Handle&& other) noexcept;
    Handle& operator=(const Handle& other);
    Handle& operator=(Handle&& other) noexcept;
    /// Frees the chunk, with its strings, if the handle owns it.
    ~Handle();

    /// Frees the chunk if the handle owns one, then shows `data`: a chunk of the structure, from
    /// `malloc` when `owns`, or null for no data. The current member stays.
    void pointToData(char* data, bool owns);
    /// Replaces a borrowed chunk by a deep copy that the handle owns; false if it owns its chunk
    /// already. Throws `std::bad_alloc`, still borrowing, when memory runs out.
    bool makeUnique();
    void swap(Handle& other) noexcept;
    /// Returns false when there is no element to show: `stream.element(5)` of a stream without
    /// number 5.
    [[nodiscard]] bool hasData() const { return fData != nullptr; }
    /// Returns true for the very structure object, not for an equal one.
    [[nodiscard]] bool usesStructure(const Structure& structure) const;

    /// Gives the value of the member with this name, as exactly its type: `ConstHandle::get` lists
    /// the types. `get` throws `std::invalid_argument` where there is no such value, and `tryGet`
    /// gives nothing.
    template <typename T>
    [[nodiscard]] T get(TextArgument member) const {
        return ConstHandle(*this).get<T>(member);
    }
    template <typename T>
    [[nodiscard]] std::optional<T> tryGet(TextArgument member) const {
        return ConstHandle(*this).tryGet<T>(member);
    }
    /// Sets the values of the member with this name, of exactly its type: `1.0F` for a float, `1`
    /// for an int32, any text for a string, a `std::array` of N for N values. A text is copied, and
    /// may be a view of the string that it replaces, which is freed.
    ///
    /// Throws `std::invalid_argument`, naming the member, its type and the request, when the
    /// structure has no such member, its type or length is another, the handle has no data, or a
    /// text is a null pointer or has a NUL in it; `std::bad_alloc` when memory runs out. The
    /// element then has its old values.
    template <typename T>
    void set(TextArgument member, const T& value) {
        detail::requireValueType<T>();
        char* const values = detail::valuesToSet(*this, member, detail::Value<T>::request);
        detail::store(values, value, detail::ValueCall::kSet, member);
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
    void* asType(Member::eDataType type);
    [[nodiscard]] const void* asType(Member::eDataType type) const;
    bool* asBoolean() { return valuesOf<bool>(Member::kBoolean); }
    double* asDouble() { return valuesOf<double>(Member::kDouble); }
    double* asDoubleMatrix4x4() { return valuesOf<double>(Member::kDoubleMatrix4x4); }
    float* asFloat() { return valuesOf<float>(Member::kFloat); }
    float* asFloatMatrix4x4() { return valuesOf<float>(Member::kFloatMatrix4x4); }
    signed char* asInt8() { return valuesOf<signed char>(Member::kInt8); }
    short* asInt16() { return valuesOf<short>(Member::kInt16); }
    int* asInt32() { return valuesOf<int>(Member::kInt32); }
    long long* asInt64() { return valuesOf<long long>(Member::kInt64); }
    /// The slots own their strings: free the old one before storing a `malloc`ed new one. `set`
    /// does both.
    char** asString() { return valuesOf<char*>(Member::kString); }
    unsigned char* asUInt8() { return valuesOf<unsigned char>(Member::kUInt8); }
    unsigned short* asUInt16() { return valuesOf<unsigned short>(Member::kUInt16); }
    unsigned int* asUInt32() { return valuesOf<unsigned int>(Member::kUInt32); }
    unsigned long long* asUInt64() { return valuesOf<unsigned long long>(Member::kUInt64); }
    /// These give the same to read only. The pointers of a string member may be null.
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

    /// Tells whether all values, or those of one member, are as in a new element: false, 0 or a
    /// null string. Both are false without data; the second is true for a name that no member has.
    [[nodiscard]] bool isDefault() const;
    [[nodiscard]] bool isDefaultMember(const char* name) const;

    /// Parses `text` into value `index` of the current member. Returns the number of errors and
    /// appends a line for each to `errors`. The rest of the text, behind the value, is ignored; a
    /// string member takes the whole text, and does not free the string that it had. Throws
    /// `std::out_of_range` ("Const Member") at the end.
    unsigned int fromStr(const std::string& text, unsigned int index, std::string& errors);
    /// Value `index` of the current member as text, in the classic locale, floats and doubles with
    /// six digits; empty when the member has no such value. Throws `std::out_of_range` ("Const
    /// Member") at the end.
    [[nodiscard]] std::string str(unsigned int index) const;

    /// Filters for `Debug::Print`: "hex" adds the bytes of each value, "type" the member's type.
    static const char* const kDebugHex;
    static const char* const kDebugType;
    using Counted<Handle>::Debug;
    /// The first adds this handle, the second prints the current member's values in a line. Both
    /// return true.
    static bool Debug(const Handle* handle, Debug::Footprint& footprint);
    static bool Debug(const Handle* handle, Debug::Print& print);

  private:
    friend class HandleAccess;
    friend class MemberPlace;
    friend class StreamIteratorImpl;

    Handle(const Structure& structure, const Layout& layout, char* data);

    [[nodiscard]] const Member* current() const;
    [[nodiscard]] const Member& checkedCurrent() const;
    template <typename T>
    [[nodiscard]] T* valuesOf(Member::eDataType type) const {
        return fData && fType == type ? reinterpret_cast<T*>(fData + fOffset) : nullptr;
    }
    void followStructure();
    void useLayout(const Layout& layout);
    void moveTo(unsigned int member);
    void noteMember() noexcept;
    void freeOwnedChunk() noexcept;

    const Structure* fStructure = nullptr;  // one reference
    RefPtr<const Layout> fLayout;           // the one that fData was made with
    char* fData = nullptr;
    // Those of the current member, so that access does not look it up. No type at the end.
    unsigned long long fOffset = 0;
    Member::eDataType fType = Member::kInvalid;
    unsigned int fIndex;
    bool fOwnsData = false;
};

}  // namespace orbo::Data
