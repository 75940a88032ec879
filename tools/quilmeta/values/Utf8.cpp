// Characters of a UTF-8 text, and the room they take on a terminal.
// SPDX-License-Identifier: Apache-2.0
#include "values/Utf8.h"

#include <algorithm>
#include <iterator>

namespace orbo::Quilmeta {

namespace {

struct Range {
    char32_t first, last;
};

// Control characters, and those that leave no mark: fillers, joiners, selectors of variants.
constexpr Range kUnprintable[] = {
    {0x0000, 0x001F},   {0x007F, 0x009F},    {0x00AD, 0x00AD},   {0x034F, 0x034F},
    {0x061C, 0x061C},   {0x115F, 0x1160},    {0x17B4, 0x17B5},   {0x180B, 0x180F},
    {0x200B, 0x200F},   {0x2028, 0x202E},    {0x2060, 0x206F},   {0x3164, 0x3164},
    {0xE000, 0xF8FF},   {0xFE00, 0xFE0F},    {0xFEFF, 0xFEFF},   {0xFFA0, 0xFFA0},
    {0xFFF0, 0xFFFB},   {0xFFFE, 0xFFFF},    {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A},
    {0xE0000, 0xE0FFF}, {0xF0000, 0x10FFFF},
};

constexpr Range kCombining[] = {
    {0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD}, {0x0610, 0x061A}, {0x064B, 0x065F},
    {0x093C, 0x093C}, {0x0941, 0x0948}, {0x094D, 0x094D}, {0x0E31, 0x0E31}, {0x0E34, 0x0E3A},
    {0x0E47, 0x0E4E}, {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF}, {0x20D0, 0x20F0}, {0x302A, 0x302D},
    {0x3099, 0x309A}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F},
};

constexpr Range kWide[] = {
    {0x1100, 0x115F},   {0x231A, 0x231B},   {0x23E9, 0x23EC},   {0x2614, 0x2615},
    {0x2648, 0x2653},   {0x26BD, 0x26BE},   {0x2705, 0x2705},   {0x2728, 0x2728},
    {0x274C, 0x274C},   {0x2753, 0x2755},   {0x2795, 0x2797},   {0x2B1B, 0x2B1C},
    {0x2E80, 0x303E},   {0x3041, 0x33FF},   {0x3400, 0x4DBF},   {0x4E00, 0x9FFF},
    {0xA000, 0xA4CF},   {0xA960, 0xA97F},   {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},
    {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},   {0xFFE0, 0xFFE6},   {0x1F300, 0x1F64F},
    {0x1F680, 0x1F6FF}, {0x1F900, 0x1F9FF}, {0x1FA70, 0x1FAFF}, {0x20000, 0x3FFFD},
};

template <size_t size>
bool contains(const Range (&ranges)[size], char32_t codePoint) {
    const Range* range =
        std::lower_bound(std::begin(ranges), std::end(ranges), codePoint,
                         [](const Range& r, char32_t wanted) { return r.last < wanted; });
    return range != std::end(ranges) && range->first <= codePoint;
}

/// Bytes that follow the lead byte; 0 for a byte that leads nothing longer than itself.
size_t followers(unsigned char lead) {
    if (lead >= 0xC2 && lead <= 0xDF) return 1;
    if (lead >= 0xE0 && lead <= 0xEF) return 2;
    return lead >= 0xF0 && lead <= 0xF4 ? 3 : 0;
}

size_t columns(char32_t codePoint) {
    if (codePoint < kCombining[0].first) return 1;
    if (contains(kCombining, codePoint)) return 0;
    return contains(kWide, codePoint) ? 2 : 1;
}

}  // namespace

Utf8Character firstCharacter(std::string_view text) {
    const auto byte = [text](size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80) return {lead, 1, true};
    const size_t more = followers(lead);
    if (more == 0 || more >= text.size()) return {lead, 1, false};
    char32_t codePoint = lead & (0x3Fu >> more);
    for (size_t i = 1; i <= more; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return {lead, 1, false};
        codePoint = codePoint << 6 | (byte(i) & 0x3Fu);
    }
    constexpr char32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
    const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    if (codePoint < kSmallest[more] || surrogate || codePoint > 0x10FFFF) return {lead, 1, false};
    return {codePoint, more + 1, true};
}

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const Utf8Character character = firstCharacter(text);
        if (!character.valid) return false;
        text.remove_prefix(character.size);
    }
    return true;
}

bool isUnprintable(char32_t codePoint) { return contains(kUnprintable, codePoint); }

size_t displayWidth(std::string_view text) {
    size_t width = 0;
    while (!text.empty()) {
        const Utf8Character character = firstCharacter(text);
        text.remove_prefix(character.size);
        width += columns(character.codePoint);
    }
    return width;
}

}  // namespace orbo::Quilmeta
