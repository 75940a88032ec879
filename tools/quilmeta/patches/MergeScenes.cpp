// Merges three scene files.
// SPDX-License-Identifier: Apache-2.0
#include "patches/MergeScenes.h"

#include "files/posix/Descriptor.h"
#include "output/TargetPath.h"
#include "patches/ChangeReport.h"
#include "patches/Differences.h"
#include "process/Messages.h"
#include "selection/SceneView.h"
#include "values/SafeText.h"

#include <data/Structure.h>
#include <debug/RefPtr.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <utility>

namespace orbo::Quilmeta {

namespace fs = std::filesystem;

namespace {

/// A folder that goes away with its content.
class TemporaryFolder {
  public:
    explicit TemporaryFolder(const fs::path& parent) {
        std::string pattern = (parent / ".quilmeta-merge-XXXXXX").string();
        if (!::mkdtemp(pattern.data()))
            throw CommandError("no folder can be made beside it: " + systemMessage(errno));
        fPath = pattern;
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        fs::remove_all(fPath, ignored);
    }
    /// Copies a scene there; the name has its kind.
    [[nodiscard]] std::string copyOf(const std::string& scene, const std::string& name,
                                     const std::string& kind) const {
        const fs::path copy = fPath / (name + fs::path(kind).extension().string());
        std::error_code error;
        fs::copy_file(scene, copy, fs::copy_options::overwrite_existing, error);
        if (error) throw FileError(scene, "cannot be copied: " + error.message());
        return copy.string();
    }

  private:
    fs::path fPath;
};

bool haveSameBytes(const std::string& left, const std::string& right) {
    std::error_code error;
    if (fs::file_size(left, error) != fs::file_size(right, error) || error) return false;
    std::ifstream our(left, std::ios::binary);
    std::ifstream their(right, std::ios::binary);
    std::array<char, 1 << 16> ours{};
    std::array<char, 1 << 16> theirs{};
    while (our && their) {
        our.read(ours.data(), ours.size());
        their.read(theirs.data(), theirs.size());
        const auto count = static_cast<std::ptrdiff_t>(our.gcount());
        if (count != their.gcount()) return false;
        if (!std::equal(ours.begin(), ours.begin() + count, theirs.begin())) return false;
    }
    return our.eof() && their.eof();
}

/// Waits until the bytes of the file are on the disk.
void sync(const std::string& file) {
    const Files::Descriptor descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    if (descriptor < 0 || ::fsync(descriptor) != 0)
        throw CommandError("cannot be written: " + systemMessage(errno));
}

/// Puts the same metadata into every scene, so that what still differs is payload.
void blank(const std::string& file, SceneAccess access) {
    access.kindName.clear();
    access.writes = true;
    access.noJournal = true;
    const Scene scene = openScene(file, access);
    const RefPtr<Data::Structure> mark(Data::Structure::create());
    mark->addMember(Data::Member::kInt8, 1, "payload");
    scene.accessor->associations().clear();
    scene.accessor->setStructures({mark.get()});
    std::string errors;
    if (!scene.accessor->write(errors)) throw CommandError("cannot be compared: " + errors);
}

class MergeRun {
  public:
    MergeRun(const MergeRequest& request, const MergeSides& sides)
        : fRequest(request),
          fSides(sides),
          fOut(behindLinks(request.out)),
          fTemporary(fs::absolute(fOut).parent_path()) {}

    MergeResult run() {
        const SceneView base = fSides.base ? select(*fSides.base, {}) : SceneView();
        MergePlan plan = planMerge(differences(base, select(fSides.ours, {})),
                                   differences(base, select(fSides.theirs, {})));
        fResult.conflicts = std::move(plan.conflicts);
        const std::optional<MergeSide> side = payloadSide();
        fResult.isPayloadInConflict = !side;
        if (fResult.hasConflict()) return std::move(fResult);
        if (*side == MergeSide::kOurs)
            writeOut(fRequest.ours, plan.toOurs);
        else
            writeOut(fRequest.theirs, plan.toTheirs);
        return std::move(fResult);
    }

  private:
    /// No value when both changed the payload, each in another way.
    [[nodiscard]] std::optional<MergeSide> payloadSide() const {
        if (fRequest.payload) return fRequest.payload;
        if (haveSamePayload(fRequest.base, fRequest.theirs)) return MergeSide::kOurs;
        if (haveSamePayload(fRequest.base, fRequest.ours)) return MergeSide::kTheirs;
        if (haveSamePayload(fRequest.ours, fRequest.theirs)) return MergeSide::kOurs;
        return {};
    }

    [[nodiscard]] bool haveSamePayload(const std::string& left, const std::string& right) const {
        if (haveSameBytes(left, right)) return true;
        if (isEmptyFile(left) || isEmptyFile(right)) return false;
        const std::string our = fTemporary.copyOf(left, "left", kindOf(left));
        const std::string their = fTemporary.copyOf(right, "right", kindOf(right));
        blank(our, fRequest.access);
        blank(their, fRequest.access);
        return haveSameBytes(our, their);
    }

    [[nodiscard]] const std::string& kindOf(const std::string& file) const {
        return fRequest.access.kindName.empty() ? file : fRequest.access.kindName;
    }

    /// Writes the copy of a side with the changes of the other one.
    void writeOut(const std::string& side, const Patch& patch) {
        SceneAccess access = fRequest.access;
        access.dryRun = false;
        access.kindName.clear();
        access.writes = true;
        access.noJournal = true;
        const std::string copy = fTemporary.copyOf(side, "merged", kindOf(side));
        const Scene scene = openScene(copy, access);
        ApplyProblems problems = apply(patch, *scene.accessor);
        fResult.uses = std::move(problems.ofScene);
        if (fResult.hasConflict()) return;
        std::string errors;
        if (!patch.changes.empty() && !scene.accessor->write(errors)) throw CommandError(errors);
        if (fRequest.access.dryRun) {
            fResult.changes = differences(select(fSides.ours, {}), select(*scene.accessor, {}));
            return;
        }
        sync(copy);
        std::error_code error;
        fs::rename(copy, fOut, error);
        if (error) throw CommandError("cannot be written: " + error.message());
    }

    const MergeRequest& fRequest;
    const MergeSides& fSides;
    const std::string fOut;
    const TemporaryFolder fTemporary;
    MergeResult fResult;
};

/// Reads a scene; false, with a message, when that is not possible completely.
bool open(const MergeRequest& request, const std::string& file, Scene& scene, Output& output) {
    const auto read = [&] {
        scene = openScene(file, request.access);
        if (!scene.complete)
            throw CommandError("not all metadata can be read, so nothing was merged");
        return FileResult(Outcome::kDone);
    };
    const auto failed = [&](const std::vector<std::string>& messages) {
        ReportParts* const parts = reportPartsOf(output);
        for (const std::string& message : messages)
            if (parts) parts->errors.push_back(safeLine(file) + ": " + message);
    };
    return guarded(file, read, failed).outcome == Outcome::kDone;
}

/// Reports conflicts in text or JSON.
void report(const MergeResult& result, const MergeRequest& request, Output& output) {
    const auto add = [&](const std::string& text, const JsonObject& json) {
        if (ReportParts* parts = reportPartsOf(output))
            parts->conflicts.push_back(json.text());
        else
            output.write((request.path.empty() ? "" : shownPath(request.path) + ": ") + text);
    };
    for (const MergeConflict& conflict : result.conflicts) add(textOf(conflict), jsonOf(conflict));
    if (result.isPayloadInConflict)
        add("conflict: both sides changed the payload, which does not merge; "
            "--payload takes one\n",
            JsonObject().add("conflict", "payload"));
    for (const ApplyProblem& use : result.uses)
        add("conflict: " + use.text() + '\n',
            JsonObject().add("conflict", "use").add("message", use.text()));
}

}  // namespace

bool isEmptyFile(const std::string& file) {
    std::error_code error;
    return fs::is_regular_file(file, error) && fs::file_size(file, error) == 0 && !error;
}

std::string kindNameOf(const std::string& path, const std::string& file) {
    std::error_code error;
    if (!fs::exists(file, error)) throw FileError(file, systemMessage(ENOENT));
    const auto takes = [&](const std::string& name) {
        const auto accessor = Data::Accessor::accessorByExtension(name);
        return accessor && accessor->isFileSupported(file);
    };
    if (takes(path)) return path;
    for (const std::string& extension : Data::Accessor::supportedExtensions())
        if (takes("scene." + extension)) return "scene." + extension;
    throw CommandError("is no scene, neither by its extension nor by its content");
}

void demandSameKind(const std::string& out, const std::string& ours) {
    std::string kind;
    try {
        kind = kindNameOf(out, ours);
    } catch (const FileError&) {
        throw;
    } catch (const CommandError& error) {
        throw FileError(ours, error.what());
    }
    if (kind != out) throw CommandError("has the extension of another kind of scene");
}

MergeResult merge(const MergeRequest& request, const MergeSides& sides) {
    return MergeRun(request, sides).run();
}

Outcome mergeScenes(const MergeRequest& request, Output& output) {
    Scene base, ours, theirs;
    bool read = isEmptyFile(request.base) || open(request, request.base, base, output);
    read = open(request, request.ours, ours, output) && read;
    if (!open(request, request.theirs, theirs, output) || !read) return Outcome::kFailed;
    MergeResult result = merge(request, {base.accessor.get(), *ours.accessor, *theirs.accessor});
    report(result, request, output);
    if (result.hasConflict()) return Outcome::kFound;
    if (request.access.dryRun)
        showChanges(std::move(result.changes), request.ours, request.out + " (dry run)", output);
    return Outcome::kDone;
}

}  // namespace orbo::Quilmeta
