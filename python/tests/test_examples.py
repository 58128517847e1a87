"""The example runs as it is, and does what it says."""

from __future__ import annotations

import os
import runpy
import sys
from pathlib import Path

import pytest

import jtw

EXAMPLES = Path(__file__).resolve().parents[1] / "examples"
ENGINE = Path(
    "/usr/share/assimp/models/glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb"
)


@pytest.mark.skipif("asan" in os.environ.get("LD_PRELOAD", ""), reason="draws for too long")
def test_engine_report(
    tmp_path: Path, monkeypatch: pytest.MonkeyPatch, capsys: pytest.CaptureFixture[str]
) -> None:
    if not ENGINE.exists():
        pytest.skip("the model is not installed")
    monkeypatch.setattr(sys, "argv", ["engine_report.py", str(ENGINE), str(tmp_path)])
    runpy.run_path(str(EXAMPLES / "engine_report.py"), run_name="__main__")
    output = capsys.readouterr().out
    assert "1. /engine/" in output and "same afterwards: True" in output
    with jtw.open(tmp_path / "engine.kpak") as engine:
        heaviest = engine.select("kind=frame and name='Heavy *'")
        assert [frame.name for frame in heaviest] == ["Heavy 1", "Heavy 2", "Heavy 3"]
        weights = [float(n.attributes[5:]) for n in engine if n.attributes.startswith("mass=")]
        assert len(weights) > 30
        (red,) = {n for n in engine if n.attributes == f"mass={max(weights):.6g}"}
        assert red.color is not None and red.color[0] > 0.99 and red.color[2] < 0.01
    assert (tmp_path / "masses.png").read_bytes()[:4] == b"\x89PNG"
    for name in ("triangles.ppm", "masses.ppm"):
        header, size, _ = (tmp_path / name).read_bytes().split(b" ", 2)
        assert header == b"P6" and int(size) == 12 * len(weights)
