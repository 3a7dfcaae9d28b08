#!/usr/bin/env python3
"""What the fuzzers start from: make_seeds.py FOLDER writes small files of every format, by hand, into FOLDER/<name>."""

import base64
import gzip
import io
import pathlib
import struct
import sys
import zipfile
import zlib

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
    yield b'\xef\xbb\xbf' + quad + b'v 0.5 0.2 0\rf 1 2 5 3 \\\n4 # five\rf 4/1 5/2 2/1\\\r\n 1/2\n'
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


def formats():
    points = '0 0 0\n1 0 0\n1 1 0\n0 1 0.5\n'
    polygons = 'POLYGONS 2 7\n3 0 1 2\n2 0 3\nTRIANGLE_STRIPS 1 5\n4 0 1 2 3\n'
    data = 'POINT_DATA 4\nSCALARS a float\nLOOKUP_TABLE default\n1 2 3 4\nFIELD f 1\nvel 3 4 int\n' + points.replace('.5', '')
    head = '# vtk DataFile Version 4.2\n\nASCII\nDATASET '
    yield (head + 'POLYDATA\nPOINTS 4 float\n' + points + polygons + data).encode()
    yield (head + 'UNSTRUCTURED_GRID\nPOINTS 4 double\n' + points + 'CELLS 2 8\n3 0 1 2\n3 1 2 3\nCELL_TYPES 2\n5 5\n').encode()
    new = b'POLYGONS 2 3\nOFFSETS int\n%s\nCONNECTIVITY vtktypeint64\n%s\nMETADATA\nINFORMATION 0\n\n'
    yield (head.replace('ASCII', 'BINARY').encode() + b'POLYDATA\nPOINTS 3 float\n' + struct.pack('>9f', *range(9)) + b'\n' +
           new % (struct.pack('>2i', 0, 3), struct.pack('>3q', 0, 1, 2)) +
           b'POINT_DATA 3\nFIELD f 2\ns 1 2 string\n\xC1ab\xC0\nn 1 3 bit\n\xA0\n')
    array = '<DataArray type="%s" Name="%s" NumberOfComponents="%d" format="%s" offset="%d">%s</DataArray>'
    ascii = (array % ('Float32', 'p', 3, 'ascii', 0, points), array % ('Int8', 'a', 2, 'ascii', 0, '1 2 3 4 5 6 7 8'))
    polys = '<Polys>%s%s</Polys>' % (array % ('Int32', 'connectivity', 1, 'ascii', 0, '0 1 2 3'),
                                     array % ('Int64', 'offsets', 1, 'ascii', 0, '4'))
    xml = ('<VTKFile type="PolyData" header_type="UInt32" byte_order="LittleEndian"%s><PolyData><Piece NumberOfPoints="4"><PointData>%s'
           '</PointData><Points>%s</Points>%s</Piece></PolyData>')
    yield (xml % ('', ascii[1], ascii[0], polys) + '</VTKFile>').encode()
    numbers48 = numbers('f', *range(12))
    plain, packed = uints(48) + numbers48, zlib.compress(numbers48)
    blocks = uints(1, 48, 0, len(packed))
    for kept, compressor in ((plain, ''), (blocks + packed, ' compressor="vtkZLibDataCompressor"')):
        base64_text = (base64.b64encode(kept) if not compressor else base64.b64encode(blocks) + base64.b64encode(packed)).decode()
        inline = array % ('Float32', 'p', 3, 'binary', 0, base64_text)
        appended = array % ('Float32', 'p', 3, 'appended', 0, '')
        yield (xml % (compressor, '', inline, polys) + '</VTKFile>').encode()
        yield (xml % (compressor, '', appended, '') + '<AppendedData encoding="raw">_').encode() + kept
        yield (xml % (compressor, '', appended, '') + '<AppendedData encoding="base64">_' + base64_text).encode()
    yield (b'BgeoV' + struct.pack('>9i', 5, 2, 0, 0, 0, 3, 0, 0, 0) + b'\0\1v\0\3' + struct.pack('>i3f', 5, 0, 0, 0) +
           b'\0\1s\0\1' + struct.pack('>ii', 4, 1) + b'\0\1a\0\1i\0\1' + struct.pack('>ii', 1, 0) +
           struct.pack('>7f2i7f2i', *range(18)))
    ply_head = ('ply\nformat %s 1.0\nelement vertex 4\nproperty float x\nproperty float y\nproperty float z\nproperty uchar red\n'
                'element face 2\nproperty list uchar int vertex_indices\nelement tristrips 1\nproperty list int short vertex_index\nend_header\n')
    yield (ply_head % 'ascii' + points.replace('\n', ' 7\n') + '3 0 1 2\n4 0 1 2 3\n5 0 1 2 -1 3\n').encode()
    for order, name in (('<', 'little'), ('>', 'big')):
        yield ((ply_head % f'binary_{name}_endian').encode() + struct.pack(order + '3fB' * 4, *range(16)) +
               struct.pack(order + 'B3iB4i', 3, 0, 1, 2, 4, 0, 1, 2, 3) + struct.pack(order + 'i4h', 4, 0, 1, 2, 3))
    for header in ("{'descr': '<f4', 'fortran_order': True, 'shape': (4, 3), }\n",
                   "{'descr': [('x', '>f2'), ('y', '<f2'), ('z', '<i4'), ('v', '<u1', (3,))], 'fortran_order': False, 'shape': (3,)}\n"):
        yield b'\x93NUMPY\1\0' + struct.pack('<H', len(header)) + header.encode() + numbers48
    for text in ('x,y,z,"a,b",vx,vy,vz\n1,2,3,x,4,5,6\n1,,nan\n', '# x y z\n1 2 3\n4 5 6\n', '2\n\nO 1 2 3\nH 4 5 6\n',
                 '1\nProperties=species:S:1:pos:R:3:velo:R:3\nO 1 2 3 4 5 6\n', 'a;b;x;y;z\n1,5;2;3;4;5\n', '[[1,2,3],[4,5,6,7],[]]',
                 '{"p":[{"x":1,"y":2,"z":3,"v":[1,2,3]},{"x":4,"v":[1]}]}', '{"pos":[1,2,3,4,5,6],"a":[1,null],"b":[[1,2],[3]]}'):
        yield text.encode()
        yield gzip.compress(text.encode())


def glb(members, binary):
    text = ('{"asset":{"version":"2.0"},' + members + '}').encode()
    text += b' ' * (-len(text) % 4)
    chunks = uints(len(text)) + b'JSON' + text + uints(len(binary)) + b'BIN\0' + binary
    return b'glTF' + uints(2, 12 + len(chunks)) + chunks


def three_mf(method):
    mesh = ('<mesh><vertices>' + ''.join(f'<vertex x="{x}" y="{y}" z="{z}"/>' for x, y, z in CORNERS) + '</vertices><triangles>' +
            ''.join(f'<triangle v1="{a}" v2="{b}" v3="{c}"/>' for a, b, c in FACES) + '</triangles></mesh>')
    file = io.BytesIO()
    with zipfile.ZipFile(file, 'w', method) as archive:
        archive.writestr('3D/3dmodel.model', '<model><resources><object id="1">' + mesh + '</object><object id="2"><components>'
                         '<component objectid="1" transform="1 0 0 0 1 0 0 0 1 5 0 0"/></components></object></resources>'
                         '<build><item objectid="2"/><item objectid="1"/></build></model>')
    return file.getvalue()


def formats_mesh():
    points, faces = numbers('f', *[n for p in CORNERS for n in p]), numbers('H', *[n for f in FACES for n in f])
    accessors = ('"bufferViews":[{"buffer":0,"byteLength":48},{"buffer":0,"byteOffset":48,"byteLength":24}],"accessors":['
                 '{"bufferView":0,"componentType":5126,"count":4,"type":"VEC3"},'
                 '{"bufferView":1,"componentType":5123,"count":12,"type":"SCALAR"},'
                 '{"componentType":5126,"count":4,"type":"SCALAR","sparse":{"count":2,"indices":{"bufferView":1,"componentType":5123},'
                 '"values":{"bufferView":0}}}],"meshes":[{"primitives":[{"attributes":{"POSITION":0,"NORMAL":0,"_A":2},"indices":1},'
                 '{"attributes":{"POSITION":0},"mode":5,"indices":1}]}],')
    nodes = '"nodes":[{"mesh":0,"children":[1],"scale":[1,-1,2]},{"mesh":0,"rotation":[0,0,1,0]}]'
    yield glb('"buffers":[{"byteLength":72}],' + accessors + nodes, points + faces)
    data = base64.b64encode(points + faces).decode()
    yield ('{"asset":{"version":"2.0"},"buffers":[{"byteLength":72,"uri":"data:,' + data + '"}],' + accessors + nodes + '}').encode()
    yield three_mf(zipfile.ZIP_STORED)
    yield three_mf(zipfile.ZIP_DEFLATED)
    yield b'OFF\n4 2 0\n' + b''.join(b'%d %d %d\n' % p for p in CORNERS) + b'3 0 1 2\n4 0 1 2 3 255 0 0\n'
    yield b'COFF 3 1 0\n0 0 0 255 0 0\n1 0 0 0 1 0\n0 1 0 0 0 1\n5 0 1 2 0 9\n'
    yield (b'ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\nproperty float z\nproperty float s\n'
           b'property float t\nelement face 1\nproperty list uchar int vertex_indices\nend_header\n0 0 0 0 0\n1 0 0 1 0\n0 1 0 0 1\n3 0 1 2\n')


def png_heights():
    def chunk(kind, data):
        return struct.pack('>I', len(data)) + kind + data + struct.pack('>I', zlib.crc32(kind + data))

    for bits, colours, channels in ((1, 0, 1), (16, 0, 1), (8, 2, 3), (2, 3, 1), (8, 4, 2), (16, 6, 4)):
        raw = b''.join(bytes([n % 5]) + bytes(range((5 * channels * bits + 7) // 8)) for n in range(6))
        yield (b'\x89PNG\r\n\x1a\n' + chunk(b'IHDR', struct.pack('>2I5B', 5, 6, bits, colours, 0, 0, 0)) +
               chunk(b'PLTE', bytes(range(12))) + chunk(b'IDAT', zlib.compress(raw)) + chunk(b'IEND', b''))


for seed in (ase, bin_mesh, formats, formats_mesh, level_set, mesh_record, mesh_sequence, number_text, obj, particle_bin, png_heights, stl):
    folder = pathlib.Path(sys.argv[1], seed.__name__)
    folder.mkdir(parents=True, exist_ok=True)
    for number, content in enumerate(seed()):
        (folder / f'{number}').write_bytes(content)
