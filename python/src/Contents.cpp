// Scenes whose contents are in memory.
// SPDX-License-Identifier: Apache-2.0
#include "Contents.h"

#include "Bindings.h"
#include "Problems.h"
#include "Scenes.h"
#include "files/MemoryFile.h"
#include "scenes/CheckedKind.h"
#include "scenes/SceneInputs.h"
#include "scenes/binary/BinaryKind.h"
#include "scenes/reading/SceneReader.h"
#include "scenes/text/TextKind.h"
#include "values/SafeText.h"

namespace orbo::Python {

namespace {

std::unique_ptr<const Data::SceneKind> kindNamed(const std::string& name) {
    const bool isBinary = name == "ky";
    if (!isBinary && name != "kx")
        throw nb::value_error(
            ("kind is \"kx\" or \"ky\", not " + Quilmeta::inQuotes(name)).c_str());
    auto kind = isBinary ? Data::makeBinaryKind() : Data::makeTextKind();
    return std::make_unique<Data::CheckedKind>(std::move(kind));
}

/// Keeps the bytes of an object where they are.
class Bytes {
  public:
    explicit Bytes(nb::handle source) {
        if (PyUnicode_Check(source.ptr()) || !PyObject_CheckBuffer(source.ptr()))
            throw nb::type_error("the contents of a scene are bytes, or have a buffer of bytes");
        if (PyObject_GetBuffer(source.ptr(), &fBuffer, PyBUF_SIMPLE) != 0) nb::raise_python_error();
    }
    Bytes(const Bytes&) = delete;
    Bytes& operator=(const Bytes&) = delete;
    ~Bytes() { PyBuffer_Release(&fBuffer); }

    [[nodiscard]] std::string_view view() const {
        return {static_cast<const char*>(fBuffer.buf), static_cast<std::size_t>(fBuffer.len)};
    }

  private:
    Py_buffer fBuffer{};
};

std::shared_ptr<SceneState> loads(nb::handle data, const std::string& kind) {
    const Bytes bytes(data);
    auto accessor = std::make_unique<ContentsAccessor>(kindNamed(kind), bytes.view());
    accessor->setReadPolicy(readPolicyFor(kAllProcessors));
    return readInto(std::move(accessor), "<" + kind + ">", false);
}

}  // namespace

bool ContentsAccessor::write(std::string& errors) const {
    errors += "Contents in memory cannot be written.\n";
    return false;
}

bool ContentsAccessor::readImplementation(const std::set<std::string>* structureNames,
                                          const std::set<std::string>* associationNames,
                                          std::string& errors) {
    Files::MemoryFile file(fBytes);
    Data::InputOfFile input(file);
    Data::ModelBuilder::Request request;
    request.structureNames = structureNames;
    request.associationNames = associationNames;
    request.policy = readPolicy();
    request.threads = request.policy.threads;
    request.strikesOff = fKind->traits().lastFirst;
    Data::Findings findings;
    const auto found = Data::readScene(*fKind, input, request, associations(), findings);
    findings.appendTo(errors);
    std::vector<Data::Finding> all = findings.inFileOrder();
    if (fKind->traits().hasLines) Data::countLines(file, all);
    setFindings(std::move(all));
    return found.has_value();
}

void defineContents(nb::module_& module) {
    module.def("loads", loads, nb::arg("data"), nb::arg("kind"),
               nb::sig("def loads(data: bytes | bytearray | memoryview, "
                       "kind: typing.Literal['kx', 'ky']) -> Scene"),
               "Reads the contents of a scene, of any object that has its bytes: bytes, bytearray, "
               "memoryview, mmap. The scene is to be read only, and keeps nothing of the bytes.");
}

}  // namespace orbo::Python
