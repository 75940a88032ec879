// The values of one column of a table of Arrow, whatever they are stored as.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Member.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ArrowAbi.h"

namespace orbo::Python {

/// What the innermost values of a column are stored as.
enum class ArrowLeaf {
    kNull,
    kTruth,
    kInt8,
    kInt16,
    kInt32,
    kInt64,
    kUInt8,
    kUInt16,
    kUInt32,
    kUInt64,
    kHalf,
    kFloat,
    kDouble,
    kText,
    kLongText,
    kTextView,
    kOther,
};

/// The type of a column, read from its schema. It keeps no reference on that.
class ArrowColumnType {
  public:
    explicit ArrowColumnType(const ArrowSchema& schema);

    [[nodiscard]] const std::string& name() const { return fName; }
    /// "0" or "1" for what is known to be an index; empty otherwise.
    [[nodiscard]] const std::string& indexMark() const { return fIndexMark; }
    [[nodiscard]] ArrowLeaf leaf() const { return fLeaf; }
    /// What messages call the type.
    [[nodiscard]] const std::string& shown() const { return fShown; }
    [[nodiscard]] bool isDictionary() const { return fIsDictionary; }
    /// The type of the numbers that refer to a dictionary.
    [[nodiscard]] ArrowLeaf keyLeaf() const { return fKeyLeaf; }

    /// A list around the values: of a size that the type fixes, or of whatever each list has.
    struct List {
        std::int64_t size = 0;  // 0 where the type fixes none
        bool isLong = false;    // its ends are numbers of 64 bits
    };
    /// From outside.
    [[nodiscard]] const std::vector<List>& lists() const { return fLists; }

    /// The type that a member for this column has; `kInvalid` when there is none. `sizes` are those
    /// of the lists, `length` becomes the member's.
    [[nodiscard]] Data::Member::eDataType memberType(const std::vector<std::int64_t>& sizes,
                                                     unsigned int& length) const;
    /// Whether values of this type may be what a member of that type takes. Nulls alone may be,
    /// whatever each of them stands for.
    [[nodiscard]] bool fits(Data::Member::eDataType type) const;

  private:
    void readFormat(const ArrowSchema& schema);

    std::string fName;
    std::string fIndexMark;
    std::string fShown;
    std::vector<List> fLists;
    ArrowLeaf fLeaf = ArrowLeaf::kOther;
    ArrowLeaf fKeyLeaf = ArrowLeaf::kOther;
    bool fIsDictionary = false;
};

/// The metadata of a schema under a key.
std::optional<std::string> metadataOf(const ArrowSchema& schema, std::string_view key);

/// The values of a column in one batch of a table, which must outlive it.
class ArrowColumn {
  public:
    ArrowColumn(const ArrowColumnType& type, const ArrowArray& array);

    /// The innermost values of a row, by their place; `isNull` when there is a null around them.
    struct Span {
        std::int64_t begin = 0;
        std::int64_t count = 0;
        bool isNull = false;
    };
    /// `sizes`, where given, get those of the lists; a list whose members are of different sizes
    /// gets -1.
    [[nodiscard]] Span span(std::int64_t row, std::vector<std::int64_t>* sizes = nullptr) const;

    /// Calls `use` with the value at a place: nullptr for null, or a bool, a long long, an unsigned
    /// long long, a double or a string_view. Returns what it returns.
    template <typename Use>
    auto visit(std::int64_t place, const Use& use) const {
        const ArrowArray* array = fLeafArray;
        std::int64_t at = place + array->offset;
        if (!isValid(*array, at)) return use(nullptr);
        ArrowLeaf leaf = fType.leaf();
        if (fType.isDictionary()) {
            const std::int64_t key = keyAt(at);
            array = array->dictionary;
            if (key < 0 || key >= array->length) return use(nullptr);
            at = key + array->offset;
            if (!isValid(*array, at)) return use(nullptr);
        }
        switch (leaf) {
            case ArrowLeaf::kTruth: {
                const auto* const bits = static_cast<const unsigned char*>(array->buffers[1]);
                return use((bits[at / 8] >> at % 8 & 1) != 0);
            }
            case ArrowLeaf::kInt8:
                return use(static_cast<long long>(number<std::int8_t>(*array, at)));
            case ArrowLeaf::kInt16:
                return use(static_cast<long long>(number<std::int16_t>(*array, at)));
            case ArrowLeaf::kInt32:
                return use(static_cast<long long>(number<std::int32_t>(*array, at)));
            case ArrowLeaf::kInt64:
                return use(static_cast<long long>(number<std::int64_t>(*array, at)));
            case ArrowLeaf::kUInt8:
                return use(static_cast<unsigned long long>(number<std::uint8_t>(*array, at)));
            case ArrowLeaf::kUInt16:
                return use(static_cast<unsigned long long>(number<std::uint16_t>(*array, at)));
            case ArrowLeaf::kUInt32:
                return use(static_cast<unsigned long long>(number<std::uint32_t>(*array, at)));
            case ArrowLeaf::kUInt64:
                return use(static_cast<unsigned long long>(number<std::uint64_t>(*array, at)));
            case ArrowLeaf::kHalf:
                return use(half(number<std::uint16_t>(*array, at)));
            case ArrowLeaf::kFloat:
                return use(static_cast<double>(number<float>(*array, at)));
            case ArrowLeaf::kDouble:
                return use(number<double>(*array, at));
            case ArrowLeaf::kText:
            case ArrowLeaf::kLongText:
            case ArrowLeaf::kTextView:
                return use(textAt(leaf, *array, at));
            case ArrowLeaf::kNull:
            case ArrowLeaf::kOther:
                break;
        }
        return use(nullptr);
    }
    /// The innermost values themselves, where they are stored as numbers of one type without nulls;
    /// null otherwise.
    [[nodiscard]] const char* plainNumbers(std::int64_t place, std::size_t size) const;

  private:
    static bool isValid(const ArrowArray& array, std::int64_t at);
    template <typename T>
    static T number(const ArrowArray& array, std::int64_t at) {
        return static_cast<const T*>(array.buffers[1])[at];
    }
    static double half(std::uint16_t bits);
    static std::string_view textAt(ArrowLeaf leaf, const ArrowArray& array, std::int64_t at);
    [[nodiscard]] std::int64_t keyAt(std::int64_t at) const;

    const ArrowColumnType& fType;
    std::vector<const ArrowArray*> fListArrays;  // one for each list of the type
    const ArrowArray* fLeafArray;
    bool fHasNulls;
};

}  // namespace orbo::Python
