// The files of the operating system.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "files/File.h"

namespace orbo::Files {

class PosixFileSystem : public FileSystem {
  public:
    [[nodiscard]] std::unique_ptr<File> open(const std::string& name, Mode mode) override;
};

}  // namespace orbo::Files
