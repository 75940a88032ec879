// Scene inputs over files and over changes of them, and files over inputs.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SceneInput.h>
#include <data/SceneKind.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "files/ReadOnlyFile.h"

namespace orbo::Data {

/// A file for a kind of scene to read. The file outlives it.
class InputOfFile final : public SceneInput {
  public:
    explicit InputOfFile(Files::File& file) : fFile(file) {}

    [[nodiscard]] std::optional<std::uint64_t> size() override { return fFile.size(); }
    [[nodiscard]] bool seek(std::uint64_t offset) override { return fFile.seek(offset); }
    [[nodiscard]] std::optional<std::size_t> read(char* to, std::size_t count) override {
        return fFile.read(to, count);
    }

  private:
    Files::File& fFile;
};

/// An input seen as a file, for readers that take files. The input outlives it.
class FileOfInput final : public Files::ReadOnlyFile {
  public:
    explicit FileOfInput(SceneInput& input) : fInput(input) {}

    [[nodiscard]] std::optional<Files::FileStatus> status() override;
    [[nodiscard]] bool seek(std::uint64_t offset) override { return fInput.seek(offset); }
    [[nodiscard]] std::optional<std::size_t> read(char* to, std::size_t count) override {
        return fInput.read(to, count);
    }
    [[nodiscard]] LockResult lock(Lock) override { return LockResult::kUnsupported; }
    void unlock() override {}

  private:
    SceneInput& fInput;
};

/// An input whose end is in memory already. Input and bytes outlive it; the bytes are those from
/// `begin` to the end, and may be replaced as long as `begin` is, too.
class TailInput final : public SceneInput {
  public:
    TailInput(SceneInput& input, const std::uint64_t& begin, const std::string& tail)
        : fInput(input), fBegin(begin), fTail(tail) {}

    [[nodiscard]] std::optional<std::uint64_t> size() override { return fInput.size(); }
    [[nodiscard]] bool seek(std::uint64_t offset) override;
    [[nodiscard]] std::optional<std::size_t> read(char* to, std::size_t count) override;

  private:
    SceneInput& fInput;
    const std::uint64_t& fBegin;
    const std::string& fTail;
    std::uint64_t fPosition = 0;
};

/// A file as it will be when changes have been made. Input and changes outlive it.
class ChangedInput final : public SceneInput {
  public:
    /// `changes` are as `SceneKind::changes` gives them, for an input of this size.
    ChangedInput(SceneInput& input, std::uint64_t size, const std::vector<SceneChange>& changes);

    [[nodiscard]] std::optional<std::uint64_t> size() override { return fSize; }
    [[nodiscard]] bool seek(std::uint64_t offset) override;
    [[nodiscard]] std::optional<std::size_t> read(char* to, std::size_t count) override;

  private:
    /// Bytes that lie together, in memory or in the input.
    struct Stretch {
        std::uint64_t begin;
        std::uint64_t size;
        std::optional<std::string_view> bytes;
        std::uint64_t inputOffset;
    };

    void addUnchanged(std::uint64_t from, std::uint64_t to);
    void addNew(std::string_view bytes);

    SceneInput& fInput;
    std::vector<Stretch> fStretches;
    std::uint64_t fSize = 0;
    std::uint64_t fPosition = 0;
};

}  // namespace orbo::Data
