// Binary scenes: only the metadata chunks and three sizes change.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/BinaryScene.h"

#include <string>

#include "Law.h"
#include "SceneLaws.h"

namespace {

using orbo::Fuzz::takePart;

std::uint64_t numberAt(const std::string& bytes, std::size_t at, int count) {
    std::uint64_t value = 0;
    while (count-- > 0) value = value << 8 | static_cast<unsigned char>(bytes.at(at++));
    return value;
}

struct Outline {
    std::string front;  ///< without the two sizes
    std::string chunks;
    bool fits = false;  ///< to all that is said of it
};

// By the distance at the end of a file that ends where it says.
Outline outlineOf(const std::string& scene) {
    Outline outline;
    const std::size_t end = scene.size() - 24;
    const std::size_t begin = end + 20 - numberAt(scene, end + 16, 4);
    outline.front = scene.substr(0, 8) + scene.substr(16, begin - 28) + scene.substr(begin - 4, 4);
    std::size_t at = begin;
    while (at < end) {
        const std::string tag = scene.substr(at, 4);
        const std::size_t size = 16 + (numberAt(scene, at + 8, 8) + 7) / 8 * 8;
        if (tag != "DATS" && tag != "MTDA" && tag != "SMTD")
            outline.chunks += scene.substr(at, size);
        at += size;
    }
    outline.fits = at == end && numberAt(scene, 8, 8) == scene.size() - 16 &&
                   numberAt(scene, begin - 12, 8) == end - begin + 28;
    return outline;
}

bool isUntouched(const std::string& before, const std::string& after) {
    const Outline old = outlineOf(before);
    const Outline now = outlineOf(after);
    return now.fits && old.front == now.front && old.chunks == now.chunks;
}

// Each part is a chunk: a letter for its kind, then the data.
std::string framed(std::string_view parts) {
    std::string chunks;
    while (!parts.empty()) {
        const std::string part(takePart(parts));
        const char kind = part.empty() ? ' ' : part[0];
        const char* tag = kind == 'D'   ? "DATS"
                          : kind == 'M' ? "MTDA"
                          : kind == 'S' ? "SMTD"
                                        : "APPL";
        chunks += orbo::Data::chunk(tag, part.empty() ? part : part.substr(1));
    }
    return orbo::Data::BinaryScene(chunks).bytes();
}

std::string sceneOf(const std::uint8_t* data, std::size_t size) {
    const std::string_view rest = orbo::Fuzz::textOf(data + 1, size - 1);
    return orbo::Fuzz::Plan(data[0]).framed ? framed(rest) : std::string(rest);
}

}  // namespace

orbo::Fuzz::Work orbo::Fuzz::workOf(const std::uint8_t* data, std::size_t size) {
    return readingOf("scene.ky", sceneOf(data, size), Plan(data[0]).unknownAsText);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    orbo::Fuzz::demandThrift(data, size);
    orbo::Fuzz::checkScene("scene.ky", sceneOf(data, size), orbo::Fuzz::Plan(data[0]), isUntouched);
    return 0;
}
