// The first line of text scenes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "files/File.h"

namespace orbo::Data {

/// False, with a message, when the file does not begin like a text scene.
bool checkTextSceneHeader(Files::File& file, std::string& errors);

}  // namespace orbo::Data
