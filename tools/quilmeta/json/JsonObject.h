// The objects of a JSON result, one to a line.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json/JsonText.h"

#include <optional>
#include <string>
#include <string_view>

namespace orbo::Quilmeta {

/// { "key": VALUE, ... } on one line. Keys are plain words.
class JsonObject {
  public:
    template <typename Value>
    JsonObject& add(const char* key, const Value& value) {
        appendKey(key);
        appendJson(fText, value);
        return *this;
    }
    JsonObject& add(const char* key, const std::string& value) {
        return add(key, std::string_view(value));
    }
    /// Leaves the key out when there is no value.
    template <typename Value>
    JsonObject& add(const char* key, const std::optional<Value>& value) {
        return value ? add(key, *value) : *this;
    }
    /// Takes the value as the JSON that it is.
    JsonObject& addJson(const char* key, std::string_view json) {
        appendKey(key);
        fText += json;
        return *this;
    }
    template <typename Strings>
    JsonObject& addList(const char* key, const Strings& strings) {
        appendKey(key);
        const char* gap = "[";
        for (const std::string& text : strings) {
            fText += gap;
            appendJson(fText, std::string_view(text));
            gap = ", ";
        }
        fText += strings.empty() ? "[]" : "]";
        return *this;
    }

    [[nodiscard]] std::string text() const { return fText + " }"; }
    /// The text without its end, for a last value that is written piece by piece.
    [[nodiscard]] const std::string& unfinished() const { return fText; }

  private:
    void appendKey(const char* key) {
        fText += fText.empty() ? "{ \"" : ", \"";
        fText.append(key) += "\": ";
    }

    std::string fText;
};

}  // namespace orbo::Quilmeta
