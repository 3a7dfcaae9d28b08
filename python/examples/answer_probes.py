"""A table of probes, one x,y,z a line, is answered: how far each is from a mesh, where it is nearest, and whether inside.

    python3 answer_probes.py part.stl probes.csv answers.csv
"""

import sys

import numpy
import tavrix

mesh_file, probes_file, answers_file = sys.argv[1:]
probes = numpy.loadtxt(probes_file, delimiter=",", ndmin=2)
collider = tavrix.Collider(tavrix.Mesh.read(mesh_file).weld())
near = collider.nearest(probes)
inside = collider.contains(probes)
answers = numpy.column_stack([probes, near.distance, near.position, inside])
numpy.savetxt(answers_file, answers, "%.9g", ",", header="x,y,z,distance,near_x,near_y,near_z,inside", comments="")
print(f"{len(probes)} probes, {inside.sum()} inside, the farthest {near.distance.max():.3f} away")
