// Reads the numbers in the text of an index.
// SPDX-License-Identifier: Apache-2.0

#include "streams/IndexNumbers.h"

#include <data/Index.h>

#include <algorithm>
#include <charconv>
#include <system_error>

namespace orbo::Data {

namespace {

constexpr std::string_view kBlanks = " \t\r";
constexpr std::string_view kAllowed = "0123456789 \t\r";

}  // namespace

IndexNumbers::IndexNumbers(std::string_view text) : fRest(text) {
    if (text.find_first_not_of(kAllowed) != std::string_view::npos) throw Index::eMalformedIndex;
}

unsigned int IndexNumbers::next() {
    skipBlanks();
    unsigned int number = 0;
    const char* const end = fRest.data() + fRest.size();
    const auto [stop, error] = std::from_chars(fRest.data(), end, number);
    if (error != std::errc()) throw Index::eMalformedIndex;
    fRest.remove_prefix(static_cast<std::size_t>(stop - fRest.data()));
    return number;
}

void IndexNumbers::finish() {
    skipBlanks();
    if (!fRest.empty()) throw Index::eTrailingData;
}

void IndexNumbers::skipBlanks() {
    fRest.remove_prefix(std::min(fRest.find_first_not_of(kBlanks), fRest.size()));
}

}  // namespace orbo::Data
