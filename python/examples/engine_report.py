"""A part list of a model, as a notebook would make it.

    engine_report.py MODEL FOLDER

Turns a mesh file into a component, plots the sizes of its parts, colors them by mass, marks the
heaviest ones with frames, saves, and compares the result with what there was.
"""

from __future__ import annotations

import sys
from pathlib import Path
from typing import Any

import numpy as np
import numpy.typing as npt

import jtw

STEEL = 7.85e-6  # kilograms in a cubic millimetre


# %% How large is a part?


def volume(mesh: jtw.Mesh, millimetres: float) -> float:
    """Volume within a closed mesh, in cubic millimetres: the sum of tetrahedra to the origin."""
    if mesh.kind != "triangles":
        return 0.0
    corners = mesh.positions.astype(np.float64)[mesh.triangles] * millimetres
    a, b, c = corners[:, 0], corners[:, 1], corners[:, 2]
    inside = float(np.einsum("ij,ij->", a, np.cross(b, c))) / 6
    return abs(inside * float(np.linalg.det(mesh.placement[:3, :3])))


def mass(node: jtw.Node) -> float:
    """Mass of an entity if it were of steel, in kilograms."""
    return STEEL * sum(volume(mesh, node.unit_ratio or 1.0) for mesh in node.meshes())


# %% Pictures of numbers


def bars(values: npt.NDArray[Any], height: int = 160, width: int = 12) -> npt.NDArray[np.uint8]:
    """A bar for each value, the greatest first: an image that needs no plotting library."""
    share = np.sort(values)[::-1] / values.max()
    rows = height - np.arange(height)[:, None]
    filled = np.repeat(rows <= share[None, :] * height, width, axis=1)
    filled[:, ::width] = False
    image = np.full((*filled.shape, 3), 255, np.uint8)
    image[filled] = (48, 80, 160)
    return image


def show(image: npt.NDArray[np.uint8], path: Path) -> None:
    """Writes an image as a PPM file, which every viewer of pictures reads."""
    height, width, _ = image.shape
    path.write_bytes(b"P6 %d %d 255\n" % (width, height) + image.tobytes())


def heat(share: float) -> tuple[float, float, float]:
    """From blue for light to red for heavy."""
    return (share, 0.2, 1 - share)


# %% The report


def report(model: Path, folder: Path) -> None:
    """Makes the component, its pictures and the list of its parts."""
    document = folder / "engine.kpak"
    jtw.convert(model, document, unit="mm")
    with jtw.open(document) as engine:
        parts = engine.inspect(sort="triangles,desc")
        triangles = np.array([part.triangles or 0 for part in parts])
        show(bars(triangles), folder / "triangles.ppm")

        masses = {part.node: mass(part.node) for part in parts}
        heaviest = max(masses.values())
        with engine.transaction():
            for node, weight in masses.items():
                node.set(color=heat(weight / heaviest), attributes=f"mass={weight:.6g}")
        show(bars(np.array(list(masses.values()))), folder / "masses.ppm")
        jtw.snapshot(engine, size=(640, 480), edges=30).save(folder / "masses.png")

        ranking = sorted(masses, key=lambda node: -masses[node])[:3]
        for rank, node in enumerate(ranking, 1):
            bounds = node.bounds
            assert bounds is not None
            place = bounds.mean(axis=0)
            engine.add("frame", name=f"Heavy {rank}", placement=place, color="red")
            print(f"{rank}. {node.path}: {masses[node]:.3g} kg, {len(node.meshes())} meshes")

        before = jtw.diff(document, engine)
        print(f"{before.count} differences before the save: {sorted({d.kind for d in before})}")
        saved = engine.save()
        print(f"saved {Path(saved.file).name}, {saved.bytes} bytes")
        print(f"same afterwards: {jtw.diff(document, engine).same}")


if __name__ == "__main__":
    report(Path(sys.argv[1]), Path(sys.argv[2]))
