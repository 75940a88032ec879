// Single values as text, the same way for every user: handles, stream texts, scenes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Member.h>

#include <istream>
#include <ostream>
#include <string>
#include <string_view>

namespace orbo::Data::ValueText {

/// Extracts a number exactly as `in >> value` does with default flags and the classic locale,
/// whatever locale the stream or the process has; sets the stream's state likewise and returns
/// whether it is still good for a value. Instantiated for the widths that streams extract: int,
/// unsigned int, long long, unsigned long long, float and double.
template <typename T>
bool extract(std::istream& in, T& value);

/// One blank-delimited word, as `in >> word`; blanks are the six of ASCII.
bool extractWord(std::istream& in, std::string& word);
void skipBlanks(std::istream& in);

/// Reads one value of `type`, which is a bool or number type (a matrix type reads one of its
/// numbers), into `slot`. `kBad`: the text is no such value; `word` then holds the word that is no
/// boolean. A slot of a failed read may have been written.
enum class Result { kGood, kBad };
Result readValue(std::istream& in, Member::eDataType type, void* slot, std::string& word);

/// Writes one value of `type`, which is a bool or number type (a matrix type writes one of its
/// numbers). Integers are plain decimal; float and double follow the stream's precision and float
/// flags; never a locale.
void writeValue(std::ostream& out, Member::eDataType type, const void* slot);

/// Makes float and double come out with the shortest digits that read back as the same value.
void setExactNumbers(std::ios_base& stream, bool exact);
bool exactNumbers(std::ios_base& stream);

/// The words that messages use: "Double", "Float matrix", "Boolean", "Int8", "String" and, in lower
/// case where the text formats have it so, "double", "float matrix", "boolean", "Int8", "String".
const char* capitalWord(Member::eDataType type);
const char* lowerWord(Member::eDataType type);

/// Numbers in one value: 16 for matrices, else 1.
unsigned int numbersPerValue(Member::eDataType type);
/// Bytes of one such number (or pointer).
unsigned int numberSize(Member::eDataType type);

}  // namespace orbo::Data::ValueText
