// Walks mapped storage in the order of the indices.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/StreamIteratorImpl.h>

#include <cstdint>
#include <memory>

#include "streams/StreamImplMapped.h"

namespace orbo::Data {

class StreamMappedIteratorImpl : public StreamIteratorImpl {
  public:
    StreamMappedIteratorImpl() = default;
    StreamMappedIteratorImpl(const StreamImplMapped& storage, bool begin);
    StreamMappedIteratorImpl(const StreamMappedIteratorImpl& other);

    [[nodiscard]] StreamIteratorImpl* clone() const override;
    /// 0 at the end.
    [[nodiscard]] Index index() const override;

  protected:
    void step() override;
    [[nodiscard]] const StreamImpl* storage() const override { return fStorage; }
    [[nodiscard]] bool samePlace(const StreamIteratorImpl& base) const override;

  private:
    /// To the first of the numbered elements that is not below, or to what comes behind them.
    void moveTo(std::uint64_t number);
    /// The current element, which may have been removed.
    void showAgain();
    void showNumbered();
    void showTyped();

    const StreamImplMapped* fStorage = nullptr;
    bool fIsTyped = true;  // which come behind the numbered
    // What is behind the stretch, as long as the storage does not change.
    NumberedElements::Run fBehind;
    StreamImplMapped::TypedElements::const_iterator fTyped;
};

}  // namespace orbo::Data
