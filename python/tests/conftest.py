"""What the tests share: scenes, and the program whose results the package must repeat."""

import os
import subprocess

import numpy
import pytest


@pytest.fixture(autouse=True)
def own_folder(tmp_path, monkeypatch):
    """Files that a test or an example names go into a folder of its own."""
    monkeypatch.chdir(tmp_path)


@pytest.fixture
def drops():
    """A jittered block of particles, one radius 0.5 apart, and a drop beside it: shape (n, 3), float32."""
    random = numpy.random.default_rng(7)
    grid = numpy.stack(numpy.meshgrid(*[numpy.arange(8.0)] * 3), axis=-1).reshape(-1, 3)
    block = grid + random.uniform(-0.2, 0.2, grid.shape)
    return numpy.concatenate([block, [[20.0, 0, 0]]]).astype(numpy.float32)


@pytest.fixture
def program():
    """Runs `tavrix` with arguments; the test is skipped where it was not built."""
    path = os.environ.get("TAVRIX_PROGRAM")
    if not path or not os.path.exists(path):
        pytest.skip("TAVRIX_PROGRAM names no program")
    return lambda *arguments: subprocess.run([path, *arguments], check=True, capture_output=True)
