// A journal of any content changes nothing but what it explains.
// SPDX-License-Identifier: Apache-2.0
#include <string>
#include <string_view>

#include "Law.h"
#include "files/Checksum.h"
#include "files/JournalBytes.h"
#include "files/LockedFile.h"
#include "files/ScriptedFileSystem.h"
#include "files/journal/Journal.h"

namespace {

using namespace orbo::Files;
using orbo::Fuzz::demand;
using Use = LockedFile::Use;
using Verdict = JournalRecovery::Verdict;

const std::string kFile = "/scene";
const std::string kJournal = Journal::pathFor(kFile);

std::string contentOf(LockedFile& locked) {
    File& file = locked.file();
    std::string bytes(static_cast<std::size_t>(file.size().value_or(0)), '\0');
    demand(readExactlyAt(file, 0, bytes.data(), bytes.size()), "the file can be read");
    return bytes;
}

Journal::Condition readJournal(Journal& journal, const std::string& bytes) {
    ScriptedFileSystem system;
    system.files[kJournal] = bytes;
    std::error_code error;
    return journal.read(*system.open(kJournal, FileSystem::Mode::kRead, error));
}

bool isOfAnotherVersion(const std::string& bytes) {
    Journal journal;
    return readJournal(journal, bytes) == Journal::Condition::kOtherVersion;
}

// A journal that is too short may only go when its header shows that nothing was begun.
void demandPlainlyOld(const std::string& content, const std::string& bytes) {
    Journal journal;
    const Journal::Condition condition = readJournal(journal, bytes);
    if (condition == Journal::Condition::kEmpty) return;
    demand(condition == Journal::Condition::kShort && journal.hasHeader, "it is too short");
    demand(content.size() == journal.oldLength, "the file has the old length");
    for (const Journal::Range& range : journal.ranges) {
        Checksum checksum, expected;
        checksum.add(std::string_view(content).substr(static_cast<std::size_t>(range.offset),
                                                      static_cast<std::size_t>(range.oldSize)));
        if (journal.version == 1) {
            expected.add(std::string_view(bytes).substr(static_cast<std::size_t>(range.oldAt),
                                                        static_cast<std::size_t>(range.oldSize)));
        }
        demand(checksum.value() == (journal.version == 1 ? expected.value() : range.oldChecksum),
               "the ranges hold old bytes");
    }
}

// Each byte is an old or a new one of a range, or as it was.
void demandExplained(const std::string& before, const std::string& after,
                     const std::string& journalBytes, bool toOld) {
    Journal journal;
    demand(readJournal(journal, journalBytes) == Journal::Condition::kWhole,
           "only whole journals are applied");
    demand(after.size() == (toOld ? journal.oldLength : journal.newLength), "the length is right");
    std::string expected = before;
    expected.resize(after.size());
    for (const Journal::Range& range : journal.ranges) {
        const auto size = static_cast<std::size_t>(toOld ? range.oldSize : range.newSize);
        const auto from = static_cast<std::size_t>(toOld ? range.oldAt : range.newAt);
        expected.replace(static_cast<std::size_t>(range.offset), size, journalBytes, from, size);
    }
    demand(after == expected, "only the ranges change", after, expected);
}

void check(const std::string& content, const std::string& journal, Use use, bool readOnly) {
    ScriptedFileSystem system;
    const FileSystem::Replacement replaced(system);
    system.files = {{kFile, content}, {kJournal, journal}};
    if (readOnly) system.readOnly = {kFile, kJournal};
    const auto opening = LockedFile::open(kFile, use, {});
    if (isOfAnotherVersion(journal)) {
        demand(!opening.file, "who does not know what to finish opens nothing");
        demand(system.files[kFile] == content && system.files[kJournal] == journal,
               "both stay for the other version");
        return;
    }
    demand(opening.file != nullptr, "a journal of ours never keeps a file closed", opening.problem);
    const std::string seen = contentOf(*opening.file);
    const std::string& after = system.files[kFile];
    demand(readOnly || after == seen, "what is read is what is there");
    demand(!readOnly || after == content, "who may not write changes nothing");
    const bool applied =
        opening.verdict == Verdict::kRestoreOld || opening.verdict == Verdict::kKeepNew;
    if (applied) {
        demandExplained(content, seen, journal, opening.verdict == Verdict::kRestoreOld);
    } else {
        demand(seen == content, "nothing else changes the file");
    }
    if (opening.verdict == Verdict::kNotBegun) demandPlainlyOld(content, journal);
    const bool aside =
        opening.verdict == Verdict::kDamaged || opening.verdict == Verdict::kUnexplained;
    if (readOnly) return;
    demand(system.files.count(kJournal) == (use == Use::kRead && !applied && !aside),
           "the journal is gone, unless nobody cared");
    demand(!aside || system.files[kJournal + ".set-aside-1"] == journal, "it is set aside whole");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view input = orbo::Fuzz::textOf(data, size);
    if (input.empty()) return 0;
    const auto options = static_cast<unsigned char>(input.front());
    input.remove_prefix(1);
    const std::string content(orbo::Fuzz::takePart(input));
    std::string journal(input);
    if ((options & 1) == 0) mendChecksums(journal);
    const bool readOnly = (options & 2) != 0;
    check(content, journal, readOnly || (options & 4) != 0 ? Use::kRead : Use::kWrite, readOnly);
    return 0;
}
