// What readers of the raw formats accept without a word, for whoever wants to hear of it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace orbo::Data {

/// Readers that find something to remark on ask `wanted` first: the answer is mostly no.
class ReaderRemarks {
  public:
    enum class Kind { kPassedOver, kNotFinite };

    /// Those about the same thing are counted.
    struct Remark {
        Kind kind;
        std::string what;
        std::string first;  // of the places where it is so
        std::size_t count;

        /// "Stream 's' has several elements of one index: index 3 and 2 more".
        [[nodiscard]] std::string message() const;
    };

    /// While it lives, it collects what this thread's readers remark, in place of an outer one.
    class Collector {
      public:
        Collector();
        Collector(const Collector&) = delete;
        Collector& operator=(const Collector&) = delete;
        ~Collector();

        [[nodiscard]] const std::vector<Remark>& remarks() const { return fRemarks; }

      private:
        friend class ReaderRemarks;
        Collector* fOuter;
        std::vector<Remark> fRemarks;
    };

    static bool wanted();
    static void add(Kind kind, const std::string& what, const std::string& where);
};

}  // namespace orbo::Data
