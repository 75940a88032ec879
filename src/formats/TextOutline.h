// Where the parts of a text of associations stand.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <vector>

namespace orbo::Data {

/// The text of one stream, as offsets in the text that was read.
struct StreamOutline {
    /// Elements that stand in the order of their indices are divided into blocks of so many.
    static constexpr std::size_t kBlock = 256;
    static constexpr std::size_t kUndivided = std::numeric_limits<std::size_t>::max();

    std::string channel = {};
    std::string stream = {};
    std::size_t begin = 0;
    std::size_t elementsEnd = 0;  // where the line begins that ends the stream
    std::size_t end = 0;
    /// Where each block begins. All elements are one block when `blockSize` is `kUndivided`.
    std::vector<std::size_t> blocks = {};
    std::size_t blockSize = kBlock;
    std::size_t elements = 0;
};

/// The streams in the order of the text. A reader that finds errors leaves it incomplete.
struct TextOutline {
    std::size_t size = 0;  // of the whole text, which is in memory
    std::vector<StreamOutline> streams = {};

    void nameChannel(std::size_t first, const std::string& name) {
        for (std::size_t i = first; i < streams.size(); ++i) streams[i].channel = name;
    }
};

}  // namespace orbo::Data
