// Scenes that nobody wrote in good faith.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace orbo::Benchmarks {

struct HostileScene {
    std::string name;
    bool binary;
    /// Makes a scene of about so many bytes, nearly all of it metadata.
    std::string (*make)(std::size_t size);
};

const std::vector<HostileScene>& hostileScenes();

}  // namespace orbo::Benchmarks
