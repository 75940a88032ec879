# Members, and structures made of what other packages describe records by.
# SPDX-License-Identifier: Apache-2.0
"""Members and structures: of a dataclass, a NumPy dtype, an Arrow schema, or tuples."""

from __future__ import annotations

import dataclasses
import types
import typing
from collections.abc import Iterable, Mapping
from dataclasses import dataclass
from typing import Any

from . import _native


@dataclass(frozen=True)
class Member:
    """A named value of an element: of a type such as "float" or "string", `length` times."""

    name: str
    type: str
    length: int = 1


def member_of(given: object) -> Member:
    if isinstance(given, Member):
        return given
    if isinstance(given, tuple) and 2 <= len(given) <= 3:
        return Member(*given)
    raise TypeError(f"a member is a Member or a tuple, not {type(given).__name__}")


def items_of(values: object) -> Iterable[tuple[str, Any]]:
    """What an element is to have: of a mapping, another element, or a dataclass."""
    if isinstance(values, (Mapping, _native.Element)):
        return list(values.items())
    if dataclasses.is_dataclass(values) and not isinstance(values, type):
        return [(field.name, getattr(values, field.name)) for field in dataclasses.fields(values)]
    raise TypeError(f"an element is set by a mapping or a dataclass, not {type(values).__name__}")


def structure_of(source: Any, name: str | None = None) -> _native.Structure:
    """Makes a structure of a dataclass, a NumPy structured dtype, or an Arrow schema: of anything
    that has `__arrow_c_schema__`, or of the rows of a table, such as a frame of pandas. Tables of
    streams know the name, and which columns are indices.

    `name` is that of the structure; a dataclass has one of its own. Fields of a dataclass are
    `bool`, `int` (an int64), `float` (a double), `str`, or `Annotated[..., "int8[3]"]`.
    """
    if isinstance(source, _native.Structure):
        return source if name is None else _native.Structure(name, source.members)
    if isinstance(source, (_native.Stream, _native.Element)):
        raise TypeError(f"a {type(source).__name__} is no structure, it has one: .structure")
    if isinstance(source, type) and dataclasses.is_dataclass(source):
        return _native.Structure(name or source.__name__, _of_dataclass(source))
    if hasattr(source, "__arrow_c_schema__"):
        columns, known = _native._arrow_columns(source)
        return _native.Structure(_demand_name(name or known), _of_arrow(columns))
    if getattr(source, "names", None) is not None and hasattr(source, "fields"):
        members = [_of_dtype(member, source.fields[member][0]) for member in source.names]
        return _native.Structure(_demand_name(name), members)
    if hasattr(source, "__arrow_c_stream__") or hasattr(source, "__arrow_c_array__"):
        from ._frames import members_of_table

        members, known = members_of_table(source)
        return _native.Structure(_demand_name(name or known), members)
    raise TypeError(f"no structure can be made of {type(source).__name__}")


def _demand_name(name: str | None) -> str:
    if name is None:
        raise TypeError("the structure needs a name")
    return name


_OF_PYTHON = {bool: "bool", int: "int64", float: "double", str: "string"}


def _of_dataclass(source: type) -> list[Member]:
    hints = typing.get_type_hints(source, include_extras=True)
    return [_of_hint(f"{source.__name__}.{f.name}", f.name, hints[f.name])
            for f in dataclasses.fields(source)]


def _of_hint(place: str, name: str, hint: Any) -> Member:
    if typing.get_origin(hint) is typing.Annotated:
        for note in typing.get_args(hint)[1:]:
            if isinstance(note, str):
                return _of_text(name, note)
        hint = typing.get_args(hint)[0]
    if typing.get_origin(hint) in (typing.Union, types.UnionType):  # Optional[str]
        kinds = [kind for kind in typing.get_args(hint) if kind is not type(None)]
        hint = kinds[0] if kinds == [str] else hint
    if typing.get_origin(hint) is tuple:
        kinds = list(typing.get_args(hint))
        if Ellipsis not in kinds and len(set(kinds)) == 1 and kinds[0] in _OF_PYTHON:
            return Member(name, _OF_PYTHON[kinds[0]], len(kinds))
    if hint not in _OF_PYTHON:
        raise TypeError(f"{place}: no type of member is known for {hint!r}")
    return Member(name, _OF_PYTHON[hint])


def _of_text(name: str, text: str) -> Member:
    """Takes "float" or "float[3]"."""
    kind, bracket, length = text.partition("[")
    if not bracket:
        return Member(name, kind)
    if not length.endswith("]") or not length[:-1].isdigit():
        raise ValueError(f'"{text}" is no type such as "float[3]"')
    return Member(name, kind, int(length[:-1]))


_OF_DTYPE = {"b1": "bool", "i1": "int8", "i2": "int16", "i4": "int32", "i8": "int64",
             "u1": "uint8", "u2": "uint16", "u4": "uint32", "u8": "uint64",
             "f4": "float", "f8": "double"}
_MATRICES = {"float": "flt4x4", "double": "dbl4x4"}


def _of_dtype(name: str, dtype: Any) -> Member:
    base, shape = dtype.base, dtype.shape
    if base.kind in "OSUT":
        kind = "string"
    else:
        kind = _OF_DTYPE.get(f"{base.kind}{base.itemsize}", "")
    if not kind:
        raise TypeError(f'"{name}": no type of member is known for {base}')
    if shape[-2:] == (4, 4) and kind in _MATRICES:
        kind, shape = _MATRICES[kind], shape[:-2]
    if len(shape) > 1:
        raise TypeError(f'"{name}": a member has one axis, or is made of 4x4 matrices, not {shape}')
    return Member(name, kind, shape[0] if shape else 1)


def _of_arrow(columns: list[tuple[str, str, Member | None, str]]) -> list[Member]:
    members = []
    for name, mark, member, shown in columns:
        if mark:
            continue  # holds indices
        if member is None:
            raise TypeError(f'"{name}": no type of member is known for {shown}')
        members.append(member)
    return members
