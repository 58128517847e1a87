"""Comparing, merging, verifying, converting and drawing whole files."""

from __future__ import annotations

import shutil
from pathlib import Path

import numpy as np
import pytest

import jtw

GEAR = Path(__file__).resolve().parents[2] / "examples" / "gear.obj"


def copy_of(cell: Path, name: str) -> Path:
    return Path(shutil.copytree(cell, cell.parent / name))


def test_diff(cell: Path) -> None:
    other = copy_of(cell, "other.kpak")
    assert jtw.diff(cell, other).same
    with jtw.open(other) as component:
        component["Finger"].remove()
        component["Arm"].placement = [100, 0, 50.0004, 0, 0, 90]
        component["Tip"].name = "Point"  # frames count before they are saved
        found = jtw.diff(cell, component, tolerance=0.001)
        assert not found.same and found.count == len(found) == len(list(found))
        kinds = [(d.kind, d.key) for d in found]
        assert ("node", "5") in kinds and "attribute" not in {d.kind for d in found}
        exact = jtw.diff(cell, component)
        assert exact.count > found.count
        (moved,) = [d.moved for d in exact if d.moved]
        np.testing.assert_allclose(moved[0], [0, 0, 0.0004], atol=1e-5)
        assert jtw.diff(jtw.File(cell / "cell.jt"), component, ignore=["node", "property"]).count
        assert len(jtw.diff(cell, component, limit=1).differences) == 1
    with pytest.raises(jtw.Error, match="did you mean 'node'"):
        jtw.diff(cell, other, ignore=["nod"])


def test_patches(cell: Path) -> None:
    other = copy_of(cell, "other.kpak")
    with jtw.open(other) as component:
        component["Arm"].set(name="Boom", color="#102030")
        component["Finger"].remove()
        component.add("block", key=9, parent="Boom", name="Plate")
        cover = component["Cover"]
        patch = jtw.patch(cell, component)
        assert cover.name == "Cover"  # trying the patch out has moved nothing
        component.save()
    text = patch.to_json()
    assert [c.at for c in jtw.Patch.from_json(text)] == [c.at for c in patch]
    assert ("3", "Arm", "Boom") in [(c.at, c.before, c.after) for c in patch]
    with jtw.open(cell) as component:
        component["Arm"].name = "Beam"
        with pytest.raises(jtw.Error) as caught:
            component.apply(patch)
        assert caught.value.code == "patch_does_not_fit" and component["Beam"].key == 3
        result = component.apply(patch, force=True)
        assert result.applied == len(patch) - 1 and len(result.misfits) == 1
        assert result.misfits[0][0].name == "name" and component["Plate"].parent == component[3]
    with jtw.open(cell) as component:
        assert component.apply(jtw.Patch.from_json(text)).misfits == []
        assert jtw.diff(component, other).same
    with pytest.raises(jtw.Error) as caught:
        jtw.Patch.from_json(text.replace("jtw.patch/1", "jtw.patch/9"))
    with jtw.open(other) as component:
        component["Cover"].add_mesh([[0, 0, 0], [3, 0, 0], [0, 5, 0]], [[0, 1, 2]])
        with pytest.raises(jtw.Error) as caught:
            jtw.patch(cell, component)
        assert caught.value.code == "not_in_patch"
        assert len(jtw.patch(cell, component, partial=True)) == len(patch)


def test_merge(cell: Path) -> None:
    ours, theirs = copy_of(cell, "ours.kpak"), copy_of(cell, "theirs.kpak")
    with jtw.open(ours) as component:
        component["Arm"].name = "Boom"
        component["Base"].attributes = "ours"
        component.save()
    with jtw.open(theirs) as component:
        component["Finger"].placement = [7, 11, 13]
        component["Base"].attributes = "theirs"
        component.save()
    output = cell.parent / "merged.jt"
    merge = jtw.merge(cell, ours, theirs, output)
    (conflict,) = merge.conflicts
    assert (conflict.at, conflict.name) == ("2", "attributes")
    assert (conflict.base, conflict.ours, conflict.theirs) == ("fixed", "ours", "theirs")
    assert merge.saved is None and not output.exists()
    merge = jtw.merge(cell, ours, theirs, output, side="theirs")
    assert merge.saved is not None
    assert ("ours", "3", "name") in [(side, c.at, c.name) for side, c in merge.taken]
    with jtw.open(output) as component:
        assert component[3].name == "Boom" and component["Base"].attributes == "theirs"
        np.testing.assert_allclose(component["Finger"].placement[:3, 3], [7, 11, 13])


def test_verify(cell: Path, data: Path, tmp_path: Path) -> None:
    assert jtw.verify(cell) and jtw.verify(cell).findings == []
    verdict = jtw.verify(data / "zoo95.jt")
    assert verdict.findings and all(finding.code for finding in verdict.findings)
    content = bytearray((data / "tiny95.jt").read_bytes())
    content[len(content) // 2] ^= 0xFF
    (tmp_path / "bent.jt").write_bytes(content)
    verdict = jtw.verify(tmp_path / "bent.jt")
    assert not verdict.sound and any(finding.is_error for finding in verdict.findings)
    (part,) = jtw.verify(data / "asm95.jt").parts
    assert part.sound and part.part.state == "read"
    (missing,) = jtw.verify(shutil.copy(data / "asm95.jt", tmp_path)).parts
    assert not missing.sound and missing.part.state == "missing"
    with pytest.raises(jtw.Error) as caught:
        jtw.verify(tmp_path / "nowhere.jt")
    assert caught.value.code == "not_found"


def test_convert(tmp_path: Path) -> None:
    made = jtw.convert(GEAR, tmp_path / "gear.kpak", version="9.5", unit="cm")
    assert made.saved is not None and made.saved.version == "9.5"
    with jtw.open(tmp_path / "gear.kpak") as component:
        (part,) = component.inspect()
        assert (part.triangles, part.unit) == (made.triangles, "Centimeters")
        (mesh,) = part.node.meshes()
        part.node.add_mesh([[0, 0, 0], [3, 0, 0], [0, 5, 0]], [[0, 1, 2]])
        assert component.export(tmp_path / "more.stl").triangles == made.triangles + 1
    for name in ("gear.glb", "gear.obj", "gear.ply", "gear.stl"):
        out = jtw.convert(tmp_path / "gear.kpak", tmp_path / name)
        assert out.files[0] == str(tmp_path / name) and out.triangles == made.triangles
        again = jtw.convert(tmp_path / name, tmp_path / "again.jt")
        assert again.triangles == made.triangles
        with jtw.open(tmp_path / "again.jt") as component:
            ratio = component.root.unit_ratio or 0
            size = np.ptp(component.root.meshes()[0].positions, axis=0) * ratio
            expected = np.ptp(mesh.positions, axis=0) * 10
            np.testing.assert_allclose(np.sort(size), np.sort(expected), rtol=1e-4)
    copy = jtw.convert(tmp_path / "gear.kpak", tmp_path / "gear.jt", version="10.2")
    assert copy.saved is not None and copy.saved.version == "10.2"
    for target, code in (("gear.xyz", "unknown_format"), ("gear.kpak/none/gear.stl", "unwritable")):
        with pytest.raises(jtw.Error) as caught:
            jtw.convert(GEAR, tmp_path / target)
        assert caught.value.code == code


def test_snapshot(wedges: Path, tmp_path: Path) -> None:
    with jtw.open(wedges) as component:
        whole = jtw.snapshot(component, size=(160, 90))
        assert (whole.width, whole.height) == (160, 90) and whole.pixels.shape == (90, 160, 4)
        assert (whole.shapes, whole.triangles, whole.damaged) == (3, 12, [])
        cover = jtw.snapshot(component["Cover"], size=(160, 90), background="none")
        assert cover.triangles == 4
        assert cover.pixels[0, 0, 3] == 0 and 0 < cover.pixels[..., 3].max()
        component["Finger"].displayed = False
        assert jtw.snapshot(component, edges=30, perspective=30).triangles == 4
        cut = jtw.snapshot(component, view=(0, 1, 0), section=((0, 0, 60), (0, 0, 1)), explode=0.5)
        assert cut.triangles == 4
    assert whole._repr_png_()[:8] == b"\x89PNG\r\n\x1a\n"
    whole.save(tmp_path / "whole.png")
    assert (tmp_path / "whole.png").read_bytes() == whole._repr_png_()
    whole.save(tmp_path / "whole.jpg")
    assert (tmp_path / "whole.jpg").read_bytes()[:2] == b"\xff\xd8"
    pixels = whole.pixels
    del whole
    assert (pixels[..., :3] < 255).any()
    wrong = [{"view": "sideways"}, {"view": (0, 0, 0)}, {"size": (0, 5)}, {"background": "mauvish"}]
    for options in wrong:
        with pytest.raises(jtw.Error) as caught:
            jtw.snapshot(wedges, **options)  # type: ignore[arg-type]
        assert caught.value.code == "usage"
