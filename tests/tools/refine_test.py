"""Tests of `tavrix subdivide`, `displace`, `remesh` and `fill`, from outside."""

import struct
import zlib

from mesh_file import CUBE_FACES, CUBE_POINTS, bin_mesh, binary_stl, obj_file
from program import ProgramTest


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def png(width, height, bits, colours, rows, palette=b"", interlaced=0):
    """A picture of packed rows, each with another filter."""
    channels = {0: 1, 2: 3, 3: 1, 4: 2, 6: 4}[colours]
    step, raw, above = max(bits * channels // 8, 1), b"", bytes(len(rows[0]))
    for n, row in enumerate(rows):
        left, corner = bytes(step) + row[:-step], bytes(step) + above[:-step]
        kind = n % 5
        raw += bytes([kind]) + bytes((value - prediction(kind, *around)) & 255
                                     for value, *around in zip(row, left, above, corner))
        above = row
    head = struct.pack(">2I5B", width, height, bits, colours, 0, 0, interlaced)
    packed = zlib.compress(raw)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + (chunk(b"PLTE", palette) if palette else b"") +
            chunk(b"IDAT", packed[:7]) + chunk(b"IDAT", packed[7:]) + chunk(b"IEND", b""))


def prediction(kind, left, above, corner):
    if kind < 4:
        return (0, left, above, (left + above) // 2)[kind]
    return min((left, above, corner), key=lambda value: abs(left + above - corner - value))


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

    def test_pictures_displace(self):
        # a vertex in the middle of each of 8 x 6 pixels, on a sheet that looks up
        width, height = 8, 6
        points = [(x, y, 0) for y in range(height) for x in range(width)]
        corners = [x + y * width for y in range(height - 1) for x in range(width - 1)]
        faces = [face for a in corners for face in ((a, a + 1, a + width + 1), (a, a + width + 1, a + width))]
        self.write("in.bin", bin_mesh(points, faces, [((x + 0.5) / width, 1 - (y + 0.5) / height) for x, y, _ in points]))
        pixels = [[(7 * x + 11 * y) % 16 for x in range(width)] for y in range(height)]
        grey = [bytes(17 * p for p in row) for row in pixels]
        packed = [bytes(16 * a + b for a, b in zip(row[::2], row[1::2])) for row in pixels]
        palette = b"".join(bytes([17 * n] * 3) for n in range(16))
        pictures = {
            "grey": png(width, height, 8, 0, grey), "small": png(width, height, 4, 0, packed),
            "deep": png(width, height, 16, 0, [b"".join(bytes([p, p]) for p in row) for row in grey]),
            "rgb": png(width, height, 8, 2, [b"".join(bytes([p] * 3) for p in row) for row in grey]),
            "palette": png(width, height, 4, 3, packed, palette),
            "alpha": png(width, height, 8, 4, [b"".join(bytes([p, 9]) for p in row) for row in grey]),
            "rgba": png(width, height, 16, 6, [b"".join(bytes([p] * 6 + [1, 2]) for p in row) for row in grey])}
        for name, content in pictures.items():
            with self.subTest(name):
                self.write("heights.png", content)
                text = self.succeed(*"displace in.bin -o out.obj --height heights.png --amount 3 --middle 0.2".split())
                self.assertIn("8 x 6 pixels", text)
                lines = (self.folder / "out.obj").read_text().splitlines()
                found = [float(line.split()[3]) for line in lines if line.startswith("v ")]
                for value, pixel in zip(found, (p for row in pixels for p in row), strict=True):
                    self.assertAlmostEqual(value, 3 * (pixel / 15 - 0.2), places=4)
        whole = pictures["grey"]
        refused = {"bent": (whole.replace(b"IDAT", b"IDAX", 1), "damaged"), "short": (whole[:-20], "cut off"),
                   "text": (b"P5 1 1", "no PNG"), "laced": (png(width, height, 8, 0, grey, interlaced=1), "interlac"),
                   "large": (png(1 << 20, 1 << 30, 8, 0, grey), "larger than it can be"),
                   "few": (png(width, height + 1, 8, 0, grey), "damaged"),
                   "odd": (png(width, height, 16, 3, grey), "header"), "bare": (png(width, height, 4, 3, packed), "palette")}
        for name, (content, word) in refused.items():
            with self.subTest(name):
                self.write("heights.png", content)
                self.assert_all_refused("displace in.bin -o out.obj --amount 1 --height ", [("heights.png", 1, word)])

    def test_noise_displaces(self):
        _, found = self.made(*"displace cube.stl -o out.obj --noise 0.5 --amount 0.2 --edge 0.2".split())
        self.assertTrue(found["closed"] and found["manifold"] and found["faces"] > 500)
        other = self.made(*"displace cube.stl -o out.obj --noise 0.5 --amount 0.2 --edge 0.2 --seed 1".split())[1]
        self.assertNotEqual(found["volume"], other["volume"])
        self.assert_one_answer(*"displace cube.stl --noise 0.5 --amount 0.2 --edge 0.05".split())

    def test_meshes_are_remeshed(self):
        cube = self.info("cube.stl")
        text, found = self.made(*"remesh cube.stl -o out.obj --edge 0.2".split())
        self.assertTrue(found["closed"] and found["oriented"] and found["manifold"])
        self.assertAlmostEqual(found["volume"] / cube["volume"], 1, delta=1e-4)
        # equilateral faces of that length
        self.assertAlmostEqual(found["faces"] * 3 ** 0.5 / 4 * 0.04 / cube["area"], 1, delta=0.3)
        self.assertRegex(text, r"distance +faces' middles at most \d")
        round_cube = self.made(*"remesh cube.stl -o out.obj --edge 0.2 --sharp 180 --rounds 3".split())[1]
        self.assertLess(round_cube["volume"], cube["volume"] - 1e-3)
        self.assert_one_answer(*"remesh cube.stl --edge 0.1".split())

    def test_holes_are_filled(self):
        self.write("open.obj", obj_file(CUBE_POINTS, CUBE_FACES[2:]))
        text, found = self.made(*"fill open.obj -o out.obj".split())
        self.assertIn("1 filled with 2 faces", text)
        self.assertTrue(found["closed"] and found["oriented"])
        self.assertAlmostEqual(found["volume"], self.info("cube.obj")["volume"])
        text, found = self.made(*"fill open.obj -o out.obj --edges 3".split())
        self.assertIn("1, the longest of 4 edges", text)
        self.assertEqual(found["faces"], 10)

    def test_what_cannot_be(self):
        self.write("white.png", png(1, 1, 8, 0, [b"\xff"]))
        self.assert_all_refused("", (
            ("subdivide cube.obj -o out.obj", 2, "--levels"), ("subdivide cube.obj -o out.obj --levels 15", 2, "14"),
            ("subdivide cube.obj -o out.obj --levels 14", 1, "fewer --levels"),
            ("subdivide cube.obj -o out.obj --edge 1e-6", 1, "longer --edge"),
            ("subdivide cube.obj -o out.obj --edge 1 --levels 1", 2, "--levels"),
            ("subdivide cube.obj -o out.obj --edge 1 --sharp 30", 2, "--sharp"),
            ("subdivide cube.obj -o out.obj --edge 0", 2, "--edge"),
            ("fill cube.obj -o out.obj --edges 2", 2, "--edges"), ("remesh cube.obj -o out.obj", 2, "--edge"), ("remesh cube.obj -o out.obj --edge -1", 2, "--edge"),
            ("remesh cube.obj -o out.obj --edge 1e-5", 1, "longer --edge"),
            ("remesh cube.obj -o out.obj --edge 1 --rounds 0", 2, "--rounds"),
            ("displace cube.obj -o out.obj --amount 1", 2, "--noise"),
            ("displace cube.obj -o out.obj --noise 1", 2, "--amount"),
            ("displace cube.obj -o out.obj --noise 1 --amount 1 --middle 0.5", 2, "--height"),
            ("displace cube.obj -o out.obj --noise 1 --amount 1 --edge 1e-6", 1, "longer --edge"),
            ("displace cube.obj -o out.obj --height white.png --amount 1", 1, "texture coordinates"),
            ("displace cube.obj -o out.obj --height missing.png --amount 1", 1, "missing.png")))
