"""Tests of `tavrix convert` and `tavrix info` from outside.

The folder TAVRIX_TEST_DATA, when set, gives more files."""

import json
import os
import pathlib
import re
import struct
import subprocess
import unittest
from math import inf, nan

from mesh_file import CUBE_FACES, CUBE_POINTS, bin_mesh, binary_stl, obj_file
from particle_file import block, particle_file
from program import PROGRAM, ProgramTest, on_linux

DATA = pathlib.Path(os.environ.get("TAVRIX_TEST_DATA", ""))
# of the real meshes, the vertices, faces and groups
COUNTS = {"1002_tray_bottom.STL": (13560, 4520, 1), "ADIS16480.STL": (22308, 7436, 1), "cubevt.obj": (24, 12, 1),
          "fandisk.obj": (2877, 5750, 1), "featuretype.STL": (10428, 3476, 1), "fuze.obj": (664, 1000, 1),
          "groups.obj": (1416, 2308, 14), "multibody.stl": (96, 32, 1), "negative_indices.obj": (15, 12, 1),
          "octagonal_pocket.stl": (9786, 3262, 1), "two_objects_mixed_case_names.stl": (72, 24, 1)}
with_data = unittest.skipUnless("TAVRIX_TEST_DATA" in os.environ, "TAVRIX_TEST_DATA is not set")


class FilesTest(ProgramTest):
    def convert(self, *arguments):
        self.succeed("convert", *arguments, "--quiet")


class Convert(FilesTest):
    def assert_same_shape(self, name, expected, places):
        found = self.info(name)
        self.assertEqual((found["faces"], found["facesLeftOut"]), (expected["faces"], 0))
        for key in ("area", "volume"):
            self.assertAlmostEqual(found[key] / expected[key], 1, places, f"{key} of {name}")
        for end in ("min", "max"):
            for a, b in zip(found["box"][end], expected["box"][end]):
                self.assertAlmostEqual(a, b, delta=1e-6 * max(1, abs(b)))

    def assert_round_trips(self, source, places=5):
        expected = self.info(source)
        for there in ("obj", "stl", "bin", "ply", "vtp", "glb"):
            self.convert(source, f"there.{there}")
            self.assert_same_shape(f"there.{there}", expected, places)
            for back in ("obj", "stl", "bin") if there in ("obj", "stl", "bin") else ("obj",):
                self.convert(f"there.{there}", f"back.{back}")
                self.assert_same_shape(f"back.{back}", expected, places)

    def test_every_format_becomes_every_other(self):
        for name, content in (("cube.OBJ", obj_file(CUBE_POINTS, CUBE_FACES)),
                              ("cube.stl", binary_stl(CUBE_POINTS, CUBE_FACES)),
                              ("cube.bin", bin_mesh(CUBE_POINTS, CUBE_FACES))):
            self.write(name, content)
            self.assert_round_trips(name)

    @with_data
    def test_every_mesh_of_the_test_data(self):
        for path in sorted((DATA / "meshes").iterdir()):
            with self.subTest(path.name):
                found = self.info(path)
                counts = found["vertices"], found["faces"], len(found["groups"])
                self.assertEqual(counts, COUNTS.get(path.name, counts))
                self.assert_round_trips(path, places=2)  # OBJ has six decimals, and some parts are small

    def test_channels_and_groups_are_kept_where_the_format_has_them(self):
        textures = [(n / 8, 1 - n / 8) for n in range(8)]
        whole = bin_mesh(CUBE_POINTS, CUBE_FACES, textures, [(n, -n, 0.5) for n in range(8)])
        self.write("in.bin", whole)
        self.convert("in.bin", "same.bin")
        self.assertEqual((self.folder / "same.bin").read_bytes(), whole)
        self.convert("in.bin", "out.obj")
        self.assertEqual((self.folder / "out.obj").read_text().count("\nvt "), 8)
        self.convert("out.obj", "back.bin")
        self.assertEqual(self.info("back.bin")["channels"], ["texture"])

        lines = obj_file(CUBE_POINTS, CUBE_FACES).decode().splitlines()
        self.write("two.obj", "\n".join(lines[:8] + ["g a"] + lines[8:11] + ["g b"] + lines[11:]).encode())
        self.convert("two.obj", "out.obj")
        self.assertEqual([(g["name"], g["faces"]) for g in self.info("out.obj")["groups"]], [("a", 3), ("b", 9)])
        for joined in ("out.stl", "out.bin"):
            self.convert("two.obj", joined)
            self.assertEqual([g["faces"] for g in self.info(joined)["groups"]], [12])

    def test_parts_become_groups_and_debris_goes(self):
        far = [(x + 9, y, z) for x, y, z in CUBE_POINTS]
        faces = list(CUBE_FACES) + [[n + 8 for n in face] for face in CUBE_FACES[:2] + CUBE_FACES[4:6]]
        self.write("two.obj", obj_file(CUBE_POINTS + far, faces))
        self.write("two.stl", binary_stl(CUBE_POINTS + far, faces))
        for name in ("two.obj", "two.stl"):
            self.convert(name, "parts.obj", "--parts")
            self.assertEqual([g["faces"] for g in self.info("parts.obj")["groups"]], [12, 4], name)
            self.convert(name, "clean.obj", "--parts", "--least-faces", "5")
            self.assertTrue(self.info("clean.obj")["closed"])
        self.assert_all_refused("convert two.obj no.obj", (("--parts --least-faces 99", 1, "two.obj: no part has 99 faces"),
                                                           ("--least-faces 9", 2, "--least-faces")))

    def test_thickness_is_told_of_closed_meshes(self):
        self.write("cube.obj", obj_file(CUBE_POINTS, CUBE_FACES))
        self.write("open.obj", obj_file(CUBE_POINTS, CUBE_FACES[1:]))
        found = self.info("cube.obj", "--thickness")["thickness"]
        for key in ("min", "median", "max"):
            self.assertAlmostEqual(found[key], 2, 5)
        self.assertIn("thinner than 2", self.succeed("info", "cube.obj", "--thickness"))
        self.assertIsNone(self.info("open.obj", "--thickness")["thickness"])
        self.assertIsNone(self.info("cube.obj")["thickness"])

    def test_binary_and_ascii_stl_are_not_mistaken_for_each_other(self):
        self.write("lying.stl", binary_stl(CUBE_POINTS, CUBE_FACES, b"solid facet normal\r\nvertex\r\n"))
        self.assertAlmostEqual(self.info("lying.stl")["volume"], 8)
        self.write("in.obj", obj_file(CUBE_POINTS, CUBE_FACES, "Solid_vertex"))
        self.convert("in.obj", "out.stl")
        binary = (self.folder / "out.stl").read_bytes()
        self.assertEqual(len(binary), 84 + 50 * 12)
        self.assertNotRegex(binary[:80].lower(), rb"solid|facet|loop|vertex|color")
        self.write("in.obj", obj_file(CUBE_POINTS, CUBE_FACES, "lid_of_the_pot"))
        self.convert("in.obj", "out.stl")
        self.assertEqual(self.info("out.stl")["groups"][0]["name"], "lid_of_the_pot")

    def test_faces_without_their_vertices_are_left_out_with_a_word(self):
        self.write("in.bin", bin_mesh(CUBE_POINTS, [*CUBE_FACES, (0, 1, 8), (0, 0xFFFFFFFF, 1)]))
        result = self.run_program("convert", "in.bin", "out.obj")
        self.assertEqual(result.returncode, 0)
        self.assert_one_line(result.stderr, "in.bin", "2 faces")
        self.assertEqual(self.info("out.obj")["faces"], 12)
        lines = obj_file(CUBE_POINTS, CUBE_FACES).decode()
        self.write("in.obj", (lines + "f 1 2 99\nf 1 2\nv 1 x\nf 1 2 3 4 5 6 \\\n7 # seven").encode())
        found = self.info("in.obj")
        keys = ("faces", "facesLeftOut", "badCorners", "missingNumbers", "endsTooEarly")
        self.assertEqual([found[key] for key in keys], [12 + 5, 2, 1, 2, False])
        self.assertRegex(self.succeed("info", "in.obj"), "left out +2 faces are left out, 1 corner names nothing")
        for command in ("convert in.obj out.stl", "simplify in.obj -o out.stl --ratio 0.9", "info in.obj",
                        "query in.obj --nearest 0,0,0", "preview in.obj -o out.png",
                        "levelset in.obj -o out.stl --unsigned --offset 1"):
            result = self.run_program(*command.split(), "--strict")
            self.assertEqual((result.returncode, result.stdout), (1, ""), command)
            self.assert_one_line(result.stderr.split("\r")[-1], "in.obj", "2 faces are left out", "--strict")

    def test_what_vertices_carry_is_told_with_its_range(self):
        self.write("in.bin", bin_mesh(CUBE_POINTS, CUBE_FACES, [(0, 0)] * 8, [(n, -n, 0.5) for n in range(8)]))
        for name in ("out.ply", "out.vtp", "out.glb"):
            self.convert("in.bin", name)
            self.assertEqual(self.info(name)["attributes"],
                             [{"name": "Velocity", "components": 3, "min": [0, -7, 0.5], "max": [7, 0, 0.5]}])
        self.assertIn("attributes Velocity from (0, -7, 0.5) to (7, 0, 0.5)", self.succeed("info", "out.glb"))

    def test_decimals_of_obj_files(self):
        near = [(x * 1e-7, y, z) for x, y, z in CUBE_POINTS]
        self.write("in.obj", obj_file(near, CUBE_FACES))
        result = self.run_program("convert", "in.obj", "out.obj")
        self.assert_one_line(result.stderr, "4 vertices", "--digits")
        self.assertEqual(self.info("out.obj")["repeatedVertices"], 4)
        for decimals in ("exact", "9"):
            self.convert("in.obj", "out.obj", "--digits", decimals)
            self.assertEqual(self.info("out.obj")["repeatedVertices"], 0)
        for wrong in ("18", "-1", "some"):
            self.assertEqual(self.run_program("convert", "in.obj", "o.obj", "--digits", wrong).returncode, 2)

    def test_failures_leave_nothing_behind(self):
        whole = binary_stl(CUBE_POINTS, CUBE_FACES)
        self.write("good.stl", whole)
        self.write("particles.bin", particle_file(block(2, 0.1)))
        self.write("cut.bin", bin_mesh(CUBE_POINTS, CUBE_FACES)[:100])
        self.write("cut.stl", whole[:300])
        self.write("empty.obj", b"")
        self.assert_all_refused("convert", (
            ("particles.bin out.obj", 1, "tavrix surface"), ("cut.bin out.obj", 1, "cut off"),
            ("cut.stl out.obj", 1, "cut off"), ("empty.obj out.stl", 1, "no faces"),
            ("missing.stl out.obj", 1, "missing.stl"), ("good.stl missing/out.obj", 1, "missing/out.obj"),
            ("good.stl out.off", 2, "out.off"), ("good.stl", 2, "OUT"), ("good.stl out.obj --asci", 2, "--asci")))

class Info(FilesTest):
    def test_meshes_are_measured(self):
        inwards = [(a, c, b) for a, b, c in CUBE_FACES]
        far = [(x + 9, y, z) for x, y, z in CUBE_POINTS]
        two = CUBE_FACES + [tuple(n + 8 for n in face) for face in CUBE_FACES]
        fan = [(0, 1, 3), (0, 1, 5), (1, 0, 7)]
        cases = [("cube.obj", obj_file(CUBE_POINTS, CUBE_FACES), (8, 12, 18, 0, 0, 1, True, True, 24, 8)),
                 ("cube.stl", binary_stl(CUBE_POINTS, CUBE_FACES), (36, 12, 18, 0, 0, 1, True, True, 24, 8)),
                 ("in.bin", bin_mesh(CUBE_POINTS, inwards), (8, 12, 18, 0, 0, 1, True, True, 24, -8)),
                 ("open.obj", obj_file(CUBE_POINTS, CUBE_FACES[1:]), (8, 11, 18, 3, 0, 1, False, True, 22, 8)),
                 ("two.stl", binary_stl(CUBE_POINTS + far, two), (72, 24, 36, 0, 0, 2, True, True, 48, 16)),
                 ("fan.obj", obj_file(CUBE_POINTS, fan), (5, 3, 7, 6, 1, 1, False, False, None, None))]
        keys = ("vertices", "faces", "edges", "boundaryEdges", "nonManifoldEdges", "parts", "closed", "oriented")
        for name, content, (*counts, area, volume) in cases:
            with self.subTest(name):
                self.write(name, content)
                found = self.info(name)
                self.assertEqual([found[key] for key in keys], counts)
                if area:
                    self.assertAlmostEqual(found["area"], area)
                    self.assertAlmostEqual(found["volume"], volume)
                    self.assertEqual(found["box"], {"min": [0, 0, 0], "max": [11 if name == "two.stl" else 2, 2, 2]})
                self.assertEqual((found["file"], found["bytes"], found["kind"]), (name, len(content), "mesh"))
        # two cubes that share an edge, share its places only, or are one within the other
        touching = [(x + 2, y + 2, z) for x, y, z in CUBE_POINTS]
        shared = obj_file(CUBE_POINTS + touching, two).replace(b" 9 ", b" 4 ").replace(b" 13 ", b" 8 ")
        shared = shared.replace(b" 9\n", b" 4\n").replace(b" 13\n", b" 8\n")
        within = CUBE_FACES + [(b + 8, a + 8, c + 8) for a, b, c in CUBE_FACES]
        inner = [(x / 2 + 0.5, y / 2 + 0.5, z / 2 + 0.5) for x, y, z in CUBE_POINTS]
        flat = obj_file(CUBE_POINTS + [(0, 0, 0), (1, 1, 1), (2, 2, 2)], [(8, 9, 10), (8, 10, 9), (0, 0, 1)])
        keys = ("nonManifoldEdges", "nonManifoldVertices", "selfContacts", "parts", "cavities", "facesWithoutArea",
                "collapsedFaces", "manifold", "closed")
        for name, content, expected in (
                ("shared.obj", shared, [1, 2, 0, 1, 0, 0, 0, False, True]),
                ("apart.obj", obj_file(CUBE_POINTS + touching, two), [0, 0, 2, 2, 0, 0, 0, True, True]),
                ("within.obj", obj_file(CUBE_POINTS + inner, within), [0, 0, 0, 2, 1, 0, 0, True, True]),
                ("flat.obj", flat, [0, 0, 0, 1, 0, 2, 1, True, False])):
            with self.subTest(name):
                self.write(name, content)
                found = self.info(name)
                self.assertEqual([found[key] for key in keys], expected)
        text = self.succeed("info", "shared.obj", "apart.obj", "within.obj", "flat.obj")
        for words in ("no, 1 edge of three or more faces, 2 vertices of several fans", "touch at 2 vertices",
                      "2, 1 cavity", "2 without area, 1 with a corner twice", "surface    open"):
            self.assertIn(words, text)
        text = self.succeed("info", "cube.stl", "in.bin", "open.obj")
        for words in ("binary STL", "closed, faces look outwards", "closed, faces look inwards",
                      "open, consistently oriented", "18: 3 on borders", "joined"):
            self.assertIn(words, text)

    def test_particles_are_measured(self):
        positions = [*block(8, 0.05), (nan, 0, 0), (0, inf, 0)]
        content = bytearray(particle_file(positions, version=5))
        for n, velocity in ((0, (3, 4, 0)), (1, (0, 0, -1)), (2, (nan, 0, 0))):
            content[320 + 98 * n + 12:320 + 98 * n + 24] = struct.pack("<3f", *velocity)
        self.write("in.bin", content)
        found = self.info("in.bin")
        self.assertEqual([found[key] for key in ("kind", "version", "particles", "nonFinite", "speed")],
                         ["particles", 5, 514, 2, {"min": 0, "max": 5}])
        self.assertAlmostEqual(found["box"]["max"][2], 0.175, 6)
        self.assertAlmostEqual(found["estimatedSpacing"], 0.05, delta=0.005)
        self.assertRegex(self.succeed("info", "in.bin"), r"version 5(.|\n)*514(.|\n)*2 without a finite position")

    def test_attributes_are_listed_with_their_ranges(self):
        content = b"x,y,z,vx,vy,vz,density,force_0,force_1,force_2\n0,0,0,3,4,0,7,1,2,3\n1,1,1,0,0,1,5,-1,nan,9\n"
        self.write("in.csv", content)
        expected = [{"name": "density", "components": 1, "min": 5, "max": 7},
                    {"name": "force", "components": 3, "min": [-1, 0, 3], "max": [1, 2, 9]}]
        for name in ("in.csv", "-"):
            with open(self.folder / "in.csv", "rb") as stream:
                found = json.loads(self.succeed("info", "--json", name, stdin=stream))[0]
            self.assertEqual([found[key] for key in ("kind", "format", "version", "particles", "bytes", "speed", "attributes")],
                             ["particles", "CSV", None, 2, len(content), {"min": 1, "max": 5}, expected])
        self.assertRegex(self.succeed("info", "in.csv"), r"CSV particle file(.|\n)*density from 5 to 7\n +force from \(-1, 0, 3\)")

    def test_bad_files_do_not_keep_the_others_from_being_told(self):
        self.write("cut.bin", particle_file(block(2, 0.1))[:-1])
        self.write("good.obj", obj_file(CUBE_POINTS, CUBE_FACES))
        result = self.run_program("info", "cut.bin", "good.obj", "missing.stl")
        self.assertEqual(result.returncode, 1)
        self.assertRegex(result.stderr, r"\Atavrix: cut.bin: .*7 of 8.*\ntavrix: missing.stl: .*\n\Z")
        self.assertRegex(result.stdout, r"\Agood.obj: OBJ mesh")
        result = self.run_program("info", "--json", "cut.bin", "good.obj")
        bad, good = json.loads(result.stdout)
        self.assertIn("cut off", bad["error"])
        self.assertEqual(good["faces"], 12)

    def test_json_is_valid_whatever_the_files_hold(self):
        strange = obj_file([(nan, 0, 0), (inf, 0, 0), (0, -inf, 0)], [(0, 1, 2)])
        self.write("in.obj", b'g n\xff"\\\x01\n' + strange)
        found = self.info("in.obj")
        self.assertEqual((found["nonFinite"], found["box"], found["area"]), (3, None, None))
        self.assertRegex(found["groups"][0]["name"], '^n\ufffd"')

    @on_linux
    def test_names_that_are_no_utf8(self):
        name = b"caf\xe9.obj"
        (self.folder / os.fsdecode(name)).write_bytes(obj_file(CUBE_POINTS, CUBE_FACES))
        result = subprocess.run([PROGRAM, "info", "--json", name], cwd=self.folder, capture_output=True, check=True)
        self.assertEqual(json.loads(result.stdout)[0]["file"], "caf\ufffd.obj")
