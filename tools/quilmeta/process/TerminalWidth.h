// How wide the terminal is that results go to.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "process/Output.h"

#include <cstddef>

namespace orbo::Quilmeta {

/// Returns the columns of the terminal, at least 40; 0 when the output is no terminal, and lines
/// may be of any length.
size_t terminalWidth(const Output& output);

}  // namespace orbo::Quilmeta
