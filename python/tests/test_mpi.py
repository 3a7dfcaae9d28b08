"""Many processes that surface together, and frames over a cluster. Skipped where mpi4py, mpirun or dask are missing."""

import os
import pathlib
import shutil
import subprocess
import sys

import numpy
import pytest

import tavrix

EXAMPLES = pathlib.Path(__file__).parent.parent / "examples"
# Open MPI is told that this machine may be root's, and has fewer processors than ranks; others take no notice
ENVIRONMENT = {**os.environ, "OMPI_ALLOW_RUN_AS_ROOT": "1", "OMPI_ALLOW_RUN_AS_ROOT_CONFIRM": "1",
               "OMPI_MCA_rmaps_base_oversubscribe": "1", "OMPI_MCA_mpi_yield_when_idle": "1"}


def over_ranks(count, *command):
    """What `count` ranks print."""
    pytest.importorskip("mpi4py")
    if not shutil.which("mpirun"):
        pytest.skip("there is no mpirun")
    return subprocess.run(["mpirun", "-n", str(count), sys.executable, *map(str, command)], env=ENVIRONMENT, check=True,
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True, timeout=300).stdout


PARTS = """
import sys
import numpy, tavrix.mpi
from mpi4py import MPI
comm = MPI.COMM_WORLD
drops = numpy.load("drops.npy")
borders = {1: [0, 513], 3: [0, 300, 300, 513]}[comm.size]
share = drops[borders[comm.rank]:borders[comm.rank + 1]]
attributes = {"height": share[:, 2], "place": share}
part, report = tavrix.mpi.reconstruct(comm, share, 0.5, attributes=attributes, smooth=2, return_report=True)
assert report.particles == len(drops)
assert (part.vertex_numbers[:-1] < part.vertex_numbers[1:]).all()
faces = part.vertex_numbers[part.mesh.faces[part.own_faces]]
gathered = comm.gather((part.vertex_numbers[part.own_vertices], part.mesh.vertices[part.own_vertices].copy(),
                        part.face_numbers, faces))
whole = part.gather()
assert (whole is None) == (comm.rank > 0)
if whole:
    vertices = numpy.full((part.vertex_count, 3), numpy.nan)
    corners = numpy.zeros((part.face_count, 3), numpy.uint32)
    for numbers, positions, face_numbers, faces in gathered:
        vertices[numbers], corners[face_numbers] = positions, faces
    expected = tavrix.reconstruct(drops, 0.5, attributes={"height": drops[:, 2], "place": drops}, smooth=2)
    for mesh in (vertices, corners), (whole.vertices, whole.faces):
        assert numpy.array_equal(mesh[0], expected.vertices) and numpy.array_equal(mesh[1], expected.faces)
    for name in "height", "place":
        assert numpy.array_equal(whole.attributes[name], expected.attributes[name])
"""

REFUSALS = """
import numpy, tavrix.mpi
from mpi4py import MPI
comm = MPI.COMM_WORLD
grid = numpy.stack(numpy.meshgrid(*[numpy.arange(6.0)] * 3), axis=-1).reshape(-1, 3)
first = comm.rank == 0

def refused(*arguments, **settings):
    try:
        tavrix.mpi.reconstruct(comm, *arguments, **settings)
    except Exception as error:
        return type(error).__name__ + ": " + str(error)

def stop(stage, done):
    raise KeyError("enough")

assert refused(grid[:, :2] if first else grid).startswith(
    "ValueError: positions" if first else "RuntimeError: the call failed on another"), "shape"
assert refused(grid, progress=1 if first else None).startswith("TypeError" if first else "RuntimeError"), "progress"
assert "same on all ranks" in refused(grid, 0.5 if first else 0.4), "radius"
assert "same on all ranks" in refused(grid, attributes={"a": grid[:, 0] if first else grid}), "attribute"
assert refused(grid, progress=stop if first else None) == (
    "KeyError: 'enough'" if first else "RuntimeError: the call was stopped on another rank"), "stop"
assert refused(grid, memory=1000).startswith("MemoryError"), "memory"
assert tavrix.mpi.reconstruct(comm, grid).gather() or not first
"""


def test_parts_are_those_of_the_mesh_that_one_process_makes(drops):
    numpy.save("drops.npy", drops)
    pathlib.Path("parts.py").write_text(PARTS)
    for ranks in 1, 3:
        over_ranks(ranks, "parts.py")


def test_what_one_rank_refuses_raises_on_all():
    pathlib.Path("refusals.py").write_text(REFUSALS)
    over_ranks(2, "refusals.py")


def test_the_example_and_the_docstrings_are_right():
    printed = over_ranks(3, EXAMPLES / "mpi_surface.py", "splash.ply")
    faces = [int(word) for word in printed.split()[:3]]
    splash = tavrix.Mesh.read("splash.ply")
    assert sum(faces) == len(splash.faces) and min(faces) > 0
    assert splash.is_closed and splash.attributes["rank"].max() == 2
    pathlib.Path("examples.py").write_text("""
import doctest, numpy, tavrix.mpi
from mpi4py import MPI
grid = numpy.stack(numpy.meshgrid(*[numpy.arange(9.0)] * 3), axis=-1).reshape(-1, 3)
names = {"numpy": numpy, "tavrix": tavrix, "MPI": MPI, "grid": grid}
for thing in tavrix.mpi, tavrix.mpi.reconstruct, tavrix.mpi.RankMesh.gather:
    example = doctest.DocTestParser().get_doctest(thing.__doc__, dict(names), str(thing), None, 0)
    assert example.examples and doctest.DocTestRunner().run(example).failed == 0
""")
    over_ranks(1, "examples.py")


def test_frames_are_mapped_over_a_cluster(drops):
    pytest.importorskip("distributed")
    for frame in range(3):
        tavrix.Particles(drops[: 200 + 100 * frame]).write(f"drops_{frame}.bin")
    pathlib.Path("drops_9.bin").write_bytes(b"nothing")
    ran = subprocess.run([sys.executable, str(EXAMPLES / "dask_frames.py"), "."], capture_output=True, text=True,
                         timeout=300)
    lines = sorted(ran.stdout.splitlines())
    assert ran.returncode == 1 and len(lines) == 4 and "faces" not in lines[3], ran.stderr
    for frame, line in enumerate(lines[:3]):
        assert f"drops_{frame}.bin: {len(tavrix.Mesh.read(f'drops_{frame}.ply').faces)} faces" in line
