"""Components that the tests open: made anew for each, so that a test may change them."""

from __future__ import annotations

from pathlib import Path
from typing import Any

import numpy as np
import numpy.typing as npt
import pytest

import jtw

Array = npt.NDArray[Any]
DATA = Path(__file__).resolve().parents[2] / "tests" / "data"


def make_cell(path: Path) -> None:
    """A small robot cell: a link with an arm, a cover, a finger and a frame."""
    with jtw.new(path) as cell:
        base = cell.add("link", key=2, name="Base", attributes="fixed")
        arm = base.add("block", key=3, name="Arm", placement=[100, 0, 50, 0, 0, 90])
        arm.add("entity", key=4, name="Cover", color=(1, 0.5, 0, 0.4), unique_id="cover-1")
        base.add("entity", key=5, name="Finger", placement=[20, 0, 0])
        base.add("frame", key=6, name="Tip", placement=[0, 0, 80], color="lime")
        cell.save()


@pytest.fixture
def cell(tmp_path: Path) -> Path:
    """Path of a component folder with a robot cell."""
    path = tmp_path / "cell.kpak"
    make_cell(path)
    return path


def wedge(width: float, depth: float, height: float) -> tuple[Array, Array]:
    """A tetrahedron with three edges along the axes: positions and triangles."""
    positions = np.array([[0, 0, 0], [width, 0, 0], [0, depth, 0], [0, 0, height]])
    return positions, np.array([[0, 2, 1], [0, 1, 3], [1, 2, 3], [2, 0, 3]])


@pytest.fixture
def wedges(cell: Path) -> Path:
    """The cell with geometry: the cover has one tetrahedron, the finger two."""
    with jtw.open(cell) as component:
        component["Cover"].add_mesh(*wedge(30, 40, 60))
        component["Finger"].add_mesh(*wedge(3, 5, 7))
        component["Finger"].add_mesh(*wedge(-11, 13, -17))
        component.save()
    return cell


@pytest.fixture
def data() -> Path:
    """Folder of the sample files."""
    return DATA
