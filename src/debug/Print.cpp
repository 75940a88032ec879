// Indented, sectioned text dump of model objects.
// SPDX-License-Identifier: Apache-2.0
#include <debug/Print.h>

#include <cstdio>
#include <map>
#include <ostream>
#include <utility>

namespace orbo::Debug {

struct Print::State {
    std::ostream* out;
    int indent = 0;
    std::string indentString = "    ";
    eStyle style = kSectionBraces;
    bool skipNextIndent = false;
    std::map<std::string, int> filters;
};

Print::Print(std::ostream& out) : fState(new State{&out, 0, "    ", kSectionBraces, false, {}}) {}
Print::Print(const Print& other) : fState(new State(*other.fState)) {}
Print& Print::operator=(const Print& other) {
    *fState = *other.fState;
    return *this;
}
Print::~Print() = default;

std::ostream& Print::doIndent() {
    if (std::exchange(fState->skipNextIndent, false)) return *fState->out;
    for (int level = 0; level < fState->indent; ++level) *fState->out << fState->indentString;
    return *fState->out;
}

std::ostream& Print::operator<<(char value) { return doIndent() << value; }
std::ostream& Print::operator<<(unsigned char value) { return doIndent() << value; }
std::ostream& Print::operator<<(int value) { return doIndent() << value; }
std::ostream& Print::operator<<(unsigned int value) { return doIndent() << value; }
std::ostream& Print::operator<<(float value) { return doIndent() << value; }
std::ostream& Print::operator<<(double value) { return doIndent() << value; }
std::ostream& Print::operator<<(char* value) { return doIndent() << value; }
std::ostream& Print::operator<<(const char* value) { return doIndent() << value; }
std::ostream& Print::operator<<(long long value) { return doIndent() << value; }
std::ostream& Print::operator<<(unsigned long long value) { return doIndent() << value; }

std::ostream& Print::operator<<(const void* value) {
    char text[32];
    std::snprintf(text, sizeof text, "0x%p", value);
    return doIndent() << text;
}

void Print::beginSection(const char* title) {
    *this << title << '\n';
    if (fState->style == kSectionBraces) *this << "{\n";
    indent(1);
}

void Print::endSection() {
    indent(-1);
    if (fState->style == kSectionBraces) *this << "}\n";
}

int Print::indent(int delta) { return std::exchange(fState->indent, fState->indent + delta); }
int Print::setIndent(int level) { return std::exchange(fState->indent, level); }

std::string Print::setIndentString(const std::string& text) {
    return std::exchange(fState->indentString, text);
}

Print::eStyle Print::setSectionStyle(eStyle style) { return std::exchange(fState->style, style); }
bool Print::skipNextIndent(bool skip) { return std::exchange(fState->skipNextIndent, skip); }

std::ostream& Print::outputHexChars(unsigned int count, unsigned char* bytes) {
    std::ostream& out = doIndent();
    for (unsigned int i = 0; i < count; ++i) {
        char text[4];
        std::snprintf(text, sizeof text, "%02x ", static_cast<unsigned int>(bytes[i]));
        out << text;
    }
    return out;
}

void Print::addFilter(const std::string& name, int level) { fState->filters[name] = level; }

bool Print::findFilter(const std::string& name, int& level) {
    return std::as_const(*this).findFilter(name, level);
}

bool Print::findFilter(const std::string& name, int& level) const {
    const auto found = fState->filters.find(name);
    if (found == fState->filters.end()) return false;
    level = found->second;
    return true;
}

void Print::removeFilter(const std::string& name) { fState->filters.erase(name); }

}  // namespace orbo::Debug
