"""The examples run as users run them, and make what they say."""

import pathlib
import subprocess
import sys

import numpy
import pytest

import tavrix

EXAMPLES = pathlib.Path(__file__).parent.parent / "examples"


def run(name, *arguments):
    """What the example prints."""
    command = [sys.executable, str(EXAMPLES / name), *arguments]
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def test_arrays_of_a_simulation_become_a_ply_file():
    assert "with Velocity, speed, closed: True" in run("array_to_ply.py", "water.ply")
    water = tavrix.Mesh.read("water.ply")
    assert water.is_closed and numpy.ptp(water.attributes["speed"]) > 0.5


def test_a_volume_becomes_a_mesh():
    assert " 1 part," in run("volume_to_mesh.py", "bone.stl")
    bone = tavrix.Mesh.read("bone.stl").weld()
    assert bone.is_closed and 60 < bone.bounds[1, 2] - bone.bounds[0, 2] < 76


def test_a_part_is_hollowed():
    tavrix.Mesh.sphere(500, 1).write("part.stl")
    assert "2 surfaces, 1 of them a cavity" in run("hollow_part.py", "part.stl", "hollow.stl")
    assert tavrix.Mesh.read("hollow.stl").weld().cavity_count == 1


def test_a_table_of_probes_is_answered():
    tavrix.Mesh.box((0, 0, 0), (1, 1, 1)).write("part.stl")
    pathlib.Path("probes.csv").write_text("0.5,0.5,0.75\n0.5,0.5,3\n")
    assert "2 probes, 1 inside, the farthest 2.000 away" in run("answer_probes.py", "part.stl", "probes.csv", "answers.csv")
    answers = numpy.loadtxt("answers.csv", delimiter=",", skiprows=1)
    assert answers.tolist() == [[0.5, 0.5, 0.75, 0.25, 0.5, 0.5, 1, 1], [0.5, 0.5, 3, 2, 0.5, 0.5, 1, 0]]


def test_a_picture_is_drawn():
    pytest.importorskip("matplotlib")
    assert "faces drawn" in run("picture.py", "picture.png")
    from matplotlib import image

    pixels = image.imread("picture.png")[..., :3]
    assert len(numpy.unique((pixels * 15).astype(int).reshape(-1, 3), axis=0)) > 30
