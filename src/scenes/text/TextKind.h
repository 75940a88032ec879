// Text scenes: a script of statements, with the metadata in front of its last line.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SceneKind.h>

#include <memory>

namespace orbo::Data {

std::unique_ptr<const SceneKind> makeTextKind();

}  // namespace orbo::Data
