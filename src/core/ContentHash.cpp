// A fast hash of much content, for which nobody can prepare collisions.
// SPDX-License-Identifier: Apache-2.0
#include "core/ContentHash.h"

namespace orbo::Data {

const ContentHash::Keys& ContentHash::keys() {
    static const Keys keys = [] {
        Keys made{};
        for (std::size_t i = 0; i < made.size(); ++i) {
            KeyedHash hash;
            hash.add(std::uint64_t{i});
            made[i] = hash.value();
        }
        return made;
    }();
    return keys;
}

}  // namespace orbo::Data
