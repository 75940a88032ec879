# Changes of an open scene in bulk: what Python's objects stand for meanwhile and afterwards.
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


def test_a_patched_scene_is_that_of_the_command(
    teapot: Path, changed: Path, command: Callable[..., str]
) -> None:
    found = qm.diff(teapot, changed)
    document = teapot.with_name("p.json")
    document.write_text(found.to_json())
    expected = Path(shutil.copy(teapot, teapot.with_name("expected" + teapot.suffix)))
    command("patch", expected, document)
    with qm.open(teapot, "r+") as scene:
        scene.patch(found)
        assert scene.is_edited and not scene.diff(changed)
        scene.patch(found.patch, reverse=True)
        assert not scene.is_edited
        scene.patch(document)
    assert teapot.read_bytes() == expected.read_bytes()


def test_objects_go_on_where_their_parts_do(teapot: Path, changed: Path) -> None:
    with qm.open(teapot, "r+") as scene, qm.open(changed) as other:
        rig, shape = scene["rig"], scene["teapotShape"]
        joints, edge = rig["joints"], shape["edge"]
        pose, crease, vertices = joints["bind pose"], edge["crease"], shape["vertex"]["shape"]
        lid, grip, corner = pose.loc["lid"], pose.loc["handle; grip"], crease[0, 1]
        scene.patch(scene.diff(other))
        assert lid["side"] == -1 and pose.loc["knob"]["side"] == 3 and len(pose) == 4
        assert vertices[7]["position"] == other["teapotShape"]["vertex"]["shape"][7]["position"]
        assert rig["joints"]["bind pose"] == pose
        for use in (
            lambda: grip["side"],
            lambda: corner["layer"],
            lambda: crease[0, 1],
            lambda: len(crease),
            lambda: crease["layer"],
            lambda: list(edge),
            lambda: grip.asdict(),
        ):
            with pytest.raises(qm.StaleError):
                use()
        lid["side"] = 9
        pose.loc["new"] = {"side": 4}
        shape.add("edge")
        assert scene["rig"]["joints"]["bind pose"].loc["new"]["side"] == 4
        assert "crease" not in scene["teapotShape"]["edge"]
        gc.collect()
    again = qm.open(teapot)["rig"]["joints"]["bind pose"]
    assert (again.loc["lid"]["side"], again.loc["new"]["side"]) == (9, 4)


def test_arrays_keep_their_memory(teapot: Path, changed: Path) -> None:
    pytest.importorskip("numpy")
    with qm.open(teapot, "r+") as scene, qm.open(changed) as other:
        vertices = scene["teapotShape"]["vertex"]["shape"]
        found, document = scene.diff(other), other.export()
        view = vertices["position"]
        before = vertices[7]["position"]
        changes: list[Callable[[], None]] = [
            lambda: scene.patch(found),
            lambda: scene.import_(document),
            lambda: scene.import_(document, replace=True),
        ]
        for change in changes:
            with pytest.raises(BufferError, match="memory 1 array shares"):
                change()
            assert not scene.is_edited and view[7].tolist() == list(before)
        scene.patch(scene.diff(other, node="rig"))  # other streams may be changed
        view[7] = (1, 2, 3)
        assert vertices[7]["position"] == (1, 2, 3)
        view[7] = before
        del view
        scene.import_(document, replace=True)
        assert not scene.diff(other)


def test_a_walk_notices(teapot: Path, changed: Path) -> None:
    with qm.open(teapot, "r+") as scene:
        pose = scene["rig"]["joints"]["bind pose"]
        walk = iter(pose)
        next(walk)
        scene.patch(qm.diff(teapot, changed))
        with pytest.raises(RuntimeError):
            next(walk)


def test_what_is_refused_leaves_the_model_as_it_was(teapot: Path, changed: Path) -> None:
    found = qm.diff(teapot, changed)
    with qm.open(teapot, "r+") as scene:
        pose = scene["rig"]["joints"]["bind pose"]
        pose.loc["lid"]["side"] = 77
        before = scene.export()
        wrong: list[tuple[Any, type[Exception]]] = [
            (found, qm.RefusedError),
            ({"quilmetaPatch": 1}, qm.DocumentError),
            (3, TypeError),
        ]
        for patch, error in wrong:
            with pytest.raises(error):
                scene.patch(patch)
        document = json.loads(before)
        document["associations"][0]["channels"][0]["streams"][0]["elements"][0]["values"] = {}
        documents: list[tuple[Any, type[Exception]]] = [
            (document, qm.DocumentError),
            ("none.json", FileNotFoundError),
            (None, TypeError),
        ]
        for source, error in documents:
            with pytest.raises(error):
                scene.import_(source)
        assert scene.export() == before and pose.loc["lid"]["side"] == 77
        pose.loc["lid"]["side"] = 0
    for scene in (scene, qm.open(teapot), qm.loads(teapot.read_bytes(), teapot.suffix[1:])):  # type: ignore[arg-type]
        with pytest.raises(qm.ReadOnlyError):
            scene.patch(found)
        with pytest.raises(qm.ReadOnlyError):
            scene.import_(before)


def test_an_import_replaces_behind_the_objects(teapot: Path, changed: Path) -> None:
    with qm.open(teapot, "r+") as scene, qm.open(changed) as other:
        crease = scene["teapotShape"]["edge"]["crease"]
        pose, own = scene["rig"]["joints"]["bind pose"], scene.metadata
        scene.import_(other.export())
        assert len(crease) == 142 and pose.loc["lid"]["side"] == -1  # what is absent stays
        scene.import_(json.loads(other.export()), replace=True)
        with pytest.raises(qm.StaleError):
            len(crease)
        assert pose.loc["knob"]["label"] == 'a "knob"' and list(own) == list(other.metadata)
        scene.import_(json.loads(other.export()) | {"structures": [], "associations": []}, replace=True)
        assert len(scene) == 0 and len(own) == 0
        own.add("c").add("s", qm.Structure("S", [("x", "int8")]))[0] = {"x": 1}
        assert scene.metadata["c"]["s"][0]["x"] == 1
