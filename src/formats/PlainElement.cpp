// Data lines of elements as they are mostly written.
// SPDX-License-Identifier: Apache-2.0
#include "formats/PlainElement.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "core/Ascii.h"
#include "core/DataTypes.h"
#include "core/ValueText.h"

namespace orbo::Data {

namespace {

class PlainLine {
  public:
    explicit PlainLine(std::string_view line)
        : fNext(line.data()), fEnd(line.data() + line.size()) {}

    bool read(const Member& member, char* values) {
        const DataType& type = dataType(member.type());
        const auto numbers = static_cast<std::uint64_t>(type.numbers) * member.length();
        const std::size_t size = type.size / type.numbers;
        for (std::uint64_t i = 0; i < numbers; ++i, values += size) {
            skipBlanks();
            if (!readValue(member.type(), values)) return false;
        }
        return true;
    }
    bool atEnd() {
        skipBlanks();
        return fNext == fEnd;
    }

  private:
    void skipBlanks() {
        while (fNext != fEnd && Ascii::isBlank(*fNext)) ++fNext;
    }
    [[nodiscard]] std::string_view left() const {
        return {fNext, static_cast<std::size_t>(fEnd - fNext)};
    }

    bool readValue(Member::eDataType type, char* slot) {
        if (type == Member::kString) return readString(reinterpret_cast<char**>(slot));
        if (type == Member::kBoolean) return readBoolean(*reinterpret_cast<bool*>(slot));
        const char* const end = ValueText::readPlainNumber(left(), type, slot);
        if (end) fNext = end;
        return end != nullptr;
    }

    bool readBoolean(bool& value) {
        const char* const end = std::find_if(fNext, fEnd, Ascii::isBlank);
        const std::string_view word(fNext, static_cast<std::size_t>(end - fNext));
        fNext = end;
        return ValueText::readBoolean(word, value);
    }

    bool readString(char** slot) {
        if (fNext == fEnd || *fNext != '"') return false;
        ++fNext;
        const std::string_view text = left().substr(0, left().find('"'));
        if (text.size() == left().size()) return false;
        if (text.find_first_of(std::string_view("\\\0", 2)) != std::string_view::npos) return false;
        char* const copy = static_cast<char*>(std::malloc(text.size() + 1));
        if (!copy) return false;
        std::memcpy(copy, text.data(), text.size());
        copy[text.size()] = '\0';
        *slot = copy;
        fNext += text.size() + 1;
        return true;
    }

    const char* fNext;
    const char* fEnd;
};

}  // namespace

bool readPlainElement(const Layout& layout, std::string_view line, char* chunk) {
    PlainLine values(line);
    const bool read =
        std::all_of(layout.members().begin(), layout.members().end(), [&](const Member& member) {
            return storesData(member.type()) && values.read(member, chunk + member.offset());
        });
    if (read && values.atEnd()) return true;
    layout.reset(chunk);
    return false;
}

}  // namespace orbo::Data
