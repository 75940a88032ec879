// Attach that owns its associations.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Attach.h>
#include <debug/Export.h>
#include <debug/RefPtr.h>

namespace orbo::Data {

class METADATA_API AttachDirectly : public Attach {
  public:
    AttachDirectly();
    /// Gets associations of its own that share the other's channels; empty ones if it has none.
    AttachDirectly(const AttachDirectly& other);
    /// Both objects then refer to one `Associations` object, which lives as long as either does.
    AttachDirectly& operator=(const AttachDirectly& other);
    ~AttachDirectly() override;

    Associations* editableMetadata() override;
    [[nodiscard]] const Associations* metadata() const override;
    /// Stores a copy that shares the channels. Always true.
    bool setMetadata(const Associations& associations) override;
    /// Always true.
    bool deleteMetadata() override;

  private:
    struct Shared;
    RefPtr<Shared> fMetadata;
};

}  // namespace orbo::Data
