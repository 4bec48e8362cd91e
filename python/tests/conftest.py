import os
import pathlib
import shutil

import pytest

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
DEFAULT_ATLAS = pathlib.Path(os.environ.get("TARV_TEST_ATLAS", REPOSITORY / "build" / "atlas"))
# A small zone map for the default atlas, written by the C tests' fixture.
ZONE_MAP = pathlib.Path(
    os.environ.get("TARV_TEST_ZONE_MAP", REPOSITORY / "build/default/tests/capi/scratch/mapped/Zones.map")
)


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


@pytest.fixture
def mapped_atlas(atlas_copy):
    """A copy of the default atlas with a zone map: America/Chicago around
    Berlin (13-14 east, 52-53 north), Europe/Berlin in the rest of 5-16
    east, 47-55 north, the sea elsewhere."""
    import tarvplaces

    if not ZONE_MAP.exists():
        pytest.fail(f"no zone map at {ZONE_MAP}: run the tests through ctest")
    shutil.copyfile(ZONE_MAP, atlas_copy / "Zones.map")
    with tarvplaces.Atlas(atlas_copy) as opened:
        yield opened


@pytest.fixture
def unmapped_atlas(atlas_folder, tmp_path):
    """A copy of the default atlas without its zone map."""
    import tarvplaces

    copy = tmp_path / "unmapped"
    shutil.copytree(atlas_folder, copy)
    (copy / "Zones.map").unlink(missing_ok=True)
    with tarvplaces.Atlas(copy) as opened:
        yield opened
