// One member of many elements, as arrays.
// SPDX-License-Identifier: Apache-2.0
#include "Columns.h"

#include <data/MemberType.h>
#include <data/StreamColumn.h>
#include <data/Structure.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <type_traits>
#include <utility>

#include "Bindings.h"
#include "Elements.h"
#include "Problems.h"
#include "Structures.h"
#include "Text.h"
#include "Values.h"
#include "core/Layout.h"
#include "streams/StreamAccess.h"
#include "streams/StreamImpl.h"

namespace orbo::Python {

namespace {

/// Shows where a member lies in each element of a stream.
template <typename Use>
class EachValue final : public Data::ElementVisitor {
  public:
    EachValue(const StreamState& state, const Data::Member& member, const Use& use)
        : fState(state), fUse(use) {
        const Data::Layout& layout = Data::StreamAccess::layoutOf(state.stream());
        fOffset = layout.runs()[layout.indexOf(member.name())].offset;
    }
    void visit(unsigned int, char* chunk) override { show(chunk); }
    void visit(const Data::Index&, char* chunk) override { show(chunk); }

  private:
    void show(const char* chunk) {
        if (!chunk) raise("QuilError", fState.description() + " has elements without data");
        fUse(chunk + fOffset);
    }

    const StreamState& fState;
    const Use& fUse;
    std::uint64_t fOffset;
};

}  // namespace

template <typename Use>
void Rows::forEach(const StreamState& state, const Data::Member& member, const Use& use) const {
    if (fIndices) {
        for (const Data::Index& index : *fIndices) use(valuesIn(state, index, member));
        return;
    }
    EachValue<Use> each(state, member, use);
    Data::StreamAccess::visitElements(state.stream(), each);
}

std::size_t Rows::count(const StreamState& state) const {
    return fIndices ? fIndices->size() : state.stream().elementCount();
}

namespace {

using Data::Index;
using Data::Member;
using Data::Stream;

nb::object columnsModule() { return nb::module_::import_("quilmeta._columns"); }

/// The letter that the buffer protocol has for a scalar.
template <typename T>
constexpr const char* formatOf() {
    if constexpr (std::is_same_v<T, bool>) return "?";
    if constexpr (std::is_same_v<T, float>) return "f";
    if constexpr (std::is_same_v<T, double>) return "d";
    if constexpr (std::is_same_v<T, signed char>) return "b";
    if constexpr (std::is_same_v<T, short>) return "h";
    if constexpr (std::is_same_v<T, int>) return "i";
    if constexpr (std::is_same_v<T, long long>) return "q";
    if constexpr (std::is_same_v<T, unsigned char>) return "B";
    if constexpr (std::is_same_v<T, unsigned short>) return "H";
    if constexpr (std::is_same_v<T, unsigned int>) return "I";
    if constexpr (std::is_same_v<T, unsigned long long>) return "Q";
    return "";
}

/// An array of up to four axes: elements, values of the member, rows and columns of a matrix.
struct Shape {
    Shape(const Member& member, std::size_t elements);

    [[nodiscard]] std::size_t bytesOfElement() const { return scalars * itemSize; }
    [[nodiscard]] nb::tuple sizes() const;

    int axes = 0;
    std::array<Py_ssize_t, 4> size{};
    std::array<Py_ssize_t, 4> stride{};  // of elements side by side
    std::size_t itemSize = 0;
    std::size_t scalars = 1;  // of one element
    const char* format = "";
};

Shape::Shape(const Member& member, std::size_t elements) {
    int scalarsOfValue = 1;
    Data::visitMemberType(member.type(), [&](auto type) {
        using T = typename decltype(type)::Scalar;
        itemSize = sizeof(T);
        scalarsOfValue = type.kScalars;
        format = formatOf<T>();
        return true;
    });
    size[axes++] = static_cast<Py_ssize_t>(elements);
    if (member.length() > 1) size[axes++] = member.length();
    if (scalarsOfValue > 1) size[axes++] = 4, size[axes++] = 4;
    auto step = static_cast<Py_ssize_t>(itemSize);
    for (int axis = axes - 1; axis >= 0; --axis) {
        stride[axis] = step;
        step *= size[axis];
    }
    scalars = std::size_t{member.length()} * static_cast<std::size_t>(scalarsOfValue);
}

nb::tuple Shape::sizes() const {
    nb::list list;
    for (int axis = 0; axis < axes; ++axis) list.append(size[axis]);
    return nb::tuple(list);
}

/// Shows memory to Python by its buffer protocol: that of a stream's elements, or its own.
struct ColumnBuffer {
    ColumnBuffer(Shape ofArray, std::vector<char> values)
        : shape(ofArray), own(std::move(values)), first(own.data()), isReadOnly(true) {}
    ColumnBuffer(Shape ofArray, const std::shared_ptr<StreamState>& ofElements, char* values,
                 bool readOnly)
        : shape(ofArray),
          state(ofElements),
          keeper(ofElements->stream()),
          first(values),
          isReadOnly(readOnly) {}

    Shape shape;
    std::vector<char> own;
    std::shared_ptr<StreamState> state;  // counts the views; null for memory of its own
    std::optional<Stream> keeper;        // of the storage, whatever becomes of the stream
    char* first;
    bool isReadOnly;
};

int getBuffer(PyObject* self, Py_buffer* view, int flags) {
    ColumnBuffer& buffer = *nb::inst_ptr<ColumnBuffer>(nb::handle(self));
    const Shape& shape = buffer.shape;
    if ((flags & PyBUF_STRIDES) != PyBUF_STRIDES ||
        ((flags & PyBUF_WRITABLE) != 0 && buffer.isReadOnly)) {
        PyErr_SetString(PyExc_BufferError, buffer.isReadOnly ? "the column is to be read only"
                                                             : "the column is strided");
        view->obj = nullptr;
        return -1;
    }
    static char nothing = 0;
    view->obj = self;
    Py_INCREF(self);
    view->buf = buffer.first ? buffer.first : &nothing;
    view->itemsize = static_cast<Py_ssize_t>(shape.itemSize);
    view->len = shape.size[0] * static_cast<Py_ssize_t>(shape.bytesOfElement());
    view->readonly = buffer.isReadOnly ? 1 : 0;
    view->ndim = shape.axes;
    view->format = (flags & PyBUF_FORMAT) != 0 ? const_cast<char*>(shape.format) : nullptr;
    view->shape = buffer.shape.size.data();
    view->strides = buffer.shape.stride.data();
    view->suboffsets = nullptr;
    view->internal = nullptr;
    if (buffer.state) buffer.state->countView(1);
    return 0;
}

void releaseBuffer(PyObject* self, Py_buffer*) {
    ColumnBuffer& buffer = *nb::inst_ptr<ColumnBuffer>(nb::handle(self));
    if (buffer.state) buffer.state->countView(-1);
}

PyType_Slot bufferSlots[] = {
    {Py_bf_getbuffer, reinterpret_cast<void*>(getBuffer)},
    {Py_bf_releasebuffer, reinterpret_cast<void*>(releaseBuffer)},
    {0, nullptr},
};

nb::object arrayOf(ColumnBuffer&& buffer) {
    return columnsModule().attr("array_of")(nb::cast(std::move(buffer)));
}

/// Where a member lies in dense storage; empty when there are no elements.
Data::ColumnPlace placeOf(Stream& stream, const Member& member) {
    return Data::visitMemberType(member.type(), [&](auto type) {
        using T = typename decltype(type)::Scalar;
        const auto column = stream.column<T>(member.name());
        Data::ColumnPlace place;
        place.first = reinterpret_cast<char*>(column.data());
        place.stride = column.stride();
        return place;
    });
}

nb::object viewOf(StreamState& state, const Member& member, bool isReadOnly) {
    Shape shape(member, state.stream().elementCount());
    const Data::ColumnPlace place = placeOf(state.stream(), member);
    shape.stride[0] = static_cast<Py_ssize_t>(place.stride);
    return arrayOf(ColumnBuffer(shape, state.shared_from_this(), place.first, isReadOnly));
}

bool isWritable(const StreamState& state) {
    const SceneState* const scene = state.scene();
    return !scene || scene->isWritable();
}

/// The bytes of the elements' values, one after the other, that NumPy makes of what it was given.
void scatterBytes(const StreamState& state, const Rows& rows, const Member& member,
                  nb::handle array) {
    const Shape shape(member, rows.count(state));
    Py_buffer view;
    if (PyObject_GetBuffer(array.ptr(), &view, PyBUF_C_CONTIGUOUS) != 0) nb::raise_python_error();
    const char* from = static_cast<const char*>(view.buf);
    const std::size_t step = shape.bytesOfElement();
    const bool fits = static_cast<std::size_t>(view.len) == step * rows.count(state);
    if (fits) {
        rows.forEach(state, member, [&](const char* values) {
            std::memcpy(const_cast<char*>(values), from, step);
            from += step;
        });
    }
    PyBuffer_Release(&view);
    if (!fits) throw nb::value_error("the array has another size");
}

void scatterObjects(const StreamState& state, const Rows& rows, const Member& member,
                    nb::handle values) {
    const nb::object items =
        columnsModule().attr("items_of")(values, member.length(), rows.count(state));
    std::vector<NewValue> fresh;
    fresh.reserve(rows.count(state));
    for (nb::handle item : items) fresh.emplace_back(member, item);
    if (fresh.size() != rows.count(state))
        throw nb::value_error((std::to_string(rows.count(state)) + " elements do not take " +
                               std::to_string(fresh.size()) + " values")
                                  .c_str());
    state.demandWritable();
    // Runs no Python code, so that all elements are there once they were found.
    rows.forEach(state, member, [](const char*) {});
    auto next = fresh.begin();
    rows.forEach(state, member, [&](const char* at) { (next++)->storeAt(const_cast<char*>(at)); });
}

}  // namespace

namespace {

/// Objects of one size that Python shows by the buffer protocol: the slots of an array of objects.
class Slots {
  public:
    explicit Slots(nb::handle array) {
        if (PyObject_GetBuffer(array.ptr(), &fView, PyBUF_WRITABLE) != 0) nb::raise_python_error();
        fNext = static_cast<PyObject**>(fView.buf);
        fEnd = fNext + static_cast<std::size_t>(fView.len) / sizeof(PyObject*);
    }
    Slots(const Slots&) = delete;
    Slots& operator=(const Slots&) = delete;
    ~Slots() { PyBuffer_Release(&fView); }

    [[nodiscard]] bool isFull() const { return fNext == fEnd; }
    void add(nb::object object) { Py_XDECREF(std::exchange(*fNext++, object.release().ptr())); }

  private:
    Py_buffer fView;
    PyObject** fNext;
    PyObject** fEnd;
};

nb::object gatherTexts(const StreamState& state, const Rows& rows, const Member& member) {
    const std::size_t count = rows.count(state);
    const nb::object array = columnsModule().attr("empty_texts")(count);
    const NoCollection undisturbed;
    TextCache texts(count);
    const auto next = [&](const char* at) {
        const char* bytes = nullptr;
        std::memcpy(&bytes, at, sizeof bytes);
        return texts.textOrNone(bytes);
    };
    if (array.is_none()) {
        nb::list list;
        rows.forEach(state, member, [&](const char* at) { list.append(next(at)); });
        return nb::tuple(list);
    }
    {
        Slots slots(array);
        rows.forEach(state, member, [&](const char* at) {
            if (!slots.isFull()) slots.add(next(at));
        });
    }
    return columnsModule().attr("read_only")(array);
}

}  // namespace

Indices indicesOf(StreamState& state) {
    state.demandPresent();
    return state.indices();
}

nb::object gather(const StreamState& state, const Rows& rows, const std::string& name) {
    state.demandPresent();
    const Member& member = memberOf(state.stream().structure(), name);
    if (member.type() == Member::kString && member.length() == 1)
        return gatherTexts(state, rows, member);
    if (member.type() == Member::kString) {
        const NoCollection undisturbed;
        nb::list lists;
        rows.forEach(state, member, [&](const char* at) { lists.append(valueOf(member, at)); });
        return columnsModule().attr("texts_of")(lists);
    }
    const Shape shape(member, rows.count(state));
    std::vector<char> values;
    values.reserve(rows.count(state) * shape.bytesOfElement());
    rows.forEach(state, member, [&](const char* at) {
        values.insert(values.end(), at, at + shape.bytesOfElement());
    });
    return arrayOf(ColumnBuffer(shape, std::move(values)));
}

nb::object columnOf(StreamState& state, const std::string& name) {
    state.demandPresent();
    const Member& member = memberOf(state.stream().structure(), name);
    const bool writable = isWritable(state);
    if (member.type() != Member::kString) {
        const bool isDense = writable ? state.makeDense() : state.stream().isDense();
        if (isDense && !state.stream().empty()) return viewOf(state, member, !writable);
    }
    return gather(state, Rows::all(), name);
}

void scatter(StreamState& state, const Rows& rows, const std::string& name, nb::handle values) {
    state.demandWritable();
    const StructurePtr structure(&state.stream().structure());
    const Member& member = memberOf(*structure, name);
    if (member.type() == Member::kString) return scatterObjects(state, rows, member, values);
    const Shape shape(member, rows.count(state));
    const nb::object array =
        columnsModule().attr("values_for")(textOf(name), values, shape.format, shape.sizes());
    if (array.is_none()) return scatterObjects(state, rows, member, values);
    state.demandWritable();
    rows.forEach(state, member, [](const char*) {});
    scatterBytes(state, rows, member, array);
}

void defineColumns(nb::module_& module) {
    nb::class_<ColumnBuffer>(module, "_ColumnBuffer", nb::type_slots(bufferSlots));
}

}  // namespace orbo::Python
