// Reads a JSON document of any size piece by piece.
// SPDX-License-Identifier: Apache-2.0
#include "json/JsonReader.h"

#include "json/JsonText.h"
#include "values/SafeText.h"

#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

#include <algorithm>
#include <cassert>
#include <set>
#include <vector>

namespace orbo::Quilmeta {

namespace {

/// A source as RapidJSON reads one, which counts lines. The base is there for functions that
/// RapidJSON compiles, and calls only for texts that it changes in place.
class Characters : private rapidjson::StringStream {
  public:
    using Ch = char;

    using GenericStringStream::Flush;
    using GenericStringStream::Put;
    using GenericStringStream::PutBegin;
    using GenericStringStream::PutEnd;

    explicit Characters(JsonSource& source) : GenericStringStream(""), fSource(source) {
        fill();
        constexpr std::string_view kMark = "\xEF\xBB\xBF";
        if (fRest.substr(0, kMark.size()) == kMark) fRest.remove_prefix(kMark.size());
    }
    [[nodiscard]] char Peek() const { return fRest.empty() ? '\0' : fRest.front(); }
    char Take() {
        if (fRest.empty()) return '\0';
        const char taken = fRest.front();
        if (taken == '\n') ++fLine;
        fRest.remove_prefix(1);
        if (fRest.empty()) fill();
        return taken;
    }
    // RapidJSON asks for the place of an error, which we tell by the line.
    [[nodiscard]] size_t Tell() const { return 0; }
    [[nodiscard]] size_t line() const { return fLine; }
    /// A byte 0 in the text looks like the end to RapidJSON.
    [[nodiscard]] bool atEnd() const { return fRest.empty(); }

  private:
    void fill() { fRest = fSource.next(); }

    JsonSource& fSource;
    std::string_view fRest;
    size_t fLine = 1;
};

/// The keys of one object. Nearly all have a few, which are found fastest one after the other.
class Keys {
  public:
    void clear() {
        fCount = 0;
        fMany.clear();
    }
    /// False when it is there.
    bool add(std::string_view key) {
        constexpr size_t kFew = 16;
        const auto end = fFew.begin() + static_cast<std::ptrdiff_t>(fCount);
        if (std::find(fFew.begin(), end, key) != end) return false;
        if (fCount == kFew) return fMany.emplace(key).second;
        if (fCount == fFew.size()) fFew.emplace_back();
        fFew[fCount++].assign(key);
        return true;
    }

  private:
    std::vector<std::string> fFew;
    size_t fCount = 0;
    std::set<std::string> fMany;
};

/// Turns RapidJSON's events into calls of the visitor.
class Events : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, Events> {
  public:
    Events(const Characters& characters, JsonVisitor& visitor, JsonProblems& problems)
        : fCharacters(characters), fVisitor(visitor), fProblems(problems) {}

    bool Null() { return scalar("null"); }
    bool Bool(bool value) { return scalar(value ? "true" : "false"); }
    bool RawNumber(const char* digits, rapidjson::SizeType size, bool) {
        return scalar({digits, size});
    }
    bool String(const char* text, rapidjson::SizeType size, bool) {
        fString.clear();
        if (!skips()) appendJson(fString, std::string_view(text, size));
        return scalar(fString);
    }
    bool Key(const char* text, rapidjson::SizeType size, bool) { return key({text, size}); }
    bool StartObject() { return start(false); }
    bool StartArray() { return start(true); }
    bool EndObject(rapidjson::SizeType) { return end(); }
    bool EndArray(rapidjson::SizeType) { return end(); }

    [[nodiscard]] const JsonPath& path() const { return fPath; }

  private:
    using Take = JsonVisitor::Take;
    struct Frame {
        bool isList = false;
        size_t count = 0;
        Take taken = Take::kOpen;
        Keys keys;
    };

    [[nodiscard]] bool skips() const { return fDepth > 0 && frame().taken == Take::kSkip; }
    [[nodiscard]] bool captures() const { return fDepth > 0 && frame().taken == Take::kWhole; }
    [[nodiscard]] const Frame& frame() const { return fFrames[fDepth - 1]; }
    Frame& frame() { return fFrames[fDepth - 1]; }

    void capture(std::string_view text) {
        for (; fLine < fCharacters.line(); ++fLine) fText += '\n';
        fText += text;
    }

    /// Before each value.
    void enter() {
        if (fDepth == 0 || !frame().isList) return;
        if (captures() && frame().count > 0) capture(", ");
        fPath.enter(frame().count++);
    }
    /// Behind each value.
    void leave() {
        if (fDepth > 0) fPath.leave();
    }

    bool scalar(std::string_view text) {
        enter();
        if (captures())
            capture(text);
        else if (!skips())
            fVisitor.value(fPath, JsonCursor(text, fCharacters.line()));
        leave();
        return true;
    }

    bool key(std::string_view key) {
        if (captures()) {
            capture(frame().count > 0 ? ", " : " ");
            fString.clear();
            appendJson(fString, key);
            capture(fString + ": ");
        }
        ++frame().count;
        fPath.enter(key);
        if (!skips() && !frame().keys.add(key))
            fProblems.add(fCharacters.line(), fPath, "comes twice");
        return true;
    }

    bool start(bool isList) {
        constexpr size_t kDeepest = 64;
        if (fDepth == kDeepest) {
            fProblems.add(fCharacters.line(), fPath, "is nested too deeply");
            return false;
        }
        enter();
        const bool inWhole = captures();
        const Take taken = skips()   ? Take::kSkip
                           : inWhole ? Take::kWhole
                                     : fVisitor.take(fPath, isList);
        if (taken == Take::kWhole && !inWhole) {
            fText.clear();
            fFirstLine = fLine = fCharacters.line();
        }
        if (taken == Take::kWhole) capture(isList ? "[" : "{");
        push(isList, taken);
        return true;
    }

    void push(bool isList, Take taken) {
        if (fDepth == fFrames.size()) fFrames.emplace_back();
        Frame& frame = fFrames[fDepth++];
        frame.isList = isList;
        frame.count = 0;
        frame.taken = taken;
        frame.keys.clear();
    }

    bool end() {
        const Take taken = frame().taken;
        if (taken == Take::kWhole) capture(frame().isList ? "]" : " }");
        --fDepth;
        if (taken == Take::kOpen)
            fVisitor.end(fPath, fCharacters.line());
        else if (taken == Take::kWhole && !captures())
            fVisitor.value(fPath, JsonCursor(fText, fFirstLine));
        leave();
        return true;
    }

    const Characters& fCharacters;
    JsonVisitor& fVisitor;
    JsonProblems& fProblems;
    JsonPath fPath;
    std::vector<Frame> fFrames;  // those behind `fDepth` wait to be used again
    size_t fDepth = 0;
    std::string fText;  // of the value that is taken whole
    size_t fFirstLine = 0, fLine = 0;
    std::string fString;
};

/// "Missing a comma or } after an object member." as a message of ours.
std::string messageOf(rapidjson::ParseErrorCode code) {
    std::string message = rapidjson::GetParseError_En(code);
    message[0] = static_cast<char>(message[0] | 0x20);
    if (message.back() == '.') message.pop_back();
    return "is no JSON: " + message;
}

}  // namespace

bool readJson(JsonSource& source, JsonVisitor& visitor, JsonProblems& problems) {
    constexpr unsigned kHow = rapidjson::kParseIterativeFlag |
                              rapidjson::kParseNumbersAsStringsFlag |
                              rapidjson::kParseValidateEncodingFlag;
    Characters characters(source);
    Events events(characters, visitor, problems);
    rapidjson::Reader reader;
    const rapidjson::ParseResult result = reader.Parse<kHow>(characters, events);
    if (!result.IsError()) {
        if (characters.atEnd()) return true;
        problems.add(characters.line(), {}, "is no JSON: has a byte 0 behind its end");
        return false;
    }
    if (result.Code() != rapidjson::kParseErrorTermination)
        problems.add(characters.line(), events.path(), messageOf(result.Code()));
    return false;
}

}  // namespace orbo::Quilmeta
