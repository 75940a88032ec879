// Asks readers of the raw formats for what can be read of a text that is not right.
// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orbo::Data {

/// While it lives, this thread's readers of streams, channels and associations give what they could
/// read where they would give nothing. Values that cannot be read are default. A stream without a
/// known structure is left out, and so is an element whose index cannot be read.
class PartialReading {
  public:
    PartialReading();
    PartialReading(const PartialReading&) = delete;
    PartialReading& operator=(const PartialReading&) = delete;
    ~PartialReading();

    static bool wanted();

  private:
    const bool fOuter;
};

}  // namespace orbo::Data
