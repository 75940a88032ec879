// Carries what a write is given beyond the arguments that a format's `write` has.
// SPDX-License-Identifier: Apache-2.0
#include "formats/WriteContext.h"

namespace orbo::Data {

namespace {

int slot() {
    static const int number = std::ios_base::xalloc();
    return number;
}

}  // namespace

WriteContext* WriteContext::of(std::ostream& out) {
    return static_cast<WriteContext*>(out.pword(slot()));
}

void WriteContext::attachTo(std::ostream& out) { out.pword(slot()) = this; }

}  // namespace orbo::Data
