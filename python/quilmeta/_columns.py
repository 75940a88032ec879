# Columns as NumPy's arrays, where NumPy is there.
# SPDX-License-Identifier: Apache-2.0
"""What becomes of the memory of a column. NumPy is imported with the first column."""

from __future__ import annotations

from collections.abc import Iterable
from typing import Any

_numpy: Any = None
_is_missing = False


def numpy_or_none() -> Any:
    global _numpy, _is_missing
    if _numpy is None and not _is_missing:
        try:
            import numpy
        except ImportError:
            _is_missing = True
        else:
            _numpy = numpy
    return _numpy


def array_of(buffer: Any) -> Any:
    """A view of the buffer, which knows how long it is in use."""
    numpy = numpy_or_none()
    return memoryview(buffer) if numpy is None else numpy.asarray(buffer)


def empty_texts(count: int) -> Any:
    """An array for texts, or None where there is no NumPy."""
    numpy = numpy_or_none()
    return None if numpy is None else numpy.empty(count, dtype=object)


def read_only(array: Any) -> Any:
    array.flags.writeable = False
    return array


def texts_of(texts: list[Any]) -> Any:
    numpy = numpy_or_none()
    if numpy is None:
        return tuple(texts)
    array = numpy.empty(len(texts), dtype=object)
    array[:] = texts
    return read_only(array)


def values_for(name: str, values: Any, format: str, shape: tuple[int, ...]) -> Any:
    """An array of exactly this type and shape, or None where there is no NumPy.

    One value serves all elements. Nothing is lost silently: floats are no integers, and integers
    out of range are refused.
    """
    numpy = numpy_or_none()
    if numpy is None:
        return None
    wanted = numpy.dtype(format)
    given = numpy.asarray(values)
    if given.dtype == object:
        raise TypeError(f'"{name}": values of many types do not fit {wanted}')
    if given.size and not _fits(numpy, given, wanted):
        raise TypeError(f'"{name}": values of type {given.dtype} do not fit {wanted}')
    if wanted.kind in "iu" and given.size and given.dtype != wanted:
        limits = numpy.iinfo(wanted)
        low, high = int(given.min()), int(given.max())
        if low < limits.min or high > limits.max:
            odd = low if low < limits.min else high
            raise OverflowError(f'"{name}": {odd} is out of range for {wanted}')
    try:
        given = numpy.broadcast_to(given, shape)
    except ValueError:
        raise ValueError(f'"{name}": an array of {given.shape} does not fit {shape}') from None
    with numpy.errstate(over="ignore"):
        fitted = numpy.array(given, dtype=wanted, order="C")
    if wanted.kind == "f" and (numpy.isinf(fitted) & ~numpy.isinf(given)).any():
        raise OverflowError(f'"{name}": a value is out of range for {wanted}')
    return fitted


def _fits(numpy: Any, given: Any, wanted: Any) -> bool:
    if wanted.kind == "b" or given.dtype.kind == "b":
        return bool(given.dtype.kind == "b" and wanted.kind in "biu")
    if wanted.kind in "iu":
        return given.dtype.kind in "iu"
    return given.dtype.kind in "iuf"


def items_of(values: Any, length: int, count: int) -> Iterable[Any]:
    """As many values as there are elements: those that are given, or one for all."""
    is_one = values is None or isinstance(values, (str, bytes)) or not hasattr(values, "__iter__")
    if is_one:
        return [values] * count
    items = list(values)
    if length > 1 and len(items) == length and not any(_is_list(item) for item in items):
        return [items] * count
    return items


def _is_list(item: object) -> bool:
    return hasattr(item, "__iter__") and not isinstance(item, (str, bytes))
