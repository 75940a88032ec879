# Streams as tables of Arrow, pandas, Polars and DuckDB, and streams made of their tables.
# SPDX-License-Identifier: Apache-2.0
from __future__ import annotations

import gc
from collections.abc import Iterator
from pathlib import Path
from typing import Any

import pytest

import quilmeta as qm

from conftest import ALL_TYPES

pa = pytest.importorskip("pyarrow")

INDICES: dict[str, list[Any]] = {"numeric": [3, 0, 4294967295], "pair": [(7, 1), (0, 4294967295), (7, 0)],
                                 "string": ["b", "", "é\n"], "mine": [qm.OtherIndex("mine", t) for t in "xyz"]}


def stream_of_all(index_type: str, length: int = 1) -> qm.Stream:
    """Three elements of all types, one of them with default values."""
    structure = qm.Structure("All", [(f"of {kind}", kind, length) for kind in ALL_TYPES])
    stream = qm.Stream("s", structure, index_type)
    for number, index in enumerate(INDICES[index_type][:2]):
        for member in structure.values():
            if index not in stream.loc:
                stream.loc[index] = {}
            matrix = [[k * number + row for k in range(4)] for row in range(4)]
            value: Any = (f"text {number}é" if member.type == "string" else number == 1 if member.type == "bool"
                          else matrix if "4x4" in member.type else number * 100 + 0.5
                          if member.type in ("float", "double") else number * 100)
            stream.loc[index][member.name] = value if length == 1 else [value] * length
    stream.loc[INDICES[index_type][2]] = {}
    return stream


@pytest.mark.parametrize("index_type", INDICES)
@pytest.mark.parametrize("length", [1, 2])
def test_all_types_come_back_from_arrow_as_they_were(index_type: str, length: int) -> None:
    stream = stream_of_all(index_type, length)
    table = stream.to_arrow()
    table.validate(full=True)
    for given in (table, pa.concat_tables([table.slice(0, 1), table.slice(1)]), table.to_reader(),
                  table.combine_chunks().to_batches()[0], stream):
        back = qm.Stream.from_arrow("s", given)
        assert back == stream and back.structure == stream.structure
    late = qm.Stream.from_arrow("s", table.slice(2))
    assert late.structure == stream.structure and late.keys() != stream.keys() and len(late) == 1
    assert pa.schema(stream) == table.schema
    assert qm.structure_of(stream.structure.__class__("All", stream.structure.members)) == stream.structure
    assert qm.structure_of(pa.schema(stream.structure), "All") == stream.structure


@pytest.mark.parametrize("package", ["pandas", "polars"])
@pytest.mark.parametrize("index_type", ["numeric", "pair", "string"])
def test_frames_come_back(package: str, index_type: str) -> None:
    pytest.importorskip(package)
    for length in (1, 2):
        stream = stream_of_all(index_type, length)
        frame = getattr(stream, f"to_{package}")()
        assert len(frame) == 3
        back = getattr(qm.Stream, f"from_{package}")("s", frame, structure=stream.structure)
        assert back == stream and back.index_type == index_type
    counted = qm.Stream("s", qm.structure_of(pa.schema([("a", pa.int8()), ("index", pa.float32())]), "S"))
    for number in range(4):
        counted[number] = {"a": number, "index": 0.5}
    frame = getattr(counted, f"to_{package}")()
    assert getattr(qm.Stream, f"from_{package}")("s", frame, "S") == counted
    assert getattr(counted.iloc[1:1], f"to_{package}")().shape[0] == 0


def test_selections_and_queries_see_the_elements() -> None:
    duckdb = pytest.importorskip("duckdb")
    stream = stream_of_all("numeric")
    chosen = stream.iloc[[1, 0]].to_arrow()
    assert chosen["index"].to_pylist() == [3, 0] and chosen["of int32"].to_pylist() == [0, 100][::1][:2]
    assert duckdb.sql('select sum("of int64") from stream').fetchall() == [(100,)]
    made = qm.Stream.from_arrow("q", duckdb.sql("select 5 as index, [1, 2]::smallint[2] as v, 'x' as t"))
    assert made[5].asdict() == {"v": (1, 2), "t": "x"} and made.structure["v"].type == "int16"


def test_text_that_is_no_utf8_stays_as_it_is() -> None:
    odd = b"caf\xe9".decode("utf-8", "surrogateescape")
    stream = qm.Stream("s", qm.Structure(odd, [(odd, "string"), ("é", "string"), ("none", "string")]), "string")
    stream.loc[odd] = {odd: odd, "é": "é"}
    stream.loc["x"] = {odd: "", "é": None}
    table = stream.to_arrow()
    assert [str(field.type) for field in table.schema] == ["large_binary"] * 2 + ["string"] * 2
    assert table.column(1).to_pylist() == [b"caf\xe9", b""][:: 1 if list(stream) == [odd, "x"] else -1]
    assert table.column("none").null_count == 2
    back = qm.Stream.from_arrow("s", table)
    assert back == stream and back.structure == stream.structure


def test_any_form_of_a_column_is_taken() -> None:
    texts = ["a", "", "a text that is too long to be stored in place", None]
    forms: dict[str, Any] = {f"t{k}": pa.array(texts, kind) for k, kind in enumerate(
        (pa.string(), pa.large_string(), pa.string_view(), pa.dictionary(pa.int8(), pa.string())))}
    forms |= {f"b{k}": pa.array([t and t.encode() for t in texts], kind)
              for k, kind in enumerate((pa.binary(), pa.large_binary(), pa.binary_view()))}
    lists = [[1, 2], [3, 4], [5, 6], [7, 8]]
    forms |= {f"l{k}": pa.array(lists, kind) for k, kind in enumerate(
        (pa.list_(pa.int8()), pa.large_list(pa.int8()), pa.list_(pa.int8(), 2)))}
    forms |= {"half": pa.array([0.5, -2, 65504, 6e-8], pa.float16()), "null": pa.nulls(4)}
    table = pa.table(forms)
    for part in (table, table.slice(1, 2), pa.concat_tables([table.slice(3), table.slice(0, 3)])):
        stream = qm.Stream.from_arrow("s", part)
        for name in part.column_names:
            wanted = part[name].to_pylist()
            found = [element[name] for element in stream.values()]
            if name == "half":
                assert found == pytest.approx(wanted, rel=0.01)
            else:
                assert [list(f) if isinstance(f, tuple) else f for f in found] == \
                    [w.decode() if isinstance(w, bytes) else w for w in wanted], name


@pytest.mark.parametrize("table, error, message", [
    (pa.table({"a": [1, None]}), ValueError, 'column "a", row 1: there is no null in int64'),
    (pa.table({"a": [[1, 2], [3]]}), ValueError, 'column "a", row 1: 2 values are wanted, not 1'),
    (pa.table({"a": [[1, 2], None]}), ValueError, 'column "a", row 1: there is no null'),
    (pa.table({"a": [[1, None]]}), ValueError, 'column "a", row 0: there is no null'),
    (pa.table({"a": ["x", "y\0"]}), ValueError, "row 1: a text has a NUL"),
    (pa.table({"a": pa.array([1], pa.timestamp("s"))}), TypeError, "for timestamp"),
    (pa.table({"a": [{"b": 1}]}), TypeError, "for struct"),
    (pa.table({"a": [[[1.0] * 3] * 4]}), TypeError, "for double"),
    (pa.table({"index": [1, 2, 1]}), ValueError, "row 2: the index 1 is there twice"),
    (pa.table({"index": [1, -1]}), ValueError, "row 1: there is no numeric index"),
    (pa.table({"index": ["a", None]}), ValueError, "row 1: there is no string index"),
    (pa.chunked_array([[1]]), TypeError, "no table"),
    (5, TypeError, "__arrow_c_stream__, not int"),
    (None, TypeError, "__arrow_c_stream__, not NoneType"),
])
def test_what_no_stream_can_hold_is_refused_with_its_place(table: Any, error: type, message: str) -> None:
    with pytest.raises(error, match=message.replace("[", r"\[")):
        qm.Stream.from_arrow("s", table)


@pytest.mark.parametrize("column, error, message", [
    ({"n": [1, 300]}, OverflowError, 'column "n", row 1: 300 is out of range for int8'),
    ({"u": [-1]}, OverflowError, "-1 is out of range for uint64"),
    ({"f": [1e300]}, OverflowError, "1e\\+300 is out of range for float"),
    ({"n": [1.5]}, TypeError, 'column "n": double does not fit int8'),
    ({"b": [1]}, TypeError, "int64 does not fit bool"),
    ({"f": ["x"]}, TypeError, "text does not fit float"),
    ({"nn": [1]}, KeyError, 'did you mean "n"'),
])
def test_a_structure_that_is_given_says_what_members_are(column: Any, error: type, message: str) -> None:
    wanted = qm.Structure("W", [("n", "int8"), ("u", "uint64"), ("f", "float"), ("b", "bool")])
    made = qm.Stream.from_arrow("s", pa.table({"n": [-128, 127], "f": [1, 2]}), wanted)
    assert made.structure == wanted and made[0].asdict() == {"n": -128, "u": 0, "f": 1.0, "b": False}
    with pytest.raises(error, match=message):
        qm.Stream.from_arrow("s", pa.table(column), wanted)


def test_indices_are_in_the_columns_that_are_named() -> None:
    table = pa.table({"k": [5, 6], "j": [1, 1], "t": ["a", "b"]})
    assert list(qm.Stream.from_arrow("s", table)) == [0, 1]
    assert list(qm.Stream.from_arrow("s", table, index="k")) == [5, 6]
    assert list(qm.Stream.from_arrow("s", table, index=("j", "k"))) == [(1, 5), (1, 6)]
    assert list(qm.Stream.from_arrow("s", table, index="t")) == ["a", "b"]
    with pytest.raises(KeyError, match="nope"):
        qm.Stream.from_arrow("s", table, index="nope")
    with pytest.raises(TypeError, match="whole numbers"):
        qm.Stream.from_arrow("s", table, index=("k", "t"))


def test_tables_are_added_to_scenes_and_survive_the_file(teapot: Path) -> None:
    table = pa.table({"index": [2, 9], "weight": pa.array([0.5, 0.25], pa.float32()), "tag": ["a", ""]})
    with qm.open(teapot, "r+") as scene:
        added = scene.add("n", "c", "s", table)
        assert added.structure.name == "s" and scene["n"]["c"].add("t", table)[9]["weight"] == 0.25
    found = qm.open(teapot)["n"]["c"]["s"]
    assert found.to_arrow().select(["index", "weight", "tag"]).equals(table.cast(found.to_arrow().schema))


def test_producers_that_fail_and_tables_that_nobody_takes_leave_nothing() -> None:
    before = pa.total_allocated_bytes()
    batch = pa.record_batch({"a": list(range(1000))})

    def broken() -> Iterator[Any]:
        yield batch
        raise RuntimeError("the disk is gone")

    with pytest.raises(qm.QuilError, match="the disk is gone"):
        qm.Stream.from_arrow("s", pa.RecordBatchReader.from_batches(batch.schema, broken()))
    stream = qm.Stream.from_arrow("s", batch)
    for _ in range(3):
        stream.__arrow_c_stream__(), stream.__arrow_c_schema__(), stream.structure.__arrow_c_schema__()
    taken = stream.__arrow_c_stream__()

    class Once:
        def __arrow_c_stream__(self, requested_schema: object = None) -> object:
            return taken

    assert len(qm.Stream.from_arrow("s", Once())) == 1000
    with pytest.raises(ValueError, match="handed over already"):
        qm.Stream.from_arrow("s", Once())
    table = stream.to_arrow()
    del stream, batch
    gc.collect()
    assert table["a"].to_pylist() == list(range(1000))
    del table
    gc.collect()
    assert pa.total_allocated_bytes() <= before
