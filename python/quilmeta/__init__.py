# The package that pipelines import.
# SPDX-License-Identifier: Apache-2.0
"""Reads and rewrites the typed metadata of scene files, without the application.

    import quilmeta as qm

    with qm.open("shot.kx", "r+") as scene:
        pose = scene["rig"]["joints"]["bind pose"]
        pose.loc["lid"]["side"] = -1
"""

from collections.abc import Mapping as _Mapping

from ._native import (
    Channel,
    Difference,
    Differences,
    Element,
    Found,
    Node,
    Scene,
    Selection,
    Stream,
    Structure,
    _version,
    check,
    diff,
    edit,
    export,
    find,
    import_,
    loads,
    merge,
    open,
    patch,
    recover,
)

TYPE_CHECKING = False
if TYPE_CHECKING:
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
    from ._recovery import Recovery
    from ._structures import Member, structure_of

# What is in Python is imported when it is first asked for, so that importing the package takes
# little more than loading the library.
_MODULES = {
    "_errors": ("BusyError", "ConflictError", "DocumentError", "ExpressionError", "Finding",
                "NotASceneError", "QuilError", "QuilWarning", "ReadOnlyError", "RefusedError",
                "StaleError", "UnknownNameError"),
    "_indices": ("OtherIndex", "register_index_type", "unregister_index_type"),
    "_many": ("read_many",),
    "_merging": ("MergeConflict", "MergeError"),
    "_recovery": ("Recovery",),
    "_structures": ("Member", "structure_of"),
}


def __getattr__(name: str) -> object:
    from importlib import import_module

    for module, names in _MODULES.items():
        if name in names:
            value = globals()[name] = getattr(import_module(f"{__name__}.{module}"), name)
            return value
    raise AttributeError(f"module {__name__!r} has no attribute {name!r}")


def __dir__() -> list[str]:
    return __all__


__version__ = _version()

for _class in (Scene, Node, Channel, Element, Structure):
    _Mapping.register(_class)


def cmake_dir() -> str:
    """The folder that CMake finds the C++ library by: -DMetaData_DIR=..."""
    from pathlib import Path

    return str(Path(__file__).parent / "lib" / "cmake" / "MetaData")


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
    "Found",
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
    "edit",
    "export",
    "find",
    "import_",
    "loads",
    "merge",
    "open",
    "patch",
    "read_many",
    "recover",
    "register_index_type",
    "structure_of",
    "unregister_index_type",
]
