// What readers of the raw formats accept without a word, for whoever wants to hear of it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "formats/TextPlace.h"

namespace orbo::Data {

/// Readers that find something to remark on ask `wanted` first: the answer is mostly no.
class ReaderRemarks {
  public:
    enum class Kind {
        kReplaced,    ///< a later stream or channel hides an earlier one of its name
        kUnreadable,  ///< the value or index for which a stream cannot be read
        kPassedOver,
        kNotFinite
    };

    /// Remarks about the same thing are counted.
    struct Remark {
        Kind kind;
        std::string what;
        std::string first;  // of the places where it is so
        TextPlace place;    // of the first
        std::size_t count;

        /// "Stream 's' has several elements of one index: index 3 and 2 more", or "Channel 'c',
        /// stream 's', index 1, member 'x': '300' cannot be read as int8".
        [[nodiscard]] std::string message() const;
    };

    /// A normal read wants to hear of the first two alone; the other kinds cost the reader time.
    enum class Detail { kNormal, kAll };

    /// While it lives, it collects what this thread's readers remark, in place of an outer one.
    class Collector {
      public:
        explicit Collector(Detail detail);
        Collector(const Collector&) = delete;
        Collector& operator=(const Collector&) = delete;
        ~Collector();

        /// At most `kMost` remarks; `leftOut` counts the others.
        [[nodiscard]] const std::vector<Remark>& remarks() const { return fRemarks; }
        [[nodiscard]] std::uint64_t leftOut() const { return fLeftOut; }

      private:
        friend class ReaderRemarks;
        static constexpr std::size_t kMost = 1000;

        const Detail fDetail;
        Collector* fOuter;
        std::vector<Remark> fRemarks;
        std::uint64_t fLeftOut = 0;
    };

    static bool wanted(Kind kind);
    static void add(Kind kind, const std::string& what, const std::string& where,
                    const TextPlace& place = {});

    /// What a stream's reader remarks on lacks the channel, which is known when all of it was read:
    /// `nameChannel` fills it in for the remarks made since `count` gave `first`.
    static std::size_t count();
    static void nameChannel(std::size_t first, const std::string& name);
};

}  // namespace orbo::Data
