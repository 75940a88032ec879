// What writing a scene does beyond the file format's own rules.
// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orbo::Data {

/// A program sets it on an accessor before it writes:
/// `accessor->setWritePolicy(WritePolicy::careful());`.
struct WritePolicy {
    /// The shortest digits that read back as the very same float or double, instead of six.
    bool exactNumbers = false;
    /// Parse the new section back in memory and compare it with the model before the file is
    /// touched; refuse, naming node, channel, stream and index, what would not survive.
    bool verify = false;
    /// Accept a first metadata block in a text scene of any length, instead of 1024 bytes and more.
    bool anySize = false;
    /// Also write the structures that streams use but `Accessor::structures()` lacks.
    bool addMissingStructures = false;
    /// Refuse when the file's metadata is no longer what was read; `Accessor::metConflict()` tells
    /// this from other failures. A read with this set takes a fingerprint of the metadata; without
    /// one any change of the file counts, as far as its length and time of change tell.
    bool detectConflicts = false;
    /// Survive the end of the process and of the power at any instruction, by a journal beside the
    /// file; false writes in place, without a journal and without waiting for the disk. Files with
    /// several hard links or a mount of their own, and those in folders that take no journal, are
    /// only written so.
    bool durable = true;

    /// Sets all of the above, for tools that work on files unattended.
    static constexpr WritePolicy careful() { return {true, true, true, true, true, true}; }
};

}  // namespace orbo::Data
