"""What Python adds to the library: walks over 100,000 objects, and 1,000 meshes read.

    PYTHONPATH=build/release/python python3 python/bench/overhead.py build/release/python/python_native
"""

from __future__ import annotations

import subprocess
import sys
import tempfile
import time
from pathlib import Path

import numpy as np

import jtw

WALKS = 5


def make_objects(path: Path, count: int) -> None:
    """A component with that many objects, a hundred in a block."""
    with jtw.new(path) as component:
        block = component.root
        for index in range(count - 1):
            if index % 100 == 0:
                block = component.add("block", name=f"Block {index}")
            else:
                block.add("entity", name=f"Part {index}")
        component.save()


def make_meshes(path: Path, count: int, rings: int = 24) -> None:
    """A component with that many parts, each a bent grid of its own."""
    u, v = np.meshgrid(np.arange(rings), np.arange(rings))
    corner = (v * rings + u)[:-1, :-1].ravel()
    quads = np.stack([corner, corner + 1, corner + rings + 1, corner + rings], axis=1)
    triangles = np.concatenate([quads[:, [0, 1, 2]], quads[:, [0, 2, 3]]])
    with jtw.new(path) as component:
        for index in range(count):
            height = np.sin(u * 0.3 + index) * 5
            positions = np.stack([u, 1.5 * v, height], axis=-1).reshape(-1, 3)
            component.add("entity", name=f"Part {index}").add_mesh(positions, triangles)
        component.save()


def python_figures(path: Path) -> dict[str, float]:
    """The seconds of the same work as in native.cpp."""
    figures = {}
    start = time.perf_counter()
    component = jtw.open(path)
    figures["open"] = time.perf_counter() - start
    start = time.perf_counter()
    for _ in range(WALKS):
        size = 0
        for node in component:
            size += (node.key or 0) + len(node.kind) + len(node.name)
    figures["walk"] = (time.perf_counter() - start) / WALKS
    start = time.perf_counter()
    positions = 0
    for node in component:
        if node.kind == "entity":
            for mesh in node.meshes():
                positions += len(mesh.positions)
    figures["meshes"] = time.perf_counter() - start
    return figures


def native_figures(program: str, path: Path) -> dict[str, float]:
    """The seconds that native.cpp prints."""
    run = subprocess.run([program, path, str(WALKS)], check=True, capture_output=True, text=True)
    return {words[0]: float(words[1]) for words in map(str.split, run.stdout.splitlines())}


def main() -> None:
    with tempfile.TemporaryDirectory() as folder:
        objects, meshes = Path(folder) / "objects.jt", Path(folder) / "meshes.jt"
        make_objects(objects, 100_000)
        make_meshes(meshes, 1_000)
        for path, wanted in ((objects, ("open", "walk")), (meshes, ("open", "meshes"))):
            native, python = native_figures(sys.argv[1], path), python_figures(path)
            for name in wanted:
                print(
                    f"{path.stem:8} {name:7} C++ {native[name] * 1000:8.1f} ms,"
                    f" Python {python[name] * 1000:8.1f} ms"
                )


if __name__ == "__main__":
    main()
