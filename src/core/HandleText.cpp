// Converts the values of a handle's current member to and from text.
// SPDX-License-Identifier: Apache-2.0
#include <data/Handle.h>
#include <debug/Print.h>

#include <cstring>
#include <istream>
#include <locale>
#include <new>
#include <sstream>
#include <type_traits>

#include "core/DataTypes.h"
#include "core/Excerpt.h"
#include "core/MemberAtChunk.h"
#include "core/ValueText.h"

namespace orbo::Data {

namespace {

// The position for messages: one more than the characters taken, 0 where the text ended first.
std::string positionIn(std::istream& in) {
    return std::to_string(static_cast<long long>(in.tellg()) + 1);
}

char* numberSlot(void* values, const DataType& type, unsigned int index, int number = 0) {
    const auto size = static_cast<std::size_t>(type.size);
    const std::size_t oneNumber = size / static_cast<std::size_t>(type.numbers);
    return static_cast<char*>(values) + size * index + oneNumber * static_cast<std::size_t>(number);
}

unsigned int parseBoolean(std::istream& in, bool* slot, std::string& errors) {
    std::string word;
    ValueText::extractWord(in, word);
    if (ValueText::readBoolean(word, *slot)) return 0;
    errors += "Boolean on or about character " + positionIn(in) + " has invalid value " +
              inQuotes(word) + ". Use 't', 'true', '1', 'f', 'false', '0' only.\n";
    return 1;
}

unsigned int parseMatrix(std::istream& in, Member::eDataType matrix, void* values,
                         unsigned int index, std::string& errors) {
    const DataType& type = dataType(matrix);
    unsigned int errorCount = 0;
    for (int i = 0; i < type.numbers; ++i) {
        if (ValueText::readNumber(in, matrix, numberSlot(values, type, index, i))) continue;
        errors += std::string(type.word) + " on or about character " + positionIn(in) +
                  " has invalid value at row " + std::to_string(i / 4) + ", column " +
                  std::to_string(i % 4) + "\n";
        in.clear();
        ++errorCount;
    }
    return errorCount;
}

unsigned int parseNumber(std::istream& in, Member::eDataType number, void* slot,
                         std::string& errors) {
    if (ValueText::readNumber(in, number, slot)) return 0;
    errors += std::string(dataType(number).word) + " value on or about character " +
              positionIn(in) + " is invalid\n";
    return 1;
}

// The caller still owns the slot's old pointer.
unsigned int storeString(const std::string& text, char** slot) {
    char* copy = ::strdup(text.c_str());
    if (!copy) throw std::bad_alloc();
    *slot = copy;
    return 0;
}

const char* textWithoutData(Member::eDataType type) {
    return visitMemberType(type, [](auto memberType) -> const char* {
        using T = typename decltype(memberType)::Scalar;
        if (memberType.kScalars > 1) {
            return "0.0 0.0 0.0 0.0 0.0 0.0 0.0 0.0 0.0 0.0 0.0 0.0 0.0 0.0 0.0 0.0";
        }
        if (std::is_floating_point_v<T>) return "0.0";
        if (std::is_pointer_v<T>) return "";
        return std::is_same_v<T, bool> ? "false" : "0";
    });
}

}  // namespace

unsigned int Handle::fromStr(const std::string& text, unsigned int index, std::string& errors) {
    const Member& member = checkedCurrent();
    const DataType& type = orbo::Data::dataType(member.type());
    if (index >= member.length()) {
        errors += "Trying to parse element " + std::to_string(index) + " when the member " +
                  member.name() + " only has dimension " + std::to_string(member.length()) + "\n";
        return 1;
    }
    if (!storesData(member.type())) {
        // This is reported, but not counted as an error.
        errors += "Invalid type " + std::to_string(member.type()) + " in structure.\n";
        return 0;
    }
    void* values = asType(member.type());
    if (!values) {
        errors += std::string("Data not recognized as a ") + type.inside + "\n";
        return 1;
    }
    void* slot = numberSlot(values, type, index);
    if (member.type() == Member::kString) return storeString(text, static_cast<char**>(slot));
    if (type.numbers == 1 && ValueText::readPlainNumber(text, member.type(), slot)) return 0;

    std::istringstream in(text);
    if (member.type() == Member::kBoolean) {
        return parseBoolean(in, static_cast<bool*>(slot), errors);
    }
    if (type.numbers > 1) return parseMatrix(in, member.type(), values, index, errors);
    return parseNumber(in, member.type(), slot, errors);
}

std::string valueText(const Member& member, const char* chunk, unsigned int index) {
    const DataType& type = dataType(member.type());
    if (index >= member.length()) return {};
    if (!storesData(member.type())) return "?";
    if (!chunk) return textWithoutData(member.type());
    const char* const values = chunk + member.offset();
    if (member.type() == Member::kString) {
        const auto* strings = reinterpret_cast<const char* const*>(values);
        // A null first string makes all values empty, by contract.
        return strings[0] && strings[index] ? strings[index] : "";
    }
    std::ostringstream out;
    for (int i = 0; i < type.numbers; ++i) {
        if (i != 0) out << ' ';
        ValueText::write(out, member.type(), numberSlot(const_cast<char*>(values), type, index, i));
    }
    return out.str();
}

std::string Handle::str(unsigned int index) const {
    return valueText(checkedCurrent(), fData, index);
}

bool Handle::Debug(const Handle* handle, Debug::Print& print) {
    if (!handle) return true;
    const Member* member = handle->current();
    int level = 0;
    std::string line;
    if (member && print.findFilter(kDebugType, level)) {
        line = Member::typeName(member->type()) + std::string(" ");
    }
    const unsigned int length = Member::length(member);
    if (length == 0) {
        print << (line + "[]").c_str();
        return true;
    }
    line += std::to_string(length) + " elements: [ ";
    for (unsigned int k = 0; k < length; ++k) line += handle->str(k) + " ";
    print << (line + "]").c_str();
    if (!print.findFilter(kDebugHex, level)) return true;

    print.skipNextIndent(true);
    print << "(";
    print.skipNextIndent(true);
    print << static_cast<const void*>(handle->fData) << ") ";
    const DataType& type = orbo::Data::dataType(member->type());
    for (unsigned int k = 0; k < length && handle->fData; ++k) {
        char* value = numberSlot(handle->fData + member->offset(), type, k);
        print.skipNextIndent(true);
        print << ' ';
        print.skipNextIndent(true);
        print.outputHexChars(static_cast<unsigned int>(type.size),
                             reinterpret_cast<unsigned char*>(value));
    }
    return true;
}

}  // namespace orbo::Data
