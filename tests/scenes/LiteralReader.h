// Another reader of text scenes: it knows no comments, and works on lines from the last to the
// first. SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

namespace orbo::Data {

struct LiteralRecord {
    bool isStructure;
    std::string format;
    std::string target;  ///< of associations; empty for the scene itself
    std::string value;   ///< unescaped
};

/// Shares no code with the library. A line that does not end with ";" belongs to the statement
/// behind it, be it a comment or the end of a procedure.
class LiteralReader {
  public:
    /// In file order. Nothing behind the trailer's line is looked at.
    static std::vector<LiteralRecord> read(const std::string& scene) {
        LiteralReader reader;
        const std::size_t trailer = scene.rfind("\n// End of");
        std::size_t end =
            trailer == std::string::npos ? scene.size() : scene.find('\n', trailer + 1);
        if (end == std::string::npos) end = scene.size();
        bool goesOn = true;
        while (goesOn && end > 0) {
            const std::size_t feed = scene.rfind('\n', end - 1);
            if (feed == std::string::npos) break;
            goesOn = reader.take(scene.substr(feed + 1, end - feed - 1));
            end = feed;
        }
        return {reader.fMet.rbegin(), reader.fMet.rend()};
    }

  private:
    static bool begins(const std::string& text, const char* prefix) {
        return text.rfind(prefix, 0) == 0;
    }

    /// False at the scene's own statements.
    bool take(std::string line) {
        line.erase(line.find_last_not_of(" \t\r") + 1);
        if (line.empty()) return true;
        if (line.back() != ';') {
            fPending = line + ' ' + fPending;
            return true;
        }
        for (const char* command :
             {"connectAttr", "createNode", "setAttr", "relationship", "select"}) {
            if (begins(fPending, command)) return false;
        }
        if (const auto record = interpreted()) fMet.push_back(*record);
        line.pop_back();
        fPending = line;
        return true;
    }

    [[nodiscard]] std::optional<LiteralRecord> interpreted() const {
        const bool isStructure = begins(fPending, "dataStructure");
        if (!isStructure && !begins(fPending, "applyMetadata")) return std::nullopt;
        std::vector<std::size_t> quotes;
        for (std::size_t at = 0; at < fPending.size(); ++at) {
            if (fPending[at] == '"') quotes.push_back(at);
        }
        if (quotes.size() < 4) return std::nullopt;
        LiteralRecord record{isStructure, between(quotes[0], quotes[1]), "",
                             unescaped(between(quotes[2], quotes.back()))};
        if (!isStructure) {
            record.target = lastWord();
            if (record.target.empty()) return std::nullopt;
            if (record.target == "-scn") record.target.clear();
        }
        return record;
    }
    [[nodiscard]] std::string between(std::size_t first, std::size_t second) const {
        return fPending.substr(first + 1, second - first - 1);
    }
    /// Words have white space between, not only what is stripped at the ends of lines.
    [[nodiscard]] std::string lastWord() const {
        const char* space = " \t\r\v\f";
        const std::size_t end = fPending.find_last_not_of(space) + 1;
        const std::size_t blank = fPending.substr(0, end).find_last_of(space);
        return blank == std::string::npos ? "" : fPending.substr(blank + 1, end - blank - 1);
    }

    static std::string unescaped(const std::string& text) {
        const std::string names = "abtnvfr";
        std::string bytes;
        for (std::size_t at = 0; at < text.size(); ++at) {
            if (text[at] != '\\' || at + 1 == text.size()) {
                bytes += text[at];
                continue;
            }
            const char next = text[++at];
            const std::size_t named = names.find(next);
            if (next >= '0' && next <= '7') {
                int value = next - '0';
                for (int digit = 1; digit < 3 && at + 1 < text.size() && text[at + 1] >= '0' &&
                                    text[at + 1] <= '7';
                     ++digit) {
                    value = value * 8 + (text[++at] - '0');
                }
                bytes += static_cast<char>(value & 255);
            } else {
                bytes += named == std::string::npos ? next : static_cast<char>(7 + named);
            }
        }
        return bytes;
    }

    std::string fPending;
    std::vector<LiteralRecord> fMet;
};

}  // namespace orbo::Data
