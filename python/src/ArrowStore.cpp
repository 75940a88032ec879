// The values of columns on their way into elements.
// SPDX-License-Identifier: Apache-2.0
#include "ArrowStore.h"

#include <nanobind/nanobind.h>

#include <data/MemberType.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>

#include "values/SafeText.h"

namespace orbo::Python {

namespace nb = nanobind;

namespace {

using Data::Member;
using Quilmeta::inQuotes;

/// Stores values of one column; says which row has one that does not fit.
class ColumnStore {
  public:
    ColumnStore(const ArrowColumnType& type, const Member& member, std::uint64_t offset,
                const ArrowPlace& place)
        : fType(type), fMember(member), fOffset(offset), fPlace(place) {}

    void store(const ArrowColumn& column, const std::vector<char*>& chunks) {
        Data::visitMemberType(fMember.type(), [&](auto type) {
            using T = typename decltype(type)::Scalar;
            const auto wanted = std::int64_t{fMember.length()} * type.kScalars;
            const bool isNothing =
                fType.leaf() == ArrowLeaf::kNull && fType.lists().empty() && wanted > 1;
            for (fRow = 0; fRow < static_cast<std::int64_t>(chunks.size()); ++fRow) {
                const auto span = column.span(fPlace.firstRow + fRow);
                if (span.isNull || isNothing) refuseNull();
                demandShape(column, fPlace.firstRow + fRow, type.kScalars > 1);
                if (span.count != wanted)
                    refuse(std::to_string(wanted) + " values are wanted, not " +
                           std::to_string(span.count));
                storeRow<T>(column, span, chunks[static_cast<std::size_t>(fRow)] + fOffset);
            }
            return true;
        });
    }

  private:
    [[noreturn]] void refuse(const std::string& what, PyObject* error = PyExc_ValueError) const {
        const std::string message = "column " + inQuotes(fType.name()) + ", row " +
                                    std::to_string(fPlace.rowsBefore + fRow) + ": " + what;
        PyErr_SetString(error, message.c_str());
        nb::raise_python_error();
    }
    [[noreturn]] void refuseNull() const {
        refuse(std::string("there is no null in ") + Member::typeName(fMember.type()));
    }
    /// Lists in lists are the rows of matrices; 16 values in one list will do, too.
    void demandShape(const ArrowColumn& column, std::int64_t row, bool isMatrix) const {
        if (fType.lists().size() < 2) return;
        std::vector<std::int64_t> sizes;
        static_cast<void>(column.span(row, &sizes));
        std::vector<std::int64_t> wanted(2, 4);
        if (fMember.length() > 1) wanted.insert(wanted.begin(), fMember.length());
        if (isMatrix && sizes == wanted) return;
        refuse(isMatrix ? "matrices of four rows of four are wanted"
                        : "lists in lists are no " + std::string(Member::typeName(fMember.type())));
    }
    template <typename Number>
    [[noreturn]] void refuseRange(Number number) const {
        refuse(std::string(nb::repr(nb::cast(number)).c_str()) + " is out of range for " +
                   Member::typeName(fMember.type()),
               PyExc_OverflowError);
    }

    template <typename T>
    void storeRow(const ArrowColumn& column, const ArrowColumn::Span& span, char* to) {
        if constexpr (!std::is_same_v<T, char*> && !std::is_same_v<T, bool>) {
            if (isStoredAs<T>()) {
                if (const char* from = column.plainNumbers(span.begin, sizeof(T))) {
                    std::memcpy(to, from, static_cast<std::size_t>(span.count) * sizeof(T));
                    return;
                }
            }
        }
        for (std::int64_t k = 0; k < span.count; ++k, to += sizeof(T)) {
            const T scalar = column.visit(span.begin + k, [&](auto v) { return scalarOf<T>(v); });
            std::memcpy(to, &scalar, sizeof scalar);
        }
    }

    /// Whether the column has the very type of the member's values.
    template <typename T>
    [[nodiscard]] bool isStoredAs() const {
        unsigned int length = 0;
        return fType.leaf() != ArrowLeaf::kHalf &&
               fType.memberType({}, length) == Data::dataTypeOf<T>();
    }

    template <typename T, typename Value>
    T scalarOf(Value value) const {
        if constexpr (std::is_same_v<T, char*>) {
            if constexpr (std::is_same_v<Value, std::string_view>) return textOf(value);
            return nullptr;  // nothing else comes here but null
        } else if constexpr (std::is_same_v<Value, std::nullptr_t> ||
                             std::is_same_v<Value, std::string_view>) {
            if constexpr (std::is_floating_point_v<T>)
                if (fPlace.hasNullsForNan) return std::numeric_limits<T>::quiet_NaN();
            refuseNull();
        } else if constexpr (std::is_same_v<T, bool> || std::is_same_v<Value, bool>) {
            return static_cast<T>(value);
        } else if constexpr (std::is_floating_point_v<T>) {
            const T stored = static_cast<T>(value);
            if constexpr (std::is_floating_point_v<Value>)
                if (std::isinf(stored) && !std::isinf(value)) refuseRange(value);
            return stored;
        } else if constexpr (std::is_floating_point_v<Value>) {
            refuse("a fraction has no place in an integer");
        } else {
            return integerOf<T>(value);
        }
    }
    template <typename T, typename Value>
    T integerOf(Value value) const {
        using Limits = std::numeric_limits<T>;
        bool fits = false;
        if constexpr (std::is_signed_v<Value>)
            fits = value < 0 ? std::is_signed_v<T> && value >= static_cast<long long>(Limits::min())
                             : static_cast<unsigned long long>(value) <= Limits::max();
        else
            fits = value <= static_cast<unsigned long long>(Limits::max());
        if (!fits) refuseRange(value);
        return static_cast<T>(value);
    }
    [[nodiscard]] char* textOf(std::string_view text) const {
        if (text.find('\0') != std::string_view::npos) refuse("a text has a NUL in it");
        char* const copy = ::strndup(text.data() ? text.data() : "", text.size());
        if (!copy) throw std::bad_alloc();
        return copy;
    }

    const ArrowColumnType& fType;
    const Member& fMember;
    std::uint64_t fOffset;
    const ArrowPlace& fPlace;
    std::int64_t fRow = 0;
};

}  // namespace

void storeColumn(const ArrowColumnType& type, const ArrowArray& array, const Member& member,
                 std::uint64_t offset, const ArrowPlace& place, const std::vector<char*>& chunks) {
    ColumnStore(type, member, offset, place).store(ArrowColumn(type, array), chunks);
}

}  // namespace orbo::Python
