// What text and binary scenes call the scene itself.
// SPDX-License-Identifier: Apache-2.0
#include <data/AccessorQuil.h>

namespace orbo::Data::AccessorQuil {

const std::string& getSceneAssociationsName() {
    static const std::string name;
    return name;
}

}  // namespace orbo::Data::AccessorQuil
