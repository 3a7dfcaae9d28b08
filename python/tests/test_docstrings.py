"""The example in every docstring, and the stubs."""

import doctest
import importlib.util
import inspect
import operator
import os
import pathlib
import subprocess
import sys

import numpy
import pytest

import tavrix


def described():
    """(name, docstring) of everything public that is called or made."""
    for name in tavrix.__all__:
        thing = getattr(tavrix, name)
        if inspect.isclass(thing):
            yield name, thing.__doc__
            for member, value in vars(thing).items():
                if not member.startswith("_"):
                    yield f"{name}.{member}", getattr(thing, member).__doc__
        elif callable(thing):
            yield name, thing.__doc__


@pytest.mark.parametrize("name, text", list(described()), ids=lambda it: it if it and len(it) < 40 else "")
def test_examples_are_right(name, text):
    assert text or name.split(".")[0] in ("Topology", "ReconstructionReport", "Attributes"), "has no docstring"
    names = {"tavrix": tavrix, "numpy": numpy}
    example = doctest.DocTestParser().get_doctest(text or "", names, name, None, 0)
    assert doctest.DocTestRunner(verbose=False).run(example).failed == 0


def test_what_is_called_has_an_example():
    called = [(name, text) for name, text in described() if callable(operator.attrgetter(name)(tavrix))]
    lacking = [name for name, text in called if ">>>" not in (text or "")]
    assert [name for name in lacking if not name.startswith("Attributes.")] == []


def test_stubs_are_those_of_the_package():
    pytest.importorskip("mypy")
    folder = pathlib.Path(tavrix.__file__).parent.parent
    pathlib.Path("tavrix").mkdir()
    for name in ["__init__.pyi", "mpi.pyi", "py.typed"]:
        pathlib.Path("tavrix", name).write_bytes((folder / "tavrix" / name).read_bytes())
    # The classes' own metaclass and what they inherit of it is no matter of the stubs.
    allowed = ["tavrix\\._.*", "tavrix\\.([a-z]+\\.)?[A-Z][A-Za-z]*", "tavrix\\.([a-z]+\\.)?[A-Z][A-Za-z]*\\.__init__"]
    if not importlib.util.find_spec("mpi4py"):
        allowed.append("tavrix\\.mpi.*")
    pathlib.Path("allowed").write_text("\n".join(allowed))
    checked = subprocess.run(
        [sys.executable, "-m", "mypy.stubtest", "tavrix", "--allowlist", "allowed", "--ignore-unused-allowlist"],
        env={**os.environ, "MYPYPATH": "."}, capture_output=True, text=True)
    assert checked.returncode == 0, checked.stdout + checked.stderr
