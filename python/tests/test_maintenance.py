# Checking scenes, and what is left of changes that were cut short.
# SPDX-License-Identifier: Apache-2.0
from __future__ import annotations

import json
import shutil
from collections.abc import Callable
from pathlib import Path

import pytest
from conftest import SCENES

import quilmeta as qm


def test_a_check_finds_what_the_command_finds(tmp_path: Path, command: Callable[..., str]) -> None:
    for kind in ("kx", "ky"):
        path = Path(shutil.copy(SCENES / f"teapot.{kind}", tmp_path))
        data = path.read_bytes()
        damaged = data.replace(b"structure Crease", b"structure Creose", 1)
        path.write_bytes(damaged)
        found = qm.check(path)
        printed = json.loads(command("check", "--json", path, code=1))
        expected = [(f["code"], f["message"]) for f in printed]
        assert [(f.code, f.message) for f in found] == expected and expected
        assert path.read_bytes() == damaged
        assert all(f.file == str(path) for f in found)


def test_a_check_refuses_what_cannot_be_read(tmp_path: Path) -> None:
    with pytest.raises(FileNotFoundError):
        qm.check(tmp_path / "none.kx")
    with pytest.raises(IsADirectoryError):
        qm.check(tmp_path)
    with pytest.raises(ValueError, match="wait"):
        qm.check(SCENES / "teapot.kx", wait=-1)
    other = tmp_path / "other.txt"
    other.write_text("hello")
    with pytest.raises(qm.NotASceneError, match="known: kx, ky"):
        qm.check(other)
    assert qm.check(SCENES / "bare.kx") == ()


def journal_of(path: Path) -> Path:
    return path.with_name(path.name + ".metadata-journal")


def test_recovery_deals_with_journals(teapot: Path) -> None:
    before = teapot.read_bytes()
    nothing = qm.recover(teapot)
    assert nothing.state == "nothing" and nothing.done and nothing.set_aside is None
    assert nothing.journal == str(journal_of(teapot.resolve()))
    journal_of(teapot).write_bytes(b"no journal at all" * 100)
    for _ in range(2):
        looked = qm.recover(teapot, dry_run=True)
        assert looked.state == "orphaned" and not looked.done and looked.message
    done = qm.recover(teapot)
    assert done.state == "orphaned" and done.done and not journal_of(teapot).exists()
    later = qm.recover(teapot)
    assert later.state == "nothing" and later.set_aside is not None
    assert Path(later.set_aside).read_bytes().startswith(b"no journal")
    assert teapot.read_bytes() == before


def test_recovery_of_a_moved_scene(teapot: Path) -> None:
    old = teapot.with_name("old" + teapot.suffix)
    journal_of(old).write_bytes(b"no journal at all")
    found = qm.recover(teapot, moved_from=old)
    assert found.state == "orphaned" and journal_of(old).exists()


def test_what_cannot_be_recovered_is_refused(teapot: Path, tmp_path: Path) -> None:
    with pytest.raises(FileNotFoundError):
        qm.recover(tmp_path / "none.kx")
    journal_of(teapot).mkdir()
    for dry_run in (True, False):
        with pytest.raises(qm.RefusedError) as caught:
            qm.recover(teapot, dry_run=dry_run)
        assert caught.value.findings[0].message
    with pytest.raises(TypeError):
        qm.recover(teapot, True)  # type: ignore[misc]
