// The commands, a source file each.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "output/Output.h"

namespace CLI {
class App;
}

namespace orbo::Quilmeta {

/// Each adds one command, which writes its results to `output` and its exit code to `exitCode`.
/// Both must outlive the app.
void addShow(CLI::App& app, Output& output, int& exitCode);
void addExport(CLI::App& app, Output& output, int& exitCode);
void addSet(CLI::App& app, Output& output, int& exitCode);
void addCheck(CLI::App& app, Output& output, int& exitCode);
void addCopy(CLI::App& app, Output& output, int& exitCode);
void addRefs(CLI::App& app, Output& output, int& exitCode);
void addRecover(CLI::App& app, Output& output, int& exitCode);

/// Commands of `refs`, which is their app.
void addRefsList(CLI::App& app, Output& output, int& exitCode);
void addRefsRepath(CLI::App& app, Output& output, int& exitCode);

}  // namespace orbo::Quilmeta
