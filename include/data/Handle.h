// Typed access to the members of one element.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Member.h>
#include <debug/Counted.h>
#include <debug/Export.h>
#include <debug/RefPtr.h>

#include <string>

namespace orbo::Data {

class Structure;

/// A cursor on one chunk: a structure (which the handle keeps alive), the chunk, a current member.
/// A copy shares the chunk and never owns it; a move hands ownership over. A handle that does not
/// own its chunk must not outlive it.
class METADATA_API Handle : public Counted<Handle> {
  public:
    /// No members, no data.
    Handle();
    /// Owns a new default chunk (no data when the structure's size is 0), at the first member.
    explicit Handle(const Structure& structure);
    /// Borrows `data`, a chunk of the structure as it is now, at the first member.
    Handle(const Structure& structure, void* data);
    Handle(const Handle& other);
    Handle(Handle&& other) noexcept;
    Handle& operator=(const Handle& other);
    Handle& operator=(Handle&& other) noexcept;
    ~Handle();

    /// Frees the chunk if it owns one, then points at `data` (from `malloc` when `owns`; null for
    /// no data). The member stays the current one.
    void pointToData(char* data, bool owns);
    /// Replaces a borrowed chunk by a copy of its own; false if the handle owns its chunk already.
    /// Throws `std::bad_alloc`, still borrowing, when memory runs out.
    bool makeUnique();
    void swap(Handle& other) noexcept;
    [[nodiscard]] bool hasData() const { return fData != nullptr; }
    /// True for the very structure object, not for an equal one.
    [[nodiscard]] bool usesStructure(const Structure& structure) const;

    /// Both move to the end and return false when there is no such member.
    bool setPositionByMemberIndex(unsigned int index);
    /// Null returns false and stays.
    bool setPositionByMemberName(const char* name);
    /// Of the current member; at the end both throw `std::out_of_range` ("Const Member").
    [[nodiscard]] Member::eDataType dataType() const;
    [[nodiscard]] unsigned int dataLength() const;

    /// The current member's first value, or null without data, at the end, or for another type.
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
    /// Slots own their strings: free the old one before storing a `malloc`ed new one.
    char** asString() { return valuesOf<char*>(Member::kString); }
    unsigned char* asUInt8() { return valuesOf<unsigned char>(Member::kUInt8); }
    unsigned short* asUInt16() { return valuesOf<unsigned short>(Member::kUInt16); }
    unsigned int* asUInt32() { return valuesOf<unsigned int>(Member::kUInt32); }
    unsigned long long* asUInt64() { return valuesOf<unsigned long long>(Member::kUInt64); }

    /// Both false without data; the second true for a name that no member has.
    [[nodiscard]] bool isDefault() const;
    [[nodiscard]] bool isDefaultMember(const char* name) const;

    /// Parses `text` into value `index` of the current member. Returns the number of errors and
    /// appends a line for each. At the end, behind the last member, this and `str` throw
    /// `std::out_of_range` ("Const Member"). What follows the value in the text is ignored. For a
    /// string member the whole text is taken, and the pointer that was in the slot is left to the
    /// caller, who frees it first.
    unsigned int fromStr(const std::string& text, unsigned int index, std::string& errors);
    /// Value `index` of the current member as text; empty when the member has no such value.
    [[nodiscard]] std::string str(unsigned int index) const;

    static const char* const kDebugHex;   ///< "hex"
    static const char* const kDebugType;  ///< "type"
    using Counted<Handle>::Debug;
    static bool Debug(const Handle* handle, Debug::Footprint& footprint);
    static bool Debug(const Handle* handle, Debug::Print& print);

  private:
    friend class HandleAccess;
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
    // Of the current member, so that access does not look it up. No type at the end.
    unsigned long long fOffset = 0;
    Member::eDataType fType = Member::kInvalid;
    unsigned int fIndex;
    bool fOwnsData = false;
};

}  // namespace orbo::Data
