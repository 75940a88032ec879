// The table of the external files that a scene refers to.
// SPDX-License-Identifier: Apache-2.0
#include <data/ExternalContent.h>

#include "core/DataTypes.h"
#include "scenes/Messages.h"

#include <data/Accessor.h>
#include <data/AccessorQuil.h>
#include <data/Associations.h>
#include <data/Handle.h>

#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

namespace orbo::Data::AccessorQuil::ExternalContent {

namespace {

// Constructed on first use, so that static objects of other files may use the words.
struct Words {
    std::string table = "externalContentTable";
    std::string version = "v1.0";
    std::string node = "node";
    std::string key = "key";
    std::string unresolvedPath = "upath";
    std::string resolvedPath = "rpath";
    std::string roles = "roles";
    std::string separator = ";";
};

const Words& words() {
    static const Words all;
    return all;
}

std::string joined(const std::set<std::string>& roles) {
    std::string text;
    bool first = true;
    for (const std::string& role : roles) {
        if (!first) text += words().separator;
        first = false;
        for (const char c : role) {
            if (c == '-') text += '-';
            if (c == ';')
                text += "-*";
            else
                text += c;
        }
    }
    return text;
}

// In one pass, so that the result of one escape is never taken for the start of another.
std::string unescaped(std::string_view text) {
    std::string role;
    for (std::size_t i = 0; i < text.size(); ++i) {
        role += text[i];
        if (text[i] != '-' || i + 1 == text.size()) continue;
        const char next = text[i + 1];
        if (next != '-' && next != '*') continue;
        if (next == '*') role.back() = ';';
        ++i;
    }
    return role;
}

std::set<std::string> split(std::string_view text) {
    std::set<std::string> roles;
    if (text.empty()) return roles;
    for (;;) {
        const std::size_t end = text.find(words().separator);
        roles.insert(unescaped(text.substr(0, end)));
        if (end == std::string_view::npos) return roles;
        text.remove_prefix(end + words().separator.size());
    }
}

template <typename Row>
void demandMembers(Row& row) {
    const Words& w = words();
    for (const std::string* name : {&w.node, &w.key, &w.unresolvedPath, &w.resolvedPath, &w.roles})
        // A member that is missing leaves the handle at its end, where `dataType` throws.
        if (!row.setPositionByMemberName(name->c_str())) (void)row.dataType();
}

template <typename Row>
std::string memberText(Row& row, const std::string& member) {
    row.setPositionByMemberName(member.c_str());
    return row.str(0);
}

template <typename Row>
bool readEntry(Row& row, std::string& node, std::string& key, std::string& unresolvedPath,
               std::string& resolvedPath, std::set<std::string>& roles) {
    demandMembers(row);
    node = memberText(row, words().node);
    key = memberText(row, words().key);
    unresolvedPath = memberText(row, words().unresolvedPath);
    resolvedPath = memberText(row, words().resolvedPath);
    roles = split(memberText(row, words().roles));
    return row.hasData();
}

bool setString(Handle& row, const std::string& text) {
    if (text.find('\0') != std::string::npos) return false;
    char* const before = *row.asString();
    std::string ignored;
    // If memory runs out this throws, and the slot still holds the old string.
    row.fromStr(text, 0, ignored);
    std::free(before);
    return true;
}

bool setNumber(Handle& row, const std::string& text) {
    char before[sizeof(double[16])];
    const auto size = static_cast<std::size_t>(dataType(row.dataType()).size);
    void* const slot = row.asType(row.dataType());
    std::memcpy(before, slot, size);
    std::string ignored;
    if (row.fromStr(text, 0, ignored) == 0) return true;
    std::memcpy(slot, before, size);
    return false;
}

/// Leaves a value alone that already reads as the text: the text of a number may have fewer digits
/// than the number.
bool setText(Handle& row, const std::string& member, const std::string& text) {
    row.setPositionByMemberName(member.c_str());
    if (!row.hasData()) return false;
    if (row.str(0) == text) return true;
    return row.dataType() == Member::kString ? setString(row, text) : setNumber(row, text);
}

struct MemberText {
    const std::string& member;
    const std::string& text;
};

EntryResult setTexts(Handle& row, std::initializer_list<MemberText> members) {
    demandMembers(row);
    std::vector<std::string> failed;
    for (const MemberText& each : members) {
        if (!setText(row, each.member, each.text)) failed.push_back(each.member);
    }
    return EntryResult(std::move(failed));
}

}  // namespace

const std::string& getChannelName() { return words().table; }
const std::string& getStructureName() { return words().table; }
const std::string& getStreamName() { return words().version; }
const std::string& getNodeMemberName() { return words().node; }
const std::string& getKeyMemberName() { return words().key; }
const std::string& getUnresolvedPathMemberName() { return words().unresolvedPath; }
const std::string& getResolvedPathMemberName() { return words().resolvedPath; }
const std::string& getRolesMemberName() { return words().roles; }
const std::string& getRolesSeparator() { return words().separator; }

bool getEntry(Handle& row, std::string& node, std::string& key, std::string& unresolvedPath,
              std::string& resolvedPath, std::set<std::string>& roles) {
    return readEntry(row, node, key, unresolvedPath, resolvedPath, roles);
}

bool getEntry(const ConstHandle& row, std::string& node, std::string& key,
              std::string& unresolvedPath, std::string& resolvedPath,
              std::set<std::string>& roles) {
    ConstHandle moved = row;
    return readEntry(moved, node, key, unresolvedPath, resolvedPath, roles);
}

EntryResult setEntry(Handle& row, const std::string& node, const std::string& key,
                     const std::string& unresolvedPath, const std::string& resolvedPath,
                     const std::set<std::string>& roles) {
    return setTexts(row, {{words().node, node},
                          {words().key, key},
                          {words().roles, joined(roles)},
                          {words().unresolvedPath, unresolvedPath},
                          {words().resolvedPath, resolvedPath}});
}

EntryResult updateEntry(Handle& row, const std::string& path) {
    return updateEntry(row, path, path);
}

EntryResult updateEntry(Handle& row, const std::string& unresolvedPath,
                        const std::string& resolvedPath) {
    return setTexts(
        row, {{words().unresolvedPath, unresolvedPath}, {words().resolvedPath, resolvedPath}});
}

Stream* getStream(Associations& associations) {
    Channel* const channel = associations.findChannel(words().table);
    return channel ? channel->dataStream(words().version) : nullptr;
}

const Stream* getStream(const Associations& associations) {
    const Channel* const channel = associations.findChannel(words().table);
    return channel ? channel->findDataStream(words().version) : nullptr;
}

Stream* getStream(Accessor& accessor) {
    const auto scene = accessor.associations().find(getSceneAssociationsName());
    return scene == accessor.associations().end() ? nullptr : getStream(scene->second);
}

const Stream* getStream(const Accessor& accessor) {
    const auto scene = accessor.associations().find(getSceneAssociationsName());
    return scene == accessor.associations().end() ? nullptr : getStream(scene->second);
}

bool readTable(const std::string& fileName, Associations& table, std::string& errors) {
    const std::unique_ptr<Accessor> accessor = Accessor::accessorByExtension(fileName);
    if (!accessor) return fail(errors, "No accessor found for type of file \"" + fileName + "\"");
    const std::set<std::string> structures{getStructureName()};
    const std::set<std::string> associations{getSceneAssociationsName()};
    // Other channels of the scene must not keep the table from being read.
    ReadPolicy policy;
    policy.unknownIndexTypesAsText = true;
    accessor->setReadPolicy(policy);
    if (!accessor->read(fileName, &structures, &associations, errors)) return false;
    if (accessor->structures().empty() || accessor->associations().empty()) return false;
    table = accessor->associations().begin()->second;
    return true;
}

}  // namespace orbo::Data::AccessorQuil::ExternalContent
