# Scenes, nodes, channels and streams as mappings; what is removed, and what outlives the rest.
# SPDX-License-Identifier: Apache-2.0
from __future__ import annotations

import copy
import gc
import pickle
import subprocess
import sys
from collections.abc import Callable, Mapping
from pathlib import Path
from typing import Any

import pytest

import quilmeta as qm

PLAIN = qm.Structure("Plain", [("x", "int32"), ("s", "string")])


def numbers(count: int) -> qm.Stream:
    stream = qm.Stream("numbers", PLAIN)
    for k in range(count):
        stream[k] = {"x": k, "s": f"number {k}"}
    return stream


def test_the_levels_are_mappings_in_the_library_s_order(teapot: Path) -> None:
    scene = qm.open(teapot)
    assert list(scene) == ["rig", "teapotShape"] == list(scene.keys())
    assert len(scene) == 2 and "rig" in scene and "" not in scene and 5 not in scene
    shape = scene["teapotShape"]
    assert [channel.name for channel in shape.values()] == ["edge", "face", "vertex"]
    assert {name: list(channel) for name, channel in shape.items()} == {
        "edge": ["crease"], "face": ["tag"], "vertex": ["shape"]}
    assert list(scene.metadata) == ["externalContentTable"]
    assert scene["rig"] is scene["rig"]
    assert list(scene.structures) == sorted(scene.structures)
    tag = shape["face"]["tag"]
    assert [member.name for member in tag.structure.members] == ["material", "ID", "hash", "uv tile"]
    assert tag.structure["uv tile"] == qm.Member("uv tile", "int16", 2)


def test_what_the_command_line_shows_is_what_python_has(
    teapot: Path, command: Callable[..., str]
) -> None:
    import json

    document = json.loads(command("export", teapot))
    scene = qm.open(teapot)
    count = 0
    for node in document["associations"]:
        owner = scene[node["name"]] if node["name"] else scene.metadata
        for channel in node["channels"]:
            for stream in channel["streams"]:
                found = owner[channel["name"]][stream["name"]]
                assert len(found) == len(stream["elements"])
                for element in stream["elements"]:
                    index = element["index"]
                    row = found.loc[tuple(index) if isinstance(index, list) else index]
                    assert flat(row.asdict()) == flat(element["values"])
                    count += 1
    assert count > 1000


def flat(value: Any) -> Any:
    """Lists and matrices as one list of numbers; floats as the nearest float."""
    if isinstance(value, dict):
        return {name: flat(item) for name, item in value.items()}
    if isinstance(value, (list, tuple)):
        items: list[Any] = []
        for item in map(flat, value):
            items.extend(item if isinstance(item, list) else [item])
        return items
    return pytest.approx(value, rel=1e-6) if isinstance(value, float) else value


@pytest.mark.parametrize(
    ("look", "message"),
    [
        (lambda scene: scene["teapotshape"], 'did you mean "teapotShape"?'),
        (lambda scene: scene["rig"]["joint"], 'no channel "joint" in node "rig", did you mean'),
        (lambda scene: scene["rig"]["joints"]["bindpose"], 'did you mean "bind pose"?'),
        (lambda scene: scene["rig"]["joints"]["bind pose"]["labl"], 'did you mean "label"?'),
        (lambda scene: scene["rig"]["joints"]["bind pose"].loc["ld"], 'did you mean "lid"?'),
        (lambda scene: scene["rig"]["joints"]["bind pose"].loc["lid"]["sid"], "side"),
        (lambda scene: scene["teapotShape"]["face"]["tag"][999999], "no element 999999"),
        (lambda scene: scene["teapotShape"]["face"]["tag"][-1], "do not count from the end"),
        (lambda scene: scene["teapotShape"]["edge"]["crease"][5, 2**40], "no element"),
        (lambda scene: scene[""], "scene.metadata"),
    ],
)
def test_missing_names_say_what_was_perhaps_meant(
    teapot: Path, look: Callable[[qm.Scene], object], message: str
) -> None:
    with pytest.raises(KeyError) as caught:
        look(qm.open(teapot))
    assert message in str(caught.value)


def test_elements_are_found_by_every_kind_of_index(teapot: Path) -> None:
    scene = qm.open(teapot)
    crease = scene["teapotShape"]["edge"]["crease"]
    pose = scene["rig"]["joints"]["bind pose"]
    pair = crease.iloc[3].index
    assert isinstance(pair, tuple) and crease[pair] == crease.loc[pair]
    assert pair in crease and (pair[0], 4_000_000_000) not in crease and 0 not in crease
    assert "lid" in pose.loc and "lid" not in pose and "label" in pose and "nobody" not in pose.loc
    assert object() not in crease.keys()
    assert pose.loc["lid"].index == "lid" == pose.iloc[1].index
    with pytest.raises(TypeError, match="two numbers"):
        crease[1, 2, 3]


def test_slices_by_index_have_both_ends_and_by_place_one() -> None:
    stream = numbers(10)
    del stream[4]
    assert stream.loc[3:6].keys() == [3, 5, 6]
    assert stream.loc[:1].keys() == [0, 1] and stream.loc[8:].keys() == [8, 9]
    assert stream.iloc[3:5].keys() == [3, 5] and stream.iloc[::-4].keys() == [9, 5, 0]
    assert stream.iloc[-1].index == 9 and stream.loc[[7, 2]].keys() == [7, 2]
    assert stream.loc[5:4].keys() == stream.loc[10:].keys() == [] and len(stream.loc[:]) == 9
    with pytest.raises(IndexError):
        stream.iloc[9]
    assert stream.iloc[[-1, 3]].keys() == [9, 3]
    with pytest.raises(TypeError, match="numeric, not string"):
        stream.loc["3":]
    for several in (stream.loc, stream.iloc):
        assert several[[k % 2 == 0 for k in range(9)]].keys() == [0, 2, 5, 7, 9]
        assert several[[]].keys() == []
        with pytest.raises(IndexError, match="2 truth values"):
            several[[True, False]]
    with pytest.raises(IndexError, match="9 elements"):
        stream.iloc[[0, 9]]
    with pytest.raises(TypeError, match="iloc"):
        stream[[1, 2]]
    with pytest.raises(TypeError, match="iloc"):
        stream[1:2]


def test_places_follow_what_comes_and_goes() -> None:
    stream = numbers(5)
    assert stream.iloc[2].index == 2
    del stream[1]
    assert stream.iloc[2].index == 3
    stream[1] = {}
    stream[9] = {}
    assert stream.iloc[2].index == 2 and stream.iloc[-1].index == 9

    class Clearing:
        def __index__(self) -> int:
            for index in list(stream):
                del stream[index]
            return 2

    with pytest.raises(IndexError, match="0 elements"):
        stream.iloc[Clearing()]  # type: ignore[index]


def test_keys_values_and_items_are_views() -> None:
    stream = numbers(3)
    keys, values, items = stream.keys(), stream.values(), stream.items()
    stream[7] = {"x": 7}
    assert list(keys) == [0, 1, 2, 7] and len(values) == 4 and 7 in keys and 8 not in keys
    assert [row["x"] for row in values] == [0, 1, 2, 7]
    assert [(index, row["x"]) for index, row in items] == [(0, 0), (1, 1), (2, 2), (7, 7)]
    assert (7, stream[7]) in items and (8, stream[7]) not in items


@pytest.mark.parametrize("change", [
    lambda stream: stream.__delitem__(0),
    lambda stream: stream.__setitem__(999, {}),
    lambda stream: stream.clear(),
    lambda stream: stream["x"],  # makes the storage dense
])
def test_a_walk_notices_that_elements_come_go_or_move(
    change: Callable[[qm.Stream], object]
) -> None:
    stream = numbers(200)
    walk = iter(stream)
    next(walk)
    change(stream)
    with pytest.raises(RuntimeError, match="changed while it was walked"):
        for _ in walk:
            pass


def test_removed_parts_are_stale_and_their_namesakes_are_not(teapot: Path) -> None:
    scene = qm.open(teapot, "r+")
    node, channel = scene["rig"], scene["rig"]["joints"]
    stream, lid = channel["bind pose"], channel["bind pose"].loc["lid"]
    walk = iter(stream)
    kept = stream.copy()
    del scene["rig"]
    for use in (lambda: list(node), lambda: channel["bind pose"], lambda: len(stream),
                lambda: lid["side"], lambda: next(walk), lambda: stream["label"],
                lambda: lid.__setitem__("side", 1), lambda: node.copy()):
        with pytest.raises(qm.StaleError, match="has been removed"):
            use()
    assert "removed" in repr(node) and "removed" in repr(stream) and "removed" in repr(lid)
    again = scene.add("rig", "joints", "bind pose", kept)
    assert again == kept and again.loc["lid"]["side"] == 0
    with pytest.raises(qm.StaleError):
        len(stream)


def test_a_removed_element_is_stale_until_it_is_there_again() -> None:
    stream = numbers(3)
    row = stream[1]
    del stream[1]
    with pytest.raises(qm.StaleError, match="element 1 of"):
        row["x"]
    stream[1] = {"x": 11}
    assert row["x"] == 11


def test_a_replaced_stream_is_stale() -> None:
    node = holder(numbers(3))
    old = node["c"]["numbers"]
    node["c"]["numbers"] = numbers(2)
    with pytest.raises(qm.StaleError):
        len(old)
    assert len(node["c"]["numbers"]) == 2


def holder(*streams: qm.Stream) -> qm.Node:
    from quilmeta import _restore

    return _restore.node("n", [_restore.channel("c", list(streams))])


def test_finalizers_that_run_meanwhile_do_no_harm() -> None:
    stream = qm.Stream("s", qm.Structure("S", [("s", "string", 50)]))

    class Cycle:
        def __init__(self) -> None:
            self.me = self

        def __del__(self) -> None:
            stream.clear()

    old = gc.get_threshold()
    try:
        for _ in range(50):
            stream[0] = {"s": [f"text {k}" for k in range(50)]}
            row = stream[0]
            Cycle()
            gc.set_threshold(1)
            try:
                assert row["s"][49] == "text 49"
            except qm.StaleError:
                pass
    finally:
        gc.set_threshold(*old)


def test_what_is_referred_to_stays_alive(teapot: Path) -> None:
    rows = list(qm.open(teapot)["teapotShape"]["edge"]["crease"].values())
    walk = iter(qm.open(teapot)["rig"]["joints"]["bind pose"].items())
    gc.collect()
    assert len({row.index for row in rows}) == len(rows) and rows[0]["layer"] == 24
    assert [index for index, _ in walk] == ["handle; grip", "lid", "root", "spout"]


def test_copies_share_nothing(teapot: Path) -> None:
    scene = qm.open(teapot, "r+")
    for part in (scene["rig"], scene["rig"]["joints"], scene["rig"]["joints"]["bind pose"]):
        for made in (copy.copy(part), copy.deepcopy(part), part.copy(),
                     pickle.loads(pickle.dumps(part))):
            assert made == part and made is not part and type(made) is type(part)
    pose = scene["rig"]["joints"]["bind pose"]
    twin = pose.copy()
    twin.loc["lid"]["side"] = 5
    assert pose.loc["lid"]["side"] == 0 and twin != pose
    scene["twin"] = scene["rig"]
    pose.loc["lid"]["side"] = 6
    del scene["rig"]
    assert scene["twin"]["joints"]["bind pose"].loc["lid"]["side"] == 0


def test_a_scene_is_neither_pickled_nor_copied(teapot: Path) -> None:
    scene = qm.open(teapot)
    for attempt in (pickle.dumps, copy.copy, copy.deepcopy):
        with pytest.raises(TypeError, match="stands for a file"):
            attempt(scene)


def test_equality_is_of_content() -> None:
    assert numbers(3) == numbers(3) != numbers(4)
    assert numbers(3) != 5 and holder(numbers(3)) == holder(numbers(3)) != holder(numbers(2))
    left, right = numbers(1), numbers(1)
    right[0]["s"] = "other"
    assert left != right and left[0] != right[0] and left[0] == {"x": 0, "s": "number 0"}
    assert PLAIN == qm.Structure("Plain", PLAIN.members) and hash(PLAIN) == hash(
        qm.Structure("Plain", PLAIN.members))


def test_indices_of_the_wrong_type_are_refused() -> None:
    stream = numbers(1)
    with pytest.raises(TypeError, match="numeric, not string"):
        stream.loc["lid"] = {"x": 1}
    with pytest.raises(TypeError, match="numeric, not pair"):
        stream[1, 2] = {"x": 1}
    with pytest.raises(IndexError, match="out of range"):
        stream[-1] = {"x": 1}
    with pytest.raises(TypeError, match="no type of index"):
        stream[1.5]
    assert list(stream) == [0]


def test_the_same_structure_name_means_the_same_members(teapot: Path) -> None:
    scene = qm.open(teapot, "r+")
    with pytest.raises(qm.RefusedError, match='another structure "Vertex"'):
        scene.add("n", "c", "s", qm.Structure("Vertex", [("x", "float")]))
    with pytest.raises(ValueError, match='has a stream "crease"'):
        scene["teapotShape"]["edge"].add("crease", PLAIN)


class Uv(tuple[float, float]):
    __slots__ = ()


def test_types_of_indices_can_be_registered() -> None:
    stream = qm.Stream("s", PLAIN, "uv")
    plain = qm.OtherIndex("uv", "0.5 0.25")
    stream.loc[plain] = {"x": 1}
    assert list(stream) == [plain] and plain in stream
    with pytest.raises(ValueError, match="meaning"):
        qm.register_index_type("pair", Uv, Uv)

    class Corner:
        def __init__(self, text: str) -> None:
            self.text = text

    qm.register_index_type("uv", Corner, Corner, lambda corner: corner.text)
    try:
        assert [key.text for key in stream] == ["0.5 0.25"]
        stream.loc[Corner("1 1")] = {"x": 2}
        assert stream.loc[Corner("1 1")]["x"] == 2
        with pytest.raises(ValueError, match="already"):
            qm.register_index_type("uv", Uv, Uv)
    finally:
        qm.unregister_index_type("uv")
    assert list(stream) == [plain, qm.OtherIndex("uv", "1 1")]


def test_parts_are_mappings_that_take_none_as_any_other_object(teapot: Path) -> None:
    scene = qm.open(teapot, "r+")
    node = scene["rig"]
    stream = node["joints"]["bind pose"]
    element = stream.loc["lid"]
    for part in (scene, node, node["joints"], element, stream.structure):
        assert isinstance(part, Mapping) and list(part.items()) == [(k, part[k]) for k in part]
        assert list(reversed(part)) == list(part)[::-1] and part.get("no such", 5) == 5
        assert None not in part and part != None  # noqa: E711
        with pytest.raises(TypeError, match="NoneType"):
            part[None]  # type: ignore[index]
    assert None not in stream and None not in stream.loc and stream != None  # noqa: E711
    assert stream.get("no such") is None and list(stream.get("side")) == list(stream["side"])
    assert list(reversed(stream)) == list(stream)[::-1]
    assert hash(stream.structure) == hash(scene.structures["Joint"])
    for part in (node, node["joints"], stream, element):
        with pytest.raises(TypeError, match="unhashable"):
            hash(part)

    for set_none in (lambda: element.update({"label": None}), lambda: stream.iloc[:1].__setitem__("label", None),
                     lambda: stream.__setitem__("label", None), lambda: element.__setitem__("label", None)):
        stream["label"] = "text"
        set_none()
        assert None in list(stream["label"])
    for bad in (lambda: stream.__setitem__(0, None), lambda: stream.loc.__setitem__(None, {}),
                lambda: stream.__setitem__("side", None), lambda: element.__setitem__("side", None)):
        with pytest.raises(TypeError, match="NoneType|many types"):
            bad()
    with pytest.raises(ValueError, match="scene.metadata"):
        scene[""] = node


def test_the_package_has_all_that_it_lists_and_imports_little() -> None:
    for name in qm.__all__:
        assert getattr(qm, name) is not None and name in dir(qm)
    with pytest.raises(AttributeError, match="no_such"):
        qm.no_such  # type: ignore[attr-defined]
    code = "import quilmeta, sys; print(*(name for name in sys.argv[1:] if name in sys.modules))"
    late = ["numpy", "pandas", "pyarrow", "dataclasses", "logging", "concurrent.futures"]
    found = subprocess.run([sys.executable, "-c", code, *late], capture_output=True, text=True, check=True)
    assert found.stdout.split() == []
