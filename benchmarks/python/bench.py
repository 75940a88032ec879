# Measures the Python package beside NumPy, h5py, json, and reading in C++: `scripts/bench python`.
# SPDX-License-Identifier: Apache-2.0
from __future__ import annotations

import ctypes
import json
import os
import random
import shutil
import subprocess
import sys
import tempfile
import time
from dataclasses import dataclass
from pathlib import Path
from typing import Annotated, Any

import h5py
import numpy as np

import quilmeta as qm
from rounds import Bench, row

ROOT = Path(__file__).parents[2]
BARE = ROOT / "examples" / "scenes" / "bare.kx"
MANY = 1_000_000
KINDS = ("kx", "ky")


@dataclass
class Base:
    id: Annotated[int, "int32"]
    position: Annotated[tuple[float, ...], "float[3]"]
    name: str


@dataclass
class Numbers:
    id: Annotated[int, "int32"]
    position: Annotated[tuple[float, ...], "float[3]"]


@dataclass
class One:
    weight: Annotated[float, "float"]


def table(count: int) -> dict[str, Any]:
    """Columns of elements as the benchmarks of the library have them."""
    numbers = np.random.default_rng(1)
    return {
        "id": numbers.integers(1000, 10000, count, dtype=np.int32),
        "position": numbers.uniform(-100, 100, (count, 3)).astype(np.float32),
        "name": [f"n{number}" for number in numbers.integers(1000, 10000, count)],
    }


def filled(stream: qm.Stream, columns: dict[str, Any]) -> None:
    for index in range(len(columns["id"])):
        stream[index] = {}
    for name in stream.structure:
        stream[name] = columns[name]


def make_scene(path: Path, structure: type, columns: dict[str, Any]) -> Path:
    shutil.copy(BARE.with_suffix(path.suffix), path)
    with qm.open(path, "r+") as scene:
        filled(scene.add("shape", "vertex", "all", structure), columns)
    return path


def make_hdf5(path: Path, columns: dict[str, Any]) -> Path:
    """One table, its rows side by side; and the same columns as data sets of their own."""
    types = {"id": np.int32, "position": (np.float32, 3), "name": h5py.string_dtype()}
    rows = np.empty(len(columns["id"]), [(name, types[name]) for name in columns])
    for name, values in columns.items():
        rows[name] = values
    with h5py.File(path, "w") as file:
        file["table"] = rows
        for name in columns:
            file[name] = columns[name]
    return path


def make_json(path: Path, columns: dict[str, Any]) -> Path:
    ids, positions = columns["id"].tolist(), columns["position"].tolist()
    rows = ({"id": id, "position": position, "name": name}
            for id, position, name in zip(ids, positions, columns["name"]))
    path.write_text(json.dumps(dict(enumerate(rows))))
    return path


def stream_of(path: Path, threads: int | None = 1) -> qm.Stream:
    return qm.open(path, threads=threads)["shape"]["vertex"]["all"]


def columns_of(path: Path, threads: int | None) -> list[Any]:
    stream = stream_of(path, threads)
    return [stream[name] for name in stream.structure]


def table_of(path: Path) -> list[Any]:
    with h5py.File(path) as file:
        rows = file["table"][:]
    return [rows[name] for name in rows.dtype.names]


def data_sets_of(path: Path, names: list[str]) -> list[Any]:
    """Texts as h5py gives them most quickly: as bytes, where ours are `str`."""
    with h5py.File(path) as file:
        return [file[name][:] for name in names]


def load_json(path: Path) -> dict[int, dict[str, Any]]:
    with open(path, "rb") as file:
        return {int(index): values for index, values in json.load(file).items()}


def bench_columns() -> None:
    count = 10_000_000
    dense = qm.Stream("dense", One)
    for index in range(count):
        dense[index] = {}
    values = np.random.default_rng(1).random(count, dtype=np.float32)
    dense["weight"] = values
    own = values.copy()
    bench = Bench(21)
    bench.measure("view", lambda: dense["weight"], times=1000)
    bench.measure("sum", lambda: dense["weight"].sum())
    bench.measure("NumPy's own array", own.sum)
    bench.run()
    bench.at_most("view of a column, 10 million floats", "view", 10e-6)
    bench.compare("sum of a column, 10 million floats", "sum", "NumPy's own array", 1.05)


def bench_reading(folder: Path, columns: dict[str, Any]) -> None:
    library = ctypes.CDLL(os.environ["BENCH_READER"])
    library.readScene.restype = ctypes.c_void_p
    library.destroyScene.argtypes = [ctypes.c_void_p]

    class Reading:
        """A scene that a C++ program reads."""

        def __init__(self, path: Path) -> None:
            self.scene = library.readScene(os.fsencode(path), 1)
            assert self.scene, path

        def __del__(self) -> None:
            library.destroyScene(self.scene)

    bench = Bench(15)
    for kind in KINDS:
        path = make_scene(folder / f"part.{kind}", Base,
                          {name: values[:200_000] for name, values in columns.items()})
        bench.measure(f"open .{kind}", lambda path=path: qm.open(path, threads=1))
        bench.measure(f"C++ .{kind}", lambda path=path: Reading(path))
    bench.run()
    for kind in KINDS:
        bench.compare(f"open a scene of 200,000 elements, .{kind}", f"open .{kind}",
                      f"C++ .{kind}", 1.05)


def bench_peers(folder: Path, columns: dict[str, Any]) -> None:
    """A million elements: reading them, and all their columns."""
    text = make_scene(folder / "base.kx", Base, columns)
    numbers = make_scene(folder / "numbers.kx", Numbers, columns)
    only_numbers = {name: columns[name] for name in ("id", "position")}
    hdf5 = make_hdf5(folder / "base.h5", columns)
    hdf5_numbers = make_hdf5(folder / "numbers.h5", only_numbers)
    as_json = make_json(folder / "base.json", columns)
    stream = stream_of(text)

    bench = Bench(7)
    bench.measure("open", lambda: qm.open(text, threads=1))
    bench.measure("to_arrow", stream.to_arrow)
    bench.measure("json into dicts", lambda: load_json(as_json))
    bench.run()
    bench.compare("to_arrow, a million elements", "to_arrow", "open", 0.5)
    bench.compare("open, a million elements", "open", "json into dicts", 1 / 8)

    # Opening takes all processors unless told otherwise, so this is by the clock.
    bench = Bench(9, time.perf_counter)
    for what, path, peer, names in (("with strings", text, hdf5, list(columns)),
                                    ("numbers alone", numbers, hdf5_numbers, list(only_numbers))):
        bench.measure(what, lambda path=path: columns_of(path, None))
        bench.measure(f"{what}, one thread", lambda path=path: columns_of(path, 1))
        bench.measure(f"h5py, a table, {what}", lambda peer=peer: table_of(peer))
        bench.measure(f"h5py, data sets, {what}",
                      lambda peer=peer, names=names: data_sets_of(peer, names))
    bench.run()
    for what, allowed in (("with strings", 1.0), ("numbers alone", 0.0)):
        for ours, limit in ((what, allowed), (f"{what}, one thread", 0.0)):
            bench.compare(f"open, all columns, {ours}", ours, f"h5py, a table, {what}", limit)
            bench.compare("", ours, f"h5py, data sets, {what}")
    bench_memory(text, as_json)
    bench_loops(stream, load_json(as_json))


def bench_memory(text: Path, as_json: Path) -> None:
    def memory(work: str, path: Path) -> tuple[int, int]:
        """What a process of its own has in memory more than before: afterwards, and at most."""
        code = f"""
import bench, pathlib, re, resource, sys
def resident():
    return int(open('/proc/self/statm').read().split()[1]) * resource.getpagesize()
before = resident()
model = bench.{work}(pathlib.Path(sys.argv[1]))
peak = int(re.search(r"VmHWM:\s*(\d+)", open("/proc/self/status").read())[1]) * 1024
print(resident() - before, peak - before)
"""
        done = subprocess.run([sys.executable, "-c", code, path], capture_output=True, text=True,
                              check=True, cwd=Path(__file__).parent)
        now, peak = map(int, done.stdout.split())
        return now, peak

    ours, theirs = memory("stream_of", text), memory("load_json", as_json)
    for k, what in enumerate(("memory of a million elements", "most memory while they are read")):
        row(what, f"{ours[k] / 2**20:.0f} MiB", "json into dicts", f"{theirs[k] / 2**20:.0f} MiB",
            ours[k] / theirs[k], 0.25)


def bench_loops(stream: qm.Stream, rows: dict[int, dict[str, Any]]) -> None:
    """What Python's own loops take; nothing is promised."""
    own = stream.copy()
    keys = list(range(MANY))
    random.Random(1).shuffle(keys)
    keys = keys[:100_000]
    new = {"id": 1, "position": (1.0, 2.0, 3.0), "name": "n"}

    def walk(values: Any) -> None:
        for element in values:
            element["id"]

    def find(values: Any) -> None:
        for key in keys:
            values[key]["name"]

    def store(values: Any, fresh: Any) -> None:
        for key in keys:
            values[key] = fresh()

    bench = Bench(5)
    bench.measure("walk", lambda: walk(stream.values()))
    bench.measure("walk, dicts", lambda: walk(rows.values()))
    bench.measure("find", lambda: find(stream))
    bench.measure("find, dicts", lambda: find(rows))
    bench.measure("store", lambda: store(own, lambda: new))
    bench.measure("store, dicts", lambda: store(rows, new.copy))
    bench.run()
    bench.compare("loop over a million elements", "walk", "walk, dicts")
    bench.compare("100,000 elements in random order", "find", "find, dicts")
    bench.compare("100,000 elements stored", "store", "store, dicts")


def bench_start() -> None:
    def start(code: str) -> float:
        begin = time.perf_counter()
        subprocess.run([sys.executable, "-c", code], check=True)
        return time.perf_counter() - begin

    bench = Bench(21, time.perf_counter)
    for name, code in (("nothing", "pass"), ("quilmeta", "import quilmeta"),
                       ("numpy", "import numpy")):
        bench.sample(name, lambda code=code: start(code))
    bench.run()
    ours, theirs = (bench.median(name) - bench.median("nothing") for name in ("quilmeta", "numpy"))
    row("import quilmeta", f"{ours * 1e3:.1f} ms", "import numpy", f"{theirs * 1e3:.1f} ms",
        ours / theirs, 1.5)
    row("", f"{ours * 1e3:.1f} ms", "a fixed time", "20.0 ms", ours / 20e-3, 1)


def bench_threads(folder: Path, columns: dict[str, Any]) -> None:
    first = make_scene(folder / "many0.kx", Base,
                       {name: values[:2_000] for name, values in columns.items()})
    paths = [first]
    for number in range(1, 200):
        paths.append(Path(shutil.copy(first, folder / f"many{number}.kx")))

    def read(threads: int) -> None:
        for future in qm.read_many(paths, threads=threads):
            future.result()

    bench = Bench(11, time.perf_counter)
    bench.measure("two threads", lambda: read(2))
    bench.measure("one thread", lambda: read(1))
    bench.run()
    bench.compare("read_many, 200 scenes of 2,000 elements", "two threads", "one thread", 0.6)


def main() -> int:
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        columns = table(MANY)
        bench_columns()
        bench_reading(folder, columns)
        bench_peers(folder, columns)
        bench_threads(folder, columns)
    bench_start()
    return 0 if Bench.all_held else 1


if __name__ == "__main__":
    sys.exit(main())
