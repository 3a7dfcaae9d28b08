"""The recipe of the library, without the program, for Conan 2. It exports the sources that it lies in."""

import os

from conan import ConanFile
from conan.tools.build import check_min_cppstd
from conan.tools.cmake import CMake, CMakeToolchain, cmake_layout
from conan.tools.files import copy, load, rmdir


class TavrixConan(ConanFile):
    name = "tavrix"
    description = "Geometry kernel: particles, fields, iso-surfaces, meshes"
    license = "MIT"
    topics = ("geometry", "particles", "isosurface", "mesh")
    package_type = "library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"shared": [True, False], "fPIC": [True, False]}
    default_options = {"shared": True, "fPIC": True}
    implements = ["auto_shared_fpic"]

    @property
    def _root(self):
        return os.path.join(self.recipe_folder, "..", "..")

    def set_version(self):
        first = load(self, os.path.join(self._root, "CMakeLists.txt")).split("project(tavrix VERSION ", 1)[1]
        self.version = first.split()[0]

    def export_sources(self):
        for pattern in ("CMakeLists.txt", "LICENSE", "README.md", "CHANGELOG.md", "cmake/*", "src/*", "docs/*"):
            copy(self, pattern, self._root, self.export_sources_folder)

    def validate(self):
        check_min_cppstd(self, 20)

    def layout(self):
        cmake_layout(self)

    def generate(self):
        toolchain = CMakeToolchain(self)
        for part in ("TOOLS", "EXAMPLES", "TESTS"):
            toolchain.cache_variables[f"TAVRIX_BUILD_{part}"] = False
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        copy(self, "LICENSE", self.source_folder, os.path.join(self.package_folder, "licenses"))
        CMake(self).install()
        rmdir(self, os.path.join(self.package_folder, "share"))

    def package_info(self):
        # hosts find the package that the build itself installs, which knows what a static library needs
        self.cpp_info.set_property("cmake_find_mode", "none")
        self.cpp_info.builddirs = [os.path.join("lib", "cmake", "tavrix")]
        self.cpp_info.libs = ["tx_geometry_x64"]
        if not self.options.shared:
            self.cpp_info.defines = ["TX_GEOMETRY_STATIC"]
            if self.settings.os == "Linux":
                self.cpp_info.system_libs = ["pthread"]
