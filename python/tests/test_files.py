# Opening, saving and closing; what others write meanwhile; every exception with its findings.
# SPDX-License-Identifier: Apache-2.0
from __future__ import annotations

import os
import pickle
import threading
from collections.abc import Callable
from pathlib import Path

import pytest
from conftest import SCENES

import quilmeta as qm


def side(path: Path) -> int:
    value = qm.open(path)["rig"]["joints"]["bind pose"].loc["lid"]["side"]
    assert isinstance(value, int)
    return value


def set_side(scene: qm.Scene, value: int) -> None:
    scene["rig"]["joints"]["bind pose"].loc["lid"]["side"] = value


def test_a_clean_exit_saves_what_was_changed(teapot: Path, command: Callable[..., str]) -> None:
    with qm.open(teapot, "r+") as scene:
        set_side(scene, -1)
        assert scene.is_edited
    assert side(teapot) == -1 and scene.closed
    assert command("get", teapot, "--node", "rig", "--channel", "joints", "--stream", "bind pose",
                   "--index", "lid", "side") == "-1\n"
    before = teapot.read_bytes()
    with qm.open(teapot, "r+") as scene:
        assert not scene.is_edited and not scene.save()
    assert teapot.read_bytes() == before


def test_an_exception_saves_nothing(teapot: Path) -> None:
    before = teapot.read_bytes()
    with pytest.raises(ZeroDivisionError), qm.open(teapot, "r+") as scene:
        set_side(scene, -1)
        1 / 0  # noqa: B018
    assert teapot.read_bytes() == before


def test_changes_that_nobody_saved_are_warned_of(teapot: Path) -> None:
    scene = qm.open(teapot, "r+")
    set_side(scene, 5)
    with pytest.warns(qm.QuilWarning, match="not saved"):
        scene.close()
    scene.close()
    assert side(teapot) == 0
    with pytest.raises(qm.ReadOnlyError, match="is closed"):
        set_side(scene, 6)
    with pytest.raises(qm.ReadOnlyError, match="is closed"):
        scene.save()
    assert scene["rig"]["joints"]["bind pose"].loc["lid"]["side"] == 5


@pytest.mark.parametrize("change", [
    lambda scene: set_side(scene, 1),
    lambda scene: scene.__delitem__("rig"),
    lambda scene: scene.add("new"),
    lambda scene: scene.add("new", "c", "s", qm.Structure("S", [("x", "int8")])),
    lambda scene: scene.__setitem__("new", scene["rig"]),
    lambda scene: scene["rig"].__delitem__("joints"),
    lambda scene: scene["rig"].add("c"),
    lambda scene: scene["rig"]["joints"].__delitem__("bind pose"),
    lambda scene: scene["rig"]["joints"]["bind pose"].clear(),
    lambda scene: scene["rig"]["joints"]["bind pose"].loc.__delitem__("lid"),
    lambda scene: scene["rig"]["joints"]["bind pose"].__setitem__("side", 1),
    lambda scene: scene["rig"]["joints"]["bind pose"].filter("true").__setitem__("side", 1),
    lambda scene: scene.save(),
])
def test_a_scene_to_be_read_is_not_changed(
    teapot: Path, change: Callable[[qm.Scene], object]
) -> None:
    scene = qm.open(teapot)
    copy = scene["rig"].copy()
    with pytest.raises(qm.ReadOnlyError, match='open it with "r\\+"'):
        change(scene)
    assert scene["rig"] == copy and list(scene) == ["rig", "teapotShape"]


def test_what_others_wrote_is_not_overwritten(teapot: Path) -> None:
    ours = qm.open(teapot, "r+")
    set_side(ours, 1)
    with qm.open(teapot, "r+") as theirs:
        set_side(theirs, 2)
    with pytest.raises(qm.ConflictError) as caught:
        ours.save()
    assert caught.value.findings[0].file == str(teapot) and side(teapot) == 2
    again = pickle.loads(pickle.dumps(caught.value))
    assert (type(again), str(again), again.findings) == (
        qm.ConflictError, str(caught.value), caught.value.findings)


def test_a_dry_run_prints_what_the_command_line_prints(
    teapot: Path, command: Callable[..., str]
) -> None:
    expected = command("set", teapot, "--node", "rig", "--channel", "joints", "--stream",
                       "bind pose", "--index", "lid", "side=3", "--dry-run")
    before = teapot.read_bytes()
    scene = qm.open(teapot, "r+")
    assert scene.dry_run() == ""
    set_side(scene, 3)
    assert scene.dry_run() == expected != ""
    assert teapot.read_bytes() == before


def test_a_save_under_a_new_name_leaves_the_old_file(teapot: Path) -> None:
    before = teapot.read_bytes()
    new, plain = teapot.with_stem("new"), teapot.with_stem("plain")
    scene = qm.open(teapot, "r+")
    set_side(scene, 4)
    del scene["teapotShape"]
    assert scene.save(new) and scene.is_edited
    assert teapot.read_bytes() == before and list(qm.open(new)) == ["rig"] and side(new) == 4
    with pytest.raises(FileExistsError):
        scene.save(new)
    with pytest.raises(qm.RefusedError, match="another kind"):
        scene.save(teapot.with_suffix(".other"))
    with pytest.raises(FileNotFoundError):
        scene.save(teapot.parent / "nowhere" / teapot.name)
    qm.open(teapot).save(plain)
    assert plain.read_bytes() == before
    with qm.open(teapot, "r+") as theirs:
        set_side(theirs, 2)
    with pytest.raises(qm.ConflictError):
        scene.save(teapot.with_stem("late"))
    assert sorted(path.stem for path in teapot.parent.iterdir()) == ["new", "plain", "teapot"]
    with qm.open(plain, "r+") as own:
        set_side(own, 6)
        assert own.save(plain) and not own.is_edited and side(plain) == 6


def test_all_kinds_of_parts_survive_the_file(bare: Path) -> None:
    kinds = [("numeric", [0, 5, 2**32 - 1]), ("pair", [(0, 0), (3, 7)]),
             ("string", ["lid", "a b", "ä"]), ("uv", [qm.OtherIndex("uv", "1 2")])]
    structure = qm.Structure("S", [("x", "double"), ("s", "string", 2), ("m", "flt4x4")])
    with qm.open(bare, "r+") as scene:
        for name, indices in kinds:
            stream = scene.add("node", "channel", name, structure, name)
            for number, index in enumerate(indices):
                stream.loc[index] = {"x": 1 / (number + 3), "s": ("ä\n\"", f"{number}"),
                                     "m": [number] * 16}
        kept = scene["node"].copy()
        scene.metadata.add("own").add("s", structure)[1] = {"x": 1}
    with qm.open(bare) as scene:
        assert scene["node"] == kept
        assert scene.metadata["own"]["s"][1]["x"] == 1


def test_text_that_is_no_utf8_is_never_lost(bare: Path) -> None:
    odd = b"caf\xe9\xff".decode("utf-8", "surrogateescape")
    with qm.open(bare, "r+") as scene:
        stream = scene.add(odd, odd, odd, qm.Structure("S", [("s", "string")]), "string")
        stream.loc[odd] = {"s": odd}
        stream.loc["b"] = {"s": b"caf\xe9\xff"}
    with qm.open(bare) as scene:
        stream = scene[odd][odd][odd]
        assert list(stream) == ["b", odd] and stream.loc[odd]["s"] == stream.loc["b"]["s"] == odd
        assert list(stream["s"]) == [odd, odd]
        assert pickle.loads(pickle.dumps(stream)) == stream
        repr(scene), repr(stream), repr(stream.loc[odd])


def test_file_names_may_have_any_bytes(teapot: Path) -> None:
    odd = os.fsencode(teapot.parent) + b"/sc\xffne" + os.fsencode(teapot.suffix)
    os.rename(teapot, odd)
    for path in (odd, os.fsdecode(odd), Path(os.fsdecode(odd))):
        with qm.open(path) as scene:
            assert os.fsencode(scene.path) == odd


def test_what_is_no_scene_says_so(tmp_path: Path) -> None:
    with pytest.raises(FileNotFoundError) as missing:
        qm.open(tmp_path / "none.kx")
    assert missing.value.filename == str(tmp_path / "none.kx")
    with pytest.raises(IsADirectoryError):
        qm.open(tmp_path)
    plain = tmp_path / "plain.kx"
    plain.write_text("nothing of the kind")
    with pytest.raises(qm.NotASceneError) as caught:
        qm.open(plain)
    (finding,) = caught.value.findings
    assert (finding.code, finding.file) == ("not-a-scene", str(plain))
    plain.rename(tmp_path / "plain.txt")
    with pytest.raises(qm.NotASceneError, match="known: kx, ky"):
        qm.open(tmp_path / "plain.txt")
    with pytest.raises(ValueError, match='"r" or "r\\+"'):
        qm.open(plain, "w")  # type: ignore[arg-type]
    with pytest.raises(TypeError):
        qm.open(5)  # type: ignore[arg-type]


def test_what_cannot_be_read_is_told_and_kept(tmp_path: Path) -> None:
    path = tmp_path / "damaged.kx"
    good = (SCENES / "teapot.kx").read_bytes()
    assert good.count(b"0.333333") > 0
    path.write_bytes(good.replace(b"0.333333", b"0.3odd33", 1))
    with pytest.warns(qm.QuilWarning, match="damaged.kx"):
        scene = qm.open(path, "r+")
    assert {finding.node for finding in scene.findings} == {"rig"} and "rig" not in scene
    assert all(finding.file == str(path) and finding.line for finding in scene.findings)
    scene["teapotShape"]["edge"]["crease"][0, 1]["layer"] = 5
    scene.save()
    assert b"0.3odd33" in path.read_bytes()


def test_a_file_that_others_lock_is_busy(teapot: Path) -> None:
    import fcntl
    import struct

    # An open-file-description lock, as the library takes: exclusive, the whole file.
    with open(teapot, "r+b") as file:
        lock = struct.pack("hhqqi4x", fcntl.F_WRLCK, 0, 0, 0, 0)
        fcntl.fcntl(file, 37, lock)  # F_OFD_SETLK
        with pytest.raises(qm.BusyError) as caught:
            qm.open(teapot, wait=0.1)
        assert caught.value.findings
    assert len(qm.open(teapot, wait=0.1)) == 2


def test_a_save_is_refused_where_the_file_must_not_be_written(teapot: Path) -> None:
    os.link(teapot, teapot.with_name("second.link"))
    with qm.open(teapot, "r+") as scene:
        set_side(scene, 1)
        for attempt in (scene.save, scene.dry_run):
            with pytest.raises(qm.RefusedError) as caught:
                attempt()
            assert caught.value.findings and side(teapot) == 0
        set_side(scene, 0)


def test_names_that_no_file_can_hold_are_refused_with_their_place(bare: Path) -> None:
    scene = qm.open(bare, "r+")
    stream = scene.add("n", "c", " blanks ", qm.Structure("S", [("x", "int8")]))
    stream[0] = {"x": 1}
    with pytest.raises(qm.RefusedError) as caught:
        scene.save()
    (finding,) = caught.value.findings
    assert (finding.node, finding.channel) == ("n", "c")


def test_scenes_are_read_in_several_threads_at_once(teapot: Path) -> None:
    results: list[int] = []

    def work() -> None:
        for _ in range(5):
            results.append(len(qm.open(teapot)["teapotShape"]["vertex"]["shape"]["normal"]))

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert results == [792] * 20
