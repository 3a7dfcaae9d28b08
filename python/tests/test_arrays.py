"""Arrays go in and come out: dtypes, layouts, views and who owns them."""

import copy
import gc
import pickle
import subprocess
import sys
import threading

import numpy
import pytest

import tavrix

TRIANGLE = ([[0, 0, 0], [1, 0, 0], [0, 1, 0]], [[0, 1, 2]])


@pytest.mark.parametrize("dtype", ["f2", "f4", "f8", ">f4", "i2", "u1"])
def test_positions_of_any_dtype_and_layout_give_one_mesh(drops, dtype):
    whole = numpy.round(drops * 4).astype(dtype)
    expected = tavrix.reconstruct(whole.astype("f4"), 2.0, spacing=2.0)
    layouts = {
        "rows": whole,
        "columns": numpy.asfortranarray(whole),
        "every other": numpy.repeat(whole, 2, axis=0)[::2],
        "backwards": whole[::-1].copy()[::-1],
        "unaligned": numpy.frombuffer(b"x" + whole.tobytes(), whole.dtype, whole.size, 1).reshape(-1, 3),
        "list": whole.tolist(),
    }
    for name, positions in layouts.items():
        mesh = tavrix.reconstruct(positions, 2.0, spacing=2.0)
        assert numpy.array_equal(mesh.vertices, expected.vertices), name
        assert numpy.array_equal(mesh.faces, expected.faces), name


@pytest.mark.parametrize("dtype, copies", [("f8", False), ("f4", True)])
def test_points_are_copied_only_where_they_do_not_fit(dtype, copies):
    script = f"""
import numpy, tavrix
points = numpy.ones((5_000_000, 3), "{dtype}")
field = tavrix.Field(numpy.zeros((2, 2, 2), "f4"))
peak = lambda: int(next(l for l in open("/proc/self/status") if l.startswith("VmHWM")).split()[1]) / 1e3
before = peak()
field.evaluate(points)
print(peak() - before)
"""
    grown = float(subprocess.run([sys.executable, "-c", script], check=True, capture_output=True, text=True).stdout)
    assert (grown > 100) == copies  # megabytes; the answers take 20, a copy 120


def test_views_share_memory_and_keep_it_alive():
    mesh = tavrix.Mesh(*TRIANGLE, attributes={"heat": [1, 2, 3]})
    vertices, faces, heat = mesh.vertices, mesh.faces, mesh.attributes["heat"]
    assert numpy.shares_memory(vertices, mesh.vertices)
    vertices[0] = [0, 0, 7]
    heat += 1
    assert mesh.bounds[1, 2] == 7 and mesh.attributes["heat"].tolist() == [2, 3, 4]
    assert not faces.flags.writeable
    mesh.attributes["heat"] = [9, 9, 9]
    del mesh
    gc.collect()
    assert vertices[0].tolist() == [0, 0, 7] and faces.tolist() == [[0, 1, 2]] and heat.tolist() == [2, 3, 4]

    field = tavrix.Field(numpy.zeros((2, 2, 2)))
    samples = numpy.asarray(field)
    assert numpy.shares_memory(samples, field.samples)
    samples[1, 1, 1] = 8
    assert field.evaluate([[1, 1, 1]])[0] == 8
    hits = tavrix.Collider(tavrix.Mesh.sphere()).nearest([[0, 0, 3.0]])
    distance = hits.distance
    del hits, field
    gc.collect()
    assert abs(distance[0] - 2) < 0.1 and samples[1, 1, 1] == 8


def test_what_makes_no_mesh_is_refused_with_the_reason():
    vertices, faces = TRIANGLE
    for arguments, words in [
        (([[0, 0]], faces), "vertices: expected shape (n, 3), got (1, 2)"),
        ((vertices, [[0, 1, 3]]), "faces: row 0 names vertex 3, there are 3"),
        ((vertices, [[0, 1, -1]]), "names vertex -1"),
        ((vertices, numpy.array([[0, 1, 2**63]], "u8")), "names vertex 9223372036854775808"),
        ((vertices, [[0, 1, 1.5]]), "faces: expected whole numbers, got dtype float64"),
        ((vertices, faces, [[0, 0, 1]]), "normals: expected one for each of the 3 vertices, got 1"),
        ((vertices, faces, None, {"a": [1, 2]}), "a: expected a value for each of the 3 vertices, got 2"),
        ((["x"], faces), "vertices: expected real numbers"),
        (([[1j, 0, 0]], faces), "vertices: expected real numbers, got dtype complex128"),
        ((object(), faces), "vertices: expected real numbers, got dtype object"),
    ]:
        with pytest.raises(ValueError) as caught:
            tavrix.Mesh(*arguments)
        assert words in str(caught.value)
    empty = tavrix.Mesh(numpy.zeros((0, 3)), numpy.zeros((0, 3), int))
    assert empty.bounds is None and empty.area == 0 and not empty.is_closed


def test_attributes_are_a_mapping():
    mesh = tavrix.Mesh(*TRIANGLE)
    mesh.attributes["v"] = numpy.eye(3)
    mesh.attributes["s"] = [1, 2, 3]
    assert list(mesh.attributes) == ["v", "s"] and "v" in mesh.attributes and len(mesh.attributes) == 2
    assert dict(mesh.attributes.items())["v"].shape == (3, 3)
    del mesh.attributes["v"]
    with pytest.raises(KeyError):
        mesh.attributes["v"]
    for name in ["", "a\0b"]:
        with pytest.raises(ValueError):
            mesh.attributes[name] = [1, 2, 3]


def arrays_of(thing):
    if isinstance(thing, tavrix.Mesh):
        normals = [] if thing.normals is None else [thing.normals, thing.normal_faces]
        return [thing.vertices, thing.faces, *normals, *thing.attributes.values()]
    return [thing.samples, numpy.array(thing.spacing), numpy.array(thing.origin)]


@pytest.mark.parametrize(
    "make",
    [
        lambda: tavrix.Mesh.box((0, 0, 0), (1, 1, 1)).with_normals(crease=30),
        lambda: tavrix.Mesh(*TRIANGLE, numpy.eye(3), {"a": [1, 2, 3], "b": numpy.eye(3)}, name="three"),
        lambda: tavrix.Field(numpy.arange(24.0).reshape(2, 3, 4), (1, 2, 3), (4, 5, 6)),
        lambda: tavrix.Field(numpy.arange(24, dtype="f4").reshape(2, 3, 4), 0.5),
        lambda: tavrix.LevelSet.from_mesh(tavrix.Mesh.sphere(), 0.25),
    ],
)
@pytest.mark.parametrize("copied", [copy.copy, copy.deepcopy, lambda it: pickle.loads(pickle.dumps(it)), lambda it: it.copy()])
def test_copies_are_equal_and_apart(make, copied):
    thing = make()
    other = copied(thing)
    for mine, theirs in zip(arrays_of(thing), arrays_of(other)):
        assert numpy.array_equal(mine, theirs) and mine.dtype == theirs.dtype
        assert not numpy.shares_memory(mine, theirs)
    assert repr(thing) == repr(other)


def test_a_mesh_in_use_by_another_thread_is_not_changed():
    mesh = tavrix.Mesh.sphere().offset(0, 0.03)
    refused = []
    started, go_on = threading.Event(), threading.Event()

    def pause(stage, done):
        started.set()
        go_on.wait(10)

    thread = threading.Thread(target=lambda: mesh.decimate(ratio=0.5, progress=pause))
    thread.start()
    started.wait(10)
    with pytest.raises(RuntimeError, match="in use by another thread"):
        mesh.normals = None
    go_on.set()
    thread.join()
    mesh.normals = None
    assert mesh.normals is None
