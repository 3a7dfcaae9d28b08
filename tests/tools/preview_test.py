"""Tests of `tavrix preview` from outside: files in, pictures, messages and exit status out."""

import unittest
from math import inf, nan

from mesh_file import CUBE_FACES, CUBE_POINTS, obj_file
from particle_file import block, particle_file
from png_file import Png
from program import ProgramTest

def cuboid(sizes, center=(0, 0, 0)):
    points = [[c + s * (r / 2 - 0.5) for c, s, r in zip(center, sizes, corner)] for corner in CUBE_POINTS]
    return obj_file(points, CUBE_FACES)


def is_subject(pixel):
    """Only what is drawn is blue; ground, shadow and background are all but grey."""
    return pixel[2] - pixel[0] > 60


def subject(png, left=0, right=None):
    """The places of the drawn matter between two columns, counted from the left one."""
    right = right or png.width
    return {(x - left, y) for y in range(png.height) for x in range(left, right) if is_subject(png.pixel(x, y))}


class PreviewTest(ProgramTest):
    def preview(self, *arguments, output="out.png"):
        self.succeed("preview", *arguments, "-o", output)
        return Png(self.folder / output)

    def bytes_of_preview(self, *arguments):
        self.preview(*arguments)
        return (self.folder / "out.png").read_bytes()


class Pictures(PreviewTest):
    def test_everything_is_in_the_frame_whatever_the_proportions(self):
        for sizes, center, size in (((1, 1, 1), (0, 0, 0), "120x75"), ((900, 20, 900), (5e5, -3e5, 0), "120x75"),
                                    ((1e-4, 3e-3, 1e-4), (0, 0, 0), "75x120"),
                                    ((3e38, 3e38, 3e38), (0, 0, 0), "80x80")):
            with self.subTest(sizes=sizes, size=size):
                self.write("in.obj", cuboid(sizes, center))
                png = self.preview("in.obj", "--size", size)
                self.assertEqual(f"{png.width}x{png.height}", size)
                xs, ys = zip(*subject(png))
                self.assertTrue(0 < min(xs) <= max(xs) < png.width - 1 and 0 < min(ys) <= max(ys) < png.height - 1)
                spread = ((max(xs) - min(xs)) / png.width, (max(ys) - min(ys)) / png.height)
                self.assertGreater(max(spread), 0.75)
                self.assertLess(abs(1 - (min(xs) + max(xs)) / png.width), 0.2)

    def test_the_background_is_light_the_shadow_visible_and_the_subject_modelled(self):
        self.write("in.obj", cuboid((1, 1, 1)))
        png = self.preview("in.obj", "--size", "160x100")
        drawn = subject(png)
        ground = [sum(png.pixel(x, y)) / 3 for y in range(100) for x in range(160) if (x, y) not in drawn]
        blue = [sum(png.pixel(x, y)) / 3 for x, y in drawn]
        self.assertGreater(sorted(ground)[len(ground) // 2], 200)
        self.assertLess(max(ground), 254)
        self.assertLess(min(ground), 170, "a shadow lies on the ground")
        self.assertGreater(max(blue) - min(blue), 50, "the sides of the cube differ")

    def test_every_thread_count_gives_the_same_bytes(self):
        self.write("in.bin", particle_file(block(12, 0.05)))
        self.succeed("surface", "in.bin", "-o", "in.obj")
        for name in ("in.obj", "in.bin"):
            self.assert_one_answer("preview", name, "--size", "90x60", output="out.png")

    def test_the_up_axis_turns_the_scene_and_nothing_else(self):
        points = [(0, 0, 0), (3, 0, 0), (0, 1, 0), (0, 0, 2)]
        faces = [(0, 2, 1), (0, 1, 3), (0, 3, 2), (1, 2, 3)]
        self.write("y.obj", obj_file(points, faces))
        self.write("z.obj", obj_file([(x, -z, y) for x, y, z in points], faces))
        upright = self.bytes_of_preview("y.obj", "--size", "90x60")
        self.assertEqual(self.bytes_of_preview("z.obj", "--size", "90x60", "--up", "z"), upright)
        self.assertNotEqual(self.bytes_of_preview("z.obj", "--size", "90x60"), upright)

    def test_particles_and_their_surface_stand_side_by_side_in_one_view(self):
        """The surface of one ball is the sphere of its radius."""
        self.write("in.bin", particle_file([(3, 4, 5)]))
        self.succeed("surface", "in.bin", "-o", "in.obj", "--radius", "0.5", "--spacing", "0.05",
                     "--field", "distance")
        png = self.preview("in.bin", "in.obj", "--size", "80x80", "--particle-radius", "0.5")
        self.assertEqual((png.width, png.height), (160, 80))
        sphere, mesh = subject(png, 0, 80), subject(png, 80, 160)
        self.assertGreater(len(sphere), 1000)
        self.assertLess(len(sphere ^ mesh), 0.1 * len(sphere))

    def test_a_camera_stands_where_it_is_told(self):
        """Ten before a side of length 2, with half an angle of 13 degrees, sees it 2 / 20 / tan 13 degrees wide."""
        self.write("in.obj", cuboid((2, 2, 2)))
        self.write("up.obj", cuboid((2, 2, 2), (5, 0, 0)))
        for name, arguments, half in (("in.obj", "--camera=0,0,11,0,0,0", 43.3),
                                      ("in.obj", "--camera=-11,0,0,0,0,0,26 --up z", 43.3),
                                      ("in.obj", "--camera=0,0,3,0,0,0,90", 50.0), ("up.obj", "--camera=5,11,0,5,0,0", 43.3)):
            xs, ys = zip(*subject(self.preview(name, "--size", "200x200", *arguments.split())))
            for low, high in ((min(xs), max(xs)), (min(ys), max(ys))):
                self.assertLess(abs(low - (100 - half)) + abs(high + 1 - (100 + half)), 2.5, (name, arguments))
        told = self.run_program("preview", "in.obj", "-o", "out.png", "--size", "60x60", "--camera=0,0,9,0,0,20")
        self.assert_one_line("tavrix: " + told.stderr, "nothing of the scene is before the camera")

    def test_a_turntable_goes_once_around(self):
        self.write("slab.obj", cuboid((4, 1, 1), (1, 2, 3)))
        self.succeed(*"preview slab.obj -o turn_{}.png --turntable 12 --size 60x40 -q".split())
        names = sorted(path.name for path in self.folder.glob("turn_*"))
        self.assertEqual(names, [f"turn_{n:02}.png" for n in range(12)])
        drawn = [subject(Png(self.folder / name)) for name in names]
        for n, places in enumerate(drawn):
            xs, ys = zip(*places)
            self.assertTrue(0 < min(xs) <= max(xs) < 59 and 0 < min(ys) <= max(ys) < 39)
            self.assertLess(len(places ^ drawn[(n + 6) % 12]), 12, "half a turn changes nothing of a slab")
            self.assertGreater(len(places ^ drawn[(n + 3) % 12]), 100)

    def test_faces_that_cannot_be_drawn_are_left_out(self):
        points = [(0, 0, 0), (1, 0, 0), (0, 1, 0), (nan, 0, 0), (0, -inf, 0)]
        self.write("good.obj", obj_file(points[:3], [(0, 1, 2)]))
        self.write("bad.obj", obj_file(points, [(0, 3, 1), (0, 1, 2), (1, 1, 1), (0, 0, 1), (4, 2, 1)]))
        self.assertEqual(self.bytes_of_preview("bad.obj", "--size", "60x60"),
                         self.bytes_of_preview("good.obj", "--size", "60x60"))
        self.write("far.obj", obj_file([(1e30, -1e30, 1e30)], [(0, 0, 0)]))
        self.assertEqual(subject(self.preview("far.obj", "--size", "60x60")), set())


class Failures(PreviewTest):
    def test_what_cannot_be(self):
        self.write("nowhere.obj", obj_file([(nan, nan, nan)] * 3, [(0, 1, 2)]))
        self.write("empty.obj", b"v 0 0 0\n")
        self.write("one.bin", particle_file([(1, 2, 3)] * 3))
        self.write("strange.bin", b"what?")
        self.write("in.obj", cuboid((1, 1, 1)))
        self.assert_all_refused("preview", [(f"{name} -o out.png --size 60x60", 1, name, word) for name, word in (
            ("missing.obj", "opened"), ("nowhere.obj", "finite"), ("empty.obj", "no faces"),
            ("one.bin", "--particle-radius"), ("strange.bin", "BIN"), (".", "folder"))])
        self.assert_all_refused("preview", [(arguments, 2, word, "tavrix preview --help") for arguments, word in (
            ("in.obj", "--output"), ("-o out.png", "FILE"), ("in.obj -o out.jpg", ".png"),
            ("in.obj -o out.png --size 60x9999999999", "--size"), ("in.obj -o out.png --up x", "--up"),
            ("in.obj -o out.png --camera 1,2,3,4,5", "1,2,3,4,5"), ("in.obj -o out.png --camera 1,2,3,1,2,3", "another place"),
            ("in.obj -o out.png --camera 1,2,3,0,0,0,180", "angle"), ("in.obj -o out.png --turntable 4", "{}"),
            ("in.obj -o out_{}.png --turntable 1", "--turntable"), ("in.obj -o out_{}.png", "{}"),
            ("in{}.obj -o out_{}.png --turntable 4", "--turntable"))])
