// Carries what a write is given beyond the arguments that a format's `write` has.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Stream.h>

#include <cstddef>
#include <map>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orbo::Data {

/// The text that a stream was read from, as far as it still says what the stream has.
struct KeptText {
    std::string_view header;  // in front of the elements
    std::string_view end;     // behind them
    /// Has a text for each block of elements, or nothing when the block is to be formatted.
    std::vector<std::string_view> blocks;
    std::size_t blockSize = 0;  // in elements

    [[nodiscard]] bool keeps(std::size_t element) const {
        const std::size_t block = element / blockSize;
        return block < blocks.size() && !blocks[block].empty();
    }
};

using KeptTexts = std::map<const Stream*, KeptText>;

/// Travels with the output: formats that write parts of their text by other formats hand it down
/// with the stream. A stream that nobody attached a context to has none.
struct WriteContext {
    /// All that was written so far. It is behind the output by what formats keep in buffers.
    const std::string& text;
    KeptTexts kept = {};
    /// Where the kept blocks stand in the text that is written.
    std::vector<std::pair<std::size_t, std::size_t>> places = {};

    [[nodiscard]] const KeptText* keptOf(const Stream& stream) const {
        const auto found = kept.find(&stream);
        return found == kept.end() ? nullptr : &found->second;
    }

    /// Null when there is none.
    static WriteContext* of(std::ostream& out);
    /// The context outlives every write to the stream.
    void attachTo(std::ostream& out);
};

}  // namespace orbo::Data
