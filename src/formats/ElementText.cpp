// Reads and writes ordinary data lines of elements, directly from and to memory.
// SPDX-License-Identifier: Apache-2.0
#include "formats/ElementText.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <type_traits>
#include <utility>

#include "core/Ascii.h"
#include "core/DataTypes.h"
#include "core/EightBytes.h"
#include "core/PlainNumber.h"

namespace orbo::Data {

namespace {

/// A position in the text. It does not move for values that cannot be read.
class PlainLine {
  public:
    PlainLine(const char* first, const char* last) : fNext(first), fLast(last) {}

    /// Goes to the next value; returns false at the end of the line or of the text.
    bool skipToValue() {
        while (fNext != fLast && (*fNext == ' ' || *fNext == '\t')) ++fNext;
        return fNext != fLast && !Ascii::isBlank(*fNext);
    }

    template <typename T>
    bool readNumber(Member::eDataType type, T& value) {
        const char* end = PlainNumber<T>::read(fNext, fLast, value);
        if (!end || end == fLast || !Ascii::isBlank(*end)) {
            const std::string_view text(fNext, static_cast<std::size_t>(fLast - fNext));
            end = ValueText::readPlainNumber(text, type, &value);
            // The number may go on behind what is in memory.
            if (!end || end == fLast) return false;
        }
        fNext = end;
        return true;
    }

    bool readBoolean(bool& value) {
        const char* const end = std::find_if(fNext, fLast, Ascii::isBlank);
        const std::string_view word(fNext, static_cast<std::size_t>(end - fNext));
        if (end == fLast || !ValueText::readBoolean(word, value)) return false;
        fNext = end;
        return true;
    }

    bool readString(char** slot) {
        if (*fNext != '"') return false;
        const char* const first = fNext + 1;
        const char* const end = endOfOrdinary(first);
        if (end == fLast || *end != '"') return false;
        const auto size = static_cast<std::size_t>(end - first);
        char* const copy = static_cast<char*>(std::malloc(size + 1));
        if (!copy) return false;
        std::memcpy(copy, first, size);
        copy[size] = '\0';
        *slot = copy;
        fNext = end + 1;
        return true;
    }

    /// Returns the end of the line; null when something else follows.
    const char* end() {
        while (fNext != fLast && *fNext != '\n' && Ascii::isBlank(*fNext)) ++fNext;
        return fNext == fLast || *fNext != '\n' ? nullptr : fNext + 1;
    }

  private:
    [[nodiscard]] const char* endOfOrdinary(const char* at) const {
        while (EightBytes::kUsable && fLast - at >= EightBytes::kSize) {
            const int count = EightBytes(at).countBefore('"', '\\', '\n', '\0');
            at += count;
            if (count < EightBytes::kSize) return at;
        }
        while (at != fLast && isOrdinary(*at)) ++at;
        return at;
    }
    static bool isOrdinary(char c) { return c != '"' && c != '\\' && c != '\n' && c != '\0'; }

    const char* fNext;
    const char* fLast;
};

template <typename T>
bool readScalar(PlainLine& line, Member::eDataType type, T& value) {
    if constexpr (std::is_same_v<T, bool>) {
        return line.readBoolean(value);
    } else if constexpr (std::is_pointer_v<T>) {
        return line.readString(&value);
    } else {
        return line.readNumber(type, value);
    }
}

bool readRun(PlainLine& line, Member::eDataType type, char* to, std::uint64_t count) {
    return visitMemberType(type, [&](auto memberType) {
        auto* const values = reinterpret_cast<typename decltype(memberType)::Scalar*>(to);
        for (std::uint64_t i = 0; i < count; ++i) {
            if (!line.skipToValue() || !readScalar(line, type, values[i])) return false;
        }
        return true;
    });
}

template <typename T>
void writeScalar(BufferedWriter& out, const ValueText::NumberFormat& format, const T* value) {
    if constexpr (std::is_same_v<T, bool>) {
        // Read as a byte, because another program may have stored neither 0 nor 1.
        const bool isTrue = *reinterpret_cast<const char*>(value) != 0;
        out.write(isTrue ? std::string_view("true") : std::string_view("false"));
    } else if constexpr (std::is_pointer_v<T>) {
        out.writeQuoted(*value ? *value : "");
    } else {
        out.take(ValueText::put(out.room(ValueText::kNumberRoom), format, *value));
    }
}

}  // namespace

ElementText::ElementText(const Layout& layout) : fLayout(layout) {
    for (const Member& member : layout.members()) {
        const auto numbers = static_cast<std::uint64_t>(dataType(member.type()).numbers);
        fRuns.push_back({member.type(), member.offset(), numbers * member.length()});
    }
}

const char* ElementText::read(const char* first, const char* last, char* chunk) const {
    PlainLine line(first, last);
    bool isPlain = true;
    // A plain loop, because the call of an algorithm takes as long as reading a short value.
    for (auto run = fRuns.begin(); isPlain && run != fRuns.end(); ++run) {
        isPlain = readRun(line, run->type, chunk + run->offset, run->count);
    }
    const char* const end = isPlain ? line.end() : nullptr;
    if (!end) fLayout.reset(chunk);
    return end;
}

void ElementText::write(BufferedWriter& out, const ValueText::NumberFormat& format,
                        const char* chunk) const {
    bool isFirst = true;
    for (const Run& run : fRuns) {
        visitMemberType(run.type, [&](auto memberType) {
            using T = typename decltype(memberType)::Scalar;
            const T* const values = reinterpret_cast<const T*>(chunk + run.offset);
            for (std::uint64_t i = 0; i < run.count; ++i) {
                if (!std::exchange(isFirst, false)) out.write(' ');
                writeScalar(out, format, values + i);
            }
        });
    }
    out.write('\n');
}

}  // namespace orbo::Data
