"""Tests of `tavrix surface` from outside: files in, files, messages and exit status out."""

import os
import signal
import subprocess
import unittest
from math import inf, nan, pi, sqrt

from particle_file import block, particle_file
from program import PROGRAM, ProgramTest, address_space, on_linux, run, wait_until_caught

try:
    import resource
except ImportError:  # only Linux limits file sizes
    resource = None


class SurfaceTest(ProgramTest):
    def write_particles(self, positions, name="in.bin", version=9):
        self.write(name, particle_file(positions, version))

    def surface(self, *arguments, input="in.bin", output="out.obj", **options):
        return run("surface", str(input), "-o", output, *arguments, cwd=self.folder, **options)

    def make(self, *arguments, **options):
        """The OBJ file of a run that must succeed without a word on standard error."""
        result = self.surface(*arguments, **options)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        return (self.folder / options.get("output", "out.obj")).read_bytes()

    def assert_fails(self, arguments, *words, **options):
        self.assert_all_refused("surface -o out.obj", [(arguments, 1, *words)], **options)


class Meshes(SurfaceTest):
    def test_one_particle_is_a_sphere(self):
        """Where the kernel (1 - d^2 / R^2)^3 is the level times what it is where the sphere holds the cube
        of the particles' spacing, or, for distances, at the radius."""
        centre, radius = (0.3, -1.2, 20.7), 0.5
        cases = [("metaball", 60, None), ("metaball", 20, 1.1), ("distance", 0, None), ("distance", 0, 1.5),
                 ("anisotropic", 100, None), ("anisotropic", 40, 0.5)]
        for field, influence, level in cases:
            with self.subTest(field=field, influence=influence, level=level):
                k = 2 if field == "distance" else influence * 0.038 + 1.2
                own = 1 if field == "distance" else 2 * (3 / 4 / pi) ** (1 / 3)
                at = (level or 1) * (1 - own**2 / k**2) ** 3
                expected = k * radius * sqrt(1 - at ** (1 / 3))
                self.write_particles([centre], version=6)
                options = f"--radius {radius} --spacing 0.0625 --field {field}"
                if field != "distance":
                    options += f" --influence {influence}"
                self.make(*options.split(), *(["--level", str(level)] if level else []))
                found = self.assert_solid("out.obj", 4 / 3 * pi * expected**3, 0.03)
                self.assertAlmostEqual(found["area"] / (4 * pi * expected**2), 1, delta=0.02)
                self.assertEqual(found["vertices"] - found["faces"] // 2, 2, "Euler characteristic of a sphere")
                for end, sign in (("min", -1), ("max", 1)):
                    for a, b in zip(found["box"][end], centre):
                        self.assertAlmostEqual(a, b + sign * expected, delta=0.02 * expected)

    def test_a_block_needs_no_options_and_every_thread_count_gives_its_bytes(self):
        """The names are no ASCII, and the file's version makes no difference either."""
        names = {"input": "Würfel 水.bin", "output": "Fläche 水.obj"}
        outputs = set()
        for version, threads in ((9, ()), (9, (1,)), (4, (2,)), (2, (3,))):
            self.write_particles(block(8, 0.05), names["input"], version)
            result = self.surface(*(f"--threads={count}" for count in threads), **names)
            self.assertEqual((result.returncode, result.stderr), (0, ""))
            outputs.add((self.folder / names["output"]).read_bytes())
        self.assertEqual(len(outputs), 1)
        found = self.info(names["output"])
        self.assertTrue(found["closed"] and found["oriented"] and 0.35**3 < found["volume"] < 0.5**3)
        for line in (r"particles +512, radius 0\.02\d+ \(estimated", r"lattice +spacing 0\.01\d+, \d+ blocks of 32 x 32 x 32 cells\n",
                     rf"mesh +{found['vertices']} vertices, {found['faces']} faces -> Fläche 水.obj\n",
                     r"time .*read .*field .*surface .*normals .*write \d\S* s(.|\n)*memory +[1-9]\d* MiB"):
            self.assertRegex(result.stdout, line)

    def test_volumes_are_those_of_the_particles(self):
        particles = block(12, 0.05)
        self.write_particles(particles)
        held = len(particles) * 0.05**3
        options = ("--radius", "0.025")
        for arguments, error in (("", 0.02), ("--smooth 10", 0.02), ("--quality smooth", 0.01),
                                 ("--match-volume --smooth 0 --influence 100", 0.01),
                                 ("--radius 0.04 --particle-spacing 0.05 --spacing 0.0125", 0.03)):
            with self.subTest(arguments):
                self.make(*(() if "--radius" in arguments else options), *arguments.split())
                self.assert_solid("out.obj", held, error)
        self.assert_all_refused("surface in.bin -o out.obj",
                                [("--level 1.1 --match-volume", 2, "--level and --match-volume contradict")])

    def test_cavities_are_filled(self):
        """A block of particles without those in the middle."""
        self.write_particles([p for p in block(9, 0.05) if max(map(abs, p)) > 0.08])
        self.make("--radius", "0.025")
        self.assertEqual(self.info("out.obj")["cavities"], 1)
        result = self.surface("--radius", "0.025", "--fill-cavities")
        self.assertIn(", 1 part, 1 cavity filled", result.stdout)
        found = self.info("out.obj")
        self.assertEqual([found[key] for key in ("parts", "cavities", "manifold")], [1, 0, True])

    def test_particles_without_a_finite_position_are_left_out(self):
        good = block(3, 0.05)
        self.write_particles(good)
        good_mesh = self.make()
        self.write_particles([(nan, 0, 0), *good, (0, inf, 0), (0, 0, -inf)])
        result = self.surface()
        self.assertEqual(result.returncode, 0)
        self.assert_one_line(result.stderr, "in.bin", "3 particles")
        self.assertRegex(result.stdout, r"particles +27,")
        self.assertEqual((self.folder / "out.obj").read_bytes(), good_mesh)
        result = self.surface("--quiet")
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "", ""))

class Failures(SurfaceTest):
    def test_bad_particle_files(self):
        whole = particle_file(block(3, 0.05))
        cases = {
            "magic.bin": (b"\xdb" + whole[1:], "neither a particle nor a mesh BIN file"),
            "header.bin": (whole[:100], "cut off"),
            "cut.bin": (whole[:-1], "holds 26 of 27 particles"),
            "four_billion.bin": (particle_file([], count=0xFFFFFFFF).ljust(400, b"\0"), "cut off"),
            "none.bin": (particle_file([]), "no particles"),
            "infinite.bin": (particle_file([(nan, nan, nan), (inf, 0, 0)]), "finite"),
            "one_place.bin": (particle_file([(1, 2, 3)] * 5), "--radius"),
            "far_apart.bin": (particle_file([*block(3, 0.05), (3e38, 0, 0)]), "--spacing"),
        }
        for name, (content, word) in cases.items():
            self.write(name, content)
            self.assert_fails(name, name, word, **address_space(2**30))
        (self.folder / "folder.bin").mkdir()
        self.assert_fails("folder.bin", "folder.bin", "folder")
        self.assert_fails("missing.bin", "missing.bin")

    def test_spacings_levels_and_outputs_that_cannot_be(self):
        self.write_particles(block(3, 0.05))
        self.write("out.obj", b"older")
        self.assert_all_refused("surface in.bin -o", [
            ("out.obj --spacing 1e-6", 1, "GiB", "try --spacing"),
            ("out.obj --memory 1M", 1, "GiB more than", "try --spacing"), ("out.obj --memory many", 2, "--memory"),
            ("out.obj --level 0", 1, "from 0 to 2"),
            ("out.obj --level 1000", 1, "from 0 to 2", "--level"), ("out.obj --level -1", 1, "from 0 to 2"),
            ("missing/out.obj", 1, "missing/out.obj", "does not exist")])

    @on_linux
    def test_full_disks(self):
        self.write_particles(block(3, 0.05))
        self.assert_refused(self.surface(output="/dev/full"), 1, "/dev/full")
        with open("/dev/full", "w") as full:
            result = self.surface(stdout=full)
        self.assertEqual(result.returncode, 1)
        self.assert_one_line(result.stderr, "out.obj", "summary")

    def test_wrong_usage(self):
        self.assertRegex(self.succeed("--version"), r"\Atavrix \d+\.\d+\.\d+\n(reads further mesh formats with \w+ [\d.]+\n)?\Z")
        self.write_particles(block(3, 0.05))
        self.assert_all_refused("", [
            ("", 2, "say what to do"), ("volume", 2, "no command volume"),
            ("surfcae", 2, "did you mean surface?"), ("surface in.bin -o out.obj --radios 1", 2, "did you mean --radius?"), ("surface -o out.obj", 2, "IN"),
            ("surface in.bin", 2, "--output"), ("surface in.bin -o out.txt", 2, "out.txt"),
            ("surface in.bin -o out.obj more.bin", 2, "more.bin")])
        self.assert_all_refused("surface in.bin -o out.obj", [(option, 2, option.split()[0]) for option in (
            "--radius 0", "--radius -1", "--radius nan", "--radius 1e-20", "--radius 1e20", "--radius x", "--spacing 0",
            "--spacing inf", "--level nan", "--field blob", "--influence 101", "--threads 0", "--threads")])


class Manners(SurfaceTest):
    @on_linux
    def test_the_output_is_replaced_by_renaming(self):
        """Who has the older file open goes on reading it; a link to the output stays a link."""
        self.write_particles(block(3, 0.05))
        self.write("target.obj", b"older")
        (self.folder / "out.obj").symlink_to("target.obj")
        with open(self.folder / "target.obj", encoding="ascii") as older:
            self.assertIn(b"\nf ", self.make())
            self.assertEqual(older.read(), "older")
        self.assertTrue((self.folder / "out.obj").is_symlink())
        self.assertEqual(sorted(os.listdir(self.folder)), ["in.bin", "out.obj", "target.obj"])

    @on_linux
    def test_standard_output_gets_the_mesh_as_a_pipe_and_behind_what_a_file_holds(self):
        self.write_particles(block(3, 0.05))
        result = self.surface(output="/dev/stdout")
        mesh = self.make()
        self.assertEqual((result.returncode, result.stderr, result.stdout.encode()), (0, "", mesh))
        self.write("log", b"before\n")
        with open(self.folder / "log", "ab") as log:
            self.assertEqual(self.surface(output="/dev/stdout", stdout=log).returncode, 0)
            log.write(b"after\n")
        self.assertEqual((self.folder / "log").read_bytes(), b"before\n" + mesh + b"after\n")
        self.assertEqual(sorted(os.listdir(self.folder)), ["in.bin", "log", "out.obj"])

    @on_linux
    def test_signals_end_the_program_as_if_uncaught_and_leave_nothing(self):
        self.write_particles(block(40, 0.05))
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            command = [PROGRAM, "surface", "in.bin", "-o", "out.obj", "--spacing", "0.004"]
            program = subprocess.Popen(command, cwd=self.folder, stderr=subprocess.PIPE)
            wait_until_caught(program, number)
            program.send_signal(number)
            self.assertEqual(program.communicate()[1], b"tavrix: interrupted\n")
            self.assertEqual(program.returncode, -number)
            self.assertEqual(os.listdir(self.folder), ["in.bin"])
        limited = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (10_000, 10_000))
        self.assert_refused(self.surface(preexec_fn=limited), 1, "out.obj", "disk full")
        self.assertEqual(os.listdir(self.folder), ["in.bin"])

    @on_linux
    def test_a_terminal_sees_the_stages_unless_quiet(self):
        self.write_particles(block(3, 0.05))
        shown = self.shown_on_terminal()
        for stage in ("read", "field", "surface", "smooth", "normals", "write"):
            self.assertIn(f"] {stage}", shown)
        self.assertRegex(shown, r"\[#+\.*\] surface \d+ %")
        self.assertRegex(shown, r"\r *\r\Z", "the bar goes in the end")
        self.assertEqual(self.shown_on_terminal("--quiet"), "")

    def shown_on_terminal(self, *arguments):
        try:
            terminal, side = os.openpty()
        except OSError:
            self.skipTest("no pseudo-terminals here")
        result = self.surface(*arguments, stderr=side)
        self.assertEqual(result.returncode, 0)
        os.write(side, b"$")
        shown = b""
        while not shown.endswith(b"$"):
            shown += os.read(terminal, 4096)
        os.close(side)
        os.close(terminal)
        return shown[:-1].decode()
