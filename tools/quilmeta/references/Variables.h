// Variables in paths, and the home folders that "~" stands for.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orbo::Quilmeta {

/// Expands `$NAME`, `${NAME}` and `%NAME%` by the user's definitions, then by the environment, and
/// a `~` or `~user` that begins the path. Any thread may expand once all definitions are made.
class Variables {
  public:
    /// Takes "NAME=VALUE". The last definition of a name counts. Throws `UsageError` when the name
    /// is none.
    void define(const std::string& definition);

    struct Expanded {
        std::string text;                    ///< what is undefined stays as it is written
        std::vector<std::string> undefined;  ///< names without a value, each once
        std::string unknownUser;             ///< of a "~user" that stays, because nobody has it
    };
    /// Expands once: what a value says is not expanded again. `$F`, `$F4` and `%d` are frames, and
    /// stay, unless a definition has their name. `$$` stays as it is.
    [[nodiscard]] Expanded expand(std::string_view path) const;

  private:
    struct Found {
        std::string name;
        size_t length = 0;  // of all that the value replaces; 0 when no variable is there
    };
    [[nodiscard]] std::optional<std::string> valueOf(const std::string& name) const;
    [[nodiscard]] Found variableAt(std::string_view text) const;
    [[nodiscard]] Found percentVariableAt(std::string_view text) const;
    size_t expandHome(std::string_view path, Expanded& result) const;
    [[nodiscard]] std::optional<std::string> homeOf(const std::string& user) const;

    std::map<std::string, std::string> fDefinitions;
};

}  // namespace orbo::Quilmeta
