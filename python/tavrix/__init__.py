"""tavrix: particles become scalar fields, fields become iso-surfaces, surfaces become triangle meshes.

>>> ball = tavrix.Mesh.sphere()
>>> ball.is_closed
True
"""

from ._core import (
    Attributes,
    Collider,
    Field,
    Hits,
    LevelSet,
    Mesh,
    ReconstructionReport,
    Topology,
    __version__,
    estimate_spacing,
    marching_cubes,
    reconstruct,
)
from ._particles import Particles

Particles.__module__ = "tavrix"

__all__ = [
    "Attributes",
    "Collider",
    "Field",
    "Hits",
    "LevelSet",
    "Mesh",
    "Particles",
    "ReconstructionReport",
    "Topology",
    "__version__",
    "estimate_spacing",
    "marching_cubes",
    "reconstruct",
]
