// The text format of structures, as in "name=Tag:int32=ID:float[3]=Origin".
// SPDX-License-Identifier: Apache-2.0
#include <data/StructureSerializerRaw.h>

#include "core/Ascii.h"
#include "core/Excerpt.h"
#include "core/GetArea.h"
#include "core/Layout.h"
#include "core/LongText.h"
#include "core/ValueText.h"
#include "debug/NeverDestroyed.h"
#include "formats/RawMessages.h"
#include "formats/ReadContext.h"

#include <data/Structure.h>

#include <algorithm>
#include <charconv>
#include <istream>
#include <memory>
#include <streambuf>
#include <string>
#include <string_view>

namespace orbo::Data {

namespace {

constexpr auto kPassedOver = ReaderRemarks::Kind::kPassedOver;

constexpr const char* kDescriptionHead = R"(
The raw format consists of a series of colon or
newline separated fields. The first field  must
be the name field,  indicating  the name of the
structure:
    name=NAME
After that  is one  or more  member fields, one
for each member of the structure:
    TYPE[DIM]=TYPENAME
TYPE is one  of the valid  data structure types
taken from orbo::Data::Structure:)";

constexpr const char* kDescriptionTail = R"(
[DIM] is an optional suffix denoting the length
of the data  member  type with a  default of 1.
e.g. a float[3] is a data  member consisting of
3 float values.
TYPENAME is the unique string defining the name
of each member type. It is an error to have the
same 'TYPENAME' more than once in a structure.
Any extra newlines/whitespace will be ignored.
Member names and the  structure  name may only
have  internal  whitespace.  (e.g. the  member
name 'My Height' is  legal but neither of  the
names ' My Height' or 'My Height ' are)
Either  newlines  or  colons  may  be  used to
separate  member  definitions. These two forms
both represent the same structure:
    name=My Structure:int32=ID:float[3]=Origin
and
    name=My Structure
    int32=ID
    float[3]=Origin)";

/// Owns a structure that nobody refers to yet.
struct Unreferenced {
    void operator()(Structure* structure) const {
        structure->ref();
        structure->unref();
    }
};
using FreshStructure = std::unique_ptr<Structure, Unreferenced>;

/// Returns 0 for everything that is not a number of values; the member is then left out.
unsigned int parseDimension(std::string_view text) {
    text = Ascii::trim(text);
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    unsigned int dimension = 0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), dimension);
    return parsed.ec == std::errc() ? dimension : 0;
}

Member::eDataType parseType(const std::string& text) {
    const Member::eDataType type = Member::typeFromName(text.c_str());
    return text == Member::typeName(type) ? type : Member::kInvalid;
}

/// Reads one structure field by field; after a bad field it continues with the next.
class Parser {
  public:
    Parser(std::string_view equals, std::string_view nameKey, ReaderRemarks* remarks)
        : fEquals(equals.front()),
          fNameKey(nameKey),
          fRemarks(remarks),
          fStructure(Structure::create()) {}

    /// The field is followed by a NUL. It is changed, so that its names need not be copied.
    void parseField(std::string_view field) {
        std::string_view left;
        std::string_view right;
        if (!splitInTwo(field, left, right)) {
            record(std::string("Member type and name must be separated by '") + fEquals + "'");
        } else if (right.find('\0') != std::string_view::npos) {
            record("Names cannot hold a zero byte");  // the names would end there
        } else if (left == fNameKey) {
            fStructure->setName(terminated(right));
            fNameSeen = true;
        } else {
            parseMember(left, terminated(right));
        }
    }

    /// Returns null when there is any message; appends the messages to `errors`.
    Structure* finish(std::string& errors) {
        if (!fNameSeen) {
            record("Name is missing; member type '" + std::string(fNameKey) +
                   "' is used to set it");
        }
        errors += fMessages;
        return fMessages.empty() ? fStructure.release() : nullptr;
    }

  private:
    static const char* terminated(std::string_view part) {
        if (part.empty()) return "";
        const_cast<char*>(part.data())[part.size()] = '\0';
        return part.data();
    }

    /// Returns false unless there are exactly two parts; an empty part behind a last "=" does not
    /// count.
    bool splitInTwo(std::string_view field, std::string_view& left, std::string_view& right) const {
        if (field.back() == fEquals) field.remove_suffix(1);
        const std::size_t equals = field.find(fEquals);
        if (equals == std::string_view::npos) return false;
        if (field.find(fEquals, equals + 1) != std::string_view::npos) return false;
        left = Ascii::trim(field.substr(0, equals));
        right = Ascii::trim(field.substr(equals + 1));
        return true;
    }

    /// Parses the type, and the dimension in brackets behind it.
    void parseMember(std::string_view left, const char* name) {
        const std::size_t open = left.find('[');
        const std::size_t close = left.rfind(']');
        const bool opens = open != std::string_view::npos;
        const bool closes = close != std::string_view::npos;
        unsigned int dimension = 1;
        // The last two messages name the wrong bracket; users know them by these words.
        if (open == 0) return recordMember(left, "needs name before dimension specifier");
        if (closes && !opens) {
            return recordMember(left,
                                "has opening bracket '[' but no closing bracket ']' for dimension "
                                "specification");
        }
        if (opens && !closes) {
            return recordMember(left,
                                "has closing bracket ']' but no opening bracket '[' for dimension "
                                "specification");
        }
        if (opens) dimension = close > open ? parseDimension(between(left, open, close)) : 0;
        addMember(std::string(left.substr(0, open)), dimension, name);
    }

    static std::string_view between(std::string_view text, std::size_t open, std::size_t close) {
        return text.substr(open + 1, close - open - 1);
    }

    void addMember(const std::string& typeName, unsigned int dimension, const char* name) {
        const Member::eDataType type = parseType(typeName);
        if (type == Member::kInvalid) {
            record("Member type " + inQuotes(typeName) + " not recognized");
        } else {
            // A repeated name or a dimension of 0 is not an error: files rely on that.
            const bool added = fStructure->addMember(type, dimension, name);
            if (!added && fRemarks) {
                fRemarks->add(kPassedOver,
                              "A member without values, or of a name that is taken, is left out",
                              inQuotes(name));
            }
        }
    }

    void recordMember(std::string_view left, const char* problem) {
        record("Member " + inQuotes(left) + " " + problem);
    }

    void record(const std::string& message) {
        if (fMessages.size() >= kMostMessageBytes) return;
        if (!fMessages.empty()) fMessages += '\n';
        fMessages += message;
    }

    char fEquals;
    std::string_view fNameKey;
    ReaderRemarks* fRemarks;  // null when no remarks are wanted
    FreshStructure fStructure;
    bool fNameSeen = false;
    std::string fMessages;
};

using Traits = std::char_traits<char>;

bool isAtEnd(std::streambuf& buffer) { return Traits::eq_int_type(buffer.sgetc(), Traits::eof()); }

char peek(std::streambuf& buffer) { return Traits::to_char_type(buffer.sgetc()); }

/// Takes the text up to the next separator, and the separator. Returns true for the last field,
/// which includes the blanks at the end of the text.
bool takeField(std::streambuf& buffer, std::string_view separators, LongText& field) {
    field.clear();
    while (!isAtEnd(buffer)) {
        const std::string_view ready = GetArea::of(buffer);
        const std::size_t size = std::min(ready.find_first_of(separators), ready.size());
        field.append(ready.substr(0, size));
        GetArea::take(buffer, size);
        if (size != 0 && size == ready.size()) continue;
        // Handles buffers that give single characters only, too.
        const char next = Traits::to_char_type(buffer.sbumpc());
        if (separators.find(next) != std::string_view::npos) {
            if (next != '\n') return false;
            while (!isAtEnd(buffer) && Ascii::isBlank(peek(buffer))) buffer.sbumpc();
            return isAtEnd(buffer);
        }
        field.append(next);
    }
    return true;
}

}  // namespace

StructureSerializerRaw::StructureSerializerRaw() { setDefaultFormat(this); }

StructureSerializerRaw::~StructureSerializerRaw() = default;

const StructureSerializerRaw& StructureSerializerRaw::theFormat() {
    return neverDestroyed<StructureSerializerRaw>(
        [](void* place) { return new (place) StructureSerializerRaw; });
}

const char* StructureSerializerRaw::formatType() const { return keyword(kRaw); }

Structure* StructureSerializerRaw::read(std::istream& in, std::string& errors) const {
    const std::string separators = std::string(keyword(kSeparator)) + '\n';
    Parser parser(keyword(kEquals), keyword(kStructureName),
                  ReadContext::of(in).listenerFor(kPassedOver));
    LongText field;
    int fields = 0;
    while (in.rdbuf() && !isAtEnd(*in.rdbuf())) {
        const bool isLast = takeField(*in.rdbuf(), separators, field);
        if (Ascii::trim(field.view()).empty()) continue;
        field.terminate();
        parser.parseField(isLast ? Ascii::trimRight(field.view()) : field.view());
        ++fields;
    }
    if (fields < 2) {
        errors += "Structures must have a name and at least one member";
        return nullptr;
    }
    return parser.finish(errors);
}

int StructureSerializerRaw::write(const Structure& structure, std::ostream& out) const {
    std::string text = std::string(keyword(kStructureName)) + keyword(kEquals) + structure.name();
    // Don't use iterators here: they would delete a structure that nobody refers to yet.
    for (const Member& member : Layout::of(structure).members()) {
        text += keyword(kSeparator);
        text += Member::typeName(member.type());
        if (member.length() != 1) text += "[" + std::to_string(member.length()) + "]";
        text += keyword(kEquals);
        text += member.name();
    }
    ValueText::write(out, text);
    return 0;
}

void StructureSerializerRaw::getFormatDescription(std::ostream& out) const {
    std::string text = kDescriptionHead;
    for (int type = 0; type < Member::kInvalid; ++type) {
        text += type == 0 ? "\n    (" : ", ";
        text += Member::typeName(static_cast<Member::eDataType>(type));
    }
    ValueText::write(out, text + ")\n\n" + kDescriptionTail);
}

}  // namespace orbo::Data
