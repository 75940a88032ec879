// Remarks of readers of the raw formats about what they accept silently.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "formats/TextPlace.h"

namespace orbo::Data {

/// A list of remarks. Readers ask `wants` before they look for something to remark on.
class ReaderRemarks {
  public:
    enum class Kind {
        kReplaced,    ///< a later stream or channel hides an earlier one of its name
        kUnreadable,  ///< the value or index for which a stream cannot be read
        kStructureMissing,
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
        std::optional<std::string> structure = {};  // the one that is missing

        /// "Stream 's' has several elements of one index: index 3 and 2 more", or "Channel 'c',
        /// stream 's', index 1, member 'x': '300' cannot be read as int8".
        [[nodiscard]] std::string message() const;
    };

    /// A normal read wants to hear of the first three kinds alone; the others cost the reader time.
    enum class Detail { kNormal, kAll };

    explicit ReaderRemarks(Detail detail) : fDetail(detail) {}

    [[nodiscard]] bool wants(Kind kind) const {
        return kind <= Kind::kStructureMissing || fDetail == Detail::kAll;
    }
    void add(Kind kind, const std::string& what, const std::string& where,
             const TextPlace& place = {});
    void addMissingStructure(const std::string& structure, const TextPlace& place);
    /// What a stream's reader remarks on lacks the channel, whose name may stand behind its
    /// streams: fills it in for the remarks made since `count` gave `first`.
    void nameChannel(std::size_t first, const std::string& name);
    [[nodiscard]] std::size_t count() const { return fRemarks.size(); }

    /// At most 1000 remarks; `leftOut` counts the others.
    [[nodiscard]] const std::vector<Remark>& all() const { return fRemarks; }
    [[nodiscard]] std::uint64_t leftOut() const { return fLeftOut; }

  private:
    void append(Remark remark);

    const Detail fDetail;
    std::vector<Remark> fRemarks;
    std::uint64_t fLeftOut = 0;
};

}  // namespace orbo::Data
