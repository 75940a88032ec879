# A stream beside a plain dict: any order of edits, views, walks and saves gives the same.
# SPDX-License-Identifier: Apache-2.0
from __future__ import annotations

import shutil
import tempfile
from pathlib import Path
from typing import Any

from conftest import SCENES
from hypothesis import settings
from hypothesis import strategies as st
from hypothesis.stateful import RuleBasedStateMachine, invariant, precondition, rule

import quilmeta as qm

try:
    import numpy
except ImportError:
    numpy = None  # type: ignore[assignment]

STRUCTURE = qm.Structure("S", [("n", "int16"), ("p", "float", 2), ("s", "string")])
NUMBERS = st.integers(-(2**15), 2**15 - 1)
FLOATS = st.floats(width=32, allow_nan=False, allow_infinity=False)
INDICES = st.integers(0, 6) | st.sampled_from([63, 64, 65, 1000])


class StreamBesideDict(RuleBasedStateMachine):
    def __init__(self) -> None:
        super().__init__()
        self.folder = Path(tempfile.mkdtemp())
        self.path = Path(shutil.copy(SCENES / "bare.kx", self.folder))
        self.scene = qm.open(self.path, "r+")
        self.stream = self.scene.add("node", "channel", "stream", STRUCTURE)
        self.model: dict[int, dict[str, Any]] = {}
        self.view: Any = None

    def teardown(self) -> None:
        self.view = None
        shutil.rmtree(self.folder)

    def edit(self, moves: bool, change: Any) -> bool:
        """Makes an edit, which is refused exactly when it moves memory that a view shares."""
        if moves and self.view is not None:
            try:
                change()
            except BufferError:
                return False
            raise AssertionError("the view's memory has moved")
        change()
        return True

    @rule(index=INDICES, n=NUMBERS, p=st.tuples(FLOATS, FLOATS), s=st.text("aä \"\n", max_size=3))
    def set_element(self, index: int, n: int, p: tuple[float, float], s: str) -> None:
        values = {"n": n, "p": p, "s": s}
        if self.edit(index not in self.model, lambda: self.stream.__setitem__(index, values)):
            self.model[index] = values

    @rule(index=INDICES, n=NUMBERS)
    def set_member(self, index: int, n: int) -> None:
        if index in self.model:
            self.stream[index]["n"] = n
            self.model[index]["n"] = n
        else:
            assert index not in self.stream

    @rule(index=INDICES)
    def remove(self, index: int) -> None:
        if index in self.model:
            if self.edit(True, lambda: self.stream.__delitem__(index)):
                del self.model[index]

    @precondition(lambda self: self.model)
    @rule(data=st.data())
    def set_column(self, data: st.DataObject) -> None:
        values = data.draw(st.lists(NUMBERS, min_size=len(self.model), max_size=len(self.model)))
        self.stream["n"] = values
        for index, n in zip(sorted(self.model), values):
            self.model[index]["n"] = n

    @rule(limit=NUMBERS, n=NUMBERS)
    def set_some(self, limit: int, n: int) -> None:
        self.stream.filter(f"n > {limit}")["n"] = n
        for values in self.model.values():
            if values["n"] > limit:
                values["n"] = n

    @precondition(lambda self: self.view is None)
    @rule()
    def take_view(self) -> None:
        column = self.stream["n"]
        goes_up = bool(self.model) and sorted(self.model) == list(range(len(self.model)))
        assert self.stream.is_dense == goes_up
        if goes_up:
            self.view = column

    @precondition(lambda self: self.view is not None)
    @rule(n=NUMBERS)
    def write_view(self, n: int) -> None:
        self.view[len(self.view) - 1] = n
        self.model[max(self.model)]["n"] = n

    @rule()
    def drop_view(self) -> None:
        self.view = None

    @rule()
    def clear(self) -> None:
        if self.edit(True, self.stream.clear):
            self.model.clear()

    @rule()
    def save_and_open_again(self) -> None:
        self.view = None
        self.scene.save()
        assert not self.scene.is_edited
        self.scene = qm.open(self.path, "r+")
        self.stream = self.scene["node"]["channel"]["stream"]

    @rule()
    def replace_by_a_copy(self) -> None:
        self.view = None
        channel = self.scene["node"]["channel"]
        channel["stream"] = self.stream.copy()
        self.stream = channel["stream"]

    @invariant()
    def is_the_same(self) -> None:
        found = {index: element.asdict() for index, element in self.stream.items()}
        assert found == self.model and list(found) == sorted(self.model) == list(self.stream)
        assert len(self.stream) == len(self.model)
        assert [tuple(p) for p in self.stream.iloc[:]["p"]] == [
            self.model[index]["p"] for index in sorted(self.model)]


StreamBesideDict.TestCase.settings = settings(
    max_examples=60, stateful_step_count=25, deadline=None)
TestStreamBesideDict = StreamBesideDict.TestCase
