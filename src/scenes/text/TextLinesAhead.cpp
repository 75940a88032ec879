// The lines of a text scene directly in front of a statement or of the trailer.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/text/TextLinesAhead.h"

namespace orbo::Data {

namespace {

bool isGuard(const Files::LineDescriptor& line, std::string_view guard) {
    guard.remove_suffix(1);
    return line.head() == guard;
}

}  // namespace

// Of several closing guards only the last one is ours: a later write takes away exactly that.
void TextLinesAhead::add(const Files::LineDescriptor& line) {
    if (fComplete) return;
    if (fGuard == Guard::kClosing && fAtGuards && isGuard(line, kClosingGuard)) return;
    if (fGuard == Guard::kNone && fAtGuards) {
        if (isGuard(line, kClosingGuard)) fGuard = Guard::kClosing;
        if (isGuard(line, kMutingGuard)) fGuard = Guard::kMuting;
        if (fGuard != Guard::kNone) {
            fBegin = line.begin;
            return;
        }
    }
    fAtGuards = false;
    if (line.blank) return;
    fClosed = line.closed;
    fComplete = true;
}

}  // namespace orbo::Data
