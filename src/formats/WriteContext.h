// Carries what a write is given beyond the arguments that a format's `write` has.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Stream.h>

#include <cstddef>
#include <map>
#include <ostream>
#include <string>
#include <vector>

namespace orbo::Data {

/// The text that a stream was read from, as far as it still says what the stream has.
struct KeptText {
    /// Is a range of the text that was read.
    struct Range {
        std::size_t begin = 0;
        std::size_t end = 0;
    };

    std::string header;  // in front of the elements
    std::string end;     // behind them
    /// Has the text of each block of elements, or nothing when the block is to be formatted.
    std::vector<Range> blocks;
    std::size_t blockSize = 0;  // in elements

    [[nodiscard]] bool keeps(std::size_t element) const {
        const std::size_t block = element / blockSize;
        return block < blocks.size() && blocks[block].begin < blocks[block].end;
    }
};

using KeptTexts = std::map<const Stream*, KeptText>;

/// Travels with the output: formats that write parts of their text by other formats hand it down
/// with the stream. A stream that nobody attached a context to has none.
struct WriteContext {
    /// All that was written so far. It is behind the output by what formats keep in buffers.
    const std::string& text;
    KeptTexts kept = {};
    /// A part of the text that was read, and where it belongs in the text that is written, which
    /// lacks it.
    struct Place {
        std::size_t at;
        KeptText::Range kept;
    };
    std::vector<Place> places = {};

    [[nodiscard]] const KeptText* keptOf(const Stream& stream) const {
        const auto found = kept.find(&stream);
        return found == kept.end() ? nullptr : &found->second;
    }

    void keep(const KeptText::Range& range) {
        const bool continues = !places.empty() && places.back().at == text.size() &&
                               places.back().kept.end == range.begin;
        if (continues) {
            places.back().kept.end = range.end;
        } else {
            places.push_back({text.size(), range});
        }
    }

    /// Null when there is none.
    static WriteContext* of(std::ostream& out);
    /// The context outlives every write to the stream.
    void attachTo(std::ostream& out);
};

}  // namespace orbo::Data
