# Many scenes read side by side: their order, the errors of single files, and what is left behind.
# SPDX-License-Identifier: Apache-2.0
from __future__ import annotations

import shutil
import threading
from collections.abc import Iterator
from pathlib import Path

import pytest

import quilmeta as qm


def readers() -> list[str]:
    return [t.name for t in threading.enumerate() if t.name.startswith("quilmeta-read")]


def test_scenes_come_in_the_order_of_their_paths(teapot: Path, tmp_path: Path) -> None:
    paths = [Path(shutil.copy(teapot, tmp_path / f"copy{k}{teapot.suffix}")) for k in range(9)]
    for k, path in enumerate(paths):
        with qm.open(path, "r+") as scene:
            scene["rig"]["joints"]["bind pose"].loc["lid"]["side"] = k
    for threads in (None, 1, 3, 20):
        found = [future.result()["rig"]["joints"]["bind pose"].loc["lid"]["side"]
                 for future in qm.read_many(iter(paths), threads)]
        assert found == list(range(9))
    assert list(qm.read_many([])) == [] and readers() == []


def test_one_bad_file_leaves_the_others(teapot: Path, tmp_path: Path) -> None:
    bad = tmp_path / "bad.kx"
    bad.write_bytes(b"no scene")
    first, second, third, last = qm.read_many([teapot, bad, tmp_path / "none.kx", teapot], 2)
    with pytest.raises(qm.NotASceneError):
        second.result()
    with pytest.raises(FileNotFoundError):
        third.result()
    assert list(first.result()) == list(last.result())


def test_few_are_read_ahead_and_closing_leaves_no_thread(teapot: Path) -> None:
    asked = 0

    def endless() -> Iterator[Path]:
        nonlocal asked
        while True:
            asked += 1
            yield teapot

    scenes = qm.read_many(endless(), 2)
    assert asked == 0
    next(scenes).result()
    assert asked == 4
    next(scenes)
    assert asked == 5 and readers()
    scenes.close()
    assert readers() == []


def test_what_the_paths_raise_comes_through(teapot: Path) -> None:
    def failing() -> Iterator[Path]:
        yield teapot
        raise KeyboardInterrupt

    with pytest.raises(KeyboardInterrupt):
        list(qm.read_many(failing()))
    assert readers() == []


@pytest.mark.parametrize("threads", [0, -1, True, 1.5, "2"])
def test_wrong_arguments_are_refused_at_the_call(teapot: Path, threads: object) -> None:
    with pytest.raises((TypeError, ValueError), match="threads must be"):
        qm.read_many([teapot], threads)  # type: ignore[arg-type]
    for single in (str(teapot), bytes(teapot), teapot):
        with pytest.raises(TypeError, match="not one path"):
            qm.read_many(single)  # type: ignore[arg-type]
