"""Runs the program for the black-box tests; the arguments of a run are PROGRAM [EMULATOR...]."""

import json
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import time
import unittest

PROGRAM = pathlib.Path(sys.argv[1]).resolve()
EMULATOR = sys.argv[2:]
ENVIRONMENT = os.environ | {"WINEDEBUG": "-all", "LC_ALL": "C.UTF-8"}
SANITIZED = any(mark in PROGRAM.read_bytes() for mark in (b"__asan_init", b"__tsan_init"))
LIMIT_SECONDS = 60

on_linux = unittest.skipIf(EMULATOR or os.name != "posix", "only the native system has this")


def run(*arguments, cwd, **options):
    """Runs the program with its standard streams captured: by pipes, or by files under an emulator, whose
    background processes would hold pipes open."""
    command = [*EMULATOR, str(PROGRAM), *arguments]
    options = {"cwd": cwd, "env": ENVIRONMENT, "stdin": subprocess.DEVNULL, "timeout": LIMIT_SECONDS} | options
    if not EMULATOR:
        streams = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, "encoding": "utf-8"}
        return subprocess.run(command, **(streams | options))
    result = run_in_emulator(command, options)
    return run_in_emulator(command, options) if failed_without_a_word(result) else result


def run_in_emulator(command, options):
    with tempfile.TemporaryFile("w+", encoding="utf-8") as out, tempfile.TemporaryFile("w+", encoding="utf-8") as err:
        result = subprocess.run(command, stdout=out, stderr=err, **options)
        for file in (out, err):
            file.seek(0)
        return subprocess.CompletedProcess(command, result.returncode, out.read(), err.read())


def failed_without_a_word(result):
    """The program never fails so, but an emulator does once in thousands of starts."""
    return result.returncode == 1 and result.stderr == ""


class ProgramTest(unittest.TestCase):
    """Works in a folder of its own, with file names relative to it."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def run_program(self, *arguments, **options):
        return run(*map(str, arguments), cwd=self.folder, **options)

    def succeed(self, *arguments, **options):
        """Standard output of a run that must succeed without a word on standard error."""
        result = self.run_program(*arguments, **options)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        return result.stdout

    def info(self, name, *options):
        """What `tavrix info`, whose tests measure meshes made by hand, tells of a file."""
        return json.loads(self.succeed("info", "--json", name, *options))[0]

    def assert_solid(self, name, volume, error=0.015):
        """The mesh is closed, looks outwards and has about that volume; what is told of it."""
        found = self.info(name)
        self.assertTrue(found["closed"] and found["oriented"])
        self.assertAlmostEqual(found["volume"] / volume, 1, delta=error)
        return found

    def write(self, name, content):
        (self.folder / name).write_bytes(content)

    def assert_one_line(self, text, *words):
        self.assertRegex(text, r"\Atavrix: [^\n]+\n\Z")
        for word in words:
            self.assertIn(word, text)

    def assert_refused(self, result, status, *words):
        self.assertEqual(result.returncode, status, result.stderr)
        self.assertEqual(result.stdout, "")
        self.assert_one_line(result.stderr, *words)

    def assert_one_answer(self, *arguments, output="out.obj"):
        """The same bytes for every thread count."""
        answers = set()
        for threads in (1, 2, 3):
            self.succeed(*arguments, "-o", output, "--threads", threads)
            answers.add((self.folder / output).read_bytes())
        self.assertEqual(len(answers), 1)

    def state(self):
        """What is in the folder, and when it was changed."""
        return {path: path.stat().st_mtime_ns for path in self.folder.rglob("*")}

    def assert_all_refused(self, command, cases, **options):
        """Each case is the arguments as a text, the exit status and the words of the one line that the run ends with;
        nothing in the folder changes."""
        before = self.state()
        for arguments, status, *words in cases:
            with self.subTest(arguments):
                self.assert_refused(self.run_program(*command.split(), *arguments.split(), **options), status, *words)
                self.assertEqual(self.state(), before)


def wait_until_caught(process, number):
    """Until the process catches the signal, as it does once it works."""
    status = pathlib.Path("/proc", str(process.pid), "status")
    while not int(status.read_text().split("SigCgt:")[1].split()[0], 16) & 1 << number - 1:
        time.sleep(0.001)


def address_space(limit):
    """Options for `run` that bound the memory a native program can ask for."""
    if EMULATOR or SANITIZED or os.name != "posix":
        return {}
    import resource
    return {"preexec_fn": lambda: resource.setrlimit(resource.RLIMIT_AS, (limit, limit))}


def limit_file_size():
    """Writing fails behind 10,000 bytes, as on a full disk."""
    import resource
    signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
    resource.setrlimit(resource.RLIMIT_FSIZE, (10_000, 10_000))
