# The Python beside the commands of the manual does what they do.
# SPDX-License-Identifier: Apache-2.0
from __future__ import annotations

import re
import shutil
from pathlib import Path
from typing import Any

import pytest
from conftest import ROOT, SCENES

import quilmeta as qm

TAG = qm.Structure("Tag", [("material", "string"), ("roughness", "float")])
CREASE = qm.Structure("Crease", [("sharpness", "float")])
POSE = qm.Structure("Pose", [("side", "int32")])


def make(path: Path, roughness: float) -> None:
    """A scene with the names of the page."""
    path.parent.mkdir(exist_ok=True)
    shutil.copy(SCENES / ("bare" + path.suffix), path)
    with qm.open(path, "r+") as scene:
        scene.add("rig", "joints", "pose", POSE)
        for index in (9, 15, 20, 21):
            scene["rig"]["joints"]["pose"][index] = {"side": 0}
        scene.add("n", "c", "s", TAG)[3] = {"material": "tin", "roughness": roughness}
        scene.add("hero", "tags", "tag", TAG)[0] = {"material": "gold leaf"}
        scene.add("hero", "edge", "crease", CREASE)[0] = {"sharpness": 0.75 + roughness}
        scene.add("heroA", "tags", "tag", TAG)[0] = {"material": "silk"}
        scene.add("heroB", "debug", "lines", POSE)[0] = {"side": 1}


def blocks() -> list[str]:
    text = (ROOT / "docs" / "manual.md").read_text()
    found = re.findall(r"^```python\n(.*?)^```$", text, re.S | re.M)
    assert all(len(block.splitlines()) <= 3 for block in found)
    return found


def test_the_tasks_of_the_manual(
    tmp_path: Path, monkeypatch: pytest.MonkeyPatch, capsys: pytest.CaptureFixture[str]
) -> None:
    monkeypatch.chdir(tmp_path)
    for name in ("s.kx", "a.kx", "b.kx", "c.kx", "shots/2.ky"):
        make(tmp_path / name, 0.25)
    make(tmp_path / "shots/1.kx", 0)
    make(tmp_path / "b.ky", 0.5)
    before = Path("c.kx").read_bytes()
    names: dict[str, Any] = {"qm": qm, "Path": Path}
    for block in blocks():
        exec(compile(block, "manual.md", "exec", dont_inherit=True), names)
    pose = qm.open("s.kx")["rig"]["joints"]["pose"]
    assert {index: element["side"] for index, element in pose.items()} == {9: 0, 15: 1, 20: 1, 21: 0}
    for path in (Path("shots/1.kx"), Path("shots/2.ky")):
        scene = qm.open(path)
        assert scene["hero"]["tags"]["tag"][0]["roughness"] == pytest.approx(0.4)
        assert "heroB" not in scene and "tags" in scene["heroA"]  # it had nothing else
    assert Path("t.csv").read_text() == "index,material,roughness\n3,tin,0.25\n"
    assert names["r"] == 0.25
    printed = capsys.readouterr().out
    assert "+ index 3, roughness: 0.5" in printed and "{'shots/2.ky'}" in printed
    assert Path("c.kx").read_bytes() == before and len(names["change"]) == 2
    assert qm.open("b.kx")["heroB"]["tags"]["tag"][0]["material"] == "silk"
