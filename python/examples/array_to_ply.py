"""The particles of a simulation, as arrays, become a PLY file that carries their quantities.

    python3 array_to_ply.py water.ply
"""

import sys

import numpy
import tavrix


def splash(count: int = 20_000) -> tuple[numpy.ndarray, numpy.ndarray]:
    """Positions and velocities of a crown of water, as a simulation would hold them."""
    random = numpy.random.default_rng(0)
    angle = random.uniform(0, 2 * numpy.pi, count)
    height = random.uniform(0, 1, count) ** 1.5 * (1 + 0.3 * numpy.cos(8 * angle))
    radius = 1 + 0.4 * height + random.normal(0, 0.02, count)
    positions = numpy.column_stack([radius * numpy.cos(angle), height, radius * numpy.sin(angle)])
    velocities = numpy.column_stack([numpy.cos(angle), 2 - height, numpy.sin(angle)])
    return positions, velocities


positions, velocities = splash()
speed = numpy.linalg.norm(velocities, axis=1)
mesh = tavrix.reconstruct(positions, 0.03, attributes={"Velocity": velocities, "speed": speed})
mesh.write(sys.argv[1])
print(f"{len(mesh.vertices)} vertices with {', '.join(mesh.attributes)}, closed: {mesh.is_closed}")
