# Finding and editing elements by conditions, beside the command line.
# SPDX-License-Identifier: Apache-2.0
from __future__ import annotations

import gc
import json
import shutil
from collections.abc import Callable
from pathlib import Path
from typing import Any

import pytest

import quilmeta as qm

SHARP = "sharpness > 0.5 or side == 0"


def copy_of(scene: Path, name: str) -> Path:
    return Path(shutil.copy(scene, scene.with_name(name + scene.suffix)))


def pose_of(scene: qm.Scene) -> qm.Stream:
    return scene["rig"]["joints"]["bind pose"]


@pytest.mark.parametrize(
    ("where", "options"),
    [
        (SHARP, {}),
        (None, {"node": "teapot*", "stream": ["tag", "crease"]}),
        ('channel == "externalContentTable"', {}),
        ("side > 100", {}),
    ],
)
def test_what_is_found_is_what_the_command_finds(
    teapot: Path, command: Callable[..., str], where: str | None, options: dict[str, Any]
) -> None:
    other = copy_of(teapot, "other")
    words = [] if where is None else ["--where", where]
    for name, patterns in options.items():
        for pattern in [patterns] if isinstance(patterns, str) else patterns:
            words += [f"--{name}", pattern]
    found = qm.find([teapot, str(other)], where, **options)
    text = command("find", "--jsonl", teapot, other, *words, code=0 if found else 1)
    expected = [json.loads(line) for line in text.splitlines()]
    assert len(found) == len(expected)
    for ours, theirs in zip(found, expected):
        index = list(ours.index) if isinstance(ours.index, tuple) else ours.index
        place = [theirs[name] for name in ("file", "node", "channel", "stream", "index")]
        assert [ours.path, ours.node, ours.channel, ours.stream, index] == place
    with qm.open(teapot) as scene:
        assert [(f.stream, f.index) for f in scene.find(where, **options)] == [
            (f.stream, f.index) for f in qm.find(teapot, where, **options)
        ]


def test_found_elements_are_alive(teapot: Path) -> None:
    found = qm.find(teapot, 'index == "lid"')
    gc.collect()
    (lid,) = found
    assert repr(lid).endswith(
        'node "rig", channel "joints", stream "bind pose", index \'lid\'>'
    )
    assert lid.element["side"] == 0
    with pytest.raises(qm.ReadOnlyError):
        lid.element["side"] = 1
    with qm.open(teapot, "r+") as scene:
        (lid,) = scene.find("side == 0", node="rig", fixed=True)[:1]
        lid.element["side"] = 5
        assert [f.index for f in scene.find("side == 5")] == [lid.index]
        del scene["rig"]
        with pytest.raises(qm.StaleError):
            lid.element["side"]
        assert lid.node == "rig" and "rig" in repr(lid)


def test_wrong_questions_are_told(teapot: Path) -> None:
    with pytest.raises(qm.ExpressionError):
        qm.find(teapot, "side >")
    with pytest.raises(qm.ExpressionError, match="is no condition"):
        qm.find(teapot, "sharpness and true")
    with pytest.warns(qm.QuilWarning, match="sidde"):
        assert qm.find([teapot], "sidde == 1") == []
    with pytest.raises(FileNotFoundError):
        qm.find([teapot, teapot.with_name("none.kx")])
    assert qm.find([]) == []
    wrong: list[Any] = [3, None, [None], [3]]
    for paths in wrong:
        with pytest.raises(TypeError):
            qm.find(paths)
    with pytest.raises(TypeError):
        qm.find(teapot, 3)  # type: ignore[arg-type]
    with pytest.raises(ValueError, match="empty"):
        qm.find(teapot, node=[])


@pytest.mark.parametrize(
    ("changes", "words"),
    [
        ({"side": -3, "label": "a = b"}, ["side=-3", "label=a = b"]),
        ("side+=4", ["side+=4"]),
        (["side*=2", "label:=null", "bind[5]=0.5"], ["side*=2", "label:=null", "bind[5]=0.5"]),
        ({"label": None, "side": 7}, ["label:=null", "side=7"]),
    ],
)
def test_an_edit_writes_what_the_command_writes(
    teapot: Path, command: Callable[..., str], changes: Any, words: list[str]
) -> None:
    where = "exists(side)"
    files = [teapot, copy_of(teapot, "other")]
    expected = copy_of(teapot, "expected")
    before = teapot.read_bytes()
    text = qm.edit(files, changes, where, dry_run=True)
    assert text == command("edit", *files, *words, "--where", where, "--dry-run")
    assert teapot.read_bytes() == before
    command("edit", expected, *words, "--where", where)
    assert qm.edit(files, changes, where) == 8
    assert [file.read_bytes() for file in files] == [expected.read_bytes()] * 2
    assert qm.edit(teapot, changes, "side > 100") == 0


def test_an_edit_in_memory_keeps_views_and_elements(teapot: Path) -> None:
    with qm.open(teapot, "r+") as scene:
        shape = scene["teapotShape"]["vertex"]["shape"]
        curvature = shape["curvature"]
        vertex = shape[7]
        count = scene.edit({"curvature": 2.5}, "index < 10", stream="shape")
        assert count == 10 and vertex["curvature"] == 2.5 and curvature[9] == 2.5
        assert curvature[10] != 2.5
        assert scene.edit("curvature*=2", node="teapotShape", channel="vertex") == len(shape)
        assert curvature[9] == 5
    with qm.open(teapot) as scene:
        assert scene["teapotShape"]["vertex"]["shape"][9]["curvature"] == 5
        with pytest.raises(qm.ReadOnlyError):
            scene.edit({"side": 1}, "exists(side)")


def test_an_edit_that_fails_changes_nothing(teapot: Path) -> None:
    before = teapot.read_bytes()
    with qm.open(teapot, "r+") as scene:
        pose_of(scene).iloc[-1]["side"] = 100
        kept = pose_of(scene).copy()
        last = kept.iloc[-1].index
        with pytest.raises(qm.RefusedError, match=r"side.*out of range.*nothing was changed") as caught:
            scene.edit("side+=30", "exists(side)")
        (finding,) = caught.value.findings
        assert (finding.node, finding.stream, finding.index) == ("rig", "bind pose", last)
        assert (finding.code, finding.file) == ("value-refused", str(teapot))
        for changes, error in [
            ({"side": 1, "label": 3}, TypeError),
            ({"side": 300}, OverflowError),
            ({"side": 1, "sidde": 1}, qm.UnknownNameError),
            (["side=1", "sidde=1"], qm.RefusedError),
            (["side=1", "side=2"], qm.RefusedError),
            ("side=x", qm.RefusedError),
        ]:
            with pytest.raises(error):
                scene.edit(changes, "exists(side)")  # type: ignore[arg-type]
        with pytest.raises(qm.UnknownNameError):
            scene.edit({"side": 1}, "true")  # most elements have no such member
        assert pose_of(scene) == kept
        scene.__exit__(ValueError, None, None)
    assert teapot.read_bytes() == before
    wrong: list[Any] = ["side", b"", {}, [], 3, None, [3], "side=\0"]
    for changes in wrong:
        with pytest.raises((ValueError, TypeError)):
            qm.edit(teapot, changes, "exists(side)")
    with pytest.raises(ValueError, match="all=True"):
        qm.edit(teapot, {"side": 1})


def test_values_whose_conversion_changes_the_scene(teapot: Path) -> None:
    with qm.open(teapot, "r+") as scene:

        class Closing:
            def __index__(self) -> int:
                scene.close()
                return 1

        class Removing:
            def __index__(self) -> int:
                del scene["rig"]["joints"]["bind pose"]
                return 1

        assert scene.edit({"side": Removing()}, "exists(side)") == 0
        with pytest.raises(qm.ReadOnlyError), pytest.warns(qm.QuilWarning):
            scene.edit({"layer": Closing()}, "exists(layer)")
