# Types of indices that are neither numbers, nor pairs, nor strings.
# SPDX-License-Identifier: Apache-2.0
"""Indices of types that plug-ins of the library define, and what Python makes of them."""

from __future__ import annotations

from collections.abc import Callable, Hashable
from dataclasses import dataclass
from typing import Any, TypeVar


@dataclass(frozen=True, order=True)
class OtherIndex:
    """An index of a type that nobody registered: the name of the type, and its text."""

    type: str
    text: str


_Key = TypeVar("_Key", bound=Hashable)
_by_name: dict[str, tuple[Callable[[str], Hashable], type]] = {}
_by_class: dict[type, tuple[str, Callable[[Any], str]]] = {}


def register_index_type(
    name: str, of: type[_Key], parse: Callable[[str], _Key], format: Callable[[_Key], str] = str
) -> None:
    """Makes indices of the type `name` objects of the class `of`.

    `parse` makes one of the text that files have, and `format` gives that text.
    """
    if name in ("numeric", "pair", "string") or of in (int, bool, str, bytes, tuple):
        raise ValueError(f"{name} and {of.__name__} have their meaning already")
    if name in _by_name or of in _by_class:
        raise ValueError(f"{name} or {of.__name__} is registered already")
    _by_name[name] = (parse, of)
    _by_class[of] = (name, format)


def unregister_index_type(name: str) -> None:
    """Takes back what `register_index_type` has done."""
    if name not in _by_name:
        raise KeyError(name)
    del _by_class[_by_name.pop(name)[1]]


def parts_of(key: object) -> tuple[str, str]:
    if isinstance(key, OtherIndex):
        return key.type, key.text
    if type(key) not in _by_class:
        raise TypeError(f"{type(key).__name__} is no type of index")
    name, format = _by_class[type(key)]
    return name, format(key)


def index_of(name: str, text: str) -> Hashable:
    if name in _by_name:
        return _by_name[name][0](text)
    return OtherIndex(name, text)
