// What the accessors for both kinds of scene files share.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "accessors/ModelReading.h"
#include "accessors/SceneSection.h"
#include "files/LockedFile.h"

namespace orbo::Data {

class SceneFileAccessor : public Accessor {
  public:
    bool write(std::string& errors) const override;
    [[nodiscard]] bool isFileSupported(const std::string& fileName) const override;

  protected:
    bool readImplementation(const std::set<std::string>* structureNames,
                            const std::set<std::string>* associationNames,
                            std::string& errors) override;

  private:
    /// For a file that cannot be opened to be read.
    [[nodiscard]] virtual std::string openFailure() const = 0;
    /// Whether the file is a scene of this kind; a message says why not.
    virtual bool check(Files::File& file, std::string& errors) const = 0;
    /// Checks it, too. False, with a message, when the file could not be scanned to its end.
    virtual bool scan(Files::File& file, ModelReading& reading, std::string& errors) const = 0;
    [[nodiscard]] virtual std::unique_ptr<SceneSection> section(Files::File& file) const = 0;

    [[nodiscard]] Files::LockedFile::Opening open(Files::LockedFile::Use use) const;
    /// What a later write needs to know of the file as it is now.
    void remember(Files::File& file) const;

    mutable TakenNames fTaken;  // a write replaces what is in the file
};

}  // namespace orbo::Data
