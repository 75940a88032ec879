// What a kind of scene file is.
// SPDX-License-Identifier: Apache-2.0
#include <data/SceneKind.h>

#include <utility>

namespace orbo::Data {

SceneLayout::~SceneLayout() = default;

SceneVisitor::~SceneVisitor() = default;

SceneKind::SceneKind(SceneTraits traits) : fTraits(std::move(traits)) {}

SceneKind::~SceneKind() = default;

}  // namespace orbo::Data
