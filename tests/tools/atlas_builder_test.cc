// The atlas builder on a small GeoNames extract: one record per place under
// its local name, equal names most populous first, and a name index that
// finds each place by its other names.
#include "atlas/atlas_builder.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <set>

#include "atlas/atlas_state.h"
#include "atlas/name_index.h"
#include "atlas/place_file.h"
#include "support/temp_folder.h"
#include "tarvplaces/places.h"
#include "text/codepage.h"
#include "text/lz.h"
#include "util/serial_date.h"

namespace tarv::atlas {
namespace {

namespace fs = std::filesystem;

const std::string kSource = TARV_SOURCE_DIR;
const std::string kCountryNames = kSource + "/.cache/data/i18n-iso-countries/langs";

// One line of cities500.txt.
std::string Line(int id, const std::string& name, const std::string& alternates, double lat,
                 double lon, const std::string& code, const std::string& country,
                 const std::string& admin1, long population, const std::string& zone) {
  return std::to_string(id) + "\t" + name + "\t" + name + "\t" + alternates + "\t" +
         std::to_string(lat) + "\t" + std::to_string(lon) + "\tP\t" + code + "\t" + country +
         "\t\t" + admin1 + "\t\t\t\t" + std::to_string(population) + "\t\t500\t" + zone +
         "\t2024-01-01\n";
}

class AtlasBuilderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!fs::exists(kCountryNames + "/de.json") || !fs::exists("/usr/share/zoneinfo/Europe/Berlin"))
      GTEST_SKIP() << "the open data is not fetched (scripts/fetch-data.sh)";
    std::string lines;
    lines += Line(1, "Moscow", "MOW,Mosca,Moskau,Москва,Москвы,Москве", 55.752, 37.616, "PPLC",
                  "RU", "48", 10381222, "Europe/Moscow");
    lines += Line(2, "Neustadt", "", 49.35, 8.14, "PPL", "DE", "08", 52000, "Europe/Berlin");
    lines += Line(3, "Neustadt", "", 50.73, 11.75, "PPL", "DE", "15", 8000, "Europe/Berlin");
    lines += Line(4, "Neustadt", "", 54.1, 10.81, "PPLA4", "DE", "10", 52000, "Europe/Berlin");
    // Uzbekistan counts 2 timetables; one of three histories must join another.
    lines += Line(10, "Tashkent", "", 41.26, 69.22, "PPLC", "UZ", "13", 2500000, "Asia/Tashkent");
    lines += Line(11, "Samarkand", "", 39.65, 66.96, "PPLA", "UZ", "10", 550000, "Asia/Samarkand");
    lines += Line(12, "Testkent", "", 41.0, 69.0, "PPL", "UZ", "13", 1000, "Europe/Berlin");
    lines += Line(13, "Lagos", "", 6.45, 3.39, "PPLA", "NG", "05", 9000000, "Africa/Lagos");
    lines += Line(14, "Indianapolis", "", 39.77, -86.16, "PPLA", "US", "IN", 870000,
                  "America/Indiana/Indianapolis");
    lines += Line(5, "Perth", "", -41.57, 147.17, "PPL", "AU", "06", 3000, "Australia/Hobart");
    lines += Line(6, "Perth", "Boorloo,PER", -31.95, 115.86, "PPLA", "AU", "08", 2000000,
                  "Australia/Perth");
    const fs::path geonames = folder_.Write("cities500.txt", lines);
    options_.out = (folder_.path() / "atlas").string();
    options_.geonames = geonames.string();
    options_.country_names = kCountryNames;
    options_.data = kSource + "/data";
    summary_ = BuildAtlas(options_);
  }

  std::vector<PlaceRecord> Records(const std::string& code) {
    std::int32_t error = 0;
    const auto image = ExpandedImage((fs::path(options_.out) / (code + ".dao")).string(), error);
    EXPECT_TRUE(image) << code;
    std::vector<PlaceRecord> records;
    for (std::size_t at = 0; image && at + kPlaceRecordSize <= image->size();
         at += kPlaceRecordSize) {
      records.push_back(DecodePlaceRecord(std::string_view(*image).substr(at)));
    }
    return records;
  }

  std::shared_ptr<const NameIndex> Index(const std::string& code) {
    const std::string file = (fs::path(options_.out) / (code + ".NDX")).string();
    std::int32_t error = 0;
    const auto image = ExpandedImage(file, error);
    EXPECT_EQ(error, 0) << file;
    return ValueOrAtlasError(NameIndex::Read(image ? *image : std::string(), file));
  }

  testing::TempFolder folder_;
  BuildOptions options_;
  BuildSummary summary_;
};

TEST_F(AtlasBuilderTest, EachPlaceIsOneRecordUnderItsLocalName) {
  const auto records = Records("SSR");
  ASSERT_EQ(records.size(), 1U);
  EXPECT_EQ(records[0].TrimmedName(), "Moskva");
  EXPECT_EQ(summary_.places, 11U);
  EXPECT_EQ(summary_.local_names, 1U);
  EXPECT_GT(summary_.index_entries, 6U);
}

// Records and index entries of equal names: most populous first, and of two
// of 52,000 the seat of a division.
TEST_F(AtlasBuilderTest, EqualNamesComeMostPopulousFirst) {
  const auto perth = Records("AUS");
  ASSERT_EQ(perth.size(), 2U);
  EXPECT_NEAR(perth[0].Longitude, 115.86, 1e-3);  // Western Australia's capital
  const auto d = Records("D");
  ASSERT_EQ(d.size(), 3U);
  for (std::size_t i = 0; i < d.size(); ++i) {
    EXPECT_EQ(d[i].TrimmedName(), "Neustadt");
    EXPECT_NEAR(d[i].Latitude, (std::array{54.1, 49.35, 50.73})[i], 1e-3) << i;
  }
  const auto neustadt = Index("D")->Find("neustadt", false);
  ASSERT_EQ(neustadt.size(), 3U);
  EXPECT_EQ(neustadt[0].population, 52000U);
  EXPECT_EQ(neustadt[2].population, 8000U);
}

TEST_F(AtlasBuilderTest, TheNameIndexFindsPlacesByTheirOtherNames) {
  const auto index = Index("SSR");
  EXPECT_EQ(index->RecordCount(), 1);
  for (const char* key : {"moscow", "mosca", "moskau", "moskva", "moskvy"}) {
    const auto found = index->Find(key, false);
    ASSERT_EQ(found.size(), 1U) << key;
    EXPECT_EQ(found[0].record, 1) << key;
    EXPECT_EQ(found[0].population, 10381222U) << key;
  }
  EXPECT_TRUE(index->Find("mow", false).empty());  // an airport code
  const auto perth = Index("AUS")->Find("boorloo", false);
  ASSERT_EQ(perth.size(), 1U);
  EXPECT_EQ(perth[0].record, 1);
}

// Uzbekistan counts 2 timetables for three histories: one joins another and
// is listed; every number is a history and each place has one of them.
// (The default atlas's acceptance test checks every country so.)
TEST_F(AtlasBuilderTest, HistoriesBeyondTheCountAreMergedAndListed) {
  ResetDefaultAtlas();
  classPlaces places;
  places.PlacePath(options_.out);
  ASSERT_EQ(places.HaveTimetables("UZB"), 2);
  for (const std::int16_t t : {std::int16_t{1}, std::int16_t{2}})
    EXPECT_GT(places.GetTimeTableArray("UZB", t).size(), 1U) << t;
  EXPECT_EQ(places.GetTimeTableArray("UZB", 3).size(), 1U);
  // Samarkand's history is Tashkent's but for a few years; Berlin's (a place
  // misfiled in GeoNames) differs in every one, so it keeps a number.
  ASSERT_EQ(summary_.merged.size(), 1U);
  EXPECT_EQ(summary_.merged[0].rfind(
                "UZB: Asia/Samarkand, 1 places, into timetable 1 (Asia/Tashkent)", 0),
            0U)
      << summary_.merged[0];
  std::set<std::int16_t> numbers;
  for (const auto& r : Records("UZB"))
    numbers.insert(r.Timetable);
  EXPECT_EQ(numbers, (std::set<std::int16_t>{1, 2}));
  // Indiana's 345 numbers repeat its one history.
  EXPECT_EQ(places.GetTimeTableArray("USIN", 345).size(),
            places.GetTimeTableArray("USIN", 1).size());
}

TEST_F(AtlasBuilderTest, HistoryAfter1999AndReturnsToMeanTimeFollowTzdata) {
  ResetDefaultAtlas();
  classPlaces places;
  places.PlacePath(options_.out);
  std::string zone;
  // Lagos: GMT 1905-1908, its own mean time again until 1914, then +0030.
  places.Get_TZData("WAN", 0, SerialOf({1906, 6, 1, 12, 0, 0}), &zone);
  EXPECT_EQ(zone, "GMT");
  places.Get_TZData("WAN", 0, SerialOf({1910, 6, 1, 12, 0, 0}), &zone);
  EXPECT_EQ(zone, "LMT");
  EXPECT_FLOAT_EQ(places.Get_TZData("WAN", 0, SerialOf({1916, 6, 1, 12, 0, 0})), 0.5F);
  // Indiana: no summer time until 2006, then the US rules.
  for (const auto& [year, hours] : {std::pair{2005, -5.0F}, {2006, -4.0F}}) {
    EXPECT_FLOAT_EQ(places.Get_TZData("USIN", 1, SerialOf({year, 7, 1, 12, 0, 0})), hours);
  }
  EXPECT_FLOAT_EQ(places.Get_TZData("USIN", 1, SerialOf({2036, 1, 1, 12, 0, 0})), -5.0F);
  EXPECT_GT(summary_.change_lines, 0U);
}

}  // namespace
}  // namespace tarv::atlas
