// Walks dense storage slot by slot.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/StreamIteratorImpl.h>

#include <memory>

namespace orbo::Data {

class StreamImplDense;

class StreamDenseIteratorImpl : public StreamIteratorImpl {
  public:
    StreamDenseIteratorImpl() = default;
    StreamDenseIteratorImpl(const StreamImplDense& storage, bool begin);
    StreamDenseIteratorImpl(const StreamDenseIteratorImpl& other);

    [[nodiscard]] StreamIteratorImpl* clone() const override;
    /// 4294967295 at the end.
    [[nodiscard]] Index index() const override;

  protected:
    void step() override;
    [[nodiscard]] const StreamImpl* storage() const override;
    [[nodiscard]] bool samePlace(const StreamIteratorImpl& other) const override;

  private:
    void moveTo(unsigned int position);
    void show(unsigned int position);

    const StreamImplDense* fStorage = nullptr;
};

}  // namespace orbo::Data
