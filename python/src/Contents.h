// Scenes whose contents are in memory.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>
#include <data/SceneKind.h>

#include <memory>
#include <string_view>

namespace orbo::Python {

/// Reads the contents of a scene that has no file. Nothing can be written.
class ContentsAccessor : public Data::Accessor {
  public:
    /// `read` uses the bytes.
    ContentsAccessor(std::unique_ptr<const Data::SceneKind> kind, std::string_view bytes)
        : fKind(std::move(kind)), fBytes(bytes) {}

    bool write(std::string& errors) const override;
    [[nodiscard]] bool isEdited() const override { return false; }

  protected:
    bool readImplementation(const std::set<std::string>* structureNames,
                            const std::set<std::string>* associationNames,
                            std::string& errors) override;

  private:
    const std::unique_ptr<const Data::SceneKind> fKind;
    const std::string_view fBytes;
};

}  // namespace orbo::Python
