"""Builds the package with what it needs at run time inside it.

TARVPLACES_LIBRARY names the built libtarvplaces.so.3, which goes into the
package (scripts/install-python.sh, scripts/build-wheel.sh), so the installed
package needs neither the build tree nor an environment variable.
TARVPLACES_ATLAS names an atlas folder that goes into the package as
tarvplaces/atlas, where the library finds it as its default atlas; the
user's own places never go with it (they live in the user's data folder).

TARVPLACES_INCLUDE names the folder holding tarvplaces/tarvplaces.h; with it
the compiled Atlas.place (tarvplaces/_lookup.c) is built, and the wheel is
tied to this Python's version and ABI. Without it the package works through
ctypes alone and is tagged py3-none-PLATFORM: tied to the platform by the
library, not to a Python.
"""

import os
import shutil

from setuptools import Distribution, Extension, setup
from setuptools.command.build_py import build_py

try:
    from wheel.bdist_wheel import bdist_wheel
except ImportError:  # no wheel package: setup.py can still build and install
    bdist_wheel = None

SONAME = "libtarvplaces.so.3"
HERE = os.path.dirname(os.path.abspath(__file__))
# The attribution the atlas's data (GeoNames, CC BY 4.0) requires; it goes
# into the wheel's metadata through license-files (pyproject.toml).
NOTICE = os.path.join(HERE, "NOTICE")


def _atlas_files(atlas):
    """The files of an atlas folder, relative to it, without the user's
    places (USER) that a built atlas may hold."""
    files = []
    for folder, subfolders, names in os.walk(atlas):
        if folder == atlas:
            subfolders[:] = [s for s in subfolders if s != "USER"]
        subfolders.sort()
        for name in sorted(names):
            files.append(os.path.relpath(os.path.join(folder, name), atlas))
    return files


class BuildPyWithLibrary(build_py):
    def run(self):
        super().run()
        package = os.path.join(self.build_lib, "tarvplaces")
        self._extras = []
        library = os.environ.get("TARVPLACES_LIBRARY")
        if library:
            if not os.path.isfile(library):
                raise SystemExit(f"setup.py: TARVPLACES_LIBRARY={library} is no file")
            target = os.path.join(package, SONAME)
            shutil.copy(library, target)  # follows the symlink; keeps the mode
            self._extras.append(target)

        # A build folder used before may hold another atlas: never mix two.
        atlas_target = os.path.join(package, "atlas")
        shutil.rmtree(atlas_target, ignore_errors=True)
        atlas = os.environ.get("TARVPLACES_ATLAS")
        if atlas:
            atlas = os.path.abspath(atlas)
            if not os.path.isfile(os.path.join(atlas, "Country.dat")):
                raise SystemExit(f"setup.py: TARVPLACES_ATLAS={atlas} holds no atlas (no Country.dat)")
            if not os.path.isfile(NOTICE):
                raise SystemExit(
                    f"setup.py: an atlas goes only with its data notice: copy packaging/NOTICE to {NOTICE}"
                )
            for relative in _atlas_files(atlas):
                target = os.path.join(atlas_target, relative)
                os.makedirs(os.path.dirname(target), exist_ok=True)
                shutil.copyfile(os.path.join(atlas, relative), target)
                self._extras.append(target)

    def get_outputs(self, include_bytecode=1):
        return super().get_outputs(include_bytecode) + getattr(self, "_extras", [])


class PlatformDistribution(Distribution):
    """The library makes the package platform-specific even where no
    extension module is compiled: installed into platlib, and a wheel that is
    not Root-Is-Purelib (else its files would go under .data/purelib)."""

    def has_ext_modules(self):
        return True


cmdclass = {"build_py": BuildPyWithLibrary}

include = os.environ.get("TARVPLACES_INCLUDE")
if include and not os.path.isfile(os.path.join(include, "tarvplaces", "tarvplaces.h")):
    raise SystemExit(f"setup.py: TARVPLACES_INCLUDE={include} holds no tarvplaces/tarvplaces.h")
ext_modules = (
    [Extension("tarvplaces._lookup", ["tarvplaces/_lookup.c"], include_dirs=[include], extra_compile_args=["-std=c11"])]
    if include
    else []
)

if bdist_wheel is not None:

    class PlatformWheel(bdist_wheel):
        def finalize_options(self):
            super().finalize_options()
            self.root_is_pure = False

        def get_tag(self):
            # Without the compiled lookup any Python 3 loads the library
            # through ctypes: no interpreter or ABI tag, only the platform's.
            python, abi, platform = super().get_tag()
            return (python, abi, platform) if ext_modules else ("py3", "none", platform)

    cmdclass["bdist_wheel"] = PlatformWheel


setup(packages=["tarvplaces"], ext_modules=ext_modules, cmdclass=cmdclass, distclass=PlatformDistribution)
