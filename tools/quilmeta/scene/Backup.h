// A copy of a scene as it was before it is written.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace orbo::Quilmeta {

/// A complete copy beside the scene, under the scene's name with a suffix. A name that is taken is
/// left alone: ".2", ".3" and so on follow then. The file system shares the bytes where it can. The
/// copy goes again with this object, unless `keep` was called.
class Backup {
  public:
    /// The copy is on the disk, with times, owner and rights of the scene, once this returns.
    /// Throws `CommandError` when it cannot be made, and `Conflict` when somebody writes the scene
    /// meanwhile.
    Backup(const std::string& scene, const std::string& suffix);
    Backup(const Backup&) = delete;
    Backup& operator=(const Backup&) = delete;
    ~Backup();

    /// Throws `CommandError` when the copy certainly could not be made.
    static void rehearse(const std::string& scene, const std::string& suffix);

    void keep() { fKept = true; }

  private:
    std::string fPath;
    bool fKept = false;
};

/// Says why names of copies cannot end like this; empty when they can.
std::string problemOfSuffix(const std::string& suffix);

}  // namespace orbo::Quilmeta
