// Collects what is found in a scene file, with its places.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Finding.h>
#include <data/SceneRecord.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "files/File.h"
#include "formats/TextPlace.h"

namespace orbo::Data {

/// The caller's error text and the accessor's findings are both made of one list, so that the text
/// can know no more than the findings.
class Findings {
  public:
    using Code = Finding::Code;

    /// Of more than these only the number is kept: a file can be nothing but mistakes. Those of the
    /// error text count for themselves, so that others take no room from them.
    static constexpr std::size_t kMost = 1000;

    Findings() = default;

    /// Nothing without a message.
    void add(Code code, std::string message, const FilePlace& place = {});
    /// About a record, with the node that it belongs to.
    void add(Code code, std::string message, const SceneRecord& record);
    /// About a place in the record's text.
    void add(Code code, std::string message, const SceneRecord& record, const TextPlace& place);
    bool fail(Code code, std::string message, const SceneRecord& record) {
        add(code, std::move(message), record);
        return false;
    }
    void add(Findings others);
    /// As it is, of whatever is in it.
    void take(Finding finding);
    /// Found, but not kept; of those that are, or are not, in the error text.
    void addLeftOut(bool inErrors, std::uint64_t count) { fCounts[inErrors].leftOut += count; }
    /// For `return findings.fail(...)`.
    bool fail(Code code, std::string message, const FilePlace& place = {}) {
        add(code, std::move(message), place);
        return false;
    }

    [[nodiscard]] const std::vector<Finding>& all() const { return fFindings; }
    [[nodiscard]] std::uint64_t countLeftOut(bool inErrors) const {
        return fCounts[inErrors].leftOut;
    }
    /// The messages of codes that are `Finding::isInErrors`, in the order in which they came.
    void appendTo(std::string& errors) const;
    /// In file order, behind those without a place.
    [[nodiscard]] std::vector<Finding> inFileOrder() const;

  private:
    struct Count {
        std::size_t kept = 0;
        std::uint64_t leftOut = 0;
    };

    [[nodiscard]] bool hasRoom(Code code);

    std::vector<Finding> fFindings;
    std::array<Count, 2> fCounts;  // by whether they are in the error text
};

/// Findings that come in another order than they are told in. Keeps those that are told first.
class RankedFindings {
  public:
    void add(std::uint64_t rank, const Findings& findings);
    /// By rank; those of one rank as they came.
    void moveTo(Findings& others);

  private:
    struct Ranked {
        std::uint64_t rank;
        std::uint64_t number;  // in the order in which they came
        Finding finding;
    };
    /// Those that count together in `Findings`.
    struct Kind {
        void add(Ranked ranked);
        void trim();

        std::vector<Ranked> findings;
        std::uint64_t leftOut = 0;
    };

    static bool isEarlier(const Ranked& a, const Ranked& b);

    std::uint64_t fCount = 0;
    std::array<Kind, 2> fKinds;  // by whether they are in the error text
};

/// For a caller that wants their text alone.
inline bool fail(std::string& errors, const Findings& findings) {
    findings.appendTo(errors);
    return false;
}

/// Gives the findings with an offset, which are in file order, their lines. Reads the file once, up
/// to the last of them; where it cannot be read, and behind the first GiB, they stay without.
void countLines(Files::File& file, std::vector<Finding>& findings);

}  // namespace orbo::Data
