"""Run the Conan recipe with stand-ins for Conan's classes that do what these promise, and look at its package.

conan_recipe.py CONANFILE WORK_DIR
"""

import importlib.util
import pathlib
import shutil
import subprocess
import sys
import types

recipe_path, work = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve()


class Toolchain:
    def __init__(self, recipe):
        self.recipe, self.cache_variables = recipe, {}

    def generate(self):
        self.recipe.cache_variables = self.cache_variables


class CMake:
    def __init__(self, recipe):
        self.recipe = recipe

    def configure(self):
        values = [f"-D{name}={'ON' if value else 'OFF'}" for name, value in self.recipe.cache_variables.items()]
        self.run("-S", self.recipe.source_folder, "-B", work / "build", "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release", *values)

    def build(self):
        self.run("--build", work / "build")

    def install(self):
        self.run("--install", work / "build", "--prefix", self.recipe.package_folder)

    @staticmethod
    def run(*arguments):
        subprocess.run(["cmake", *map(str, arguments)], check=True, stdout=subprocess.DEVNULL)


def copy(recipe, pattern, src, dst):
    folder, is_tree = pattern[:-2], pattern.endswith("/*")
    source = pathlib.Path(src) / (folder if is_tree else pattern)
    if is_tree:
        shutil.copytree(source, pathlib.Path(dst) / folder)
    else:
        pathlib.Path(dst).mkdir(parents=True, exist_ok=True)
        shutil.copy(source, dst)


def module(name, **names):
    sys.modules[name] = types.ModuleType(name)
    vars(sys.modules[name]).update(names)


module("conan", ConanFile=object)
module("conan.tools")
module("conan.tools.cmake", CMake=CMake, CMakeToolchain=Toolchain, cmake_layout=lambda recipe: None)
module("conan.tools.files", copy=copy, load=lambda recipe, path: pathlib.Path(path).read_text())

spec = importlib.util.spec_from_file_location("conanfile", recipe_path)
conanfile = importlib.util.module_from_spec(spec)
spec.loader.exec_module(conanfile)

shutil.rmtree(work, ignore_errors=True)
for shared, streams_only, library in ((False, False, "libVask.a"), (True, True, "libVaskStreams.so"),
                                      (False, True, "libVaskStreams.a")):
    shutil.rmtree(work / "build", ignore_errors=True)
    shutil.rmtree(work / "source", ignore_errors=True)
    recipe = conanfile.VaskRecipe()
    recipe.recipe_folder = str(recipe_path.parent)
    recipe.export_sources_folder = recipe.source_folder = str(work / "source")
    recipe.package_folder = str(work / library)
    recipe.options = types.SimpleNamespace(shared=shared, streams_only=streams_only)
    recipe.settings = types.SimpleNamespace(os="Linux")
    properties = {}
    recipe.cpp_info = types.SimpleNamespace(set_property=properties.__setitem__)
    recipe.set_version()
    for step in ("export_sources", "layout", "generate", "build", "package", "package_info"):
        getattr(recipe, step)()
    installed = list(pathlib.Path(recipe.package_folder).rglob(library))
    assert installed, f"the recipe did not install {library}"
    assert recipe.cpp_info.libs[0] in installed[0].stem
    assert (pathlib.Path(recipe.package_folder) / "licenses" / "LICENSE").is_file()
    print(f"libvask {recipe.version}: {library} as {properties['cmake_target_name']}")
