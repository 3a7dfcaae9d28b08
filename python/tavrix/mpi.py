"""Particles that many processes share, surfaced together: over mpi4py's communicators.

>>> from mpi4py import MPI
>>> import tavrix.mpi
>>> grid = numpy.stack(numpy.meshgrid(*[numpy.arange(9.0)] * 3), axis=-1).reshape(-1, 3)
>>> tavrix.mpi.reconstruct(MPI.COMM_WORLD, grid).gather().is_closed
True
"""

import zlib

from mpi4py import MPI

from . import _core
from ._core import RankMesh

RankMesh.__module__ = "tavrix.mpi"

__all__ = ["RankMesh", "reconstruct"]


def reconstruct(comm, positions, radius=None, *, attributes={}, threads=None, memory=None, progress=None,
                return_report=False, **settings):
    """The surface of particles of which every rank has a share, as they come: each rank gets a part of the mesh.

    comm: an mpi4py communicator, whose ranks all make this call, with the same settings and names of attributes;
    positions and attributes are each rank's own, and may be empty. The whole mesh is that of tavrix.reconstruct with
    the shares one behind the other, to the byte, whatever they are; `gather` brings it to the first rank. Settings are
    those of tavrix.reconstruct. threads and memory are each rank's; by default ranks on one machine share it evenly.
    With simplify, fill_cavities and decimate the first rank gets the whole mesh, and the others none of it.

    What is refused on one rank raises on all; where that is on another, it is a RuntimeError. What one rank alone meets
    while all work, such as too little memory, leaves the others waiting: `python3 -m mpi4py script.py` then ends the job.

    >>> grid = numpy.stack(numpy.meshgrid(*[numpy.arange(9.0)] * 3), axis=-1).reshape(-1, 3)
    >>> part = tavrix.mpi.reconstruct(MPI.COMM_WORLD, grid, attributes={"height": grid[:, 2]})
    >>> part.vertex_count == len(part.own_vertices), list(part.mesh.attributes)
    (True, ['height'])
    """
    alike = repr((radius, sorted(settings.items()), list(attributes), return_report))
    return _core.reconstruct(positions, radius, attributes=attributes, threads=threads, memory=memory, progress=progress,
                             return_report=return_report, _ranks=_Ranks(comm, zlib.crc32(alike.encode())), **settings)


class _Ranks:
    """What the kernel asks of ranks, over a communicator."""

    def __init__(self, comm, digest):
        self.comm = comm
        self.rank, self.size = comm.rank, comm.size
        self.digest = digest
        machine = comm.Split_type(MPI.COMM_TYPE_SHARED)
        self.here = machine.size
        machine.Free()

    def sum(self, numbers):
        self.comm.Allreduce(MPI.IN_PLACE, numbers, MPI.SUM)

    def largest(self, numbers):
        self.comm.Allreduce(MPI.IN_PLACE, numbers, MPI.MAX)

    def exchange(self, outgoing, outgoing_counts, incoming, incoming_counts, record_size):
        record = MPI.BYTE.Create_contiguous(record_size).Commit()
        try:
            self.comm.Alltoallv([outgoing, outgoing_counts.tolist(), record], [incoming, incoming_counts.tolist(), record])
        finally:
            record.Free()
