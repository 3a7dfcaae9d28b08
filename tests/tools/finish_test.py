"""Tests of what is done to meshes on their way into a file, from outside: attributes, cropping, clipping, units, axes."""

from mesh_file import CUBE_FACES, CUBE_POINTS, obj_file
from particle_file import block, particle_file
from program import ProgramTest


def table(points):
    """A CSV file of particles that fly upwards, as hot as they are high."""
    return "".join(["x,y,z,vx,vy,vz,heat,side\n", *(f"{x},{y},{z},0,3,0,{y},{x}\n" for x, y, z in points)]).encode()


class Attributes(ProgramTest):
    def setUp(self):
        super().setUp()
        self.write("in.csv", table(block(6, 0.1)))

    def attributes(self, name):
        return {entry["name"]: entry for entry in self.info(name).get("attributes", [])}

    def test_they_are_carried_where_the_format_holds_them(self):
        for name in ("out.ply", "out.vtp", "out.glb"):
            with self.subTest(name):
                self.succeed("surface", "in.csv", "-o", name, "--attribute", "heat", "--attribute", "side")
                found = {key.lower(): value for key, value in self.attributes(name).items()}
                self.assertTrue({"heat", "side"} <= set(found), found)
                self.assertTrue(-0.26 < found["heat"]["min"] < -0.15 and 0.15 < found["heat"]["max"] < 0.26, found)
                self.assertTrue(self.info(name)["closed"])
        self.succeed("surface", "in.csv", "-o", "all.vtp", "--attribute", "all")
        self.assertTrue({"heat", "side"} <= set(self.attributes("all.vtp")))
        self.succeed("convert", "all.vtp", "back.ply")
        self.assertTrue({"heat", "side"} <= set(self.attributes("back.ply")))

    def test_what_cannot_be(self):
        self.assert_all_refused("surface in.csv -o", [
            ("out.vtp --attribute hate", 1, "hate", "heat, side"), ("out.obj --attribute heat", 2, "--attribute", ".vtp")])

    def test_sequences_are_collected(self):
        for number in (8, 9, 10):
            self.write(f"f_{number}.csv", table(block(3, 0.1)))
        self.succeed("surface", "f_{}.csv", "-o", "out/", "--format", "vtp", "--last", 9)
        told = self.succeed("surface", "f_{}.csv", "-o", "out/", "--format", "vtp", "--first", 9)
        self.assertRegex(told, r"collection -> out[/\\]f\.pvd")
        lines = [line for line in (self.folder / "out/f.pvd").read_text().splitlines() if "f_" in line]
        self.assertEqual([line.split('"')[1] for line in lines], ["8", "9", "10"])


class Boxes(ProgramTest):
    def test_particles_are_cropped(self):
        self.write("in.bin", particle_file(block(8, 0.1)))
        told = self.succeed("surface", "in.bin", "-o", "out.obj", "--crop=-1,-1,-1,0,1,1")
        self.assertIn(f"{4 * 8 * 8},", told)
        self.assertLess(self.info("out.obj")["box"]["max"][0], 0.1)
        self.succeed("levelset", "in.bin", "-o", "level.obj", "--crop", "0,-1,-1,1,1,1")
        self.assertGreater(self.info("level.obj")["box"]["min"][0], -0.15)
        self.assert_all_refused("surface in.bin -o out.obj --crop", [
            ("0,0,0,1,1", 2, "--crop", "six"), ("1,0,0,0,1,1", 2, "--crop"), ("5,5,5,6,6,6", 1, "in.bin", "--crop")])

    def test_meshes_are_clipped(self):
        self.succeed("sphere", 500, "-o", "ball.obj", "--radius", 1)
        whole = self.info("ball.obj")
        self.succeed("convert", "ball.obj", "half.obj", "--clip=-2,-2,-2,2,2,0.1", "--clip-closed")
        half = self.assert_solid("half.obj", whole["volume"] * 0.575, 0.02)
        self.assertAlmostEqual(half["box"]["max"][2], 0.1)
        self.succeed("convert", "ball.obj", "bowl.obj", "--clip=-2,-2,-2,2,2,0.1")
        bowl = self.info("bowl.obj")
        self.assertEqual((bowl["closed"], bowl["oriented"], bowl["nonManifoldEdges"]), (False, True, 0))
        self.assertLess(bowl["area"], half["area"] - 2)
        self.assert_all_refused("convert ball.obj out.obj --clip", [
            ("3,3,3,4,4,4", 1, "ball.obj", "--clip"), ("0,0,0,1,1,x", 2, "--clip")])
        self.assert_all_refused("convert ball.obj out.obj", [("--clip-closed", 2, "--clip-closed", "--clip")])


class Finishes(ProgramTest):
    def test_units_axes_and_creases(self):
        points = [(x, y * 2, z * 3) for x, y, z in CUBE_POINTS]
        self.write("in.obj", obj_file(points, CUBE_FACES))
        box = lambda name: (lambda b: [b["max"][n] - b["min"][n] for n in range(3)])(self.info(name)["box"])
        x, y, z = box("in.obj")
        self.succeed("convert", "in.obj", "out.obj", "--scale", 10, "--output-up", "z", "--crease", 30)
        for found, wanted in zip(box("out.obj"), (10 * x, 10 * z, 10 * y)):
            self.assertAlmostEqual(found, wanted, places=4)
        self.assertTrue(self.info("out.obj")["oriented"])
        lines = (self.folder / "out.obj").read_text().splitlines()
        normals = {tuple(round(float(part)) for part in line.split()[1:]) for line in lines if line.startswith("vn ")}
        self.assertEqual(len(normals), 6, "one a side")
        self.succeed("convert", "out.obj", "back.obj", "--scale", 0.1, "--up", "z", "--output-up", "y")
        for found, wanted in zip(box("back.obj"), (x, y, z)):
            self.assertAlmostEqual(found, wanted, places=5)

    def test_vertices_that_decimals_would_merge_are_told_of(self):
        self.write("in.obj", obj_file([(x * 1e-7, y * 1e-7, z * 1e-7) for x, y, z in CUBE_POINTS], CUBE_FACES))
        result = self.run_program("convert", "in.obj", "out.obj", "--digits", 6)
        self.assertEqual(result.returncode, 0)
        self.assert_one_line(result.stderr, "out.obj", "--digits exact", "--scale")
        self.succeed("convert", "in.obj", "out.obj", "--digits", "exact")
        self.assertEqual(self.info("out.obj")["repeatedVertices"], 0)
