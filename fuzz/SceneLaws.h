// What holds for every scene file that is read, edited and written, of either kind.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "Thrift.h"

namespace orbo::Fuzz {

/// What an input does to a scene, by its first byte.
struct Plan {
    explicit Plan(unsigned char choice)
        : edit(choice & 7u),
          careful((choice & 8u) != 0),
          unknownAsText((choice & 16u) != 0),
          framed((choice & 32u) != 0),
          rereads((choice & 64u) != 0) {}

    unsigned edit;
    bool careful;
    bool unknownAsText;
    bool framed;   ///< The target makes the rest of the input a scene that is in order.
    bool rereads;  ///< What was read back writes the scene again, not what wrote it first.
};

/// Whether a write left alone all that is not metadata.
using IsUntouched = bool (*)(const std::string& before, const std::string& after);

/// Reads, edits and writes the scene, kept in memory under the name. Nothing may crash, a refusal
/// leaves every byte, and what is written reads back and is written the same again.
void checkScene(const std::string& name, const std::string& scene, const Plan& plan,
                IsUntouched isUntouched);

/// Reads the scene, kept in memory under the name, and destroys what it holds.
Work readingOf(const std::string& name, const std::string& scene, bool unknownAsText);

}  // namespace orbo::Fuzz
