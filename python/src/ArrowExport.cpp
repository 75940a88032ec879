// Streams as tables of Arrow.
// SPDX-License-Identifier: Apache-2.0
#include "ArrowExport.h"

#include <data/IndexPair.h>
#include <data/IndexString.h>
#include <data/MemberType.h>
#include <data/Structure.h>

#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "ArrowAbi.h"
#include "ArrowNames.h"
#include "ArrowTree.h"
#include "Elements.h"
#include "Problems.h"
#include "Text.h"
#include "core/Layout.h"
#include "streams/StreamAccess.h"
#include "streams/StreamImpl.h"
#include "values/Utf8.h"

namespace orbo::Python {

namespace {

using Data::Index;
using Data::Member;
using Data::Structure;

constexpr std::int64_t kMatrixSide = 4;

template <typename T>
constexpr const char* formatOf() {
    if constexpr (std::is_same_v<T, bool>) return "b";
    if constexpr (std::is_same_v<T, float>) return "f";
    if constexpr (std::is_same_v<T, double>) return "g";
    if constexpr (std::is_same_v<T, signed char>) return "c";
    if constexpr (std::is_same_v<T, short>) return "s";
    if constexpr (std::is_same_v<T, int>) return "i";
    if constexpr (std::is_same_v<T, long long>) return "l";
    if constexpr (std::is_same_v<T, unsigned char>) return "C";
    if constexpr (std::is_same_v<T, unsigned short>) return "S";
    if constexpr (std::is_same_v<T, unsigned int>) return "I";
    if constexpr (std::is_same_v<T, unsigned long long>) return "L";
    return "u";
}

constexpr const char* kText = "u";
constexpr const char* kLongText = "U";
constexpr const char* kLongBytes = "Z";

bool isText(std::string_view bytes) {
    for (const char byte : bytes)
        if (static_cast<signed char>(byte) < 0) return Quilmeta::isUtf8(bytes);
    return true;
}

/// Takes the values of one column, element by element.
class ColumnMaker {
  public:
    virtual ~ColumnMaker() = default;
    virtual void add(const char* values) = 0;
    /// The innermost values, whatever lists they are in, and the letter of their type.
    virtual ArrowValues finish() = 0;
    [[nodiscard]] virtual const char* format() const = 0;
    [[nodiscard]] virtual bool isNullable() const { return false; }
};

template <typename T>
class NumberMaker final : public ColumnMaker {
  public:
    NumberMaker(std::size_t elements, std::size_t scalars)
        : fBytesOfElement(scalars * sizeof(T)), fBytes(elements * fBytesOfElement) {}
    void add(const char* values) override {
        std::memcpy(fBytes.data() + fUsed, values, fBytesOfElement);
        fUsed += fBytesOfElement;
    }
    ArrowValues finish() override {
        ArrowValues values;
        values.length = static_cast<std::int64_t>(fUsed / sizeof(T));
        values.buffers = {{}, std::move(fBytes)};
        return values;
    }
    [[nodiscard]] const char* format() const override { return formatOf<T>(); }

  private:
    std::size_t fBytesOfElement;
    std::vector<char> fBytes;
    std::size_t fUsed = 0;
};

/// A bit for each value, from the lowest of each byte on.
class Bits {
  public:
    explicit Bits(std::size_t count) : fBytes((count + 7) / 8) {}
    void add(bool isSet) {
        if (isSet) fBytes[fCount / 8] = static_cast<char>(fBytes[fCount / 8] | 1 << fCount % 8);
        ++fCount;
    }
    [[nodiscard]] std::size_t count() const { return fCount; }
    std::vector<char> take() { return std::move(fBytes); }

  private:
    std::vector<char> fBytes;
    std::size_t fCount = 0;
};

class TruthMaker final : public ColumnMaker {
  public:
    TruthMaker(std::size_t elements, std::size_t scalars)
        : fScalars(scalars), fBits(elements * scalars) {}
    void add(const char* values) override {
        for (std::size_t k = 0; k < fScalars; ++k) fBits.add(values[k] != 0);
    }
    ArrowValues finish() override {
        ArrowValues values;
        values.length = static_cast<std::int64_t>(fBits.count());
        values.buffers = {{}, fBits.take()};
        return values;
    }
    [[nodiscard]] const char* format() const override { return formatOf<bool>(); }

  private:
    std::size_t fScalars;
    Bits fBits;
};

template <typename Offset>
std::vector<char> bytesOf(const std::vector<std::uint64_t>& offsets) {
    std::vector<char> bytes(offsets.size() * sizeof(Offset));
    char* next = bytes.data();
    for (const std::uint64_t offset : offsets) {
        const auto narrow = static_cast<Offset>(offset);
        std::memcpy(next, &narrow, sizeof narrow);
        next += sizeof narrow;
    }
    return bytes;
}

/// Texts side by side, and where each ends.
class TextMaker final : public ColumnMaker {
  public:
    TextMaker(std::size_t elements, std::size_t scalars)
        : fScalars(scalars), fValid(elements * scalars) {
        fEnds.reserve(elements * scalars + 1);
    }
    void add(const char* values) override {
        for (std::size_t k = 0; k < fScalars; ++k) {
            const char* text = nullptr;
            std::memcpy(&text, values + k * sizeof text, sizeof text);
            fValid.add(text != nullptr);
            if (text)
                addText(text);
            else
                ++fNulls, fEnds.push_back(fText.size());
        }
    }
    void addText(std::string_view text) {
        fIsText = fIsText && isText(text);
        fText.insert(fText.end(), text.begin(), text.end());
        fEnds.push_back(fText.size());
    }
    ArrowValues finish() override {
        ArrowValues values;
        values.length = static_cast<std::int64_t>(fEnds.size() - 1);
        values.nulls = fNulls;
        std::vector<char> valid;
        if (fNulls > 0) valid = fValid.take();
        auto ends = format() == kText ? bytesOf<std::int32_t>(fEnds) : bytesOf<std::int64_t>(fEnds);
        // There are consumers that want a buffer even where it has no bytes.
        if (fText.empty()) fText.resize(1);
        values.buffers = {std::move(valid), std::move(ends), std::move(fText)};
        return values;
    }
    [[nodiscard]] const char* format() const override {
        if (!fIsText) return kLongBytes;
        return fEnds.back() <= std::numeric_limits<std::int32_t>::max() ? kText : kLongText;
    }
    [[nodiscard]] bool isNullable() const override { return true; }

  private:
    std::size_t fScalars;
    Bits fValid;
    std::int64_t fNulls = 0;
    std::vector<char> fText;
    std::vector<std::uint64_t> fEnds = {0};
    bool fIsText = true;
};

using Maker = std::unique_ptr<ColumnMaker>;

std::int64_t scalarsOf(const Member& member) {
    int ofValue = 1;
    Data::visitMemberType(member.type(), [&](auto type) {
        ofValue = type.kScalars;
        return true;
    });
    return std::int64_t{member.length()} * ofValue;
}

Maker makerFor(const Member& member, std::size_t elements) {
    const auto scalars = static_cast<std::size_t>(scalarsOf(member));
    return Data::visitMemberType(member.type(), [&](auto type) -> Maker {
        using T = typename decltype(type)::Scalar;
        if constexpr (std::is_same_v<T, bool>)
            return std::make_unique<TruthMaker>(elements, scalars);
        else if constexpr (std::is_same_v<T, char*>)
            return std::make_unique<TextMaker>(elements, scalars);
        else
            return std::make_unique<NumberMaker<T>>(elements, scalars);
    });
}

/// The sizes of the lists that a member's values are in, from outside.
std::vector<std::int64_t> listsOf(const Member& member) {
    std::vector<std::int64_t> sizes;
    if (member.length() > 1) sizes.push_back(member.length());
    if (scalarsOf(member) > member.length()) sizes.insert(sizes.end(), 2, kMatrixSide);
    return sizes;
}

ArrowType typeOf(const Structure& structure, const Member& member, const char* format,
                 bool isNullable) {
    ArrowType type{format, "item", isNullable, {}, {}};
    const auto sizes = listsOf(member);
    for (auto size = sizes.rbegin(); size != sizes.rend(); ++size)
        type = {"+w:" + std::to_string(*size), "item", false, {}, {std::move(type)}};
    type.name = member.name();
    if (isText(type.name)) return type;
    type.metadata.emplace_back(ArrowKey::kName, escapedName(member.name()));
    type.name = visibleName(member.name());
    while (structure.member(type.name)) type.name += '_';
    return type;
}

ArrowValues inLists(const Member& member, ArrowValues values) {
    const auto sizes = listsOf(member);
    for (auto size = sizes.rbegin(); size != sizes.rend(); ++size) {
        ArrowValues list;
        list.length = values.length / *size;
        list.buffers = {{}};
        list.children.push_back(std::move(values));
        values = std::move(list);
    }
    return values;
}

/// Takes indices: numbers in one column or two, or texts.
class IndexMaker {
  public:
    IndexMaker(const Data::Stream& stream, std::vector<std::string> names, std::size_t elements)
        : fType(stream.indexType()),
          fNames(std::move(names)),
          fFirst(elements, 1),
          fSecond(isPair() ? elements : 0, 1),
          fTexts(isNumber() || isPair() ? 0 : elements, 1) {}

    void add(unsigned int number) { fFirst.add(reinterpret_cast<const char*>(&number)); }
    void add(const Index& index) {
        if (const auto* typed = index.complexIndex()) return add(*typed);
        add(index.index());
    }
    void finish(ArrowType& table, ArrowValues& values) {
        const auto put = [&](ColumnMaker& maker, const char* number) {
            const std::string& name = fNames[values.children.size()];
            table.children.push_back(
                {maker.format(), name, false, {{ArrowKey::kIndex, number}}, {}});
            values.children.push_back(maker.finish());
        };
        put(isNumber() || isPair() ? static_cast<ColumnMaker&>(fFirst) : fTexts, "0");
        if (isPair()) put(fSecond, "1");
        table.metadata.emplace_back(ArrowKey::kIndexType, escapedName(fType));
    }

  private:
    void add(const Data::IndexType& typed) {
        const auto* const pair = dynamic_cast<const Data::IndexPair*>(&typed);
        if (const auto* const text = dynamic_cast<const Data::IndexString*>(&typed))
            return fTexts.addText(text->indexString());
        if (!pair || !isPair()) return fTexts.addText(typed.asString());
        unsigned int first = 0;
        unsigned int second = 0;
        pair->getIndexPair(first, second);
        add(first);
        fSecond.add(reinterpret_cast<const char*>(&second));
    }
    [[nodiscard]] bool isNumber() const { return fType == "numeric"; }
    [[nodiscard]] bool isPair() const { return fType == "pair"; }

    std::string fType;
    std::vector<std::string> fNames;
    NumberMaker<unsigned int> fFirst;
    NumberMaker<unsigned int> fSecond;
    TextMaker fTexts;
};

/// A column, and where its values lie in each element.
struct Column {
    const Member& member;
    std::uint64_t offset;
    Maker maker;
};

class TableMaker final : public Data::ElementVisitor {
  public:
    TableMaker(const StreamState& state, std::vector<std::string> indexNames, std::size_t elements)
        : fState(state),
          fElements(elements),
          fIndices(state.stream(), std::move(indexNames), elements) {
        const Data::Layout& layout = Data::StreamAccess::layoutOf(state.stream());
        for (const Member& member : state.stream().structure()) {
            const std::uint64_t offset = layout.runs()[layout.indexOf(member.name())].offset;
            fColumns.push_back({member, offset, makerFor(member, elements)});
        }
    }

    void visit(unsigned int number, char* chunk) override {
        fIndices.add(number);
        addAll(chunk);
    }
    void visit(const Index& index, char* chunk) override {
        fIndices.add(index);
        addAll(chunk);
    }
    void add(const Index& index) {
        fIndices.add(index);
        for (Column& column : fColumns) column.maker->add(valuesIn(fState, index, column.member));
    }

    void finish(ArrowType& table, ArrowValues& values) {
        const Structure& structure = fState.stream().structure();
        table.format = "+s";
        values.length = static_cast<std::int64_t>(fElements);
        values.buffers = {{}};
        fIndices.finish(table, values);
        table.metadata.emplace_back(ArrowKey::kStream, escapedName(fState.stream().name()));
        table.metadata.emplace_back(ArrowKey::kStructure, escapedName(structure.name()));
        for (Column& column : fColumns) {
            const ColumnMaker& maker = *column.maker;
            table.children.push_back(
                typeOf(structure, column.member, maker.format(), maker.isNullable()));
            values.children.push_back(inLists(column.member, column.maker->finish()));
        }
    }

  private:
    void addAll(const char* chunk) {
        if (!chunk && !fColumns.empty())
            raise("QuilError", fState.description() + " has elements without data");
        for (Column& column : fColumns) column.maker->add(chunk + column.offset);
    }

    const StreamState& fState;
    std::size_t fElements;
    IndexMaker fIndices;
    std::vector<Column> fColumns;
};

struct Table {
    ArrowType type;
    ArrowValues values;
};

/// The names of the columns with indices, which runs Python code.
std::vector<std::string> indexNamesOf(const StreamState& state) {
    state.demandPresent();
    nb::list members;
    for (const Member& member : state.stream().structure()) members.append(textOf(member.name()));
    const nb::object names =
        nb::module_::import_("quilmeta._frames")
            .attr("index_names")(members, state.stream().indexType() == "pair");
    std::vector<std::string> found;
    for (nb::handle name : names) found.push_back(nameOf(name, "a name"));
    return found;
}

Table tableOf(const StreamState& state, const Rows& rows) {
    std::vector<std::string> indexNames = indexNamesOf(state);
    state.demandPresent();
    TableMaker maker(state, std::move(indexNames), rows.count(state));
    if (rows.list())
        for (const Index& index : *rows.list()) maker.add(index);
    else
        Data::StreamAccess::visitElements(state.stream(), maker);
    Table table;
    maker.finish(table.type, table.values);
    return table;
}

}  // namespace

nb::object arrowStreamOf(const StreamState& stream, const Rows& rows) {
    Table table = tableOf(stream, rows);
    return streamCapsule(std::move(table.type), std::move(table.values));
}

nb::object arrowSchemaOf(const StreamState& stream, const Rows& rows) {
    return schemaCapsule(tableOf(stream, rows).type);
}

nb::object arrowSchemaOf(const Structure& structure) {
    ArrowType table{"+s", "", false, {{ArrowKey::kStructure, escapedName(structure.name())}}, {}};
    for (const Member& member : structure) {
        const Maker maker = makerFor(member, 0);
        table.children.push_back(typeOf(structure, member, maker->format(), maker->isNullable()));
    }
    return schemaCapsule(table);
}

}  // namespace orbo::Python
