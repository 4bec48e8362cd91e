#include "atlas/nearest_place.h"

#include <gtest/gtest.h>

#include "support/atlas_fixture.h"

namespace tarv {
namespace {

using testing::Place;

class NearestPlaceTest : public testing::AtlasFixture {
 protected:
  void SetUp() override {
    AtlasFixture::SetUp();
    WriteCountry("D", {Place("Aachen", 6.0F, 50.0F), Place("Berlin", 13.0F, 52.0F, 3),
                       Place("Cottbus", 14.0F, 51.0F), Place("Dresden", 13.0F, 50.0F)});
  }
  std::string Nearest(const std::string& code, double lon, double lat, double range = 0) {
    std::string line = "untouched";
    SearchNearestPlace(line, code, lon, lat, range);
    return line;
  }
};

TEST_F(NearestPlaceTest, ExactCoordinatesGiveThePlaceWithItsPosition) {
  EXPECT_EQ(Nearest("D", 13.0, 52.0), "Berlin" + std::string(22, ' ') + "\t13\t52\t3\t1");
}

TEST_F(NearestPlaceTest, TiesGoToThePlaceReadFirst) {
  // Berlin and Dresden are both one degree away from (13, 51).
  EXPECT_EQ(Nearest("D", 13.0, 51.0).substr(0, 6), "Berlin");
  // A user place wins over a database place at the same spot.
  WriteUserFile("D", {Place("Berlin-Mitte", 13.0F, 52.0F)});
  EXPECT_EQ(Nearest("D", 13.0, 52.0).substr(0, 12), "Berlin-Mitte");
}

TEST_F(NearestPlaceTest, RangeModeGivesTheBestLineWithoutPosition) {
  EXPECT_EQ(Nearest("D", 13.9, 51.1, 0.5), "Cottbus" + std::string(21, ' ') + "\t14\t51\t1");
  EXPECT_EQ(Nearest("D", 10.0, 45.0, 0.5), "");
}

TEST_F(NearestPlaceTest, UnknownCountryFindsNothing) {
  EXPECT_EQ(Nearest("Xanadu", 13, 52), "");
}

TEST_F(NearestPlaceTest, LongitudesDoNotWrapAroundTheDateLine) {
  WriteCountry("FJI", {Place("East", 179.9F, -17.0F), Place("West", -179.9F, -17.0F),
                       Place("Far", 170.0F, -17.0F)});
  EXPECT_EQ(Nearest("FJI", -179.95, -17.0).substr(0, 4), "West");
  EXPECT_EQ(Nearest("FJI", 179.0, -17.0).substr(0, 4), "East");
  const auto best = FindNearestPlace("FJI", -179.99, -17.0, 0);
  ASSERT_TRUE(best);
  EXPECT_NEAR(best->distance, 0.09, 1e-4);
}

TEST_F(NearestPlaceTest, WithoutCountryTableTheResultStaysUntouched) {
  ResetProcessState();
  State().places_path = folder_.str() + "/nowhere";
  EXPECT_EQ(Nearest("D", 13, 52), "untouched");
}

}  // namespace
}  // namespace tarv
