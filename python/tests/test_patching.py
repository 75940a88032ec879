# Patches and documents, applied to files beside the command line.
# SPDX-License-Identifier: Apache-2.0
from __future__ import annotations

import json
import shutil
from collections.abc import Callable
from pathlib import Path
from typing import Any

import pytest

import quilmeta as qm


def copy_of(scene: Path, name: str) -> Path:
    return Path(shutil.copy(scene, scene.with_name(name + scene.suffix)))


def test_a_patch_is_applied_as_the_command_does(
    teapot: Path, changed: Path, command: Callable[..., str]
) -> None:
    before = teapot.read_bytes()
    found = qm.diff(teapot, changed)
    document = teapot.with_name("p.json")
    document.write_text(found.to_json())
    expected = copy_of(teapot, "expected")
    command("patch", expected, document)
    text = qm.patch(teapot, found, dry_run=True)
    assert text == command("patch", teapot, document, "--dry-run")
    assert text.splitlines()[2:] == str(found).splitlines()[2:] and teapot.read_bytes() == before
    given: list[Any] = [found, found.patch, found.to_json(), found.to_json().encode()]
    for patch in [*given, document, str(document), bytes(document)]:
        assert qm.patch(teapot, patch)
        assert teapot.read_bytes() == expected.read_bytes()
        assert qm.patch(teapot, patch, reverse=True) and not qm.diff(teapot, changed, node="x")
        assert not qm.diff(teapot, qm.loads(before, teapot.suffix[1:]))  # type: ignore[arg-type]
    assert qm.patch(teapot, qm.diff(teapot, teapot)) is False


def test_a_patch_by_hand_may_have_any_bytes(changed: Path) -> None:
    change = {"change": "set", "node": "new", "channel": "names", "stream": "all", "index": [3, 7]}
    change |= {"member": "text", "old": "\udcff", "new": "\udcfe \U0001f600"}
    assert qm.patch(changed, {"quilmetaPatch": 1, "changes": (change,)})
    assert qm.open(changed)["new"]["names"]["all"][3, 7]["text"] == "\udcfe \U0001f600"
    with pytest.raises(UnicodeEncodeError):
        qm.patch(changed, {"quilmetaPatch": 1, "changes": [change | {"old": "\ud800"}]})


def test_what_does_not_fit_is_told_and_nothing_is_changed(teapot: Path, changed: Path) -> None:
    found = qm.diff(teapot, changed)
    with qm.open(teapot, "r+") as scene:
        scene["rig"]["joints"]["bind pose"].loc["lid"]["side"] = 77
        scene["teapotShape"]["edge"]["crease"][0, 1]["layer"] = 3
    before = teapot.read_bytes()
    for dry_run in (False, True):
        with pytest.raises(qm.RefusedError, match="side: is 77 instead of 0") as caught:
            qm.patch(teapot, found, dry_run=dry_run)  # type: ignore[call-overload]
        side, crease = caught.value.findings
        assert (side.code, side.node, side.index, side.member) == ("patch-mismatch", "rig", "lid", "side")
        assert side.message == "is 77 instead of 0" and side.file == str(teapot)
        assert (crease.stream, crease.index, crease.member) == ("crease", None, None)
    assert teapot.read_bytes() == before


def test_a_wrong_patch_is_told_with_lines_and_paths(teapot: Path, changed: Path) -> None:
    document = teapot.with_name("p.json")
    text = qm.diff(teapot, changed, node="rig", stream="*").to_json()
    document.write_text(text.replace('"new": -1', '"new": 500'))
    before = teapot.read_bytes()
    with pytest.raises(qm.DocumentError, match=r"\.new: 500 is out of range") as caught:
        qm.patch(teapot, document)
    (finding,) = caught.value.findings
    assert finding.line == 1 + text[: text.index('"new": -1')].count("\n")
    assert finding.code == "document-wrong" and finding.file == str(document)
    assert isinstance(caught.value, ValueError)
    wrong: list[Any] = [{}, {"quilmetaPatch": 2, "changes": []}, "{", b"[]", " { }", text[:-9]]
    for patch in [*wrong, {"quilmetaPatch": 1, "changes": [{"change": "sit"}]}]:
        with pytest.raises(qm.DocumentError) as caught:
            qm.patch(teapot, patch)
        assert all(f.line is not None and f.message.startswith("$") for f in caught.value.findings)
    nothing: list[Any] = [3, None, [], qm.open(teapot)]
    for patch in nothing:
        with pytest.raises(TypeError):
            qm.patch(teapot, patch)
    with pytest.raises(ValueError, match="JSON"):
        qm.patch(teapot, {"quilmetaPatch": float("nan")})
    with pytest.raises(FileNotFoundError):
        qm.patch(teapot, "none.json")
    with pytest.raises(IsADirectoryError):
        qm.patch(teapot, teapot.parent)
    assert teapot.read_bytes() == before


def test_documents_are_those_of_the_command(
    teapot: Path, changed: Path, command: Callable[..., str]
) -> None:
    document = teapot.with_name("d.json")
    text = qm.export(changed)
    assert text == command("export", changed) == qm.open(changed).export()
    qm.export(changed, document)
    qm.open(changed).export(document)
    assert document.read_text() == text
    for replace, options in ((False, ()), (True, ("--replace",))):
        target, expected = copy_of(teapot, "target"), copy_of(teapot, "expected")
        dry = command("import", target, document, *options, "--dry-run")
        assert qm.import_(target, document, replace=replace, dry_run=True) == dry  # type: ignore[call-overload]
        command("import", expected, document, *options)
        given: list[Any] = [document, json.loads(text), text]
        for source in given:
            target = copy_of(teapot, "target")
            assert qm.import_(target, source, replace=replace) is True
            assert target.read_bytes() == expected.read_bytes()
        assert qm.import_(target, document, replace=replace) is False
        assert bool(qm.diff(target, changed)) is not replace


def test_what_cannot_be_exported_or_imported_is_refused(teapot: Path, tmp_path: Path) -> None:
    before = teapot.read_bytes()
    other = tmp_path / "other.txt"
    other.write_text("mine")
    with pytest.raises(FileExistsError):
        qm.export(teapot, other)
    assert other.read_text() == "mine"
    qm.export(teapot, other, force=True)
    for out, error in ((teapot, qm.RefusedError), (tmp_path, IsADirectoryError), ("none/x", FileNotFoundError)):
        with pytest.raises(error):
            qm.export(teapot, out, force=True)
    document = json.loads(other.read_text())
    document["associations"] = [n for n in document["associations"] if n["name"] != "rig"]
    joint = next(s for s in document["structures"] if s["name"] == "Joint")
    joint["members"][-1]["type"] = "double"
    with pytest.raises(qm.RefusedError, match="replace=True takes the document alone"):
        qm.import_(teapot, document)
    document["structures"] = []
    with pytest.raises(qm.DocumentError) as caught:
        qm.import_(teapot, document)
    assert len(caught.value.findings) > 1
    document = json.loads(other.read_text())
    document["associations"][-1]["name"] = "a\nb"
    if teapot.suffix == ".kx":
        with pytest.raises(qm.DocumentError, match="this kind of scene cannot have the name"):
            qm.import_(teapot, document)
    with pytest.raises(TypeError):
        qm.import_(teapot, 3)  # type: ignore[call-overload]
    assert teapot.read_bytes() == before
