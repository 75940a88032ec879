// The bytes of a scene file, for those who take it apart.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <debug/Export.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace orbo::Data {

/// A file that is open and locked for the duration of a call, or a new state of it that has not
/// been written yet.
///
///     if (const auto head = input.bytes(0, 8); head && *head == "#metadata") ...
class METADATA_API SceneInput {
  public:
    virtual ~SceneInput();
    SceneInput(const SceneInput&) = delete;
    SceneInput& operator=(const SceneInput&) = delete;

    /// Gives the bytes of the file; nothing when the system does not tell.
    [[nodiscard]] virtual std::optional<std::uint64_t> size() = 0;
    /// Sets the position that `read` begins at, counted from the start of the file.
    [[nodiscard]] virtual bool seek(std::uint64_t offset) = 0;
    /// Gives the count of bytes read, which is less than `count` only at the end of the file; empty
    /// on failure, and the position is then undefined.
    [[nodiscard]] virtual std::optional<std::size_t> read(char* to, std::size_t count) = 0;

    /// Reads exactly these bytes; empty when the file ends before or cannot be read.
    [[nodiscard]] std::optional<std::string> bytes(std::uint64_t offset, std::uint64_t count);

  protected:
    SceneInput() = default;
};

}  // namespace orbo::Data
