// The base of files that are only read.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "files/File.h"

namespace orbo::Files {

/// Refuses every change.
class ReadOnlyFile : public File {
  public:
    [[nodiscard]] bool write(const char*, std::size_t) final { return refuse(); }
    [[nodiscard]] bool truncate(std::uint64_t) final { return refuse(); }
    [[nodiscard]] bool sync() final { return refuse(); }
    [[nodiscard]] bool reserve(std::uint64_t, std::uint64_t) final { return refuse(); }

  private:
    bool refuse() {
        fError = std::make_error_code(std::errc::bad_file_descriptor);
        return false;
    }
};

}  // namespace orbo::Files
