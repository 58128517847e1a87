"""The types of the module: they fit what is compiled, and the tests and examples fit them."""

from __future__ import annotations

import os
import subprocess
import sys
from pathlib import Path

import pytest

import jtw

HERE = Path(__file__).resolve().parent
PACKAGE = Path(jtw.__file__).resolve().parent

pytestmark = pytest.mark.skipif(
    "asan" in os.environ.get("LD_PRELOAD", ""), reason="runs in the release build"
)


def check(tmp_path: Path, *command: str) -> None:
    pytest.importorskip("mypy")
    root = str(PACKAGE.parent)
    environment = {**os.environ, "MYPYPATH": root, "PYTHONPATH": root}
    run = subprocess.run(
        [sys.executable, "-m", *command],
        capture_output=True,
        text=True,
        cwd=tmp_path,
        env=environment,
    )
    assert run.returncode == 0, run.stdout + run.stderr


def test_tests_and_examples_fit_the_types(tmp_path: Path) -> None:
    folders = [str(HERE), str(HERE.parent / "examples")]
    check(tmp_path, "mypy", "--config-file", str(HERE.parent / "mypy.ini"), *folders)


def test_types_fit_the_module(tmp_path: Path) -> None:
    check(tmp_path, "mypy.stubtest", "--allowlist", str(HERE / "stubtest.txt"), "jtw._jtw")
