// The accessor for text scenes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SceneAccessor.h>

#include "scenes/text/TextKind.h"

namespace orbo::Data {

class QuilAsciiFileAccessor : public SceneAccessor {
  public:
    QuilAsciiFileAccessor() : SceneAccessor(makeTextKind()) {}
};

}  // namespace orbo::Data
