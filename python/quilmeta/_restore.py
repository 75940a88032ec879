# What pickles of streams, channels, nodes and differences call.
# SPDX-License-Identifier: Apache-2.0
"""Functions by whose names pickles are read; functions of the native module cannot be pickled."""

from __future__ import annotations

from typing import Any

from . import _native


def stream(
    name: str, structure: _native.Structure, index_type: str, keys: list[Any], rows: list[Any]
) -> _native.Stream:
    return _native._stream_of(name, structure, index_type, keys, rows)


def channel(name: str, streams: list[_native.Stream]) -> _native.Channel:
    return _native._channel_of(name, streams)


def node(name: str, channels: list[_native.Channel]) -> _native.Node:
    return _native._node_of(name, channels)


def difference(
    json: str,
    before: _native.Structure | None,
    after: _native.Structure | None,
    index_type: str,
) -> _native.Difference:
    return _native._difference_of(json, before, after, index_type)
