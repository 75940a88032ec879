// Accessor for text scenes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>

#include <set>
#include <string>

#include "accessors/ModelReading.h"

namespace orbo::Data {

/// Scenes are scripts, one statement per ";", that begin with the line "//Quil ASCII 2016 scene"
/// and end with a line "// End of ...". Metadata stands between the last command and that line.
class QuilAsciiFileAccessor : public Accessor {
  public:
    bool write(std::string& errors) const override;
    [[nodiscard]] bool isFileSupported(const std::string& fileName) const override;

  protected:
    bool readImplementation(const std::set<std::string>* structureNames,
                            const std::set<std::string>* associationNames,
                            std::string& errors) override;

  private:
    mutable TakenNames fTaken;  // a write replaces what is in the file
};

}  // namespace orbo::Data
