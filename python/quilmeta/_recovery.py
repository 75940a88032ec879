# What became of a change that was cut short.
# SPDX-License-Identifier: Apache-2.0
from __future__ import annotations

from dataclasses import dataclass
from typing import Literal


@dataclass(frozen=True)
class Recovery:
    """What `recover` found, before it did anything.

    `state` is "nothing", or what a journal beside the file tells: "unused" (the file is as it was),
    "undo" (the file may hold a part of a change), "finish" (it holds the whole change), or
    "orphaned" (the journal does not fit the file). `done` is True when nothing is left to be done.
    `set_aside` is the path of a journal that was set aside earlier.
    """

    state: Literal["nothing", "unused", "undo", "finish", "orphaned"]
    done: bool
    journal: str
    set_aside: str | None
    message: str
