"""Writes particle BIN files, byte by byte and not by way of the library."""

import struct


def particle_file(positions, version=9, count=None, velocities=None):
    """The bytes of a particle file; `count` replaces the true count in the header. Without velocities all are 0."""
    stated = len(positions) if count is None else count
    header = struct.pack("<I250xh20xI40x", 0x00FABADA, version, stated)
    if version >= 7:
        header += bytes(36)
    velocities = velocities or [(0, 0, 0)] * len(positions)
    return header + b"".join(_record(index, *pair, version) for index, pair in enumerate(zip(positions, velocities)))


def _record(index, position, velocity, version):
    extra = 12 * (version >= 9) + 12 * (version >= 3) + 4 * (version >= 4) + 14 * (version >= 5)
    return struct.pack("<6f12x", *position, *velocity) + bytes(extra) + struct.pack("<28xi", index)


def block(size, spacing):
    """The positions of a cube of size^3 particles around the origin."""
    steps = [(n - (size - 1) / 2) * spacing for n in range(size)]
    return [(x, y, z) for x in steps for y in steps for z in steps]
