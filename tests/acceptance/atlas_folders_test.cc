// The default atlas in the folders hosts put it in: one this process may
// not write, as for a user of an atlas installed for everyone or copied from
// a read-only medium (lookups answer as ever, an addition fails naming the
// user file, nothing is created or changed), and one deeper than Windows'
// old limit of 260 characters on a path.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include "atlas/atlas_state.h"
#include "geonames_atlas_fixture.h"
#include "platform/paths.h"
#include "support/temp_folder.h"
#include "tarvplaces/atlas_error.h"
#include "tarvplaces/places.h"

namespace tarv {
namespace {

namespace fs = std::filesystem;

bool CanCreateIn(const fs::path& folder) {
  const fs::path probe = folder / "write-probe.tmp";
  const bool created = std::ofstream(probe).is_open();
  std::error_code ignored;
  if (created) fs::remove(probe, ignored);
  return created;
}

// Every file under the folder with its size and time.
std::map<std::string, std::pair<std::uintmax_t, fs::file_time_type>> Files(const fs::path& folder) {
  std::map<std::string, std::pair<std::uintmax_t, fs::file_time_type>> files;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (entry.is_regular_file()) {
      files[Utf8OfPath(entry.path())] = {entry.file_size(), entry.last_write_time()};
    }
  }
  return files;
}

// Root and administrators write anyway, so the test command runs this once
// more as an unprivileged user (tests/support/as_unprivileged_user.sh);
// elsewhere it skips.
TEST(ReadOnlyAtlas, LookupsAnswerAndAdditionsFailNamingTheUserFile) {
  const fs::path atlas = PathFromUtf8(testing::kDefaultAtlas);
  if (!fs::exists(atlas / "Country.dat")) {
    GTEST_SKIP() << "the default atlas is not built (scripts/build-atlas.sh)";
  }
  const fs::path user = atlas / "USER";
  if (CanCreateIn(atlas) || (fs::exists(user) && CanCreateIn(user))) {
    GTEST_SKIP() << "this process may write the default atlas; the test command runs this "
                    "again as an unprivileged user";
  }
  const auto before = Files(atlas);
  ResetDefaultAtlas();
  classPlaces places;
  places.PlacePath(testing::kDefaultAtlas);
  double lon = 0;
  double lat = 0;
  ASSERT_EQ(places.GetPlaceData("München", "D", &lon, &lat), 1);
  EXPECT_NEAR(lon, 11.575, 0.01);
  EXPECT_NEAR(lat, 48.137, 0.01);
  try {
    places.AddUserPlace("D", "Nirgendwo am Hang", 10.0, 50.0);
    ADD_FAILURE() << "a place was added to an atlas this process may not write";
  } catch (const AtlasWriteError& e) {
    EXPECT_THAT(e.file(), ::testing::EndsWith("D.dao"));
    EXPECT_THAT(e.file(), ::testing::HasSubstr("USER"));
    EXPECT_FALSE(e.problem().empty());
  }
  EXPECT_EQ(places.GetPlaceData("Nirgendwo am Hang", "D", &lon, &lat), 0);
  EXPECT_EQ(places.GetPlaceData("München", "D", &lon, &lat), 1);
  EXPECT_FALSE(places.LastAtlasFault());
  EXPECT_EQ(Files(atlas), before);
}

TEST(DeepAtlas, LookupsAndUserPlacesWorkPastTheOldPathLimit) {
  const fs::path atlas = PathFromUtf8(testing::kDefaultAtlas);
  if (!fs::exists(atlas / "Country.dat")) {
    GTEST_SKIP() << "the default atlas is not built (scripts/build-atlas.sh)";
  }
  const testing::TempFolder dir;
  // As a host names it: the system's separators, no long-path prefix.
  std::string deep = dir.str();
  while (deep.size() < 280)
    deep += "\\a-rather-long-folder-name";
  deep += "\\Atlas";
  // The test's own copies go through the component's path service, which
  // adds the prefix Windows needs past 260 characters.
  const fs::path native = NativePath(deep);
  fs::create_directories(native);
  for (const char* file : {"Country.dat", "DstRules.dat", "Zones13.bin", "D.dao", "D.IDX", "D.NDX"})
    fs::copy_file(atlas / file, native / file);

  ResetDefaultAtlas();
  classPlaces places;
  places.PlacePath(deep);
  double lon = 0;
  double lat = 0;
  ASSERT_EQ(places.GetPlaceData("München", "D", &lon, &lat), 1);
  EXPECT_NEAR(lat, 48.137, 0.01);
  EXPECT_EQ(places.AddUserPlace("D", "Tiefenbach am Pfad", 11.0, 48.0), -1);
  EXPECT_EQ(places.GetPlaceData("Tiefenbach am Pfad", "D", &lon, &lat), 1);
  EXPECT_NEAR(lon, 11.0, 1e-4);
  EXPECT_TRUE(fs::is_regular_file(native / "USER" / "D.dao"));
  EXPECT_EQ(places.DeleteUserPlace("D", "Tiefenbach am Pfad"), -1);
  EXPECT_EQ(places.GetPlaceData("Tiefenbach am Pfad", "D", &lon, &lat), 0);
  EXPECT_FALSE(places.LastAtlasFault());
}

}  // namespace
}  // namespace tarv
