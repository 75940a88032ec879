# Merges of scenes, beside those of the command line.
# SPDX-License-Identifier: Apache-2.0
from __future__ import annotations

import pickle
import shutil
from collections.abc import Callable
from pathlib import Path

import pytest

import quilmeta as qm


class Sides:
    """A base and two copies of it, to be changed and merged."""

    def __init__(self, base: Path) -> None:
        self.base = base
        self.ours, self.theirs, self.out = (
            base.with_name(name + base.suffix) for name in ("ours", "theirs", "out")
        )
        for side in (self.ours, self.theirs):
            shutil.copy(base, side)
        self.scenes = (self.base, self.ours, self.theirs)

    def change(self, side: Path, number: int, label: str | None = None) -> None:
        with qm.open(side, "r+") as scene:
            lid = scene["rig"]["joints"]["bind pose"].loc["lid"]
            lid["side"] = number
            if label is not None:
                lid["label"] = label


@pytest.fixture
def sides(teapot: Path) -> Sides:
    return Sides(teapot)


def test_a_merge_is_that_of_the_command(sides: Sides, command: Callable[..., str]) -> None:
    sides.change(sides.ours, 5)
    with qm.open(sides.theirs, "r+") as scene:
        scene["rig"]["joints"]["bind pose"].loc["lid"]["label"] = "Lid"
        scene["hull"] = scene["rig"]
        del scene["teapotShape"]["edge"]["crease"]
    expected = sides.base.with_name("expected" + sides.base.suffix)
    text = qm.merge(*sides.scenes, sides.out, dry_run=True)
    assert text == command("merge", *sides.scenes, "-o", sides.out, "--dry-run") and text
    assert not sides.out.exists()
    command("merge", *sides.scenes, "-o", expected)
    qm.merge(*sides.scenes, out=sides.out)
    assert sides.out.read_bytes() == expected.read_bytes()
    merged = qm.open(sides.out)
    lid = merged["rig"]["joints"]["bind pose"].loc["lid"]
    assert (lid["side"], lid["label"]) == (5, "Lid") and "hull" in merged
    with pytest.raises(FileExistsError):
        qm.merge(*sides.scenes, sides.out)
    qm.merge(sides.base, sides.base, sides.base, sides.out, force=True)
    assert sides.out.read_bytes() == sides.base.read_bytes()
    empty = sides.base.with_name("empty" + sides.base.suffix)
    empty.touch()
    qm.merge(empty, sides.ours, sides.ours, sides.out, force=True)
    assert not qm.diff(sides.ours, sides.out)


def test_conflicts_have_the_values_of_both_sides(sides: Sides, command: Callable[..., str]) -> None:
    sides.change(sides.ours, 5, "ours")
    with qm.open(sides.theirs, "r+") as scene:
        pose = scene["rig"]["joints"]["bind pose"]
        values = pose.loc["lid"].asdict()
        del pose.loc["lid"]
        scene["teapotShape"]["vertex"]["shape"][3]["curvature"] = 3.5
    with qm.open(sides.ours, "r+") as scene:
        scene["teapotShape"]["vertex"]["shape"][3]["curvature"] = 2.5
    with pytest.raises(qm.MergeError) as caught:
        qm.merge(*sides.scenes, sides.out)
    assert not sides.out.exists() and isinstance(caught.value, qm.RefusedError)
    conflicts = caught.value.conflicts
    printed = command("merge", *sides.scenes, "-o", sides.out, code=1)
    assert "".join(conflict.message + "\n" for conflict in conflicts) == printed
    for lid in conflicts[:-1]:
        assert lid.ours and lid.theirs and lid.ours.index == lid.theirs.index == "lid"
        assert (lid.theirs.change, lid.theirs.before, lid.theirs.after) == ("element", values, None)
        assert lid.ours.before == values[lid.ours.member or ""]
    curvature = conflicts[-1]
    assert curvature.ours and curvature.theirs
    assert (curvature.ours.after, curvature.theirs.after) == (2.5, 3.5)
    finding = caught.value.findings[-1]
    place = (finding.node, finding.channel, finding.stream, finding.index, finding.member)
    assert place == ("teapotShape", "vertex", "shape", "3", "curvature")
    assert finding.code == "merge-conflict" and finding.file == str(sides.out)
    again = pickle.loads(pickle.dumps(caught.value))
    assert again.conflicts == conflicts and again.findings == caught.value.findings


def test_the_payload_is_taken_from_one_side(sides: Sides, command: Callable[..., str]) -> None:
    if sides.base.suffix != ".kx":
        return
    for side, text in ((sides.ours, b"// ours\n"), (sides.theirs, b"// theirs\n")):
        side.write_bytes(side.read_bytes() + text)
    with pytest.raises(qm.MergeError, match='payload="ours"') as caught:
        qm.merge(*sides.scenes, sides.out)
    (conflict,) = caught.value.conflicts
    assert conflict.ours is None and caught.value.findings[0].node is None
    qm.merge(*sides.scenes, sides.out, payload="theirs")
    assert sides.out.read_bytes() == sides.theirs.read_bytes()
    with pytest.raises(ValueError, match="payload is"):
        qm.merge(*sides.scenes, sides.out, payload="base")  # type: ignore[call-overload]


def test_what_cannot_be_merged_is_refused(sides: Sides, tmp_path: Path) -> None:
    other = ".ky" if sides.base.suffix == ".kx" else ".kx"
    with pytest.raises(qm.RefusedError, match="another kind of scene"):
        qm.merge(*sides.scenes, sides.out.with_suffix(other))
    with pytest.raises(FileNotFoundError):
        qm.merge(*sides.scenes, tmp_path / "none" / sides.out.name)
    with pytest.raises(IsADirectoryError):
        qm.merge(*sides.scenes, tmp_path, force=True)
    with pytest.raises(FileNotFoundError):
        qm.merge(sides.base, sides.ours, tmp_path / "none.kx", sides.out)
    empty = tmp_path / ("empty" + sides.base.suffix)
    empty.touch()
    with pytest.raises(qm.QuilError):
        qm.merge(sides.base, empty, sides.theirs, sides.out)
    if sides.base.suffix == ".kx":
        data = sides.theirs.read_bytes()
        sides.theirs.write_bytes(data.replace(b"structure Crease", b"structure Creose", 1))
        with pytest.raises(qm.RefusedError, match="not all metadata") as caught, pytest.warns():
            qm.merge(*sides.scenes, sides.out)
        assert caught.value.findings
    assert not sides.out.exists()
