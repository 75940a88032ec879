// What the accessors for both kinds of scene files share.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "files/LockedFile.h"
#include "scenes/Findings.h"
#include "scenes/reading/ModelReading.h"
#include "scenes/writing/SceneRewrite.h"
#include "scenes/writing/SceneSection.h"

namespace orbo::Data {

class SceneFileAccessor : public Accessor {
  public:
    bool write(std::string& errors) const override;
    bool rehearse(std::string& errors) const override;
    std::vector<Finding> check(const std::string& fileName) override;
    [[nodiscard]] bool isFileSupported(const std::string& fileName) const override;

  protected:
    bool readImplementation(const std::set<std::string>* structureNames,
                            const std::set<std::string>* associationNames,
                            std::string& errors) override;

  private:
    bool openAndRead(const std::set<std::string>* structureNames,
                     const std::set<std::string>* associationNames, Findings& findings);
    void publish(const Findings& findings, Files::File& file) const;
    /// False when reading would first do something about a journal.
    static bool findJournal(const Files::LockedFile::Opening& opening, const std::string& fileName,
                            Findings& findings);
    bool write(RewriteExtent extent, std::string& errors) const;
    /// `notes` is what the caller might not expect of a write that can be done.
    bool writeScene(RewriteExtent extent, std::string& errors, Findings& notes) const;
    /// For a file that cannot be opened to be read.
    [[nodiscard]] virtual std::string openFailure() const = 0;
    /// Whether the file is a scene of this kind; a finding says why not.
    virtual bool isScene(Files::File& file, Findings& findings) const = 0;
    /// Checks it, too. False, with a finding, when the file could not be scanned to its end.
    virtual bool scan(Files::File& file, ModelReading& reading, Findings& findings) const = 0;
    /// To findings in file order, for files that have lines.
    virtual void addLines(Files::File&, std::vector<Finding>&) const {}
    [[nodiscard]] virtual std::unique_ptr<SceneSection> section(Files::File& file) const = 0;

    [[nodiscard]] Files::LockedFile::Opening open(Files::LockedFile::Use use) const;
    /// What a later write needs to know of the file as it is now.
    void remember(Files::File& file) const;
    /// Empty when there is no metadata section to be found.
    [[nodiscard]] std::optional<std::uint64_t> fingerprintOf(Files::File& file) const;

    /// What tells two states of a file apart.
    struct Look {
        std::uint64_t length;
        std::int64_t modified;
        std::optional<std::uint64_t> fingerprint;
        bool operator==(const Look& other) const {
            return length == other.length && modified == other.modified &&
                   fingerprint == other.fingerprint;
        }
    };
    /// Empty on failure.
    [[nodiscard]] std::optional<Look> look(Files::File& file) const;

    Findings* fChecking = nullptr;        // what the read finds that a check begins with
    Files::LockedFile::Opening fChecked;  // the file that is checked, locked until that is done
    mutable TakenNames fTaken;            // a write replaces what is in the file
    mutable std::mutex fWriting;          // threads that write take turns
};

}  // namespace orbo::Data
