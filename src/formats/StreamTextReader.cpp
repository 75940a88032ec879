// Parser of one stream's text.
// SPDX-License-Identifier: Apache-2.0
#include "formats/StreamTextReader.h"

#include <data/Structure.h>

#include <algorithm>
#include <limits>
#include <new>

#include "core/Ascii.h"
#include "core/GetArea.h"
#include "core/HandleAccess.h"
#include "core/PlainNumber.h"
#include "core/ValueText.h"
#include "formats/RawMessages.h"
#include "formats/ReaderRemarks.h"
#include "streams/StreamAccess.h"
#include "streams/StreamImpl.h"

namespace orbo::Data {

namespace {

using Remarks = ReaderRemarks::Kind;

// Up to this many bytes an element is allocated without a look at the text first.
constexpr std::uint64_t kSmallElement = 64 * 1024;

// Characters of the shortest text that holds a chunk's values: a digit and a blank for each number,
// two quotes for each string. The last blank is not needed.
std::uint64_t shortestText(const Layout& layout) {
    std::uint64_t characters = 0;
    for (const Member& member : layout.members()) {
        const auto numbers = static_cast<std::uint64_t>(dataType(member.type()).numbers);
        characters += 2 * numbers * member.length();
    }
    return characters == 0 ? 0 : characters - 1;
}

// Numbers of the matrix members from this one on, up to the next member of another kind.
std::uint64_t numbersInMatrices(const Layout& layout, unsigned int& member) {
    std::uint64_t numbers = 0;
    for (; member < layout.memberCount(); ++member) {
        const DataType& type = dataType(layout.member(member).type());
        if (type.numbers == 1) break;
        numbers += static_cast<std::uint64_t>(type.numbers) * layout.member(member).length();
    }
    return numbers;
}

}  // namespace

StreamTextReader::StreamTextReader(std::istream& in, const Keywords& words)
    : fIn(in),
      fWords(words),
      fMembers(in, MemberTextReader::Messages::kCountOnly),
      fMakeIndex(IndexTypes::maker(Index::theTypeName())) {}

std::unique_ptr<Stream> StreamTextReader::read(std::string& errors) {
    std::unique_ptr<Stream> stream;
    ValueText::skipBlanks(fIn);
    if (fIn.good()) {
        readHeader();
        stream = makeStream();
    } else {
        atRecord("Stream name");
    }
    if (stream) readElements(*stream);
    if (fIn.bad()) report("Error in stream while reading.");
    if (fErrorCount == 0) {
        if (fReadAMember) errors.clear();
        return stream;
    }
    errors = fMessages + std::to_string(fErrorCount) + (fErrorCount > 1 ? " errors" : " error") +
             " found, Stream not created";
    return nullptr;
}

bool StreamTextReader::nextLine() {
    if (!ValueText::readLine(fIn, fLine)) return false;
    fTrimmed = Ascii::trim(fLine);
    return true;
}

void StreamTextReader::readHeader() {
    while (fIn.good()) {
        ++fRecord;
        if (!nextLine()) return;
        if (fTrimmed.empty()) continue;
        const Line line = takeHeaderLine();
        if (line == Line::kHeader) continue;
        fHasIndexLine = line == Line::kIndex;
        return;
    }
}

StreamTextReader::Line StreamTextReader::takeHeaderLine() {
    if (!fNameSeen && Ascii::startsWith(fTrimmed, fWords.name)) {
        fName = restBehind(fWords.name);
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

StreamTextReader::Line StreamTextReader::takeIndexType(const std::string& typeName) {
    fMakeIndex = IndexTypes::maker(typeName);
    fIndexTypeSeen = true;
    if (!fMakeIndex.isNull()) return Line::kHeader;
    report("Creator for index type '" + typeName + "' not found");
    return Line::kBadHeader;
}

void StreamTextReader::takeStructure(const std::string& name) {
    fStructure = Structure::structureByName(name.c_str());
    if (!fStructure) report("Structure '" + name + "' not found");
}

std::string StreamTextReader::restBehind(std::string_view keyword) const {
    return std::string(Ascii::trim(fTrimmed.substr(keyword.size())));
}

std::unique_ptr<Stream> StreamTextReader::makeStream() {
    if (!fNameSeen) {
        atRecord("Stream name");
    } else if (!fStructure) {
        atRecord("Structure name");
    } else if (!fMakeIndex.isNull()) {
        auto stream = std::make_unique<Stream>(*fStructure, fName);
        if (fIndexTypeSeen) stream->setIndexType(fMakeIndex.typeName());
        fLayout = RefPtr<const Layout>(&Layout::of(*fStructure));
        return stream;
    }
    return nullptr;
}

void StreamTextReader::readElements(Stream& stream) {
    if (!ReaderRemarks::wanted(Remarks::kPassedOver) && fLayout->memberCount() > 0 &&
        fLayout->totalSize() <= kSmallElement && fMakeIndex.typeName() == Index::theTypeName()) {
        fPlainText.emplace(*fLayout);
    }
    while (fHasIndexLine || nextIndexLine()) {
        fHasIndexLine = false;
        if (fTrimmed == fWords.end) return;
        readElement(stream);
        if (fPlainText && fErrorCount == 0 && fIn.good()) readPlainElements(stream);
    }
}

// The ordinary case: a number on a line and values on the next, both in sight. The first element
// that is not so, and all that cannot be read, is left to the others.
void StreamTextReader::readPlainElements(Stream& stream) {
    StreamImpl* const places = StreamAccess::placesOf(stream, *fLayout);
    if (!places) return;
    const std::string_view ready = GetArea::of(*fIn.rdbuf());
    const char* const last = ready.data() + ready.size();
    const char* next = ready.data();
    for (;;) {
        unsigned int number = 0;
        const char* const indexEnd = PlainNumber<unsigned int>::read(next, last, number);
        if (!indexEnd || indexEnd == last || *indexEnd != '\n') break;
        // Of one that is not plain after all a default element stays for the moment: the long way
        // puts its own in the place, or there will be no stream.
        char* const chunk = places->place(number);
        const char* const end = chunk ? fPlainText->read(indexEnd + 1, last, chunk) : nullptr;
        if (!end) break;
        next = end;
        ++fRecord;
        fReadAMember = true;
    }
    GetArea::take(*fIn.rdbuf(), static_cast<std::size_t>(next - ready.data()));
}

bool StreamTextReader::nextIndexLine() {
    while (fIn.good()) {
        ++fRecord;
        if (!nextLine()) return false;
        if (!fTrimmed.empty()) return true;
    }
    return false;
}

// Once there are errors no stream will come of it: the rest is read to count them, into one chunk
// that serves all elements.
void StreamTextReader::readElement(Stream& stream) {
    std::optional<Index> index = takeIndex();
    if (!index) return;
    const bool counting = fErrorCount != 0;
    Handle element = HandleAccess::own(*fStructure, *fLayout,
                                       counting ? HandleAccess::release(fScratch) : newChunk());
    char* const chunk = HandleAccess::data(element);
    if (chunk || fLayout->totalSize() == 0) {
        readValues(chunk, *index);
    } else if (!counting) {
        report("Data at record " + std::to_string(fRecord) + " cannot hold the " +
               std::to_string(fLayout->totalSize()) + " bytes of structure '" + fStructure->name() +
               "'");
    }
    if (ReaderRemarks::wanted(Remarks::kPassedOver) && fErrorCount == 0) remarkOn(stream, *index);
    fIn.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    if (fErrorCount != 0) {
        stream.clear();
        if (chunk) fLayout->destroyStrings(chunk);
        fScratch = std::move(element);
    } else if (!StreamAccess::adoptElement(stream, std::move(*index), std::move(element))) {
        // A message, but no error.
        fMessages += "Could not add element at index " + index->asString() + "\n";
    }
}

void StreamTextReader::remarkOn(const Stream& stream, const Index& index) {
    const std::string place = "index " + index.asString();
    if (stream.hasElement(index)) {
        ReaderRemarks::add(Remarks::kPassedOver,
                           "Stream '" + fName + "' has several elements of one index", place,
                           placeOf(index));
    }
    const std::string_view left = GetArea::of(*fIn.rdbuf());
    if (Ascii::trim(left.substr(0, left.find('\n'))).empty()) return;
    ReaderRemarks::add(Remarks::kPassedOver,
                       "Stream '" + fName + "' has text behind the values of an element", place,
                       placeOf(index));
}

TextPlace StreamTextReader::placeOf(const Index& index) const {
    return {{}, fName, index.asString(), {}};
}

// Reading stops in front of "nan" or "inf", behind a sign. Some writers print "1.#INF".
void StreamTextReader::remarkOnNotFinite(const Member& member, const Index& index) {
    if (!ReaderRemarks::wanted(Remarks::kNotFinite)) return;
    const std::string_view left = GetArea::of(*fIn.rdbuf());
    const std::string word = Ascii::lower(std::string(left.substr(0, 3)));
    if (word != "nan" && word != "inf" && !Ascii::startsWith(word, "#")) return;
    TextPlace place = placeOf(index);
    place.member = member.name();
    ReaderRemarks::add(
        Remarks::kNotFinite,
        "Stream '" + fName + "', member '" + member.name() + "' has a number that is not finite",
        "index " + index.asString(), place);
}

// Null where there is no text for it, or nothing to allocate.
char* StreamTextReader::newChunk() {
    if (fLayout->totalSize() == 0 || !textCanHoldElement()) return nullptr;
    char* const chunk = fLayout->allocate();
    if (!chunk) throw std::bad_alloc();
    return chunk;
}

std::optional<Index> StreamTextReader::takeIndex() {
    try {
        return fMakeIndex(std::string(fTrimmed));
    } catch (Index::eCreationErrors code) {
        report("Value '" + std::string(fTrimmed) + "' on or about character " +
               std::to_string(static_cast<long long>(fIn.tellg())) +
               " is not a legal index (code " + std::to_string(code) + ") of type " +
               fMakeIndex.typeName());
        return std::nullopt;
    }
}

void StreamTextReader::readValues(char* chunk, const Index& index) {
    for (unsigned int i = 0; i < fLayout->memberCount() && fIn.good();) {
        const Member& member = fLayout->member(i++);
        unsigned long long errors = fMembers.read(member, chunk + member.offset(), fRecord);
        if (errors != 0 && fErrorCount == 0) remarkOnNotFinite(member, index);
        if (fMembers.stuck()) errors += numbersInMatrices(*fLayout, i);
        fErrorCount = saturatedSum(fErrorCount, errors);
        fReadAMember = true;
    }
}

// Where the input cannot tell how much is left, the values themselves will.
bool StreamTextReader::textCanHoldElement() {
    if (fLayout->totalSize() <= kSmallElement) return true;
    std::streambuf& buffer = *fIn.rdbuf();
    const auto here = buffer.pubseekoff(0, std::ios_base::cur, std::ios_base::in);
    const auto end = buffer.pubseekoff(0, std::ios_base::end, std::ios_base::in);
    if (here == std::streampos(-1) || end == std::streampos(-1)) return true;
    buffer.pubseekpos(here, std::ios_base::in);
    return shortestText(*fLayout) <= static_cast<std::uint64_t>(end - here);
}

void StreamTextReader::report(const std::string& message) {
    if (fMessages.size() < kMostMessageBytes) fMessages += message + "\n";
    fErrorCount = saturatedSum(fErrorCount, 1);
}

void StreamTextReader::atRecord(const std::string& what) {
    report("Index data encountered before " + what + " specified at record " +
           std::to_string(fRecord));
}

}  // namespace orbo::Data
