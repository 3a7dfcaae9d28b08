"""Writes mesh files, byte by byte and not by way of the library."""

import struct

CUBE_POINTS = [(x, y, z) for z in (0, 2) for y in (0, 2) for x in (0, 2)]
CUBE_FACES = [(0, 2, 3), (0, 3, 1), (4, 5, 7), (4, 7, 6), (0, 1, 5), (0, 5, 4),
              (2, 6, 7), (2, 7, 3), (0, 4, 6), (0, 6, 2), (1, 3, 7), (1, 7, 5)]


def obj_file(points, faces, group=None):
    lines = [] if group is None else [f"g {group}"]
    lines += ["v {} {} {}".format(*p) for p in points]
    return "\n".join(lines + ["f " + " ".join(str(n + 1) for n in face) for face in faces] + [""]).encode()


def binary_stl(points, faces, header=b""):
    corners = b"".join(
        bytes(12) + b"".join(struct.pack("<3f", *points[n]) for n in face) + bytes(2) for face in faces)
    return header.ljust(80, b"\0") + struct.pack("<I", len(faces)) + corners


def bin_mesh(points, faces, textures=(), velocities=()):
    data = struct.pack("<3I", 0xDADADADA, 4, 0xCCCCCCCC)
    data += struct.pack("<i", len(points)) + b"".join(struct.pack("<3f", *p) for p in points)
    data += struct.pack("<i", len(faces)) + b"".join(struct.pack("<3I", b, a, c) for a, b, c in faces)
    if textures:
        data += struct.pack("<Ii", 0xCCCCCC00, 1) + b"".join(struct.pack("<3f", u, 1, v) for u, v in textures)
    if velocities:
        data += struct.pack("<I", 0xCCCCCC11) + b"".join(struct.pack("<3f", *v) for v in velocities)
    return data


def ase_file(points, faces):
    vertices = "".join(f"\t\t\t*MESH_VERTEX {n}\t{x}\t{y}\t{z}\r\n" for n, (x, y, z) in enumerate(points))
    lines = "".join(f"\t\t\t*MESH_FACE {n}:  A: {a} B: {b} C: {c} AB: 1\r\n" for n, (a, b, c) in enumerate(faces))
    return (f'*GEOMOBJECT {{\r\n*NODE_NAME "cube"\r\n*MESH {{\r\n*MESH_VERTEX_LIST {{\r\n{vertices}}}\r\n'
            f"*MESH_FACE_LIST {{\r\n{lines}}}\r\n}}\r\n}}\r\n").encode()
