// The accessor for binary scenes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SceneAccessor.h>

#include <memory>

#include "scenes/binary/BinaryKind.h"

namespace orbo::Data {

class QuilBinaryFileAccessor : public SceneAccessor {
  public:
    QuilBinaryFileAccessor() : SceneAccessor(std::make_unique<BinaryKind>()) {}
};

}  // namespace orbo::Data
