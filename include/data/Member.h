// One typed, dimensioned field of a Structure, and the library's table of data types.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <debug/Counted.h>
#include <debug/Export.h>

namespace orbo::Debug {
class Footprint;
class Print;
}  // namespace orbo::Debug

namespace orbo::Data {

class Layout;
class Structure;

/// A member has a name, a type, and a length: the number of its values. The values follow each
/// other in a chunk, which is the memory of one element, from `offset()` on. A default value is all
/// zero bits: false, 0, a matrix of zeros, a null string.
///
///     for (const Member& member : structure) {
///         std::cout << member.name() << ": " << Member::typeName(member.type()) << '\n';
///     }
class METADATA_API Member : public Counted<Member> {
  public:
    /// The types that values have. All text formats use the names that `typeName` gives.
    enum eDataType : int {
        kBoolean = 0,
        kDouble = 1,
        kDoubleMatrix4x4 = 2,  ///< 16 doubles, row after row
        kFloat = 3,
        kFloatMatrix4x4 = 4,  ///< 16 floats, row after row
        kInt8 = 5,
        kInt16 = 6,
        kInt32 = 7,
        kInt64 = 8,
        kString = 9,  ///< pointer to an owned, NUL-terminated string, or null
        kUInt8 = 10,
        kUInt16 = 11,
        kUInt32 = 12,
        kUInt64 = 13,
        kInvalid = 14  ///< no such type; also the number of types
    };

    /// The offset of a member that is in no structure yet.
    static constexpr unsigned long long kNotPlaced = ~0ULL;

    /// No name, length 0: only structures make members that hold values.
    Member();
    /// Copies the name.
    Member(const Member& other);
    Member(Member&& other) noexcept;
    Member& operator=(const Member& other);
    ~Member();

    bool operator==(const Member& other) const { return !(*this != other); }
    /// Members with equal types, offsets, lengths and names are equal; a null name only equals
    /// null.
    bool operator!=(const Member& other) const;

    /// Constant for the life of a member in a structure, like all that follows.
    [[nodiscard]] eDataType type() const { return type(this); }
    /// Gives the number of values, at least 1 in a structure.
    [[nodiscard]] unsigned int length() const { return length(this); }
    /// Lives as long as the member; null in a member that no structure made.
    [[nodiscard]] const char* name() const { return name(this); }
    /// Gives the bytes from the start of the chunk to the first value.
    [[nodiscard]] unsigned long long offset() const { return offset(this); }
    /// Gives the bytes to value `k`. The distance to the first value wraps at 32 bits.
    [[nodiscard]] unsigned long long offset(unsigned int k) const { return offset(this, k); }

    /// The same for a member that may be null: `kInvalid`, 0, null, `kNotPlaced` and 0.
    static eDataType type(const Member* member);
    static unsigned int length(const Member* member);
    static const char* name(const Member* member);
    static unsigned long long offset(const Member* member);
    static unsigned long long offset(const Member* member, unsigned int k);

    /// Gives the name that text formats use: "float", "dbl4x4". "invalid" for what is not a type.
    /// Lives as long as the library.
    static const char* typeName(eDataType type);
    /// Exact and case-sensitive; `kInvalid` for null and for every other text.
    static eDataType typeFromName(const char* name);
    /// These give the bytes of one value (a matrix is one value), and the multiple of bytes that
    /// its address must be; 0 for what is not a type.
    static int typeSize(eDataType type);
    static int typeAlignment(eDataType type);

    using Counted<Member>::Debug;

  private:
    friend class ConstHandle;
    friend class Handle;
    friend class Layout;
    friend class Structure;

    Member(eDataType type, unsigned int length, const char* name, unsigned long long offset);

    bool fillWithDefault(char* chunk) const;
    bool isDefault(const char* chunk) const;
    bool constructDuplicate(char* destination, const char* source) const;
    bool destroy(char* chunk) const;

    static bool Debug(const Member* member, Debug::Footprint& footprint);
    static bool Debug(const Member* member, Debug::Print& print);

    eDataType fType = kInvalid;
    char* fName = nullptr;
    unsigned int fLength = 0;
    unsigned long long fOffset = 0;
};

}  // namespace orbo::Data
