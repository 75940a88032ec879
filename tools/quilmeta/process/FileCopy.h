// A copy of a file, complete before it has its name.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "files/posix/Descriptor.h"
#include "process/CommandError.h"

#include <cstdint>
#include <string>

namespace orbo::Quilmeta {

/// Somebody has written to a file while it was copied.
class SourceChanged : public CommandError {
  public:
    using CommandError::CommandError;
};

/// The file system shares the bytes where it can. The copy goes again with this object, unless it
/// was placed.
class FileCopy {
  public:
    enum class Rights {
        kAll,           ///< owner, rights and attributes of the source, as `keepAccess` gives them
        kMode,          ///< its mode alone
        kWritableMode,  ///< its mode, and the owner may write
    };

    /// The copy is on the disk, with the times of the source, once this returns, under a name that
    /// begins with `temporary`. Throws `CommandError` without the names of the files, and
    /// `SourceChanged`.
    FileCopy(const std::string& source, const std::string& temporary, Rights rights);
    FileCopy(const FileCopy&) = delete;
    FileCopy& operator=(const FileCopy&) = delete;
    ~FileCopy();

    /// Gives the copy its name. Returns false, with nothing done, when something has that name.
    bool place(const std::string& path);

  private:
    std::string fPath;
    Files::Descriptor fFile;
    bool fPlaced = false;
};

/// Says why no file can be made at this path, as far as the folders that are there tell. Empty when
/// it may well be; folders that are missing may be made first. `room` is how many bytes are to go
/// there.
std::string problemOfMaking(const std::string& path, std::uint64_t room = 0);

}  // namespace orbo::Quilmeta
