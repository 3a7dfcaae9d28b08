"""Builds the wheel: CMake makes the module _core, with the kernel in it, of the sources around this folder."""

import os
import pathlib
import re
import shutil
import subprocess
import sys

import setuptools
from setuptools.command.build_ext import build_ext

ROOT = pathlib.Path(__file__).resolve().parent.parent


def version() -> str:
    text = (ROOT / "CMakeLists.txt").read_text()
    return re.search(r"project\(tavrix VERSION ([\d.]+)", text).group(1)


def pybind11_folder() -> list[str]:
    """Where CMake finds pybind11, when it came as a Python package."""
    try:
        import pybind11
    except ImportError:
        return []
    return [f"-Dpybind11_DIR={pybind11.get_cmake_dir()}"]


class BuildWithCMake(build_ext):
    def build_extension(self, extension):
        target = pathlib.Path(self.get_ext_fullpath(extension.name)).resolve()
        folder = pathlib.Path(self.build_temp).resolve()
        options = [
            "-DCMAKE_BUILD_TYPE=Release",
            "-DBUILD_SHARED_LIBS=OFF",
            "-DTAVRIX_BUILD_PYTHON=ON",
            "-DTAVRIX_BUILD_TOOLS=OFF",
            "-DTAVRIX_BUILD_EXAMPLES=OFF",
            "-DTAVRIX_BUILD_TESTS=OFF",
            "-DTAVRIX_WITH_ASSIMP=OFF",
            "-DCMAKE_UNITY_BUILD=ON",
            "-DCMAKE_UNITY_BUILD_BATCH_SIZE=16",
            f"-DPython_EXECUTABLE={sys.executable}",
            *(["-GNinja"] if shutil.which("ninja") else []),
            *pybind11_folder(),
            *os.environ.get("TAVRIX_CMAKE_OPTIONS", "").split(),
        ]
        subprocess.run(["cmake", "--fresh", "-S", str(ROOT), "-B", str(folder), *options], check=True)
        jobs = str(os.cpu_count() or 1)
        subprocess.run(["cmake", "--build", str(folder), "--target", "tavrix_python", "-j", jobs], check=True)
        target.parent.mkdir(parents=True, exist_ok=True)
        self.copy_file(str(folder / "python" / "tavrix" / target.name), str(target))


setuptools.setup(
    version=version(),
    ext_modules=[setuptools.Extension("tavrix._core", sources=[])],
    cmdclass={"build_ext": BuildWithCMake},
)
