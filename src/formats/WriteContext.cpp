// Carries what a write is given beyond the arguments that a format's `write` has.
// SPDX-License-Identifier: Apache-2.0
#include "formats/WriteContext.h"

#include "formats/ContextSlot.h"

namespace orbo::Data {

WriteContext* WriteContext::of(std::ostream& out) {
    return static_cast<WriteContext*>(out.pword(contextSlot<WriteContext>()));
}

void WriteContext::attachTo(std::ostream& out) { out.pword(contextSlot<WriteContext>()) = this; }

}  // namespace orbo::Data
