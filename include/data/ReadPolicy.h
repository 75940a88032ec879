// What reading a scene accepts beyond the usual.
// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orbo::Data {

/// A program sets it on an accessor before it reads:
///
///     ReadPolicy policy;
///     policy.partialNodes = true;
///     accessor->setReadPolicy(policy);
struct ReadPolicy {
    /// Keep indices of a type that nobody registered as `IndexText`, instead of throwing
    /// `Index::eCreatorNotFound`. They are written back as they were.
    bool unknownIndexTypesAsText = false;
    /// Give what can be read of a node that as a whole cannot be: all elements but those whose
    /// index cannot be read, with values that cannot be read being default. It is there to be
    /// looked at, and a finding (`Finding::Code::kNodePartial`) names it: a write keeps its record
    /// as it is, and is refused when the node was changed or removed.
    bool partialNodes = false;
    /// Leave the nodes in the file until `Accessor::load` asks for one; `Accessor::unloadedNodes`
    /// names them. Structures are read. A write keeps the nodes that were not loaded as they are in
    /// the file, as it does those that a read was not asked for; one that the program adds under
    /// such a name replaces the file's. Findings about their texts come when they are loaded.
    bool nodesOnDemand = false;
    /// Read the nodes of a scene side by side, and long streams in pieces, by this many threads,
    /// the caller's among them, which all end with the read; 0 and 1 start none. The result is the
    /// same. Only sections of 4 MiB and more are worth threads, and only nodes in the raw format
    /// with indices of the library's own types go to them: formats and index types of plug-ins are
    /// called by the caller's thread.
    unsigned int threads = 1;
    /// Take digests of what is read, by which a write knows what nobody has changed. That is an
    /// eighth of the time of reading, which a program that only looks can do without: a write is
    /// refused then, until `Accessor::prepareEdits` makes up for it.
    bool preparesEdits = true;
};

}  // namespace orbo::Data
