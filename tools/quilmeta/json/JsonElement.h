// Writes the elements of a stream as JSON.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/MemberName.h"

#include <data/Index.h>
#include <data/StreamIterator.h>
#include <data/Structure.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orbo::Quilmeta {

/// What the values are written for. A patch tells what `diff` tells apart, and nothing else: a NaN
/// has its bits, "NaN:0xffc00000", where they are not the usual ones, and a null string is an empty
/// one, as it will be in any file.
enum class JsonFor { kDocument, kPatch };

/// Appends a number, a pair as a list, or the text of any other index.
void appendIndex(std::string& out, const Data::Index& index);
/// Appends all values of a member, which lie side by side from `parts` on: one value alone, or a
/// list of values.
void appendMember(std::string& out, const void* parts, const Data::Member& member, JsonFor use);

/// Appends the values of a member of the element, or the one value that is named.
void appendNamed(std::string& out, Data::Handle& element, const NamedMember& named);
/// A text that stands for a value: a JSON number, truth value or null as it is, unless the member
/// is known to hold strings, and else a string.
std::string jsonOfText(const std::string& text, const NamedMember& named);

/// Writes the elements of streams with one structure.
class JsonElement {
  public:
    /// The structure must not change while this object is used.
    explicit JsonElement(const Data::Structure& structure, JsonFor use = JsonFor::kDocument);

    /// Appends { "index": ..., "values": { MEMBER: VALUE, ... } }. When the name of a member is not
    /// UTF-8, and so cannot be a key, the values are a list in member order. They are null for an
    /// element without data. Puts `front` in front of it.
    void append(std::string& out, std::string_view front, Data::StreamIterator& element) const;
    /// Appends the values alone.
    void appendValues(std::string& out, Data::Handle& element) const;

    class Pieces;

  private:
    /// All that stands between the values before and those of a member.
    struct Lead {
        std::string text;
        size_t size = 0;
        char bytes[32] = {};  // of a short text

        void set(std::string whole) {
            text = std::move(whole);
            size = text.size();
            text.copy(bytes, sizeof bytes);
        }
    };
    struct Field {
        Data::Member::eDataType type;
        unsigned int length;
        Lead lead;
    };
    void addValues(Pieces& out, Data::Handle& element) const;

    std::vector<Field> fFields;
    JsonFor fUse;
    bool fNamed = true;
};

}  // namespace orbo::Quilmeta
