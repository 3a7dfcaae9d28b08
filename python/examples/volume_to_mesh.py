"""A volume as a CT scanner gives it, of whole numbers and with thicker slices, becomes a mesh in millimetres.

    python3 volume_to_mesh.py bone.stl
"""

import sys

import numpy
import tavrix


def scan() -> tuple[numpy.ndarray, tuple[float, float, float]]:
    """A hollow bone in soft tissue, in Hounsfield units: int16, 0.5 mm pixels, 1 mm slices."""
    spacing = (0.5, 0.5, 1.0)
    x, y, z = (numpy.arange(n) * s for n, s in zip((96, 96, 80), spacing))
    x, y, z = x[:, None, None] - 24, y[None, :, None] - 24, z[None, None, :]
    width = 9 + 3 * numpy.cos(z / 12)
    radius = numpy.sqrt(x**2 + y**2)
    bone = numpy.clip(1.5 - abs(radius - width + 2.5) / 2, 0, 1)
    noise = numpy.random.default_rng(0).normal(0, 20, bone.shape)
    return (40 + 1000 * bone * (z > 3) * (z < 76) + noise).astype(numpy.int16), spacing


volume, spacing = scan()
mesh = tavrix.marching_cubes(volume, 300, spacing)
mesh = mesh.smooth(15).decimate(ratio=0.3)
mesh.write(sys.argv[1])
print(f"{len(mesh.faces)} faces, {mesh.part_count} part, {mesh.volume / 1000:.1f} cubic centimetres")
