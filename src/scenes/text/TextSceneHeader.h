// The first line of text scenes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "files/File.h"
#include "scenes/Findings.h"

namespace orbo::Data {

/// False, with a finding, when the file does not begin like a text scene.
bool checkTextSceneHeader(Files::File& file, Findings& findings);

}  // namespace orbo::Data
