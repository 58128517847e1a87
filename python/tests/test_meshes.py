"""Meshes as arrays, and the scene graph of files."""

from __future__ import annotations

import gc
from pathlib import Path

import numpy as np
import pytest

import jtw


def test_arrays_share_the_memory_of_the_mesh(wedges: Path) -> None:
    with jtw.open(wedges) as component:
        first, second = component["Finger"].meshes()
        again = component["Finger"].meshes()[0]
    del component
    gc.collect()
    # The file is closed; the arrays are not.
    assert (first.kind, len(first), first.part) == ("triangles", 4, "Finger")
    assert first.positions.dtype == np.float32 and first.triangles.dtype == np.int32
    corners = first.positions[first.triangles]
    volume = np.einsum("ij,ij->i", corners[:, 0], np.cross(corners[:, 1], corners[:, 2])).sum() / 6
    assert volume == pytest.approx(3 * 5 * 7 / 6)
    assert np.shares_memory(first.positions, again.positions)
    assert np.shares_memory(first.triangles, first.corners)
    assert not np.shares_memory(first.positions, second.positions)
    for array in (first.positions, first.triangles):
        assert not array.flags.writeable and not array.flags.owndata
        with pytest.raises(ValueError):
            array[...] = 0
    positions = first.positions
    del first, again
    gc.collect()
    assert positions.max() == 7


def test_meshes_that_are_wrong(wedges: Path) -> None:
    positions, triangles = [[0, 0, 0], [1, 0, 0], [0, 1, 0]], [[0, 1, 2]]
    with jtw.open(wedges) as component:
        with pytest.raises(IndexError, match="position 3 of 3"):
            component["Finger"].add_mesh(positions, [[0, 1, 3]])
        with pytest.raises(ValueError, match="three columns"):
            component["Finger"].add_mesh(positions, [0, 1, 2])
        with pytest.raises(jtw.Error, match="not to a block"):
            component["Arm"].add_mesh(positions, triangles)
        assert len(component["Finger"].meshes()) == 2 and component["Tip"].meshes() == []
        with pytest.raises(ZeroDivisionError), component.transaction():
            component["Finger"].add_mesh(positions, triangles)
            1 / 0
        assert len(component["Finger"].meshes()) == 2


def test_damaged_geometry(data: Path) -> None:
    """A shape whose segment is missing: the place is in the error."""
    with jtw.File(data / "zoo95.jt") as file:
        with pytest.raises(jtw.Error) as caught:
            file.root.meshes()
        assert caught.value.code == "dangling_segment"
        assert caught.value.file == str(data / "zoo95.jt") and caught.value.segment


@pytest.mark.parametrize("name", ["zoo81.jt", "zoo95.jt", "zoo100.jt", "zoo105.jt", "asm95.jt"])
def test_walk_of_real_files(data: Path, name: str) -> None:
    with jtw.File(data / name) as file:
        nodes = file.root.walk()
        assert len(set(nodes)) == len(nodes) > 1
        assert nodes[0] == file.root and nodes[0].type == "Partition Node"
        for node in nodes:
            assert node.type and isinstance(node.properties, dict)
            for child in node:
                assert node in child.parents
        for part in file.parts:
            assert part.state in ("read", "missing", "damaged", "outside")


def test_places_of_geometry(wedges: Path) -> None:
    with jtw.open(wedges) as component:
        cover = component["Cover"]
        (mesh,) = cover.meshes()
        (placed,) = (mesh for mesh in component.root.meshes() if mesh.part == "Cover")
        assert np.shares_memory(mesh.positions, placed.positions)
        points = np.c_[mesh.positions, np.ones(len(mesh.positions))] @ placed.placement.T
        bounds = cover.bounds
        assert bounds is not None
        np.testing.assert_allclose(points[:, :3].min(axis=0), bounds[0], atol=1e-4)
        np.testing.assert_allclose(points[:, :3].max(axis=0), bounds[1], atol=1e-4)
        np.testing.assert_allclose(bounds, [[60, 0, 50], [100, 30, 110]], atol=1e-4)
        assert mesh.color is not None and round(mesh.color[1] * 255) == 128
        parts = component.inspect(sort="triangles,desc")
        assert [(part.node.name, part.triangles) for part in parts] == [("Finger", 8), ("Cover", 4)]


def test_copy_of_a_file(data: Path, tmp_path: Path) -> None:
    with jtw.File(data / "zoo95.jt") as file:
        assert file.version == "9.5"
        same = file.save(tmp_path / "same.jt")
        assert {segment.action for segment in same.segments} == {"copied"}
        file.save(tmp_path / "new.jt", version="10.0")
        types = [node.type for node in file.root.walk()]
    with jtw.File(tmp_path / "new.jt") as file:
        assert file.version == "10.0"
        assert [node.type for node in file.root.walk()] == types
