// Reads and writes ordinary data lines of elements, directly from and to memory.
// SPDX-License-Identifier: Apache-2.0
#include "formats/ElementText.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <type_traits>
#include <utility>

#include "core/Ascii.h"
#include "core/DataTypes.h"
#include "core/EightBytes.h"
#include "core/PlainNumber.h"
#include "core/SixteenBytes.h"

namespace orbo::Data {

namespace {

// Quicker than `isBlank`. Enough behind a value: what reads on refuses the control characters.
bool isBlankOrControl(char c) { return static_cast<unsigned char>(c) <= ' '; }

// Each of these reads what stands at `at`. Returns its end, which is in front of `last`; null for
// what is not plain.

template <typename T>
[[gnu::always_inline]] inline const char* readPlain(const char* at, const char* last, T& value) {
    const char* const end = PlainNumber<T>::read(at, last, value);
    if (end && end != last && isBlankOrControl(*end)) return end;
    const std::string_view text(at, static_cast<std::size_t>(last - at));
    const char* const other = ValueText::readPlainNumber(text, dataTypeOf<T>(), &value);
    // The number may go on behind what is in memory.
    return other == last ? nullptr : other;
}

std::uint32_t fourBytes(const char* at) {
    std::uint32_t bytes;
    std::memcpy(&bytes, at, sizeof bytes);
    return bytes;
}

// Has no branch between true and false, which nobody can predict.
const char* readPlain(const char* at, const char* last, bool& value) {
    constexpr std::ptrdiff_t kLongest = 5;
    if (last - at > kLongest) {
        const unsigned isTrue = fourBytes(at) == fourBytes("true");
        const unsigned isFalse = (fourBytes(at) == fourBytes("fals")) & (at[4] == 'e');
        const char* const end = at + (kLongest - isTrue);
        if ((isTrue | isFalse) != 0 && isBlankOrControl(*end)) {
            value = isTrue != 0;
            return end;
        }
    }
    const char* const end = std::find_if(at, last, Ascii::isBlank);
    const std::string_view word(at, static_cast<std::size_t>(end - at));
    return end != last && ValueText::readBoolean(word, value) ? end : nullptr;
}

// Copies text up to its quote without the backslashes. Overwrites up to sixteen bytes behind that.
void copyUnescaped(char* to, const char* at, const char* quote, const char* last) {
    for (;;) {
        if (last - at >= SixteenBytes::kSize) {
            const SixteenBytes block(at);
            std::memcpy(to, at, SixteenBytes::kSize);
            const int plain = block.countBefore('"', '\\');
            at += plain;
            to += plain;
            if (plain == SixteenBytes::kSize) continue;
        } else if (*at != '"' && *at != '\\') {
            *to++ = *at++;
            continue;
        }
        if (at == quote) break;
        *to++ = at[1] == 'n' ? '\n' : at[1];
        at += 2;
    }
    *to = '\0';
}

const char* readPlain(const char* at, const char* last, char*& slot) {
    if (*at != '"') return nullptr;
    const char* const first = at + 1;
    const char* end = first;
    std::size_t escapes = 0;
    for (;; ++escapes, end += 2) {
        end = findFirstOf(end, last, '"', '\\', '\0');
        if (end == last || *end == '\0') return nullptr;
        if (*end == '"') break;
        if (last - end < 2 || end[1] == '\0') return nullptr;
    }
    const auto size = static_cast<std::size_t>(end - first);
    const std::size_t room = escapes == 0 ? 1 : SixteenBytes::kSize;  // behind the characters
    char* const copy = static_cast<char*>(std::malloc(size - escapes + room));
    if (!copy) return nullptr;
    if (escapes != 0) {
        copyUnescaped(copy, first, end, last);
    } else {
        std::memcpy(copy, first, size);
        copy[size] = '\0';
    }
    slot = copy;
    return end + 1;
}

const char* skipBlanks(const char* at, const char* last) {
    if (at != last && *at == ' ') ++at;  // usually the only one
    while (at != last && isBlankOrControl(*at) && Ascii::isBlank(*at)) ++at;
    return at;
}

// Reads short integers with a blank behind each, from the beginning of the first on, and moves `at`
// behind the last blank. Returns how many. Looks for 64 blanks at once, so that the processor can
// begin with a number before it knows where the one in front ends.
template <typename T>
std::uint64_t readShortIntegers(const char*& at, const char* last, T* values, std::uint64_t count) {
    constexpr std::ptrdiff_t kMarked = 64;
    constexpr std::ptrdiff_t kLongest = 9;  // which may begin at the last of those
    std::uint64_t done = 0;
    while (last - at >= kMarked + kLongest) {
        const char* const block = at;
        for (std::uint64_t blanks = marksIn64(block, ' '); blanks != 0; blanks &= blanks - 1) {
            const char* const end = block + EightBytes::trailingZeros(blanks);
            const auto size = static_cast<std::size_t>(end - at);
            if (done == count || !PlainNumber<T>::readShort(at, size, values[done])) return done;
            ++done;
            at = end + 1;
        }
        if (at == block) break;
    }
    return done;
}

template <typename T>
const char* readValues(const char* at, const char* last, T* values, std::uint64_t count);

template <typename T>
[[gnu::noinline]] const char* readManyIntegers(const char* at, const char* last, T* values,
                                               std::uint64_t count) {
    constexpr std::uint64_t kWorthwhile = 4;
    bool areShort = true;
    for (std::uint64_t i = 0; i < count && at; ++i) {
        if (areShort) {
            at = skipBlanks(at, last);
            const std::uint64_t read = readShortIntegers(at, last, values + i, count - i);
            areShort = read >= kWorthwhile;
            i += read;
            if (i == count) return at - 1;
        }
        at = readValues(at, last, values + i, 1);
    }
    return at;
}

template <typename T>
const char* readValues(const char* at, const char* last, T* values, std::uint64_t count) {
    constexpr std::uint64_t kMany = 8;
    if constexpr (std::is_integral_v<T> && !std::is_same_v<T, bool>) {
        if (count >= kMany) return readManyIntegers(at, last, values, count);
    }
    for (std::uint64_t i = 0; i < count; ++i) {
        at = skipBlanks(at, last);
        if (at != last) at = readPlain(at, last, values[i]);
        if (!at || at == last) return nullptr;
    }
    return at;
}

constexpr std::size_t kScalarRoom = ValueText::kNumberRoom;

char* put(char* to, const ValueText::NumberFormat&, const bool* value) {
    // Read as a byte, because another program may have stored neither 0 nor 1.
    const bool isTrue = *reinterpret_cast<const char*>(value) != 0;
    constexpr char kWords[2][8] = {"false", "true"};
    std::memcpy(to, kWords[isTrue], sizeof kWords[0]);
    return to + (isTrue ? 4 : 5);
}
template <typename T>
char* put(char* to, const ValueText::NumberFormat& format, const T* value) {
    return ValueText::put(to, format, *value);
}

template <typename T>
void writeScalar(BufferedWriter& out, const ValueText::NumberFormat& format, char separator,
                 const T* value) {
    char* const to = out.room(1 + kScalarRoom);
    *to = separator;
    if constexpr (std::is_pointer_v<T>) {
        out.take(to + 1);
        out.writeQuoted(*value ? *value : "");
    } else {
        out.take(put(to + 1, format, value));
    }
}

}  // namespace

const char* ElementText::read(const char* first, const char* last, char* chunk) const {
    const char* at = first;
    // A plain loop, because the call of an algorithm takes as long as reading a short value.
    for (const Layout::Run* run = fRuns; at && run != fRunsEnd; ++run) {
        at = visitMemberType(run->type, [&](auto memberType) {
            using T = typename decltype(memberType)::Scalar;
            return readValues(at, last, reinterpret_cast<T*>(chunk + run->offset), run->count);
        });
    }
    const char* const end = at ? endOfLine(at, last) : nullptr;
    if (!end) fLayout.reset(chunk);
    return end;
}

const char* ElementText::endOfLine(const char* at, const char* last) {
    while (at != last && *at != '\n' && Ascii::isBlank(*at)) ++at;
    return at == last || *at != '\n' ? nullptr : at + 1;
}

void ElementText::write(BufferedWriter& out, const ValueText::NumberFormat& format,
                        const char* chunk) const {
    char separator = '\n';
    for (const Layout::Run& run : fLayout.runs()) {
        visitMemberType(run.type, [&](auto memberType) {
            using T = typename decltype(memberType)::Scalar;
            const T* const values = reinterpret_cast<const T*>(chunk + run.offset);
            for (std::uint64_t i = 0; i < run.count; ++i) {
                writeScalar(out, format, std::exchange(separator, ' '), values + i);
            }
        });
    }
    if (separator == '\n') out.write(separator);  // no values
    out.write('\n');
}

}  // namespace orbo::Data
