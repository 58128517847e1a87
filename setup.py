"""Packs the Python module: CMake builds what is compiled.

JTW_PYTHON_BUILD names a build folder that has the module already, such as build/release.
"""

from __future__ import annotations

import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = Path(__file__).resolve().parent


def version() -> str:
    """The version of the whole project."""
    found = re.search(r"project\(Jtw VERSION ([0-9.]+)", (ROOT / "CMakeLists.txt").read_text())
    assert found, "CMakeLists.txt has no version"
    return found[1]


class CMakeBuild(build_ext):
    """Has CMake build the extension, and takes it from the build folder."""

    def build_extension(self, ext: Extension) -> None:
        given = os.environ.get("JTW_PYTHON_BUILD")
        folder = ROOT / given if given else Path(self.build_temp).resolve()
        if not given:
            options = [
                "-DCMAKE_BUILD_TYPE=Release",
                "-DJTW_BUILD_PYTHON=ON",
                "-DJTW_BUILD_TESTS=OFF",
                f"-DPython_EXECUTABLE={sys.executable}",
            ]
            if shutil.which("ninja"):
                # As the presets do: a compiler cache then has their objects in common with this build.
                options.append("-GNinja")
            subprocess.run(["cmake", "-S", ROOT, "-B", folder, *options], check=True)
            jobs = str(os.cpu_count() or 1)
            build = ["cmake", "--build", folder, "--target", "jtw_python", "--parallel", jobs]
            subprocess.run(build, check=True)
        target = Path(self.get_ext_fullpath(ext.name))
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy2(folder / "python" / "jtw" / target.name, target)


setup(
    version=version(),
    ext_modules=[Extension("jtw._jtw", sources=[])],
    cmdclass={"build_ext": CMakeBuild},
)
