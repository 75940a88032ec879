// Walks over one JSON value in memory.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace orbo::Quilmeta {

/// Stands in front of a value, and takes it or walks into it. The text must be well-formed, as
/// `readJson` and our own writers make it; `readJson` also keeps the line feeds of its source, so
/// that the cursor knows the line. Copies walk on their own; the text must outlive them.
class JsonCursor {
  public:
    enum class Kind { kNull, kTruth, kNumber, kString, kObject, kList };

    explicit JsonCursor(std::string_view text, size_t line = 1) : fRest(text), fLine(line) {}

    Kind kind();
    [[nodiscard]] size_t line();

    /// These take a value of that kind.
    bool truth();
    std::string_view number();
    std::string string();
    /// Takes any value and returns its text.
    std::string_view skip();

    /// Enters an object or a list; `next` must then be called until it is false.
    void open();
    /// Goes to the next item, or the next value of an object; false at the end, which it leaves.
    bool next();
    bool next(std::string& key);

  private:
    char here();
    void take(size_t count) { fRest.remove_prefix(count); }
    [[nodiscard]] size_t stringEnd() const;

    std::string_view fRest;
    size_t fLine;
};

}  // namespace orbo::Quilmeta
