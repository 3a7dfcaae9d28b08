"""Writes particle BIN files, byte by byte and not by way of the library."""

import struct


def particle_file(positions, version=9, count=None):
    """The bytes of a particle file; `count` replaces the true count in the header."""
    stated = len(positions) if count is None else count
    header = struct.pack("<I250xh20xI40x", 0x00FABADA, version, stated)
    if version >= 7:
        header += bytes(36)
    return header + b"".join(_record(index, p, version) for index, p in enumerate(positions))


def _record(index, position, version):
    extra = 12 * (version >= 9) + 12 * (version >= 3) + 4 * (version >= 4) + 14 * (version >= 5)
    return struct.pack("<3f24x", *position) + bytes(extra) + struct.pack("<28xi", index)


def block(size, spacing):
    """The positions of a cube of size^3 particles around the origin."""
    steps = [(n - (size - 1) / 2) * spacing for n in range(size)]
    return [(x, y, z) for x in steps for y in steps for z in steps]
