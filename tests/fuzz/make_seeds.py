#!/usr/bin/env python3
"""What the fuzzers start from: make_seeds.py FOLDER writes small files of every format, by hand, into FOLDER/<name>."""

import pathlib
import struct
import sys

sys.path.insert(0, str(pathlib.Path(__file__).parents[1] / 'tools'))
import mesh_file
import particle_file as particles

CORNERS = [(0, 0, 0), (1, 0, 0), (0, 1, 0), (0, 0, 1)]
FACES = [(0, 2, 1), (0, 1, 3), (1, 2, 3), (2, 0, 3)]


def numbers(kind, *values):
    return struct.pack(f'<{len(values)}{kind}', *values)


def uints(*values):
    return numbers('I', *values)


def counted(kind, rows):
    return uints(len(rows)) + numbers(kind, *[number for row in rows for number in row])


def obj():
    quad = b'v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nvt 0 0\nvt 1 1 0.5\nvn 0 0 1\n'
    yield quad + b'f 1 2 3\nf 1/1 2/2 3/1 4/2\nf 1//1 2//1 3//1\nf 1/1/1 2/2/1 -2/-1/-1\n'
    yield b'# two groups\r\n' + quad + b'g part one\r\nf 1 2 3\r\ng part two\r\nf 1 3 4\r\ng part one\nf 2 3 4\n'
    yield b'v 1e-3 0x1p-2 nan\nv +inf -1. .5e1\nv 1 2\nf 1 2 3\nf 1 2 9\nf 1 2\nf 1 2 3 4 5\nusemtl x\ng\n\\\n'


def stl():
    yield mesh_file.binary_stl(CORNERS, FACES, b'part')
    yield mesh_file.binary_stl(CORNERS, FACES[:1], b'solid in name')
    text = (b'solid part\n  facet normal 0 0 1\n    outer loop\n      vertex 0 0 0\n      vertex 1 0 0\n'
            b'      vertex 0 1e0 -0.5\n    endloop\n  endfacet\nendsolid part\n')
    yield text
    yield text.replace(b'\n', b'\r\n').upper() + b'color 1 0 0\nvertex 1 2\n' + text


def ase():
    whole = mesh_file.ase_file(CORNERS, FACES)
    yield whole
    yield b'*GROUP "g" {\n' + whole.replace(b'_VERTEX 1', b'_VERTEX 7') + b'}\n' + whole


def bin_mesh():
    textures = [(0.5, 0.25)] * len(CORNERS)
    start = mesh_file.bin_mesh(CORNERS, FACES)
    whole = mesh_file.bin_mesh(CORNERS, FACES, textures, CORNERS)
    yield start
    yield whole
    yield start + uints(0xCCCCCC00, 3) + numbers('f', *[0.75, 0.25, 0.5, 1, 0.25] * len(CORNERS))
    yield whole.replace(uints(4, 0xCCCCCCCC), uints(2, 0xCCCCCCCC), 1).replace(uints(0xCCCCCC00, 1), uints(0xCCCCCC00, 0))


def mesh_record():
    most = sys.float_info.max
    yield uints(0, 9) + b'Nameless\0' + numbers('d', *[most] * 3, *[-most] * 3) + uints(0xFFFFFFFF, *[0] * 6)
    faces = counted('I', FACES)
    yield (uints(1, 5) + b'part\0' + numbers('d', 0, 0, 0, 1, 1, 1) + uints(7) + faces + counted('d', CORNERS) + faces +
           counted('f', CORNERS) + counted('f', [(0, 0, 1, 0.5)] * len(FACES)) +
           counted('I', [(4, 8, 12), (0, 13, 9), (1, 14, 5), (2, 6, 10)]))


def mesh_sequence():
    cube, geometry = bytes([11, 0]), bytes([0, 5, 4, *range(40, 55), *range(12)])
    for call in range(3, 11):
        for choice in range(4):
            yield cube + bytes([3, 1, call, choice, choice, 2, choice] + [16, 23, 31, 5] * 6)
            yield geometry + bytes([call, choice, 1, choice, 0] + [20, 3, 7] * 8) + cube + bytes([call, 3, choice, 4])


def particle_bin():
    for version in (2, 3, 4, 6, 7, 9):
        yield particles.particle_file([(1, 2, 3)] * 2, version, velocities=[(4, 5, 6)] * 2)


def grid(x, y, z, separation):
    half = [(n - 1) * separation / 2 for n in (x, y, z)]
    return (uints(x, y, z, y * z, x * y * z) +
            numbers('d', *[-h for h in half], *half, *[separation] * 3, *[1 / separation] * 3, separation))


def level_set():
    for kind in 'fd':
        samples = [-1 if n == 22 else 3 for n in range(60)]
        yield grid(5, 4, 3, 0.5) + uints(60) + numbers(kind, *samples) + uints(2, 1 << 22, 1, 60)
        yield grid(5, 4, 3, 0.5) + uints(2, 22) + numbers(kind, -1) + uints(23) + numbers(kind, 1) + uints(2, 22, 33)


def number_text():
    for text in ('0', '-1.5', '+.5e-3', '0x1.8p-3', '1e400', '-Infinity', 'nan', '-2147483649', '16777217.5', '1.17549435e-38', '1e+'):
        yield text.encode()


for seed in (ase, bin_mesh, level_set, mesh_record, mesh_sequence, number_text, obj, particle_bin, stl):
    folder = pathlib.Path(sys.argv[1], seed.__name__)
    folder.mkdir(parents=True, exist_ok=True)
    for number, content in enumerate(seed()):
        (folder / f'{number}').write_bytes(content)
