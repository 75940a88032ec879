// Binary scenes: chunks in groups, with the metadata in the last group, the trailer.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SceneKind.h>

#include <memory>

namespace orbo::Data {

std::unique_ptr<const SceneKind> makeBinaryKind();

}  // namespace orbo::Data
