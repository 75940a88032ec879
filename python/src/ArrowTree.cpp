// Tables on their way to another library: types, values, and handing both over.
// SPDX-License-Identifier: Apache-2.0
#include "ArrowTree.h"

#include <cerrno>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <utility>

#include "ArrowAbi.h"

namespace orbo::Python {

namespace {

/// The bytes of metadata: numbers of 32 bits before all texts, and before the whole.
std::string encoded(const std::vector<std::pair<std::string, std::string>>& metadata) {
    std::string bytes;
    const auto addNumber = [&](std::size_t number) {
        const auto value = static_cast<std::int32_t>(number);
        bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
    };
    addNumber(metadata.size());
    for (const auto& [key, value] : metadata) {
        addNumber(key.size());
        bytes += key;
        addNumber(value.size());
        bytes += value;
    }
    return bytes;
}

/// What an exported record refers to, and what its children are; it goes with the record.
template <typename Record>
struct Held {
    std::vector<Record> children;
    std::vector<Record*> pointers;

    explicit Held(std::size_t count) : children(count) {
        for (Record& child : children) {
            child.release = nullptr;
            pointers.push_back(&child);
        }
    }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    // A child may have been moved away, which leaves it without `release`.
    ~Held() {
        for (Record& child : children)
            if (child.release) child.release(&child);
    }
};

struct HeldSchema : Held<ArrowSchema> {
    explicit HeldSchema(const ArrowType& type)
        : Held(type.children.size()), format(type.format), name(type.name) {
        if (!type.metadata.empty()) metadata = encoded(type.metadata);
    }

    std::string format;
    std::string name;
    std::string metadata;
};

struct HeldArray : Held<ArrowArray> {
    HeldArray(std::shared_ptr<const ArrowValues> root, const ArrowValues& values)
        : Held(values.children.size()), keeper(std::move(root)) {
        for (const auto& buffer : values.buffers)
            buffers.push_back(buffer.empty() ? nullptr : buffer.data());
    }

    std::shared_ptr<const ArrowValues> keeper;
    std::vector<const void*> buffers;
};

template <typename Record, typename HeldRecord>
void releaseHeld(Record* record) {
    delete static_cast<HeldRecord*>(record->private_data);
    record->release = nullptr;
}

void fill(ArrowSchema& out, const ArrowType& type) {
    auto held = std::make_unique<HeldSchema>(type);
    for (std::size_t k = 0; k < type.children.size(); ++k)
        fill(held->children[k], type.children[k]);
    out = {};
    out.format = held->format.c_str();
    out.name = held->name.c_str();
    out.metadata = held->metadata.empty() ? nullptr : held->metadata.data();
    out.flags = type.isNullable ? kArrowNullable : 0;
    out.n_children = static_cast<std::int64_t>(held->children.size());
    out.children = held->pointers.data();
    out.release = releaseHeld<ArrowSchema, HeldSchema>;
    out.private_data = held.release();
}

void fill(ArrowArray& out, const std::shared_ptr<const ArrowValues>& root,
          const ArrowValues& values) {
    auto held = std::make_unique<HeldArray>(root, values);
    for (std::size_t k = 0; k < values.children.size(); ++k)
        fill(held->children[k], root, values.children[k]);
    out = {};
    out.length = values.length;
    out.null_count = values.nulls;
    out.n_buffers = static_cast<std::int64_t>(held->buffers.size());
    out.buffers = held->buffers.data();
    out.n_children = static_cast<std::int64_t>(held->children.size());
    out.children = held->pointers.data();
    out.release = releaseHeld<ArrowArray, HeldArray>;
    out.private_data = held.release();
}

/// A stream of one table. Others call it, perhaps without Python's lock; it runs no Python code.
struct OneTable {
    ArrowType type;
    std::shared_ptr<const ArrowValues> values;  // null when they were given
};

int getSchema(ArrowArrayStream* stream, ArrowSchema* out) {
    try {
        fill(*out, static_cast<const OneTable*>(stream->private_data)->type);
        return 0;
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
}

int getNext(ArrowArrayStream* stream, ArrowArray* out) {
    auto& table = *static_cast<OneTable*>(stream->private_data);
    *out = {};
    if (!table.values) return 0;
    try {
        fill(*out, table.values, *table.values);
        table.values.reset();
        return 0;
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
}

const char* getLastError(ArrowArrayStream*) { return "there is no memory left"; }

void releaseTable(ArrowArrayStream* stream) {
    delete static_cast<OneTable*>(stream->private_data);
    stream->release = nullptr;
}

/// Releases what nobody has taken out of a capsule.
template <typename Record>
void dropCapsule(PyObject* capsule, const char* name) {
    auto* const record = static_cast<Record*>(PyCapsule_GetPointer(capsule, name));
    if (!record) return PyErr_Clear();
    if (record->release) record->release(record);
    delete record;
}

template <typename Record>
nb::object capsuleOf(std::unique_ptr<Record> record, const char* name, PyCapsule_Destructor drop) {
    PyObject* const capsule = PyCapsule_New(record.get(), name, drop);
    if (!capsule) {
        record->release(record.get());
        nb::raise_python_error();
    }
    static_cast<void>(record.release());
    return nb::steal(capsule);
}

}  // namespace

nb::object schemaCapsule(const ArrowType& type) {
    auto schema = std::make_unique<ArrowSchema>();
    fill(*schema, type);
    return capsuleOf(std::move(schema), kSchemaCapsule,
                     [](PyObject* capsule) { dropCapsule<ArrowSchema>(capsule, kSchemaCapsule); });
}

nb::object streamCapsule(ArrowType type, ArrowValues values) {
    auto table = std::make_unique<OneTable>(
        OneTable{std::move(type), std::make_shared<const ArrowValues>(std::move(values))});
    auto stream = std::make_unique<ArrowArrayStream>();
    *stream = {getSchema, getNext, getLastError, releaseTable, table.release()};
    return capsuleOf(std::move(stream), kStreamCapsule, [](PyObject* capsule) {
        dropCapsule<ArrowArrayStream>(capsule, kStreamCapsule);
    });
}

}  // namespace orbo::Python
