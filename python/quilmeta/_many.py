# Many scenes, read ahead of whoever goes through them.
# SPDX-License-Identifier: Apache-2.0
from __future__ import annotations

import os
from collections import deque
from collections.abc import Generator, Iterable, Iterator
from concurrent.futures import Future, ThreadPoolExecutor

from ._native import Scene
from ._native import open as _open


def _open_for_reading(path: str | bytes | os.PathLike[str] | os.PathLike[bytes]) -> Scene:
    return _open(path, threads=1)  # the others are at work on other files


def read_many(
    paths: Iterable[str | bytes | os.PathLike[str] | os.PathLike[bytes]],
    threads: int | None = None,
) -> Generator[Future[Scene], None, None]:
    """Reads scenes side by side; yields a finished future for each path, in the order of the paths.

    `future.result()` is the scene, opened for reading, or raises what `open` raises for that file:
    one bad file does not end the others. At most twice as many scenes as threads are read ahead, and
    `paths` is asked for no more than that, so it may be endless. `threads` is one for each processor
    unless given. Closing the iterator, or leaving it by an exception, waits for the reads that have
    begun, gives up the others and leaves no thread.

    Raises ValueError when `threads` is less than 1, TypeError when it is no int or when `paths` is a
    single path.
    """
    if isinstance(paths, (str, bytes, os.PathLike)):
        raise TypeError(f"paths must be an iterable of paths, not one path: {paths!r}")
    if threads is None:
        threads = os.cpu_count() or 1
    if not isinstance(threads, int) or isinstance(threads, bool):
        raise TypeError(f"threads must be an int or None, not {type(threads).__name__}")
    if threads < 1:
        raise ValueError(f"threads must be 1 or more, not {threads}")
    return _read_ahead(iter(paths), threads)


def _read_ahead(
    paths: Iterator[str | bytes | os.PathLike[str] | os.PathLike[bytes]], threads: int
) -> Generator[Future[Scene], None, None]:
    pool = ThreadPoolExecutor(threads, thread_name_prefix="quilmeta-read")
    ahead: deque[Future[Scene]] = deque()
    try:
        for path in paths:
            ahead.append(pool.submit(_open_for_reading, path))
            if len(ahead) >= 2 * threads:
                yield _finished(ahead)
        while ahead:
            yield _finished(ahead)
    finally:
        pool.shutdown(wait=True, cancel_futures=True)


def _finished(ahead: deque[Future[Scene]]) -> Future[Scene]:
    future = ahead.popleft()
    future.exception()  # waits
    return future
