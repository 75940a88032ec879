// A file that appears complete or not at all.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Output.h"

#include <memory>
#include <string>

namespace orbo::Quilmeta {

/// Written under another name beside `path`, and removed again unless `commit` is reached.
class NewFile {
  public:
    /// A symbolic link at `path` stays: the file it points at is replaced. Throws `Trouble` when
    /// there is something else than a regular file, when it is the file at `notOver`, by whatever
    /// name, or when the folder takes no file.
    NewFile(const std::string& path, const std::string& notOver);
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile();

    Output& output() { return *fOutput; }
    /// All bytes are on the disk before the file gets its name.
    void commit();

  private:
    void open(unsigned mode);

    std::string fPath;
    std::string fTemporary;
    int fDescriptor = -1;
    std::unique_ptr<Output> fOutput;
};

}  // namespace orbo::Quilmeta
