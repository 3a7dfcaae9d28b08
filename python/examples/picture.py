"""A mesh drawn by matplotlib, coloured by a quantity that its vertices carry.

    python3 picture.py picture.png
"""

import sys

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as pyplot
import numpy
import tavrix

wave = tavrix.Field.from_function(
    lambda x, y, z: numpy.cos(x) * numpy.sin(y) + numpy.cos(y) * numpy.sin(z) + numpy.cos(z) * numpy.sin(x),
    low=(-6, -6, -6),
    high=(6, 6, 6),
    spacing=0.2,
)
mesh = wave.extract(0.6).decimate(ratio=0.2)
height = mesh.vertices[mesh.faces].mean(axis=1)[:, 2]

axes = pyplot.figure(figsize=(6, 6)).add_subplot(projection="3d")
surface = axes.plot_trisurf(*mesh.vertices.T, triangles=mesh.faces, linewidth=0)
surface.set_array(height)
axes.set_box_aspect((1, 1, 1))
axes.set_axis_off()
pyplot.savefig(sys.argv[1], dpi=120, bbox_inches="tight")
print(f"{len(mesh.faces)} faces drawn")
