"""Conan 2 recipe: conan create packaging/conan"""

import os

from conan import ConanFile
from conan.tools.cmake import CMake, CMakeToolchain, cmake_layout
from conan.tools.files import copy, load


class VaskRecipe(ConanFile):
    name = "libvask"
    license = "MIT"
    description = "A speech front end: noise reduction and utterance detection"
    topics = ("speech", "vad", "noise-reduction")
    package_type = "library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"shared": [True, False], "streams_only": [True, False]}
    default_options = {"shared": False, "streams_only": False}

    def export_sources(self):
        root = os.path.join(self.recipe_folder, "..", "..")
        for pattern in ("CMakeLists.txt", "LICENSE", "cmake/*", "include/*", "src/*"):
            copy(self, pattern, src=root, dst=self.export_sources_folder)

    def set_version(self):
        listing = load(self, os.path.join(self.recipe_folder, "..", "..", "CMakeLists.txt"))
        self.version = listing.split("VERSION ", 2)[2].split()[0]

    def layout(self):
        cmake_layout(self)

    def generate(self):
        toolchain = CMakeToolchain(self)
        toolchain.cache_variables["BUILD_SHARED_LIBS"] = bool(self.options.shared)
        toolchain.cache_variables["VASK_STREAMS_ONLY"] = bool(self.options.streams_only)
        for part in ("JNI", "BUILD_COMMAND", "BUILD_JAVA", "BUILD_TABLES", "BUILD_BENCH", "BUILD_TRAINING", "BUILD_TESTS"):
            toolchain.cache_variables[f"VASK_{part}"] = False
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()
        copy(self, "LICENSE", src=self.source_folder, dst=os.path.join(self.package_folder, "licenses"))

    def package_info(self):
        self.cpp_info.set_property("cmake_file_name", "Vask")
        self.cpp_info.set_property("cmake_target_name", "Vask::Vask" if self.options.shared else "Vask::Static")
        self.cpp_info.set_property("pkg_config_name", "vask")
        self.cpp_info.libs = ["VaskStreams" if self.options.streams_only else "Vask"]
        if self.settings.os in ("Linux", "FreeBSD"):
            self.cpp_info.system_libs = ["m"]
