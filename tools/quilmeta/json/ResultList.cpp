// The results of a command, which may come from many files.
// SPDX-License-Identifier: Apache-2.0
#include "json/ResultList.h"

#include <string>
#include <vector>

namespace orbo::Quilmeta {

ResultList::ResultList(Output& target, ResultFormat format) : fTarget(target), fFormat(format) {
    if (target.stopsOnSignals()) stopOnSignals();
}

// In a list each result has a comma ahead of it, since nobody knows which file has the first one.
void ResultList::begin(Output& output, ResultFormat format) {
    if (format == ResultFormat::kJson) output.write(",\n  ");
}

void ResultList::end(Output& output, ResultFormat format) {
    if (format != ResultFormat::kJson) output.write("\n");
}

void ResultList::add(Output& output, ResultFormat format, const JsonObject& result) {
    begin(output, format);
    output.write(result.text());
    end(output, format);
}

FailureReport ResultList::failures(ResultFormat format) {
    if (format == ResultFormat::kText) return {};
    return [format](const FileTurn& turn, const std::vector<std::string>& messages) {
        JsonObject result;
        add(turn.output, format, result.add("file", turn.file).addList("errors", messages));
    };
}

void ResultList::deliver(std::string_view bytes) {
    if (fFormat == ResultFormat::kJson && fEmpty) {
        fTarget.write("[");
        bytes.remove_prefix(1);
    }
    fEmpty = false;
    fTarget.write(bytes);
    fTarget.flush();
}

void ResultList::end() {
    flush();
    if (fFormat == ResultFormat::kJson) fTarget.write(fEmpty ? "[]\n" : "\n]\n");
}

}  // namespace orbo::Quilmeta
