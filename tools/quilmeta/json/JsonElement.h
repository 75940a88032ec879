// Writes the elements of a stream as JSON.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Index.h>
#include <data/StreamIterator.h>
#include <data/Structure.h>

#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// Appends a number, a pair as a list, or the text of any other index.
void appendIndex(std::string& out, const Data::Index& index);

/// Writes the elements of streams with one structure.
class JsonElement {
  public:
    /// The structure must not change while this object is used.
    explicit JsonElement(const Data::Structure& structure);

    /// Appends { "index": ..., "values": { MEMBER: VALUE, ... } }. When the name of a member is not
    /// UTF-8, and so cannot be a key, the values are a list in member order. They are null for an
    /// element without data.
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
