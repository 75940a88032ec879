// The folder that a collection is copied to.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "references/Collection.h"
#include "references/Digest.h"

#include <cstdint>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// A folder that did not exist, or was empty. What was copied into it goes again with this object,
/// unless `keep` was called. Several threads may copy files at once.
class TargetFolder {
  public:
    /// Throws `CommandError` when there is something in the folder already. Makes nothing yet.
    explicit TargetFolder(std::string path);
    TargetFolder(const TargetFolder&) = delete;
    TargetFolder& operator=(const TargetFolder&) = delete;
    ~TargetFolder();

    /// Makes the folder and gets ready for these files, which must outlive this object.
    void make(const std::vector<CollectedFile>& files);
    /// Copies one of them, and gives a scene its new paths. Throws `CommandError`; nothing of that
    /// file is left then.
    Digest copy(size_t file, const SceneAccess& access);
    /// Says why the folder cannot be made, or does not hold so many bytes; empty when it may.
    [[nodiscard]] std::string problemOf(std::uint64_t bytes) const;
    /// Checks what can be checked of a copy without making it. Throws `CommandError`.
    static void rehearse(const CollectedFile& file, SceneAccess access);
    /// Writes the list of all files. Throws `CommandError`.
    void writeManifest(const std::string& text);
    void keep() { fKept = true; }

  private:
    [[nodiscard]] std::string pathOf(size_t file) const;
    void remove(size_t file) const;

    std::string fPath;
    const std::vector<CollectedFile>* fFiles = nullptr;
    enum class Progress : unsigned char { kNone, kBegun, kPlaced };
    std::vector<Progress> fProgress;  // of each file, so that threads write apart from each other
    std::vector<std::string> fNewFolders;  // the folder, and those that lead to it
    bool fMade = false, fKept = false;
};

}  // namespace orbo::Quilmeta
