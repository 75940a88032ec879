// Converts single values to and from text, in the same way for handles, stream texts and scenes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Member.h>

#include <cstddef>
#include <istream>
#include <ostream>
#include <string>
#include <string_view>

#include "core/EightDigits.h"

/// Numbers are read and written exactly as the standard streams do with default flags and the
/// classic locale, whatever the locale of the process or the stream. A fast path handles ordinary
/// decimal numbers without the streams; all others go through the streams, so the two cannot
/// disagree.
namespace orbo::Data::ValueText {

/// Does what `in >> value` does: same result, same characters taken, same stream state. `T` is int,
/// unsigned int, long long, unsigned long long, float or double.
template <typename T>
bool extract(std::istream& in, T& value);

/// Do what `in >> word` and `in >> std::ws` do, with the six white-space characters of ASCII.
bool extractWord(std::istream& in, std::string& word);
void skipBlanks(std::istream& in);
/// Does what `std::getline` does, but lets `std::bad_alloc` through, which says nothing about the
/// text.
bool readLine(std::istream& in, std::string& line);
/// Does the same, but a line that the buffer holds as a whole stays there: `line` is valid until
/// the next read. Other lines are put into `room`.
bool readLine(std::istream& in, std::string& room, std::string_view& line);

/// Reads one number of a value of `type` (a matrix has 16) into `slot`. Returns false when the text
/// is not such a number, or is infinite; the slot may have been written nevertheless.
bool readNumber(std::istream& in, Member::eDataType type, void* slot);
/// The fast path alone: returns the end of the ordinary number that `text` begins with, or null.
/// The slot may be written in any case.
const char* readPlainNumber(std::string_view text, Member::eDataType type, void* slot);
/// Converts one of the ten spellings of a boolean; returns false for other words.
bool readBoolean(std::string_view word, bool& value);

/// Writes a bool or one number of a value of `type`. Integers are plain decimal; float and double
/// follow the stream's precision and float flags.
void write(std::ostream& out, Member::eDataType type, const void* slot);
void write(std::ostream& out, std::string_view text);

/// The room that `put` needs for any number.
inline constexpr std::size_t kNumberRoom = 128;

/// The format of float and double that a stream asks for.
struct NumberFormat {
    explicit NumberFormat(std::ios_base& stream);

    bool isUsual;  // `put` can do it: no forced sign, no fixed point and the like
    bool isExact;
    int precision;
};

/// Writes a number as `write` does to a stream with that format; returns the end.
char* put(char* to, const NumberFormat& format, float value);
char* put(char* to, const NumberFormat& format, double value);
template <typename T>
char* put(char* to, const NumberFormat&, T value) {
    return writeInteger(to, value);
}

/// Makes the stream write float and double with the shortest digits that read back as the same
/// value.
void setExactNumbers(std::ios_base& stream, bool exact);

}  // namespace orbo::Data::ValueText
