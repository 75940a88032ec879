// What reading a scene accepts beyond the usual.
// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orbo::Data {

struct ReadPolicy {
    /// Keep indices of a type that nobody registered as `IndexText`, instead of throwing
    /// `Index::eCreatorNotFound`. They are written back as they were.
    bool unknownIndexTypesAsText = false;
};

}  // namespace orbo::Data
