#!/usr/bin/env python3
"""The Python package beside what Python users have, in one run:

    PYTHONPATH=build/release/python benchmarks/python_peers.py

Needs python3-skimage and python3-scipy. Best of several runs each, on all threads; ratios count."""

import json
import os
import time

import numpy
import scipy.spatial
import skimage.measure

import tavrix


def best(work, runs=5):
    """The shortest time of the work in seconds."""
    times = []
    for _ in range(runs):
        start = time.perf_counter()
        work()
        times.append(time.perf_counter() - start)
    return min(times)


def row(name, ours, theirs, peer, goal=0):
    if "TAVRIX_BENCH_ROWS" in os.environ:
        values = {"work": "Python, " + name, "ours": ours * 1e3, "peer": peer, "theirs": theirs * 1e3, "goal": goal}
        with open(os.environ["TAVRIX_BENCH_ROWS"], "a", encoding="utf-8") as file:
            file.write(json.dumps(values) + "\n")
    print(f"{name:<44} {ours * 1e3:9.2f} ms {theirs * 1e3:9.2f} ms {ours / theirs:8.3f}  {peer}")


def gyroid(nodes, dtype):
    x, y, z = numpy.ogrid[0 : 25 : nodes * 1j, 0 : 25 : nodes * 1j, 0 : 25 : nodes * 1j]
    sin, cos = numpy.sin, numpy.cos
    return (sin(x) * cos(y) + sin(y) * cos(z) + sin(z) * cos(x)).astype(dtype)


print(f"{'':<44} {'ours':>12} {'theirs':>12} {'ratio':>8}")
volume = gyroid(256, "f4")
mesh = tavrix.marching_cubes(volume, 0)
theirs = best(lambda: skimage.measure.marching_cubes(volume, 0), 2)
row("marching cubes, 256^3", best(lambda: tavrix.marching_cubes(volume, 0)), theirs, "skimage", 0.2)
row("the same on one thread", best(lambda: tavrix.marching_cubes(volume, 0, threads=1)), theirs, "skimage")
row("the same without clean-up", best(lambda: tavrix.marching_cubes(volume, 0, clean=False)), theirs, "skimage")
row("the same with normals of angles' weights",
    best(lambda: tavrix.marching_cubes(volume, 0, normals=True)), theirs, "skimage")

small = gyroid(10, "f4")
calls = 200
ours = best(lambda: [tavrix.marching_cubes(small, 0) for _ in range(calls)]) / calls
theirs = best(lambda: [skimage.measure.marching_cubes(small, 0) for _ in range(calls)]) / calls
row("marching cubes, 10^3", ours, theirs, "skimage")
nothing = numpy.ones((10, 10, 10), "f4")
ours = best(lambda: [tavrix.marching_cubes(nothing, 0) for _ in range(calls)]) / calls
print(f"{'the call itself, 10^3 without a surface':<44} {ours * 1e6:9.1f} us")

points = numpy.random.default_rng(0).uniform(0, 255, (200_000, 3))
collider, tree = tavrix.Collider(mesh), scipy.spatial.cKDTree(mesh.vertices)
row(f"nearest of {len(mesh.faces):,} faces, 200,000 points", best(lambda: collider.nearest(points), 2),
    best(lambda: tree.query(points, workers=-1), 2), "cKDTree, vertices only", 1)
