"""Particles: positions, velocities and attributes as numpy's arrays."""

from __future__ import annotations

import numpy

from . import _core


class Particles:
    """The particles of a file or a simulation, as arrays.

    positions: shape (n, 3). velocities: shape (n, 3), or None. attributes: a mapping from names to arrays of shape
    (n,) or (n, 3). What is given is kept as it is, not copied; what a file gives is float32.

    >>> drops = tavrix.Particles(numpy.random.default_rng(1).random((100, 3)))
    >>> len(drops)
    100
    """

    def __init__(self, positions, velocities=None, attributes=None):
        self.positions = _checked(positions, "positions", None)
        count = len(self.positions)
        self.velocities = None if velocities is None else _checked(velocities, "velocities", count)
        self.attributes = {name: _checked(values, name, count, any_shape=True)
                           for name, values in (attributes or {}).items()}

    @classmethod
    def read(cls, path) -> Particles:
        """Reads a particle file of any format; particles without a finite position are left out.

        Raises FileNotFoundError and its like, and ValueError for a file that holds no particles or is damaged.

        >>> tavrix.Particles([[0, 0, 0], [1, 0, 0]]).write("two.bin")
        >>> tavrix.Particles.read("two.bin").positions.tolist()
        [[0.0, 0.0, 0.0], [1.0, 0.0, 0.0]]
        """
        positions, velocities, attributes, _ = _core.read_particles(path)
        return cls(positions, velocities, attributes)

    def write(self, path) -> None:
        """Writes a BIN file of positions and velocities, whole or not at all.

        >>> tavrix.Particles([[0, 0, 0]]).write("one.bin")
        """
        _core.write_particles(path, self.positions, self.velocities)

    def spacing(self) -> float:
        """The distance between neighbours if they stood on a cubic lattice; 0 when no two lie apart.

        >>> tavrix.Particles([[0, 0, 0]]).spacing()
        0.0
        """
        return _core.estimate_spacing(self.positions)

    def neighbour_counts(self, radius, *, threads=None) -> numpy.ndarray:
        """How many others lie closer than the radius to each particle: shape (n,), uint32.

        >>> tavrix.Particles([[0, 0, 0], [1, 0, 0], [5, 0, 0]]).neighbour_counts(2).tolist()
        [1, 1, 0]
        """
        return _core.neighbour_counts(self.positions, radius, threads)

    def strays(self, radius, least=1, *, threads=None) -> numpy.ndarray:
        """The numbers of the particles with fewer than `least` others closer than the radius, ascending: uint32.

        >>> tavrix.Particles([[0, 0, 0], [1, 0, 0], [5, 0, 0]]).strays(2).tolist()
        [2]
        """
        return _core.strays(self.positions, radius, least, threads)

    def interpolate(self, values, places, reach, *, threads=None, progress=None) -> numpy.ndarray:
        """A quantity of the particles at places of shape (m, 3), as a weighted average within the reach.

        values: shape (n,) or (n, 3). Places without a particle in reach get zero. float32, (m,) or (m, 3).

        >>> tavrix.Particles([[0, 0, 0], [1, 0, 0]]).interpolate([0, 10], [[0.5, 0, 0]], 2).tolist()
        [5.0]
        """
        return _core.interpolate(self.positions, values, places, reach, threads, progress)

    def reconstruct(self, radius=None, **settings):
        """The particles' surface, which carries velocities and attributes; settings as of tavrix.reconstruct.

        >>> grid = numpy.stack(numpy.meshgrid(*[numpy.arange(9.0)] * 3), axis=-1).reshape(-1, 3)
        >>> list(tavrix.Particles(grid, velocities=grid).reconstruct().attributes)
        ['Velocity']
        """
        carried = {} if self.velocities is None else {"Velocity": self.velocities}
        carried.update(settings.pop("attributes", self.attributes))
        return _core.reconstruct(self.positions, radius, attributes=carried, **settings)

    def __len__(self) -> int:
        return len(self.positions)

    def __repr__(self) -> str:
        return f"<tavrix.Particles, {len(self)} with {', '.join(self.attributes) or 'no attributes'}>"


def _checked(values, name, count, any_shape=False):
    """The values as an array, of three columns unless any shape goes."""
    array = numpy.asarray(values)
    fits = array.ndim == 2 and array.shape[1] == 3 or any_shape and array.ndim == 1
    if not fits:
        wanted = "(n,) or (n, 3)" if any_shape else "(n, 3)"
        raise ValueError(f"{name}: expected shape {wanted}, got {array.shape}")
    if count is not None and len(array) != count:
        raise ValueError(f"{name}: expected one for each of the {count} particles, got {len(array)}")
    return array
