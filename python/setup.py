"""Puts the built libtarvplaces.so.2 into the package when TARVPLACES_LIBRARY
names it at install time (scripts/install-python.sh does), so that the
installed package needs neither the build tree nor an environment variable."""

import os
import shutil

from setuptools import setup
from setuptools.command.build_py import build_py


class BuildPyWithLibrary(build_py):
    def run(self):
        super().run()
        library = os.environ.get("TARVPLACES_LIBRARY")
        if library:
            shutil.copyfile(library, os.path.join(self.build_lib, "tarvplaces", "libtarvplaces.so.2"))


setup(packages=["tarvplaces"], cmdclass={"build_py": BuildPyWithLibrary})
