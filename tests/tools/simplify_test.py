"""Tests of `tavrix simplify`, `tavrix sphere` and what joins vertices in other commands, from outside."""

import unittest
from math import pi

from mesh_file import CUBE_FACES, CUBE_POINTS, bin_mesh, binary_stl, obj_file
from obj_mesh import ObjMesh
from particle_file import block, particle_file
from program import ProgramTest


class Simplify(ProgramTest):
    def mesh(self, *arguments):
        text = self.succeed(*arguments)
        mesh = ObjMesh(self.folder / "out.obj")
        self.assertRegex(text, rf"mesh +{len(mesh.points)} vertices, {len(mesh.faces)} faces -> out.obj")
        return mesh

    def test_corners_of_stl_faces_are_joined(self):
        self.write("in.stl", binary_stl(CUBE_POINTS, CUBE_FACES))
        for arguments in (("convert", "in.stl", "out.obj", "--weld", 1.99),
                          ("simplify", "in.stl", "-o", "out.obj", "--tolerance", 0)):
            mesh = self.mesh(*arguments)
            self.assertEqual((len(mesh.points), len(mesh.faces), mesh.volume()), (8, 12, 8))
            self.assertTrue(mesh.is_closed_and_oriented())
            self.assertEqual(len(mesh.normals), 24)  # the edges are creases
        self.assertEqual(len(self.mesh("convert", "in.stl", "out.obj").points), 36)

    def test_channels_of_joined_vertices_go(self):
        self.write("in.bin", bin_mesh(CUBE_POINTS, CUBE_FACES, [(0, 1)] * 8, [(0, 0, 1)] * 8))
        self.succeed("convert", "in.bin", "out.bin", "--weld", 0, "-q")
        self.assertEqual((self.folder / "out.bin").stat().st_size, len(bin_mesh(CUBE_POINTS, CUBE_FACES)))

    def test_surfaces_are_simplified(self):
        self.write("in.bin", particle_file(block(4, 0.1)))
        run = ("surface", "in.bin", "-o", "out.obj", "--radius", 0.05)
        whole, simple = self.mesh(*run), self.mesh(*run, "--simplify", 0.01)
        self.assertLess(len(simple.points), len(whole.points))
        self.assertEqual(len(simple.normals), len(simple.points))
        self.assertAlmostEqual(simple.volume() / whole.volume(), 1, delta=0.03)
        self.succeed("surface", "in.bin", "-o", "out.bin", "--simplify", 0.01, "-q")
        self.assertIn("velocities", self.succeed("info", "out.bin"))

    def test_spheres(self):
        mesh = self.mesh("sphere", 500, "-o", "out.obj", "--radius", 3)
        self.assertEqual(len(mesh.faces), 500)
        self.assertTrue(0.97 < mesh.volume() / (36 * pi) < 1)

    def test_what_cannot_be(self):
        self.write("in.obj", obj_file(CUBE_POINTS, CUBE_FACES))
        self.assert_all_refused("", (
            ("simplify in.obj -o out.obj --tolerance 9", 1, "no faces"), ("sphere 20 -o out.ply", 2, "out.ply"),
            ("simplify missing.stl -o out.obj --tolerance 1", 1, "missing.stl"), ("sphere 21 -o out.obj", 2, "21"),
            ("simplify in.obj -o missing/out.obj --tolerance 1", 1, "missing"),
            ("simplify in.obj -o out.obj", 2, "--tolerance"),
            ("simplify in.obj -o out.obj --tolerance nan", 2, "--tolerance"),
            ("simplify in.obj -o out.obj" + " --tolerance 1" * 9, 2, "eight"),
            ("convert in.obj out.stl --weld -1", 2, "--weld"), ("convert in.obj out.stl --weld 9", 1, "in.obj")))
