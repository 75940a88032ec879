// Names of files with tokens for tiles and frames.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orbo::Quilmeta {

/// Tells one of the files that a path stands for from the others. A tile has its UDIM number, 1001
/// to 1999.
struct FilePlace {
    std::optional<unsigned> tile;
    std::optional<std::uint64_t> frame;
};
bool operator<(const FilePlace& one, const FilePlace& other);

constexpr unsigned kFirstTile = 1001;
constexpr unsigned kLastTile = 1999;
/// "u1_v1" for 1001: columns and rows counted from 1.
std::string uvTileText(unsigned tile);

/// The length of the frame token that the text begins with: "####", "%d", "%04d", "$F", "$F4" or
/// "${F4}"; 0 when there is none.
size_t frameTokenLength(std::string_view text);

/// One component of a path. `<UDIM>` stands for a tile as four digits, `<UVTILE>` for one as u1_v1;
/// a frame token for a number of at least its digits, without zeros ahead beyond those and without
/// a sign. All else is literal.
class NamePattern {
  public:
    explicit NamePattern(std::string_view name);

    [[nodiscard]] bool hasUdim() const { return has(Kind::kUdim); }
    [[nodiscard]] bool hasTile() const { return hasUdim() || has(Kind::kUvTile); }
    [[nodiscard]] bool hasFrame() const { return has(Kind::kFrame); }
    /// A single "#" is a frame only where no file has that very name.
    [[nodiscard]] bool mayBeLiteral() const { return fMayBeLiteral; }

    /// The place of the file of that name. Its tile and frame are those of `known`, if known. No
    /// value when the name does not fit.
    [[nodiscard]] std::optional<FilePlace> match(std::string_view name,
                                                 const FilePlace& known) const;
    /// Every name that fits begins, and ends, with these.
    [[nodiscard]] std::string_view firstText() const;
    [[nodiscard]] std::string_view lastText() const;

  private:
    enum class Kind : unsigned char { kText, kUdim, kUvTile, kFrame };
    struct Token {
        Kind kind = Kind::kText;
        std::string text{};  // of kText alone
        size_t digits = 1;   // of a frame, at least
    };
    struct Reading {
        std::string_view rest;
        FilePlace place;
    };

    [[nodiscard]] bool has(Kind kind) const;
    void add(std::string_view token);
    [[nodiscard]] std::optional<FilePlace> match(size_t token, const Reading& reading) const;
    [[nodiscard]] std::optional<FilePlace> matchTile(size_t token, const Reading& reading) const;
    [[nodiscard]] std::optional<FilePlace> matchFrame(size_t token, const Reading& reading) const;

    std::vector<Token> fTokens;
    bool fMayBeLiteral = true;
};

}  // namespace orbo::Quilmeta
