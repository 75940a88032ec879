// Turns the values of a member into what a program asks for, and back.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/MemberType.h>
#include <data/TextArgument.h>
#include <debug/Export.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace orbo::Data {

class ConstHandle;

namespace detail {

/// Describes what a program asked a member for.
struct ValueRequest {
    Member::eDataType type = Member::kInvalid;
    std::size_t count = 0;  // of a list; 0 asks for one value
};

/// Names the function that the program called, for messages.
enum class ValueCall { kGet, kSet, kMemberRef };

template <typename T>
constexpr bool isText = std::is_convertible_v<const T&, TextArgument>;

template <typename T>
constexpr Member::eDataType valueTypeOf() {
    return isText<T> ? Member::kString : dataTypeOf<T>();
}

/// Describes `T`. A list is `std::array`, or a type that looks like it.
template <typename T, typename = void>
struct Value {
    static constexpr bool isList = false;
    static constexpr ValueRequest request{valueTypeOf<T>(), 0};
};
template <typename T>
struct Value<
    T, std::enable_if_t<std::tuple_size<T>::value != 0, std::void_t<typename T::value_type>>> {
    static constexpr bool isList = true;
    static constexpr ValueRequest request{valueTypeOf<typename T::value_type>(),
                                          std::tuple_size<T>::value};
};

/// The first of the values that were asked for. Both throw `std::invalid_argument`, naming the
/// call, where the member has no such values.
METADATA_API const char* valuesToGet(const ConstHandle& handle, TextArgument member,
                                     ValueRequest request);
METADATA_API char* valuesToSet(const ConstHandle& handle, TextArgument member,
                               ValueRequest request);
/// Returns null where the member has no such values.
METADATA_API const char* findValues(const ConstHandle& handle, TextArgument member,
                                    ValueRequest request);
[[noreturn]] METADATA_API void refuseNullString(ValueCall call, TextArgument member);
/// Copies the texts into the slots and frees the strings that were there, which `texts` may be
/// views of. Throws, with nothing changed, `std::invalid_argument` for a text that is null or has a
/// NUL in it and `std::bad_alloc` without memory.
METADATA_API void setStrings(char* slots, const TextArgument* texts, std::size_t count,
                             ValueCall call, TextArgument member);

/// Slot `k` of a string member; null for a null string.
inline const char* stringAt(const char* slots, std::size_t k = 0) {
    const char* text = nullptr;
    std::memcpy(&text, slots + k * sizeof text, sizeof text);
    return text;
}

template <typename T>
bool hasNullString(const char* values) {
    if constexpr (Value<T>::request.type == Member::kString) {
        const std::size_t count = Value<T>::isList ? Value<T>::request.count : 1;
        for (std::size_t k = 0; k < count; ++k) {
            if (!stringAt(values, k)) return true;
        }
    }
    return false;
}

template <typename T>
constexpr void requireValueType() {
    static_assert(Value<T>::request.type != Member::kInvalid,
                  "no member has values of this type: see Member::eDataType");
}

/// The values as a `T`; none of them is a null string.
template <typename T>
T load(const char* values) {
    if constexpr (Value<T>::request.type != Member::kString) {
        static_assert(std::is_trivially_copyable_v<T>, "a list of numbers is copied as bytes");
        T value;
        std::memcpy(&value, values, sizeof value);
        return value;
    } else if constexpr (Value<T>::isList) {
        T texts;
        for (std::size_t k = 0; k < Value<T>::request.count; ++k) texts[k] = stringAt(values, k);
        return texts;
    } else {
        return T(stringAt(values));
    }
}

template <typename T, std::size_t... k>
void storeStrings(char* slots, const T& texts, ValueCall call, TextArgument member,
                  std::index_sequence<k...>) {
    const TextArgument arguments[] = {texts[k]...};
    setStrings(slots, arguments, sizeof...(k), call, member);
}

template <typename T>
void store(char* values, const T& value, ValueCall call, TextArgument member) {
    if constexpr (Value<T>::request.type != Member::kString) {
        std::memcpy(values, &value, sizeof value);
    } else if constexpr (Value<T>::isList) {
        storeStrings(values, value, call, member,
                     std::make_index_sequence<Value<T>::request.count>());
    } else {
        const TextArgument text(value);
        setStrings(values, &text, 1, call, member);
    }
}

}  // namespace detail
}  // namespace orbo::Data
