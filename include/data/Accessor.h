// Reads and rewrites the metadata inside a file, without the application that wrote it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Associations.h>
#include <data/Callback.h>
#include <data/Finding.h>
#include <data/Milliseconds.h>
#include <data/ReadPolicy.h>
#include <data/WritePolicy.h>
#include <data/detail/UniquePtr.h>
#include <debug/Export.h>
#include <debug/OwnedPtr.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace orbo::Data {

class Structure;

/// Reads the metadata of a file, holds it as a model, and writes the model back. Messages are
/// appended to the caller's `errors`, a line each; nothing is cleared from it.
///
///     std::string errors;
///     const auto scene = Accessor::readFile("teapot.kx", errors);
///     scene->associations()["rig"].removeChannel("joints");
///     scene->setWritePolicy(WritePolicy::careful());
///     if (!scene->write(errors)) std::cerr << errors;
///
/// Any number of threads may use what is `const` at once while nobody changes the accessor or its
/// model. Those that `write` take turns; what the last write says (`findings`, `metConflict`) is to
/// be asked for when none is under way.
///
/// A plug-in for another kind of file derives from this class and makes an `AccessorFactory` of its
/// own. It must override `readImplementation`. It overrides `write` to be able to write, for the
/// one here fails, and `isFileSupported` to look at files, for the one here does not. It may
/// override `check`, which reads here and returns what that found.
class METADATA_API Accessor {
  public:
    /// Orders by name, byte by byte; throws `std::invalid_argument` for null.
    struct METADATA_API StructureNameLessThan {
        bool operator()(const Structure* left, const Structure* right) const;
    };
    using StructureSet = std::set<const Structure*, StructureNameLessThan>;
    using AssociationsMap = std::map<std::string, Associations>;

    /// Makes a new, empty accessor for the extension: the text behind the last ".", in upper or
    /// lower case; a name without "." is an extension itself. Returns null when nobody serves the
    /// extension.
    static std::unique_ptr<Accessor> accessorByExtension(const std::string& fileName);
    /// Gives the extensions that have accessors, in lower case: "kx", "ky", and those of plug-ins.
    static std::set<std::string> supportedExtensions();
    /// Makes a new accessor that has read the file. Returns null when there is none for its
    /// extension, or the file cannot be read.
    static std::unique_ptr<Accessor> readFile(const std::string& fileName, std::string& errors);

    virtual ~Accessor();
    Accessor(const Accessor&) = delete;
    Accessor& operator=(const Accessor&) = delete;

    bool read(const std::string& fileName, std::string& errors);
    /// Null means all names. Returns true when the file was scanned to its end, also when single
    /// statements could not be used; those have messages, and the next `write` keeps them. On
    /// failure, and when a format throws, the accessor is empty. The caller's structure registry is
    /// as before.
    bool read(const std::string& fileName, const std::set<std::string>* structureNames,
              const std::set<std::string>* associationNames, std::string& errors);
    /// Reads a node that `ReadPolicy::nodesOnDemand` left in the file, and puts it into
    /// `associations()`, as the read would have done. Does nothing for one that is there already.
    /// Returns false, with the accessor as it was, when the file has no such node, the node's text
    /// cannot be read, or the file's metadata is no longer what was read. What a format throws
    /// passes. Afterwards `findings()` are those about this node.
    virtual bool load(const std::string& name, std::string& errors);
    /// Names the nodes that are in the file and were not loaded, the scene's own by the empty name.
    /// This class has none.
    [[nodiscard]] virtual std::set<std::string> unloadedNodes() const;
    /// Makes up for what a read without `ReadPolicy::preparesEdits` left out, and sets that policy.
    /// Call it before the first change of the model: the next write takes what is there now for
    /// what was read. Does nothing when nothing was left out. This class only sets the policy.
    virtual void prepareEdits();
    /// Reads all of the file, with index types that nobody registered as text, and looks for
    /// everything that stands in the way of reading and rewriting it, down to what is merely
    /// unusual. Changes no file. Gives `findings()`; the accessor holds what was read.
    virtual std::vector<Finding> check(const std::string& fileName);
    /// Writes `structures()` and `associations()` into `fileName()`. When both are what the last
    /// `read` gave, the file is left as it is, whatever others have made of it.
    virtual bool write(std::string& errors) const;
    /// Makes all the checks that `write` makes before its first byte, and returns what it would
    /// return. It checks the model, conflicts, links, the journal's place and the room on the disk.
    /// The files stay as they are; like reading it finishes or undoes what was cut short.
    virtual bool rehearse(std::string& errors) const;
    /// Gives what the last `read`, `load`, `write` or `check` found, in file order, also when that
    /// call failed. The list is good until the next of these calls.
    [[nodiscard]] const std::vector<Finding>& findings() const;
    /// Tells whether the accessor can read the file. This class says true for every name, even of a
    /// file that does not exist. Accessors of scenes look at how the file begins, and deal with an
    /// interrupted write first, as reading does.
    [[nodiscard]] virtual bool isFileSupported(const std::string& fileName) const;

    /// Tells whether `write` has something to write: false while structures and associations are
    /// what the last `read` gave, or the last `write` put. Compares values, so it takes as long as
    /// walking over all of them. True where a read did not prepare edits. This class says true.
    [[nodiscard]] virtual bool isEdited() const;

    /// Gives the metadata by node name, the scene's own under the empty name. `write` stores what
    /// it holds then. It is good as long as the accessor is, and `read` and `clear` empty it.
    [[nodiscard]] AssociationsMap& associations();
    [[nodiscard]] const AssociationsMap& associations() const;
    /// Gives the structures to write, of which the accessor keeps a reference each.
    [[nodiscard]] const StructureSet& structures() const;
    /// Replaces the structures, and takes a reference on each. Throws `std::invalid_argument`, with
    /// nothing changed, for null.
    void setStructures(const StructureSet& structures);
    /// Empties both; the file name stays.
    void clear();
    /// Gives the name that the last `read` was given, which `write` writes to.
    [[nodiscard]] const std::string& fileName() const;

    /// Gives the time to wait for other programs that read or write the file: 10 seconds unless
    /// set.
    [[nodiscard]] Milliseconds patience() const;
    void setPatience(Milliseconds patience);
    /// While it waits, it asks this some times a second; true ends the wait as the end of its
    /// patience would. May be empty.
    void stopWaitingWhen(Callback<bool()> condition);
    /// Tells whether the last `write` was refused because the file's metadata is no longer what was
    /// read. Reading it again and repeating the edit is the way out.
    [[nodiscard]] bool metConflict() const;
    /// Tells whether the last `write` or `rehearse` found anything to write, as `isEdited` would
    /// have said in front of it. True before the first.
    [[nodiscard]] bool metEdits() const;

    [[nodiscard]] const WritePolicy& writePolicy() const;
    void setWritePolicy(const WritePolicy& policy);
    [[nodiscard]] const ReadPolicy& readPolicy() const;
    void setReadPolicy(const ReadPolicy& policy);

  protected:
    Accessor();

    /// Returns false before the first `read` and after one that failed: there is nothing to write
    /// then.
    [[nodiscard]] bool lastReadSucceeded() const;
    [[nodiscard]] const Callback<bool()>& waitingStops() const;
    /// Sets what `metConflict` tells.
    void setMetConflict(bool conflict) const;
    /// Sets what `metEdits` tells.
    void setMetEdits(bool edits) const;
    /// Implementations of reading and writing leave their findings here. One that leaves none has
    /// one made of what it added to `errors`.
    void setFindings(std::vector<Finding> findings) const;

    /// Reads `fileName()`: registers the structures it finds, which are taken over into
    /// `structures()`, and fills `associations()`. Null sets mean all names.
    virtual bool readImplementation(const std::set<std::string>* structureNames,
                                    const std::set<std::string>* associationNames,
                                    std::string& errors) = 0;

    /// Reads as `read` does, for `check` or another way to read, but calls `implementation` in
    /// place of `readImplementation`.
    bool readBy(const Callback<bool(std::string& errors)>& implementation,
                const std::string& fileName, std::string& errors);

  private:
    struct Impl;
    OwnedPtr<Impl> fImpl;
};

}  // namespace orbo::Data
