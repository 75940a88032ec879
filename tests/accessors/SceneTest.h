// A small language for tests of text scenes: make one of statements, read, edit, write, look.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Structure.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "accessors/QuilAsciiFileAccessor.h"
#include "files/ScriptedFileSystem.h"

namespace orbo::Data {

inline const std::string kHeader = "//Quil ASCII 2016 scene\n";
inline const std::string kTrailer = "// End of scene.kx\n";

/// What stands in front of the metadata, large enough for a first section.
inline std::string sceneFront() {
    std::string front = kHeader + "requires quil \"2016\";\n";
    while (front.size() < 1100) front += "createNode transform -n \"node\";\n\tsetAttr \".t\" 1;\n";
    return front + "select -ne :time1;\n\tsetAttr \".o\" 1;\n";
}

/// As the library writes them, for texts that need no escapes but line feeds.
inline std::string structureStatement(const std::string& text) {
    return "dataStructure -fmt \"raw\" -as \"" + text + "\";\n";
}
inline std::string nodeStatement(const std::string& name, std::string text) {
    for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos;) {
        text.replace(at, 1, "\\n");
    }
    return "applyMetadata -fmt \"raw\" -v \"" + text + "\" \n\t\t" + name + ";\n";
}
/// Associations with one channel "c" of one stream "s".
inline std::string oneStream(const std::string& structure, const std::string& elements,
                             const std::string& indexType = "numeric") {
    return "channel\nname c\nstream\nname s\nindexType " + indexType + "\nstructure " + structure +
           "\n" + elements + "endStream\nendChannel\nendAssociations\n";
}
inline Stream& streamOf(Accessor& accessor, const std::string& node) {
    return *accessor.associations().at(node).findChannel("c")->findDataStream("s");
}
inline void setNumber(Accessor& accessor, const std::string& node, const Index& index, int value) {
    Stream& stream = streamOf(accessor, node);
    Handle handle(stream.structure());
    *handle.asInt32() = value;
    stream.setElement(index, handle);
}
inline void removeStructure(Accessor& accessor, const std::string& name) {
    Accessor::StructureSet left;
    for (const Structure* structure : accessor.structures()) {
        if (structure->name() != name) left.insert(structure);
    }
    accessor.setStructures(left);
}

class SceneTest : public testing::Test {
  protected:
    using Names = std::set<std::string>;

    void makeScene(const std::string& section) { file() = sceneFront() + section + kTrailer; }
    [[nodiscard]] std::string& file() { return fSystem.files["scene.kx"]; }
    /// What lies between the front and the trailer.
    [[nodiscard]] std::string section() {
        const std::string front = sceneFront();
        EXPECT_EQ(file().substr(0, front.size()), front);
        const std::size_t end = file().size() - kTrailer.size();
        EXPECT_EQ(file().substr(end), kTrailer);
        return file().substr(front.size(), end - front.size());
    }

    bool read(const Names* structures = nullptr, const Names* associations = nullptr) {
        fErrors.clear();
        return fAccessor.read("scene.kx", structures, associations, fErrors);
    }
    bool write() {
        fErrors.clear();
        return fAccessor.write(fErrors);
    }
    /// "A B | n1 n2": structures, then associations, the scene's own as "''".
    [[nodiscard]] std::string model() const {
        std::string names;
        for (const Structure* structure : fAccessor.structures()) {
            names += structure->name() + std::string(" ");
        }
        names += "|";
        for (const auto& entry : fAccessor.associations()) {
            names += entry.first.empty() ? " ''" : " " + entry.first;
        }
        return names;
    }

    Files::ScriptedFileSystem fSystem;
    Files::FileSystem::Replacement fReplaced{fSystem};
    QuilAsciiFileAccessor fAccessor;
    std::string fErrors;
};

}  // namespace orbo::Data
