# Dicts as JSON documents.
# SPDX-License-Identifier: Apache-2.0
from __future__ import annotations

import base64
import json
from typing import Any


def dumped(document: Any) -> str:
    """The JSON of a dict. Texts that are no UTF-8 are carried as `export` carries them."""
    text = json.dumps(document, allow_nan=False)
    return json.dumps(_carried(document)) if "\\ud" in text else text


def _carried(value: Any) -> Any:
    if isinstance(value, dict):
        return {key: _carried(item) for key, item in value.items()}
    if isinstance(value, (list, tuple)):
        return [_carried(item) for item in value]
    if not isinstance(value, str) or not any("\ud800" <= char <= "\udfff" for char in value):
        return value
    data = value.encode("utf-8", "surrogateescape")
    return {"base64": base64.b64encode(data).decode("ascii")}
