// Accessor for binary scenes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scenes/SceneFileAccessor.h"

namespace orbo::Data {

/// Scenes are one group of chunks, the last of which is the trailer group with the metadata. It is
/// found from the end of the file; the scene's own chunks are neither read nor written.
class QuilBinaryFileAccessor : public SceneFileAccessor {
  private:
    [[nodiscard]] std::string openFailure() const override;
    bool isScene(Files::File& file, Findings& findings) const override;
    bool scan(Files::File& file, ModelReading& reading, Findings& findings) const override;
    [[nodiscard]] std::unique_ptr<SceneSection> section(Files::File& file) const override;
};

}  // namespace orbo::Data
