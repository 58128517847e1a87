"""The examples in docstrings, each with a component of its own."""

from __future__ import annotations

import doctest
import inspect
from pathlib import Path
from typing import Any, Iterator

import numpy as np
import pytest

import jtw

EXAMPLES = doctest.DocTestParser()


def documented() -> Iterator[tuple[str, str]]:
    """Everything of the module that has examples: name and docstring."""

    def visit(name: str, thing: Any) -> Iterator[tuple[str, str]]:
        text = getattr(thing, "__doc__", None) or ""
        if ">>>" in text:
            yield name, text
        if inspect.isclass(thing):
            for key, member in vars(thing).items():
                if not key.startswith("_") or key in ("__getitem__",):
                    yield from visit(f"{name}.{key}", member)

    yield "jtw", jtw.__doc__ or ""
    for name in jtw.__all__:
        yield from visit(f"jtw.{name}", getattr(jtw, name))


@pytest.mark.parametrize(
    "name, text", list(documented()), ids=[name for name, _ in documented()]
)
def test_examples(name: str, text: str, cell: Path, data: Path) -> None:
    np.set_printoptions(precision=6, suppress=True)
    with jtw.open(cell) as component:
        names = {
            "jtw": jtw,
            "np": np,
            "cell": cell,
            "component": component,
            "folder": cell.parent,
            "tiny": data / "tiny95.jt",
        }
        runner = doctest.DocTestRunner(optionflags=doctest.ELLIPSIS)
        runner.run(EXAMPLES.get_doctest(text, names, name, None, None))
        assert runner.summarize(verbose=False).failed == 0


def test_everything_is_documented() -> None:
    bare = [
        f"{name}.{key}"
        for name in jtw.__all__
        if inspect.isclass(getattr(jtw, name))
        for key, member in vars(getattr(jtw, name)).items()
        if not key.startswith("_") and not (member.__doc__ or "").strip()
    ]
    assert not bare
