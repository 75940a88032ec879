# What all tests of the package use: scenes to work on, and the command line that was built with it.
# SPDX-License-Identifier: Apache-2.0
from __future__ import annotations

import os
import shutil
import subprocess
import sys
from collections.abc import Callable
from pathlib import Path

import pytest

import quilmeta as qm

ROOT = Path(__file__).parents[2]
SCENES = ROOT / "examples" / "scenes"


@pytest.fixture(params=["teapot.kx", "teapot.ky"])
def teapot(request: pytest.FixtureRequest, tmp_path: Path) -> Path:
    """A copy of the example, once as text and once binary."""
    return Path(shutil.copy(SCENES / request.param, tmp_path))


@pytest.fixture
def changed(teapot: Path) -> Path:
    """The teapot with a change of each kind."""
    path = Path(shutil.copy(teapot, teapot.with_name("changed" + teapot.suffix)))
    with qm.open(path, "r+") as scene:
        pose = scene["rig"]["joints"]["bind pose"]
        pose.loc["lid"]["side"] = -1
        pose.loc["knob"] = {"label": 'a "knob"', "side": 3}
        del pose.loc["handle; grip"]
        scene["teapotShape"]["vertex"]["shape"][7]["position"] = (0.5, -0.0, 1e30)
        del scene["teapotShape"]["edge"]["crease"]
        scene.add("new", "names", "all", qm.Structure("Name", [("text", "string")]), "pair")
        scene["new"]["names"]["all"][3, 7] = {"text": "\udcff"}
    return path


@pytest.fixture
def bare(tmp_path: Path) -> Path:
    """A scene without metadata."""
    return Path(shutil.copy(SCENES / "bare.kx", tmp_path))


@pytest.fixture
def command() -> Callable[..., str]:
    """Runs the command line, and gives what it prints."""
    beside = Path(sys.executable).with_name("quilmeta")
    program = os.environ.get("QUILMETA_COMMAND") or (str(beside) if beside.exists() else "quilmeta")

    def run(*arguments: object, code: int = 0) -> str:
        done = subprocess.run(
            [program, *map(os.fspath, arguments)], capture_output=True, text=True  # type: ignore
        )
        assert done.returncode == code, done.stderr
        return done.stdout

    return run


ALL_TYPES = (
    "bool int8 int16 int32 int64 uint8 uint16 uint32 uint64 float double string flt4x4 dbl4x4"
).split()
