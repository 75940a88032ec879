// The elements of a stream as comma-separated values, for spreadsheets.
// SPDX-License-Identifier: Apache-2.0
#include "editing/CsvTable.h"

#include "process/CommandError.h"
#include "scene/Address.h"
#include "values/ClosestName.h"
#include "values/Csv.h"
#include "values/NumberText.h"
#include "values/ParseValue.h"
#include "values/SafeText.h"
#include "values/ValueType.h"
#include "values/Wording.h"

#include <data/Structure.h>
#include <fmt/format.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <limits>
#include <map>
#include <new>
#include <optional>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

namespace {

constexpr const char* kIndexTitle = "index";

/// One column of values.
struct Column {
    std::string title;
    const Data::Member* member;
    unsigned int position;  // of the member in the structure
    size_t part;            // which of the member's numbers or texts
};

std::vector<Column> columnsOf(const Data::Structure& structure) {
    // A structure may claim any length; no spreadsheet takes so many columns.
    constexpr size_t kMost = 1 << 20;
    std::vector<Column> columns;
    for (auto member = structure.begin(); member.valid(); ++member) {
        const size_t parts = partsOf(*member);
        if (parts > kMost - columns.size())
            throw CommandError(
                fmt::format("structure {} has too many values for a table: more than {}",
                            inQuotes(structure.name()), kMost));
        for (size_t part = 0; part < parts; ++part)
            columns.push_back(
                {parts == 1 ? member->name() : fmt::format("{}[{}]", member->name(), part),
                 &*member, member.index(), part});
    }
    return columns;
}

template <typename Part>
void appendField(std::string& line, const Part& part) {
    if constexpr (std::is_same_v<Part, Text>) {
        if (part) appendCsv(line, part);
    } else if constexpr (std::is_same_v<Part, bool>) {
        line += part ? "true" : "false";
    } else {
        appendNumber(line, part);
    }
}

template <typename Part>
Parsed parseField(const std::string& field, Part& slot) {
    if constexpr (std::is_same_v<Part, Text>) {
        if (field.find('\0') != field.npos) return Parsed::kMalformed;
        char* copy = static_cast<char*>(std::malloc(field.size() + 1));
        if (!copy) throw std::bad_alloc();
        std::memcpy(copy, field.c_str(), field.size() + 1);
        std::free(slot);
        slot = copy;
        return Parsed::kGood;
    } else {
        if constexpr (std::is_floating_point_v<Part>) {
            constexpr Part kInfinity = std::numeric_limits<Part>::infinity();
            if (field == "NaN") return slot = std::numeric_limits<Part>::quiet_NaN(), Parsed::kGood;
            if (field == "Infinity") return slot = kInfinity, Parsed::kGood;
            if (field == "-Infinity") return slot = -kInfinity, Parsed::kGood;
        }
        return parseValue(field, slot);
    }
}

/// Reads a table into a stream.
class Loader {
  public:
    Loader(Data::Stream& stream, const TableLoad& how)
        : fStream(stream), fHow(how), fColumns(columnsOf(stream.structure())) {}

    TableCounts load(const std::vector<CsvRecord>& records) {
        if (records.empty()) throw CommandError("the table has no header");
        readHeader(records.front());
        demandNoProblems();
        for (size_t i = 1; i < records.size(); ++i) loadRow(records[i]);
        demandNoProblems();
        return {records.size() - 1, fHow.replace ? removeOthers() : 0};
    }

  private:
    void readHeader(const CsvRecord& header) {
        // A member may have the name of another's value, as in "a[0]": titles come in this order.
        std::map<std::string, std::deque<const Column*>> free;
        for (const Column& column : fColumns) free[column.title].push_back(&column);
        for (size_t i = 0; i < header.fields.size(); ++i) {
            fFields.push_back(nullptr);
            const std::string& title = header.fields[i];
            if (!fIndexField && title == kIndexTitle) {
                fIndexField = i;
                continue;
            }
            const auto columns = free.find(title);
            if (columns == free.end()) {
                problem(header, fmt::format("there is no column {}{}", inQuotes(title),
                                            didYouMean(title, titles())));
            } else if (columns->second.empty()) {
                problem(header, fmt::format("column {} is there twice", inQuotes(title)));
            } else {
                fFields.back() = columns->second.front();
                columns->second.pop_front();
            }
        }
        if (!fIndexField)
            problem(header, std::string("the column \"index\" is missing") +
                                (isSeparatedOtherwise(header) ? "; only commas separate" : ""));
    }

    /// Some spreadsheets write semicolons or tabs.
    static bool isSeparatedOtherwise(const CsvRecord& header) {
        return header.fields.size() == 1 &&
               header.fields[0].find_first_of(";\t") != std::string::npos;
    }

    [[nodiscard]] std::vector<std::string> titles() const {
        std::vector<std::string> result;
        for (const Column& column : fColumns) result.push_back(column.title);
        return result;
    }

    void loadRow(const CsvRecord& row) {
        if (row.fields.size() != fFields.size())
            return problem(row, fmt::format("has {} instead of {}",
                                            counted(row.fields.size(), "field"), fFields.size()));
        const std::string& text = row.fields[*fIndexField];
        try {
            const Data::Index index = indexOf(fStream, text);
            if (const auto first = fLines.emplace(index.asString(), row.line); !first.second)
                return problem(row, fmt::format("index {} is in line {} already", inQuotes(text),
                                                first.first->second));
            Data::Handle element = draftOf(row, index);
            if (!element.hasData()) return;
            for (size_t i = 0; i < fFields.size(); ++i)
                if (fFields[i]) store(row, i, element);
            if (!fStream.setElement(index, element)) throw std::bad_alloc();
        } catch (const CommandError& error) {
            problem(row, error.what());
        }
    }

    /// A copy of the element or a new one; without data after a problem.
    Data::Handle draftOf(const CsvRecord& row, const Data::Index& index) {
        Data::Handle draft = fStream.element(index);
        if (draft.hasData()) {
            if (!draft.makeUnique()) throw std::bad_alloc();
            return draft;
        }
        if (!fHow.create) {
            problem(row, fmt::format("the stream has no index {}; --create makes the element",
                                     inQuotes(index.asString())));
            return {};
        }
        return Data::Handle(fStream.structure());
    }

    void store(const CsvRecord& row, size_t i, Data::Handle& element) {
        const Column& column = *fFields[i];
        const std::string& field = row.fields[i];
        element.setPositionByMemberIndex(column.position);
        Data::visitMemberType(column.member->type(), [&](auto type) {
            using Part = typename decltype(type)::Scalar;
            Part& slot = static_cast<Part*>(element.asType(column.member->type()))[column.part];
            if (field.empty() && !row.quoted[i]) {
                if constexpr (std::is_same_v<Part, Text>) {
                    std::free(slot);
                    slot = nullptr;
                } else {
                    problem(row, fmt::format("column {} is empty", inQuotes(column.title)));
                }
                return;
            }
            const Parsed parsed = parseField(field, slot);
            if (parsed == Parsed::kGood) return;
            problem(row, fmt::format(
                             "column {}: {} is {} {}", inQuotes(column.title), inQuotes(field),
                             parsed == Parsed::kMalformed ? "no value of type" : "out of range for",
                             Data::Member::typeName(column.member->type())));
        });
    }

    size_t removeOthers() {
        std::vector<Data::Index> others;
        for (auto element = fStream.cbegin(); element.valid(); ++element)
            if (fLines.count(element.index().asString()) == 0) others.push_back(element.index());
        for (const Data::Index& index : others) fStream.removeElement(index);
        return others.size();
    }

    void problem(const CsvRecord& row, const std::string& text) {
        constexpr size_t kMost = 20;
        if (++fProblemCount <= kMost) fProblems += fmt::format("line {}: {}\n", row.line, text);
    }

    void demandNoProblems() const {
        constexpr size_t kMost = 20;
        if (fProblemCount == 0) return;
        throw CommandError(
            fProblems +
            (fProblemCount > kMost ? fmt::format("and {} more\n", fProblemCount - kMost) : "") +
            "nothing was written");
    }

    Data::Stream& fStream;
    TableLoad fHow;
    std::vector<Column> fColumns;
    std::vector<const Column*> fFields;  // of the table, null for the index
    std::optional<size_t> fIndexField;
    std::map<std::string, size_t> fLines;  // of the indices in the table
    std::string fProblems;
    size_t fProblemCount = 0;
};

}  // namespace

void writeTable(const Data::Stream& stream, Output& output) {
    const std::vector<Column> columns = columnsOf(stream.structure());
    std::string line = kIndexTitle;
    for (const Column& column : columns) appendCsv(line += ',', column.title);
    output.write(line += '\n');
    for (Data::StreamIterator element = stream.cbegin(); element.valid(); ++element) {
        line.clear();
        appendCsv(line, element.index().asString());
        Data::Handle& handle = *element;
        for (const Column& column : columns) {
            line += ',';
            if (!handle.hasData()) continue;
            handle.setPositionByMemberIndex(column.position);
            withParts(handle, *column.member,
                      [&](const auto* parts) { appendField(line, parts[column.part]); });
        }
        output.write(line += '\n');
    }
}

TableCounts loadTable(std::string_view text, Data::Stream& stream, const TableLoad& how) {
    std::vector<CsvRecord> records;
    try {
        records = parseCsv(text);
    } catch (const CsvError& error) {
        throw CommandError(error.what());
    }
    return Loader(stream, how).load(records);
}

}  // namespace orbo::Quilmeta
