# Differences of scenes, as objects and as the command line prints them.
# SPDX-License-Identifier: Apache-2.0
from __future__ import annotations

import gc
import json
import pickle
from collections.abc import Callable
from pathlib import Path
from typing import Any

import pytest
from conftest import ALL_TYPES, SCENES
from hypothesis import given
from hypothesis import strategies as st
from test_values import bits, values

import quilmeta as qm


def test_a_diff_is_what_the_command_prints(
    teapot: Path, changed: Path, command: Callable[..., str]
) -> None:
    found = qm.diff(teapot, changed)
    assert str(found) == command("diff", teapot, changed, code=1)
    assert found.to_json() == command("diff", "--json", teapot, changed, code=1)
    assert found.stat() == command("diff", "--stat", teapot, changed, code=1)
    assert found.patch == json.loads(found.to_json())
    lines = command("diff", "--jsonl", teapot, changed, code=1).splitlines()
    names = {"file": str(teapot), "to": str(changed)}
    assert [names | json.loads(d.to_json()) for d in found] == [json.loads(line) for line in lines]
    selected = qm.diff(teapot, changed, node=["r*", "teapot*"], channel="joints")
    options = ("--node", "r*", "--node", "teapot*", "--channel", "joints")
    assert str(selected) == command("diff", teapot, changed, *options, code=1)
    assert not qm.diff(teapot, changed, node="r*", fixed=True)
    assert qm.diff(teapot, changed, node="rig", fixed=True)
    same = qm.diff(teapot, SCENES / "teapot.ky")
    assert not same and len(same) == 0 and str(same) == "" and list(same) == []


def test_differences_are_objects(teapot: Path, changed: Path) -> None:
    with qm.open(teapot) as scene, qm.open(changed) as other:
        found = scene.diff(other)
        assert list(found) == list(qm.diff(teapot, changed))
        before = scene["rig"]["joints"]["bind pose"].loc["handle; grip"].asdict()
        crease = scene["teapotShape"]["edge"]["crease"]
        corner = scene["teapotShape"]["vertex"]["shape"][7]["position"]
    del scene, other
    gc.collect()
    kinds = [(d.change, d.action) for d in found]
    assert kinds == [
        ("structure", "added"),
        ("stream", "added"),
        ("element", "removed"),
        ("element", "added"),
        ("set", "changed"),
        ("stream", "removed"),
        ("set", "changed"),
    ]
    structure, stream, gone, come, side, creases, position = found
    assert (structure.structure, structure.node, structure.index) == ("Name", None, None)
    assert structure.before is None and structure.after == qm.Structure("Name", [("text", "string")])
    assert stream.after[3, 7]["text"] == "\udcff" and (stream.node, stream.member) == ("new", None)
    assert gone.index == "handle; grip" and gone.before == before and gone.after is None
    assert come.after["label"] == 'a "knob"' and list(come.after) == list(before)
    assert (side.node, side.channel, side.stream) == ("rig", "joints", "bind pose")
    assert (side.index, side.member, side.before, side.after) == ("lid", "side", 0, -1)
    assert side.place == "node rig, channel joints, stream bind pose, index \"lid\", member side"
    assert str(side).splitlines()[1:] == ['- index "lid", side: 0', '+ index "lid", side: -1']
    assert creases.before == crease and creases.after is None
    assert position.index == 7 and bits(position.before) == bits(corner)
    assert repr(position.after) == repr((0.5, -0.0, 1.0000000150474662e30))


def test_differences_are_a_sequence(teapot: Path, changed: Path) -> None:
    found = qm.diff(teapot, changed)
    items = list(found)
    assert found[-1] == items[-1] and found[1::2] == items[1::2] and list(reversed(found)) == items[::-1]
    assert len(set(items)) == len(items) and items[0] in found and items[0] != "structure"
    assert pickle.loads(pickle.dumps(items)) == items
    assert [repr(d.before) for d in pickle.loads(pickle.dumps(items))] == [repr(d.before) for d in items]
    for number in (len(items), -len(items) - 1, 2**70):
        with pytest.raises(IndexError):
            found[number]
    with pytest.raises(TypeError):
        found["rig"]  # type: ignore[call-overload]


def in_a_file(value: Any) -> Any:
    """A file has no null strings."""
    if isinstance(value, tuple):
        return tuple(map(in_a_file, value))
    return "" if value is None else value


@pytest.mark.parametrize("kind", ALL_TYPES)
@given(data=st.data())
def test_values_are_those_of_elements(kind: str, data: st.DataObject) -> None:
    length = data.draw(st.sampled_from([1, 2]))
    one = values(kind)
    sides: list[Any] = []
    for _ in range(2):
        scene = qm.open(SCENES / "bare.kx", "r+")
        stream = scene.add("n", "c", "s", qm.Structure("S", [("x", kind, length)]))
        stream[0] = {"x": data.draw(one if length == 1 else st.tuples(one, one))}
        sides.append(scene)
    found = qm.diff(*sides)
    ours, theirs = (side["n"]["c"]["s"][0]["x"] for side in sides)
    assert found or repr(in_a_file(ours)) == repr(in_a_file(theirs))
    scene = sides[0]
    for patch in (found, found.patch):
        scene.patch(patch)
        assert not scene.diff(sides[1])
        scene.patch(patch, reverse=True)
        assert scene.diff(sides[1]).to_json() == found.to_json()
    for difference in found:
        assert repr(difference.before) == repr(in_a_file(ours))
        assert repr(difference.after) == repr(in_a_file(theirs))


def test_what_cannot_be_compared_is_refused(teapot: Path, tmp_path: Path) -> None:
    with qm.open(teapot) as scene:
        with pytest.raises(FileNotFoundError):
            scene.diff(tmp_path / "none.kx")
        for wrong in (3, ["a"]):
            with pytest.raises(TypeError):
                scene.diff(wrong)  # type: ignore[arg-type]
        for nodes in ([], ()):
            with pytest.raises(ValueError, match="the list is empty"):
                scene.diff(teapot, node=nodes)
        with pytest.raises(TypeError, match="a pattern for channels"):
            scene.diff(teapot, channel=[3])  # type: ignore[list-item]
        with pytest.raises(ValueError, match="wait"):
            scene.diff(teapot, wait=float("nan"))


def test_what_cannot_be_read_is_told(teapot: Path, tmp_path: Path) -> None:
    if teapot.suffix != ".kx":
        return
    damaged = tmp_path / "damaged.kx"
    damaged.write_bytes(teapot.read_bytes().replace(b"structure Crease", b"structure Creose", 1))
    with pytest.warns(qm.QuilWarning, match="damaged.kx"):
        assert qm.diff(teapot, damaged)
