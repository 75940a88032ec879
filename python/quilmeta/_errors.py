# What goes wrong, and what is found in a file.
# SPDX-License-Identifier: Apache-2.0
"""The exceptions of quilmeta, its warning, and the findings that they carry."""

from __future__ import annotations

from collections.abc import Sequence
from dataclasses import dataclass


@dataclass(frozen=True)
class Finding:
    """What a read, a write or a check found. What is not known is None.

    `code` is a word such as "text-unreadable", which docs/check.md explains.
    `node` is "" for the scene's own metadata, `index` the text of an index.
    """

    code: str
    message: str
    file: str | None = None
    line: int | None = None
    offset: int | None = None
    node: str | None = None
    channel: str | None = None
    stream: str | None = None
    index: str | None = None
    member: str | None = None
    structure: str | None = None

    def __str__(self) -> str:
        place = f"line {self.line}: " if self.line is not None else ""
        return f"{place}{self.code}: {self.message}"


class QuilError(Exception):
    """Something about a scene went wrong; `findings` says what and where."""

    findings: tuple[Finding, ...]

    def __init__(self, message: str, findings: Sequence[Finding] = ()) -> None:
        super().__init__(message)
        self.findings = tuple(findings)

    def __reduce__(self) -> tuple[object, ...]:
        return type(self), (str(self), self.findings)


class NotASceneError(QuilError):
    """The file is no scene of a kind that is known."""


class ConflictError(QuilError):
    """Somebody else has written the metadata since it was read; the file is as they left it."""


class BusyError(QuilError):
    """Another program, or another thread, has the scene in use for longer than one waits."""


class RefusedError(QuilError):
    """The change is not made: the file, or the model, is as it was."""


class ReadOnlyError(RefusedError):
    """The scene was opened to be read only, or is closed."""


class StaleError(QuilError):
    """What this object stood for has been removed, or replaced."""


class ExpressionError(QuilError, ValueError):
    """A condition that cannot be understood; the message shows where, by a caret."""


class DocumentError(QuilError, ValueError):
    """A patch or a document is wrong; findings have the lines, and messages begin with the path."""


class UnknownNameError(KeyError):
    """There is nothing of that name; `suggestion` is the name that was perhaps meant, or None."""

    def __init__(self, message: str, name: str, suggestion: str | None = None) -> None:
        super().__init__(message)
        self.name = name
        self.suggestion = suggestion

    def __str__(self) -> str:
        return str(self.args[0])

    def __reduce__(self) -> tuple[object, ...]:
        return type(self), (self.args[0], self.name, self.suggestion)


class QuilWarning(UserWarning):
    """Something is remarkable, such as metadata that cannot be read and is kept as it is."""
