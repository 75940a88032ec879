// Walks mapped storage in the order of the indices.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "streams/StreamImplMapped.h"
#include "streams/StreamIteratorImpl.h"

namespace orbo::Data {

class StreamMappedIteratorImpl : public StreamIteratorImpl {
  public:
    StreamMappedIteratorImpl() = default;
    StreamMappedIteratorImpl(StreamImplMapped& storage, bool begin);
    StreamMappedIteratorImpl(const StreamMappedIteratorImpl& other);

    [[nodiscard]] std::unique_ptr<StreamIteratorImpl> clone() const override;
    /// 0 at the end.
    [[nodiscard]] Index index() const override;

  protected:
    void step() override;
    [[nodiscard]] const StreamImpl* storage() const override { return fStorage; }
    [[nodiscard]] bool samePlace(const StreamIteratorImpl& base) const override;

  private:
    void show();

    StreamImplMapped* fStorage = nullptr;
    // Not looked at where fAtEnd is set; the typed elements are what comes behind the numbered.
    NumberedElements::Cursor fNumbered;
    StreamImplMapped::TypedElements::iterator fTyped;
};

}  // namespace orbo::Data
