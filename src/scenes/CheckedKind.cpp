// A kind of scene whose answers can be relied on.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/CheckedKind.h"
#include "scenes/SceneSplicing.h"

#include <algorithm>
#include <exception>
#include <limits>
#include <new>
#include <utility>

namespace orbo::Data {

namespace {

using Code = Finding::Code;
using ScanEnd = SceneKind::ScanEnd;

std::string thrownIn(const char* function, const std::string& what = {}) {
    const std::string message = std::string("The kind of scene threw an exception in ") + function;
    return what.empty() ? message + "." : message + ": " + what;
}

/// Calls a function of a kind; empty, with a message, when it throws.
template <typename Call>
auto tryTo(const Call& call, const char* function, std::string& message)
    -> std::optional<decltype(call())> {
    try {
        return call();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        message = thrownIn(function, error.what());
    } catch (...) {
        message = thrownIn(function);
    }
    return std::nullopt;
}

// A failure has a message, and a code that gets it into the error text.
void complete(Finding& problem, Code usual, const char* message) {
    if (problem.code == Code::kOther || !Finding::isInErrors(problem.code)) problem.code = usual;
    if (problem.message.empty()) problem.message = message;
}

/// Asks for the size once.
class SizedInput final : public SceneInput {
  public:
    explicit SizedInput(SceneInput& input) : fInput(input) {}

    [[nodiscard]] std::optional<std::uint64_t> size() override {
        if (!fSize) fSize = fInput.size();
        return fSize;
    }
    [[nodiscard]] bool seek(std::uint64_t offset) override { return fInput.seek(offset); }
    [[nodiscard]] std::optional<std::size_t> read(char* to, std::size_t count) override {
        return fInput.read(to, count);
    }

  private:
    SceneInput& fInput;
    std::optional<std::uint64_t> fSize;
};

/// Hands on what a scan tells, until something of it is impossible.
class CheckedVisitor final : public SceneVisitor {
  public:
    CheckedVisitor(SceneVisitor& visitor, SizedInput& input, bool lastFirst)
        : SceneVisitor(visitor.purpose(), visitor.writePolicy()),
          fVisitor(visitor),
          fInput(input),
          fLastFirst(lastFirst) {}

    [[nodiscard]] bool wantsMore() const override { return !fFailed && fVisitor.wantsMore(); }
    [[nodiscard]] bool wants(SceneRecord::Kind kind) const override {
        return !fFailed && fVisitor.wants(kind);
    }
    [[nodiscard]] bool found(const SceneRecordRange& range) override;
    void forget() override {
        fFirst.reset();
        fLast.reset();
        fVisitor.forget();
    }
    bool fail(Code code, const std::string& message, const FilePlace& place) override {
        return failBy(code, message, place);
    }
    bool fail(Code code, const std::string& message, const SceneRecord& record) override {
        return failBy(code, message, record);
    }
    void report(Code code, const std::string& message, const FilePlace& place) override {
        fVisitor.report(code, message, place);
    }

    [[nodiscard]] bool hasFailed() const { return fFailed; }
    /// Where the first record begins that was told.
    [[nodiscard]] std::optional<std::uint64_t> first() const { return fFirst; }
    /// Goes on with what the library's own visitor threw, also where the kind has caught it.
    void rethrow() const {
        if (fThrown) std::rethrow_exception(fThrown);
    }

  private:
    template <typename Place>
    bool failBy(Code code, const std::string& message, const Place& place) {
        Finding problem;
        problem.code = code;
        problem.message = message;
        complete(problem, Code::kFileUnreadable, "The file cannot be read.");
        fFailed = true;
        return fVisitor.fail(problem.code, problem.message, place);
    }
    const char* problemOf(const SceneRecordRange& range);

    SceneVisitor& fVisitor;
    SizedInput& fInput;
    const bool fLastFirst;
    std::optional<std::uint64_t> fFirst;
    std::optional<std::uint64_t> fLast;  // the end of the last record in the file
    bool fFailed = false;
    std::exception_ptr fThrown;
};

// Null when all is well.
const char* CheckedVisitor::problemOf(const SceneRecordRange& range) {
    if (range.begin >= range.end) return "without a byte";
    if (range.end > fInput.size().value_or(range.end)) return "that reaches beyond the file";
    const bool isInOrder = fLastFirst ? range.end <= fFirst.value_or(range.end)
                                      : range.begin >= fLast.value_or(range.begin);
    return isInOrder ? nullptr : "that overlaps another one, or is out of order";
}

bool CheckedVisitor::found(const SceneRecordRange& range) {
    if (fFailed) return false;
    if (const char* const problem = problemOf(range)) {
        return fail(Code::kFileUnreadable,
                    "The kind of scene told of a record " + std::string(problem) + ": bytes " +
                        std::to_string(range.begin) + " to " + std::to_string(range.end) + ".",
                    FilePlace{range.begin, range.tag});
    }
    fFirst = std::min(fFirst.value_or(range.begin), range.begin);
    fLast = std::max(fLast.value_or(range.end), range.end);
    try {
        fFailed = !fVisitor.found(range);
    } catch (...) {
        fFailed = true;
        fThrown = std::current_exception();
        throw;
    }
    return !fFailed;
}

// Why nothing can be written by a layout; null when it can.
const char* problemOf(const SceneLayout* layout, std::optional<std::uint64_t> size,
                      std::optional<std::uint64_t> firstRecord) {
    if (!layout) return "The kind of scene gave no layout.";
    if (!size) return "The size of the file is not known.";
    if (layout->begin > firstRecord.value_or(*size)) {
        return "The kind of scene gave a layout that begins behind a record, or the file.";
    }
    return nullptr;
}

// Null when all is well. Whether old bytes in front of the tail are those of the file is not known
// here.
const char* problemOf(const std::vector<SceneChange>& changes, const SceneLayout& layout,
                      std::string_view tail) {
    std::uint64_t at = 0;
    for (const SceneChange& change : changes) {
        if (change.offset < at) return "that overlap, or are out of order";
        if (change.offset > layout.size || change.oldBytes.size() > layout.size - change.offset) {
            return "that reach beyond the file";
        }
        at = change.offset + change.oldBytes.size();
        std::uint64_t newSize = 0;
        for (const SceneChange::Piece& piece : change.pieces) {
            newSize += piece.bytes.size() + piece.kept.size();
        }
        const bool isLast = &change == &changes.back();
        if (isLast ? at != layout.size : newSize != change.oldBytes.size()) {
            return "that move what they do not replace";
        }
        if (at <= layout.begin) continue;
        const std::uint64_t begin = std::max(change.offset, layout.begin);
        const auto offset = static_cast<std::size_t>(begin - layout.begin);
        const auto skipped = static_cast<std::size_t>(begin - change.offset);
        const std::string_view old = change.oldBytes.substr(skipped);
        const bool isView = old.data() == tail.data() + offset;
        if (!isView && old != tail.substr(offset, old.size())) return "of bytes the file lacks";
    }
    return nullptr;
}

}  // namespace

CheckedKind::CheckedKind(std::unique_ptr<const SceneKind> kind)
    : SceneKind(kind ? kind->traits() : throw std::invalid_argument("No kind of scene.")),
      fKind(std::move(kind)) {}

bool CheckedKind::recognise(SceneInput& input, Finding& problem) const {
    std::string thrown;
    const auto isOne = tryTo([&] { return fKind->recognise(input, problem); }, "recognise", thrown);
    if (isOne.value_or(false)) return true;
    if (!isOne) {
        problem = Finding();
        problem.code = Code::kFileUnreadable;
        problem.message = thrown;
    }
    complete(problem, Code::kNotAScene, "The file is no scene of this kind.");
    return false;
}

ScanEnd CheckedKind::scan(SceneInput& input, SceneVisitor& visitor,
                          std::unique_ptr<SceneLayout>& layout) const {
    SizedInput sized(input);
    CheckedVisitor checked(visitor, sized, traits().lastFirst);
    std::string message;
    const auto end = tryTo([&] { return fKind->scan(sized, checked, layout); }, "scan", message);
    checked.rethrow();
    if (checked.hasFailed()) return ScanEnd::kFailed;
    if (end == ScanEnd::kFailed) message = "The file cannot be read.";
    if (end == ScanEnd::kStopped && visitor.wantsMore()) {
        message = "The kind of scene did not scan the whole file.";
    }
    if (message.empty() && visitor.purpose() == SceneVisitor::Purpose::kWrite) {
        const char* const problem = problemOf(layout.get(), sized.size(), checked.first());
        if (problem) message = problem;
    }
    if (!message.empty()) {
        visitor.fail(Code::kFileUnreadable, message);
        return ScanEnd::kFailed;
    }
    if (layout) layout->size = sized.size().value_or(0);
    return *end;
}

std::optional<SceneRecord> CheckedKind::parse(const SceneRecordRange& range, std::string bytes,
                                              const std::set<std::string>* nodes,
                                              Finding& problem) const {
    std::string thrown;
    auto parsed = tryTo([&] { return fKind->parse(range, std::move(bytes), nodes, problem); },
                        "parse", thrown);
    if (parsed && *parsed && (*parsed)->kind == range.kind) return std::move(*parsed);
    if (!parsed) {
        problem = Finding();
        problem.message = thrown;
    } else if (*parsed) {
        problem = Finding();
        problem.message = "The kind of scene took a structure for associations, or the reverse.";
    }
    complete(problem, Code::kStatementUnreadable, "The record cannot be taken apart.");
    return std::nullopt;
}

bool CheckedKind::format(const SceneRecord& record, std::string& bytes) const {
    std::string made;
    std::string thrown;
    const auto done = tryTo([&] { return fKind->format(record, made); }, "format", thrown);
    if (!done) throw SceneKindFailure(thrown);
    if (!*done || made.empty()) return false;
    if (bytes.empty()) {
        bytes = std::move(made);
    } else {
        bytes += made;
    }
    return true;
}

std::vector<SceneChange> CheckedKind::changes(const SceneLayout& layout, std::string_view tail,
                                              const ScenePlan& plan, Finding& problem) const {
    std::string thrown;
    auto changes =
        tryTo([&] { return fKind->changes(layout, tail, plan, problem); }, "changes", thrown);
    if (!changes) {
        problem = Finding();
        problem.message = thrown;
        changes.emplace();
    } else if (const char* const wrong = problemOf(*changes, layout, tail)) {
        problem = Finding();
        problem.message = std::string("The kind of scene made changes ") + wrong + ".";
        changes->clear();
    }
    if (changes->empty()) {
        complete(problem, Code::kWriteFailed, "The kind of scene made no changes.");
    }
    for (SceneChange& change : *changes) {
        if (change.seekFailure.empty()) change.seekFailure = SceneChange().seekFailure;
        for (SceneChange::Piece& piece : change.pieces) {
            if (piece.failure.empty()) piece.failure = "Could not write the metadata.";
        }
    }
    return std::move(*changes);
}

std::optional<std::string> CheckedKind::nodeOf(const SceneRecordRange& range,
                                               SceneInput& input) const {
    std::string ignored;  // `parse` will tell
    return tryTo([&] { return fKind->nodeOf(range, input); }, "nodeOf", ignored)
        .value_or(std::nullopt);
}

const SceneSplicing* CheckedKind::splicing() const {
    return dynamic_cast<const SceneSplicing*>(fKind.get());
}

const SceneSplicing* splicingOf(const SceneKind& kind) {
    const auto* const checked = dynamic_cast<const CheckedKind*>(&kind);
    return checked ? checked->splicing() : nullptr;
}

Finding refusalOf(const SceneKind& kind, const SceneRecordRange& range) {
    Finding problem;
    (void)kind.parse(range, {}, nullptr, problem);
    complete(problem, Code::kFileUnreadable, "A record cannot be read.");
    return problem;
}

}  // namespace orbo::Data
