// One element after the other as JSON.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/StreamIterator.h>
#include <data/Structure.h>

#include <string>
#include <vector>

namespace orbo::Quilmeta {

class JsonElement {
  public:
    /// The structure must not change meanwhile.
    explicit JsonElement(const Data::Structure& structure);

    /// { "index": ..., "values": { MEMBER: VALUE, ... } }. The values are a list, in member order,
    /// when a member's name is not UTF-8 and so cannot be a key; null without data.
    void append(std::string& out, Data::StreamIterator& element) const;

  private:
    struct Field {
        const Data::Member* member;
        std::string key;
    };

    std::vector<Field> fFields;
    bool fNamed = true;
};

}  // namespace orbo::Quilmeta
