// The last line of a terminal, which tells how far the work is.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

namespace orbo::Quilmeta::StatusLine {

/// Whether standard error is a terminal that can take a line back. False after `turnOff`.
bool isPossible();
/// No line is shown any more.
void turnOff();
/// Columns of the terminal; 80 when it does not say.
size_t width();
/// Shows the text in place of what is shown. It must fit the width.
void show(const std::string& text);
/// Takes the line away, ahead of anything else that goes to the terminal.
void clear();

}  // namespace orbo::Quilmeta::StatusLine
