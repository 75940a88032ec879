// The accessor for text scenes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SceneAccessor.h>

#include <memory>

#include "scenes/text/TextKind.h"

namespace orbo::Data {

class QuilAsciiFileAccessor : public SceneAccessor {
  public:
    QuilAsciiFileAccessor() : SceneAccessor(std::make_unique<TextKind>()) {}
};

}  // namespace orbo::Data
