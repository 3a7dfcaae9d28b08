"""A part is grown by an offset, for shrinkage, and hollowed to a wall that a printer fills with less.

    python3 hollow_part.py part.stl hollow.stl
"""

import sys

import tavrix

part = tavrix.Mesh.read(sys.argv[1]).weld()
hollow = part.offset(0.02, shell=0.1)
hollow.write(sys.argv[2])
saved = 1 - hollow.volume / part.volume
print(f"{hollow.part_count} surfaces, {hollow.cavity_count} of them a cavity, {saved:.0%} of the material saved")
