// The plain values that programs use as indices: numbers of any type, and texts.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/TextArgument.h>

#include <string>
#include <type_traits>
#include <utility>

namespace orbo::Data::detail {

/// A `std::string` is no text key: it becomes an `Index` by its constructor, which reads a number.
template <typename Key>
constexpr bool isTextKey =
    std::is_convertible_v<const Key&, TextArgument> && !std::is_same_v<Key, std::string>;
template <typename Key>
constexpr bool isNumberKey = std::is_integral_v<Key>;

/// Takes a template out of the choice for what is an `Index`, or becomes one by its own means.
template <typename Key>
using IfIndexKey = std::enable_if_t<isTextKey<Key> || isNumberKey<Key>, int>;
template <typename First, typename Second>
using IfOneIsKey = std::enable_if_t<
    isTextKey<First> || isNumberKey<First> || isTextKey<Second> || isNumberKey<Second>, int>;
template <typename First, typename Second>
using IfNumbers = std::enable_if_t<isNumberKey<First> && isNumberKey<Second>, int>;

/// Lets in a `std::array` of two numbers, and a type that looks like it.
template <typename Pair>
using IfNumberPair =
    std::enable_if_t<std::tuple_size<Pair>::value == 2 && isNumberKey<typename Pair::value_type>,
                     int>;

/// Tells whether the number is one that an index can have: 0 to 4294967295.
template <typename Number>
constexpr bool isIndexNumber(Number number) {
    if constexpr (std::is_signed_v<Number>) {
        if (number < 0) return false;
    }
    return static_cast<unsigned long long>(number) <= 0xFFFFFFFFULL;
}

}  // namespace orbo::Data::detail
