// The first line of text scenes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Finding.h>

#include "files/File.h"

namespace orbo::Data {

/// False, with code, offset and message in `problem`, when the file does not begin like a text
/// scene.
bool checkTextSceneHeader(Files::File& file, Finding& problem);

}  // namespace orbo::Data
