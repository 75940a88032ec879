# Streams as tables of Arrow, pandas, Polars and DuckDB, and streams made of their tables.
# SPDX-License-Identifier: Apache-2.0
from __future__ import annotations

import ctypes
import gc
import math
from collections.abc import Iterator
from pathlib import Path
from typing import Any

import pytest
from conftest import ALL_TYPES
from hypothesis import given, settings
from hypothesis import strategies as st
from test_values import TEXTS, values

import quilmeta as qm

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
    (pa.table({"index": [1, -1]}), ValueError, "row 1: there is no numeric index -1"),
    (pa.table({"index0": [1], "index1": [2**32]}), ValueError, "there is no pair index 1, 4294967296"),
    (pa.table({"index": ["a", None]}), ValueError, "row 1: there is no string index None"),
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


def test_rows_keep_their_labels_in_pandas() -> None:
    pandas = pytest.importorskip("pandas")
    stream = qm.Stream("s", qm.Structure("S", [("f", "float"), ("t", "string")]))
    for number in range(6):
        stream[number] = {"f": math.nan if number == 1 else number, "t": None if number == 2 else "x"}
    frame = stream.to_pandas()
    for part, wanted in ((frame, [0, 1, 2, 3, 4, 5]), (frame[2:4], [2, 3]), (frame[::-2], [1, 3, 5]),
                         (frame[frame["f"] > 3], [4, 5]), (frame[:0], []),
                         (frame[3:].reset_index(drop=True), [0, 1, 2])):
        back = qm.Stream.from_pandas("s", part, stream.structure)
        assert list(back) == wanted
    assert repr(qm.Stream.from_pandas("s", frame)[1]["f"]) == "nan"  # a null for others
    numbers = pandas.DataFrame({"x": [1, 2]}, index=["lid", "rim"])
    for name in (None, "joint"):
        made = qm.Stream.from_pandas("s", numbers.rename_axis(index=name))
        assert made.index_type == "string" and made.loc["rim"].asdict() == {"x": 2}
    numbers.index = [7.5, 8]
    with pytest.raises(TypeError, match="double is no index"):
        qm.Stream.from_pandas("s", numbers)
    assert list(qm.Stream.from_pandas("s", numbers.reset_index(drop=True))) == [0, 1]


@pytest.mark.parametrize("package", ["pandas", "polars"])
@pytest.mark.parametrize(
    ("members", "column"),
    [(["index"], "index_"), (["index_"], "index__"), (["index1", "index0__"], "index___"),
     (["my_index", "_index"], "index")],
)
def test_members_may_be_called_as_indices_are(package: str, members: list[str], column: str) -> None:
    pytest.importorskip(package)
    for index_type, keys in (("numeric", [3, 5]), ("pair", [(3, 1), (5, 1)])):
        stream = qm.Stream("s", qm.Structure("s", [(name, "int8") for name in members]), index_type)
        for key in keys:
            stream.loc[key] = dict.fromkeys(members, 7)
        names = [column] if index_type == "numeric" else [column.replace("index", f"index{k}") for k in "01"]
        assert stream.to_arrow().column_names == names + members
        assert getattr(qm.Stream, f"from_{package}")("s", getattr(stream, f"to_{package}")()) == stream


@pytest.mark.parametrize("package", ["pandas", "polars"])
def test_odd_bytes_reach_other_packages_and_come_back(package: str) -> None:
    pytest.importorskip(package)
    odd = b"caf\xe9".decode("utf-8", "surrogateescape")
    stream = qm.Stream("s", qm.Structure(odd, [(odd, "string"), ("two", "string", 2), ("100%", "bool")]), "string")
    stream.loc[odd] = {odd: odd, "two": (odd, "é"), "100%": True}
    stream.loc["é"] = {odd: None}
    frame = getattr(stream, f"to_{package}")()
    assert "caf\\xe9" in frame.columns and str(frame)
    assert getattr(qm.Stream, f"from_{package}")("s", frame, stream.structure) == stream
    assert qm.Stream.from_arrow("s", stream.to_arrow()) == stream
    twins = qm.Stream("s", qm.Structure("S", [(odd, "int8"), ("caf\\xe9", "int8")]))
    twins[0] = {odd: 1, "caf\\xe9": 2}
    assert twins.to_arrow().column_names == ["index", "caf\\xe9_", "caf\\xe9"]
    assert qm.Stream.from_arrow("s", twins.to_arrow()) == twins


def test_the_type_of_indices_may_be_said_again() -> None:
    pytest.importorskip("polars")
    for index_type in ("mine", "string", "pair", "numeric"):
        stream = stream_of_all(index_type)
        frame = stream.to_polars()
        assert qm.Stream.from_polars("s", frame, stream.structure, index_type=index_type) == stream
    with pytest.raises(TypeError, match='column "index": no indices of type string, but numeric'):
        qm.Stream.from_polars("s", frame, index_type="string")
    with pytest.raises(ValueError, match="indices of type string"):
        qm.Stream.from_arrow("s", pa.table({"a": [1]}), index_type="string")
    with pytest.raises(TypeError, match="index is the name of a column"):
        qm.Stream.from_arrow("s", pa.table({"a": [1]}), index=5)


def test_tables_are_taken_wherever_streams_are_made(bare: Path) -> None:
    table = pa.table({"index": ["a", "b"], "x": [1, 2]})
    narrow = qm.Structure("Narrow", [("x", "int8"), ("y", "bool")])
    made = qm.Stream("s", table)
    assert list(made) == ["a", "b"] and made.structure == qm.Structure("s", [("x", "int64")])
    assert qm.Stream("s", narrow, data=table).loc["b"].asdict() == {"x": 2, "y": False}
    assert list(qm.Stream("s", data=table.to_struct_array().chunk(0), index=())) == [0, 1]
    assert qm.structure_of(made.to_arrow()) == made.structure
    with qm.open(bare, "r+") as scene:
        channel = scene.add("n", "c", "s", narrow, data=table) and scene["n"]["c"]
        channel["s"] = pa.table({"index": ["c"], "x": [3.0]}).cast(table.schema)
        assert channel["s"].structure == narrow and list(channel["s"]) == ["c"]
        channel["new"] = table
        assert channel["new"].structure.name == "new"
        with pytest.raises(OverflowError, match='column "x", row 1: 200 is out of range for int8'):
            channel["s"] = pa.table({"index": ["c", "d"], "x": [3, 200]})
        assert list(channel["s"]) == ["c"]
        for fails in (lambda: scene.add("m", "c", "s", table, index="nope"), lambda: scene.add("m", "c", "s"),
                      lambda: scene.add("m", "c", "s", narrow, index="x"),
                      lambda: scene.add("m", "c", "s", table, data=table)):
            with pytest.raises((KeyError, TypeError)):
                fails()
        assert "m" not in scene
        with pytest.raises(TypeError, match="a stream or a table"):
            channel["s"] = 5
    assert list(qm.open(bare)["n"]["c"]["new"]) == ["a", "b"]


def test_producers_may_wait_for_threads_that_run_python() -> None:
    connection = pytest.importorskip("duckdb").connect()
    connection.execute("set threads = 4")
    connection.create_function("twice", lambda number: 2 * number, ["BIGINT"], "BIGINT")
    query = connection.sql("select twice(range) as x from range(300000)")
    assert len(qm.Stream.from_arrow("s", query)) == 300000


def test_the_name_may_come_first_or_last_or_with_the_table() -> None:
    pandas = pytest.importorskip("pandas")
    stream = stream_of_all("pair")
    assert qm.Stream.from_arrow(stream.to_arrow()) == stream == qm.Stream.from_arrow(stream.to_arrow(), "s")
    frame = pandas.DataFrame({"x": [1.5]})
    made = qm.Stream.from_pandas(frame, name="few", structure="Few")
    assert made == qm.Stream.from_pandas("few", frame, "Few") == qm.Stream.from_pandas(data=frame, name="few", structure="Few")
    assert (made.name, made.structure.name) == ("few", "Few")
    with pytest.raises(TypeError, match="the stream needs a name"):
        qm.Stream.from_pandas(frame)


def test_structures_of_tables_are_those_of_their_streams() -> None:
    pandas, polars = pytest.importorskip("pandas"), pytest.importorskip("polars")
    fields = {"x": pa.int8(), "v": pa.list_(pa.float32(), 2)}
    wanted = qm.Structure("S", [("x", "int8"), ("v", "float", 2)])
    assert qm.structure_of(pa.struct(fields.items()), "S") == wanted
    table = pa.table({"index": ["a"], "x": [1], "v": [[1, 2]]}, pa.schema({"index": pa.string(), **fields}.items()))
    for given in (table, table.to_struct_array().chunk(0), polars.DataFrame(table), table.to_reader(),
                  table.to_pandas(types_mapper=pandas.ArrowDtype), table.to_pandas().set_index("index")):
        assert qm.structure_of(given, "S") == wanted
    with pytest.raises(TypeError, match="needs a name"):
        qm.structure_of(table)


@given(data=st.data())
@settings(max_examples=60, deadline=None)
def test_whatever_a_stream_has_survives_every_package(data: st.DataObject) -> None:
    names = st.lists(st.text(st.sampled_from("index01_aé\udce9 %\n."), min_size=1, max_size=8), unique=True, max_size=3)
    structure = qm.Structure("S", [(name, data.draw(st.sampled_from(ALL_TYPES)), data.draw(st.sampled_from([1, 2, 16])))
                                   for name in data.draw(names)])
    index_type = data.draw(st.sampled_from(["numeric", "pair", "string", "mine"]))
    number = st.integers(0, 2**32 - 1) | st.integers(0, 3)
    keys = {"numeric": number, "pair": st.tuples(number, number), "string": TEXTS,
            "mine": TEXTS.map(lambda text: qm.OtherIndex("mine", text))}[index_type]
    stream = qm.Stream("s", structure, index_type)
    for key in data.draw(st.lists(keys, max_size=4)):
        stream.loc[key] = {
            member.name: data.draw(values(member.type) if member.length == 1
                                   else st.tuples(*[values(member.type)] * member.length))
            for member in structure.values() if data.draw(st.booleans())}
    wanted = repr(list(stream.items()))
    pytest.importorskip("pandas"), pytest.importorskip("polars")
    assert repr(list(qm.Stream("s", stream.to_arrow()).items())) == wanted
    assert qm.structure_of(stream.to_arrow()) == structure
    for package in ("pandas", "polars"):
        frame = getattr(stream, f"to_{package}")()
        back = qm.Stream.from_arrow("s", frame, structure, index_type=index_type)
        assert repr(list(back.items())) == wanted


def test_lists_in_lists_are_matrices_only() -> None:
    wanted = qm.Structure("W", [("m", "flt4x4"), ("v", "int8", 2)])
    rows = [[float(row * 4 + k) for k in range(4)] for row in range(4)]
    for matrix in (rows, sum(rows, []), [[int(number) for number in row] for row in rows]):
        assert qm.Stream("s", wanted, data=pa.table({"m": [matrix]}))[0]["m"] == tuple(map(tuple, rows))
    for table, words in (({"m": [[[1.0] * 8] * 2]}, "four rows of four"), ({"v": [[[1], [2]]]}, "no int8"),
                         ({"m": [[rows]]}, "four rows of four"), ({"v": pa.nulls(1)}, "no null in int8")):
        with pytest.raises(ValueError, match=f'", row 0: .*{words}'):
            qm.Stream("s", wanted, data=pa.table(table))
    assert len(qm.Stream("s", wanted, data=pa.table({"v": pa.nulls(0)}))) == 0


class CSchema(ctypes.Structure):
    _fields_ = [("format", ctypes.c_char_p), ("name", ctypes.c_char_p), ("metadata", ctypes.c_char_p),
                ("flags", ctypes.c_int64), ("n_children", ctypes.c_int64), ("children", ctypes.c_void_p),
                ("dictionary", ctypes.c_void_p), ("release", ctypes.c_void_p), ("private", ctypes.c_void_p)]


class CArray(ctypes.Structure):
    _fields_ = [(name, ctypes.c_int64) for name in "length nulls offset n_buffers n_children".split()] + \
        [(name, ctypes.c_void_p) for name in "buffers children dictionary release private".split()]


def test_batches_without_what_their_types_want_are_refused() -> None:
    """As a producer with a fault gives them: the type says one column of numbers."""
    releases = []
    release = ctypes.CFUNCTYPE(None, ctypes.c_void_p)(releases.append)
    address = ctypes.cast(release, ctypes.c_void_p)
    column = CSchema(b"l", b"x")
    children = (ctypes.c_void_p * 1)(ctypes.addressof(column))
    capsule = ctypes.pythonapi.PyCapsule_New
    capsule.restype, capsule.argtypes = ctypes.py_object, [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_void_p]

    class Producer:
        def __init__(self, columns: int, length: int, buffers: int) -> None:
            self.schema = CSchema(b"+s", b"", None, 0, 1, ctypes.addressof(children), None, address)
            self.numbers = CArray(length, 0, 0, buffers, 0)
            self.places = (ctypes.c_void_p * 1)(ctypes.addressof(self.numbers))
            self.batch = CArray(3, 0, 0, 1, columns, None, ctypes.addressof(self.places), None, address)

        def __arrow_c_array__(self, requested_schema: object = None) -> tuple[object, object]:
            return (capsule(ctypes.addressof(self.schema), b"arrow_schema", None),
                    capsule(ctypes.addressof(self.batch), b"arrow_array", None))

    for columns, length, buffers in ((0, 3, 2), (1, 2, 2), (1, 3, 1)):
        releases.clear()
        with pytest.raises(ValueError, match="other columns than it says"):
            qm.Stream("s", Producer(columns, length, buffers))
        assert len(releases) == 2
