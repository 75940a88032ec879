// All that loading the library registers, in order, and that unloading undoes.
// SPDX-License-Identifier: Apache-2.0
#include "core/StructureRegistry.h"
#include "debug/StartUp.h"
#include "scenes/binary/QuilBinaryFileAccessor.h"
#include "scenes/text/QuilAsciiFileAccessor.h"

#include <data/AccessorFactory.h>
#include <data/AssociationsSerializerRaw.h>
#include <data/ChannelSerializerRaw.h>
#include <data/IndexPair.h>
#include <data/IndexString.h>
#include <data/StreamSerializerRaw.h>
#include <data/StructureSerializerRaw.h>

namespace orbo {

// Every registry refers to it, so none can be linked without what this file puts into it.
const char registrationAnchor = 0;

namespace Data {

// Within this file, what stands first is made first and undone last. Each registry is made by the
// first of its entries and so outlives them all.

namespace {

const struct StructuresAtUnload {
    ~StructuresAtUnload() { StructureRegistry::global().clear(); }
} structuresAtUnload;

}  // namespace

const std::string IndexPair::myTypeName = "pair";
IndexType::IndexRegistration IndexPair::myRegistration(IndexPair::myTypeName, IndexPair::doCreate);
const std::string IndexString::myTypeName = "string";
IndexType::IndexRegistration IndexString::myRegistration(IndexString::myTypeName,
                                                         IndexString::doCreate);

namespace {

/// Making the format makes it the default of its family; this registers it as well.
template <typename Format>
class FormatRegistration {
  public:
    FormatRegistration() { Format::registerFormat(Format::theFormat()); }
    FormatRegistration(const FormatRegistration&) = delete;
    FormatRegistration& operator=(const FormatRegistration&) = delete;
    ~FormatRegistration() { Format::deregisterFormat(Format::theFormat()); }
};

const FormatRegistration<AssociationsSerializerRaw> associationsFormat;
const FormatRegistration<ChannelSerializerRaw> channelFormat;
const FormatRegistration<StreamSerializerRaw> streamFormat;
const FormatRegistration<StructureSerializerRaw> structureFormat;

const struct ClassCheckpointAtLoad {
    ClassCheckpointAtLoad() { setClassCheckpointAtLoad(); }
} classCheckpointAtLoad;

AccessorFactory<QuilAsciiFileAccessor> textScenes("kx");
AccessorFactory<QuilBinaryFileAccessor> binaryScenes("ky");

}  // namespace

}  // namespace Data
}  // namespace orbo
