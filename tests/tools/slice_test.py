"""Tests of `tavrix slice`, from outside."""

import csv
import re
import xml.etree.ElementTree as ElementTree

from mesh_file import CUBE_FACES, CUBE_POINTS, binary_stl, obj_file
from program import ProgramTest, limit_file_size, on_linux, run

SVG = "{http://www.w3.org/2000/svg}"


def shifted(points, faces, scale, by):
    """A copy of a mesh, its faces counting on behind as many points."""
    return ([tuple(scale * c + d for c, d in zip(p, by)) for p in points],
            [tuple(n + len(points) for n in face) for face in faces])


def area(points):
    return sum(a[0] * b[1] - a[1] * b[0] for a, b in zip(points, points[1:] + points[:1])) / 2


class Slice(ProgramTest):
    """The mesh is the cube from (0, 0, 0) to (2, 2, 2) with a cavity from 0.5 to 1.5, as corners of an STL file."""

    def setUp(self):
        super().setUp()
        points, faces = shifted(CUBE_POINTS, [face[::-1] for face in CUBE_FACES], 0.5, (0.5, 0.5, 0.5))
        self.write("hollow.stl", binary_stl(CUBE_POINTS + points, CUBE_FACES + faces))
        self.write("cube.obj", obj_file(CUBE_POINTS, CUBE_FACES))
        self.write("open.obj", obj_file(CUBE_POINTS, CUBE_FACES[:-2]))

    def loops(self, name):
        """{(layer, height, loop, kind): points} of a CSV file."""
        loops = {}
        with open(self.folder / name, newline="", encoding="utf-8") as file:
            for row in csv.DictReader(file):
                key = (int(row["layer"]), float(row["height"]), int(row["loop"]), row["kind"])
                loops.setdefault(key, []).append((float(row["x"]), float(row["y"])))
        return loops

    def test_tables_hold_every_loop(self):
        summary = self.succeed(*"slice hollow.stl --every 0.5 -o out.csv --threads 2".split())
        for line in (r"layers +4, at 0.25 to 1.75 along z\n", r"loops +4 outer, 2 holes, ", r"area +4 at most, 3.5 on average\n",
                     r"volume +7 by the layers, 7 of the mesh\n", r"slices +-> out.csv\n"):
            self.assertRegex(summary, line)
        loops = self.loops("out.csv")
        self.assertEqual(sorted((layer, height, kind) for layer, height, _, kind in loops),
                         sorted([(n, 0.25 + n / 2, "outer") for n in range(4)] + [(n, 0.25 + n / 2, "hole") for n in (1, 2)]))
        self.assertEqual({key[3]: area(points) for key, points in loops.items()}, {"outer": 4, "hole": -1})
        # heights of vertices and faces, in the order asked for, along another axis and a slanted one
        self.assertEqual(self.succeed(*"slice hollow.stl --at 1.5,0,2,0.5 --axis x -o at.csv -q".split()), "")
        self.assertEqual({key[:2] + key[3:]: area(points) for key, points in self.loops("at.csv").items()},
                         {(0, 1.5, "outer"): 4, (0, 1.5, "hole"): -1, (2, 2, "outer"): 4, (3, 0.5, "outer"): 4})
        self.succeed(*"slice cube.obj --at 1.4142135623730951 --axis 1,1,0 -o slanted.csv".split())
        self.assertAlmostEqual(sum(map(area, self.loops("slanted.csv").values())), 4 * 2 ** 0.5)
        self.assertIn("layers     3, at 0.5 to 1.5", self.succeed(*"slice cube.obj --every 0.5 --from 0.5 --to 1.6 -o a.csv".split()))
        self.succeed(*"slice hollow.stl --at 1 --simplify 0.1 -o simple.csv".split())
        self.assertEqual({len(points) for points in self.loops("simple.csv").values()}, {4})

    def test_pictures_show_layers_and_holes(self):
        self.succeed(*"slice hollow.stl --at 0.25,1 -o out.svg --unit cm".split())
        root = ElementTree.parse(self.folder / "out.svg").getroot()
        left, top, width, height = map(float, root.get("viewBox").split())
        self.assertEqual((root.get("width"), root.get("height")), (f"{width:g}cm", f"{height:g}cm"))
        self.assertTrue(left < 0 and top < -2 and left + width > 2 and top + height > 0 and width < 2.5)
        layers = root.findall(f"{SVG}g/{SVG}g")
        self.assertEqual([layer.get("data-height") for layer in layers], ["0.25", "1"])
        paths = [layer.find(f"{SVG}path").get("d") for layer in layers]
        areas = [[area([tuple(map(float, p)) for p in re.findall(r"(\S+) (\S+)", loop)])
                  for loop in re.findall(r"M([^MZ]+)Z", path)] for path in paths]
        self.assertEqual([sorted(each) for each in areas], [[-4], [-4, 1]])  # y points down on the page
        self.assertEqual(root.find(f"{SVG}g").get("fill-rule"), "evenodd")

    def test_a_file_a_layer_and_sequences(self):
        self.succeed(*"slice hollow.stl --every 0.125 -o layer_{}.svg".split())
        self.succeed(*"slice hollow.stl --every 1 -o layer_{}.csv".split())
        self.assertEqual(sorted(path.name for path in self.folder.glob("layer_*")),
                         sorted([f"layer_{n:02}.svg" for n in range(16)] + ["layer_0.csv", "layer_1.csv"]))
        self.assertEqual({key[0] for key in self.loops("layer_1.csv")}, {1})
        boxes = {ElementTree.parse(path).getroot().get("viewBox") for path in self.folder.glob("layer_*.svg")}
        self.assertEqual(len(boxes), 1)
        self.write("part1.obj", obj_file(CUBE_POINTS, CUBE_FACES))
        self.write("part2.obj", obj_file(CUBE_POINTS, CUBE_FACES))
        told = self.succeed(*"slice part{}.obj --every 0.5 -o cut{}.csv --jobs 2".split())
        self.assertIn("2 written", told)
        self.assertEqual(len(self.loops("cut1.csv")), 4)
        self.assert_one_answer(*"slice hollow.stl --every 0.01".split(), output="out.svg")

    def test_open_meshes_are_told(self):
        summary = self.succeed(*"slice open.obj --every 1 -o out.csv".split())
        self.assertRegex(summary, r"open +2 chains")
        self.assertNotIn("volume", summary)
        self.assertEqual({key[3] for key in self.loops("out.csv")}, {"open"})
        self.succeed(*"slice open.obj --at 1 -o out.svg".split())
        self.assertNotIn("Z", (self.folder / "out.svg").read_text())
        self.assertNotIn("open", self.succeed(*"slice open.obj --every 1 --gap 3 -o out.csv".split()))
        result = self.run_program(*"slice cube.obj --at 7 -o none.csv".split())
        self.assertEqual(result.returncode, 0)
        self.assert_one_line("tavrix: " + result.stderr, "cube.obj", "no plane meets the mesh", "from 0 to 2")

    def test_failures_leave_nothing_behind(self):
        self.write("empty.obj", b"v 0 0 0\n")
        self.assert_all_refused("slice", (
            ("cube.obj -o out.svg", 2, "--every or --at"), ("cube.obj -o out.png --at 1", 2, ".svg or .csv"),
            ("cube.obj -o out.svg --at 1 --every 1", 2, "--at"), ("cube.obj -o out.svg --at 1,x", 2, "1,x"),
            ("cube.obj -o out.svg --at 1,", 2, "1,"), ("cube.obj -o out.svg --every 0", 2, "--every"),
            ("cube.obj -o out.svg --at 1 --axis w", 2, "w"), ("cube.obj -o out.svg --at 1 --axis 0,0,0", 2, "0,0,0"),
            ("cube.obj -o out.svg --at 1 --from 0", 2, "--from"), ("cube.obj -o out.csv --at 1 --unit cm", 2, "--unit"),
            ("cube.obj -o out.svg --every 1e-9", 1, "larger --every"), ("cube.obj -o out.svg --every 5", 1, "from 0 to 2"),
            ("cube.obj -o out.svg --at 1 --jobs 2", 2, "--jobs"), ("cube{}.obj -o out.svg --at 1", 2, "{}"),
            ("empty.obj -o out.svg --at 1", 1, "empty.obj"), ("cube.obj -o missing/out.svg --at 1", 1, "missing")))

    @on_linux
    def test_a_full_disk_is_told(self):
        result = run("slice", "hollow.stl", "--every", "0.001", "-o", "out.csv", cwd=self.folder, preexec_fn=limit_file_size)
        self.assertEqual(result.returncode, 1)
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()), ["cube.obj", "hollow.stl", "open.obj"])
