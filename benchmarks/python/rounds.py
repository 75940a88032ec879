# Measuring in rounds, and the rows of the table that scripts/bench prints.
# SPDX-License-Identifier: Apache-2.0
"""Everything is measured once in each round, in shuffled order; ratios are medians of the rounds."""

from __future__ import annotations

import gc
import random
import statistics
import time
from collections.abc import Callable
from dataclasses import dataclass, field
from typing import Any

import pyperf


@dataclass
class Contestant:
    work: Callable[[], Any]
    times: int
    clock: Callable[[], float]
    seconds: list[float] = field(default_factory=list)

    def measure(self) -> float:
        """Seconds of one call. What the last one returns is destroyed unmeasured."""
        result = None
        gc.collect()
        gc.disable()
        start = self.clock()
        for _ in range(self.times):
            result = self.work()
        elapsed = self.clock() - start
        gc.enable()
        del result
        return elapsed / self.times


class Bench:
    all_held = True

    def __init__(self, rounds: int, clock: Callable[[], float] = time.thread_time) -> None:
        self._rounds = rounds
        self._clock = clock
        self._contestants: dict[str, Contestant] = {}

    def measure(self, name: str, work: Callable[[], Any], times: int = 1) -> None:
        """`times`: how often it runs in each round, for what takes too little time."""
        self._contestants[name] = Contestant(work, times, self._clock)

    def sample(self, name: str, seconds: Callable[[], float]) -> None:
        """Once in each round `seconds` says what was measured."""
        self.measure(name, lambda: None)
        self._contestants[name].measure = seconds  # type: ignore[method-assign]

    def run(self) -> None:
        """A first round warms up and does not count."""
        shuffled = random.Random(1)
        contestants = list(self._contestants.values())
        for round in range(self._rounds + 1):
            shuffled.shuffle(contestants)
            for contestant in contestants:
                seconds = contestant.measure()
                if round:
                    contestant.seconds.append(seconds)

    def median(self, name: str) -> float:
        values = self._contestants[name].seconds
        return float(pyperf.Benchmark([pyperf.Run(values, metadata={"name": name},
                                                  collect_metadata=False)]).median())

    def compare(self, subject: str, ours: str, other: str, allowed: float = 0) -> None:
        """A row with the times of two contestants; not judged when nothing is allowed."""
        pairs = zip(self._contestants[ours].seconds, self._contestants[other].seconds)
        ratio = statistics.median(mine / theirs for mine, theirs in pairs)
        row(subject, shown(self.median(ours)), other, shown(self.median(other)), ratio, allowed)

    def at_most(self, subject: str, ours: str, seconds: float) -> None:
        mine = self.median(ours)
        row(subject, shown(mine), "a fixed time", shown(seconds), mine / seconds, 1)


def row(subject: str, ours: str, other: str, theirs: str, ratio: float, allowed: float) -> None:
    held = not allowed or ratio <= allowed
    Bench.all_held = Bench.all_held and held
    verdict = "" if not allowed else "held" if held else "NOT HELD"
    limit = f"{allowed:.2f}" if allowed else "-"
    print(subject, ours, other, theirs, f"{ratio:.2f}", limit, verdict or "-", sep="\t", flush=True)


def shown(seconds: float) -> str:
    for unit, size in (("s", 1), ("ms", 1e-3), ("us", 1e-6)):
        if seconds >= size:
            return f"{seconds / size:.1f} {unit}"
    return f"{seconds / 1e-9:.1f} ns"
