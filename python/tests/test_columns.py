# Columns: views of dense elements, copies of others, and setting them as a whole.
# SPDX-License-Identifier: Apache-2.0
from __future__ import annotations

import gc
import subprocess
import sys
from pathlib import Path

import pytest

import quilmeta as qm

numpy = pytest.importorskip("numpy")

STRUCTURE = qm.Structure("S", [("b", "bool"), ("n", "int16"), ("p", "float", 3), ("m", "dbl4x4"),
                               ("ms", "flt4x4", 2), ("s", "string")])


def filled(count: int) -> qm.Stream:
    stream = qm.Stream("s", STRUCTURE)
    for k in range(count):
        stream[k] = {"b": k % 2 == 0, "n": k, "p": (k, k + 0.5, 0), "m": range(k, k + 16),
                     "ms": [[k] * 16, [-k] * 16], "s": f"text {k}"}
    return stream


def test_a_dense_column_is_a_view() -> None:
    stream = filled(100)
    assert not stream.is_dense
    position = stream["p"]
    assert stream.is_dense and position.shape == (100, 3) and position.dtype == "f4"
    position[:, 1] += 1
    stream["p"][3, 2] = 7
    assert stream[3]["p"] == (3, 4.5, 7)
    stream[3]["p"] = (0, 0, 1)
    assert tuple(position[3]) == (0, 0, 1)
    assert stream["m"].shape == (100, 4, 4) and stream["m"][2, 1, 0] == 6
    assert stream["ms"].shape == (100, 2, 4, 4) and (stream["ms"][5, 1] == -5).all()
    assert stream["b"].dtype == bool and stream["b"].sum() == 50
    assert numpy.shares_memory(stream["n"], stream["n"])


def test_memory_that_arrays_share_is_not_moved() -> None:
    stream = filled(3)
    view = stream["n"][1:]
    for change in (lambda: stream.__setitem__(3, {}), lambda: stream.__delitem__(1),
                   lambda: stream.clear(), lambda: stream.loc[:0].remove()):
        with pytest.raises(BufferError, match="1 array shares"):
            change()
    stream[1] = {"n": 11}
    assert list(view) == [11, 2] and len(stream) == 3
    del view
    stream[3] = {"n": 3}
    assert stream.is_dense and list(stream["n"]) == [0, 11, 2, 3]
    del stream[1]
    assert not stream.is_dense and list(stream) == [0, 2, 3]
    assert list(stream["n"]) == [0, 2, 3]


def test_a_view_outlives_everything(teapot: Path) -> None:
    scene = qm.open(teapot, "r+")
    column = scene["teapotShape"]["vertex"]["shape"]["position"]
    before = column.copy()
    del scene["teapotShape"]
    del scene
    gc.collect()
    column += 1
    assert (column == before + 1).all()


def test_other_columns_are_copies_to_be_read(teapot: Path) -> None:
    readable = qm.open(teapot)["teapotShape"]["vertex"]["shape"]
    stream = filled(5)
    del stream[2]
    for array in (readable["position"], stream["n"], stream["s"], stream.iloc[:2]["p"]):
        assert not array.flags.writeable
        with pytest.raises(ValueError, match="read-only"):
            array[0] = 0
    assert list(stream["s"]) == ["text 0", "text 1", "text 3", "text 4"]
    assert not readable.is_dense


def test_columns_are_set_as_a_whole() -> None:
    stream = filled(4)
    stream["n"] = [4, 3, 2, 1]
    stream["p"] = numpy.arange(12).reshape(4, 3)
    stream["b"] = True
    stream["s"] = ["a", None, "c", "d"]
    del stream[0]
    stream["n"] = stream["n"] * 2
    stream["m"] = numpy.eye(4)
    stream["s"] = "all"
    assert [row["n"] for row in stream.values()] == [6, 4, 2]
    assert stream[2]["p"] == (6, 7, 8) and stream[3]["b"] is True and stream[1]["s"] == "all"
    assert stream[3]["m"][2] == (0, 0, 1, 0)
    stream["n"] = stream["n"] + 1
    assert list(stream["n"]) == [7, 5, 3]


@pytest.mark.parametrize(
    ("member", "values", "error"),
    [
        ("n", [1, 2, 3], ValueError),
        ("n", [1.5, 2, 3, 4], TypeError),
        ("n", [1, 2, 3, 40000], OverflowError),
        ("n", [True, False, True, True], None),
        ("b", [1, 0, 1, 1], TypeError),
        ("p", 1e300, OverflowError),
        ("p", [["a", "b", "c"]] * 4, TypeError),
        ("s", ["a", 5, "c", "d"], TypeError),
        ("s", ["a"], ValueError),
    ],
)
def test_what_does_not_fit_a_column_changes_nothing(
    member: str, values: object, error: type[Exception] | None
) -> None:
    stream = filled(4)
    before = stream.copy()
    if error is None:
        stream[member] = values
        return
    with pytest.raises(error):
        stream[member] = values
    assert stream == before


def test_selections_read_and_write_their_elements(teapot: Path) -> None:
    with qm.open(teapot, "r+") as scene:
        crease = scene["teapotShape"]["edge"]["crease"]
        sharp = crease.filter("sharpness > 0.9")
        assert 0 < len(sharp) < len(crease) and (sharp["sharpness"] > 0.9).all()
        sharp["hard"] = True
        sharp["layer"] = numpy.arange(len(sharp))
        assert [row["layer"] for row in sharp] == list(range(len(sharp)))
        everything = 'node == "teapotShape" and channel == "edge" and stream == "crease"'
        assert len(crease.filter(everything)) == len(crease)
        crease.filter("not hard").remove()
    with qm.open(teapot) as scene:
        assert scene["teapotShape"]["edge"]["crease"]["hard"].all()


def test_expressions_that_cannot_be_understood_show_where() -> None:
    stream = filled(1)
    with pytest.raises(qm.ExpressionError, match=r"(?s)n >.*\^"):
        stream.filter("n >")
    with pytest.raises(ValueError):
        stream.filter("p > 1")
    with pytest.warns(qm.QuilWarning, match="did you mean"):
        assert len(stream.filter("nn > 1 or ms[0] == 5")) == 0


def test_numpy_comes_with_the_first_column_and_is_not_needed(teapot: Path) -> None:
    program = f"""
import sys
import quilmeta as qm
with qm.open({str(teapot)!r}, "r+") as scene:
    assert "numpy" not in sys.modules
    sys.modules["numpy"] = None
    stream = scene["teapotShape"]["vertex"]["shape"]
    position = stream["position"]
    assert type(position) is memoryview and position.shape == (792, 3), position
    position[5, 1] = 7.5
    del position
    assert stream[5]["position"][1] == 7.5
    stream["curvature"] = [k / 8 for k in range(792)]
    assert stream["curvature"][8] == 1.0
    stream["normal"] = (0, 1, 0)
    assert stream[9]["normal"] == (0, 1, 0)
    labels = scene["rig"]["joints"]["bind pose"]["label"]
    assert type(labels) is tuple and "LID" in labels
"""
    subprocess.run([sys.executable, "-c", program], check=True)


def test_texts_are_themselves_however_many_there_are() -> None:
    stream = qm.Stream("s", qm.Structure("T", [("one", "string"), ("two", "string", 2)]))
    given = [None if k % 7 == 0 else "" if k % 7 == 1 else f"n{k * k % 90001}é" for k in range(70_000)]
    for index, text in enumerate(given):
        stream[index] = {"one": text, "two": (text, "x")} if index < 2 else {"one": text}
    assert list(stream["one"]) == given and list(stream.iloc[::-1]["one"]) == given[::-1]
    assert list(stream.iloc[:2]["two"]) == [(None, "x"), ("", "x")]
    assert len(stream.iloc[:0]["one"]) == 0


def test_numpys_masks_places_and_truth_values_choose_and_set_elements() -> None:
    stream = qm.Stream("s", qm.Structure("T", [("w", "float"), ("on", "bool")]))
    for index in range(6):
        stream[index] = {"w": index}
    stream.loc[stream["w"] > 3]["on"] = True
    assert stream["on"].tolist() == [False] * 4 + [True] * 2
    stream.iloc[numpy.array([-1, 0])]["w"] = [7, 8]
    assert stream.loc[numpy.array([5, 0])]["w"].tolist() == [7, 8]
    stream[2]["on"] = numpy.True_
    assert stream[2]["on"] is True and stream.loc[numpy.int64(2)].index == 2
