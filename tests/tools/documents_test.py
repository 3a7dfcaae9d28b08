"""Tests of what describes the program: manual pages, the shells' completions, job files and the parser's words."""

import re
import shutil
import subprocess
import unittest

from particle_file import block, particle_file
from program import PROGRAM, ProgramTest, on_linux

COMMANDS = ("surface", "levelset", "preview", "convert", "simplify", "subdivide", "displace", "remesh", "fill", "sphere", "slice", "query", "info")


class DocumentsTest(ProgramTest):
    def options_of(self, command):
        """The long options that the help lists."""
        lines = self.succeed(command, "--help").split("Examples:")[0].splitlines()
        declared = " ".join(line.lstrip().split("  ")[0] for line in lines if line.startswith("  -"))
        return set(re.findall(r"--[a-z][a-z-]+", declared))

    def outside(self, *command):
        return subprocess.run(command, cwd=self.folder, capture_output=True, encoding="utf-8")


@on_linux
class Written(DocumentsTest):
    def setUp(self):
        super().setUp()
        self.succeed("--write-documents", "docs")

    def completed(self, *words):
        """By bash, which gives an option, = and its value as three words."""
        script = ('source docs/tavrix.bash; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); '
                  '_tavrix tavrix "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"; '
                  'printf "%s\\n" "${COMPREPLY[@]}"')
        return self.outside("bash", "-c", script, "bash", "tavrix", *words).stdout.splitlines()

    def test_everything_that_the_help_lists_is_there(self):
        self.assertEqual(set(self.completed("")), set(COMMANDS))
        shells = {name: (self.folder / "docs" / name).read_text() for name in ("_tavrix", "tavrix.fish")}
        for command in COMMANDS:
            options = self.options_of(command)
            self.assertGreater(len(options), 1)
            self.assertEqual(options - set(self.completed(command, "--")), set(), command)
            page = (self.folder / "docs/man1" / f"tavrix-{command}.1").read_text().replace("\\-", "-")
            for option in options:
                self.assertIn(rf"\fB{option}\fR", page)
                self.assertIn(f" -l {option[2:]}", shells["tavrix.fish"])
                self.assertIn(f"*{option}", shells["_tavrix"])

    def test_values_and_files_are_completed(self):
        for name in ("a.bin", "b.OBJ", "c.txt", "d e.stl"):
            self.write(name, b"")
        (self.folder / "f").mkdir()
        for words, expected in ((("surface", "x.bin", "--qui"), ["--quiet"]), (("surface", "--field", "d"), ["distance"]),
                                (("surface", "--field", "=", "d"), ["distance"]),
                                (("surface", "--quality", "="), ["normal", "smooth"]),
                                (("sphere", ""), ["20", "500"]), (("query", "--points", "c"), ["c.txt"]),
                                (("surface", "-o", ""), ["a.bin", "b.OBJ", "d e.stl", "docs", "f"]),
                                (("surface", "--radius", ""), [""])):
            with self.subTest(words):
                self.assertEqual(sorted(self.completed(*words)), expected)
        self.assertIn("a.bin", self.completed("surface", ""))
        self.assertNotIn("c.txt", self.completed("convert", ""))

    @unittest.skipUnless(shutil.which("fish"), "there is no fish")
    def test_fish_understands_it(self):
        complete = lambda line: self.outside("fish", "-c", f"source docs/tavrix.fish; complete -C '{line}'").stdout
        self.assertIn("surface\t", complete("tavrix "))
        self.assertIn("--field\t", complete("tavrix surface --fi"))
        self.assertIn("distance", complete("tavrix surface --field d"))

    @unittest.skipUnless(shutil.which("zsh") and shutil.which("mandoc"), "there is no zsh or mandoc")
    def test_zsh_and_manual_readers_find_no_fault(self):
        self.assertEqual(self.outside("zsh", "-n", "docs/_tavrix").stderr, "")
        for page in sorted((self.folder / "docs/man1").iterdir()):
            found = self.outside("mandoc", "-T", "lint", "-W", "warning", str(page)).stdout
            self.assertEqual([line for line in found.splitlines() if "missing date" not in line], [])


class JobFiles(DocumentsTest):
    def test_what_one_run_saves_another_repeats(self):
        self.write("in.bin", particle_file(block(4, 0.05)))
        self.succeed(*"surface in.bin -o a.obj --smooth 3 -l 1.25 --no-normals --save-config job.toml".split())
        self.succeed(*"--config job.toml --output=b.obj".split())
        self.succeed(*"surface --config=job.toml -o c.obj --smooth 0".split())
        a, b, c = ((self.folder / name).read_bytes() for name in ("a.obj", "b.obj", "c.obj"))
        self.assertEqual(a, b)
        self.assertNotEqual(a, c)
        self.write("several.toml", b'command = "simplify"\nin = "a.obj"\noutput = "d.obj"\ntolerance = [0, 0.001]\ndrop-thin = true\n')
        self.assertIn("d.obj", self.succeed("--config", "several.toml"))

    def test_what_is_wrong_is_told(self):
        self.write("one.toml", b'in = "in.bin"\n')
        self.write("two.toml", b'command = "surface"\nradios = 1\n')
        self.write("three.toml", b"radius = = 1\n")
        self.write("four.toml", b'command = "surface"\nin = "in.bin"\noutput = "o.obj"\nradius = -1\n')
        self.write("five.toml", b'command = "surface"\nnormals = 3\n')
        self.assert_all_refused("--config", (
            ("one.toml", 1, "command"), ("two.toml", 1, "radios", "did you mean radius?"), ("three.toml", 1, "line 1"),
            ("four.toml", 2, "--radius"), ("five.toml", 1, "normals", "true or false"), ("none.toml", 1, "none.toml"), ("", 1, "--config")))


class Words(DocumentsTest):
    def test_options_without_effect_are_refused(self):
        self.write("in.bin", particle_file(block(3, 0.05)))
        self.assert_all_refused("surface in.bin -o", [(arguments, 2, *words) for arguments, *words in (
            ("out.obj --ascii", "--ascii", ".stl"), ("out.obj --influence 50 --field distance", "--influence", "distance"),
            ("out.obj --preview-size 64x64", "--preview-size", "--preview"), ("out.stl --no-normals", "--no-normals"),
            ("out.obj --jobs 2", "--jobs", "sequence"), ("out.obj --format stl", "--format", "folder"),
            ("out.obj --level 1 --match-volume", "contradict"), ("out.obj --smooth 1 --smooth 2", "--smooth", "once"))])

    def test_in_place_work_is_refused_by_every_command(self):
        self.succeed("sphere", 500, "-o", "a.obj")
        self.assert_all_refused("", [(arguments, 1, "input", "never replaced") for arguments in (
            "convert a.obj ./a.obj", "simplify a.obj -o a.obj --ratio 0.5", "levelset a.obj -o a.obj")])

    def test_folders_and_sequences_are_for_every_command(self):
        for number in (1, 2):
            self.succeed("sphere", 500, "-o", f"a{number}.obj")
        self.succeed(*"convert a{}.obj out/ --format stl".split())
        self.succeed(*"simplify a{}.obj -o out --ratio 0.5 --jobs 2".split())
        self.succeed(*"levelset a{}.obj -o l{}.bin --spacing 0.2".split())
        self.succeed(*"query a{}.obj -o q{}.csv --nearest 0,0,3".split())
        self.succeed(*"preview a{}.obj -o p{}.png --size 32x32".split())
        made = sorted(str(path.relative_to(self.folder)) for path in self.folder.rglob("*.*") if ".tavrix" not in str(path))
        self.assertEqual(made, sorted(name.format(number) for name in
                                ("a{}.obj", "l{}.bin", "out/a{}.obj", "out/a{}.stl", "p{}.png", "q{}.csv") for number in (1, 2)))
