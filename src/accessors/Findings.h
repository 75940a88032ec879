// Collects what is found in a scene file, with its places.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Finding.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "accessors/SceneRecord.h"
#include "files/File.h"

namespace orbo::Data {

/// The caller's error text and the accessor's findings are both made of one list, so that neither
/// can know more than the other.
class Findings {
  public:
    using Code = Finding::Code;

    /// Of more than these only the number is kept: a file can be nothing but mistakes.
    static constexpr std::size_t kMost = 1000;

    Findings() = default;
    explicit Findings(std::vector<Finding> findings) : fFindings(std::move(findings)) {}

    /// Nothing without a message.
    void add(Code code, std::string message, const FilePlace& place = {});
    /// About a record, with the node that it belongs to.
    void add(Code code, std::string message, const SceneRecord& record);
    void add(Findings others);
    /// As it is, of whatever is in it.
    void take(Finding finding);
    /// Found, but not kept.
    void addLeftOut(std::uint64_t count) { fLeftOut += count; }
    /// For `return findings.fail(...)`.
    bool fail(Code code, std::string message, const FilePlace& place = {}) {
        add(code, std::move(message), place);
        return false;
    }

    [[nodiscard]] const std::vector<Finding>& all() const { return fFindings; }
    [[nodiscard]] std::uint64_t countLeftOut() const { return fLeftOut; }
    /// The messages in the order in which they came.
    void appendTo(std::string& errors) const;
    /// In file order, behind those without a place.
    [[nodiscard]] std::vector<Finding> inFileOrder() const;

  private:
    [[nodiscard]] bool hasRoom();
    [[nodiscard]] std::string leftOut() const;

    std::vector<Finding> fFindings;
    std::uint64_t fLeftOut = 0;
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
        Finding finding;
    };
    void trim();

    std::vector<Ranked> fFindings;
    std::uint64_t fLeftOut = 0;
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
