// The exceptions that stop a command.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace orbo::Quilmeta {

/// Ends the work on one file, or the command. Its text says what went wrong and where, without the
/// name of the file.
class CommandError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Is about another file than the one that is worked on, such as a patch: the message begins with
/// that file.
class FileError : public CommandError {
  public:
    FileError(std::string file, const std::string& text)
        : CommandError(text), fFile(std::move(file)) {}

    [[nodiscard]] const std::string& file() const { return fFile; }

  private:
    std::string fFile;
};

/// The words of the command line do not fit together; the message ends with where to read more.
class UsageError : public CommandError {
  public:
    using CommandError::CommandError;
};

/// The results could not be delivered: no further file is worth trying.
class OutputError : public CommandError {
  public:
    using CommandError::CommandError;
};

/// Whoever read our output has seen enough, as `head` does: the command ends by SIGPIPE and says
/// nothing, unless it changes files.
class ReaderGone : public OutputError {
  public:
    ReaderGone() : OutputError("the reader is gone") {}
};

}  // namespace orbo::Quilmeta
