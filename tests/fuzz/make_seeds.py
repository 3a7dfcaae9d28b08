#!/usr/bin/env python3
"""What the fuzzers start from: make_seeds.py FOLDER writes small files of every format, by hand, into FOLDER/<name>."""

import pathlib
import struct
import sys


def floats(*values):
    return struct.pack(f'<{len(values)}f', *values)


def doubles(*values):
    return struct.pack(f'<{len(values)}d', *values)


def uints(*values):
    return struct.pack(f'<{len(values)}I', *values)


CORNERS = [(0, 0, 0), (1, 0, 0), (0, 1, 0), (0, 0, 1)]
FACES = [(0, 2, 1), (0, 1, 3), (1, 2, 3), (2, 0, 3)]


def flat(triples):
    return [number for triple in triples for number in triple]


def obj():
    quad = b'v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nvt 0 0\nvt 1 1 0.5\nvn 0 0 1\n'
    yield quad + b'f 1 2 3\nf 1/1 2/2 3/1 4/2\nf 1//1 2//1 3//1\nf 1/1/1 2/2/1 -2/-1/-1\n'
    yield b'# two groups\r\n' + quad + b'g part one\r\nf 1 2 3\r\ng part two\r\nf 1 3 4\r\ng part one\nf 2 3 4\n'
    yield b'v 1e-3 0x1p-2 nan\nv +inf -1. .5e1\nv 1 2\nf 1 2 3\nf 1 2 9\nf 1 2\nf 1 2 3 4 5\nusemtl x\ng\n\\\n'


def stl():
    facet = floats(0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0) + b'\0\0'
    yield b'part'.ljust(80, b'\0') + uints(2) + facet + facet
    yield b'solid in name'.ljust(80, b' ') + uints(1) + facet
    text = (b'solid part\n  facet normal 0 0 1\n    outer loop\n      vertex 0 0 0\n      vertex 1 0 0\n'
            b'      vertex 0 1e0 -0.5\n    endloop\n  endfacet\nendsolid part\n')
    yield text
    yield text.replace(b'\n', b'\r\n').upper() + b'color 1 0 0\nvertex 1 2\n' + text


def ase():
    mesh = (b'\t*MESH {\n\t\t*MESH_NUMVERTEX 3\n\t\t*MESH_VERTEX_LIST {\n\t\t\t*MESH_VERTEX 0 0.0 0.0 0.0\n'
            b'\t\t\t*MESH_VERTEX 1 1.0 0.0 0.0\n\t\t\t*MESH_VERTEX 2 0.0 1.0 0.0\n\t\t}\n\t\t*MESH_FACE_LIST {\n'
            b'\t\t\t*MESH_FACE 0: A: 0 B: 1 C: 2 AB: 1 BC: 1 CA: 0 *MESH_SMOOTHING 1\n\t\t}\n\t}\n')
    yield b'*3DSMAX_ASCIIEXPORT 200\n*GEOMOBJECT {\n\t*NODE_NAME "part one"\n' + mesh + b'}\n'
    yield b'*GROUP "g" {\n*GEOMOBJECT {\n' + mesh.replace(b'_VERTEX 1 ', b'_VERTEX 7 ') + b'}\n}\n' + mesh


def bin_mesh():
    faces = uints(len(FACES), *[i for a, b, c in FACES for i in (b, a, c)])
    start = uints(0xDADADADA, 4, 0xCCCCCCCC, len(CORNERS)) + floats(*flat(CORNERS)) + faces
    weightless = uints(0xCCCCCC00, 1) + floats(*[0.5, 1, 0.25] * len(CORNERS))
    velocities = uints(0xCCCCCC11) + floats(*flat(CORNERS))
    yield start
    yield start + weightless + velocities
    yield start + uints(0xCCCCCC00, 3) + floats(*[0.75, 0.25, 0.5, 1, 0.25] * len(CORNERS)) + velocities
    yield start.replace(uints(4, 0xCCCCCCCC), uints(2, 0xCCCCCCCC), 1) + uints(0xCCCCCC00, 0) + weightless[8:]


def mesh_record():
    most = sys.float_info.max
    yield uints(0, 9) + b'Nameless\0' + doubles(*[most] * 3, *[-most] * 3) + uints(0xFFFFFFFF, *[0] * 6)
    faces = uints(len(FACES), *flat(FACES))
    corners = uints(len(CORNERS)) + doubles(*flat(CORNERS))
    normals = uints(len(CORNERS)) + floats(*flat(CORNERS))
    face_normals = uints(len(FACES)) + floats(*[0, 0, 1, 0.5] * len(FACES))
    neighbours = uints(len(FACES), *[4, 8, 12, 0, 13, 9, 1, 14, 5, 2, 6, 10])
    yield (uints(1, 5) + b'part\0' + doubles(0, 0, 0, 1, 1, 1) + uints(7) + faces + corners + faces + normals +
           face_normals + neighbours)


def mesh_sequence():
    cube, geometry = bytes([11, 0]), bytes([0, 5, 4, *range(40, 55), *range(12)])
    for call in range(3, 11):
        for choice in range(4):
            yield cube + bytes([3, 1, call, choice, choice, 2, choice] + [16, 23, 31, 5] * 6)
            yield geometry + bytes([call, choice, 1, choice, 0] + [20, 3, 7] * 8) + cube + bytes([call, 3, choice, 4])


def particle_bin():
    for version, header, record in ((2, 320, 68), (3, 320, 80), (4, 320, 84), (6, 320, 98), (7, 356, 98), (9, 356, 110)):
        start = (uints(0x00FABADA) + bytes(250) + struct.pack('<h', version) + bytes(20) + uints(2)).ljust(header, b'\0')
        yield start + 2 * (floats(1, 2, 3, 4, 5, 6).ljust(record - 4, b'\0') + struct.pack('<i', -1))


def grid(x, y, z, separation):
    half = [(n - 1) * separation / 2 for n in (x, y, z)]
    return (uints(x, y, z, y * z, x * y * z) + doubles(*[-h for h in half], *half) +
            doubles(*[separation] * 3, *[1 / separation] * 3, separation))


def level_set_regular():
    for number in (floats, doubles):
        samples = [-1 if n == 22 else 3 for n in range(60)]
        yield grid(5, 4, 3, 0.5) + uints(60) + number(*samples) + uints(2, 1 << 22, 1, 60)


def level_set_sparse():
    for number in (floats, doubles):
        yield grid(5, 4, 3, 0.5) + uints(2, 22) + number(-1) + uints(23) + number(1) + uints(2, 22, 33)


def number_text():
    for text in ('0', '-1.5', '+.5e-3', '0x1.8p-3', '1e400', '1e-400', 'inf', '-Infinity', 'nan', '2147483648', '-2147483649',
                 '16777217.5', '3.4028235e38', '1.17549435e-38', '0.1000000014901161193847656250000000000001', ' 1', '0x', '1e+'):
        yield text.encode()


SEEDS = (ase, bin_mesh, level_set_regular, level_set_sparse, mesh_record, mesh_sequence, number_text, obj, particle_bin, stl)

for seed in SEEDS:
    folder = pathlib.Path(sys.argv[1], seed.__name__)
    folder.mkdir(parents=True, exist_ok=True)
    for number, content in enumerate(seed()):
        (folder / f'{number}').write_bytes(content)
