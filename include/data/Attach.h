// How an object of the host application carries metadata.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <debug/Export.h>

namespace orbo::Data {

class Associations;

class METADATA_API Attach {
  public:
    virtual ~Attach();
    /// Null when the object carries no metadata; neither of the two makes any.
    virtual Associations* editableMetadata() = 0;
    [[nodiscard]] virtual const Associations* metadata() const = 0;
    virtual bool setMetadata(const Associations& associations) = 0;
    virtual bool deleteMetadata() = 0;

  protected:
    Attach() = default;
    Attach(const Attach&) = default;
    Attach& operator=(const Attach&) = default;
};

}  // namespace orbo::Data
