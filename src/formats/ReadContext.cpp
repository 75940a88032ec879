// What a read is asked for beyond the arguments that a format's `read` has.
// SPDX-License-Identifier: Apache-2.0
#include "formats/ReadContext.h"

#include "formats/ContextSlot.h"

namespace orbo::Data {

const ReadContext& ReadContext::of(std::istream& in) {
    static const ReadContext usual;
    const void* const attached = in.pword(contextSlot<ReadContext>());
    return attached ? *static_cast<const ReadContext*>(attached) : usual;
}

void ReadContext::attachTo(std::istream& in) const {
    // The slot takes any pointer; `of` gives it back as a constant.
    in.pword(contextSlot<ReadContext>()) = const_cast<ReadContext*>(this);
}

}  // namespace orbo::Data
