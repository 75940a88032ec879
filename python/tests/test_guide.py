# All code of the guide runs, from top to bottom.
# SPDX-License-Identifier: Apache-2.0
from __future__ import annotations

import re
import shutil
from pathlib import Path
from typing import Any

import pytest
from conftest import ROOT, SCENES


@pytest.mark.parametrize("page", ["docs/python.md", "python/README.md"])
def test_the_code_of_the_pages_runs(
    page: str, tmp_path: Path, monkeypatch: pytest.MonkeyPatch, capsys: pytest.CaptureFixture[str]
) -> None:
    pytest.importorskip("numpy")
    shutil.copy(SCENES / "teapot.kx", tmp_path / "shot.kx")
    monkeypatch.chdir(tmp_path)
    blocks = re.findall(r"^```python\n(.*?)^```$", (ROOT / page).read_text(), re.S | re.M)
    assert blocks
    names: dict[str, Any] = {"__name__": "guide"}
    for block in blocks:
        exec(compile(block, page, "exec", dont_inherit=True), names)
    assert 'index "lid", side' in capsys.readouterr().out
