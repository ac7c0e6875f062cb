"""Builds the C library into the package; one wheel serves every Python.

In the environment:
    VASK_LIBRARY  a streams-only library to take instead of building one
    CMAKE_ARGS    more arguments for CMake, such as -DCMAKE_TOOLCHAIN_FILE=FILE for another machine
"""

import os
import re
import shlex
import shutil
import struct
import subprocess
import zlib
from pathlib import Path

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py

try:
    from setuptools.command.bdist_wheel import bdist_wheel
except ImportError:  # setuptools before 70.1
    from wheel.bdist_wheel import bdist_wheel

ROOT = Path(__file__).resolve().parents[2]
BUILD = ROOT / "build" / "python"
LIBRARY = "libVaskStreams.so"
MACHINES = {3: "i686", 22: "s390x", 40: "armv7l", 62: "x86_64", 183: "aarch64", 243: "riscv64"}  # ELF's numbers
OLDEST_GLIBC = (2, 17)  # the oldest that pip knows a tag for on all of these


def version():
    return re.search(r"project\(\s*libVask\s+VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text())[1]


def build_library(folder):
    """Return the library: the given one, or one that is built below folder."""
    if "VASK_LIBRARY" in os.environ:
        return Path(os.environ["VASK_LIBRARY"])
    arguments = os.environ.get("CMAKE_ARGS", "")
    folder = folder / f"{zlib.crc32(arguments.encode()):08x}"  # one for each machine
    build, prefix = folder / "build", folder / "prefix"
    subprocess.run(["cmake", "-S", ROOT, "-B", build, "-DCMAKE_BUILD_TYPE=Release", "-DVASK_STREAMS_ONLY=ON",
                    "-DBUILD_SHARED_LIBS=ON", "-DVASK_BUILD_COMMAND=OFF", "-DVASK_BUILD_JAVA=OFF", "-DVASK_JNI=OFF",
                    "-DVASK_BUILD_TABLES=OFF", "-DVASK_BUILD_BENCH=OFF", "-DVASK_BUILD_TRAINING=OFF",
                    "-DVASK_BUILD_TESTS=OFF", "-DCMAKE_INSTALL_LIBDIR=lib",
                    *shlex.split(arguments)], check=True)
    subprocess.run(["cmake", "--build", build, "--target", "vask_shared", "--parallel", str(os.cpu_count())], check=True)
    subprocess.run(["cmake", "--install", build, "--prefix", prefix, "--strip"], check=True)
    return prefix / "lib" / LIBRARY


def platform_tag(library):
    """Say where a library runs: its processor, and the newest glibc of which it uses a symbol."""
    contents = library.read_bytes()
    machine, = struct.unpack_from("<H" if contents[5] == 1 else ">H", contents, 18)
    needed = [(int(major), int(minor)) for major, minor in re.findall(rb"\0GLIBC_(\d+)\.(\d+)", contents)]
    return "manylinux_%d_%d_%s" % (*max([OLDEST_GLIBC, *needed]), MACHINES[machine])


def same_permissions(folder):
    """Take from the files those of this checkout, which a wheel would note."""
    for file in folder.iterdir():
        file.chmod(0o644)


class BuildWithLibrary(build_py):
    def run(self):
        shutil.rmtree(self.build_lib, ignore_errors=True)  # what an older source left there
        super().run()
        library = build_library(Path(self.get_finalized_command("build").build_temp).resolve())
        shutil.copyfile(library, Path(self.build_lib) / "vask" / LIBRARY)
        same_permissions(Path(self.build_lib) / "vask")


class OneWheel(bdist_wheel):
    def finalize_options(self):
        super().finalize_options()
        self.root_is_pure = False

    def egg2dist(self, egginfo_path, distinfo_path):
        super().egg2dist(egginfo_path, distinfo_path)
        same_permissions(Path(distinfo_path))

    def get_tag(self):
        return "py3", "none", platform_tag(Path(self.bdist_dir) / "vask" / LIBRARY)


class WithLibrary(Distribution):
    def has_ext_modules(self):
        return True


# The same files give the same wheel, whoever builds it and whenever: 1980 is the first year that its format knows.
os.umask(0o022)
os.environ.setdefault("SOURCE_DATE_EPOCH", "315532802")
BUILD.mkdir(parents=True, exist_ok=True)
setup(
    version=version(),
    cmdclass={"build_py": BuildWithLibrary, "bdist_wheel": OneWheel},
    distclass=WithLibrary,
    options={"build": {"build_base": str(BUILD / "wheel")}, "egg_info": {"egg_base": str(BUILD)}})
