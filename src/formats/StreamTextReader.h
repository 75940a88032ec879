// Parses the text of one stream.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Stream.h>
#include <debug/RefPtr.h>

#include <istream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "core/Layout.h"
#include "formats/ElementChunk.h"
#include "formats/ElementText.h"
#include "formats/MemberText.h"
#include "formats/OutlineBuilder.h"
#include "formats/ReadContext.h"
#include "formats/TextPlace.h"
#include "streams/IndexTypes.h"

namespace orbo::Data {

class StreamImpl;

/// A text has header lines in any order, then pairs of lines: an index and the values of its
/// element. Lines may have any length. Use a reader for one text only.
class StreamTextReader {
  public:
    struct Keywords {
        std::string_view name;
        std::string_view indexType;
        std::string_view structure;
        std::string_view end;
    };

    /// The words outlive the reader.
    StreamTextReader(std::istream& in, const Keywords& words);

    /// Null when there were errors, unless `ReadContext::partial` is set: `errors` is then replaced
    /// by the messages. Otherwise `errors` is replaced by what was said about the last member read,
    /// if there was one.
    std::unique_ptr<Stream> read(std::string& errors);

  private:
    enum class Line { kHeader, kBadHeader, kIndex };

    bool nextLine();
    [[nodiscard]] std::size_t left() const;
    void readHeader();
    [[nodiscard]] bool isAtNumber() const;
    Line takeHeaderLine();
    Line takeIndexType(std::string_view typeName);
    void takeStructure(std::string_view name);
    [[nodiscard]] std::string_view restBehind(std::string_view keyword) const;
    std::unique_ptr<Stream> makeStream();
    void readElements(Stream& stream);
    bool nextIndexLine();
    void readPieces(Stream& stream);
    void readPlainElements(Stream& stream);
    /// The chunk of an element whose index was plain; null for another index.
    struct Placed {
        char* chunk = nullptr;
        const char* values = nullptr;  // the line behind the index
        bool isNumber = false;
        unsigned int number = 0;
    };
    Placed placeNumber(StreamImpl& places, const char* at, const char* last) const;
    Placed placeIndex(StreamImpl& places, const char* at, const char* last);
    void takeBack(StreamImpl& places, const Placed& placed) const;
    void prepareGeneralReader();
    void readElement(Stream& stream);
    std::optional<Index> takeIndex();
    void notePlace(bool isNumber, unsigned int number, std::size_t left);
    void remarkOn(const Stream& stream, const Index& index);
    [[nodiscard]] TextPlace placeOf(const Index& index) const;
    void remarkOnNotFinite(const Member& member, const Index& index);
    void store(Stream& stream, std::optional<Index>& index);
    void remarkOnUnreadable(const Member& member, const Index& index);
    void readValues(const Index& index);
    unsigned long long readMember(const Member& member, const Index& index);
    void reportIndex(Index::eCreationErrors code);
    void reportTooShort();
    [[nodiscard]] bool hasRoom() const;  // for messages
    void report(const std::string& message);
    void atRecord(const std::string& what);

    std::istream& fIn;
    const ReadContext& fContext;
    const Keywords& fWords;

    OutlineBuilder fOutline;
    std::size_t fLeftAtLine = 0;  // how much text was left where the line begins
    std::string fLine;            // that was not in the buffer as a whole
    std::string_view fTrimmed;    // without blanks at its ends; valid until the next read

    // A partial stream results in any case, and remarks tell of elements that are there already.
    const bool fSeesPlaced;
    bool fMayHavePieces;  // the rest of the elements, worth threads
    std::string fName;
    IndexTypes::Maker fMakeIndex;
    const Structure* fStructure = nullptr;
    RefPtr<const Layout> fLayout;
    std::optional<ElementText> fPlainText;  // for streams that the fast path can read
    // For the general reader, once it is needed:
    std::optional<MemberTextReader> fMembers;
    std::optional<ElementChunk> fChunk;  // of the element being read

    std::string fMessages;
    unsigned int fRecord = 0;
    unsigned int fErrorCount = 0;
    bool fHasIndexLine = false;
    bool fHasNumbers = true;  // the indices are numbers
    bool fNameSeen = false;
    bool fIndexTypeSeen = false;
    bool fElementIsWhole = false;  // all its values were there, even if bad
    bool fReadAMember = false;
};

}  // namespace orbo::Data
