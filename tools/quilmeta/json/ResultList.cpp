// How a command prints its results: for people, or as JSON.
// SPDX-License-Identifier: Apache-2.0
#include "json/ResultList.h"

namespace orbo::Quilmeta {

ResultList::ResultList(Output& target, ResultFormat format) : fTarget(target), fFormat(format) {
    if (target.stopsOnSignals()) stopOnSignals();
}

// In a list each result has a comma ahead of it, since nobody knows which file has the first one.
void ResultList::add(Output& output, ResultFormat format, const JsonObject& result) {
    const bool isList = format == ResultFormat::kJson;
    output.write(isList ? ",\n  " : "");
    output.write(result.text());
    output.write(isList ? "" : "\n");
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
