// Typed access to one element of a stream, to read and to change it.
// SPDX-License-Identifier: Apache-2.0
#include <data/ElementHandle.h>

#include "core/HandleAccess.h"

namespace orbo::Data {

ElementHandle::operator Handle() const { return HandleAccess::handleOn(*this); }

}  // namespace orbo::Data
