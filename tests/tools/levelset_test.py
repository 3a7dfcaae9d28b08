"""Tests of `tavrix levelset` from outside: solids in, other solids, fields, messages and exit status out."""

import os
import signal
import struct
import subprocess
import unittest
from math import inf, nan, pi

from mesh_file import CUBE_FACES, CUBE_POINTS, binary_stl, obj_file
from particle_file import block, particle_file
from program import PROGRAM, ProgramTest, address_space, limit_file_size, on_linux, wait_until_caught

SPACING = 1 / 16  # of which the sides of the cube are whole multiples
INWARDS = [(a, c, b) for a, b, c in CUBE_FACES]
CUBE_TEXT = obj_file(CUBE_POINTS, CUBE_FACES)
SHEET_FACES = CUBE_FACES[:2]  # the side z = 0 of the cube


def grown_cube(by, side=2):
    """The volume within a distance of a cube."""
    return side**3 + 6 * side**2 * by + 3 * pi * side * by**2 + 4 / 3 * pi * by**3


class LevelSetTest(ProgramTest):
    def setUp(self):
        super().setUp()
        self.write("cube.stl", binary_stl(CUBE_POINTS, CUBE_FACES))

    def make(self, *arguments, spacing=("--spacing", SPACING)):
        self.succeed("levelset", *arguments, *spacing, "-o", "out.obj")
        return (self.folder / "out.obj").read_bytes()

    def load(self, *arguments):
        return self.make("--load-field", *arguments, spacing=())

    def assert_fails(self, arguments, *words, **options):
        self.assert_all_refused("levelset", [(arguments, 1, *words)], **options)


class Shapes(LevelSetTest):
    def test_a_cube_is_grown_shrunk_and_hollowed(self):
        for arguments, volume in ((("--offset", 0.9), grown_cube(0.9)),  # beyond the exact band
                                  (("--offset", -0.2, "--shell", 0.7, "--redistance"), 1.6**3 - 0.2**3)):
            self.make("cube.stl", *arguments)
            self.assert_solid("out.obj", volume)
        result = self.run_program("levelset", "cube.stl", "--shell", 9, "-s", SPACING, "-o", "out.obj")
        self.assert_one_line(result.stderr, "cube.stl", "no cavity")

    def test_parts_far_apart_take_the_memory_of_their_surfaces(self):
        """A grid over both would have 10^14 nodes."""
        far = [tuple(c + 1000 for c in point) for point in CUBE_POINTS]
        faces = CUBE_FACES + [tuple(c + len(CUBE_POINTS) for c in face) for face in CUBE_FACES]
        self.write("pair.obj", obj_file(CUBE_POINTS + far, [face[::-1] for face in faces]))
        for arguments, volume, word in ((("--offset", 0.4), 2 * grown_cube(0.4), "turned around"),
                                        (("--offset", -0.2, "--shell", 9), 2 * 1.6**3, "no cavity"),
                                        (("--offset", 0.3, "--unsigned"), 2 * (grown_cube(0.3) - 1.4**3), None)):
            result = self.run_program("levelset", "pair.obj", *arguments, "-s", SPACING, "-o", "out.obj")
            self.assertEqual(result.returncode, 0)
            self.assertRegex(result.stdout, r"lattice +spacing 0\.0625, [1-9]\d{1,2} blocks")
            if word:
                self.assertIn(word, result.stderr)
            self.assert_solid("out.obj", volume, 0.02)
        self.assert_fails("pair.obj --offset -1.2 -s 0.0625 -o out.obj", "nothing is left")
        self.assert_fails("pair.obj -s 1e-8 -o out.obj", "try --spacing")
        self.write("block.bin", particle_file([*block(5, 0.05), *((x + 1e4, y, z) for x, y, z in block(5, 0.05))]))
        self.succeed("levelset", "block.bin", "--radius", 0.04, "--offset", 0.02, "--shell", 0.03, "-s", 0.01,
                     "-o", "out.obj")
        self.assertTrue(self.info("out.obj")["closed"])

    def test_solids_are_combined_in_their_order(self):
        """A cube, another one in a corner of it, and a small one in the middle of that."""
        def cube(low, high):
            return obj_file([tuple(low + (high - low) * c / 2 for c in p) for p in CUBE_POINTS], CUBE_FACES)

        self.write("half.obj", cube(1, 3))
        self.write("corner.obj", cube(1.5, 2.5))
        both, corner = 8 + 8 - 1, 1 - 1 / 8
        for arguments, volume in ((("--union", "half.obj"), both), (("--intersect", "half.obj"), 1),
                                  (("--subtract", "half.obj"), 7),
                                  (("--subtract", "half.obj", "--union", "corner.obj"), 7 + 1),
                                  (("--union", "corner.obj", "--subtract", "half.obj"), 7),
                                  (("--union", "half.obj", "--offset", -0.25), 2 * 1.5**3 - 0.5**3),
                                  (("--intersect", "half.obj", "--subtract", "corner.obj", "--union=half.obj"), 8)):
            self.make("cube.stl", *arguments, "--save-config", "job.toml")
            self.assert_solid("out.obj", volume, 0.025)
            first = (self.folder / "out.obj").read_bytes()
            self.succeed("--config", "job.toml", "-o", "again.obj")
            self.assertEqual((self.folder / "again.obj").read_bytes(), first)
        self.assertIn("combination = [ { intersect = 'half.obj' }, { subtract = 'corner.obj' }, { union = 'half.obj' } ]",
                      (self.folder / "job.toml").read_text())
        self.succeed("--config", "job.toml", "-o", "again.obj", "--subtract", "half.obj")  # instead of the file's
        self.assert_solid("again.obj", 7)
        self.write("job.toml", b'command = "levelset"\ncombination = [{offset = 1}]\n')
        self.assert_all_refused("--config job.toml", [("", 1, "combination", "offset")])

        self.succeed("levelset", "half.obj", "-s", SPACING / 2, "--save-field", "half.field")
        self.write("drop.bin", particle_file([(0, 0, 0)]))
        volume = 8 - 1 - 0.8**3 * pi / 6
        self.make("cube.stl", "--subtract", "half.field", "--subtract", "drop.bin", "--radius", 0.8)
        self.assert_solid("out.obj", volume)
        self.assert_one_answer("levelset", "cube.stl", "--union", "half.obj", "--shell", 0.2, "-s", 0.05)
        self.assert_all_refused("levelset", (
            ("cube.stl -s 0.1 --subtract cube.stl -o o.obj", 1, "cube.stl", "--subtract leaves nothing"),
            ("cube.stl -s 0.1 --union none.stl -o o.obj", 1, "none.stl"),
            ("cube.stl -s 0.1 --union half.obj -o ./half.obj", 1, "input"),
            ("cube.stl -s 0.1 --union half.obj --unsigned --offset 1 -o o.obj", 2, "--unsigned")))

    def test_meshes_of_all_kinds(self):
        lines = CUBE_TEXT.decode().splitlines()
        cut, last = obj_file(CUBE_POINTS, CUBE_FACES[:-1]), CUBE_FACES[-1]
        groups = "\n".join(lines[:8] + ["g a"] + lines[8:11] + ["g b"] + lines[11:]).encode()
        strange = obj_file([*CUBE_POINTS, (nan, 0, 0), (0, inf, 0)], CUBE_FACES + [(0, 8, 9)])
        mixed = [face[::-1] if n % 3 else face for n, face in enumerate(CUBE_FACES)]
        for content, word in ((groups, None), (obj_file(CUBE_POINTS, INWARDS), "turned around"),
                              (cut, "open along 3 edges"), (strange, "1 faces have corners without finite"),
                              (obj_file(CUBE_POINTS, mixed), "8 faces look the other way")):
            self.write("in.obj", content)
            result = self.run_program("levelset", "in.obj", "-s", SPACING, "-o", "out.obj")
            self.assertEqual(result.returncode, 0)
            if word:
                self.assert_one_line(result.stderr, "in.obj", word)
                self.assertEqual(self.succeed("levelset", "in.obj", "-s", SPACING, "-o", "out.obj", "--quiet"), "")
            self.assert_solid("out.obj", 8, 0.02)

    def test_a_sheet_becomes_a_wall_and_every_thread_count_gives_the_same_bytes(self):
        self.write("sheet.obj", obj_file(CUBE_POINTS, SHEET_FACES))
        wall = 8 * 0.3 + 4 * pi * 0.3**2 + 4 / 3 * pi * 0.3**3
        self.make("sheet.obj", "--unsigned", "--offset", 0.3)
        self.assert_solid("out.obj", wall)
        self.write("block.bin", particle_file(block(5, 0.05)))
        self.assert_one_answer("levelset", "block.bin", "--radius", 0.04, "--offset", 0.1, "--redistance")

    def test_cavities_are_filled(self):
        """By a grid and by blocks, with the drop in one of them."""
        def cube(size, sign):
            points = [tuple(1 + (c - 1) * size for c in point) for point in CUBE_POINTS]
            return points, CUBE_FACES if sign > 0 else INWARDS

        points, faces = [], []
        for more, others in (cube(1, 1), cube(0.8, -1), cube(0.4, 1)):
            faces += [tuple(c + len(points) for c in face) for face in others]
            points += more
        self.write("shell.obj", obj_file(points, faces))
        for far in (0, 1000):
            moved = [tuple(c + far for c in point) for point in CUBE_POINTS]
            last = [tuple(c + len(points) for c in face) for face in CUBE_FACES]
            self.write("in.obj", obj_file(points + moved, faces + last) if far else obj_file(points, faces))
            run = ("levelset", "in.obj", "-o", "out.obj", "-s", SPACING)
            solids = 2 if far else 1
            self.assertIn(f", {solids + 2} parts, 1 cavity ->", self.succeed(*run))
            self.assertEqual(self.info("out.obj")["cavities"], 1)
            part = "2 parts" if far else "1 part"
            self.assertIn(f", {part}, 1 cavity filled ->", self.succeed(*run, "--fill-cavities"))
            self.assertEqual(self.assert_solid("out.obj", solids * 8)["parts"], solids)

    def test_outputs_beside_obj(self):
        text = self.succeed("levelset", "cube.stl", "-o", "out.stl", "--preview", "out.png", "--preview-size", "64x40",
                            "--spacing", SPACING)
        self.assertRegex(text, r"input +12 faces, closed, volume 8\ngrid +41 x 41 x 41 nodes, spacing 0.0625\n"
                               r"band +3 spacings, exact\n"
                               r"mesh +\d+ vertices, \d+ faces, closed, volume 7.9\d*, 1 part -> out.stl\n"
                               r"preview +-> out.png\ntime .* read .* in all .*\nmemory +\d+ MiB")
        self.assertEqual(struct.unpack_from(">2I", (self.folder / "out.png").read_bytes(), 16), (64, 40))


class Fields(LevelSetTest):
    def save(self, name, *arguments):
        self.succeed("levelset", "cube.stl", "--spacing", SPACING, "--save-field", name, *arguments)
        return (self.folder / name).read_bytes()

    def test_both_layouts_give_the_mesh_back(self):
        direct = self.make("cube.stl", "--shell", 0.2, "--save-field", "a.field")
        self.save("b.field", "--shell", 0.2, "--field-format", "sparse")
        for arguments in (("a.field",), ("b.field", "--field-format", "sparse")):
            self.assertEqual(self.load(*arguments), direct)

    def test_loaded_fields_are_reshaped(self):
        """Also beyond their band and their grid, and such as are no distances."""
        regular = self.save("a.field")
        self.load("a.field", "--offset", 0.5)
        self.assert_solid("out.obj", grown_cube(0.5), 0.03)
        count = 41**3
        samples = [7 * v for v in struct.unpack_from(f"<{count}f", regular, 128)]
        self.write("steep.field", regular[:128] + struct.pack(f"<{count}f", *samples) + regular[128 + 4 * count:])
        self.load("steep.field", "--redistance", "--offset", 0.25)
        self.assert_solid("out.obj", grown_cube(0.25), 0.04)

    def test_fields_that_reach_their_border_are_closed_there(self):
        regular, count = self.save("a.field"), 41**3
        inverted = [-v for v in struct.unpack_from(f"<{count}f", regular, 128)]
        self.write("b.field", regular[:128] + struct.pack(f"<{count}f", *inverted) + regular[128 + 4 * count:])
        for arguments, side, hollow in (((), 41, 2), (("--offset", 2 * SPACING), 45, 2 - 4 * SPACING)):
            result = self.run_program("levelset", "--load-field", "b.field", *arguments, "-o", "out.obj")
            self.assert_one_line(result.stderr, "b.field", "closed there")
            self.assertIn("closed", result.stdout)
            found = self.assert_solid("out.obj", (side * SPACING)**3 - hollow**3)
            self.assertEqual([found[key] for key in ("manifold", "parts", "cavities")], [True, 2, 1])

    def test_fields_are_not_replaced_without_force(self):
        self.write("a.field", b"older")
        self.assert_fails("cube.stl --save-field a.field", "a.field", "--force")
        self.assertNotEqual(self.save("a.field", "--force"), b"older")
        self.assert_fails("--load-field a.field --save-field ./a.field --force", "input")

    def test_damaged_files_are_refused(self):
        regular, sparse = self.save("a.field"), self.save("b.field", "--field-format", "sparse")
        count, = struct.unpack_from("<I", sparse, 124)

        def patched(data, offset, layout, *values):
            return data[:offset] + struct.pack(layout, *values) + data[offset + struct.calcsize(layout):]

        cases = [(regular[:100], "too short"), (regular[:-1], "cut off"), (sparse, "sparse layout"),
                 (regular + b"\0", "no field file"), (CUBE_TEXT * 99, "no field file"),
                 (patched(regular, 0, "<5I", 0, 41, 41, 1681, 0), "number of nodes"),
                 (patched(regular, 0, "<5I", 65536, 65536, 1, 65536, 0), "number of nodes"),
                 (patched(regular, 20, "<d", nan), "box"), (patched(regular, 44, "<d", 9), "box"),
                 (patched(regular, 68, "<d", 1), "separations"), (patched(regular, 116, "<d", -SPACING), "separation"),
                 (patched(regular, 124, "<I", 5), "float samples"), (patched(regular, 8000, "<f", nan), "finite")]
        cases += [(data, word, "--field-format", "sparse") for data, word in (
            (sparse[:-1], "cut off"), (regular, "regular layout"), (patched(sparse, 128, "<I", 41**3), "indices"),
            (patched(sparse, 128 + 8 * count + 8, "<I", 0), "indices"), (patched(sparse, 132, "<f", -inf), "finite"))]
        far = 65534 * SPACING  # a grid that takes 16 GiB
        huge = struct.pack("<5I", 65535, 65535, 1, 65535, 65535**2)
        huge += struct.pack("<13d", 0, 0, 0, far, far, 0, *[SPACING] * 3, *[1 / SPACING] * 3, SPACING) + bytes(8)
        for data, word, *arguments in cases:
            with self.subTest(word, size=len(data)):
                self.write("bad.field", data)
                self.assert_fails(" ".join(["--load-field bad.field -o out.obj", *arguments]), "bad.field", word)
        self.write("bad.field", huge)
        self.assert_fails("--load-field bad.field -o o.obj --field-format sparse", "bad.field", **address_space(2**30))

    @on_linux
    def test_full_disks_and_interruption_leave_no_half_file(self):
        self.assert_fails("cube.stl --save-field new.field", "new.field", preexec_fn=limit_file_size)
        command = [PROGRAM, "levelset", "cube.stl", "--spacing", "0.012", "--offset", "0.5", "-o", "out.obj",
                   "--save-field", "new.field"]
        process = subprocess.Popen(command, cwd=self.folder, stderr=subprocess.PIPE, encoding="utf-8")
        wait_until_caught(process, signal.SIGINT)
        process.send_signal(signal.SIGINT)
        _, errors = process.communicate(timeout=60)
        self.assertEqual((process.returncode, errors), (-signal.SIGINT, "tavrix: interrupted\n"))
        self.assertEqual(os.listdir(self.folder), ["cube.stl"])


class Failures(LevelSetTest):
    def test_what_cannot_be(self):
        self.write("sheet.obj", obj_file(CUBE_POINTS, [*SHEET_FACES, *(f[::-1] for f in SHEET_FACES)]))
        self.write("point.obj", obj_file([(1, 1, 1)] * 3, [(0, 1, 2)]))
        self.write("water.bin", particle_file(block(2, 0.1)))
        self.write("a.field", b"")
        self.assert_all_refused("levelset -o out.obj", [(arguments, 1, word) for arguments, word in (
            ("missing.stl", "missing.stl"), ("--load-field missing", "missing"),
            ("cube.stl --offset -1.1", "nothing is left"), ("sheet.obj", "--unsigned"),
            ("point.obj --quiet", "--spacing"), ("water.bin --unsigned --offset 1", "--unsigned"),
            ("cube.stl --radius 1", "--radius"), ("cube.stl --save-field out.obj", "another output"),
            ("cube.stl --offset 1e9", "try --spacing"), ("cube.stl --save-field none/f", "none"))])
        self.assert_all_refused("levelset", [("cube.stl -o ./cube.stl", 1, "input")] + [
            (arguments, 2, word) for arguments, word in (
                ("cube.stl", "--save-field"), ("-o out.obj", "IN"), ("cube.stl -o out.off", "out.off"),
                ("cube.stl -o o.obj --unsigned", "--offset"),
                ("cube.stl --load-field a.field -o o.obj", "--load-field"),
                ("--load-field a.field -o o.obj -s 1", "--spacing"),
                ("cube.stl -o o.obj --shell 1 --fill-cavities", "--fill-cavities"), ("cube.stl -o o.obj --shell 0", "--shell"),
                ("cube.stl -o o.obj --offset nan", "--offset"),
                ("cube.stl -o o.obj --field-format dense", "--field-format"))])
