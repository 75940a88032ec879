# The package that pipelines import.
# SPDX-License-Identifier: Apache-2.0
"""Reads and rewrites the typed metadata of scene files, without the application.

    import quilmeta as qm

    with qm.open("shot.kx", "r+") as scene:
        pose = scene["rig"]["joints"]["bind pose"]
        pose.loc["lid"]["side"] = -1
"""

from collections.abc import Mapping as _Mapping
from pathlib import Path as _Path

from ._errors import (
    BusyError,
    ConflictError,
    DocumentError,
    ExpressionError,
    Finding,
    NotASceneError,
    QuilError,
    QuilWarning,
    ReadOnlyError,
    RefusedError,
    StaleError,
    UnknownNameError,
)
from ._indices import OtherIndex, register_index_type, unregister_index_type
from ._many import read_many
from ._merging import MergeConflict, MergeError
from ._native import (
    Channel,
    Difference,
    Differences,
    Element,
    Node,
    Scene,
    Selection,
    Stream,
    Structure,
    _version,
    check,
    diff,
    loads,
    merge,
    open,
    recover,
)
from ._recovery import Recovery
from ._structures import Member, structure_of


__version__ = _version()

for _class in (Scene, Node, Channel, Element, Structure):
    _Mapping.register(_class)


def cmake_dir() -> str:
    """The folder that CMake finds the C++ library by: -DMetaData_DIR=..."""
    return str(_Path(__file__).parent / "lib" / "cmake" / "MetaData")


__all__ = [
    "BusyError",
    "Channel",
    "ConflictError",
    "Difference",
    "Differences",
    "DocumentError",
    "Element",
    "ExpressionError",
    "Finding",
    "Member",
    "MergeConflict",
    "MergeError",
    "Node",
    "NotASceneError",
    "OtherIndex",
    "QuilError",
    "QuilWarning",
    "ReadOnlyError",
    "Recovery",
    "RefusedError",
    "Scene",
    "Selection",
    "StaleError",
    "Stream",
    "Structure",
    "UnknownNameError",
    "__version__",
    "check",
    "cmake_dir",
    "diff",
    "loads",
    "merge",
    "open",
    "read_many",
    "recover",
    "register_index_type",
    "structure_of",
    "unregister_index_type",
]
