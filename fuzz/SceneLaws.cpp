// What holds for every scene file that is read, edited and written, of either kind.
// SPDX-License-Identifier: Apache-2.0
#include "SceneLaws.h"

#include <data/Accessor.h>
#include <data/Channel.h>
#include <data/Handle.h>
#include <data/Index.h>
#include <data/Stream.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <utility>
#include <vector>

#include "Law.h"
#include "files/ScriptedFileSystem.h"
#include "scenes/LiteralModel.h"
#include "scenes/model/ModelText.h"

namespace orbo::Fuzz {

using namespace orbo::Data;

namespace {

enum Edit : unsigned {
    kAddStructure,
    kAddElement,
    kRemoveNode,
    kRemoveAll,
    kAddNode,
    kRemoveStructure,
    kCopyNode,
    kAddText
};

// By what they are and their name. Numbers as the policy writes them, so that what it leaves out
// makes no difference.
using Texts = std::map<std::string, std::string>;

Texts textsOf(const Accessor& accessor, bool exactNumbers) {
    Texts texts;
    Findings ignored;
    for (const Structure* structure : accessor.structures()) {
        const auto record = recordOf(*structure, ignored);
        texts[std::string("structure ") + structure->name()] = record ? record->text : "";
    }
    for (const auto& [node, associations] : accessor.associations()) {
        const auto record = recordOf(node, associations, exactNumbers, ignored);
        // Channels without streams are not written.
        if (record && record->text != "endAssociations\n") texts["node " + node] = record->text;
    }
    return texts;
}

Stream* firstStream(Accessor& accessor) {
    for (auto& [name, node] : accessor.associations()) {
        for (const Channel& channel : node) {
            if (Stream* stream = node.findChannel(channel.name())->dataStream(0U)) return stream;
        }
    }
    return nullptr;
}

// A structure may claim any size, and an element of it would really have it.
void addElement(Accessor& accessor) {
    Stream* stream = firstStream(accessor);
    if (!stream || stream->structure().totalSize() > 4096) return;
    try {
        const bool isPair = stream->indexType() == "pair";
        const Index index = Index::doCreate(stream->indexType(), isPair ? "7 7" : "7");
        stream->setElement(index, Handle(stream->structure()));
    } catch (const Index::eCreationErrors&) {  // of a type that is kept as text
    }
}

void addNode(Accessor& accessor, const std::string& text) {
    const RefPtr<Structure> structure(new Structure("Added"));
    structure->addMember(Member::kString, 1, "text");
    structure->addMember(Member::kFloat, 2, "number");
    Handle handle(*structure);
    *handle.asString() = ::strdup(text.c_str());
    Stream stream(*structure, "added");
    stream.setElement(Index(3), handle);
    Accessor::StructureSet structures = accessor.structures();
    // Two structures of one name are only refused by a careful write.
    if (!structures.insert(structure.get()).second) return;
    accessor.associations()["added"].channel("c").setDataStream(stream);
    accessor.setStructures(structures);
}

// All records are written, but none is changed.
void addStructure(Accessor& accessor) {
    const RefPtr<Structure> structure(new Structure("AddedAlone"));
    structure->addMember(Member::kInt8, 1, "number");
    Accessor::StructureSet structures = accessor.structures();
    structures.insert(structure.get());
    accessor.setStructures(structures);
}

// `text` is any text.
void edit(Accessor& accessor, unsigned edit, const std::string& text) {
    auto& nodes = accessor.associations();
    Accessor::StructureSet structures = accessor.structures();
    switch (edit) {
        case kAddStructure:
            return addStructure(accessor);
        case kAddElement:
            return addElement(accessor);
        case kRemoveAll:
            accessor.setStructures({});
            return nodes.clear();
        case kRemoveNode:
            if (!nodes.empty()) nodes.erase(nodes.begin());
            return;
        case kRemoveStructure:
            if (!structures.empty()) structures.erase(structures.begin());
            return accessor.setStructures(structures);
        case kCopyNode:
            if (!nodes.empty()) nodes[text] = nodes.begin()->second;
            return;
        case kAddNode:
        case kAddText:
            return addNode(accessor, edit == kAddText ? text : "plain");
        default:
            return;
    }
}

const Structure* edgeOf(const Accessor::StructureSet& structures, bool first) {
    if (structures.empty()) return nullptr;
    return first ? *structures.begin() : *structures.rbegin();
}

// Those of the structure, last to first.
RefPtr<Structure> turned(const Structure& structure) {
    RefPtr<Structure> other(new Structure(structure.name()));
    std::vector<const Member*> members;
    for (const Member& member : structure) members.push_back(&member);
    for (auto member = members.rbegin(); member != members.rend(); ++member) {
        other->addMember((*member)->type(), (*member)->length(), (*member)->name());
    }
    return other;
}

// Eight ways to change what others may need.
bool erasesStructure(unsigned edit) { return (edit & 3u) == 3; }

void editStructure(Accessor& accessor, unsigned edit) {
    Accessor::StructureSet set = accessor.structures();
    const Structure* const chosen = edgeOf(set, (edit & 4u) == 0);
    if (!chosen) return;
    const RefPtr<Structure> structure(const_cast<Structure*>(chosen));
    set.erase(chosen);
    RefPtr<Structure> other;
    switch (edit & 3u) {
        case 0:
            structure->addMember(Member::kInt8, 1, "added");
            other = structure;
            break;
        case 1:
            other = turned(*structure);
            break;
        case 2:
            structure->setName("Renamed");
            other = structure;
            break;
        default:
            break;
    }
    if (other) set.insert(other.get());
    accessor.setStructures(set);
}

/// One scene in memory and what is done to it.
class SceneRun {
  public:
    SceneRun(const std::string& name, const std::string& scene, const Plan& plan)
        : fName(name), fScene(scene), fPlan(plan) {
        file() = scene;
    }

    void run(IsUntouched isUntouched) {
        const auto accessor = read();
        if (!accessor) return;
        checkUneditedWrite(*accessor);
        checkKeptRecords(*accessor);
        const std::size_t tail = fScene.size() - std::min<std::size_t>(fScene.size(), 8);
        // Only careful writes say what the formats cannot carry.
        edit(*accessor, fPlan.edit, fScene.substr(tail).c_str());
        fWanted = textsOf(*accessor, fPlan.careful);
        if (!accessor->write(fErrors)) {
            demand(!fErrors.empty(), "a refusal has a message");
            return demand(file() == fScene, "a refusal leaves the file alone", fScene, file());
        }
        // An unedited model is no reason to look for the trailer.
        demand(file() == fScene || isUntouched(fScene, file()), "a write leaves the scene alone",
               fScene, file());
        checkOthers();
        checkResult(*accessor);
    }

  private:
    std::string& file() { return fSystem.files[fName]; }

    // Of what a write has changed.
    void checkOthers() {
        if (fName != "scene.kx" || file() == fScene) return;
        const std::string problem = difference(literalModelOf(file()), modelOf(fName));
        demand(problem.empty(), "others read the same", problem, file());
    }

    // Null when that is refused.
    std::unique_ptr<Accessor> read(const std::set<std::string>* nodes = nullptr) {
        auto accessor = Accessor::accessorByExtension(fName);
        accessor->setReadPolicy({fPlan.unknownAsText});
        if (fPlan.careful) accessor->setWritePolicy(WritePolicy::careful());
        bool done = false;
        try {
            done = accessor->read(fName, nullptr, nodes, fErrors);
            demand(done || !fErrors.empty(), "a refusal has a message");
            fMetUnknownIndexType = false;
        } catch (const Index::eCreationErrors&) {
            fMetUnknownIndexType = true;
        }
        if (!done) {
            demand(!accessor->write(fErrors), "what could not be read is not written");
            demand(file() == fScene, "a read leaves the file alone");
            return nullptr;
        }
        fUnderstoodAll = fErrors.empty();
        fErrors.clear();
        return accessor;
    }

    // Neither the scene nor a journal.
    void checkUneditedWrite(const Accessor& accessor) {
        const auto files = fSystem.files;
        fSystem.bytesWritten = 0;
        demand(accessor.write(fErrors), "an unedited write is never refused", fScene, fErrors);
        demand(fSystem.files == files && fSystem.bytesWritten == 0,
               "an unedited write writes nothing", fScene, file());
    }

    // What a filter leaves out reads the same after any edit of a structure, or that is refused.
    void checkKeptRecords(const Accessor& all) {
        if (all.associations().empty()) return;
        const Texts before = textsOf(all, true);
        const std::set<std::string> first{all.associations().begin()->first};
        const auto accessor = read(&first);
        if (!accessor) return;
        editStructure(*accessor, fPlan.edit);
        const bool done = accessor->write(fErrors);
        demand(done || file() == fScene, "a refusal leaves the file alone", fScene, file());
        const std::string scene = std::exchange(fScene, file());
        const auto after = read();
        // Without its structure, the node that was read is no longer in front of a record of it
        // whose index type is unknown.
        const bool uncovers = erasesStructure(fPlan.edit) && !fPlan.careful && fMetUnknownIndexType;
        demand(after || uncovers, "what was written can be read", scene, fScene);
        const Texts now = after ? textsOf(*after, true) : before;
        for (const auto& [name, text] : before) {
            if (name.compare(0, 5, "node ") != 0 || first.count(name.substr(5)) > 0) continue;
            const auto found = now.find(name);
            demand(found != now.end() && found->second == text, "what stays keeps its meaning",
                   scene, fScene);
        }
        fScene = file() = scene;
        fErrors.clear();
    }

    void checkResult(const Accessor& accessor) {
        const std::string before = fScene;
        fScene = file();
        const auto readBack = read();
        // Without the node that hid it, or without what that needs to be read, a record of it comes
        // to light whose index type is unknown.
        const bool uncovers = fPlan.edit == kRemoveNode || fPlan.edit == kRemoveAll ||
                              (fPlan.edit == kRemoveStructure && !fPlan.careful);
        if (!readBack && uncovers && fMetUnknownIndexType) return;
        demand(readBack != nullptr, "what was written can be read", before, fScene);
        checkModel(*readBack, before);
        if (!fPlan.rereads) return writeAgain(accessor);
        // What was removed but stays, because unreadable metadata needs it, is read back, and what
        // is unreadable may change its place for that. Once.
        if (fPlan.edit == kAddStructure && fUnderstoodAll) return writeAgain(*readBack);
        if (!readBack->write(fErrors)) return;
        checkOthers();
        fScene = file();
        if (const auto next = read()) writeAgain(*next);
    }

    // Only a careful write puts a first section into a small scene, and none may be left.
    void writeAgain(const Accessor& accessor) {
        const bool done = accessor.write(fErrors);
        demand(done || !fPlan.careful, "it can be written again", fScene, fErrors);
        demand(file() == fScene, "writing again changes nothing", fScene, file());
    }

    // The file may hold more: what could not be read before may be readable now. Without its
    // structure a node is written, but nobody can read it; a careful write adds the structure.
    void checkModel(const Accessor& readBack, const std::string& before) {
        if (fPlan.edit == kRemoveStructure && !fPlan.careful) return;
        const Texts got = textsOf(readBack, fPlan.careful);
        for (const auto& [what, text] : fWanted) {
            const auto found = got.find(what);
            demand(found != got.end(), "nothing is lost", what + "\n" + before, fScene);
            demand(found->second == text, "nothing changes", text + "\n" + before, found->second);
        }
    }

    Files::ScriptedFileSystem fSystem;
    Files::FileSystem::Replacement fReplaced{fSystem};
    const std::string fName;
    std::string fScene;
    const Plan fPlan;
    std::string fErrors;
    bool fUnderstoodAll = false;        ///< by the last read
    bool fMetUnknownIndexType = false;  ///< in the last read, which that ended
    Texts fWanted;
};

}  // namespace

void checkScene(const std::string& name, const std::string& scene, const Plan& plan,
                IsUntouched isUntouched) {
    SceneRun(name, scene, plan).run(isUntouched);
}

Work readingOf(const std::string& name, const std::string& scene, bool unknownAsText) {
    const auto system = std::make_shared<Files::ScriptedFileSystem>();
    system->files[name] = scene;
    return {scene.size(), [=] {
                const Files::FileSystem::Replacement replaced(*system);
                const auto accessor = Accessor::accessorByExtension(name);
                accessor->setReadPolicy({unknownAsText});
                std::string errors;
                try {
                    accessor->read(name, errors);
                } catch (const Index::eCreationErrors&) {
                }
            }};
}

Work baseWork() {
    std::string text;
    for (const char c : baseAssociations()) {
        if (c == '"') text += '\\';
        text += c == '\n' ? std::string("\\n") : std::string(1, c);
    }
    return readingOf("scene.kx",
                     "//Quil ASCII 2016 scene\n"
                     "dataStructure -fmt \"raw\" -as \"name=B:int32=i:float[3]=f:string=s\";\n"
                     "applyMetadata -fmt \"raw\" -v \"" +
                         text + "\" \n\t\tn;\n// End of scene.kx\n",
                     false);
}

}  // namespace orbo::Fuzz
