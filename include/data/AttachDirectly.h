// Attach that owns its associations.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Attach.h>
#include <debug/Export.h>
#include <debug/RefPtr.h>

namespace orbo::Data {

/// Carries associations of its own, and none to begin with.
///
///     AttachDirectly node;
///     node.setMetadata(associations);
///     node.editableMetadata()->channel("edge");
class METADATA_API AttachDirectly : public Attach {
  public:
    /// Makes an object that carries no metadata.
    AttachDirectly();
    /// Gets associations of its own that share the other's channels; empty ones if it has none.
    AttachDirectly(const AttachDirectly& other);
    /// Both objects then refer to one `Associations` object, which lives as long as either does.
    AttachDirectly& operator=(const AttachDirectly& other);
    ~AttachDirectly() override;

    /// It is good until the metadata is set or deleted; null when there is none.
    Associations* editableMetadata() override;
    [[nodiscard]] const Associations* metadata() const override;
    /// Stores a copy that shares the channels. Always returns true.
    bool setMetadata(const Associations& associations) override;
    /// Always returns true.
    bool deleteMetadata() override;

  private:
    struct Shared;
    RefPtr<Shared> fMetadata;
};

}  // namespace orbo::Data
