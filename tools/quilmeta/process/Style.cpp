// Colours of results on a terminal.
// SPDX-License-Identifier: Apache-2.0
#include "process/Style.h"

#include <cstdlib>

namespace orbo::Quilmeta {

namespace {

Colors gColors = Colors::kAuto;

/// The value of the variable; empty when it is not there.
std::string_view valueOf(const char* variable) {
    const char* value = std::getenv(variable);
    return value ? value : "";
}

bool takesColors(const Output& output) {
    if (gColors != Colors::kAuto) return gColors == Colors::kAlways;
    const std::string_view terminal = valueOf("TERM");
    return valueOf("NO_COLOR").empty() && !terminal.empty() && terminal != "dumb" &&
           output.isTerminal();
}

std::string_view codeOf(Hue hue) {
    switch (hue) {
        case Hue::kRemoved:
            return "\x1b[31m";
        case Hue::kAdded:
            return "\x1b[32m";
        case Hue::kPlace:
            return "\x1b[1m";
        case Hue::kFaint:
            break;
    }
    return "\x1b[2m";
}

}  // namespace

void setColors(Colors colors) { gColors = colors; }

Style::Style(const Output& output) : fOn(takesColors(output)) {}

std::string Style::operator()(Hue hue, std::string_view text) const {
    if (!fOn) return std::string(text);
    return std::string(codeOf(hue)).append(text) += "\x1b[0m";
}

}  // namespace orbo::Quilmeta
