// Parser of one stream's text.
// SPDX-License-Identifier: Apache-2.0
#include "formats/StreamTextReader.h"

#include <data/Structure.h>

#include <algorithm>
#include <limits>
#include <utility>
#include <variant>
#include <vector>

#include "core/Ascii.h"
#include "core/Excerpt.h"
#include "core/GetArea.h"
#include "core/HandleAccess.h"
#include "core/StructureRegistry.h"
#include "core/ValueText.h"
#include "formats/ElementPieces.h"
#include "formats/RawMessages.h"
#include "formats/ReadContext.h"
#include "streams/StreamAccess.h"
#include "streams/StreamImpl.h"
#include "streams/StreamImplMapped.h"

namespace orbo::Data {

namespace {

using Remarks = ReaderRemarks::Kind;

// The size limit for the fast path; larger elements take too long to prepare.
constexpr std::uint64_t kSmallElement = 64 * 1024;

unsigned long long numbersIn(const Member& member) {
    return static_cast<unsigned long long>(dataType(member.type()).numbers);
}

// Counts the numbers of the matrix members from `member` on, up to the next member that is no
// matrix, and moves `member` there.
unsigned long long numbersInMatrices(const Layout& layout, unsigned int& member) {
    unsigned long long numbers = 0;
    for (; member < layout.memberCount(); ++member) {
        if (numbersIn(layout.member(member)) == 1) break;
        numbers += numbersIn(layout.member(member)) * layout.member(member).length();
    }
    return numbers;
}

}  // namespace

StreamTextReader::StreamTextReader(std::istream& in, const Keywords& words)
    : fIn(in),
      fContext(ReadContext::of(in)),
      fWords(words),
      fOutline(fContext.outline),
      fSeesPlaced(fContext.partial || fContext.listenerFor(Remarks::kPassedOver)),
      fMayHavePieces(fContext.threads > 1 && !fSeesPlaced),
      fMakeIndex(IndexTypes::maker(Index::theTypeName())) {}

std::unique_ptr<Stream> StreamTextReader::read(std::string& errors) {
    std::unique_ptr<Stream> stream;
    fOutline.begin(left());
    ValueText::skipBlanks(fIn);
    if (fIn.good()) {
        readHeader();
        stream = makeStream();
    } else {
        atRecord("Stream name");
    }
    if (stream) {
        readElements(*stream);
    } else if (fContext.partial) {
        while (fTrimmed != fWords.end && nextIndexLine()) continue;
    }
    if (fIn.bad()) report("Error in stream while reading.");
    if (fErrorCount == 0) {
        fOutline.end(fName, left());
        if (fReadAMember) errors.clear();
        return stream;
    }
    errors = fMessages + std::to_string(fErrorCount) + (fErrorCount > 1 ? " errors" : " error") +
             " found, Stream not created";
    if (!fContext.partial) stream.reset();
    return stream;
}

std::size_t StreamTextReader::left() const { return GetArea::of(*fIn.rdbuf()).size(); }

bool StreamTextReader::nextLine() {
    if (fOutline.isNeeded()) fLeftAtLine = left();
    std::string_view line;
    if (!ValueText::readLine(fIn, fLine, line)) return false;
    fTrimmed = Ascii::trim(line);
    return true;
}

void StreamTextReader::readHeader() {
    while (fIn.good() && !(fNameSeen && fStructure && isAtNumber())) {
        ++fRecord;
        if (!nextLine()) return;
        if (fTrimmed.empty()) continue;
        const Line line = takeHeaderLine();
        if (line == Line::kHeader) continue;
        fHasIndexLine = line == Line::kIndex;
        return;
    }
}

// No line of a header begins with a digit.
bool StreamTextReader::isAtNumber() const {
    const std::string_view ready = GetArea::of(*fIn.rdbuf());
    return !ready.empty() && Ascii::isDigit(ready.front());
}

StreamTextReader::Line StreamTextReader::takeHeaderLine() {
    if (!fNameSeen && Ascii::startsWith(fTrimmed, fWords.name)) {
        fName = std::string(restBehind(fWords.name));
        fNameSeen = true;
        return Line::kHeader;
    }
    if (!fIndexTypeSeen && Ascii::startsWith(fTrimmed, fWords.indexType)) {
        return takeIndexType(restBehind(fWords.indexType));
    }
    if (fStructure || !Ascii::startsWith(fTrimmed, fWords.structure)) return Line::kIndex;
    takeStructure(restBehind(fWords.structure));
    return Line::kHeader;
}

StreamTextReader::Line StreamTextReader::takeIndexType(std::string_view typeName) {
    if (typeName != fMakeIndex.typeName()) {
        const std::string name(typeName);
        if (fContext.ownIndexTypesOnly && !IndexTypes::isOwn(name)) throw ForeignIndexType();
        fMakeIndex = IndexTypes::maker(name, fContext.unknownIndexTypes);
        fHasNumbers = false;
    }
    fIndexTypeSeen = true;
    if (!fMakeIndex.isNull()) return Line::kHeader;
    report("Creator for index type " + inQuotes(typeName) + " not found");
    return Line::kBadHeader;
}

// Takes no more of a name than `Structure::name` gives, which is a C string.
void StreamTextReader::takeStructure(std::string_view name) {
    fStructure = StructureRegistry::current().find(name.substr(0, name.find('\0')));
    if (fStructure) return;
    report("Structure " + inQuotes(name) + " not found");
    ReaderRemarks* const remarks = fContext.listenerFor(Remarks::kStructureMissing);
    if (!remarks) return;
    TextPlace place;
    if (fNameSeen) place.stream = fName;
    remarks->addMissingStructure(std::string(name), place);
}

std::string_view StreamTextReader::restBehind(std::string_view keyword) const {
    return Ascii::trim(fTrimmed.substr(keyword.size()));
}

std::unique_ptr<Stream> StreamTextReader::makeStream() {
    if (!fNameSeen) {
        atRecord("Stream name");
    } else if (!fStructure) {
        atRecord("Structure name");
    } else if (!fMakeIndex.isNull()) {
        auto stream = std::make_unique<Stream>(*fStructure, fName);
        if (!fHasNumbers) StreamAccess::setIndexType(*stream, fMakeIndex.typeName());
        fLayout = RefPtr<const Layout>(&Layout::of(*fStructure));
        return stream;
    }
    return nullptr;
}

void StreamTextReader::readElements(Stream& stream) {
    if (fLayout->memberCount() > 0 && fLayout->totalSize() <= kSmallElement) {
        fPlainText.emplace(*fLayout);
    }
    const auto readWhatIsPlain = [&] {
        if (fPlainText && (fErrorCount == 0 || fContext.partial) && fIn.good()) {
            readPieces(stream);
            readPlainElements(stream);
        }
    };
    if (!fHasIndexLine) readWhatIsPlain();
    while (fHasIndexLine || nextIndexLine()) {
        fHasIndexLine = false;
        if (fTrimmed == fWords.end) break;
        readElement(stream);
        readWhatIsPlain();
    }
    fOutline.endElements(fLeftAtLine);
}

// Where several threads may read, and the text is such that this helps. Each look at the text is
// paid for by the elements that it gives, or is the last one at this stream.
void StreamTextReader::readPieces(Stream& stream) {
    while (fMayHavePieces && fHasNumbers) {
        StreamImplMapped* const elements = StreamAccess::mappedPlacesOf(stream, *fLayout);
        const std::string_view ready = GetArea::of(*fIn.rdbuf());
        const ElementPieces text(ready, fWords.end, *fPlainText);
        fMayHavePieces = elements && text.isWorthwhile();
        if (!fMayHavePieces) return;
        std::vector<ElementPiece> pieces = text.read(fContext.threads, *elements);
        std::size_t taken = 0;
        const char* next = ready.data();
        for (ElementPiece& piece : pieces) {
            if (piece.begin != next || !elements->takeOver(*piece.elements)) break;
            fRecord += piece.lines;
            fReadAMember = fReadAMember || !piece.elementsAt.empty();
            fOutline.add(piece, static_cast<std::size_t>(ready.data() + ready.size() - next));
            next = piece.end;
            ++taken;
        }
        const auto size = static_cast<std::size_t>(next - ready.data());
        GetArea::take(*fIn.rdbuf(), size);
        fMayHavePieces = 2 * taken >= pieces.size() && size >= ElementPieces::kWorthwhile / 2;
    }
}

// The fast path: an index on one line and values behind it, all in the buffer. Stop at the first
// element this fast path cannot parse; the general reader takes over there.
void StreamTextReader::readPlainElements(Stream& stream) {
    StreamImpl* const places = StreamAccess::placesOf(stream, *fLayout);
    if (!places) return;
    const std::string_view ready = GetArea::of(*fIn.rdbuf());
    const char* const last = ready.data() + ready.size();
    const char* next = ready.data();
    for (;;) {
        const char* at = next;
        const unsigned int lines = 1 + skipEmptyLines(at, next, last);
        // If the values turn out not to be plain, a default element stays for now: the general
        // reader replaces it, or no stream results. Where it could be seen, it must neither stay
        // nor take the place of another.
        const Placed placed =
            fHasNumbers ? placeNumber(*places, at, last) : placeIndex(*places, at, last);
        const char* const end =
            placed.chunk ? fPlainText->read(placed.values, last, placed.chunk) : nullptr;
        fRecord += end ? lines : lines - 1;
        if (!end && placed.chunk && fSeesPlaced) takeBack(*places, placed);
        if (!end) break;
        notePlace(placed.isNumber, placed.number, static_cast<std::size_t>(last - next));
        next = end;
        fReadAMember = true;
    }
    GetArea::take(*fIn.rdbuf(), static_cast<std::size_t>(next - ready.data()));
}

StreamTextReader::Placed StreamTextReader::placeNumber(StreamImpl& places, const char* at,
                                                       const char* last) const {
    const NumberLine line = NumberLine::read(at, last);
    if (!line.behind || (fSeesPlaced && places.hasElement(line.number))) return {};
    return {places.place(line.number), line.behind, true, line.number};
}

StreamTextReader::Placed StreamTextReader::placeIndex(StreamImpl& places, const char* at,
                                                      const char* last) {
    const std::string_view left(at, static_cast<std::size_t>(last - at));
    const std::size_t size = left.find('\n');
    if (size == std::string_view::npos) return {};
    const std::string_view text = Ascii::trimRight(left.substr(0, size));
    if (text == fWords.end) return {};
    fLine = text;
    try {
        auto made = fMakeIndex.make(fLine);
        Index* const index = std::get_if<Index>(&made);
        if (!index || (fSeesPlaced && places.hasElement(*index))) return {};
        const bool isNumber = !index->complexIndex();
        const unsigned int number = index->index();
        return {places.place(std::move(*index)), at + size + 1, isNumber, number};
    } catch (...) {
        return {};  // the general reader says what is wrong
    }
}

void StreamTextReader::takeBack(StreamImpl& places, const Placed& placed) const {
    places.removeElement(placed.isNumber ? Index(placed.number)
                                         : std::get<Index>(fMakeIndex.make(fLine)));
}

bool StreamTextReader::nextIndexLine() {
    while (fIn.good()) {
        ++fRecord;
        if (!nextLine()) return false;
        if (!fTrimmed.empty()) return true;
    }
    return false;
}

// Most streams never come here.
void StreamTextReader::prepareGeneralReader() {
    if (fMembers) return;
    fMembers.emplace(fIn, MemberTextReader::Messages::kCountOnly,
                     fContext.partial ? MemberTextReader::AfterBadNumber::kSkipWord
                                      : MemberTextReader::AfterBadNumber::kStop);
    fChunk.emplace(*fLayout);
}

void StreamTextReader::readElement(Stream& stream) {
    prepareGeneralReader();
    std::optional<Index> index = takeIndex();
    if (index) {
        notePlace(!index->complexIndex(), index->index(), fLeftAtLine);
        readValues(*index);
        if (fErrorCount == 0 && !fChunk->isWhole()) reportTooShort();
        if (fErrorCount == 0) remarkOn(stream, *index);
    }
    // By contract the line behind a bad index line is an index line, too, unless the caller wants
    // all that can be read.
    if (index || fContext.partial) fIn.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    if (fErrorCount != 0 && !fContext.partial) {
        // No stream will result, but the rest is read to count the errors.
        stream.clear();
        fChunk->discard();
    } else if (index && fElementIsWhole) {
        store(stream, index);
    } else {
        fChunk->clear();
    }
}

void StreamTextReader::notePlace(bool isNumber, unsigned int number, std::size_t left) {
    if (isNumber) {
        fOutline.add(number, left);
    } else {
        fOutline.add(left);
    }
}

void StreamTextReader::store(Stream& stream, std::optional<Index>& index) {
    Handle element = HandleAccess::own(*fStructure, *fLayout, fChunk->release());
    if (StreamAccess::adoptElement(stream, std::move(*index), std::move(element))) return;
    // This is a message, but not an error. The chunk was not taken; its owner still frees it.
    fMessages += "Could not add element at index " + excerptOf(index->asString()) + "\n";
}

void StreamTextReader::remarkOn(const Stream& stream, const Index& index) {
    ReaderRemarks* const remarks = fContext.listenerFor(Remarks::kPassedOver);
    if (!remarks) return;
    const std::string place = "index " + excerptOf(index.asString());
    if (stream.hasElement(index)) {
        remarks->add(Remarks::kPassedOver,
                     "Stream " + inQuotes(fName) + " has several elements of one index", place,
                     placeOf(index));
    }
    const std::string_view left = GetArea::of(*fIn.rdbuf());
    if (Ascii::trim(left.substr(0, left.find('\n'))).empty()) return;
    remarks->add(Remarks::kPassedOver,
                 "Stream " + inQuotes(fName) + " has text behind the values of an element", place,
                 placeOf(index));
}

TextPlace StreamTextReader::placeOf(const Index& index) const {
    return {{}, fName, index.asString(), {}};
}

void StreamTextReader::remarkOnUnreadable(const Member& member, const Index& index) {
    ReaderRemarks* const remarks = fContext.listenerFor(Remarks::kUnreadable);
    if (!remarks) return;
    TextPlace place = placeOf(index);
    place.member = member.name();
    const std::string& text = fMembers->firstBad();
    remarks->add(Remarks::kUnreadable,
                 (text.empty() ? "a value" : inQuotes(text)) + " cannot be read as " +
                     Member::typeName(member.type()),
                 {}, place);
}

// Reading stops in front of "nan" or "inf", after a sign. Some writers print "1.#INF".
void StreamTextReader::remarkOnNotFinite(const Member& member, const Index& index) {
    ReaderRemarks* const remarks = fContext.listenerFor(Remarks::kNotFinite);
    if (!remarks) return;
    const std::string_view left = GetArea::of(*fIn.rdbuf());
    const std::string word = Ascii::lower(std::string(left.substr(0, 3)));
    if (word != "nan" && word != "inf" && !Ascii::startsWith(word, "#")) return;
    TextPlace place = placeOf(index);
    place.member = member.name();
    remarks->add(Remarks::kNotFinite,
                 "Stream " + inQuotes(fName) + ", member " + inQuotes(member.name()) +
                     " has a number that is not finite",
                 "index " + excerptOf(index.asString()), place);
}

std::optional<Index> StreamTextReader::takeIndex() {
    fLine = std::string(fTrimmed);
    fTrimmed = fLine;
    auto made = fMakeIndex.make(fLine);
    if (Index* const index = std::get_if<Index>(&made)) return std::move(*index);
    ReaderRemarks* const remarks = fContext.listenerFor(Remarks::kUnreadable);
    if (fErrorCount == 0 && remarks) {
        remarks->add(Remarks::kUnreadable,
                     inQuotes(fTrimmed, kMostOfValue) + " is no index of type " +
                         excerptOf(fMakeIndex.typeName()),
                     {}, {{}, fName, {}, {}});
    }
    reportIndex(std::get<Index::eCreationErrors>(made));
    return std::nullopt;
}

// Any line may be wrong, so this joins no texts on the way to the messages.
void StreamTextReader::reportIndex(Index::eCreationErrors code) {
    fErrorCount = saturatedSum(fErrorCount, 1);
    if (!hasRoom()) return;
    fMessages.append("Value '").append(excerptOf(fTrimmed)).append("' on or about character ");
    fMessages.append(std::to_string(static_cast<long long>(fIn.tellg())));
    fMessages.append(" is not a legal index (code ").append(std::to_string(code));
    fMessages.append(") of type ").append(excerptOf(fMakeIndex.typeName())).append("\n");
}

void StreamTextReader::readValues(const Index& index) {
    unsigned int i = 0;
    while (i < fLayout->memberCount() && fIn.good()) {
        const Member& member = fLayout->member(i++);
        unsigned long long errors = readMember(member, index);
        if (fMembers->stuck()) errors += numbersInMatrices(*fLayout, i);
        fErrorCount = saturatedSum(fErrorCount, errors);
        fReadAMember = true;
    }
    fElementIsWhole = fChunk->isWhole() && !(fMembers->stuck() && i > 0);
}

// Reads some values at a time, so that memory stays in proportion to the text.
unsigned long long StreamTextReader::readMember(const Member& member, const Index& index) {
    const unsigned int most = ElementChunk::mostAtOnce(member);
    unsigned long long errors = 0;
    for (unsigned int first = 0; first < member.length() && fIn.good();) {
        const unsigned int count = std::min(member.length() - first, most);
        char* const slots = fChunk->slots(member, first, count);
        const unsigned int bad = fMembers->read(member.type(), count, slots, fRecord);
        if (bad != 0 && errors == 0 && fErrorCount == 0) {
            remarkOnNotFinite(member, index);
            remarkOnUnreadable(member, index);
        }
        errors += bad;
        if (errors != 0 && !fContext.partial) fChunk->discard();
        first += count;
        if (fMembers->stuck()) return errors + (member.length() - first) * numbersIn(member);
    }
    return errors;
}

void StreamTextReader::reportTooShort() {
    report("Data at record " + std::to_string(fRecord) + " cannot hold the " +
           std::to_string(fLayout->totalSize()) + " bytes of structure " +
           inQuotes(fStructure->name()));
}

bool StreamTextReader::hasRoom() const { return fMessages.size() < kMostMessageBytes; }

void StreamTextReader::report(const std::string& message) {
    if (hasRoom()) fMessages += message + "\n";
    fErrorCount = saturatedSum(fErrorCount, 1);
}

void StreamTextReader::atRecord(const std::string& what) {
    report("Index data encountered before " + what + " specified at record " +
           std::to_string(fRecord));
}

}  // namespace orbo::Data
