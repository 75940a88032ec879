// Indented, sectioned text dump of model objects.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <debug/Export.h>
#include <debug/OwnedPtr.h>

#include <iosfwd>
#include <string>

namespace orbo::Debug {

/// Writes a dump to a stream that the caller keeps alive. Items come out at the current
/// indentation; only the first item of a chain is indented, because `<<` returns the stream.
///
///     Debug::Print print(std::cout);
///     print.addFilter(Handle::kDebugType, 1);
///     Structure::Debug(&structure, print);
class METADATA_API Print {
  public:
    enum eStyle {
        kSectionBraces = 0,  ///< "{" and "}" around a section's lines
        kSectionPlain = 1    ///< indentation only
    };

    explicit Print(std::ostream& out);
    /// Copies write to the same stream, with indentation and filters of their own.
    Print(const Print&);
    Print& operator=(const Print&);
    ~Print();

    /// Writes the indentation (nothing at a level of 0 or below, nor right after
    /// `skipNextIndent(true)`) and returns the stream for the caller's own output.
    std::ostream& doIndent();

    /// All indent, print the value as the stream itself does, and return the stream.
    std::ostream& operator<<(char value);
    std::ostream& operator<<(unsigned char value);
    std::ostream& operator<<(int value);
    std::ostream& operator<<(unsigned int value);
    std::ostream& operator<<(float value);
    std::ostream& operator<<(double value);
    std::ostream& operator<<(char* value);
    std::ostream& operator<<(const char* value);
    /// Prints as printf does with "0x%p", whose own prefix comes on top on most systems.
    std::ostream& operator<<(const void* value);
    std::ostream& operator<<(long long value);
    std::ostream& operator<<(unsigned long long value);

    /// Prints the title and indents what follows, up to `endSection`, by one more level.
    void beginSection(const char* title);
    void endSection();

    /// Each setter returns what was in force before.
    int indent(int delta);
    int setIndent(int level);
    std::string setIndentString(const std::string& text);
    eStyle setSectionStyle(eStyle style);
    bool skipNextIndent(bool skip);

    /// Prints each byte as two lower-case hexadecimal digits and a blank, without a line break.
    std::ostream& outputHexChars(unsigned int count, unsigned char* bytes);

    /// Filters are named switches that single dumps consult ("hex", "type", "structure").
    void addFilter(const std::string& name, int level);
    /// Leaves `level` alone when the filter is absent.
    bool findFilter(const std::string& name, int& level);
    bool findFilter(const std::string& name, int& level) const;
    void removeFilter(const std::string& name);

  private:
    struct State;
    OwnedPtr<State> fState;
};

}  // namespace orbo::Debug
