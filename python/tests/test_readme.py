"""The Python examples of the README and of the package's docstring, run as
doctests from the repository's folder, where build/atlas is."""

import doctest
import os
import re

import tarvplaces
from conftest import REPOSITORY


def run_doctest(text, name):
    os.chdir(REPOSITORY)
    runner = doctest.DocTestRunner(optionflags=doctest.ELLIPSIS)
    runner.run(doctest.DocTestParser().get_doctest(text, {}, name, None, 0))
    result = runner.summarize(verbose=False)
    assert result.attempted > 0 and result.failed == 0


def test_readme_python_example(atlas_folder):
    # The example names the atlas as the README's reader has it.
    assert atlas_folder.resolve() == (REPOSITORY / "build" / "atlas").resolve()
    text = (REPOSITORY / "README.md").read_text(encoding="utf-8")
    match = re.search(r"<!-- example: python -->\n((?:    .*\n|\n)+)", text)
    assert match, "README.md has no block after <!-- example: python -->"
    run_doctest(re.sub(r"(?m)^    ", "", match.group(1)), "README.md")


def test_package_docstring(atlas_folder):
    run_doctest(tarvplaces.__doc__, "tarvplaces")
