// Reads and writes the values of one member on an element's data line.
// SPDX-License-Identifier: Apache-2.0
#include "formats/MemberText.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "core/Ascii.h"
#include "core/Excerpt.h"
#include "core/GetArea.h"
#include "core/ValueText.h"
#include "formats/BufferedWriter.h"
#include "formats/RawMessages.h"

namespace orbo::Data {

namespace {

constexpr int kEnd = std::char_traits<char>::eof();

unsigned int bytesPerNumber(const DataType& type) {
    return static_cast<unsigned int>(type.size / type.numbers);
}

}  // namespace

unsigned int MemberTextReader::read(Member::eDataType valueType, unsigned int count, char* values,
                                    unsigned int record) {
    fRecord = record;
    fMessages.clear();
    fStuck = false;
    fHasBad = false;
    const DataType& type = dataType(valueType);
    if (!storesData(valueType)) {
        // This is reported, but not counted as an error.
        report([&] { return "Invalid type " + std::to_string(valueType) + " in structure."; });
        return 0;
    }
    if (!values) {
        report([&] {
            return "Member at record " + std::to_string(fRecord) + " not recognized as a " +
                   type.inside;
        });
        return 1;
    }
    if (valueType == Member::kBoolean) return readBooleans(reinterpret_cast<bool*>(values), count);
    if (valueType == Member::kString) return readStrings(reinterpret_cast<char**>(values), count);
    return type.numbers > 1 ? readMatrices(valueType, values, count)
                            : readNumbers(valueType, values, count);
}

unsigned int MemberTextReader::readBooleans(bool* values, unsigned int length) {
    unsigned int errors = 0;
    for (unsigned int k = 0; k < length && fIn.good(); ++k) {
        ValueText::extractWord(fIn, fWord);
        if (ValueText::readBoolean(fWord, values[k])) continue;
        noteBad(fWord);
        report([&] {
            return "Boolean on or about character " + position() + " has invalid value " +
                   inQuotes(fWord) + ". Use 't', 'true', '1', 'f', 'false', '0' only.";
        });
        ++errors;
    }
    return errors;
}

unsigned int MemberTextReader::readNumbers(Member::eDataType number, char* values,
                                           unsigned int length) {
    const DataType& type = dataType(number);
    unsigned int errors = 0;
    for (unsigned int k = 0; k < length && fIn.good(); ++k, values += type.size) {
        if (readNumber(number, values)) continue;
        report([&] {
            return std::string(type.word) + " value in record " + std::to_string(fRecord) +
                   " on or about character " + position() + " is invalid";
        });
        ++errors;
        if (fAfterBadNumber == AfterBadNumber::kSkipWord) {
            std::memset(values, 0, static_cast<std::size_t>(type.size));
            skipWord();
        }
    }
    return errors;
}

// The characters that a failed attempt took are still in the buffer, unless the buffer was
// refilled.
bool MemberTextReader::readNumber(Member::eDataType number, char* value) {
    const std::string_view before = GetArea::of(*fIn.rdbuf());
    if (ValueText::readNumber(fIn, number, value)) return true;
    if (fHasBad) return false;
    const std::string_view after = GetArea::of(*fIn.rdbuf());
    const bool isInSight = before.data() + before.size() == after.data() + after.size();
    const std::string_view text = isInSight ? before : after;
    noteBad(text.substr(std::min(text.find_first_not_of(Ascii::kBlanks), text.size())));
    return false;
}

void MemberTextReader::noteBad(std::string_view text) {
    if (std::exchange(fHasBad, true)) return;
    // No more than shows that it is longer: all text may be one word, and this the start of many.
    text = text.substr(0, kMostOfValue + 1);
    fFirstBad = excerptOf(text.substr(0, text.find_first_of(Ascii::kBlanks)), kMostOfValue);
}

void MemberTextReader::skipWord() {
    fIn.clear();
    for (int next = fIn.rdbuf()->sgetc(); !Ascii::isBlank(static_cast<char>(next));
         next = fIn.rdbuf()->snextc()) {
        if (next == kEnd) {
            fIn.setstate(std::ios_base::eofbit);
            return;
        }
    }
}

unsigned int MemberTextReader::readMatrices(Member::eDataType matrix, char* values,
                                            unsigned int length) {
    const DataType& type = dataType(matrix);
    const unsigned long long count = 16ULL * length;
    unsigned int errors = 0;
    for (unsigned long long i = 0; i < count; ++i) {
        // Once begun, a matrix is read to its end, even if the text ends before.
        if (i % 16 == 0 && !fIn.good()) break;
        char* const value = values + i * bytesPerNumber(type);
        if (readNumber(matrix, value)) continue;
        const std::string where = wantsMessage() ? position() : std::string();
        if (fAfterBadNumber == AfterBadNumber::kSkipWord) {
            std::memset(value, 0, bytesPerNumber(type));
            skipWord();
            fStuck = fIn.eof();
        } else {
            fIn.clear();
            fStuck = restOfMatrixIsBad();
        }
        const unsigned long long bad = fStuck ? count - i : 1;
        for (unsigned long long k = 0; k < bad && wantsMessage(); ++k) {
            reportMatrixValue(type, i + k, where);
        }
        errors = saturatedSum(errors, bad);
        if (fStuck) break;
    }
    return errors;
}

void MemberTextReader::reportMatrixValue(const DataType& type, unsigned long long number,
                                         const std::string& position) {
    const unsigned long long inMatrix = number % 16;
    report([&] {
        return std::string(type.word) + " on or about character " + position +
               " has invalid value at row " + std::to_string(inMatrix / 4) + ", column " +
               std::to_string(inMatrix % 4);
    });
}

// Characters that cannot begin a number are not taken, so every further attempt would fail on them
// again.
bool MemberTextReader::restOfMatrixIsBad() {
    ValueText::skipBlanks(fIn);
    fIn.clear();
    const int next = fIn.rdbuf()->sgetc();
    return next == kEnd ||
           !(Ascii::isDigit(static_cast<char>(next)) || next == '+' || next == '-' || next == '.');
}

unsigned int MemberTextReader::readStrings(char** values, unsigned int length) {
    unsigned int errors = 0;
    for (unsigned int k = 0; k < length && fIn.good(); ++k) {
        if (!readString(values + k)) ++errors;
    }
    return errors;
}

bool MemberTextReader::readString(char** slot) {
    ValueText::skipBlanks(fIn);
    const int first = fIn.get();
    if (first != '"') {
        refuseString(first);
        if (fAfterBadNumber == AfterBadNumber::kSkipWord) skipWord();
        return false;
    }
    const bool terminated = readQuoted();
    const bool holdsZero = fText.view().find('\0') != std::string_view::npos;
    *slot = fText.toHeap();
    if (terminated && !holdsZero) return true;
    noteBad(*slot);
    if (!terminated) {
        report([&] { return "String element not terminated on or about character " + position(); });
    } else {
        // A string value ends at its first NUL; the text behind it must not be lost silently.
        report([&] {
            return "String element on or about character " + position() + " has a NUL character";
        });
    }
    return false;
}

// Without the quote that begins one.
void MemberTextReader::refuseString(int first) {
    if (fHasBad && !wantsMessage()) return;
    const std::string found = first == kEnd ? "" : std::string(1, static_cast<char>(first));
    noteBad(found + std::string(GetArea::of(*fIn.rdbuf()).substr(0, kMostOfValue)));
    report([&] {
        return "String element on or about character " + position() +
               " must be enclosed in double quotes instead of '" + found + "'";
    });
}

// Reads the text behind the opening quote into fText, and takes the closing quote.
bool MemberTextReader::readQuoted() {
    fText.clear();
    std::streambuf& buffer = *fIn.rdbuf();
    for (;;) {
        const std::string_view ready = GetArea::of(buffer);
        const std::size_t plain = std::min(ready.find_first_of("\"\\"), ready.size());
        fText.append(ready.substr(0, plain));
        GetArea::take(buffer, plain);
        int next = buffer.sbumpc();
        if (next == '"') return true;
        const bool escaped = next == '\\';
        if (escaped) next = buffer.sbumpc();
        if (next == kEnd) {
            fIn.setstate(std::ios_base::eofbit | std::ios_base::failbit);
            return false;
        }
        fText.append(escaped && next == 'n' ? '\n' : static_cast<char>(next));
    }
}

bool MemberTextReader::wantsMessage() const {
    return fMessagesWanted == Messages::kKeep && fMessages.size() < kMostMessageBytes;
}

std::string MemberTextReader::position() {
    return std::to_string(static_cast<long long>(fIn.tellg()));
}

void writeMemberText(std::ostream& out, const Member& member, const char* values) {
    const DataType& type = dataType(member.type());
    const auto numbers = static_cast<unsigned long long>(type.numbers) * member.length();
    for (unsigned long long i = 0; i < numbers; ++i) {
        if (i != 0) ValueText::write(out, " ");
        if (member.type() == Member::kString) {
            const char* text = reinterpret_cast<const char* const*>(values)[i];
            BufferedWriter quoted(out);
            quoted.writeQuoted(text ? text : "");
            quoted.flush();
        } else {
            ValueText::write(out, member.type(), values + i * bytesPerNumber(type));
        }
    }
}

}  // namespace orbo::Data
