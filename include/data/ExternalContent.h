// The table of the external files that a scene refers to.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <debug/Export.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace orbo::Data {

class Accessor;
class Associations;
class ConstHandle;
class Handle;
class Stream;

/// The table is a stream of the scene's own associations, and each of its elements is a row.
/// Applications make it, of a structure that has at least these five members, of types that text
/// converts to.
///
///     if (Stream* table = ExternalContent::getStream(*accessor)) {
///         Handle row = table->element(3);
///         ExternalContent::updateEntry(row, "/archive/teapot.exr");
///     }
namespace AccessorQuil::ExternalContent {

/// These name the place of the table. All names live as long as the library.
METADATA_API const std::string& getChannelName();
METADATA_API const std::string& getStructureName();
/// Gives the name of the stream, which is the version of the table's layout.
METADATA_API const std::string& getStreamName();
/// Gives the member with the scene node that refers to the file.
METADATA_API const std::string& getNodeMemberName();
/// Gives the member that tells the references of one node apart.
METADATA_API const std::string& getKeyMemberName();
/// These give the members with the path as somebody entered it, with the path that was found, and
/// with what the file is for.
METADATA_API const std::string& getUnresolvedPathMemberName();
METADATA_API const std::string& getResolvedPathMemberName();
METADATA_API const std::string& getRolesMemberName();
/// Gives the text between the roles in their member. Within a role "-" is doubled, and ";" is "-*".
METADATA_API const std::string& getRolesSeparator();

/// These four throw `std::out_of_range` ("Const Member"), with nothing read or changed and the row
/// at its end, when the row's structure lacks one of the five members. Else the row is left at the
/// last member that was used. `getEntry` gives false without data.
///
/// `getEntry` reads a row. The empty text reads back as no roles at all, so that a lone empty role
/// is lost.
METADATA_API bool getEntry(Handle& row, std::string& node, std::string& key,
                           std::string& unresolvedPath, std::string& resolvedPath,
                           std::set<std::string>& roles);
/// The same for a row of a `const` table, whose handle stays where it is.
METADATA_API bool getEntry(const ConstHandle& row, std::string& node, std::string& key,
                           std::string& unresolvedPath, std::string& resolvedPath,
                           std::set<std::string>& roles);

/// Says what `setEntry` and `updateEntry` have done: it is true when every member was set.
class METADATA_API EntryResult {
  public:
    explicit EntryResult(std::vector<std::string> failed) : fFailed(std::move(failed)) {}

    operator bool() const { return fFailed.empty(); }  // NOLINT(google-explicit-constructor)
    /// The names of the members that could not be set, in the order in which they were tried.
    [[nodiscard]] const std::vector<std::string>& failedMembers() const { return fFailed; }

  private:
    std::vector<std::string> fFailed;
};

/// Sets the five members. Members that cannot hold their texts keep their values, and the others
/// are set; a row without data has none that can. Texts that are replaced are freed.
METADATA_API EntryResult setEntry(Handle& row, const std::string& node, const std::string& key,
                                  const std::string& unresolvedPath,
                                  const std::string& resolvedPath,
                                  const std::set<std::string>& roles);
/// Sets both paths, and nothing else, as `setEntry` does.
METADATA_API EntryResult updateEntry(Handle& row, const std::string& path);
METADATA_API EntryResult updateEntry(Handle& row, const std::string& unresolvedPath,
                                     const std::string& resolvedPath);

/// These give the table, which is good as long as the associations hold it; null when there is
/// none.
METADATA_API Stream* getStream(Associations& associations);
METADATA_API const Stream* getStream(const Associations& associations);
METADATA_API Stream* getStream(Accessor& accessor);
METADATA_API const Stream* getStream(const Accessor& accessor);

/// Makes `table` the scene's own associations, reading nothing else of the file. Returns false,
/// with `table` as it was, for a file that cannot be read, and for one without the table's
/// structure.
METADATA_API bool readTable(const std::string& fileName, Associations& table, std::string& errors);

}  // namespace AccessorQuil::ExternalContent

}  // namespace orbo::Data
