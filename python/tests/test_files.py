"""Files of all formats, and errors that name them."""

import os
import pathlib

import numpy
import pytest

import tavrix


@pytest.mark.parametrize("extension", ["obj", "stl", "bin", "ply", "vtp", "glb"])
def test_meshes_come_back_from_every_format(extension):
    ball = tavrix.Mesh.sphere(500, 2)
    ball.attributes["heat"] = ball.vertices[:, 0]
    path = pathlib.Path(f"ball.{extension}")
    ball.write(path)
    again = tavrix.Mesh.read(path)
    if extension == "stl":
        again = again.weld()
    assert len(again.faces) == 500 and numpy.isclose(again.volume, ball.volume, rtol=1e-5)
    if extension in ("ply", "vtp", "glb"):
        assert numpy.allclose(next(iter(again.attributes.values())), ball.attributes["heat"], atol=1e-6)


def test_files_of_several_meshes_and_digits():
    pathlib.Path("two.obj").write_text("g a\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\ng b\nf 1 3 2\nf 7 8 9\n")
    with pytest.warns(UserWarning, match="two.obj: 1 face is left out"):
        meshes = tavrix.Mesh.read_all("two.obj")
    assert [mesh.name for mesh in meshes] == ["a", "b"]
    with pytest.raises(ValueError, match="two.obj: 1 face is left out"):
        tavrix.Mesh.read("two.obj", strict=True)
    third = tavrix.Mesh([[1 / 3, 0, 0], [1, 0, 0], [0, 1, 0]], [[0, 1, 2]])
    for digits, first in [(None, "v 0.333333 "), (2, "v 0.33 "), ("exact", "v 0.3333333333333333 ")]:
        third.write("third.obj", digits=digits)
        assert first in pathlib.Path("third.obj").read_text()


def test_particles_of_other_programs():
    numpy.save("points.npy", numpy.eye(3, dtype="f4"))
    assert tavrix.Particles.read(b"points.npy").positions.tolist() == numpy.eye(3).tolist()
    pathlib.Path("points.csv").write_text("x,y,z,vx,vy,vz,heat\n0,0,0,1,2,3,4\n1,0,0,1,2,3,5\n")
    particles = tavrix.Particles.read("points.csv")
    assert particles.attributes["heat"].tolist() == [4, 5]


@pytest.mark.parametrize(
    "call, kind",
    [
        (lambda: tavrix.Mesh.read("none.obj"), FileNotFoundError),
        (lambda: tavrix.Mesh.read("."), IsADirectoryError),
        (lambda: tavrix.Particles.read("none.bin"), FileNotFoundError),
        (lambda: tavrix.LevelSet.read("none.field"), FileNotFoundError),
        (lambda: tavrix.Particles.read("-"), FileNotFoundError),
        (lambda: tavrix.Mesh.read("a\0b"), ValueError),
        (lambda: tavrix.Mesh.read(7), TypeError),
        (lambda: tavrix.Mesh.sphere().write("ball.xyz"), ValueError),
        (lambda: tavrix.Mesh.sphere().write("none/ball.obj"), OSError),
        (lambda: tavrix.Particles([[0, 0, 0]]).write("none/one.bin"), OSError),
    ],
)
def test_errors_are_of_pythons_types(call, kind):
    with pytest.raises(kind):
        call()


def test_garbage_is_no_file_of_ours():
    for name in ["a.obj", "a.stl", "a.ply", "a.glb", "a.bin", "a.vtp", "a.field"]:
        pathlib.Path(name).write_bytes(os.urandom(4000))
        reader = tavrix.LevelSet.read if name.endswith("field") else tavrix.Mesh.read
        with pytest.raises(ValueError):
            reader(name)
