// A patch that is accepted prints and reads again the same, and applies as a whole or not at all.
// SPDX-License-Identifier: Apache-2.0
#include "patches/Patch.h"

#include <data/Channel.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>
#include <sys/mman.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "Law.h"
#include "patches/Apply.h"
#include "patches/DiffText.h"
#include "patches/Differences.h"
#include "process/CommandError.h"

namespace {

using namespace orbo;
using namespace orbo::Quilmeta;
using Fuzz::demand;

template <typename Use>
std::string written(Use&& use) {
    static const int file = ::memfd_create("patch", 0);
    demand(file >= 0 && ::ftruncate(file, 0) == 0 && ::lseek(file, 0, SEEK_SET) == 0, "a file");
    Output output(file, "patch");
    use(output);
    output.flush();
    std::string text(static_cast<std::size_t>(::lseek(file, 0, SEEK_CUR)), '\0');
    demand(::pread(file, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()), "read");
    return text;
}

std::string textOf(const Patch& patch) {
    return written([&](Output& output) { write(patch, output); });
}

Patch patchOf(std::string_view text) {
    JsonSource source(text);
    return readPatch(source);
}

/// One stream of two members, under numbers and texts.
std::unique_ptr<Data::Accessor> scene() {
    auto scene = Data::Accessor::accessorByExtension("scene.kx");
    const RefPtr<Data::Structure> structure(new Data::Structure("S"));
    structure->addMember(Data::Member::kFloat, 2, "f");
    structure->addMember(Data::Member::kString, 1, "t");
    scene->setStructures({structure.get()});
    Data::Channel channel = scene->associations()["n"].channel("c");
    for (const char* type : {"numeric", "string"}) {
        Data::Stream stream(*structure, type);
        stream.setIndexType(type);
        stream.emplaceElement(*type == 'n' ? Data::Index(1) : Data::Index::of("x"));
        channel.setDataStream(stream);
    }
    return scene;
}

Patch between(const Data::Accessor& left, const Data::Accessor& right) {
    return differences(select(left, {}), select(right, {}));
}

void applyBothWays(const Patch& patch) {
    const auto changed = scene();
    const auto before = scene();
    if (!apply(patch, *changed).empty()) {
        demand(between(*before, *changed).changes.empty(), "all or nothing", textOf(patch));
        return;
    }
    // The differences make the same of the first side, and are undone.
    const Patch made = between(*before, *changed);
    demand(apply(made, *before).empty(), "differences apply", textOf(made));
    demand(between(*before, *changed).changes.empty(), "they make the other side", textOf(made));
    demand(apply(reversed(made), *before).empty(), "they are undone", textOf(made));
    demand(between(*before, *scene()).changes.empty(), "to the first side", textOf(made));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Patch patch;
    try {
        patch = patchOf(Fuzz::textOf(data, size));
    } catch (const CommandError&) {
        return 0;
    }
    const std::string text = textOf(patch);
    demand(textOf(patchOf(text)) == text, "a patch reads as it was written", text);
    demand(textOf(reversed(reversed(patch))) == text, "twice reversed is the same", text);
    written([&](Output& output) {
        printDifferences(patch, "a", "b", output);
        printStatistics(patch, output);
    });
    applyBothWays(patch);
    return 0;
}
