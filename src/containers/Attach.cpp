// How an object of the host application carries metadata.
// SPDX-License-Identifier: Apache-2.0
#include <data/Attach.h>

namespace orbo::Data {

Attach::~Attach() = default;

}  // namespace orbo::Data
