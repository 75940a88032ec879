// Reads the numbers in the text of an index.
// SPDX-License-Identifier: Apache-2.0

#include "streams/IndexNumbers.h"

#include <data/Index.h>

#include <algorithm>
#include <cstdint>
#include <limits>

#include "core/Ascii.h"

namespace orbo::Data {

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }
bool isAllowed(char c) { return Ascii::isDigit(c) || isBlank(c); }

}  // namespace

IndexNumbers::IndexNumbers(std::string_view text) : fRest(text) {
    if (!std::all_of(text.begin(), text.end(), isAllowed)) throw Index::eMalformedIndex;
}

unsigned int IndexNumbers::next() {
    skipBlanks();
    if (fRest.empty()) throw Index::eMalformedIndex;
    std::uint64_t number = 0;
    for (; !fRest.empty() && Ascii::isDigit(fRest.front()); fRest.remove_prefix(1)) {
        number = 10 * number + static_cast<std::uint64_t>(fRest.front() - '0');
        if (number > std::numeric_limits<unsigned int>::max()) throw Index::eMalformedIndex;
    }
    return static_cast<unsigned int>(number);
}

void IndexNumbers::finish() {
    skipBlanks();
    if (!fRest.empty()) throw Index::eTrailingData;
}

void IndexNumbers::skipBlanks() {
    while (!fRest.empty() && isBlank(fRest.front())) fRest.remove_prefix(1);
}

}  // namespace orbo::Data
