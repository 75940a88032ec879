// Text scenes: the lines that are no metadata outlive every write.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <string>
#include <vector>

#include "Law.h"
#include "SceneLaws.h"
#include "core/Ascii.h"

namespace {

using orbo::Data::Ascii::startsWith;
using orbo::Data::Ascii::trim;

struct Outline {
    std::size_t front = std::string::npos;    ///< where the first command or the trailer begins
    std::size_t trailer = std::string::npos;  ///< where the last line begins that is one
    bool unclosed = false;                    ///< some statement has no ";" of its own
    // Lines with anything on them, sorted.
    std::vector<std::string_view> all;
    std::vector<std::string_view> foreign;  ///< of no statement
};

// Lines that a write may put in front of others, and take away.
bool isGuard(std::string_view line) { return line == "//" || line == "//;"; }

void addLine(Outline& outline, std::string_view line, bool begins, bool& inside) {
    if (isGuard(line)) return;
    const bool comment = startsWith(line, "//");
    outline.unclosed = outline.unclosed || (inside && begins);
    inside = inside || begins;
    if (trim(line).empty()) return;
    outline.all.push_back(line);
    if (comment || !inside) outline.foreign.push_back(line);
    if (!comment && trim(line).back() == ';') inside = false;
}

// Reads forwards, which the library never does.
Outline outlineOf(std::string_view scene) {
    Outline outline;
    bool inside = false;
    for (std::size_t at = 0; at < scene.size();) {
        const std::string_view line = scene.substr(at, scene.find('\n', at) - at);
        const bool isTrailer = startsWith(line, "// End of");
        if (isTrailer) outline.trailer = at;
        // What stands behind closes no statement in front.
        outline.unclosed = outline.unclosed || (isTrailer && inside);
        const bool isCommand =
            startsWith(line, "dataStructure") || startsWith(line, "applyMetadata");
        if (isCommand || isTrailer) outline.front = std::min(outline.front, at);
        addLine(outline, line, isCommand, inside);
        at += line.size() + 1;
    }
    outline.unclosed = outline.unclosed || inside;
    std::sort(outline.all.begin(), outline.all.end());
    std::sort(outline.foreign.begin(), outline.foreign.end());
    return outline;
}

// With the guard in front of it.
std::size_t frontOf(std::string_view scene, const Outline& outline) {
    for (const std::string_view guard : {"\n//;\n", "\n//\n"}) {
        const std::string_view front = scene.substr(0, outline.front);
        const bool ends =
            front.size() >= guard.size() && front.substr(front.size() - guard.size()) == guard;
        if (ends) return outline.front - guard.size() + 1;
    }
    return outline.front;
}

// A statement without a ";" takes the next foreign line in when what was between them goes.
bool isUntouched(const std::string& before, const std::string& after) {
    const Outline old = outlineOf(before);
    const Outline now = outlineOf(after);
    const std::size_t front = frontOf(before, old);
    return before.compare(0, front, after, 0, front) == 0 && old.trailer != std::string::npos &&
           now.trailer != std::string::npos &&
           before.substr(old.trailer) == after.substr(now.trailer) &&
           std::includes(now.all.begin(), now.all.end(), old.foreign.begin(), old.foreign.end()) &&
           (old.unclosed || old.foreign == now.foreign);
}

std::string sceneOf(const std::uint8_t* data, std::size_t size) {
    const std::string scene(orbo::Fuzz::textOf(data + 1, size - 1));
    if (!orbo::Fuzz::Plan(data[0]).framed) return scene;
    return "//Quil ASCII 2016 scene\n" + scene + "\n// End of scene.kx\n";
}

}  // namespace

orbo::Fuzz::Work orbo::Fuzz::workOf(const std::uint8_t* data, std::size_t size) {
    return readingOf("scene.kx", sceneOf(data, size), Plan(data[0]).unknownAsText);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    orbo::Fuzz::demandThrift(data, size);
    orbo::Fuzz::checkScene("scene.kx", sceneOf(data, size), orbo::Fuzz::Plan(data[0]), isUntouched);
    return 0;
}
