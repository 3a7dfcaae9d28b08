"""The files of a particle sequence, by frame. Knows nothing of Blender."""

from __future__ import annotations

import pathlib
import re

NUMBER = re.compile(r"(\d+)(?=\D*$)")


def pattern_of(path: str) -> str:
    """The name with {} for its last number: water_0012.bin gives water_{}.bin; one without a number stays."""
    folder, name = str(pathlib.Path(path).parent), pathlib.Path(path).name
    return str(pathlib.Path(folder, name if "{}" in name else NUMBER.sub("{}", name)))


def files_of(pattern: str) -> dict[int, pathlib.Path]:
    """The files that a pattern with a {} names, by their numbers, whatever zeros these begin with."""
    path = pathlib.Path(pattern)
    if "{}" not in path.name or not path.parent.is_dir():
        return {}
    before, after = path.name.split("{}", 1)
    number = re.compile(re.escape(before) + r"(\d+)" + re.escape(after))
    found = {}
    for file in path.parent.iterdir():
        if match := number.fullmatch(file.name):
            found[int(match[1])] = file
    return dict(sorted(found.items()))


def file_at(pattern: str, frame: int) -> pathlib.Path | None:
    """The file of a frame, or None; a pattern without {} is one file for all frames."""
    if "{}" not in pattern:
        path = pathlib.Path(pattern)
        return path if path.is_file() else None
    return files_of(pattern).get(frame)
