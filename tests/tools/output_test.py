"""Tests of what `tavrix surface` writes beside plain OBJ files, and of sequences of frames, from outside."""

import os
import struct
import unittest
from math import inf, nan

from particle_file import block, particle_file
from program import ProgramTest, on_linux

BLOCK = block(6, 0.05)


class OutputTest(ProgramTest):
    def surface(self, *arguments):
        return self.succeed("surface", *arguments)


class Formats(OutputTest):
    def test_text_and_bare_files_hold_the_same_closed_mesh(self):
        self.write("in.bin", particle_file(BLOCK))
        self.surface("in.bin", "-o", "out.obj")
        expected = self.info("out.obj")
        self.surface("in.bin", "-o", "text.stl", "--ascii")
        found = self.info("text.stl")
        self.assertEqual((found["faces"], found["closed"], found["oriented"]), (expected["faces"], True, True))
        self.assertTrue((self.folder / "text.stl").read_bytes().startswith(b"solid"))
        self.surface("in.bin", "-o", "bare.obj", "--no-normals")
        self.assertNotIn(b"vn ", (self.folder / "bare.obj").read_bytes())
        self.assertEqual(self.info("bare.obj")["volume"], expected["volume"])

    def test_velocities_of_the_particles_are_kept_and_such_as_are_none_are_zero(self):
        for velocity, expected in (((1, 2, 3), (1, 2, 3)), ((nan, inf, 0), (0, 0, 0))):
            self.write("in.bin", particle_file(BLOCK, velocities=[velocity] * len(BLOCK)))
            self.assertIn("with velocities", self.surface("in.bin", "-o", "out.bin"))
            count = 3 * self.info("out.bin")["vertices"]
            mark, *channel = struct.unpack(f"<I{count}f", (self.folder / "out.bin").read_bytes()[-4 - 4 * count:])
            self.assertEqual(mark, 0xCCCCCC11)
            for n, number in enumerate(channel):
                self.assertAlmostEqual(number, expected[n % 3], 5)

    def test_smoothing_makes_the_surface_smaller_and_keeps_its_faces(self):
        self.write("in.bin", particle_file(BLOCK))
        faces, areas = set(), []
        for count in (0, 2, 10):
            self.surface("in.bin", "-o", "out.obj", "--smooth", count)
            info = self.info("out.obj")
            faces.add((info["faces"], info["closed"], info["oriented"]))
            areas.append(info["area"])
        self.assertEqual(len(faces), 1)
        self.assertEqual(areas, sorted(areas, reverse=True))

    def test_strays_are_left_out(self):
        lonely = [(1, 1, 1), (-1, 1, 1), (-1, 1.04, 1)]
        self.write("in.bin", particle_file(BLOCK + lonely))
        expected = {0: 3, 1: 2, 2: 1}  # parts of the surface: the block, the lone particle and the pair
        for least, parts in expected.items():
            text = self.surface("in.bin", "-o", "out.obj", "--radius", 0.03, "--min-neighbours", least)
            self.assertEqual(f"strays     {[0, 1, 3][least]} left out" in text, least > 0)
            self.assertEqual(self.info("out.obj")["parts"], parts)
        self.write("spray.bin", particle_file([(n % 21, n // 21 % 21, n // 441) for n in range(9000)]))
        limited = ("surface", "spray.bin", "-o", "no.obj", "--radius", 0.02, "--spacing", 0.001, "--memory", "64M")
        self.assert_refused(self.run_program(*limited), 1, "particles are strays, which --min-neighbours 2", "try --spacing")
        result = self.run_program("surface", "in.bin", "-o", "no.obj", "--min-neighbours", 999)
        self.assert_refused(result, 1, "in.bin", "--min-neighbours")

    @on_linux
    def test_a_picture_is_drawn_as_well_and_a_file_that_is_replaced_keeps_its_permissions(self):
        self.write("in.bin", particle_file(BLOCK))
        self.write("out.obj", b"older")
        (self.folder / "out.obj").chmod(0o640)
        self.surface(*"in.bin -o out.obj --preview out.png --preview-particles --preview-size 64x40".split())
        self.assertEqual((self.folder / "out.obj").stat().st_mode & 0o777, 0o640)
        self.assertEqual(struct.unpack_from(">2I", (self.folder / "out.png").read_bytes(), 16), (128, 40))


class Sequences(OutputTest):
    def setUp(self):
        super().setUp()
        for number in (2, 9, 10, 11):
            self.write(f"f_{number:02}.bin", particle_file(block(3, 0.05)))
        self.write("f_x.bin", b"no frame")

    def test_frames_are_made_once_and_again_when_their_particles_change(self):
        run = lambda *more: self.surface("f_{}.bin", "-o", "out_{}.obj", *more)
        self.assertIn("2 written, 0 up to date, 0 failed", run("--first", 9, "--last", 10))
        self.assertEqual(sorted(path.name for path in self.folder.glob("out*")), ["out_09.obj", "out_10.obj"])
        lines = run().splitlines()
        self.assertEqual([line.split()[0] for line in lines], ["radius", "02", "11", "frames", "missing"])
        self.assertIn("2 written, 2 up to date", lines[-2])
        self.assertEqual(lines[-1].split()[1:], ["3", "to", "8"])
        newer = (self.folder / "out_09.obj").stat().st_mtime + 10
        os.utime(self.folder / "f_09.bin", (newer, newer))
        self.assertIn("1 written, 3 up to date", run())
        self.assertIn("4 written, 0 up to date", run("--force"))
        self.assertIn("1 written, 0 up to date", run("--first", 11, "--smooth", 3))
        self.assertIn("1 written, 3 up to date", run("--jobs", 3, "--threads", 1))
        (self.folder / "out_02.obj").unlink()
        self.assertIn("1 written, 3 up to date", run())
        self.assertEqual(run("--quiet", "--force"), "")

    def test_one_bad_frame_does_not_stop_the_rest(self):
        self.write("f_02.bin", b"bad")
        self.write("f_10.bin", particle_file(block(3, 0.05))[:400])
        result = self.run_program("surface", "f_{}.bin", "-o", "out_{}.obj")
        self.assertEqual(result.returncode, 1)
        self.assertRegex(result.stderr, r"\Atavrix: f_02.bin: [^\n]+\ntavrix: f_10.bin: [^\n]+\n\Z")
        self.assertIn("2 written, 0 up to date, 2 failed", result.stdout)

    def test_frames_share_radius_and_lattice(self):
        self.write("f_11.bin", particle_file(block(3, 0.08)))
        self.surface("f_{}.bin", "-o", "out_{}.obj")
        radius = self.surface("f_02.bin", "-o", "alone.obj").split("radius ")[1].split()[0]
        self.surface("f_11.bin", "-o", "same.obj", "--radius", radius)
        self.surface("f_11.bin", "-o", "alone.obj")
        volume, same, alone = (self.info(name)["volume"] for name in ("out_11.obj", "same.obj", "alone.obj"))
        self.assertAlmostEqual(volume, same, delta=1e-5)
        self.assertNotEqual(volume, alone)

    def test_folders_keep_their_braces(self):
        (self.folder / "a{}").mkdir()
        os.rename(self.folder / "f_09.bin", self.folder / "a{}" / "f_09.bin")
        self.surface("a{}/f_09.bin", "-o", "a{}/one.obj")
        self.surface("a{}/f_{}.bin", "-o", "a{}/out_{}.obj")
        self.assertEqual(sorted(os.listdir(self.folder / "a{}")), [".tavrix", "f_09.bin", "one.obj", "out_09.obj"])

    def test_the_input_is_never_replaced(self):
        before = (self.folder / "f_09.bin").read_bytes()
        result = self.run_program("surface", "f_{}.bin", "-o", "./f_{}.bin", "--last", 9)
        self.assertEqual((result.returncode, result.stderr.count("input")), (1, 2))
        self.assertEqual((self.folder / "f_09.bin").read_bytes(), before)

    def test_what_cannot_be(self):
        (self.folder / "a{}").mkdir()
        self.assert_all_refused("surface", (
            ("f_{}.bin -o out.obj", 2, "{}"), ("f_02.bin -o out_{}.obj", 2, "{}"),
            ("f_{}.bin -o o_{}.obj --preview p.png", 2, "p.png"), ("f_02.bin -o out.obj --first 3", 2, "--first"),
            ("f_{}.bin -o o_{}.obj --last -1", 2, "--last"), ("f_02.bin -o f_02.bin", 1, "input"),
            ("f_02.bin -o o.obj --preview-particles", 2, "--preview"), ("g_{}.bin -o out_{}.obj", 1, "g_{}.bin"),
            ("f_09.bin -o none/out.obj", 1, "none", "does not exist"),
            ("f_{}.bin -o o_{}.obj --first 12", 1, "--first"),
            ("f_09.bin -o out.obj --preview none/out.png", 1, "none", "does not exist"),
            ("f_09.bin -o ./f_09.bin", 1, "./f_09.bin", "input"), ("a{}/ -o out.obj", 1, "a{}/", "folder")))
