"""Reads the OBJ files of triangles with normals that the program writes, and measures them."""

from collections import Counter
from math import sqrt


def dot(a, b):
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]


def cross(a, b):
    return (a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0])


def minus(a, b):
    return (a[0] - b[0], a[1] - b[1], a[2] - b[2])


def length(a):
    return sqrt(dot(a, a))


class ObjMesh:
    """`points`, `normals`, and for every face a triple of indices of points in `faces` and of normals in
    `face_normals`, counted from 0."""

    def __init__(self, path):
        with open(path, encoding="ascii") as file:
            lines = file.read().split("\n")
        self.points = _vectors(lines, "v ")
        self.normals = _vectors(lines, "vn ")
        corners = _corners([line for line in lines if line.startswith("f ")])
        self.faces = _triples(corners[0::2], len(self.points))
        self.face_normals = _triples(corners[1::2], len(self.normals))

    def corners(self):
        """The pairs of a point and a normal that meet in a face's corner."""
        indices = {pair for faces in zip(self.faces, self.face_normals) for pair in zip(*faces)}
        return [(self.points[point], self.normals[normal]) for point, normal in indices]

    def is_closed_and_oriented(self):
        """Whether every edge is passed as often in one direction as in the other."""
        n = len(self.points)
        edges = [edge for a, b, c in self.faces for edge in (a * n + b, b * n + c, c * n + a)]
        opposite = [edge for a, b, c in self.faces for edge in (b * n + a, c * n + b, a * n + c)]
        once = set(edges)
        return once == set(opposite) if len(once) == len(edges) else Counter(edges) == Counter(opposite)

    def volume(self):
        """The enclosed volume; negative when the faces look inwards."""
        p = self.points
        return sum(dot(p[a], cross(p[b], p[c])) for a, b, c in self.faces) / 6


def _vectors(lines, key):
    return [tuple(map(float, line[len(key):].split())) for line in lines if line.startswith(key)]


def _corners(lines):
    corners = " ".join(lines).replace("f ", "").replace("//", " ").split()
    if len(corners) != 6 * len(lines):
        raise ValueError("a face is no triangle of corners POINT//NORMAL")
    return [int(index) - 1 for index in corners]


def _triples(indices, limit):
    if indices and not 0 <= min(indices) <= max(indices) < limit:
        raise ValueError("an index is out of range")
    return list(zip(indices[0::3], indices[1::3], indices[2::3]))
