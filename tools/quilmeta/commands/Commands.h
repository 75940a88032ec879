// The list of commands.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "commands/Command.h"

#include <memory>

namespace orbo::Quilmeta {

std::unique_ptr<Command> makeShow();
std::unique_ptr<Command> makeFind();
std::unique_ptr<Command> makeEdit();
std::unique_ptr<Command> makeGet();
std::unique_ptr<Command> makeExport();
std::unique_ptr<Command> makeImport();
std::unique_ptr<Command> makeTable();
std::unique_ptr<Command> makeLoad();
std::unique_ptr<Command> makeSet();
std::unique_ptr<Command> makeCopy();
std::unique_ptr<Command> makeRemove();
std::unique_ptr<Command> makeRename();
std::unique_ptr<Command> makeDefine();
std::unique_ptr<Command> makeAdd();
std::unique_ptr<Command> makeDiff();
std::unique_ptr<Command> makePatch();
std::unique_ptr<Command> makeMerge();
std::unique_ptr<Command> makeGitDiff();
std::unique_ptr<Command> makeGitMerge();
std::unique_ptr<Command> makeRefsList();
std::unique_ptr<Command> makeRefsRepath();
std::unique_ptr<Command> makeRefsCollect();
std::unique_ptr<Command> makeCheck();
std::unique_ptr<Command> makeRecover();
std::unique_ptr<Command> makeFormats();
std::unique_ptr<Command> makeCompletion();
std::unique_ptr<Command> makeMan();

/// Commands that share a first word, such as `refs list` and `refs repath`.
constexpr Command::Help kRefsGroup = {
    "refs", "List external files, change their paths, or collect them", R"(
Scenes record the files they refer to in a table: which node refers to the file,
the path as entered and as resolved, and the file's roles.
Example:
  quilmeta refs list robot.kx)"};

struct CommandEntry {
    const Command::Help* group;  ///< null for a command of one word
    std::unique_ptr<Command> (*make)();
};

/// In the order of the help. The entries of a group stand together.
constexpr CommandEntry kCommands[] = {
    {nullptr, makeShow},
    {nullptr, makeFind},
    {nullptr, makeGet},
    {nullptr, makeExport},
    {nullptr, makeImport},
    {nullptr, makeTable},
    {nullptr, makeLoad},
    {nullptr, makeSet},
    {nullptr, makeEdit},
    {nullptr, makeDefine},
    {nullptr, makeAdd},
    {nullptr, makeRemove},
    {nullptr, makeRename},
    {nullptr, makeCopy},
    {nullptr, makeDiff},
    {nullptr, makePatch},
    {nullptr, makeMerge},
    {nullptr, makeGitDiff},
    {nullptr, makeGitMerge},
    {&kRefsGroup, makeRefsList},
    {&kRefsGroup, makeRefsRepath},
    {&kRefsGroup, makeRefsCollect},
    {nullptr, makeCheck},
    {nullptr, makeRecover},
    {nullptr, makeFormats},
    {nullptr, makeCompletion},
    {nullptr, makeMan},
};

}  // namespace orbo::Quilmeta
