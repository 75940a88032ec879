# Streams as tables of other packages, and back.
# SPDX-License-Identifier: Apache-2.0
"""Tables travel by Arrow's interface, so none of those packages is imported before it is asked for."""

from __future__ import annotations

from collections.abc import Iterable
from typing import Any

from . import _native
from ._structures import Member, structure_of

_WHOLE = ("int8", "int16", "int32", "int64", "uint8", "uint16", "uint32", "uint64")
# What this package calls columns with indices, and what pandas does.
_INDEX_NAMES = (("index",), ("index0", "index1"), ("__index_level_0__", "__index_level_1__"),
                ("__index_level_0__",))

_Column = tuple[str, str, "Member | None", str]


def to_arrow(stream: _native.Stream | _native.Selection) -> Any:
    import pyarrow

    return pyarrow.table(stream)


def to_polars(stream: _native.Stream | _native.Selection) -> Any:
    import polars

    return polars.DataFrame(stream)


def to_pandas(stream: _native.Stream | _native.Selection) -> Any:
    import pandas

    keys = list(stream.keys())
    owner = stream if isinstance(stream, _native.Stream) else stream.stream
    columns = {name: _own(stream[name]) for name in owner.structure}
    name = "index"
    while name in columns:
        name += "_"
    index: Any
    if owner.index_type == "pair":
        names = ("index0", "index1")
        index = pandas.MultiIndex.from_tuples(keys, names=names) if keys else \
            pandas.MultiIndex.from_arrays([[], []], names=names)
    elif keys == list(range(len(keys))):
        index = pandas.RangeIndex(len(keys), name=name)
    else:
        index = pandas.Index(keys, name=name, dtype="uint32" if owner.index_type == "numeric" else None)
    return pandas.DataFrame(columns, index=index)


def _own(array: Any) -> Any:
    """A copy that shares nothing: for each element a value, an array, or a list of those."""
    if array.ndim == 1:
        return array.copy()
    return [value if value.ndim == 1 else _rows(value) for value in array.copy()]


def _rows(matrix: Any) -> list[Any]:
    """Lists of arrays, for others take no array of more than one axis as a value."""
    return list(matrix) if matrix.ndim == 2 else [_rows(one) for one in matrix]


def stream_of_table(
    name: str, data: Any, structure: Any = None, index: str | Iterable[str] | None = None
) -> _native.Stream:
    table = _native._ArrowTable(data)
    columns = table.columns()
    chosen, index_type = _index_of(table, columns, index)
    members = [(at, column) for at, column in enumerate(columns) if at not in chosen]
    if structure is None or isinstance(structure, str):
        title = structure or table.metadata("quilmeta.structure") or name
        structure = _native.Structure(title, [_member_of(column) for _, column in members])
    stream = _native.Stream(name, structure_of(structure), index_type)
    table.fill(stream, chosen, [(at, column[0]) for at, column in members])
    return stream


def _member_of(column: _Column) -> Member:
    name, _, member, shown = column
    if member is None:
        raise TypeError(f'column "{name}": no type of member is known for {shown}')
    return member


def _index_of(
    table: _native._ArrowTable, columns: list[_Column], index: str | Iterable[str] | None
) -> tuple[list[int], str]:
    """The columns that hold the indices, and the type of those."""
    places = {column[0]: at for at, column in enumerate(columns)}
    if index is not None:
        names = (index,) if isinstance(index, str) else tuple(index)
        for name in names:
            if name not in places:
                raise KeyError(f'no column "{name}" in the table')
        if len(names) > 2:
            raise ValueError("indices are in one column, or in two for pairs")
        return _typed([places[name] for name in names], columns)
    marked = sorted((column[1], at) for at, column in enumerate(columns) if column[1])
    if marked:
        return [at for _, at in marked], table.metadata("quilmeta.index_type") or "numeric"
    for names in _INDEX_NAMES:
        names = tuple(_free_of_members(name, places) for name in names)
        if all(name in places for name in names):
            try:
                return _typed([places[name] for name in names], columns)
            except TypeError:
                continue  # a member that happens to have the name
    return [], "numeric"


def _free_of_members(name: str, places: dict[str, int]) -> str:
    """The name that a column with indices has got where members have it already."""
    while name + "_" in places:
        name += "_"
    return name


def _typed(chosen: list[int], columns: list[_Column]) -> tuple[list[int], str]:
    types = set()
    for at in chosen:
        name, _, member, shown = columns[at]
        if member is None or member.length != 1 or member.type not in (*_WHOLE, "string"):
            raise TypeError(f'column "{name}": {shown} is no index')
        types.add("string" if member.type == "string" else "pair" if len(chosen) == 2 else "numeric")
    if len(chosen) == 2 and types != {"pair"}:
        raise TypeError("pairs of indices are whole numbers")
    return chosen, types.pop() if types else "numeric"
