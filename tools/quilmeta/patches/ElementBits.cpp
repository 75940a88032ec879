// Compares elements of one structure bit by bit.
// SPDX-License-Identifier: Apache-2.0
#include "patches/ElementBits.h"

#include "values/ValueType.h"

#include <algorithm>
#include <cstring>

namespace orbo::Quilmeta {

namespace {

bool areSameStrings(const char* left, const char* right, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        const char* ours = nullptr;
        const char* theirs = nullptr;
        std::memcpy(&ours, left + i * sizeof ours, sizeof ours);
        std::memcpy(&theirs, right + i * sizeof theirs, sizeof theirs);
        if (ours == theirs) continue;
        if (std::strcmp(ours ? ours : "", theirs ? theirs : "") != 0) return false;
    }
    return true;
}

size_t bytesOf(const Data::Member& member) {
    return size_t{member.length()} * static_cast<size_t>(Data::Member::typeSize(member.type()));
}

}  // namespace

ElementBits::ElementBits(const Data::Structure& structure) {
    for (const Data::Member& member : structure) {
        if (!fFirst) fFirst = &member;
        const auto offset = static_cast<size_t>(member.offset());
        if (member.type() == Data::Member::kString)
            fStrings.push_back({offset, member.length()});
        else if (!fPlain.empty() && fPlain.back().offset + fPlain.back().size == offset)
            fPlain.back().size += bytesOf(member);
        else
            fPlain.push_back({offset, bytesOf(member)});
    }
}

const char* ElementBits::begin(Data::ConstHandle& element) const {
    element.setPositionByMemberIndex(0);
    return static_cast<const char*>(element.asType(fFirst->type())) - fFirst->offset();
}

bool ElementBits::areSame(Data::ConstHandle left, Data::ConstHandle right) const {
    if (!fFirst) return true;
    if (!left.hasData() || !right.hasData()) return left.hasData() == right.hasData();
    const char* ours = begin(left);
    const char* theirs = begin(right);
    return std::all_of(fPlain.begin(), fPlain.end(),
                       [&](const Range& range) {
                           return std::memcmp(ours + range.offset, theirs + range.offset,
                                              range.size) == 0;
                       }) &&
           std::all_of(fStrings.begin(), fStrings.end(), [&](const Strings& strings) {
               return areSameStrings(ours + strings.offset, theirs + strings.offset, strings.count);
           });
}

bool ElementBits::areSame(const Data::Member& member, const void* left, const void* right) {
    if (member.type() != Data::Member::kString)
        return std::memcmp(left, right, bytesOf(member)) == 0;
    return areSameStrings(static_cast<const char*>(left), static_cast<const char*>(right),
                          member.length());
}

void ElementBits::swap(const Data::Member& member, void* left, void* right) {
    char* const ours = static_cast<char*>(left);
    std::swap_ranges(ours, ours + bytesOf(member), static_cast<char*>(right));
}

}  // namespace orbo::Quilmeta
