"""Tests of `tavrix query`, from outside."""

import csv
import io
import unittest

from mesh_file import CUBE_FACES, CUBE_POINTS, ase_file, binary_stl, obj_file
from program import ProgramTest

HEADING = "query,ox,oy,oz,dx,dy,dz,distance,x,y,z,face,a,b,c,inside"


class Query(ProgramTest):
    """The mesh is the cube from (0, 0, 0) to (2, 2, 2)."""

    def setUp(self):
        super().setUp()
        self.write("cube.obj", obj_file(CUBE_POINTS, CUBE_FACES))

    def ask(self, *arguments):
        text = self.succeed("query", *arguments)
        self.assertEqual(text.splitlines()[0], HEADING)
        return list(csv.DictReader(io.StringIO(text)))

    def numbers(self, row, *names):
        return [float(row[name]) for name in names]

    def test_rays_and_points(self):
        rows = self.ask("cube.obj", "--nearest", "-3,1,0.5", "--ray", "1,0.5,10,0,0,-2", "--ray", "-1,5,0,0,1,0",
                        "--nearest", "1,1,1.75")
        self.assertEqual([row["query"] for row in rows], ["ray", "ray", "point", "point"])
        hit, missed, outside, inside = rows
        self.assertEqual(self.numbers(hit, "distance", "x", "y", "z", "dz"), [4, 1, 0.5, 2, -2])
        corners = [CUBE_POINTS[n] for n in CUBE_FACES[int(hit["face"])]]
        weights = self.numbers(hit, "a", "b", "c")
        self.assertEqual([sum(w * p[axis] for w, p in zip(weights, corners)) for axis in range(3)], [1, 0.5, 2])
        self.assertEqual([missed[name] for name in ("distance", "x", "face", "c", "inside")], [""] * 5)
        self.assertEqual(self.numbers(outside, "distance", "x", "y", "z", "inside"), [3, 0, 1, 0.5, 0])
        self.assertEqual(self.numbers(inside, "distance", "z", "inside"), [0.25, 2, 1])

    def test_every_format_and_files_of_queries(self):
        expected = self.succeed("query", "cube.obj", "--ray", "1,0.5,10,0,0,-2", "--nearest", "1,1,1.75")
        self.write("cube.ase", ase_file(CUBE_POINTS, CUBE_FACES))
        self.write("cube.stl", binary_stl(CUBE_POINTS, CUBE_FACES))
        for content in (b"ox,oy,oz\n1,0.5,10,0,0,-2\n1,1,1.75\n", b"\xef\xbb\xbf1; .5; +10; 1e-400; 0; -2\r\n\n 1 1\t1.75,"):
            self.write("asked.csv", content)
            for name in ("cube.obj", "cube.ase", "cube.stl"):
                self.assertEqual(self.succeed("query", name, "--points", "asked.csv"), expected, name)
        summary = self.succeed("query", "cube.ase", "--points", "asked.csv", "-o", "out.csv", "--threads", "3")
        self.assertRegex(summary, r"\Aanswers +2, from 12 faces -> out.csv\n\Z")
        self.assertEqual((self.folder / "out.csv").read_text(), expected)
        self.assertEqual(self.succeed("query", "cube.ase", "--points", "asked.csv", "-o", "out.csv", "-q"), "")
        self.assertIn("ASE mesh", self.succeed("info", "cube.ase"))

    def test_signed_distances(self):
        self.assertEqual(self.succeed("query", "cube.obj", "--distance", "--nearest", "1,1,1.75", "--nearest", "-3,1,0.5"),
                         "x,y,z,distance\n1,1,1.75,-0.25\n-3,1,0.5,3\n")
        grid = [(x / 20, y / 20, z / 20) for x in range(-10, 50) for y in range(-10, 50) for z in range(-10, 50, 4)]
        self.write("grid.csv", "".join(f"{x},{y},{z}\n" for x, y, z in grid).encode())
        self.write("cube.stl", binary_stl(CUBE_POINTS, CUBE_FACES))
        exact, within = ([float(row["distance"]) for row in csv.DictReader(io.StringIO(self.succeed(
            "query", name, "--distance", "--points", "grid.csv", *more)))]
            for name, more in (("cube.obj", ()), ("cube.stl", ("--tolerance", "0.1"))))
        self.assertEqual(len(exact), len(grid))
        self.assertLess(max(abs(a - b) for a, b in zip(exact, within)), 0.1)
        self.assertNotEqual(exact, within)

    def test_failures_leave_nothing_behind(self):
        self.write("bad.csv", b"x,y,z\n1,2,3\n1,2,nan\n")
        self.write("long.csv", b"1,2,3,4,5,6,7\n")
        self.write("gap.csv", b"1,2,,3\n")
        self.write("rays.csv", b"0,0,9,0,0,-1\n")
        self.write("bad.ase", b"*MESH {\n")
        self.assert_all_refused("query", (
            ("cube.obj --points bad.csv -o out.csv", 1, "bad.csv:3"), ("cube.obj --points long.csv", 1, "long.csv:1"),
            ("cube.obj --points gap.csv", 1, "gap.csv:1"), ("cube.obj --nearest 1,2,inf", 2, "inf"),
            ("cube.obj --nearest 1,2,+-3", 2, "+-3"),
            ("cube.obj --points missing.csv", 1, "missing.csv"), ("bad.ase --nearest 1,2,3", 1, "bad.ase"),
            ("missing.obj --nearest 1,2,3", 1, "missing.obj"), ("cube.obj --nearest 1,2", 2, "1,2"),
            ("cube.obj --nearest 1,2,3 -o missing/out.csv", 1, "missing/out.csv"), ("cube.obj", 2, "--points"),
            ("cube.obj --distance --ray 0,0,9,0,0,-1", 2, "--ray"), ("cube.obj --nearest 0,0,0 --tolerance 1", 2, "--tolerance"),
            ("cube.obj --points rays.csv --distance", 1, "rays.csv")))
