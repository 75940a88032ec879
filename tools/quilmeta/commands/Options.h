// The options and words that a command takes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json/ResultList.h"
#include "references/LookupArguments.h"
#include "scene/Address.h"
#include "scene/SceneAccess.h"
#include "selection/FileList.h"
#include "selection/Selection.h"

#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace orbo::Quilmeta {

/// Each function adds one option, or a few that belong together, in the order of the help. The
/// values must outlive the parsing, which fills them; a name may list a short form, "-o,--output".
class Options {
  public:
    explicit Options(CLI::App& command) : fCommand(command) {}

    /// One word without an option's name, which must be given.
    void word(const char* name, std::string& value, const char* description);
    /// One word of a fixed set, which `type` lists: "bash|zsh|fish". The command checks it.
    void choice(const char* name, const char* type, std::string& value, const char* description);
    /// All remaining words, if there are any.
    void optionalWords(const char* name, std::vector<std::string>& values, const char* description);
    /// All remaining words, at least one.
    void words(const char* name, std::vector<std::string>& values, const char* description);

    /// Files to work on: all remaining words, and the options that find more.
    void files(FileArguments& files, const char* description);
    /// The options alone, for a command that takes other words as well.
    void fileOptions(FileArguments& files);
    /// --node, --channel and --stream, which name one stream.
    void address(StreamAddress& address);
    /// The same as patterns, and --fixed.
    void selection(SelectionArguments& selection);
    /// --define and --tiles.
    void lookup(LookupArguments& lookup);
    /// --json, --jsonl and --json-strings.
    void results(ResultFormat& format);
    /// --json-strings alone, for a command whose results always are JSON.
    void wideIntegers();

    void flag(const char* name, bool& value, const char* description);
    void required(const char* name, const char* type, std::string& value, const char* description);
    void optional(const char* name, const char* type, std::optional<std::string>& value,
                  const char* description);
    /// May be given several times, with one value each.
    void repeated(const char* name, const char* type, std::vector<std::string>& values,
                  const char* description);

    /// --wait, for commands that use scenes in a way of their own.
    void wait(SceneAccess& access);
    /// --partial and --wait, for commands that show what they read.
    void reading(SceneAccess& access);
    /// --wait, --no-journal, --backup, --dry-run and the format of the report, for commands that
    /// change scenes.
    void writing(SceneAccess& access);

  private:
    CLI::App& fCommand;
};

}  // namespace orbo::Quilmeta
