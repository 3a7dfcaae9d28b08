"""Long calls: progress, Ctrl-C, threads, and errors in Python's types."""

import os
import signal
import threading
import time

import numpy
import pytest

import tavrix


def scene(count=300_000):
    return numpy.random.default_rng(3).random((count, 3), "f4") * 30


def test_progress_is_told_stage_by_stage_and_its_errors_stop_the_call():
    told = []
    tavrix.reconstruct(scene(30_000), progress=lambda stage, done: told.append((stage, done)))
    stages = list(dict.fromkeys(stage for stage, _ in told))
    assert stages == ["field", "surface", "smooth", "normals"]
    for stage in stages:
        parts = [done for name, done in told if name == stage]
        assert parts == sorted(parts) and 0 <= parts[0] and parts[-1] <= 1

    def stop(stage, done):
        raise KeyError("enough")

    with pytest.raises(KeyError, match="enough"):
        tavrix.reconstruct(scene(30_000), progress=stop)
    with pytest.raises(TypeError, match="progress: expected a callable"):
        tavrix.reconstruct(scene(100), progress=3)


def test_a_bar_goes_to_standard_error_and_away(capfd):
    tavrix.reconstruct(scene(30_000), progress=True)
    shown = capfd.readouterr()
    assert "smooth" in shown.err and shown.err.endswith("\r") and shown.out == ""


BIG = numpy.random.default_rng(1).random((250, 250, 250), "f4")


def chained(mesh):
    """Calls that only together take long enough."""
    while True:
        mesh.repair().weld(1e-6).separate_sheets().fill_cavities().topology
        tavrix.Collider(mesh)


@pytest.mark.parametrize(
    "work",
    [
        lambda: tavrix.reconstruct(scene(), spacing=0.05),
        lambda: tavrix.marching_cubes(BIG, 0.5),
        lambda: tavrix.Mesh.sphere().offset(0.1, 0.004),
        lambda: tavrix.Field.from_particles(scene(), 1.0, 0.1),
        lambda: tavrix.Field(BIG).diffuse(1),
        lambda: chained(tavrix.marching_cubes(BIG[:100, :100, :100], 0.5)),
    ],
    ids=["reconstruct", "marching_cubes", "offset", "from_particles", "diffuse", "mesh operations"],
)
def test_ctrl_c_stops_a_long_call(work):
    signal.signal(signal.SIGINT, signal.default_int_handler)  # what runs in the background may ignore it
    began = []

    def interrupt():
        time.sleep(0.3)
        began.append(time.monotonic())
        os.kill(os.getpid(), signal.SIGINT)

    thread = threading.Thread(target=interrupt)
    thread.start()
    with pytest.raises(KeyboardInterrupt):
        work()
        time.sleep(10)  # where the work was done before
    waited = time.monotonic() - began[0]
    thread.join()
    assert waited < 5  # a shared machine may stall; what is meant is a tenth of a second


def test_other_threads_run_meanwhile():
    ticks = []
    done = threading.Event()

    def tick():
        while not done.is_set():
            ticks.append(1)
            time.sleep(0.005)

    thread = threading.Thread(target=tick)
    thread.start()
    tavrix.marching_cubes(BIG, 0.5, threads=1)
    during = len(ticks)
    done.set()
    thread.join()
    assert during > 10


def test_many_threads_may_call_at_once():
    positions = scene(20_000)
    expected = tavrix.reconstruct(positions, threads=1)
    results = [None] * 6

    def work(n):
        results[n] = tavrix.reconstruct(positions, threads=1 + n % 3)
        tavrix.marching_cubes(BIG[:40, :40, :40], 0.5)

    threads = [threading.Thread(target=work, args=(n,)) for n in range(6)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    for result in results:
        assert numpy.array_equal(result.vertices, expected.vertices)
        assert numpy.array_equal(result.faces, expected.faces)


@pytest.mark.parametrize(
    "call, kind, words",
    [
        (lambda: tavrix.reconstruct(numpy.zeros((0, 3))), ValueError, "none is finite"),
        (lambda: tavrix.reconstruct([[0, 0, 0]]), ValueError, "no two particles lie apart"),
        (lambda: tavrix.reconstruct([[0, 0, 0]], -1), ValueError, "radius: expected a finite number above 0"),
        (lambda: tavrix.reconstruct([[0, 0, 0]], 1, field="blob"), ValueError, "'metaball', 'anisotropic', 'distance'"),
        (lambda: tavrix.reconstruct([[0, 0, 0]], 1, threads=0), ValueError, "threads: expected 1 to 1024"),
        (lambda: tavrix.reconstruct([[0, 0, 0]], 1, memory=1000), MemoryError, "give a larger spacing"),
        (lambda: tavrix.reconstruct([[0, 0, 0], [1e30, 0, 0]], 1), ValueError, "too many steps"),
        (lambda: tavrix.reconstruct([[0, 0, 0]], 1, attributes={"a": [1, 2]}), ValueError, "each of the 1 particles"),
        (lambda: tavrix.marching_cubes(numpy.zeros((3, 3)), 0), ValueError, "expected shape (nx, ny, nz), got (3, 3)"),
        (lambda: tavrix.marching_cubes(numpy.zeros((0, 3, 3)), 0), ValueError, "at least one along every axis"),
        (lambda: tavrix.marching_cubes(numpy.zeros((3, 3, 3)), 0, 0), ValueError, "spacing: expected"),
        (lambda: tavrix.Field.from_function(lambda x, y, z: x, (0, 0, 0), (1, 1, 1), 1e-9), ValueError, "2^32 - 1 nodes"),
        (lambda: tavrix.LevelSet.from_mesh(tavrix.Mesh.sphere(), 1e-9), ValueError, "2^32 - 1 nodes"),
        (lambda: tavrix.Mesh.sphere().offset(-2, 0.1), ValueError, "nothing is left"),
        (lambda: tavrix.Mesh.sphere().offset(float("nan")), ValueError, "expected a finite number"),
        (lambda: tavrix.Mesh.sphere().decimate(), ValueError, "give faces, ratio or error"),
        (lambda: tavrix.Mesh.sphere().subdivide(15), ValueError, "0 to 14"),
        (lambda: tavrix.Mesh.sphere().split_edges(1e-9), MemoryError, "longer edge"),
        (lambda: tavrix.Mesh.sphere().displace([1, 2]), ValueError, "each of the 252 vertices"),
        (lambda: tavrix.Mesh.sphere().slice([0], 3), ValueError, "0, 1, 2 or a direction"),
        (lambda: tavrix.Mesh.sphere().slice([0], (0, 0, 0)), ValueError, "direction"),
        (lambda: tavrix.Mesh.sphere().slice([[0]]), ValueError, "heights"),
        (lambda: tavrix.Mesh.sphere().slice([0], gap=-1), ValueError, "gap"),
        (lambda: tavrix.Mesh.sphere().clip((1, 1, 1), (0, 0, 0)), ValueError, "no less than low"),
        (lambda: tavrix.Collider(tavrix.Mesh.sphere()).cast_rays([[0, 0, 0]] * 2, [[0, 0, 1]] * 3), ValueError, "or one, got 3 for 2"),
        (lambda: tavrix.Collider(3), TypeError, "incompatible"),
    ],
)
def test_errors_say_what_was_expected(call, kind, words):
    with pytest.raises(kind) as caught:
        call()
    assert words in str(caught.value)
