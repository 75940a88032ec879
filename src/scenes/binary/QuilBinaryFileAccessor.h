// The accessor for binary scenes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SceneAccessor.h>

#include "scenes/binary/BinaryKind.h"

namespace orbo::Data {

class QuilBinaryFileAccessor : public SceneAccessor {
  public:
    QuilBinaryFileAccessor() : SceneAccessor(makeBinaryKind()) {}
};

}  // namespace orbo::Data
