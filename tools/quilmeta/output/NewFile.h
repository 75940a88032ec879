// A file that appears complete or not at all.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "output/FileKind.h"
#include "process/Output.h"

#include <sys/stat.h>

#include <memory>
#include <optional>
#include <string>

namespace orbo::Quilmeta {

/// Writes a temporary file beside `path`, which gets that name by `commit` and is removed without
/// it. A device, a pipe or a descriptor such as /dev/stdout gets the bytes as they come.
class NewFile {
  public:
    /// An existing file is replaced if it is of this kind, and one of another kind only by force.
    /// Scenes and journals are never replaced.
    struct Replacing {
        FileKind kind;
        bool force = false;
    };

    /// A symbolic link at `path` stays: the file that it leads to is replaced. Throws
    /// `CommandError` when the file there must stay, when it is the file at `notOver` under any
    /// name, or when the folder takes no file.
    NewFile(const std::string& path, const std::string& notOver, const Replacing& replacing);
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile();

    Output& output() { return *fOutput; }
    /// Waits until all bytes are on the disk, then gives the file its name. Throws `CommandError`
    /// when somebody else has put another file there meanwhile, which stays.
    void commit();

  private:
    void openToReplace(const struct stat& there, const Replacing& replacing);
    void openDevice(const struct stat& there);
    void openStream(int descriptor);
    void openTemporary(unsigned mode);
    void placeNew();
    void placeOver();
    [[nodiscard]] bool isAsSeen(const std::string& path) const;

    std::string fName;  // as the user gave it
    std::string fPath;
    std::string fTemporary;
    std::optional<struct stat> fReplaced;  // the file that was there, and may be replaced
    int fDescriptor = -1;
    std::unique_ptr<Output> fOutput;
};

}  // namespace orbo::Quilmeta
