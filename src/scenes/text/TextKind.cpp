// Text scenes: a script of statements, with the metadata in front of its last line.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/text/TextKind.h"

#include <algorithm>
#include <utility>

#include "scenes/SceneInputs.h"
#include "scenes/SceneSplicing.h"
#include "scenes/text/TextLayout.h"
#include "scenes/text/TextMessages.h"
#include "scenes/text/TextSceneHeader.h"
#include "scenes/text/TextSceneScanner.h"
#include "scenes/text/TextSection.h"
#include "scenes/text/TextStatement.h"
#include "scenes/text/TextTrailer.h"

namespace orbo::Data {

namespace {

using Code = Finding::Code;
using Kind = SceneRecord::Kind;
using Purpose = SceneVisitor::Purpose;
using Result = TextSceneScanner::Result;
using ScanEnd = SceneKind::ScanEnd;

SceneTraits traitsOfTextScenes() {
    SceneTraits traits;
    traits.lastFirst = true;
    traits.cannotOpen = "Could not open %s";
    traits.cannotSeekRecord = TextMessages::kSeekFailed;
    traits.cannotReadRecord = TextMessages::kReadFailed;
    traits.cannotMakeStructure = TextMessages::kStructuresFailed;
    traits.cannotMakeNode = TextMessages::kNodesFailed;
    traits.cannotMakeScene = TextMessages::kSceneFailed;
    return traits;
}

/// Goes through the statements of one file for a visitor.
class StatementScan {
  public:
    StatementScan(Files::File& file, std::uint64_t size, SceneVisitor& visitor)
        : fScanner(file, 0, size), fVisitor(visitor) {}

    ScanEnd run() {
        const Result found = fScanner.findTrailer();
        if (isFailure(found)) return failed(found, TextMessages::ofTrailer(found));
        // Until the trailer is known, the statements met so far may lie behind it.
        while (!fScanner.trailer() || fVisitor.wantsMore()) {
            SceneRecordRange range;
            const Result result = fScanner.next(range);
            if (result == Result::kDone) return ScanEnd::kComplete;
            if (isFailure(result)) return failed(result, TextMessages::ofSearch(result, fMetAny));
            if (result == Result::kTrailer) {
                fMetAny = false;
                fVisitor.forget();
            } else {
                fMetAny = true;
                if (!fVisitor.found(range)) return ScanEnd::kFailed;
            }
        }
        return ScanEnd::kStopped;
    }

    [[nodiscard]] const TextSceneScanner& scanner() const { return fScanner; }
    [[nodiscard]] bool metAny() const { return fMetAny; }

  private:
    static bool isFailure(Result result) {
        return result == Result::kSeekFailed || result == Result::kReadFailed;
    }
    ScanEnd failed(Result result, const char* writeMessage) {
        const bool isWrite = fVisitor.purpose() == Purpose::kWrite;
        fVisitor.fail(Code::kFileUnreadable,
                      isWrite ? writeMessage : TextMessages::ofReading(result),
                      FilePlace{fScanner.position(), {}});
        return ScanEnd::kFailed;
    }

    TextSceneScanner fScanner;
    SceneVisitor& fVisitor;
    bool fMetAny = false;
};

/// See `SceneKind` and `SceneSplicing` for what each function does.
class TextKind final : public SceneKind, public SceneSplicing {
  public:
    TextKind() : SceneKind(traitsOfTextScenes()) {}

    [[nodiscard]] bool recognise(SceneInput& input, Finding& problem) const override {
        FileOfInput file(input);
        return checkTextSceneHeader(file, problem);
    }

    [[nodiscard]] ScanEnd scan(SceneInput& input, SceneVisitor& visitor,
                               std::unique_ptr<SceneLayout>& layout) const override {
        if (!isRecognised(input, visitor)) return ScanEnd::kFailed;
        const bool isWrite = visitor.purpose() == Purpose::kWrite;
        const auto size = input.size();
        if (!size) {
            visitor.fail(Code::kFileUnreadable,
                         isWrite ? TextMessages::kTrailerSeekFailed : TextMessages::kSeekFailed,
                         FilePlace{0, {}});
            return ScanEnd::kFailed;
        }
        FileOfInput file(input);
        StatementScan scan(file, *size, visitor);
        const ScanEnd end = scan.run();
        if (end == ScanEnd::kFailed) return end;
        const TextSceneScanner& scanner = scan.scanner();
        if (visitor.purpose() == Purpose::kCheck) {
            reportTrailer(file, scanner.trailer(), *size, visitor);
        }
        if (isWrite && !checkTrailer(scanner.trailer(), *size, scan.metAny(), visitor)) {
            return ScanEnd::kFailed;
        }
        auto found = std::make_unique<TextLayout>();
        found->begin = scanner.linesAhead().begin();
        found->cannotSeek = TextMessages::kSectionSeekFailed;
        found->cannotRead = TextMessages::kSectionReadFailed;
        found->trailer = scanner.trailer();
        found->linesAhead = scanner.linesAhead();
        layout = std::move(found);
        return end;
    }

    [[nodiscard]] std::optional<SceneRecord> parse(const SceneRecordRange& range, std::string bytes,
                                                   const std::set<std::string>* nodes,
                                                   Finding& problem) const override {
        const char* message = TextStatement::unreadableMessage(range.kind);
        const bool isNode = range.kind == Kind::kAssociations;
        std::optional<TextStatement::Parts> parts;
        if (range.closed) {
            if (isNode) problem.node = TextStatement::nodeOf(bytes);
            parts = TextStatement::takeApart(range.kind, std::move(bytes), message);
        }
        if (!parts) {
            problem.code = range.closed ? Code::kStatementUnreadable : Code::kStatementUnclosed;
            problem.message = message;
            return std::nullopt;
        }
        if (isNode && nodes && nodes->count(parts->record.name) == 0)
            return std::move(parts->record);
        return TextStatement::unescaped(std::move(*parts));
    }

    [[nodiscard]] bool format(const SceneRecord& record, std::string& bytes) const override {
        const bool isStructure = record.kind == Kind::kStructure;
        if (!isStructure && !TextStatement::canBeTarget(record.name)) return false;
        std::string statement;
        TextStatement::append(statement, record);
        if (isStructure) {
            // Quotes in structure texts are not escaped, so some names would end the statement.
            const char* ignored = nullptr;
            const auto readBack = TextStatement::parse(record.kind, statement, ignored);
            if (!readBack || !readBack->plain || readBack->text != record.text) return false;
        }
        bytes += statement;
        return true;
    }

    [[nodiscard]] std::optional<std::string> nodeOf(const SceneRecordRange& range,
                                                    SceneInput& input) const override {
        constexpr std::uint64_t kLongestEnd = 4096;
        const std::uint64_t size = std::min(range.end - range.begin, kLongestEnd);
        const auto end = input.bytes(range.end - size, size);
        return end ? TextStatement::nodeAtEnd(*end) : std::nullopt;
    }

    [[nodiscard]] std::vector<std::size_t> placesOf(
        std::string_view bytes, const std::vector<std::size_t>& offsets) const override {
        return TextStatement::placesOf(bytes, offsets);
    }

    [[nodiscard]] std::string textOf(std::string_view bytes) const override {
        std::string text(bytes);
        TextStatement::unescape(text);
        return text;
    }

    [[nodiscard]] bool format(const SceneRecord& record, const std::vector<Splice>& splices,
                              PieceList& pieces) const override {
        if (!TextStatement::canBeTarget(record.name)) return false;
        std::string escaped = TextStatement::beginOf(record);
        std::size_t at = 0;
        for (const Splice& splice : splices) {
            TextStatement::appendEscaped(escaped,
                                         std::string_view(record.text).substr(at, splice.at - at));
            pieces.add(escaped);
            pieces.keep(splice.bytes);
            escaped.clear();
            at = splice.at;
        }
        TextStatement::appendEscaped(escaped, std::string_view(record.text).substr(at));
        pieces.add(escaped);
        pieces.add(TextStatement::endOf(record));
        return true;
    }

    [[nodiscard]] std::optional<SceneRecord> parse(
        const std::vector<SceneChange::Piece>& pieces) const override {
        std::string statement;
        for (const SceneChange::Piece& piece : pieces) statement += piece.bytes;
        const char* ignored = nullptr;
        return TextStatement::parse(Kind::kAssociations, std::move(statement), ignored);
    }

    [[nodiscard]] std::vector<SceneChange> changes(const SceneLayout& layout, std::string_view tail,
                                                   const ScenePlan& plan,
                                                   Finding& problem) const override {
        const auto& text = static_cast<const TextLayout&>(layout);
        if (!checkFirstSection(text, plan.policy, problem)) return {};
        return {TextSection(text, tail).changeFor(plan)};
    }
};

}  // namespace

std::unique_ptr<const SceneKind> makeTextKind() { return std::make_unique<TextKind>(); }

}  // namespace orbo::Data
