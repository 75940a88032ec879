// Collects what is found in a scene file, with its places.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Finding.h>
#include <data/SceneRecord.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "files/File.h"
#include "formats/TextPlace.h"

namespace orbo::Data {

/// One list from which both the caller's error text and the accessor's findings are made, so the
/// text never says more than the findings do.
class Findings {
  public:
    using Code = Finding::Code;

    /// At most this many are kept, and the others counted: a file can be full of mistakes. Findings
    /// that are in the error text are counted apart from those that are not.
    static constexpr std::size_t kMost = 1000;

    Findings() = default;

    /// Adds nothing when the message is empty.
    void add(Code code, std::string message, const FilePlace& place = {});
    /// Adds a finding about a record, with its node.
    void add(Code code, std::string message, const SceneRecord& record);
    /// Adds a finding about a place in the record's text.
    void add(Code code, std::string message, const SceneRecord& record, const TextPlace& place,
             const std::optional<std::string>& structure = {});
    bool fail(Code code, std::string message, const SceneRecord& record) {
        add(code, std::move(message), record);
        return false;
    }
    /// Adds a finding about a structure, by its name.
    void addAbout(const std::string& structure, Code code, std::string message,
                  const FilePlace& place = {});
    void add(Findings others);
    /// Adds a finding that is complete already; nothing without a message.
    void take(Finding finding);
    /// Counts findings that somebody else left out.
    void addLeftOut(bool inErrors, std::uint64_t count) { fCounts[inErrors].leftOut += count; }
    /// For `return findings.fail(...)`.
    bool fail(Code code, std::string message, const FilePlace& place = {}) {
        add(code, std::move(message), place);
        return false;
    }

    [[nodiscard]] const std::vector<Finding>& all() const { return fFindings; }
    /// Nothing was added or left out.
    [[nodiscard]] bool isEmpty() const {
        return fFindings.empty() && countLeftOut(false) == 0 && countLeftOut(true) == 0;
    }
    [[nodiscard]] std::uint64_t countLeftOut(bool inErrors) const {
        return fCounts[inErrors].leftOut;
    }
    /// Appends the messages of all codes that are `Finding::isInErrors`, in the order they were
    /// added.
    void appendTo(std::string& errors) const;
    /// Sorted by their place in the file; findings without a place come first.
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

/// Findings that are added in another order than they are reported in. Of too many, keeps those
/// that are reported first.
class RankedFindings {
  public:
    void add(std::uint64_t rank, const Findings& findings);
    /// Sorts by rank; findings of one rank keep the order they were added in.
    void moveTo(Findings& others);

  private:
    struct Ranked {
        std::uint64_t rank;
        std::uint64_t number;  // in the order in which they came
        Finding finding;
    };
    /// Findings that `Findings` counts together.
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

/// Sets the line of each finding that has an offset. The findings are in file order. Reads the file
/// once, up to the last of them. No line is set where the file cannot be read, or beyond the first
/// GiB.
void countLines(Files::File& file, std::vector<Finding>& findings);

}  // namespace orbo::Data
