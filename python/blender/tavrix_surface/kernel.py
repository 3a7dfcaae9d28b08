"""Finds the package tavrix: where Python has it, or in the wheel that came with the add-on."""

import importlib.util
import pathlib
import sys
import zipfile

FOLDER = pathlib.Path(__file__).parent


def make_importable() -> None:
    """Unpacks the wheel beside the add-on, unless Python has the package already. Raises ImportError without either."""
    unpacked = FOLDER / "packages"
    if unpacked.exists():
        sys.path.insert(0, str(unpacked))
    if importlib.util.find_spec("tavrix"):
        return
    wheels = sorted((FOLDER / "wheels").glob("tavrix-*.whl"))
    if not wheels:
        raise ImportError("The add-on has no wheel of tavrix in its folder wheels; install the zip that has one")
    with zipfile.ZipFile(wheels[-1]) as wheel:
        wheel.extractall(unpacked)
    sys.path.insert(0, str(unpacked))
    importlib.invalidate_caches()
