# Streams as comma-separated values, beside those of the command line.
# SPDX-License-Identifier: Apache-2.0
from __future__ import annotations

import shutil
from collections.abc import Callable
from pathlib import Path
from typing import Any

import pytest

import quilmeta as qm

POSE = ("--node", "rig", "--channel", "joints", "--stream", "bind pose")


def test_tables_are_those_of_the_command(
    teapot: Path, changed: Path, command: Callable[..., str]
) -> None:
    pose = qm.open(changed)["rig"]["joints"]["bind pose"]
    text = pose.to_csv()
    assert text == command("table", changed, *POSE).replace("\r\n", "\n")
    table = teapot.with_name("t.csv")
    table.write_text(text)
    expected = Path(shutil.copy(teapot, teapot.with_name("expected" + teapot.suffix)))
    command("load", expected, table, *POSE, "--create", "--replace")
    given: list[Any] = [text, text.encode(), table, str(table)]
    for source in given:
        target = Path(shutil.copy(teapot, teapot.with_name("target" + teapot.suffix)))
        with qm.open(target, "r+") as scene:
            stream = scene["rig"]["joints"]["bind pose"]
            assert stream.load_csv(source, create=True, replace=True) == (len(pose), 1)
            assert stream == pose
        assert target.read_bytes() == expected.read_bytes()
    copy = qm.Stream("copy", pose.structure, "string")
    assert copy.load_csv(text, create=True) == (len(pose), 0) and copy.to_csv() == text


def test_a_wrong_table_changes_nothing(teapot: Path) -> None:
    scene = qm.open(teapot, "r+")
    pose = scene["rig"]["joints"]["bind pose"]
    with pytest.raises(qm.DocumentError) as caught:
        pose.load_csv("index,side\nlid,1\nhandle; grip,300\nnone,1\n")
    assert [finding.line for finding in caught.value.findings] == [3, 4]
    assert "300" in caught.value.findings[0].message and not scene.is_edited
    with pytest.raises(FileNotFoundError):
        pose.load_csv("none.csv")
    with pytest.raises(TypeError):
        pose.load_csv(3)  # type: ignore[arg-type]
    with pytest.raises(qm.ReadOnlyError):
        qm.open(teapot)["rig"]["joints"]["bind pose"].load_csv("index\nlid\n")


def test_tables_and_arrays(teapot: Path) -> None:
    pytest.importorskip("numpy")
    scene = qm.open(teapot, "r+")
    shape = scene["teapotShape"]["vertex"]["shape"]
    view = shape["curvature"]
    with pytest.raises(BufferError):
        shape.load_csv("index,curvature\n3,1.5\n")
    del view
    assert shape.load_csv("index,curvature\n3,1.5\n5000,2.5\n", create=True) == (2, 0)
    assert (shape[3]["curvature"], shape[5000]["curvature"], len(shape)) == (1.5, 2.5, 793)
    assert shape["curvature"][3] == 1.5
