// What is shared by the ways to read a scene.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>
#include <data/ReadPolicy.h>

#include <chrono>
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

}  // namespace orbo::Python
