// Data lines of elements as they mostly are, straight from memory and to memory.
// SPDX-License-Identifier: Apache-2.0
#include "formats/ElementText.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "core/Ascii.h"
#include "core/DataTypes.h"
#include "core/EightBytes.h"
#include "core/PlainNumber.h"

namespace orbo::Data {

namespace {

template <typename T>
struct Number {
    using Type = T;
};

/// Calls `visit` with the `Number` that chunks hold for the type.
template <typename Visit>
auto visitNumberType(Member::eDataType type, Visit visit) {
    switch (type) {
        case Member::kDouble:
        case Member::kDoubleMatrix4x4:
            return visit(Number<double>());
        case Member::kFloat:
        case Member::kFloatMatrix4x4:
            return visit(Number<float>());
        case Member::kInt8:
            return visit(Number<signed char>());
        case Member::kInt16:
            return visit(Number<short>());
        case Member::kInt32:
            return visit(Number<int>());
        case Member::kInt64:
            return visit(Number<long long>());
        case Member::kUInt8:
            return visit(Number<unsigned char>());
        case Member::kUInt16:
            return visit(Number<unsigned short>());
        case Member::kUInt32:
            return visit(Number<unsigned int>());
        default:
            return visit(Number<unsigned long long>());
    }
}

/// A position in the text. Values that cannot be read leave it where it is.
class PlainLine {
  public:
    PlainLine(const char* first, const char* last) : fNext(first), fLast(last) {}

    /// At a value: false at the end of the line or of the text.
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
            // More of it may follow behind what is in sight.
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

    /// Behind the line; null unless nothing more is on it.
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
bool readNumbers(PlainLine& line, Member::eDataType type, T* to, std::uint64_t count) {
    for (std::uint64_t i = 0; i < count; ++i) {
        if (!line.skipToValue() || !line.readNumber(type, to[i])) return false;
    }
    return true;
}

bool readRun(PlainLine& line, Member::eDataType type, char* to, std::uint64_t count) {
    if (type == Member::kString) {
        for (char** slot = reinterpret_cast<char**>(to); count != 0; --count) {
            if (!line.skipToValue() || !line.readString(slot++)) return false;
        }
        return true;
    }
    if (type == Member::kBoolean) {
        for (bool* slot = reinterpret_cast<bool*>(to); count != 0; --count) {
            if (!line.skipToValue() || !line.readBoolean(*slot++)) return false;
        }
        return true;
    }
    return visitNumberType(type, [&](auto number) {
        using T = typename decltype(number)::Type;
        return readNumbers(line, type, reinterpret_cast<T*>(to), count);
    });
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
    // Inline, as an algorithm's call for each run takes as long as a short value.
    for (auto run = fRuns.begin(); isPlain && run != fRuns.end(); ++run) {
        isPlain = readRun(line, run->type, chunk + run->offset, run->count);
    }
    const char* const end = isPlain ? line.end() : nullptr;
    if (!end) fLayout.reset(chunk);
    return end;
}

void ElementText::write(LumpedOutput& out, const ValueText::NumberFormat& format,
                        const char* chunk) const {
    bool isFirst = true;
    const auto separate = [&] {
        if (!std::exchange(isFirst, false)) out.write(' ');
    };
    for (const Run& run : fRuns) {
        const char* from = chunk + run.offset;
        if (run.type == Member::kString) {
            const auto* strings = reinterpret_cast<const char* const*>(from);
            for (std::uint64_t i = 0; i < run.count; ++i) {
                separate();
                out.writeQuoted(strings[i] ? strings[i] : "");
            }
        } else if (run.type == Member::kBoolean) {
            for (std::uint64_t i = 0; i < run.count; ++i) {
                separate();
                out.write(from[i] != 0 ? std::string_view("true") : std::string_view("false"));
            }
        } else {
            visitNumberType(run.type, [&](auto number) {
                using T = typename decltype(number)::Type;
                const T* const numbers = reinterpret_cast<const T*>(from);
                for (std::uint64_t i = 0; i < run.count; ++i) {
                    separate();
                    out.take(ValueText::put(out.room(ValueText::kNumberRoom), format, numbers[i]));
                }
            });
        }
    }
    out.write('\n');
}

}  // namespace orbo::Data
