import os
import pathlib
import shutil

import pytest

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
DEFAULT_ATLAS = pathlib.Path(os.environ.get("TARV_TEST_ATLAS", REPOSITORY / "build" / "atlas"))


@pytest.fixture(scope="session")
def atlas_folder():
    if not (DEFAULT_ATLAS / "Country.dat").exists():
        pytest.fail(f"no atlas at {DEFAULT_ATLAS}: run scripts/build-atlas.sh")
    return DEFAULT_ATLAS


@pytest.fixture
def atlas(atlas_folder):
    import tarvplaces

    with tarvplaces.Atlas(atlas_folder) as opened:
        yield opened


@pytest.fixture
def atlas_copy(atlas_folder, tmp_path):
    """A copy of the default atlas that a test may change."""
    copy = tmp_path / "atlas"
    shutil.copytree(atlas_folder, copy)
    return copy
