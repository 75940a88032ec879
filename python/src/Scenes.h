// What is shared by the ways to read a scene.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>
#include <data/ReadPolicy.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "Model.h"

namespace orbo::Python {

constexpr unsigned kAllProcessors = 0;

/// Takes all that `os.fsencode` takes.
std::string fileNameOf(nb::handle path);
/// The same. Throws the `OSError` of a file that is not there or not to be read, and
/// `NotASceneError` for one that is no regular file.
std::string sceneFile(nb::handle path);
/// Throws a `ValueError` for what is no number of seconds.
std::chrono::milliseconds patienceOf(double wait);

/// Ends a wait for other programs when the user presses Ctrl-C. Takes the interpreter's lock.
bool isInterrupted();
/// Throws what ended a wait.
void throwInterruption();

/// What a scene is read for.
enum class Purpose { kLooking, kEditing, kFilling };
/// An accessor with the package's policies. Throws `NotASceneError` for an unknown extension.
std::unique_ptr<Data::Accessor> accessorFor(const std::string& file, double wait, Purpose purpose,
                                            unsigned threads = kAllProcessors);
/// For a scene that is only looked at.
Data::ReadPolicy readPolicyFor(unsigned threads);
/// Reads with the interpreter's lock released. Warns of what cannot be read. Throws what a read
/// that fails stands for.
std::shared_ptr<SceneState> readInto(std::unique_ptr<Data::Accessor> accessor,
                                     const std::string& file, bool isWritable);

/// What `changeFile` does with the scene.
struct FileChange {
    std::function<void(SceneState& scene)> make;  ///< in memory; may throw
    /// May throw a better exception than the one about a write that is refused.
    std::function<void(SceneState& scene)> explain{};
};
/// Opens the file, changes it and saves it; again when somebody else has written meanwhile, a few
/// times at least and for as long as one waits. Gives whether there was anything to write, and the
/// text of a dry run.
nb::object changeFile(nb::handle path, double wait, bool isDryRun, const FileChange& change);

}  // namespace orbo::Python
