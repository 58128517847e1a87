"""Components: values, edits, transactions, lifetimes, errors."""

from __future__ import annotations

import gc
import shutil
import threading
from pathlib import Path
from typing import Any, Callable

import numpy as np
import pytest

import jtw


def names(component: jtw.Component) -> list[str]:
    return [node.name for node in component]


def test_values_arrive_and_are_saved(cell: Path) -> None:
    turn = np.array([[0.0, -1, 0, 7], [1, 0, 0, 11], [0, 0, 1, 13], [0, 0, 0, 1]])
    with jtw.open(cell) as component:
        arm = component[3]
        arm.set(name="Ärmel", placement=turn, unit="in")
        arm.attributes = "grip=2"
        arm["SUPPLIER"] = "Nordwerk"
        arm["LOT"] = -70000
        arm["MASS"] = 2.5
        cover = component["Cover"]
        cover.displayed = False
        cover.attached_to = component[5]
        cover.color = "#204060"
        component.buffers["kin"] = b"\x00\x01kin"
        component.save()
    with jtw.open(cell) as component:
        arm = component[3]
        assert (arm.name, arm.unit, arm.attributes) == ("Ärmel", "Inches", "grip=2")
        assert arm.unit_ratio == pytest.approx(25.4)
        np.testing.assert_allclose(arm.placement, turn, atol=1e-5)
        assert (arm["SUPPLIER"], arm["LOT"], arm["MASS"]) == ("Nordwerk", -70000, 2.5)
        assert "LOT" in arm and "OTHER" not in arm
        cover = component["Cover"]
        assert cover.displayed is False and cover.attached_to == component[5]
        assert cover.color is not None
        assert [round(255 * x) for x in cover.color] == [0x20, 0x40, 0x60, 255]
        assert (cover.unique_id, cover.rel_string_id) == ("cover-1", None)
        assert component["Tip"].world_placement[2, 3] == 80
        assert dict(component.buffers) == {"kin": b"\x00\x01kin"}
        del component.buffers["kin"]
        assert "kin" not in component.buffers
        del arm["LOT"]
        assert "LOT" not in arm.properties


def test_tree(cell: Path) -> None:
    with jtw.open(cell) as component:
        arm = component["/cell/Base/Arm"]
        assert arm.parent == component[2] and arm.parent != arm
        assert [node.key for node in component[2]] == [3, 5, 6]
        assert [node.key for node in arm.walk()] == [3, 4]
        assert component[2].frames == [component[6]]
        assert component.root.parent is None and component.root.key == 1
        assert len({node for node in component} | set(component[2].walk())) == 6
        assert component.get("Nobody") is None and 99 not in component and "Arm" in component


def test_edits(cell: Path) -> None:
    with jtw.open(cell) as component:
        finger = component["Finger"]
        before = finger.world_placement
        finger.move(component[3], keep_place=True)
        np.testing.assert_allclose(finger.world_placement, before, atol=1e-5)
        assert finger.parent == component[3]
        component.move([finger], "Base")
        assert finger.parent == component[2]
        copy = finger.clone(name="Second", placement=[-20, 0, 0])
        assert (copy.key, copy.parent, copy.placement[0, 3]) == (7, component[2], -20)
        assert sorted(component.remove(["Arm", copy])) == [3, 4, 7]
        assert names(component) == ["cell", "Base", "Finger", "Tip"]
        # What is wrong leaves nothing behind.
        with pytest.raises(jtw.Error, match="color is 'mauvish'"):
            component.add("block", name="Half", color="mauvish")
        with pytest.raises(jtw.Error, match="plaid"):
            finger.clone(color="plaid")
        assert names(component) == ["cell", "Base", "Finger", "Tip"]


def test_annotations(cell: Path) -> None:
    with jtw.open(cell) as component:
        note = component[3].add(
            "annotation", type="Note", name="Surface", text=["Fläche", "Ra 0,8"], size=4, layer=2
        )
        component.save()
        assert component[3].pmi == [note]
    with jtw.open(cell) as component:
        (note,) = component.select("kind=annotation")
        assert (note.type, note.text, note.size, note.layer) == ("Note", ["Fläche", "Ra 0,8"], 4, 2)
        with pytest.raises(AttributeError):
            component[3].text


def test_transactions(cell: Path) -> None:
    with jtw.open(cell) as component:
        arm, cover, tip = component[3], component[4], component[6]
        with pytest.raises(ZeroDivisionError):
            with component.transaction():
                tip.name = "Moved"
                arm.remove()
                component.add("block", name="New")
                1 / 0
        # Objects from before are found again.
        assert (arm.name, cover.name, tip.name) == ("Arm", "Cover", "Tip")
        assert len(component) == 6 and component.undo_count == 0
        with component.transaction() as same:
            assert same is component
            arm.remove()
            with pytest.raises(jtw.Error, match="transaction is open"):
                component.save()
        for gone in (arm, cover):
            with pytest.raises(jtw.Error) as caught:
                gone.name
            assert caught.value.code == "gone"
        assert component.undo() and arm.name == "Arm" and cover.name == "Cover"
        assert component.redo() and component.get("Arm") is None
        assert not component.redo()


def test_transactions_of_threads_and_components(cell: Path) -> None:
    """The library records all changes of a thread: what would mix things up is refused."""
    refused: list[str] = []

    def elsewhere(component: jtw.Component) -> None:
        changes: list[Callable[[], object]] = [
            lambda: component[3].set(name="Stolen"),
            lambda: component[3].__setitem__("LOT", 1),
            component.save,
            component.close,
            component.undo,
        ]
        for change in changes:
            try:
                change()
            except jtw.Error as error:
                refused.append(error.code)

    with jtw.open(cell) as component, jtw.open(cell) as other:
        with component.transaction():
            component[3].name = "Boom"
            thread = threading.Thread(target=elsewhere, args=(component,))
            thread.start()
            thread.join()
            assert refused == ["transaction"] * 5
            with pytest.raises(jtw.Error, match="another component"):
                other[3].name = "Beam"
            with pytest.raises(jtw.Error, match="another component"):
                with other.transaction():
                    pass
            assert jtw.diff(cell, component).count == 1
        other[3].name = "Beam"
        assert component[3].name == "Boom" and component.undo_count == 1


def test_objects_end_in_any_order(cell: Path, data: Path) -> None:
    node = jtw.open(cell)[4]  # the component is nowhere else
    gc.collect()
    assert node.name == "Cover" and node.component.root.name == "cell"
    file_node = jtw.File(data / "tiny95.jt").root.children[0]
    gc.collect()
    assert file_node.children and file_node.parents
    del file_node
    component = jtw.open(cell)
    first, second = component[3], component[4]
    component.close()
    assert component.closed and "closed" in repr(component)
    for end in (first, second):
        with pytest.raises(jtw.Error) as caught:
            end.name
        assert caught.value.code == "closed"


def test_one_file_twice(cell: Path) -> None:
    one, other = jtw.open(cell), jtw.open(cell)
    one[3].remove()
    assert 3 in other and other[4].name == "Cover"
    with pytest.raises(jtw.Error, match="another component"):
        one.remove(other[4])
    one.close()
    other[4].name = "Lid"
    assert other.save().version == "10.0"


def test_several_threads(cell: Path, data: Path) -> None:
    """Threads that open, read, edit and save at once neither block for good nor mix things up."""
    failures: list[BaseException] = []

    def work(index: int) -> None:
        try:
            for turn in range(8):
                with jtw.open(data / "asm95.jt") as assembly, jtw.open(cell) as own:
                    own[3].name = f"{index}-{turn}"
                    own.save(cell.parent / f"{index}.jt")
                    assert own[3].name == f"{index}-{turn}"
                    assert len(assembly) > 1
        except BaseException as failure:
            failures.append(failure)

    threads = [threading.Thread(target=work, args=(i,)) for i in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join(timeout=60)
    assert not failures and not any(thread.is_alive() for thread in threads)
    with jtw.open(cell.parent / "2.jt") as copy:
        assert copy[3].name == "2-7"


def test_errors(tmp_path: Path, data: Path, cell: Path) -> None:
    content = (data / "tiny95.jt").read_bytes()
    (tmp_path / "cut.jt").write_bytes(content[:200])
    (tmp_path / "text.jt").write_text("no JT file")
    cases: list[tuple[str, str, bool]] = [
        ("cut.jt", "truncated", True),
        ("text.jt", "not_jt", True),
        ("missing.jt", "not_found", False),
    ]
    for name, code, has_offset in cases:
        for opening in (jtw.open, jtw.File):
            with pytest.raises(jtw.Error) as caught:
                opening(tmp_path / name)
            error = caught.value
            assert error.code == code and error.file == str(tmp_path / name), error
            assert (error.offset is not None) == has_offset, error
            assert str(error).startswith(str(tmp_path / name)) and error.message in str(error)
    with pytest.raises(jtw.Error) as caught:
        jtw.new(cell)
    assert caught.value.code == "exists"
    with jtw.open(cell) as component:
        with pytest.raises(jtw.Error) as caught:
            component.select("kind=entity and color==red")
        assert caught.value.code == "bad_expression" and caught.value.offset == 22
        wrong: list[tuple[type[Exception], Any]] = [
            (TypeError, lambda: component[2.5]),  # type: ignore[index]
            (TypeError, lambda: component[3].set(name=None)),
            (KeyError, lambda: component.buffers["other"]),
            (KeyError, lambda: component[3]["nothing"]),
            (jtw.Error, lambda: component["Nobody"]),
            (jtw.Error, lambda: component[3].set(nonsense=1)),
            (jtw.Error, lambda: component[3].__setitem__("KrGmProtoKey", 9)),
            (jtw.Error, lambda: component.save(cell.parent / "x.jt", version="7.0")),
        ]
        for kind, call in wrong:
            with pytest.raises(kind):
                call()


def test_save_reports(cell: Path) -> None:
    with jtw.open(cell) as component:
        report = component.save(dry_run=True)
        assert report.bytes == 0
        copy = component.save(cell.parent / "old.jt", version="8.1")
        assert (copy.version, copy.bytes) == ("8.1", (cell.parent / "old.jt").stat().st_size)
        assert {segment.action for segment in copy.segments} <= {"copied", "rewritten", "added"}
        component[3].name = "Boom"
        assert any(s.action == "rewritten" and s.reason for s in component.save().segments)
    with jtw.new(cell.parent / "other.kpak") as component:
        component.add("block", name="Plate")
        component.save(cell.parent / "copy.jt")
        assert not (cell.parent / "other.kpak").exists()
        component.save()
    assert jtw.diff(cell.parent / "copy.jt", cell.parent / "other.kpak").same
    with jtw.open(cell.parent / "old.jt") as component:
        assert component.version == "8.1" and component[3].name == "Arm"


def test_copies_bring_changed_part_files_along(data: Path, tmp_path: Path) -> None:
    for name in ("asm95.jt", "tiny95.jt"):
        shutil.copy(data / name, tmp_path)
    (tmp_path / "there").mkdir()
    with jtw.open(tmp_path / "asm95.jt") as component:
        part = list(component)[-1]  # an object of the part file
        part["LOT"] = 47
        report = component.save(tmp_path / "there" / "asm95.jt")
        assert [Path(also.file).name for also in report.also_saved] == ["tiny95.jt"]
    with jtw.open(tmp_path / "there" / "asm95.jt") as copy:
        assert list(copy)[-1]["LOT"] == 47
    with jtw.open(tmp_path / "asm95.jt") as component:
        assert "LOT" not in list(component)[-1]
        list(component)[-1]["LOT"] = 48
        component.save(tmp_path / "asm95.jt")  # its own file
    with jtw.open(tmp_path / "asm95.jt") as component:
        assert list(component)[-1]["LOT"] == 48
