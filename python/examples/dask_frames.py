"""Frames over the workers of a cluster: python3 dask_frames.py FOLDER [SCHEDULER]

Surfaces every FOLDER/*.bin as a PLY file beside it, on the cluster whose scheduler has that address, or on this machine's
processors. A frame that fails is told, and the others go on.
"""

import pathlib
import sys

from dask.distributed import Client, as_completed

import tavrix


def surface(file):
    """The faces of a frame's surface, which is written; spacing and radius are given, so that frames fit together."""
    mesh = tavrix.Particles.read(file).reconstruct(radius=0.5, threads=1)
    mesh.write(pathlib.Path(file).with_suffix(".ply"))
    return len(mesh.faces)


if __name__ == "__main__":
    files = sorted(map(str, pathlib.Path(sys.argv[1]).glob("*.bin")))
    here = {"threads_per_worker": 1, "dashboard_address": None}
    failed = 0
    with Client(*sys.argv[2:], **({} if sys.argv[2:] else here)) as client:
        frames = {client.submit(surface, file, pure=False): file for file in files}
        for frame in as_completed(frames):
            if frame.status == "error":
                failed += 1
                print(f"{frames[frame]}: {frame.exception()}")
            else:
                print(f"{frames[frame]}: {frame.result()} faces")
    sys.exit(1 if failed else 0)
