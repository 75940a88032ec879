# One value of each type, into an element and out again, and what does not fit.
# SPDX-License-Identifier: Apache-2.0
from __future__ import annotations

import math
import struct
from dataclasses import dataclass
from typing import Annotated, Any

import pytest
from conftest import ALL_TYPES
from hypothesis import given
from hypothesis import strategies as st

import quilmeta as qm

LIMITS = {
    **{f"int{bits}": (-(2 ** (bits - 1)), 2 ** (bits - 1) - 1) for bits in (8, 16, 32, 64)},
    **{f"uint{bits}": (0, 2**bits - 1) for bits in (8, 16, 32, 64)},
}
TEXTS = st.text(st.characters(exclude_characters="\0", exclude_categories=["Cs"])) | st.binary().filter(
    lambda data: 0 not in data
).map(lambda data: data.decode("utf-8", "surrogateescape"))


def values(kind: str) -> st.SearchStrategy[Any]:
    if kind in LIMITS:
        return st.integers(*LIMITS[kind])
    number = st.floats(width=32 if kind in ("float", "flt4x4") else 64)
    row = st.tuples(number, number, number, number)
    return {
        "bool": st.booleans(),
        "float": number,
        "double": number,
        "string": st.none() | TEXTS,
    }.get(kind, st.tuples(row, row, row, row))


def bits(value: Any) -> Any:
    """Makes NaN equal to itself, and -0.0 another value than 0.0."""
    if isinstance(value, tuple):
        return tuple(map(bits, value))
    return struct.pack("d", value) if isinstance(value, float) else value


@pytest.mark.parametrize("length", [1, 3])
@pytest.mark.parametrize("kind", ALL_TYPES)
@given(data=st.data())
def test_a_value_comes_back_as_it_was(kind: str, length: int, data: st.DataObject) -> None:
    one = values(kind)
    value = data.draw(one if length == 1 else st.tuples(*[one] * length))
    stream = qm.Stream("s", qm.Structure("S", [("x", kind, length)]))
    stream[0] = {"x": value}
    found = stream[0]["x"]
    if "nan" not in repr(value):
        assert bits(found) == bits(value)
    assert repr(found) == repr(value)


@pytest.mark.parametrize("kind", LIMITS)
def test_numbers_out_of_range_are_refused(kind: str) -> None:
    stream = qm.Stream("s", qm.Structure("S", [("x", kind)]))
    stream[0] = {"x": 1}
    for number in (LIMITS[kind][0] - 1, LIMITS[kind][1] + 1, 2**80, -(2**80)):
        with pytest.raises(OverflowError, match=f'"x": {number} is out of range for {kind}'):
            stream[0]["x"] = number
    assert stream[0]["x"] == 1


@pytest.mark.parametrize(
    ("kind", "length", "value", "error"),
    [
        ("int8", 1, 1.5, TypeError),
        ("int8", 1, "1", TypeError),
        ("int8", 2, (1, 2, 3), ValueError),
        ("int8", 2, 1, TypeError),
        ("int8", 2, "ab", TypeError),
        ("bool", 1, 1, TypeError),
        ("float", 1, "1", TypeError),
        ("float", 1, None, TypeError),
        ("float", 1, 1e300, OverflowError),
        ("string", 1, 5, TypeError),
        ("string", 1, "x\0", ValueError),
        ("string", 1, "x\ud800", ValueError),
        ("flt4x4", 1, [[1, 2, 3, 4]] * 3, ValueError),
        ("flt4x4", 1, [[1, 2, 3]] * 4, ValueError),
        ("dbl4x4", 1, 5, TypeError),
    ],
)
def test_what_does_not_fit_changes_nothing(
    kind: str, length: int, value: object, error: type[Exception]
) -> None:
    stream = qm.Stream("s", qm.Structure("S", [("x", kind, length), ("y", "int8")]))
    stream[0] = {"y": 7}
    before = stream[0].asdict()
    with pytest.raises(error, match="x"):
        stream[0].update({"y": 8, "x": value})
    assert stream[0].asdict() == before


def test_a_matrix_is_also_taken_flat() -> None:
    stream = qm.Stream("s", qm.Structure("S", [("m", "dbl4x4")]))
    stream[0] = {"m": range(16)}
    assert stream[0]["m"][1] == (4, 5, 6, 7)


def test_defaults_fill_what_is_not_named() -> None:
    stream = qm.Stream("s", qm.Structure("S", [(kind, kind) for kind in ALL_TYPES]))
    stream[0] = {"int8": 5, "string": "x"}
    stream[0] = {"int16": 6}
    found = stream[0].asdict()
    assert (found["int8"], found["int16"], found["string"]) == (0, 6, None)
    assert list(found) == ALL_TYPES


def test_values_may_run_code_that_removes_the_element() -> None:
    stream = qm.Stream("s", qm.Structure("S", [("x", "double")]))
    stream[0] = {"x": 1}

    class Treacherous:
        def __float__(self) -> float:
            stream.clear()
            return math.pi

    with pytest.raises(qm.StaleError):
        stream[0]["x"] = Treacherous()
    assert len(stream) == 0


@dataclass
class Joint:
    label: str
    radius: float
    side: Annotated[int, "int8"]
    axis: tuple[float, float, float]
    name: str | None = None


def test_a_dataclass_describes_a_structure_and_fills_elements() -> None:
    structure = qm.structure_of(Joint)
    assert structure == qm.Structure(
        "Joint",
        [("label", "string"), ("radius", "double"), ("side", "int8"), ("axis", "double", 3),
         ("name", "string")],
    )
    stream = qm.Stream("s", Joint, "string")
    stream.loc["lid"] = Joint("Lid", 1.5, -1, (0, 1, 0))
    assert stream.loc["lid"].asdict() == {
        "label": "Lid", "radius": 1.5, "side": -1, "axis": (0, 1, 0), "name": None}


def test_a_dtype_describes_a_structure() -> None:
    numpy = pytest.importorskip("numpy")
    dtype = numpy.dtype([("p", "f4", 3), ("m", "f8", (4, 4)), ("ms", "f4", (2, 4, 4)),
                         ("t", "O"), ("n", ">i2"), ("b", "?")])
    assert qm.structure_of(dtype, "S") == qm.Structure(
        "S",
        [("p", "float", 3), ("m", "dbl4x4"), ("ms", "flt4x4", 2), ("t", "string"), ("n", "int16"),
         ("b", "bool")],
    )
    with pytest.raises(TypeError, match="c16|complex"):
        qm.structure_of(numpy.dtype([("c", "c16")]), "S")
    with pytest.raises(TypeError, match="one axis"):
        qm.structure_of(numpy.dtype([("c", "f4", (2, 3))]), "S")


def test_an_arrow_schema_describes_a_structure() -> None:
    arrow = pytest.importorskip("pyarrow")
    plain = {"b": arrow.bool_(), "i": arrow.int8(), "u": arrow.uint64(), "f": arrow.float32(),
             "d": arrow.float64(), "t": arrow.string(), "l": arrow.large_string(),
             "y": arrow.large_binary(), "p": arrow.list_(arrow.float32(), 3), "h": arrow.float16(),
             "m": arrow.list_(arrow.list_(arrow.float32(), 4), 4)}
    structure = qm.structure_of(arrow.schema(plain.items()), "S")
    assert structure == qm.Structure(
        "S", [("b", "bool"), ("i", "int8"), ("u", "uint64"), ("f", "float"), ("d", "double"),
              ("t", "string"), ("l", "string"), ("y", "string"), ("p", "float", 3),
              ("h", "float"), ("m", "flt4x4")])
    with pytest.raises(TypeError, match="needs a name"):
        qm.structure_of(arrow.schema(plain.items()))
    for kind in (arrow.list_(arrow.int8()), arrow.timestamp("s"),
                 arrow.list_(arrow.list_(arrow.float32(), 4), 3),
                 arrow.list_(arrow.list_(arrow.int32(), 4), 4)):
        with pytest.raises(TypeError, match='"odd": no type of member is known'):
            qm.structure_of(arrow.schema([("odd", kind)]), "S")


@pytest.mark.parametrize(
    ("members", "error", "words"),
    [
        ([("x", "float32")], ValueError, "no type"),
        ([("x", "float", 0)], ValueError, "length"),
        ([("", "float")], ValueError, "name"),
        ([("x", "float"), ("x", "int8")], ValueError, "x"),
        ([("a\0b", "float")], ValueError, "NUL"),
        (["x"], TypeError, "tuple"),
    ],
)
def test_members_that_no_structure_can_have(
    members: list[Any], error: type[Exception], words: str
) -> None:
    with pytest.raises(error, match=words):
        qm.Structure("S", members)
