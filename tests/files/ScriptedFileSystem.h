// Files in memory, any call of which a test can make fail.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "files/File.h"

namespace orbo::Files {

enum class Call { kOpen, kSize, kSeek, kRead, kWrite, kTruncate, kSync };

/// A failing write leaves half of its bytes behind.
class ScriptedFileSystem : public FileSystem {
  public:
    std::map<std::string, std::string> files;
    /// Asked once for every call; true makes it fail.
    std::function<bool(Call)> fails = [](Call) { return false; };

    std::uint64_t bytesRead = 0;
    std::uint64_t bytesWritten = 0;
    std::size_t largestRead = 0;
    std::uint64_t lowestWrite = ~std::uint64_t{0};

    /// The `n`-th call (from 0) fails, of any kind or of one; and all later ones of those, too.
    void failAt(int n, bool fromThenOn, std::optional<Call> kind = std::nullopt) {
        fails = [n, fromThenOn, kind, seen = 0](Call call) mutable {
            if (kind && *kind != call) return false;
            const int number = seen++;
            return number == n || (fromThenOn && number > n);
        };
    }

    std::unique_ptr<File> open(const std::string& name, Mode mode) override {
        const auto found = files.find(name);
        if (fails(Call::kOpen) || found == files.end()) return nullptr;
        return std::make_unique<OpenFile>(*this, found->second, mode);
    }

  private:
    class OpenFile : public File {
      public:
        OpenFile(ScriptedFileSystem& system, std::string& bytes, FileSystem::Mode mode)
            : fSystem(system), fBytes(bytes), fWritable(mode == FileSystem::Mode::kReadWrite) {}

        std::optional<std::uint64_t> size() override {
            if (fSystem.fails(Call::kSize)) return std::nullopt;
            return fBytes.size();
        }
        bool seek(std::uint64_t offset) override {
            fPosition = static_cast<std::size_t>(offset);
            return !fSystem.fails(Call::kSeek) && offset >> 63 == 0;
        }
        std::optional<std::size_t> read(char* to, std::size_t count) override {
            if (fSystem.fails(Call::kRead)) return std::nullopt;
            const std::size_t got =
                fPosition < fBytes.size() ? fBytes.copy(to, count, fPosition) : std::size_t{0};
            fPosition += got;
            fSystem.bytesRead += got;
            fSystem.largestRead = std::max(fSystem.largestRead, got);
            return got;
        }
        bool write(const char* from, std::size_t count) override {
            const bool failing = fSystem.fails(Call::kWrite) || !fWritable;
            const std::size_t put = failing ? count / 2 : count;
            if (fBytes.size() < fPosition + put) fBytes.resize(fPosition + put);
            fBytes.replace(fPosition, put, from, put);
            fSystem.lowestWrite = std::min<std::uint64_t>(fSystem.lowestWrite, fPosition);
            fSystem.bytesWritten += put;
            fPosition += put;
            return !failing;
        }
        bool truncate(std::uint64_t length) override {
            if (fSystem.fails(Call::kTruncate) || !fWritable) return false;
            fBytes.resize(static_cast<std::size_t>(length));
            return true;
        }
        bool sync() override { return !fSystem.fails(Call::kSync); }

      private:
        ScriptedFileSystem& fSystem;
        std::string& fBytes;
        bool fWritable;
        std::size_t fPosition = 0;
    };
};

}  // namespace orbo::Files
