# Scenes of which there are only the contents, and the threads that read.
# SPDX-License-Identifier: Apache-2.0
from __future__ import annotations

import array
import mmap
from pathlib import Path

import pytest
from conftest import SCENES

import quilmeta as qm


@pytest.mark.parametrize("kind", ["kx", "ky"])
def test_contents_read_as_their_file_does(kind: str, tmp_path: Path) -> None:
    path = SCENES / f"teapot.{kind}"
    data = path.read_bytes()
    with path.open("rb") as file, mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ) as mapped:
        sources = [data, bytearray(data), memoryview(data), array.array("B", data), mapped]
        scenes = [qm.loads(source, kind) for source in sources]  # type: ignore[arg-type]
    expected = qm.open(path)
    for scene in scenes:
        assert list(scene.items()) == list(expected.items())
        assert scene.metadata == expected.metadata
        assert scene.structures == expected.structures
        assert scene.path == f"<{kind}>" and scene.mode == "r" and not scene.is_edited
        with pytest.raises(qm.ReadOnlyError):
            del scene["rig"]
        for save in (scene.save, scene.dry_run, lambda: scene.save(tmp_path / f"new.{kind}")):
            with pytest.raises(qm.ReadOnlyError):
                save()
    assert not list(tmp_path.iterdir())


def test_what_is_no_scene_is_refused() -> None:
    data = (SCENES / "teapot.kx").read_bytes()
    for kind in ("kx", "ky"):
        for wrong in (b"", b"hello", data if kind == "ky" else b"\0" * 100):
            with pytest.raises(qm.NotASceneError) as caught:
                qm.loads(wrong, kind)  # type: ignore[arg-type]
            assert caught.value.findings[0].file == f"<{kind}>"
    with pytest.raises(qm.QuilError):
        qm.loads((SCENES / "teapot.ky").read_bytes()[:-50], "ky")
    with pytest.raises(ValueError, match='"kx" or "ky"'):
        qm.loads(data, ".kx")  # type: ignore[arg-type]
    for not_bytes in (data.decode(), SCENES / "teapot.kx", None):
        with pytest.raises(TypeError, match="bytes"):
            qm.loads(not_bytes, "kx")  # type: ignore[arg-type]


def test_faults_in_contents_have_a_line() -> None:
    data = (SCENES / "teapot.kx").read_bytes()
    at = data.index(b"indexType numeric") + len(b"indexType ")
    with pytest.warns(qm.QuilWarning, match="<kx>"):
        scene = qm.loads(data[:at] + b"\\" + data[at:], "kx")
    assert scene.findings[0].line == data[:at].count(b"\n") + 1


def test_threads_read_the_same(tmp_path: Path) -> None:
    path = tmp_path / "large.kx"
    path.write_bytes((SCENES / "bare.kx").read_bytes())
    numbers = qm.Structure("Numbers", [("values", "int32", 8)])
    with qm.open(path, "r+") as scene:
        for node in "abcd":
            stream = scene.add(node, "c", "s", numbers)
            for index in range(25_000):
                stream[index] = {"values": tuple(range(index, index + 8))}
    assert path.stat().st_size > 4 << 20
    expected = qm.open(path, threads=1)
    for threads in (2, 5, None):
        assert list(qm.open(path, threads=threads).items()) == list(expected.items())
    for refused in (0, -1, True, 1.5, "2"):
        with pytest.raises((TypeError, ValueError), match="threads"):
            qm.open(path, threads=refused)  # type: ignore[arg-type]
