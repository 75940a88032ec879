// The values of one column of a table of Arrow, whatever they are stored as.
// SPDX-License-Identifier: Apache-2.0
#include "ArrowColumn.h"

#include <data/MemberType.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

#include "ArrowNames.h"

namespace orbo::Python {

namespace {

using Data::Member;

constexpr std::int64_t kMatrixSide = 4;

ArrowLeaf leafOf(std::string_view format) {
    if (format == "vu" || format == "vz") return ArrowLeaf::kTextView;
    if (format.size() != 1) return ArrowLeaf::kOther;
    switch (format.front()) {
        case 'n':
            return ArrowLeaf::kNull;
        case 'b':
            return ArrowLeaf::kTruth;
        case 'c':
            return ArrowLeaf::kInt8;
        case 's':
            return ArrowLeaf::kInt16;
        case 'i':
            return ArrowLeaf::kInt32;
        case 'l':
            return ArrowLeaf::kInt64;
        case 'C':
            return ArrowLeaf::kUInt8;
        case 'S':
            return ArrowLeaf::kUInt16;
        case 'I':
            return ArrowLeaf::kUInt32;
        case 'L':
            return ArrowLeaf::kUInt64;
        case 'e':
            return ArrowLeaf::kHalf;
        case 'f':
            return ArrowLeaf::kFloat;
        case 'g':
            return ArrowLeaf::kDouble;
        case 'u':
        case 'z':
            return ArrowLeaf::kText;
        case 'U':
        case 'Z':
            return ArrowLeaf::kLongText;
        default:
            return ArrowLeaf::kOther;
    }
}

bool isInteger(ArrowLeaf leaf) { return leaf >= ArrowLeaf::kInt8 && leaf <= ArrowLeaf::kUInt64; }
bool isReal(ArrowLeaf leaf) { return leaf >= ArrowLeaf::kHalf && leaf <= ArrowLeaf::kDouble; }
bool isTextual(ArrowLeaf leaf) { return leaf >= ArrowLeaf::kText && leaf <= ArrowLeaf::kTextView; }

/// What people call a type of the interface; its own letters where there is no member for it.
std::string shownType(const ArrowSchema& schema) {
    static constexpr const char* kNames[] = {
        "null",   "bool", "int8",  "int16",  "int32", "int64", "uint8", "uint16", "uint32",
        "uint64", "half", "float", "double", "text",  "text",  "text",  nullptr};
    const std::string_view format(schema.format);
    const auto number = static_cast<std::size_t>(leafOf(format));
    if (kNames[number]) return kNames[number];
    if (format == "+s") return "struct";
    if (format.substr(0, 2) == "+u") return "union";
    if (format == "+m") return "map";
    if (format == "+r") return "run-end encoded";
    if (format.substr(0, 2) == "d:") return "decimal";
    if (format.substr(0, 2) == "td") return "date";
    if (format.substr(0, 2) == "tt") return "time";
    if (format.substr(0, 2) == "ts") return "timestamp";
    if (format.substr(0, 2) == "tD") return "duration";
    return "\"" + std::string(format) + '"';
}

Member::eDataType plainTypeOf(ArrowLeaf leaf) {
    switch (leaf) {
        case ArrowLeaf::kTruth:
            return Member::kBoolean;
        case ArrowLeaf::kInt8:
            return Member::kInt8;
        case ArrowLeaf::kInt16:
            return Member::kInt16;
        case ArrowLeaf::kInt32:
            return Member::kInt32;
        case ArrowLeaf::kInt64:
            return Member::kInt64;
        case ArrowLeaf::kUInt8:
            return Member::kUInt8;
        case ArrowLeaf::kUInt16:
            return Member::kUInt16;
        case ArrowLeaf::kUInt32:
            return Member::kUInt32;
        case ArrowLeaf::kUInt64:
            return Member::kUInt64;
        case ArrowLeaf::kHalf:
        case ArrowLeaf::kFloat:
            return Member::kFloat;
        case ArrowLeaf::kDouble:
            return Member::kDouble;
        case ArrowLeaf::kNull:
        case ArrowLeaf::kText:
        case ArrowLeaf::kLongText:
        case ArrowLeaf::kTextView:
            return Member::kString;
        case ArrowLeaf::kOther:
            break;
    }
    return Member::kInvalid;
}

bool isMatrix(Member::eDataType type) {
    return type == Member::kFloatMatrix4x4 || type == Member::kDoubleMatrix4x4;
}

std::int64_t endAt(const ArrowArray& array, bool isLong, std::int64_t at) {
    if (isLong) return static_cast<const std::int64_t*>(array.buffers[1])[at];
    return static_cast<const std::int32_t*>(array.buffers[1])[at];
}

}  // namespace

std::optional<std::string> metadataOf(const ArrowSchema& schema, std::string_view key) {
    if (!schema.metadata) return std::nullopt;
    const char* next = schema.metadata;
    const auto number = [&] {
        std::int32_t value = 0;
        std::memcpy(&value, next, sizeof value);
        next += sizeof value;
        return value;
    };
    const auto text = [&] {
        const auto size = static_cast<std::size_t>(number());
        const std::string_view bytes(next, size);
        next += size;
        return bytes;
    };
    for (std::int32_t left = number(); left > 0; --left) {
        const std::string_view found = text();
        const std::string_view value = text();
        if (found == key) return std::string(value);
    }
    return std::nullopt;
}

ArrowColumnType::ArrowColumnType(const ArrowSchema& schema) {
    const auto escaped = metadataOf(schema, ArrowKey::kName);
    fName = escaped ? unescapedName(*escaped) : schema.name ? schema.name : "";
    fIndexMark = metadataOf(schema, ArrowKey::kIndex).value_or("");
    readFormat(schema);
}

void ArrowColumnType::readFormat(const ArrowSchema& schema) {
    const std::string_view format(schema.format);
    const bool isFixed = format.substr(0, 3) == "+w:";
    if ((isFixed || format == "+l" || format == "+L") && schema.n_children == 1) {
        fLists.push_back({isFixed ? std::atoll(schema.format + 3) : 0, format == "+L"});
        readFormat(*schema.children[0]);
        const std::string size = isFixed ? schema.format + 3 : "";
        fShown += '[' + size + ']';
        return;
    }
    fShown = shownType(schema);
    fLeaf = leafOf(format);
    if (!schema.dictionary) return;
    fIsDictionary = true;
    fKeyLeaf = std::exchange(fLeaf, leafOf(schema.dictionary->format));
    fShown = shownType(*schema.dictionary);
    if (schema.dictionary->dictionary || !isInteger(fKeyLeaf)) fLeaf = ArrowLeaf::kOther;
}

Member::eDataType ArrowColumnType::memberType(const std::vector<std::int64_t>& sizes,
                                              unsigned int& length) const {
    const Member::eDataType plain = plainTypeOf(fLeaf);
    length = 1;
    for (const std::int64_t size : sizes)
        if (size < 1 || size > std::numeric_limits<unsigned int>::max()) return Member::kInvalid;
    if (sizes.size() <= 1) {
        if (!sizes.empty()) length = static_cast<unsigned int>(sizes.front());
        return plain;
    }
    const bool isSquare = sizes.size() <= 3 && sizes[sizes.size() - 1] == kMatrixSide &&
                          sizes[sizes.size() - 2] == kMatrixSide;
    if (!isSquare) return Member::kInvalid;
    if (sizes.size() == 3) length = static_cast<unsigned int>(sizes.front());
    if (plain == Member::kFloat) return Member::kFloatMatrix4x4;
    return plain == Member::kDouble ? Member::kDoubleMatrix4x4 : Member::kInvalid;
}

bool ArrowColumnType::fits(Member::eDataType type) const {
    if (fLeaf == ArrowLeaf::kOther) return false;
    if (fLeaf == ArrowLeaf::kNull) return true;  // there may be no rows
    if (type == Member::kString) return isTextual(fLeaf);
    if (type == Member::kBoolean) return fLeaf == ArrowLeaf::kTruth;
    const bool takesReals = type == Member::kFloat || type == Member::kDouble || isMatrix(type);
    return isInteger(fLeaf) || (takesReals ? isReal(fLeaf) : fLeaf == ArrowLeaf::kTruth);
}

ArrowColumn::ArrowColumn(const ArrowColumnType& type, const ArrowArray& array)
    : fType(type), fLeafArray(&array), fHasNulls(false) {
    for (std::size_t k = 0; k < type.lists().size(); ++k) {
        fListArrays.push_back(fLeafArray);
        fLeafArray = fLeafArray->children[0];
    }
    fHasNulls = fLeafArray->null_count != 0 && fLeafArray->n_buffers > 0 && fLeafArray->buffers[0];
}

bool ArrowColumn::isValid(const ArrowArray& array, std::int64_t at) {
    if (array.n_buffers == 0) return false;  // an array of nulls alone
    const auto* const bits = static_cast<const unsigned char*>(array.buffers[0]);
    return !bits || (bits[at / 8] >> at % 8 & 1) != 0;
}

ArrowColumn::Span ArrowColumn::span(std::int64_t row, std::vector<std::int64_t>* sizes) const {
    Span span{row, 1, false};
    for (std::size_t k = 0; k < fListArrays.size(); ++k) {
        const ArrowArray& array = *fListArrays[k];
        const auto [fixed, isLong] = fType.lists()[k];
        const std::int64_t first = span.begin + array.offset;
        for (std::int64_t at = first; at < first + span.count; ++at)
            if (!isValid(array, at)) return {0, 0, true};
        if (array.n_buffers == 1) {
            if (sizes) sizes->push_back(fixed);
            span = {first * fixed, span.count * fixed, false};
            continue;
        }
        const std::int64_t begin = endAt(array, isLong, first);
        const std::int64_t end = endAt(array, isLong, first + span.count);
        if (sizes) {
            std::int64_t size = span.count > 0 ? (end - begin) / span.count : 0;
            for (std::int64_t at = first; at < first + span.count; ++at)
                if (endAt(array, isLong, at + 1) - endAt(array, isLong, at) != size) size = -1;
            sizes->push_back(size);
        }
        span = {begin, end - begin, false};
    }
    return span;
}

const char* ArrowColumn::plainNumbers(std::int64_t place, std::size_t size) const {
    const ArrowLeaf leaf = fType.leaf();
    if (fHasNulls || fType.isDictionary() || (!isInteger(leaf) && !isReal(leaf))) return nullptr;
    return static_cast<const char*>(fLeafArray->buffers[1]) +
           static_cast<std::size_t>(place + fLeafArray->offset) * size;
}

double ArrowColumn::half(std::uint16_t bits) {
    constexpr int kFractionBits = 10;
    constexpr int kBias = 15;
    const int exponent = bits >> kFractionBits & 0x1f;
    const int fraction = bits & 0x3ff;
    double value = 0;
    if (exponent == 0x1f)
        value = fraction == 0 ? std::numeric_limits<double>::infinity()
                              : std::numeric_limits<double>::quiet_NaN();
    else if (exponent == 0)
        value = std::ldexp(fraction, 1 - kBias - kFractionBits);
    else
        value = std::ldexp(fraction + (1 << kFractionBits), exponent - kBias - kFractionBits);
    return (bits & 0x8000) != 0 ? -value : value;
}

std::string_view ArrowColumn::textAt(ArrowLeaf leaf, const ArrowArray& array, std::int64_t at) {
    if (leaf != ArrowLeaf::kTextView) {
        const bool isLong = leaf == ArrowLeaf::kLongText;
        const std::int64_t begin = endAt(array, isLong, at);
        const std::int64_t size = endAt(array, isLong, at + 1) - begin;
        if (size == 0) return {};
        return {static_cast<const char*>(array.buffers[2]) + begin, static_cast<std::size_t>(size)};
    }
    // A size of 32 bits; then up to 12 bytes, or four of them, a buffer and a place in it.
    constexpr std::int32_t kInline = 12;
    const char* const view = static_cast<const char*>(array.buffers[1]) + 16 * at;
    std::int32_t size = 0;
    std::memcpy(&size, view, sizeof size);
    if (size <= kInline) return {view + 4, static_cast<std::size_t>(size)};
    std::int32_t buffer = 0;
    std::int32_t place = 0;
    std::memcpy(&buffer, view + 8, sizeof buffer);
    std::memcpy(&place, view + 12, sizeof place);
    return {static_cast<const char*>(array.buffers[2 + buffer]) + place,
            static_cast<std::size_t>(size)};
}

std::int64_t ArrowColumn::keyAt(std::int64_t at) const {
    const ArrowArray& keys = *fLeafArray;
    switch (fType.keyLeaf()) {
        case ArrowLeaf::kInt8:
            return number<std::int8_t>(keys, at);
        case ArrowLeaf::kInt16:
            return number<std::int16_t>(keys, at);
        case ArrowLeaf::kInt32:
            return number<std::int32_t>(keys, at);
        case ArrowLeaf::kUInt8:
            return number<std::uint8_t>(keys, at);
        case ArrowLeaf::kUInt16:
            return number<std::uint16_t>(keys, at);
        case ArrowLeaf::kUInt32:
            return number<std::uint32_t>(keys, at);
        default:
            return number<std::int64_t>(keys, at);
    }
}

}  // namespace orbo::Python
