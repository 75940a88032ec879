// The values of one member on an element's data line.
// SPDX-License-Identifier: Apache-2.0
#include "formats/MemberText.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <string_view>

#include "core/Ascii.h"
#include "core/GetArea.h"
#include "core/ValueText.h"
#include "formats/LumpedOutput.h"
#include "formats/RawMessages.h"

namespace orbo::Data {

namespace {

constexpr int kEnd = std::char_traits<char>::eof();

unsigned int bytesPerNumber(const DataType& type) {
    return static_cast<unsigned int>(type.size / type.numbers);
}

}  // namespace

unsigned int MemberTextReader::read(const Member& member, char* values, unsigned int record) {
    fRecord = record;
    fMessages.clear();
    fStuck = false;
    const DataType& type = dataType(member.type());
    if (!storesData(member.type())) {
        // Reported, but no error.
        report("Invalid type " + std::to_string(member.type()) + " in structure.");
        return 0;
    }
    if (!values) {
        report("Member at record " + std::to_string(fRecord) + " not recognized as a " +
               type.inside);
        return 1;
    }
    if (member.type() == Member::kBoolean) {
        return readBooleans(reinterpret_cast<bool*>(values), member.length());
    }
    if (member.type() == Member::kString) {
        return readStrings(reinterpret_cast<char**>(values), member.length());
    }
    return type.numbers > 1 ? readMatrices(member, values) : readNumbers(member, values);
}

unsigned int MemberTextReader::readBooleans(bool* values, unsigned int length) {
    unsigned int errors = 0;
    for (unsigned int k = 0; k < length && fIn.good(); ++k) {
        ValueText::extractWord(fIn, fText);
        if (ValueText::readBoolean(fText, values[k])) continue;
        report("Boolean on or about character " + position() + " has invalid value '" + fText +
               "'. Use 't', 'true', '1', 'f', 'false', '0' only.");
        ++errors;
    }
    return errors;
}

unsigned int MemberTextReader::readNumbers(const Member& member, char* values) {
    const DataType& type = dataType(member.type());
    unsigned int errors = 0;
    for (unsigned int k = 0; k < member.length() && fIn.good(); ++k) {
        if (ValueText::readNumber(fIn, member.type(), values)) {
            values += type.size;
            continue;
        }
        values += type.size;
        report(std::string(type.word) + " value in record " + std::to_string(fRecord) +
               " on or about character " + position() + " is invalid");
        ++errors;
    }
    return errors;
}

unsigned int MemberTextReader::readMatrices(const Member& member, char* values) {
    const DataType& type = dataType(member.type());
    const unsigned long long count = 16ULL * member.length();
    unsigned int errors = 0;
    for (unsigned long long i = 0; i < count; ++i) {
        // A matrix that was begun is read to its end, also where the text ends before.
        if (i % 16 == 0 && !fIn.good()) break;
        if (ValueText::readNumber(fIn, member.type(), values + i * bytesPerNumber(type))) continue;
        const std::string where = position();
        fIn.clear();
        fStuck = restOfMatrixIsBad();
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
    report(std::string(type.word) + " on or about character " + position +
           " has invalid value at row " + std::to_string(inMatrix / 4) + ", column " +
           std::to_string(inMatrix % 4));
}

// What cannot begin a number is not taken, so every further attempt would fail on it again.
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
        const std::string found = first == kEnd ? "" : std::string(1, static_cast<char>(first));
        report("String element on or about character " + position() +
               " must be enclosed in double quotes instead of '" + found + "'");
        return false;
    }
    const bool terminated = readQuoted();
    char* copy = ::strdup(fText.c_str());
    if (!copy) throw std::bad_alloc();
    *slot = copy;
    if (!terminated) {
        report("String element not terminated on or about character " + position());
        return false;
    }
    if (fText.find('\0') == std::string::npos) return true;
    // A string value ends there; what is behind must not vanish without a word.
    report("String element on or about character " + position() + " has a NUL character");
    return false;
}

// Takes the text behind the opening quote into fText, and the closing quote.
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
        fText += escaped && next == 'n' ? '\n' : static_cast<char>(next);
    }
}

bool MemberTextReader::wantsMessage() const {
    return fMessagesWanted == Messages::kKeep && fMessages.size() < kMostMessageBytes;
}

void MemberTextReader::report(const std::string& message) {
    if (wantsMessage()) fMessages += message + "\n";
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
            LumpedOutput quoted(out);
            quoted.writeQuoted(text ? text : "");
            quoted.handOn();
        } else {
            ValueText::write(out, member.type(), values + i * bytesPerNumber(type));
        }
    }
}

}  // namespace orbo::Data
