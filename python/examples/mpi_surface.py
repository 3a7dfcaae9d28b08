"""Particles of many processes to one surface: mpirun -n 4 python3 mpi_surface.py SURFACE.ply

Every rank has a slab of a splash, as a simulation over domains would; none has all of the mesh until it is written.
"""

import sys

import numpy
from mpi4py import MPI

import tavrix.mpi

comm = MPI.COMM_WORLD
grid = numpy.stack(numpy.meshgrid(numpy.arange(40), numpy.arange(24), numpy.arange(24), indexing="ij"), axis=-1)
slab = numpy.array_split(grid, comm.size)[comm.rank].reshape(-1, 3)
positions = 0.05 * (slab + [0, 0, 1]) + 0.1 * numpy.sin(0.2 * slab[:, [1, 2, 0]])
rank = numpy.full(len(slab), comm.rank, dtype=numpy.float32)

part = tavrix.mpi.reconstruct(comm, positions, attributes={"rank": rank})
faces = comm.gather(len(part.own_faces))
whole = part.gather()
if whole:
    whole.write(sys.argv[1])
    print(*faces, "faces by rank")
