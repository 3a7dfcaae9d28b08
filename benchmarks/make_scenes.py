#!/usr/bin/env python3
"""Writes the particle scenes on which whole runs of `tavrix surface` are measured: make_scenes.py FOLDER [SCENE ...]"""

import random
import struct
import sys


def write(path, positions):
    """Writes a particle file of version 0 whose particles rest."""
    with open(path, "wb") as file:
        header = bytearray(320)
        struct.pack_into("<I", header, 0, 0x00FABADA)
        struct.pack_into("<I", header, 276, len(positions))
        file.write(header)
        record = struct.Struct("<3f52xi")
        file.write(b"".join(record.pack(*place, n) for n, place in enumerate(positions)))


def lattice(count, apart=0.05, jitter=0.01, origin=(0, 0, 0)):
    """count^3 particles so far apart, each moved by up to the jitter along every axis."""
    def at(axis, n):
        return origin[axis] + n * apart + random.uniform(-jitter, jitter)
    return [(at(0, i), at(1, j), at(2, k)) for i in range(count) for j in range(count) for k in range(count)]


def spray(clusters=2000, particles=100, size=60, deviation=0.08):
    """Clusters spread evenly over a cube."""
    places = []
    for _ in range(clusters):
        center = [random.uniform(0, size) for _ in range(3)]
        places += [tuple(random.gauss(c, deviation) for c in center) for _ in range(particles)]
    return places


def pool(size=(120, 12, 120), apart=0.05, jitter=0.01):
    """A shallow lattice whose particles are moved by up to the jitter."""
    def moved(n):
        return apart * n + random.uniform(-jitter, jitter)
    return [(moved(i), moved(j), moved(k)) for i in range(size[0]) for j in range(size[1]) for k in range(size[2])]


def pair(apart=10000):
    """Two cubes of some 20,000 particles."""
    return lattice(27) + lattice(27, origin=(apart, 0, 0))


SCENES = {
    "spray": spray,
    "pair": pair,
    "cube50": lambda: lattice(50),
    "cube100": lambda: lattice(100),
    "cube160": lambda: lattice(160),
    "lopsided": lambda: pool() + spray(600, 60, 40),
    "stray": lambda: lattice(50) + [(1e6, 1e6, 1e6)],
}


def main():
    folder, names = sys.argv[1], sys.argv[2:] or SCENES
    for name in names:
        random.seed(name)
        write(f"{folder}/{name}.bin", SCENES[name]())


if __name__ == "__main__":
    main()
