// One structure or associations object as a scene file holds it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace orbo::Data {

struct SceneRecord {
    enum class Kind { kStructure, kAssociations };

    Kind kind = Kind::kStructure;
    /// Of the serializer that reads the text.
    std::string format;
    /// The node, empty for the scene itself. Of a structure only its text knows the name.
    std::string name;
    std::string text;
};

}  // namespace orbo::Data
