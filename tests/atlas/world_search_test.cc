#include "atlas/world_search.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "atlas/place_search.h"
#include "platform/file_status.h"
#include "support/atlas_fixture.h"
#include "tarvplaces/places.h"

namespace tarv {
namespace {

using ::testing::ElementsAre;

// Three countries with name indexes, one without; Paris and its namesakes.
class WorldSearchTest : public testing::AtlasFixture {
 protected:
  void SetUp() override {
    AtlasFixture::SetUp();
    Write("F", {{"Paris", 2.35F, 48.85F, 2100000, {"paris", "parigi"}},
                {"Parnac", 1.4F, 46.5F, 600, {"parnac"}}});
    Write("USCA", {{"Paris", -117.2F, 33.7F, 1000, {"paris"}},
                   {"Los Angeles", -118.2F, 34.1F, 3900000, {"losangeles", "la"}}});
    Write("AUS", {{"Perth", 115.9F, -32.0F, 2200000, {"perth", "partha"}}});
    WriteCountry("J", {testing::Place("Parisu", 139.7F, 35.7F)});  // no name index
  }
  // Name, longitude, latitude, population and name keys.
  using Named = std::tuple<std::string, float, float, std::int64_t, std::vector<std::string>>;
  void Write(const std::string& code, const std::vector<Named>& places) {
    std::vector<PlaceRecord> records;
    PlaceFileExtras extras;
    for (const auto& [name, longitude, latitude, population, keys] : places) {
      records.push_back(testing::Place(name, longitude, latitude));
      extras.populations.push_back(population);
      extras.name_keys.push_back(keys);
    }
    WritePlaceFiles(folder_.path(), code, records, true, extras);
  }
  std::int32_t Search(const std::string& text, std::int32_t limit = kWorldSearchLimit) {
    return SearchAllCountries(text, limit, nullptr, found_);
  }
  std::vector<std::string> Found() {
    std::vector<std::string> found;
    for (const auto& f : found_)
      found.push_back(f.Place.TrimmedName() + " (" + f.Country + ")");
    return found;
  }
  // What a search finds; its count must be what it stored.
  std::vector<std::string> Found(const std::string& text, std::int32_t limit = kWorldSearchLimit) {
    const std::int32_t count = Search(text, limit);
    EXPECT_EQ(count, static_cast<std::int32_t>(found_.size())) << text;
    return Found();
  }
  std::vector<FoundPlace> found_;
};

TEST_F(WorldSearchTest, AWholeNameFindsEveryCountrysPlacesMostPopulousFirst) {
  ASSERT_THAT(Found("Paris"), ElementsAre("Paris (F)", "Paris (USCA)"));
  EXPECT_EQ(found_[0].Population, 2100000U);
  ASSERT_THAT(Found("Parigi"), ElementsAre("Paris (F)"));  // another name
  EXPECT_TRUE(found_[0].OtherName);
  // A country without a name index is searched through its place file.
  EXPECT_THAT(Found("Parisu"), ElementsAre("Parisu (J)"));
  EXPECT_EQ(Search("Atlantis"), 0);
}

TEST_F(WorldSearchTest, BeginningsPutOwnNamesFirstAndKeepTheLimit) {
  // Perth is "partha" in Hindi, and bigger than Paris: own names first
  // unless another is twenty times as big.
  EXPECT_THAT(Found("Par*"),
              ElementsAre("Paris (F)", "Perth (AUS)", "Paris (USCA)", "Parnac (F)", "Parisu (J)"));
  EXPECT_EQ(Search("Par*", 1), 1);
  EXPECT_THAT(Found("Par*", 2), ElementsAre("Paris (F)", "Perth (AUS)"));
  // A trailing "?" asks for the beginning too; other wildcards search each
  // country's place file.
  EXPECT_EQ(Search("Par?"), 5);
  EXPECT_THAT(Found("P?ris"), ElementsAre("Paris (F)", "Paris (USCA)"));
  EXPECT_EQ(std::tuple(Search("*"), Search("Par*", 0)), std::tuple(0, 0));
}

TEST_F(WorldSearchTest, UserPlacesComeFirst) {
  classPlaces places;
  ASSERT_EQ(places.AddUserPlace("D", "Paris", 13.0, 52.0), -1);
  ASSERT_EQ(places.SearchAllCountries("Paris"), 3);
  found_ = CurrentAtlas().found_places;
  EXPECT_THAT(Found(), ElementsAre("Paris (D)", "Paris (F)", "Paris (USCA)"));
  EXPECT_LT(found_[0].RecordNo, 0);
  // The records the host reads carry the country.
  EXPECT_EQ(places.GetPlaceDataOfId(1).at(1), "F");
}

TEST_F(WorldSearchTest, ANewIndexIsSeen) {
  ASSERT_EQ(Search("Parigi"), 1);
  Write("F", {{"Paris", 2.35F, 48.85F, 2100000, {"paris", "parizh"}}});
  ForgetFileStatuses();
  ClearExpandedImages();
  EXPECT_EQ(std::tuple(Search("Parigi"), Search("Parizh")), std::tuple(0, 1));
}

}  // namespace
}  // namespace tarv
