// Single values as text, the same way for every user: handles, stream texts, scenes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Member.h>

#include <charconv>
#include <cstddef>
#include <istream>
#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>

/// Numbers are read and written exactly as the standard streams do with default flags and the
/// classic locale, whatever locale the process or the stream has. Ordinary decimal numbers take a
/// short way that avoids the streams; everything else is handed to them, so the two cannot
/// disagree.
namespace orbo::Data::ValueText {

/// What `in >> value` does: same result, same characters taken, same stream state. For int,
/// unsigned int, long long, unsigned long long, float and double.
template <typename T>
bool extract(std::istream& in, T& value);

/// What `in >> word` and `in >> std::ws` do, with the six blanks of ASCII.
bool extractWord(std::istream& in, std::string& word);
void skipBlanks(std::istream& in);
/// What `std::getline` does, except that `std::bad_alloc` gets through, which says nothing about
/// the text.
bool readLine(std::istream& in, std::string& line);

/// Reads one number of a value of `type` (a matrix has 16) into `slot`. False when the text is no
/// such number, an infinity included; the slot may then have been written all the same.
bool readNumber(std::istream& in, Member::eDataType type, void* slot);
/// The short way alone: behind the ordinary number of the type that `text` begins with, or null.
/// The slot may be written in any case.
const char* readPlainNumber(std::string_view text, Member::eDataType type, void* slot);
/// The value of one of the ten spellings of a boolean.
bool readBoolean(std::string_view word, bool& value);

/// Writes a bool or one number of a value of `type`. Integers are plain decimal; float and double
/// follow the stream's precision and float flags.
void write(std::ostream& out, Member::eDataType type, const void* slot);
void write(std::ostream& out, std::string_view text);

/// Room that the text of any number needs which `put` writes.
inline constexpr std::size_t kNumberRoom = 128;

/// How a stream wants float and double.
struct NumberFormat {
    explicit NumberFormat(std::ios_base& stream);

    bool isUsual;  // no sign for positive numbers, no fixed point and the like: `put` can do it
    bool isExact;
    int precision;
};

/// Writes a number as `write` does to a stream with that format; returns the end.
char* put(char* to, const NumberFormat& format, float value);
char* put(char* to, const NumberFormat& format, double value);
template <typename T>
char* put(char* to, const NumberFormat&, T value) {
    using Wide = std::conditional_t<sizeof(T) == 1, int, T>;
    return std::to_chars(to, to + kNumberRoom, Wide{value}).ptr;
}

/// Makes float and double come out with the shortest digits that read back as the same value.
void setExactNumbers(std::ios_base& stream, bool exact);

}  // namespace orbo::Data::ValueText
