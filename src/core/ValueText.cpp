// Converts single values to and from text, in the same way for handles, stream texts and scenes.
// SPDX-License-Identifier: Apache-2.0
#include "core/ValueText.h"

#include <data/MemberType.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <locale>
#include <sstream>
#include <type_traits>

#include "core/Ascii.h"
#include "core/GetArea.h"
#include "core/LongText.h"
#include "core/PlainNumber.h"
#include "core/ShortestDigits.h"
#include "core/SixDigits.h"

namespace orbo::Data::ValueText {

namespace {

constexpr int kEnd = std::char_traits<char>::eof();

// Reads an ordinary number at the start of the text. Returns the end of the number, or null when it
// is not ordinary. `strtod` and `from_chars` agree on all numbers accepted here; one with a plus
// sign, for example, is not ordinary.
template <typename T>
const char* parsePlain(std::string_view text, T& value) {
    const char* last = text.data() + text.size();
    if (const char* end = PlainNumber<T>::read(text.data(), last, value)) {
        return end == last || Ascii::isBlank(*end) ? end : nullptr;
    }
    if (std::is_unsigned_v<T> && !text.empty() && text.front() == '-') return nullptr;
    if constexpr (std::is_floating_point_v<T>) {
        // Leaves "inf", "nan" and the like to the stream.
        const std::size_t digit = !text.empty() && text.front() == '-' ? 1 : 0;
        if (digit >= text.size() || !(Ascii::isDigit(text[digit]) || text[digit] == '.')) {
            return nullptr;
        }
    }
    T parsed;
    const auto [end, error] = std::from_chars(text.data(), last, parsed);
    if (error != std::errc() || end == text.data()) return nullptr;
    if (end != last && !Ascii::isBlank(*end)) return nullptr;
    value = parsed;
    return end;
}

template <typename T>
bool extractPlain(std::streambuf& buffer, T& value) {
    const std::string_view ready = GetArea::of(buffer);
    const char* end = parsePlain(ready, value);
    // The character behind the token must be in the buffer: "1.5e" may go on behind the area's end.
    if (!end || end == ready.data() + ready.size()) return false;
    GetArea::take(buffer, static_cast<std::size_t>(end - ready.data()));
    return true;
}

// Does what the stream does with a sign, a point or both that no digit follows: it takes them, and
// finds no number. In hostile texts each character may be one.
template <typename T>
bool refusePlain(std::istream& in, T& value) {
    if (!std::is_floating_point_v<T>) return false;
    const std::string_view ready = GetArea::of(*in.rdbuf());
    std::size_t taken = !ready.empty() && (ready[0] == '-' || ready[0] == '+') ? 1 : 0;
    if (taken < ready.size() && ready[taken] == '.') ++taken;
    if (taken == 0 || taken >= ready.size() || Ascii::isDigit(ready[taken])) return false;
    GetArea::take(*in.rdbuf(), taken);
    value = 0;
    in.setstate(std::ios_base::failbit);
    return true;
}

// Avoids making another stream, which takes longer than reading the number.
bool readsAsClassic(const std::istream& in) {
    constexpr auto kDefault = std::ios_base::skipws | std::ios_base::dec;
    return in.flags() == kDefault && in.exceptions() == std::ios_base::goodbit && !in.tie() &&
           in.getloc() == std::locale::classic();
}

template <typename T>
bool extractByStream(std::istream& in, T& value) {
    if (readsAsClassic(in)) return static_cast<bool>(in >> value);
    std::istream classic(in.rdbuf());
    classic.imbue(std::locale::classic());
    classic.setstate(in.rdstate());
    classic >> value;
    in.setstate(classic.rdstate());
    return !in.fail();
}

template <typename T, typename Wide>
bool storeIfFits(Wide wide, T& value) {
    if (wide < std::numeric_limits<T>::min() || wide > std::numeric_limits<T>::max()) return false;
    value = static_cast<T>(wide);
    return true;
}

/// `read` extracts a number into the variable it is given. An 8-bit or 16-bit integer is read as a
/// wider one and stored only if it fits.
template <typename Read>
bool readAs(Member::eDataType type, void* slot, Read read) {
    return visitMemberType(type, [&](auto memberType) {
        using T = typename decltype(memberType)::Scalar;
        if constexpr (std::is_floating_point_v<T>) {
            T& value = *static_cast<T*>(slot);
            return read(value) && !std::isinf(value);
        } else if constexpr (std::is_same_v<T, bool> || std::is_pointer_v<T>) {
            return false;
        } else if constexpr (sizeof(T) < sizeof(int)) {
            std::conditional_t<std::is_signed_v<T>, int, unsigned int> wide = 0;
            return read(wide) && storeIfFits(wide, *static_cast<T*>(slot));
        } else {
            return static_cast<bool>(read(*static_cast<T*>(slot)));
        }
    });
}

// Also takes the line feed. Usually the whole line is in the buffer.
std::ios_base::iostate takeLine(std::streambuf& buffer, std::string& line) {
    constexpr auto kNothing = std::ios_base::eofbit | std::ios_base::failbit;
    LongText text;
    for (;;) {
        const std::string_view ready = GetArea::of(buffer);
        const std::size_t size = std::min(ready.find('\n'), ready.size());
        const bool ends = size < ready.size();
        if (ends && text.view().empty()) {
            line = ready.substr(0, size);
            GetArea::take(buffer, size + 1);
            return std::ios_base::goodbit;
        }
        text.append(ready.substr(0, size));
        GetArea::take(buffer, size);
        const int next = ends ? buffer.sbumpc() : buffer.sgetc();
        if (next == kEnd || next == '\n') {
            if (!ends) buffer.sbumpc();
            line = text.view();
            if (next == '\n') return std::ios_base::goodbit;
            return line.empty() ? kNothing : std::ios_base::eofbit;
        }
        // Some stream buffers give single characters only.
        if (GetArea::of(buffer).empty()) text.append(static_cast<char>(buffer.sbumpc()));
    }
}

int exactNumbersSlot() {
    static const int slot = std::ios_base::xalloc();
    return slot;
}

static_assert(kNumberRoom >= kSixDigitsRoom && kNumberRoom >= kShortestRoom);
constexpr int kMostDigits = 64;

template <typename T>
char* putFloating(char* to, const NumberFormat& format, T value) {
    char* const end = to + kNumberRoom;
    if (format.isExact) {
        if (char* const written = writeShortest(to, value)) return written;
        return std::to_chars(to, end, value, std::chars_format::general).ptr;
    }
    if (format.precision == 6) {
        if (char* const written = writeSixDigits(to, value)) return written;
    }
    return std::to_chars(to, end, value, std::chars_format::general, format.precision).ptr;
}

template <typename T>
void writeNumber(std::ostream& out, const NumberFormat& format, T value) {
    char text[kNumberRoom];
    const char* const end = put(text, format, value);
    write(out, std::string_view(text, static_cast<std::size_t>(end - text)));
}

template <typename T>
void writeFloating(std::ostream& out, T value) {
    const NumberFormat format(out);
    if (format.isUsual) return writeNumber(out, format, value);
    std::ostringstream classic;
    classic.imbue(std::locale::classic());
    classic.flags(out.flags());
    classic.precision(out.precision());
    classic << value;
    write(out, classic.str());
}

}  // namespace

void skipBlanks(std::istream& in) {
    if (!in.good()) return;
    std::streambuf& buffer = *in.rdbuf();
    for (;;) {
        const std::string_view ready = GetArea::of(buffer);
        std::size_t blanks = 0;
        while (blanks < ready.size() && Ascii::isBlank(ready[blanks])) ++blanks;
        GetArea::take(buffer, blanks);
        if (blanks < ready.size()) return;
        const int next = buffer.sgetc();
        if (next == kEnd) return in.setstate(std::ios_base::eofbit);
        if (!Ascii::isBlank(static_cast<char>(next))) return;
        buffer.sbumpc();
    }
}

bool readLine(std::istream& in, std::string& line) {
    line.clear();
    std::ios_base::iostate state = std::ios_base::goodbit;
    if (!in.good()) {
        state = std::ios_base::failbit;
    } else {
        try {
            state = takeLine(*in.rdbuf(), line);
        } catch (const std::bad_alloc&) {
            throw;
        } catch (...) {
            state = std::ios_base::badbit;
        }
    }
    in.setstate(state);
    return static_cast<bool>(in);
}

bool readLine(std::istream& in, std::string& room, std::string_view& line) {
    if (in.good()) {
        const std::string_view ready = GetArea::of(*in.rdbuf());
        const std::size_t size = ready.find('\n');
        if (size != std::string_view::npos) {
            GetArea::take(*in.rdbuf(), size + 1);
            line = ready.substr(0, size);
            return true;
        }
    }
    const bool isRead = readLine(in, room);
    line = room;
    return isRead;
}

bool extractWord(std::istream& in, std::string& word) {
    word.clear();
    skipBlanks(in);
    if (!in.good()) {
        in.setstate(std::ios_base::failbit);
        return false;
    }
    std::streambuf& buffer = *in.rdbuf();
    const std::string_view ready = GetArea::of(buffer);
    std::size_t size = 0;
    while (size < ready.size() && !Ascii::isBlank(ready[size])) ++size;
    word = ready.substr(0, size);
    GetArea::take(buffer, size);
    if (size < ready.size()) return true;
    for (int next = buffer.sgetc();; next = buffer.snextc()) {
        if (next == kEnd) {
            in.setstate(std::ios_base::eofbit);
            return true;
        }
        if (Ascii::isBlank(static_cast<char>(next))) return true;
        word += static_cast<char>(next);
    }
}

template <typename T>
bool extract(std::istream& in, T& value) {
    if (in.good()) {
        skipBlanks(in);
        if (in.good() && refusePlain(in, value)) return false;
        if (in.good() && extractPlain(*in.rdbuf(), value)) return true;
    }
    return extractByStream(in, value);
}

template bool extract(std::istream&, int&);
template bool extract(std::istream&, unsigned int&);
template bool extract(std::istream&, long long&);
template bool extract(std::istream&, unsigned long long&);
template bool extract(std::istream&, float&);
template bool extract(std::istream&, double&);

bool readNumber(std::istream& in, Member::eDataType type, void* slot) {
    return readAs(type, slot, [&](auto& value) { return extract(in, value); });
}

const char* readPlainNumber(std::string_view text, Member::eDataType type, void* slot) {
    text.remove_prefix(std::min(text.find_first_not_of(Ascii::kBlanks), text.size()));
    const char* end = nullptr;
    const bool read = readAs(type, slot, [&](auto& value) {
        end = parsePlain(text, value);
        return end != nullptr;
    });
    return read ? end : nullptr;
}

bool readBoolean(std::string_view word, bool& value) {
    // Plain comparisons, which the compiler makes of a few instructions each.
    if (word == "true" || word == "1" || word == "t" || word == "T" || word == "True") {
        return value = true, true;
    }
    if (word == "false" || word == "0" || word == "f" || word == "F" || word == "False") {
        return value = false, true;
    }
    return false;
}

void write(std::ostream& out, std::string_view text) {
    if (!out.good()) return;
    const auto size = static_cast<std::streamsize>(text.size());
    if (out.rdbuf()->sputn(text.data(), size) != size) out.setstate(std::ios_base::badbit);
}

void write(std::ostream& out, Member::eDataType type, const void* slot) {
    visitMemberType(type, [&](auto memberType) {
        using T = typename decltype(memberType)::Scalar;
        if constexpr (std::is_same_v<T, bool>) {
            // Read as a byte, because another program may have stored neither 0 nor 1.
            write(out, *static_cast<const unsigned char*>(slot) != 0 ? "true" : "false");
        } else if constexpr (std::is_floating_point_v<T>) {
            writeFloating(out, *static_cast<const T*>(slot));
        } else if constexpr (std::is_integral_v<T>) {
            writeNumber(out, NumberFormat(out), *static_cast<const T*>(slot));
        }
    });
}

NumberFormat::NumberFormat(std::ios_base& stream)
    : isExact(stream.iword(exactNumbersSlot()) != 0),
      precision(static_cast<int>(stream.precision())) {
    constexpr auto kDecisive = std::ios_base::floatfield | std::ios_base::showpoint |
                               std::ios_base::showpos | std::ios_base::uppercase;
    const bool isPlain = (stream.flags() & kDecisive) == std::ios_base::fmtflags{};
    isUsual = isExact || (isPlain && stream.precision() >= 0 && stream.precision() <= kMostDigits);
}

char* put(char* to, const NumberFormat& format, float value) {
    return putFloating(to, format, value);
}

char* put(char* to, const NumberFormat& format, double value) {
    return putFloating(to, format, value);
}

void setExactNumbers(std::ios_base& stream, bool exact) {
    stream.iword(exactNumbersSlot()) = exact ? 1 : 0;
}

}  // namespace orbo::Data::ValueText
