"""Reads the OBJ files of triangles with normals that the program writes, and measures them."""

from collections import Counter


def dot(a, b):
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]


def cross(a, b):
    return (a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0])


class ObjMesh:
    """`points`, `normals`, and for every face a triple of indices of points in `faces` and of normals in
    `face_normals`, counted from 0."""

    def __init__(self, path):
        with open(path, encoding="ascii") as file:
            lines = file.read().split("\n")
        self.points, self.normals = ([tuple(map(float, line.split()[1:])) for line in lines if line.startswith(key)]
                                     for key in ("v ", "vn "))
        corners = [[tuple(int(n) - 1 for n in corner.split("//")) for corner in line.split()[1:]]
                   for line in lines if line.startswith("f ")]
        self.faces, self.face_normals = ([tuple(corner[n] for corner in face) for face in corners] for n in (0, 1))

    def corners(self):
        """The pairs of a point and a normal that meet in a face's corner."""
        indices = {pair for faces in zip(self.faces, self.face_normals) for pair in zip(*faces)}
        return [(self.points[point], self.normals[normal]) for point, normal in indices]

    def is_closed_and_oriented(self):
        """Whether every edge is passed as often in one direction as in the other."""
        edges = Counter(edge for a, b, c in self.faces for edge in ((a, b), (b, c), (c, a)))
        return all(edges[b, a] == count for (a, b), count in edges.items())

    def volume(self):
        """The enclosed volume; negative when the faces look inwards."""
        p = self.points
        return sum(dot(p[a], cross(p[b], p[c])) for a, b, c in self.faces) / 6
