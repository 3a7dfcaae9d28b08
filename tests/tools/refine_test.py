"""Tests of `tavrix subdivide`, from outside."""

from mesh_file import CUBE_FACES, CUBE_POINTS, bin_mesh, binary_stl, obj_file
from program import ProgramTest


class Refine(ProgramTest):
    def setUp(self):
        super().setUp()
        self.write("cube.stl", binary_stl(CUBE_POINTS, CUBE_FACES))
        self.write("cube.obj", obj_file(CUBE_POINTS, CUBE_FACES))

    def made(self, *arguments):
        text = self.succeed(*arguments)
        found = self.info("out.obj")
        self.assertRegex(text, rf"mesh +{found['vertices']} vertices, {found['faces']} faces -> out.obj")
        return text, found

    def test_cubes_are_subdivided(self):
        cube = self.info("cube.stl")
        for arguments, faces, volume in (("--levels 3 --sharp 30", 768, 1), ("--levels 0 --net", 12, 1),
                                         ("--levels 3", 768, 0.4), ("--edge 100", 12, 1)):
            with self.subTest(arguments):
                text, found = self.made("subdivide", "cube.stl", "-o", "out.obj", *arguments.split())
                self.assertTrue(found["closed"] and found["oriented"] and found["manifold"])
                self.assertEqual((found["faces"], found["vertices"]), (faces, faces // 2 + 2))
                self.assertAlmostEqual(found["volume"] / cube["volume"], volume, delta=1e-5 if volume == 1 else 0.2)
                self.assertEqual("12 edges kept sharp" in text, "--sharp" in arguments)
        self.assert_one_answer("subdivide", "cube.stl", "--levels", 4)

    def test_what_vertices_carry_follows(self):
        self.write("in.bin", bin_mesh(CUBE_POINTS, CUBE_FACES, [(x, y) for x, y, _ in CUBE_POINTS], CUBE_POINTS))
        for arguments in ("--levels 2", "--edge 0.3"):
            self.succeed("subdivide", "in.bin", "-o", "out.bin", "-q", *arguments.split())
            self.assertEqual(self.info("out.bin")["channels"], self.info("in.bin")["channels"])

    def test_what_cannot_be(self):
        self.assert_all_refused("", (
            ("subdivide cube.obj -o out.obj", 2, "--levels"), ("subdivide cube.obj -o out.obj --levels 15", 2, "14"),
            ("subdivide cube.obj -o out.obj --levels 14", 1, "fewer --levels"),
            ("subdivide cube.obj -o out.obj --edge 1e-6", 1, "longer --edge"),
            ("subdivide cube.obj -o out.obj --edge 1 --levels 1", 2, "--levels"),
            ("subdivide cube.obj -o out.obj --edge 1 --sharp 30", 2, "--sharp"),
            ("subdivide cube.obj -o out.obj --edge 0", 2, "--edge")))
