"""Tests of `tavrix simplify`, `tavrix sphere` and what joins vertices in other commands, from outside."""

import unittest
from math import pi

from mesh_file import CUBE_FACES, CUBE_POINTS, bin_mesh, binary_stl, obj_file
from particle_file import block, particle_file
from program import ProgramTest


class Simplify(ProgramTest):
    def mesh(self, *arguments):
        text = self.succeed(*arguments)
        found = self.info("out.obj")
        self.assertRegex(text, rf"mesh +{found['vertices']} vertices, {found['faces']} faces -> out.obj")
        return found

    def count_normals(self):
        return (self.folder / "out.obj").read_text().count("\nvn ")

    def test_corners_of_stl_faces_are_joined(self):
        self.write("in.stl", binary_stl(CUBE_POINTS, CUBE_FACES))
        for arguments in (("convert", "in.stl", "out.obj", "--weld", 1.99),
                          ("simplify", "in.stl", "-o", "out.obj", "--tolerance", 0)):
            self.assertEqual(self.mesh(*arguments)["vertices"], 8)
            self.assertEqual(self.assert_solid("out.obj", 8, 0)["faces"], 12)
            self.assertEqual(self.count_normals(), 24)  # the edges are creases
        self.assertEqual(self.mesh("convert", "in.stl", "out.obj")["vertices"], 36)

    def test_channels_of_joined_vertices_go(self):
        self.write("in.bin", bin_mesh(CUBE_POINTS, CUBE_FACES, [(0, 1)] * 8, [(0, 0, 1)] * 8))
        self.succeed("convert", "in.bin", "out.bin", "--weld", 0, "-q")
        self.assertEqual((self.folder / "out.bin").stat().st_size, len(bin_mesh(CUBE_POINTS, CUBE_FACES)))

    def test_surfaces_are_simplified(self):
        self.write("in.bin", particle_file(block(4, 0.1)))
        run = ("surface", "in.bin", "-o", "out.obj", "--radius", 0.05)
        whole, simple = self.mesh(*run), self.mesh(*run, "--simplify", 0.01)
        self.assertLess(simple["vertices"], whole["vertices"])
        self.assertEqual(self.count_normals(), simple["vertices"])
        self.assertAlmostEqual(simple["volume"] / whole["volume"], 1, delta=0.03)
        self.succeed("surface", "in.bin", "-o", "out.bin", "--simplify", 0.01, "-q")
        self.assertIn("velocities", self.succeed("info", "out.bin"))

    def test_sheets_that_touch_are_cut_apart(self):
        touching = [(x + 2, y + 2, z) for x, y, z in CUBE_POINTS]
        near = [(x + 2.05, y + 2, z) for x, y, z in CUBE_POINTS]
        two = CUBE_FACES + [tuple(n + 8 for n in face) for face in CUBE_FACES]
        for points, tolerance in ((touching, 0), (near, 0.1)):
            self.write("in.stl", binary_stl(CUBE_POINTS + points, two))
            text = self.succeed("simplify", "in.stl", "-o", "out.obj", "--tolerance", tolerance)
            self.assertIn("cut apart at 1 edges, by 2 more vertices", text)
            found = self.assert_solid("out.obj", 16)
            self.assertEqual([found[key] for key in ("vertices", "parts", "selfContacts", "manifold")],
                             [16, 2, 2, True])
        # a pane with two sides, which only a tolerance above 0 takes for a flap
        pane = CUBE_FACES[:2] + [face[::-1] for face in CUBE_FACES[:2]]
        self.write("in.obj", obj_file(CUBE_POINTS + touching, pane + two[12:]))
        for tolerance, faces in ((0, 16), (0.1, 12)):
            self.assertEqual(self.mesh("simplify", "in.obj", "-o", "out.obj", "--tolerance", tolerance)["faces"], faces)

    def test_meshes_are_decimated(self):
        points = [(x / 20, y / 20, 0) for x in range(21) for y in range(21)]
        corners = [n // 20 * 21 + n % 20 for n in range(400)]
        faces = [face for a in corners for face in ((a, a + 21, a + 22), (a, a + 22, a + 1))]
        uv, velocities = [(x, 1 - y) for x, y, _ in points], [(x, y, 1) for x, y, _ in points]
        self.write("in.bin", bin_mesh(points, faces, uv, velocities))
        self.succeed("simplify", "in.bin", "-o", "out.bin", "--error", 0, "-q")
        found = self.info("out.bin")
        self.assertEqual((found["vertices"], found["faces"]), (4, 2))
        self.assertEqual(found["channels"], self.info("in.bin")["channels"])
        self.assertAlmostEqual(found["area"], 1)
        self.write("in.stl", binary_stl(points, faces))
        for arguments, left in (("--faces 100", 100), ("--ratio 0.25", 200), ("--faces 40 --error 1", 40),
                                ("--error 0.001", 2), ("--ratio 1", 800), ("--tolerance 0.06 --faces 50", 50)):
            with self.subTest(arguments):
                found = self.mesh("simplify", "in.stl", "-o", "out.obj", *arguments.split())
                self.assertIn(found["faces"], (left, left - 1))  # borders lose one at a time
                self.assertEqual(self.count_normals(), found["vertices"])
        self.write("cube.obj", obj_file(CUBE_POINTS, CUBE_FACES))
        self.assertIn("more than the 2 faces", self.succeed("simplify", "cube.obj", "-o", "out.obj", "--faces", 2))
        self.assertTrue(self.info("out.obj")["closed"])
        self.assert_one_answer("simplify", "in.stl", "--ratio", 0.3)

    def test_surfaces_are_decimated(self):
        self.write("in.bin", particle_file(block(4, 0.1)))
        run = ("surface", "in.bin", "-o", "out.obj", "--radius", 0.05)
        whole, light = self.mesh(*run), self.mesh(*run, "--decimate", 0.2)
        self.assertAlmostEqual(light["faces"] / whole["faces"], 0.2, delta=0.01)
        self.assertAlmostEqual(light["volume"] / whole["volume"], 1, delta=0.03)
        self.assertTrue(light["closed"] and light["oriented"])
        self.succeed("surface", "in.bin", "-o", "out.bin", "--decimate", 0.2, "-q")
        self.assertIn("velocities", self.succeed("info", "out.bin"))

    def test_spheres(self):
        mesh = self.mesh("sphere", 500, "-o", "out.obj", "--radius", 3)
        self.assertEqual(mesh["faces"], 500)
        self.assertTrue(0.97 < mesh["volume"] / (36 * pi) < 1)

    def test_what_cannot_be(self):
        self.write("in.obj", obj_file(CUBE_POINTS, CUBE_FACES))
        self.assert_all_refused("", (
            ("simplify in.obj -o out.obj --tolerance 9", 1, "no faces"), ("sphere 20 -o out.off", 2, "out.off"),
            ("simplify missing.stl -o out.obj --tolerance 1", 1, "missing.stl"), ("sphere 21 -o out.obj", 2, "21"),
            ("simplify in.obj -o missing/out.obj --tolerance 1", 1, "missing"),
            ("simplify in.obj -o out.obj", 2, "--tolerance"),
            ("simplify in.obj -o out.obj --drop-thin --ratio 0.5", 2, "--drop-thin"),
            ("simplify in.obj -o out.obj --faces 9 --ratio 0.5", 2, "--ratio"),
            ("simplify in.obj -o out.obj --ratio 0", 2, "--ratio"),
            ("simplify in.obj -o out.obj --error -1", 2, "--error"),
            ("surface in.obj -o out.obj --decimate 2", 2, "--decimate"),
            ("simplify in.obj -o out.obj --tolerance nan", 2, "--tolerance"),
            ("simplify in.obj -o out.obj" + " --tolerance 1" * 9, 2, "eight"),
            ("convert in.obj out.stl --weld -1", 2, "--weld"), ("convert in.obj out.stl --weld 9", 1, "in.obj")))
