// The external files that a scene refers to.
// SPDX-License-Identifier: Apache-2.0
#include "references/References.h"

#include "process/CommandError.h"
#include "scene/SceneFile.h"
#include "values/SafeText.h"
#include "values/Wording.h"

#include <data/AccessorQuil.h>
#include <data/ExternalContent.h>
#include <data/Structure.h>
#include <fmt/format.h>

#include <utility>

namespace orbo::Quilmeta {

namespace Table = Data::AccessorQuil::ExternalContent;

namespace {

/// The library reads rows with missing members as empty; nobody wants those in a list.
void demandMembers(const Data::Structure& structure) {
    Data::Handle row(structure, nullptr);
    for (const std::string& name :
         {Table::getNodeMemberName(), Table::getKeyMemberName(),
          Table::getUnresolvedPathMemberName(), Table::getResolvedPathMemberName(),
          Table::getRolesMemberName()}) {
        if (row.setPositionByMemberName(name.c_str())) continue;
        throw CommandError(fmt::format(
            "the table of external files cannot be used: its structure {} has no member {}{}",
            inQuotes(structure.name()), inQuotes(name),
            nameList("members", structure,
                     [](const Data::Member& member) { return shownName(member.name()); })));
    }
}

/// The table joins its roles and paths into text, so a path with odd characters may come back
/// changed.
void demandHeld(const Reference& row, const std::string& path, const std::string& held) {
    if (held == path) return;
    throw CommandError(fmt::format("node {}, key {}: the table cannot hold the path {}",
                                   inQuotes(row.node), inQuotes(row.key), inQuotes(path)));
}

}  // namespace

Scene openForReferences(const std::string& file, const SceneAccess& access, ReferencesFor purpose) {
    // Asking for no structures leaves them in the file where they are; the read knows them anyway.
    SceneNames names;
    if (purpose == ReferencesFor::kReading)
        names.nodes.emplace({Data::AccessorQuil::getSceneAssociationsName()});
    Scene scene = openScene(file, access, &names);
    Data::WritePolicy policy = scene.accessor->writePolicy();
    policy.addMissingStructures = false;
    scene.accessor->setWritePolicy(policy);
    return scene;
}

Data::Stream* tableOf(const Scene& scene) {
    Data::Stream* table = Table::getStream(*scene.accessor);
    if (table) demandMembers(table->structure());
    return table;
}

Reference referenceOf(Data::Handle& row) {
    Reference reference;
    Table::getEntry(row, reference.node, reference.key, reference.path, reference.resolvedPath,
                    reference.roles);
    return reference;
}

void setPaths(Data::Handle& row, const std::string& path, const std::string& resolvedPath) {
    Table::updateEntry(row, path, resolvedPath);
    const Reference after = referenceOf(row);
    demandHeld(after, path, after.path);
    demandHeld(after, resolvedPath, after.resolvedPath);
}

}  // namespace orbo::Quilmeta
