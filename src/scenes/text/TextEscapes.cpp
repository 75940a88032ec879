// Quoted values of text scenes: the escapes and their undoing.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/text/TextStatement.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/SixteenBytes.h"
#include "scenes/text/EscapedText.h"

namespace orbo::Data::TextStatement {

namespace {

// The letters that stand for the control characters from 7 on.
constexpr char kFirstNamed = 7;
constexpr std::string_view kNames = "abtnvfr";

bool isOctal(char c) { return c >= '0' && c <= '7'; }

char* putOctal(char* to, char c) {
    const auto byte = static_cast<unsigned char>(c);
    *to++ = '\\';
    for (int shift = 6; shift >= 0; shift -= 3) {
        *to++ = static_cast<char>('0' + ((byte >> shift) & 7));
    }
    return to;
}

constexpr std::size_t kLongestEscape = 4;

// Returns the end of the character, escaped where it must be.
char* putEscaped(char* to, char c) {
    const bool isNamed = c >= kFirstNamed && c < kFirstNamed + static_cast<int>(kNames.size());
    if (!isNamed && (static_cast<unsigned char>(c) < 32 || c == 127)) return putOctal(to, c);
    if (isNamed || c == '\\' || c == '"') *to++ = '\\';
    *to++ = isNamed ? kNames[static_cast<std::size_t>(c - kFirstNamed)] : c;
    return to;
}

// The meaning of each character behind a backslash; most characters mean themselves.
constexpr auto kMeanings = [] {
    std::array<char, 256> meanings{};
    for (std::size_t i = 0; i < meanings.size(); ++i) meanings[i] = static_cast<char>(i);
    for (std::size_t i = 0; i < kNames.size(); ++i) {
        meanings[static_cast<unsigned char>(kNames[i])] = static_cast<char>(kFirstNamed + i);
    }
    return meanings;
}();

// Decodes the escape at `at`, which points behind the backslash, and moves `at` behind it.
char escapedCharacter(const char*& at, const char* end) {
    if (isOctal(*at)) {
        unsigned int value = 0;
        for (int digits = 0; digits < 3 && at != end && isOctal(*at); ++digits) {
            value = value * 8 + static_cast<unsigned int>(*at++ - '0');
        }
        return static_cast<char>(value & 0xFF);
    }
    return kMeanings[static_cast<unsigned char>(*at++)];
}

// Moves what is plain at the beginning to `out`, which is at most at `at`.
void movePlain(char*& out, const char*& at, const char* end) {
    constexpr std::ptrdiff_t kStride = SixteenBytes::kSize;
    // Once `out` is a stride behind `at`, a move overwrites nothing that is still to be read.
    while (at - out >= kStride && end - at >= kStride) {
        const SixteenBytes bytes(at);
        std::memcpy(out, at, SixteenBytes::kSize);
        const int plain = bytes.countBefore('\\');
        out += plain;
        at += plain;
        if (plain < kStride) return;
    }
    while (at != end && *at != '\\') *out++ = *at++;
}

constexpr std::ptrdiff_t kBlock = 64;

/// Undoes the escapes of many bytes with few branches: where escapes are, nobody can guess. `at`
/// has two blocks to read, and `out` is at most there. Moves `at` on by at least a block, or to an
/// octal escape.
void unescapeBlock(char*& out, const char*& at) {
    std::array<char, 2 * kBlock> plain;
    char* to = plain.data();
    std::ptrdiff_t from = 0;
    std::uint64_t backslashes = marksIn64(at, '\\');
    bool metOctal = false;
    while (backslashes != 0) {
        const auto place = static_cast<std::ptrdiff_t>(__builtin_ctzll(backslashes));
        std::memcpy(to, at + from, kBlock);
        to += place - from;
        from = place;
        metOctal = isOctal(at[place + 1]);
        if (metOctal) break;
        *to++ = kMeanings[static_cast<unsigned char>(at[place + 1])];
        from = place + 2;
        backslashes &= ~(std::uint64_t{3} << place);
    }
    if (!metOctal && from < kBlock) {
        std::memcpy(to, at + from, kBlock);
        to += kBlock - from;
        from = kBlock;
    }
    std::memcpy(out, plain.data(), static_cast<std::size_t>(to - plain.data()));
    out += to - plain.data();
    at += from;
}

}  // namespace

void appendEscaped(std::string& out, std::string_view text) {
    std::array<char, 4096> buffer;
    char* const full = buffer.data() + buffer.size() - SixteenBytes::kSize - kLongestEscape;
    char* to = buffer.data();
    const char* const end = text.data() + text.size();
    out.reserve(out.size() + text.size());
    for (const char* at = text.data(); at != end;) {
        if (end - at >= SixteenBytes::kSize) {
            const SixteenBytes bytes(at);
            std::memcpy(to, at, SixteenBytes::kSize);
            const int plain = bytes.countBeforeControlOr('\\', '"', '\x7f');
            to += plain;
            at += plain;
            if (plain < SixteenBytes::kSize) to = putEscaped(to, *at++);
        } else {
            to = putEscaped(to, *at++);
        }
        if (to < full) continue;
        out.append(buffer.data(), to);
        to = buffer.data();
    }
    out.append(buffer.data(), to);
}

void appendEscapedLines(std::string& out, std::string_view text) {
    for (const char c : text) {
        if (c == '\n') {
            out += "\\n";
        } else {
            if (c == '\\') out += '\\';
            out += c;
        }
    }
}

void unescape(std::string& text, std::size_t begin) {
    char* out = text.data();
    const char* const end = text.data() + text.size();
    for (const char* at = text.data() + begin; at != end;) {
        while (end - at >= 2 * kBlock) {
            const char* const before = at;
            unescapeBlock(out, at);
            if (at - before < kBlock) break;
        }
        movePlain(out, at, end);
        if (at == end) break;
        // A backslash at the end of the text means itself.
        const bool escapes = ++at != end;
        *out++ = escapes ? escapedCharacter(at, end) : '\\';
    }
    text.resize(static_cast<std::size_t>(out - text.data()));
}

void EscapedText::skipOne() {
    const char* at = fLeft.data();
    const char* const end = at + fLeft.size();
    fIsOpen = false;
    if (*at++ == '\\') {
        const char* const escape = at;
        const bool isNumber = at != end && isOctal(*at);
        if (at != end) (void)escapedCharacter(at, end);
        fIsOpen = escape == end || (isNumber && at - escape < 3);
    }
    fLeft.remove_prefix(static_cast<std::size_t>(at - fLeft.data()));
    ++fOffset;
}

// Skips blocks without octal numbers that lie in front of the offset.
void EscapedText::skipBlocks(std::size_t offset) {
    while (offset - fOffset >= kBlock && fLeft.size() > kBlock) {
        const char* const at = fLeft.data();
        std::uint64_t backslashes = marksIn64(at, '\\');
        std::size_t size = kBlock;
        std::size_t escapes = 0;
        for (; backslashes != 0; ++escapes) {
            const int place = __builtin_ctzll(backslashes);
            if (isOctal(at[place + 1])) return;
            backslashes &= ~(std::uint64_t{3} << place);
            if (place + 1 == kBlock) ++size;
        }
        fLeft.remove_prefix(size);
        fOffset += size - escapes;
        fIsOpen = false;
    }
}

bool EscapedText::goTo(std::size_t offset) {
    while (fOffset < offset && !fLeft.empty()) {
        skipBlocks(offset);
        if (fOffset < offset && !fLeft.empty()) skipOne();
    }
    return fOffset == offset && !fIsOpen;
}

const char* findBareQuote(const char* at, const char* end) {
    constexpr std::uint64_t kEven = 0x5555555555555555;
    std::uint64_t carried = 0;  // 1 when the first character of the block is escaped
    for (; end - at >= kBlock; at += kBlock) {
        // A row of backslashes escapes what follows it if their number is odd. Adding its first
        // one carries into the place behind the last.
        const std::uint64_t backslashes = marksIn64(at, '\\') & ~carried;
        const std::uint64_t starts = backslashes & ~(backslashes << 1);
        std::uint64_t behindOdd = 0;
        const bool overflows = __builtin_add_overflow(backslashes, starts & ~kEven, &behindOdd);
        const std::uint64_t behindEven = backslashes + (starts & kEven);
        const std::uint64_t escaped = ((behindOdd & kEven) | (behindEven & ~kEven)) & ~backslashes;
        const std::uint64_t bare = marksIn64(at, '"') & ~(escaped | carried);
        if (bare != 0) return at + __builtin_ctzll(bare);
        carried = overflows ? 1 : 0;
    }
    if (carried != 0 && at != end) ++at;
    for (; at != end && *at != '"'; ++at) {
        if (*at == '\\' && end - at > 1) ++at;
    }
    return at;
}

}  // namespace orbo::Data::TextStatement
