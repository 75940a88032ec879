// How an object of the host application carries metadata.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <debug/Export.h>

namespace orbo::Data {

class Associations;

/// The interface of an object that can carry metadata, such as a node of the host application.
/// `AttachDirectly` implements it.
///
///     void tag(Attach& node) {
///         if (Associations* metadata = node.editableMetadata()) metadata->channel("tags");
///     }
class METADATA_API Attach {
  public:
    virtual ~Attach();
    /// These give the metadata, which the object owns; null when it carries none. Neither of the
    /// two makes any.
    virtual Associations* editableMetadata() = 0;
    [[nodiscard]] virtual const Associations* metadata() const = 0;
    /// Gives the object a copy, in place of what it had. Returns false when it takes none.
    virtual bool setMetadata(const Associations& associations) = 0;
    /// The object carries no metadata afterwards. Returns false when it cannot let go of it.
    virtual bool deleteMetadata() = 0;

  protected:
    Attach() = default;
    Attach(const Attach&) = default;
    Attach& operator=(const Attach&) = default;
};

}  // namespace orbo::Data
