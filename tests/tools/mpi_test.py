"""Tests of tavrix-mpi: over any number of ranks it writes the files that tavrix writes."""

import os
import pathlib
import random
import re
import subprocess
import time

from particle_file import block, particle_file
from program import ENVIRONMENT, LIMIT_SECONDS, PROGRAM, ProgramTest

MPI_PROGRAM = PROGRAM.with_name("tavrix-mpi")
MPIRUN = os.environ["TAVRIX_MPIRUN"]
# Open MPI is told that this machine may be root's, and has fewer processors than ranks; others take no notice
MPI_ENVIRONMENT = ENVIRONMENT | {"OMPI_ALLOW_RUN_AS_ROOT": "1", "OMPI_ALLOW_RUN_AS_ROOT_CONFIRM": "1",
                                 "OMPI_MCA_rmaps_base_oversubscribe": "1", "OMPI_MCA_mpi_yield_when_idle": "1"}


def scene(kind):
    """Particles 0.05 apart: dense, sparse, or all in one corner and two far away."""
    engine = random.Random(kind)
    shaken = [tuple(c + engine.uniform(-0.01, 0.01) for c in p) for p in block(14, 0.05)]
    if kind == "sparse":
        return [tuple(engine.uniform(-2, 2) for _ in range(3)) for _ in range(150)]
    if kind == "lopsided":
        return shaken[:600] + [(30, 0, 0), (30.02, 0.03, 0), (-200, 7, 9)]
    return shaken


class MpiTest(ProgramTest):
    def write_scene(self, kind, name="in.bin"):
        positions = scene(kind)
        self.write(name, particle_file(positions, velocities=[(y, -x, z) for x, y, z in positions]))

    def run_ranks(self, ranks, *arguments, **options):
        command = [MPIRUN, "-n", str(ranks), str(MPI_PROGRAM), *map(str, arguments)]
        return subprocess.run(command, cwd=self.folder, env=MPI_ENVIRONMENT, stdin=subprocess.DEVNULL,
                              capture_output=True, encoding="utf-8", timeout=LIMIT_SECONDS, **options)

    def succeed_over(self, ranks, *arguments):
        result = self.run_ranks(ranks, *arguments)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        return result.stdout

    def assert_same_over(self, runs, arguments, output):
        """The bytes of one machine, for runs of (ranks, threads)."""
        arguments = ["surface", "in.bin", "-o", output, *arguments.split()]
        self.succeed(*arguments)
        expected = (self.folder / output).read_bytes()
        for ranks, threads in runs:
            with self.subTest(ranks=ranks, threads=threads):
                (self.folder / output).unlink()
                self.succeed_over(ranks, *arguments, "--threads", threads)
                self.assertEqual((self.folder / output).read_bytes(), expected)

    def find_ranks(self):
        """The numbers of the processes of tavrix-mpi that work in the folder."""
        found = []
        for process in pathlib.Path("/proc").glob("[0-9]*"):
            try:
                if (process / "exe").resolve() == MPI_PROGRAM and (process / "cwd").resolve() == self.folder.resolve():
                    found.append(int(process.name))
            except OSError:  # it has ended
                continue
        return sorted(found)

    def assert_one_complaint(self, result, *words):
        """One line of ours, whatever mpirun says beside it."""
        lines = [line for line in result.stderr.splitlines() if line.startswith("tavrix: ")]
        self.assertEqual(len(lines), 1, result.stderr)
        self.assertNotEqual(result.returncode, 0)
        for word in words:
            self.assertIn(word, lines[0])


class OneFile(MpiTest):
    def test_every_number_of_ranks_and_threads_gives_the_same_bytes(self):
        self.write_scene("dense")
        runs = [(1, 2), (2, 1), (3, 2), (4, 1), (7, 2)]
        self.assert_same_over(runs, "--attribute all --quality smooth", "out.vtp")

    def test_every_way_to_a_surface_gives_the_same_bytes(self):
        # in parts: bin, ply, stl and vtp; gathered: what needs the whole mesh, and other formats
        cases = [("dense", "--field anisotropic --simplify 0.003 --fill-cavities", "out.vtp", [(2, 2), (7, 1)]),
                 ("dense", "--field distance --radius 0.04 --decimate 0.3", "out.ply", [(3, 1)]),
                 ("dense", "--spacing 0.004 --scale 10 --output-up z", "out.bin", [(1, 2), (4, 1)]),
                 ("sparse", "--field anisotropic --radius 0.05", "out.bin", [(4, 1)]),
                 ("sparse", "--radius 0.05 --match-volume --clip=0,-1,-1,2,1,1", "out.stl", [(3, 2)]),
                 ("sparse", "--radius 0.05 --quality smooth", "out.stl", [(2, 1), (7, 1)]),
                 ("sparse", "--radius 0.05", "out.obj", [(3, 1)]),
                 ("lopsided", "--min-neighbours 1 --attribute id --crop=-1,-1,-1,40,1,1", "out.ply", [(4, 1), (7, 2)])]
        for kind, arguments, output, runs in cases:
            with self.subTest(kind, arguments=arguments):
                self.write_scene(kind)
                self.assert_same_over(runs, arguments, output)

    def test_particles_of_other_files_are_dealt_out(self):
        rows = "".join(f"{x},{y},{z},{x + y},{n}\n" for n, (x, y, z) in enumerate(scene("dense")))
        self.write("in.csv", ("x,y,z,Heat,nx\n" + rows).encode())
        for name in ("one.vtp", "many.vtp"):
            run = self.succeed if name == "one.vtp" else lambda *arguments: self.succeed_over(3, *arguments)
            run("surface", "in.csv", "-o", name, "--attribute", "Heat")
        one, many = ((self.folder / name).read_bytes() for name in ("one.vtp", "many.vtp"))
        self.assertEqual(one, many)

    def test_failures_are_told_once_and_leave_nothing(self):
        self.write_scene("dense")
        whole = (self.folder / "in.bin").read_bytes()
        self.write("cut.bin", whole[:100_000])
        self.write("none.bin", particle_file([]))
        self.write("nan.bin", particle_file([(float("nan"), 0, 0)] * 3))
        before = self.state()
        cases = [("missing.bin -o out.obj", "missing.bin: cannot be opened"),
                 ("cut.bin -o out.obj", "cut.bin: is cut off, it holds 905 of 2744 particles"),
                 ("none.bin -o out.obj", "none.bin: holds no particles"),
                 ("nan.bin -o out.obj", "no particle has a finite position"),
                 ("in.bin -o no/out.obj", "the folder no does not exist"),
                 ("in.bin -o in.bin", "is the input"),
                 ("in.bin -o out.obj --level 99", "no surface at level 99"),
                 ("in.bin -o out.obj --crop=8,8,8,9,9,9", "no particle lies in the box of --crop"),
                 ("in.bin -o out.vtp --attribute colour", "no attribute colour; they have id"),
                 ("in.bin -o out.obj --memory 60M --spacing 0.0012", "more ranks"),
                 ("in.bin -o out.obj --memory 31270K", "2744 particles take", "use 10 ranks"),
                 ("in.bin -o out.obj --preview a.png", "--preview is for tavrix preview"),
                 ("in.bin -o out.obj --jobs 2", "--jobs"),
                 ("in.bin -o out.obj --save-config no/job.toml", "no/job.toml: the folder no does not exist"),
                 ("in.bin -o out.obj --config no/job.toml", "no/job.toml: cannot be opened"),
                 ("in.bin -o out.obj --radius -1", "--radius")]
        for arguments, *words in cases:
            with self.subTest(arguments):
                result = self.run_ranks(3, "surface", *arguments.split())
                self.assertEqual(result.stdout, "")
                self.assert_one_complaint(result, *words)
                self.assertEqual(self.state(), before)

    def test_a_full_disk_leaves_no_partial_file(self):
        self.write_scene("dense")
        before = self.state()
        # mpirun needs larger files of its own, so the shell below it limits those of the ranks
        script = self.folder.parent / (self.folder.name + ".sh")
        self.addCleanup(script.unlink)
        script.write_text(f"trap '' XFSZ; ulimit -f 20; exec '{MPI_PROGRAM}' surface in.bin -o $1\n")
        for name, ranks in (("out.obj", 2), ("out.bin", 2), ("out.vtp", 3)):
            with self.subTest(name):
                result = subprocess.run([MPIRUN, "-n", str(ranks), "bash", str(script), name], cwd=self.folder,
                                        env=MPI_ENVIRONMENT, capture_output=True, encoding="utf-8",
                                        timeout=LIMIT_SECONDS)
                if "MPI_Init" in result.stderr:
                    self.skipTest("this MPI needs large files of its own")
                self.assert_one_complaint(result, name + ": cannot be written")
                self.assertEqual(self.state(), before)

    def test_a_plan_tells_what_runs_take(self):
        self.write_scene("dense")
        plan = self.succeed_over(2, "plan", "in.bin", "--ranks", "1,3,100000", "--spacing", "0.004", "--memory", "4G")
        self.assertIn("4 GiB a rank are enough for 1 ranks", plan)
        rows = {line.split()[0]: line.split() for line in plan.splitlines() if re.match(r" +\d+ ", line)}
        self.assertEqual(list(rows), ["1", "3", "100000"])
        made = self.succeed_over(3, "surface", "in.bin", "-o", "out.bin", "--spacing", "0.004")
        vertices = float(re.search(r"about (\S+) vertices", plan)[1])
        self.assertAlmostEqual(vertices / self.info("out.bin")["vertices"], 1, delta=0.15)
        most = float(re.search(r"at most (\d+) MiB on one", made)[1])
        _, rank, unit, gathered, gathered_unit, *_ = rows["3"]
        self.assertEqual((unit, gathered_unit), ("MiB", "MiB"))
        self.assertAlmostEqual(float(rank) / most, 1, delta=0.3)
        alone = float(rows["1"][1])
        self.assertLess(most, 0.7 * alone, "each has its part")
        made = self.succeed_over(3, "surface", "in.bin", "-o", "out.obj", "--spacing", "0.004")
        self.assertAlmostEqual(float(gathered) / float(re.search(r"at most (\d+) MiB", made)[1]), 1, delta=0.3)

    def test_a_rank_that_is_killed_ends_the_job(self):
        self.write_scene("dense")
        before = self.state()
        command = [MPIRUN, "-n", "3", str(MPI_PROGRAM), "surface", "in.bin", "-o", "out.obj", "--spacing", "0.0015"]
        job = subprocess.Popen(command, cwd=self.folder, env=MPI_ENVIRONMENT, stdin=subprocess.DEVNULL,
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        ranks = []
        while len(ranks) < 3:
            self.assertIsNone(job.poll(), "it ended too early")
            ranks = self.find_ranks()
            time.sleep(0.01)
        time.sleep(1)  # Open MPI may wait for ever for a rank that ends while the job is being set up
        os.kill(ranks[1], 9)
        self.assertNotEqual(job.wait(LIMIT_SECONDS), 0)
        self.assertEqual(self.state(), before)


class Sequences(MpiTest):
    def test_groups_of_ranks_make_the_frames_that_one_machine_makes(self):
        for frame, kind in enumerate(["dense", "sparse", "lopsided", "dense", "sparse"]):
            self.write_scene(kind, f"in_{frame}.bin")
        self.write("in_7.bin", b"no particles")
        arguments = ["surface", "in_{}.bin", "-o"]
        (self.folder / "one").mkdir()
        self.assertEqual(self.run_program(*arguments, "one/out_{}.vtp").returncode, 1)
        for ranks, each in ((5, 2), (3, 1)):
            with self.subTest(ranks=ranks):
                result = self.run_ranks(ranks, *arguments, "out_{}.vtp", "--ranks-per-frame", each, "--force")
                self.assertEqual(result.returncode, 1)
                self.assert_one_complaint(result, "in_7.bin")
                self.assertRegex(result.stdout, r"frames +5 written, 0 up to date, 1 failed\nmissing +5 to 6\n"
                                                r"collection -> out.pvd\n")
                for frame in range(5):
                    one, many = (self.folder / folder / f"out_{frame}.vtp" for folder in ("one", "."))
                    self.assertEqual(one.read_bytes(), many.read_bytes())
        (self.folder / "in_7.bin").unlink()
        self.assertRegex(self.succeed_over(2, *arguments, "out_{}.vtp"), "0 written, 5 up to date")
        self.assertRegex(self.succeed(*arguments, "out_{}.vtp"), "0 written, 5 up to date")

