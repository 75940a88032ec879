// Messages to the user, on standard error.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orbo::Quilmeta {

/// Prints each line of `text` behind "quilmeta: SUBJECT: ", or behind "quilmeta: " without a
/// subject. A line that begins with a blank continues the one before and gets no prefix. Characters
/// that could control a terminal are escaped.
void complain(std::string_view subject, std::string_view text);

/// The messages in a text that `complain` takes: a line that begins with a blank continues the one
/// before.
std::vector<std::string> messagesIn(std::string_view text);

/// Prints a note, as `complain` does without a subject, unless the user wants silence.
void remark(std::string_view text);

/// What the user wants to hear beside results.
enum class Verbosity { kQuiet, kUsual, kVerbose };
void setVerbosity(Verbosity verbosity);
Verbosity verbosity();

/// While it lives, what its thread has to say is appended to `text` instead.
class MessageCapture {
  public:
    explicit MessageCapture(std::string& text);
    MessageCapture(const MessageCapture&) = delete;
    MessageCapture& operator=(const MessageCapture&) = delete;
    ~MessageCapture();

  private:
    std::string* fBefore;
};
/// Prints what was captured.
void printMessages(std::string_view captured);

/// Returns the name of a file as the subject of a message; an empty name becomes "".
std::string subjectOf(const std::string& file);

/// Returns "No such file or directory" or the like for an `errno`.
std::string systemMessage(int error);

}  // namespace orbo::Quilmeta
