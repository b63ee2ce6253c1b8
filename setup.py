"""Builds the extension and its libraries by CMake, which also has the version. All else is in pyproject.toml.

What the environment variable CMAKE_ARGS holds is handed to CMake besides.
"""

import os
import re
import shlex
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = Path(__file__).resolve().parent


def version():
    return re.search(r"project\(zqspmatrix VERSION ([0-9.]+)", (ROOT / "CMakeLists.txt").read_text()).group(1)


class CMakeBuild(build_ext):
    """Installs the package's compiled part, and the libraries beside it, into the folder of the built package."""

    def build_extension(self, ext):
        package = Path(self.get_ext_fullpath(ext.name)).resolve().parent
        build = Path(self.build_temp).resolve()
        options = [
            "-DCMAKE_BUILD_TYPE=Release",
            f"-DPython_EXECUTABLE={sys.executable}",
            f"-DCMAKE_INSTALL_PREFIX={package}",
            "-DZQSP_BUILD_PYTHON=ON",
            "-DZQSP_PYTHON_WHEEL=ON",
            "-DZQSP_BUILD_SHELL=OFF",
            "-DZQSP_BUILD_TESTS=OFF",
        ]
        try:
            import pybind11  # the one of an isolated build

            options.append(f"-Dpybind11_DIR={pybind11.get_cmake_dir()}")
        except ImportError:
            pass
        options += shlex.split(os.environ.get("CMAKE_ARGS", ""))
        subprocess.run(["cmake", "-S", ROOT, "-B", build, "-G", "Ninja", *options], check=True)
        subprocess.run(["cmake", "--build", build, "--target", "zqspmatrix_python"], check=True)
        subprocess.run(["cmake", "--install", build, "--component", "python", "--strip"], check=True)


setup(
    version=version(),
    packages=["zqspmatrix"],
    package_dir={"": "python"},
    package_data={"zqspmatrix": ["py.typed", "*.pyi"]},
    ext_modules=[Extension("zqspmatrix._core", sources=[])],
    cmdclass={"build_ext": CMakeBuild},
)
