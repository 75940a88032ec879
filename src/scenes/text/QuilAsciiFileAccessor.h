// Accessor for text scenes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scenes/SceneFileAccessor.h"

namespace orbo::Data {

/// Scenes are scripts, one statement per ";", that begin with the line "//Quil ASCII 2016 scene"
/// and end with a line "// End of ...". Metadata stands between the last command and that line.
class QuilAsciiFileAccessor : public SceneFileAccessor {
  private:
    [[nodiscard]] std::string openFailure() const override;
    bool isScene(Files::File& file, Findings& findings) const override;
    bool scan(Files::File& file, ModelReading& reading, Findings& findings) const override;
    void addLines(Files::File& file, std::vector<Finding>& findings) const override;
    [[nodiscard]] std::unique_ptr<SceneSection> section(Files::File& file) const override;
};

}  // namespace orbo::Data
