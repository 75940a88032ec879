// Every text is comma-separated values that read the same when they are written again, or an error
// says in which line it is not. A table that a stream takes is written, and taken again, the same.
// SPDX-License-Identifier: Apache-2.0
#include "values/Csv.h"

#include <data/Stream.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "Law.h"
#include "editing/CsvTable.h"
#include "process/CommandError.h"

namespace {

using namespace orbo;
using namespace orbo::Quilmeta;
using Fuzz::demand;

void demandSameAgain(const std::vector<CsvRecord>& records) {
    // The line in front keeps a byte order mark in the first field apart from one of the file.
    std::string text = "\n";
    for (const CsvRecord& record : records) {
        for (size_t i = 0; i < record.fields.size(); ++i) {
            if (i > 0) text += ',';
            const bool isNull = record.fields[i].empty() && !record.quoted[i];
            if (!isNull) appendCsv(text, record.fields[i]);
        }
        text += '\n';
    }
    const std::vector<CsvRecord> again = parseCsv(text);
    demand(again.size() == records.size(), "as many records", text);
    for (size_t i = 0; i < records.size(); ++i) {
        demand(again[i].fields == records[i].fields, "the same fields", text);
        for (size_t k = 0; k < records[i].fields.size(); ++k)
            demand(!records[i].fields[k].empty() || again[i].quoted[k] == records[i].quoted[k],
                   "null stays null", text);
    }
}

/// "line 3: ..." with a line that the text has.
void demandLine(const std::string& message, std::string_view text) {
    demand(message.substr(0, 5) == "line ", "an error begins with its line", text, message);
    const size_t line = std::strtoul(message.c_str() + 5, nullptr, 10);
    const auto lines = static_cast<size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
    demand(line >= 1 && line <= lines, "the line is in the text", text, message);
}

std::string tableOf(const Data::Stream& stream) {
    static const int file = ::memfd_create("table", 0);
    demand(file >= 0 && ::ftruncate(file, 0) == 0 && ::lseek(file, 0, SEEK_SET) == 0, "a file");
    Output output(file, "table");
    writeTable(stream, output);
    output.flush();
    std::string text(static_cast<size_t>(::lseek(file, 0, SEEK_CUR)), '\0');
    demand(::pread(file, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()), "read");
    return text;
}

/// One member of each kind, and two whose columns have one title.
Data::Stream streamOf(const char* indexType) {
    const RefPtr<Data::Structure> structure(new Data::Structure("S"));
    structure->addMember(Data::Member::kFloat, 2, "f");
    structure->addMember(Data::Member::kString, 1, "t");
    structure->addMember(Data::Member::kInt8, 1, "f[1]");
    structure->addMember(Data::Member::kBoolean, 1, "b");
    structure->addMember(Data::Member::kUInt64, 1, "u");
    Data::Stream stream(*structure, "s");
    stream.setIndexType(indexType);
    return stream;
}

void loadInto(const char* indexType, std::string_view text) {
    TableLoad how;
    how.create = true;
    Data::Stream stream = streamOf(indexType);
    try {
        loadTable(text, stream, how);
    } catch (const CommandError& error) {
        if (std::string_view(error.what()) != "the table has no header")
            demandLine(error.what(), text);
        return;
    }
    const std::string table = tableOf(stream);
    Data::Stream other = streamOf(indexType);
    loadTable(table, other, how);
    demand(tableOf(other) == table, "a table loads as it was written", table, tableOf(other));
    how.create = false;
    loadTable(table, stream, how);
    demand(tableOf(stream) == table, "a table changes nothing where it comes from", table);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = Fuzz::textOf(data, size);
    try {
        demandSameAgain(parseCsv(text));
    } catch (const CsvError& error) {
        demandLine(error.what(), text);
    }
    for (const char* type : {"numeric", "pair", "string"}) loadInto(type, text);
    return 0;
}
