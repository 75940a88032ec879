# Merges that cannot be made.
# SPDX-License-Identifier: Apache-2.0
from __future__ import annotations

from collections.abc import Sequence
from dataclasses import dataclass
from typing import TYPE_CHECKING

from ._errors import Finding, RefusedError

if TYPE_CHECKING:
    from ._native import Difference


@dataclass(frozen=True)
class MergeConflict:
    """Two changes that exclude each other.

    `ours` and `theirs` say what each side made of `before`, the value of the common ancestor. One
    of both may be about a part of what the other is about. They are None where the conflict is
    about all that is no metadata, or about a structure that one side changed and the other put to
    use. `message` is what `quilmeta merge` prints.
    """

    message: str
    ours: Difference | None
    theirs: Difference | None


class MergeError(RefusedError):
    """Both sides changed the same, each in another way; nothing was written."""

    conflicts: tuple[MergeConflict, ...]

    def __init__(
        self,
        message: str,
        findings: Sequence[Finding] = (),
        conflicts: Sequence[MergeConflict] = (),
    ) -> None:
        super().__init__(message, findings)
        self.conflicts = tuple(conflicts)

    def __reduce__(self) -> tuple[object, ...]:
        return type(self), (str(self), self.findings, self.conflicts)
