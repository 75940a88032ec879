// What is shared by the ways to read a scene.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>
#include <data/ReadPolicy.h>

#include <memory>
#include <string>

#include "Model.h"

namespace orbo::Python {

constexpr unsigned kAllProcessors = 0;

/// For a scene that is only looked at.
Data::ReadPolicy readPolicyFor(unsigned threads);
/// Reads with the interpreter's lock released. Warns of what cannot be read. Throws what a read
/// that fails stands for.
std::shared_ptr<SceneState> readInto(std::unique_ptr<Data::Accessor> accessor,
                                     const std::string& file, bool isWritable);

}  // namespace orbo::Python
