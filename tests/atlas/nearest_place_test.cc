#include "atlas/nearest_place.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "atlas/place_file_writer.h"
#include "support/atlas_fixture.h"
#include "text/lz.h"

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

// In range mode the best line within the range, without position; without a
// country table the line stays untouched.
TEST_F(NearestPlaceTest, LineOfTheNearestPlace) {
  EXPECT_EQ(Nearest("D", 13.0, 52.0), "Berlin" + std::string(22, ' ') + "\t13\t52\t3\t1");
  EXPECT_EQ(Nearest("D", 13.9, 51.1, 0.5), "Cottbus" + std::string(21, ' ') + "\t14\t51\t1");
  EXPECT_EQ(Nearest("D", 10.0, 45.0, 0.5), "");
  EXPECT_EQ(Nearest("Xanadu", 13, 52), "");
  ResetDefaultAtlas();
  CurrentAtlas().places_path = folder_.str() + "/nowhere";
  EXPECT_EQ(Nearest("D", 13, 52), "untouched");
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

// The rule itself: every place in reading order, the strictly nearer wins.
std::optional<NearestPlace> ByEveryPlace(const PlaceList& list, double lon, double lat,
                                         double range) {
  std::optional<NearestPlace> best;
  double best_distance = 1000.0;
  for (std::size_t i = 0; i < list.size(); ++i) {
    const double dx = static_cast<double>(list.places[i].Longitude) - lon;
    const double dy = static_cast<double>(list.places[i].Latitude) - lat;
    const double distance = std::sqrt(dx * dx + dy * dy);
    if ((range == 0.0 || distance < range) && distance < best_distance) {
      best_distance = distance;
      best = NearestPlace{list.places[i], list.refs[i], static_cast<std::int32_t>(i), distance};
    }
  }
  return best;
}

// Places dense and sparse, on a lattice (ties are exact), stacked, deleted,
// without coordinates and far off any map; user places on the same spots.
TEST_F(NearestPlaceTest, AgreesWithMeasuringEveryPlace) {
  std::mt19937 rng(5);
  std::uniform_real_distribution<float> lon(5.0F, 15.0F);
  std::uniform_real_distribution<float> lat(47.0F, 55.0F);
  std::normal_distribution<float> near_city(0.0F, 0.05F);
  std::vector<PlaceRecord> places;
  for (int i = 0; i < 3000; ++i) {
    const std::string name = "Ort" + std::to_string(i);
    switch (i % 10) {
      case 0:  // a lattice of whole and half degrees
        places.push_back(Place(name, 5.0F + static_cast<float>(rng() % 21) * 0.5F,
                               47.0F + static_cast<float>(rng() % 17) * 0.5F));
        break;
      case 1:  // around a few cities
        places.push_back(Place(name, 11.5F + near_city(rng), 48.1F + near_city(rng)));
        break;
      case 2:  // on the spot of an earlier place
        places.push_back(places[rng() % places.size()]);
        places.back().SetName(name);
        break;
      default:
        places.push_back(Place(name, lon(rng), lat(rng)));
    }
  }
  places[17].SetName("@deleted");
  places[2500].SetName("@deleted too");
  // Deleted records keep whatever coordinates they had.
  places[2500].Longitude = std::numeric_limits<float>::quiet_NaN();
  folder_.Write("D.dao", CompressSzdd(EncodePlaceFile(places)));
  WriteUserFile("D", {Place("Eigen", 11.5F, 48.0F), Place("@weg", 7.0F, 50.0F),
                      Place("Auch", places[40].Longitude, places[40].Latitude)});
  PlaceList list;
  ASSERT_EQ(Read_Cp_ORTE(PlaceFile("D"), list), 3000 - 2 + 2);

  // The last point is "Auch", a user place tied with a database place.
  std::vector<std::pair<double, double>> points = {
      {11.5, 48.0},    {13.0, 51.0},   {5000.0, 50.0},
      {-170.0, -80.0}, {1e300, 1e300}, {places[40].Longitude, places[40].Latitude}};
  for (int i = 0; i < 300; ++i) {
    points.emplace_back(4.0 + static_cast<double>(rng() % 25) * 0.5,
                        46.0 + static_cast<double>(rng() % 21) * 0.5);
    points.emplace_back(lon(rng), lat(rng));
    const auto& p = places[rng() % places.size()];
    points.emplace_back(p.Longitude, p.Latitude);
    points.emplace_back(lon(rng) * 3.0F - 20.0F, lat(rng) * 2.0F - 50.0F);
  }
  for (const auto& [x, y] : points) {
    for (const double range : {0.0, 0.05, 0.7}) {
      const auto expected = ByEveryPlace(list, x, y, range);
      const auto found = FindNearestPlace("D", x, y, range);
      ASSERT_EQ(found.has_value(), expected.has_value()) << x << " " << y << " " << range;
      if (!found) continue;
      EXPECT_EQ(found->place.NameField(), expected->place.NameField()) << x << " " << y;
      EXPECT_EQ(found->ref.RecordNo, expected->ref.RecordNo);
      EXPECT_EQ(found->position, expected->position);
      EXPECT_EQ(found->distance, expected->distance);
    }
  }
}

}  // namespace
}  // namespace tarv
