// Nodes and channels: mappings of names to what they have.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nanobind/nanobind.h>
#include <nanobind/stl/shared_ptr.h>

#include <memory>
#include <string>
#include <vector>

#include "Model.h"

namespace orbo::Python {

nb::list textsOf(const std::vector<std::string>& names);
/// Gives the structure that the part's scene has in place of this one, as `SceneState::adopt` does;
/// this one where there is no scene.
StructurePtr adoptStructure(const Part& part, const StructurePtr& structure);

bool isSamePart(const std::shared_ptr<ChannelState>& ours,
                const std::shared_ptr<ChannelState>& theirs);
bool isSamePart(const std::shared_ptr<NodeState>& ours, const std::shared_ptr<NodeState>& theirs);

/// These make a copy that belongs to nothing, and shares nothing.
std::shared_ptr<ChannelState> copyOf(const std::shared_ptr<ChannelState>& source,
                                     const std::string& name);
std::shared_ptr<NodeState> copyOf(const std::shared_ptr<NodeState>& source,
                                  const std::string& name);
/// Puts copies of all channels of `source` into a node that is empty.
void fill(const std::shared_ptr<NodeState>& node, const std::shared_ptr<NodeState>& source);

}  // namespace orbo::Python
