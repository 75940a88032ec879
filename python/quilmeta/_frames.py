# Streams as tables of other packages, and back.
# SPDX-License-Identifier: Apache-2.0
"""Tables travel by Arrow's interface, so none of those packages is imported before it is asked for."""

from __future__ import annotations

import json
from collections.abc import Iterable, Sequence
from itertools import chain
from typing import Any

from . import _native
from ._columns import numpy_or_none
from ._indices import parts_of
from ._structures import Member, structure_of

_WHOLE = ("int8", "int16", "int32", "int64", "uint8", "uint16", "uint32", "uint64")
_INDEX, _PAIR = ("index",), ("index0", "index1")

_Column = tuple[str, str, "Member | None", str]


def index_names(members: Iterable[str], is_pair: bool) -> list[str]:
    """The columns for indices: with more underscores behind them than members of these names have."""
    taken = [len(name) - len(name.rstrip("_")) + 1 for name in members
             if name.rstrip("_") in _INDEX + _PAIR]
    return [name + "_" * max(taken, default=0) for name in (_PAIR if is_pair else _INDEX)]


def _named_like_indices(columns: set[str]) -> tuple[str, ...]:
    """The columns that `index_names` has named."""
    found: list[tuple[int, tuple[str, ...]]] = []
    for column in columns:
        bare = column.rstrip("_")
        end = column[len(bare):]
        if bare == "index":
            found.append((len(end), (column,)))
        elif bare == "index0" and "index1" + end in columns:
            found.append((len(end), (column, "index1" + end)))
    return max(found, key=lambda one: (one[0], -len(one[1])), default=(0, ()))[1]


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
    columns = {shown: _own(stream[name]) for shown, name in _shown_names(owner.structure).items()}
    names = index_names(columns, owner.index_type == "pair")
    index: Any
    if owner.index_type == "pair":
        index = pandas.MultiIndex.from_tuples(keys, names=names) if keys else \
            pandas.MultiIndex.from_arrays([pandas.Index([], dtype="uint32")] * 2, names=names)
    elif owner.index_type != "numeric":
        index = pandas.Index(_whole_texts(list(map(_text_of_key, keys))), name=names[0])
    elif keys == list(range(len(keys))):
        index = pandas.RangeIndex(len(keys), name=names[0])
    else:
        index = pandas.Index(keys, name=names[0], dtype="uint32")
    return pandas.DataFrame(columns, index=index)


def _shown_names(members: Iterable[str]) -> dict[str, str]:
    """Each member by its name with `\\xe9` and the like for bytes that are no UTF-8."""
    names = list(members)
    shown: dict[str, str] = {}
    for name in names:
        column = name.encode("utf-8", "surrogateescape").decode("utf-8", "backslashreplace")
        while column != name and (column in names or column in shown):
            column += "_"
        shown[column] = name
    return shown


def _text_of_key(key: Any) -> str:
    return key if isinstance(key, str) else parts_of(key)[1]


def _whole_texts(texts: list[Any]) -> list[Any]:
    """The texts, or lists of them; all as bytes when one of them has some that are no UTF-8."""
    try:
        parts = chain.from_iterable(texts) if texts and isinstance(texts[0], tuple) else texts
        "".join(filter(None, parts)).encode()
    except UnicodeEncodeError:
        return [list(map(_bytes, text)) if isinstance(text, tuple) else _bytes(text) for text in texts]
    return texts


def _bytes(text: str | None) -> bytes | None:
    return None if text is None else text.encode("utf-8", "surrogateescape")


def _own(array: Any) -> Any:
    """A copy that shares nothing: for each element a value, an array, or a list of those."""
    if array.dtype != object and array.ndim == 1:
        return array.copy()
    if array.dtype == object:
        texts = array.tolist()
        values = _whole_texts(texts)
        if values is texts:
            return array.copy()
    else:
        values = [value if value.ndim == 1 else _rows(value) for value in array.copy()]
    objects = numpy_or_none().empty(len(values), dtype=object)
    for at, value in enumerate(values):
        objects[at] = value
    return objects


def _rows(matrix: Any) -> list[Any]:
    """Lists of arrays, for others take no array of more than one axis as a value."""
    return list(matrix) if matrix.ndim == 2 else [_rows(one) for one in matrix]


def stream_of_table(
    name: str | None, data: Any, structure: Any = None, index: Any = None,
    index_type: str | None = None
) -> _native.Stream:
    table = _native._ArrowTable(data)
    name = table.metadata("quilmeta.stream") if name is None else name
    if name is None:
        raise TypeError("the stream needs a name, which this table does not know")
    columns = table.columns()
    if structure is not None and not isinstance(structure, str):
        structure = structure_of(structure)
    own = set() if structure is None or isinstance(structure, str) else set(structure)
    chosen, numbers, found_type = _index_of(table, columns, own, index, index_type)
    members = _others(table, columns, chosen)
    if structure is None or isinstance(structure, str):
        title = structure or table.metadata("quilmeta.structure") or name
        structure = _native.Structure(title, [_member_of(columns[at]) for at in members])
    stream = _native.Stream(name, structure, found_type)
    known = _shown_names(stream.structure)
    names = [known.get(columns[at][0], columns[at][0]) for at in members]
    table.fill(stream, chosen, list(zip(members, names)), numbers.start, numbers.step)
    return stream


def members_of_table(data: Any) -> tuple[list[Member], str | None]:
    """The members that a stream of the table has, and the name of the structure if that is known."""
    table = _native._ArrowTable(data)
    columns = table.columns()
    chosen, _, _ = _index_of(table, columns, set(), None, None)
    members = [_member_of(columns[at]) for at in _others(table, columns, chosen)]
    return members, table.metadata("quilmeta.structure")


def _others(table: _native._ArrowTable, columns: list[_Column], chosen: list[int]) -> list[int]:
    """The columns that hold no indices."""
    unused = set(_labels_without_name(table))
    return [at for at, column in enumerate(columns) if at not in chosen and column[0] not in unused]


def _member_of(column: _Column) -> Member:
    name, _, member, shown = column
    if member is None:
        raise TypeError(f'column "{name}": no type of member is known for {shown}')
    return member


def _places_of(columns: list[_Column]) -> dict[str, int]:
    places: dict[str, int] = {}
    for at, column in enumerate(columns):
        if places.setdefault(column[0], at) != at:
            raise ValueError(f'the table has two columns "{column[0]}"')
    return places


_Index = tuple[list[int], range, str]


def _index_of(table: _native._ArrowTable, columns: list[_Column], members: set[str], index: Any,
              index_type: str | None) -> _Index:
    """The columns that hold the indices, the numbers of the rows otherwise, and their type."""
    places = _places_of(columns)
    numbers = range(len(table))
    if index is not None:
        chosen = [_place(name, places) for name in _names(index)]
        return chosen, numbers, _type_of(chosen, columns, index_type)
    marked = sorted((column[1], at) for at, column in enumerate(columns) if column[1])
    if marked:
        chosen = [at for _, at in marked]
        known = index_type or table.metadata("quilmeta.index_type")
        return chosen, numbers, _type_of(chosen, columns, known)
    try:
        chosen = [places[name] for name in _named_like_indices(set(places) - members)]
        _type_of(chosen, columns, None)
    except TypeError:
        chosen = []  # members that happen to have the names
    labels = _labels(table)
    if not chosen and isinstance(labels, range):
        numbers = labels
    elif not chosen:
        chosen = [places[name] for name in labels if name in places]
    return chosen, numbers, _type_of(chosen, columns, index_type)


def _names(index: Any) -> tuple[str, ...]:
    if isinstance(index, str):
        return (index,)
    names = tuple(index) if isinstance(index, Iterable) else (None,)
    if len(names) > 2 or not all(isinstance(name, str) for name in names):
        raise TypeError("index is the name of a column, or two of them for pairs")
    return names


def _place(name: str, places: dict[str, int]) -> int:
    if name not in places:
        raise KeyError(f'no column "{name}" in the table')
    return places[name]


def _labels(table: _native._ArrowTable) -> Sequence[str] | range:
    """What pandas says the rows of its frame are called: columns, or numbers at equal distances."""
    try:
        labels = json.loads(table.metadata("pandas") or "{}").get("index_columns", [])
        if len(labels) == 1 and isinstance(labels[0], dict):
            numbers = range(labels[0]["start"], labels[0]["stop"], labels[0]["step"])
            return numbers if len(numbers) == len(table) else range(len(table))
        return [label for label in labels if isinstance(label, str)]
    except (ValueError, TypeError, KeyError, AttributeError):
        return []  # somebody else's metadata


def _labels_without_name(table: _native._ArrowTable) -> list[str]:
    labels = _labels(table)
    return [] if isinstance(labels, range) else \
        [label for label in labels if label.startswith("__index_level_")]


def _type_of(chosen: list[int], columns: list[_Column], index_type: str | None) -> str:
    """The type of the indices in these columns, which is `index_type` where that fits them."""
    types = {_type_of_column(columns[at]) for at in chosen}
    if len(chosen) > 2 or len(chosen) == 2 and types != {"numeric"}:
        raise TypeError("indices are in one column, or whole numbers in two for pairs")
    natural = "pair" if len(chosen) == 2 else types.pop() if types else "numeric"
    of_texts = index_type not in (None, "numeric", "pair")
    if index_type is None or natural == ("string" if of_texts else index_type):
        return index_type or natural
    if not chosen:
        raise ValueError(f"indices of type {index_type} are in columns that index= names")
    names = " and ".join(f'"{columns[at][0]}"' for at in chosen)
    raise TypeError(f"column {names}: no indices of type {index_type}, but {natural}")


def _type_of_column(column: _Column) -> str:
    name, _, member, shown = column
    if member is None or member.length != 1 or member.type not in (*_WHOLE, "string"):
        raise TypeError(f'column "{name}": {shown} is no index')
    return "string" if member.type == "string" else "numeric"
