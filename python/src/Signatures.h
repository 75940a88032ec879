// Parts of signatures that many functions have. Texts, because literals are joined in place.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#define QUILMETA_PATH "str | bytes | os.PathLike[str] | os.PathLike[bytes]"
#define QUILMETA_PATTERNS "str | collections.abc.Iterable[str] | None = None"
#define QUILMETA_SELECTION                                                                    \
    "node: " QUILMETA_PATTERNS ", channel: " QUILMETA_PATTERNS ", stream: " QUILMETA_PATTERNS \
    ", fixed: bool = False"
#define QUILMETA_PATCH "Differences | dict[str, typing.Any] | " QUILMETA_PATH
#define QUILMETA_PATHS QUILMETA_PATH " | collections.abc.Iterable[" QUILMETA_PATH "]"
