// The builder's countries: which atlas country each place goes to, under
// which titles and continent, in what order Country.dat lists them, and the
// line each gets there.
#include "atlas/country_files.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tarvplaces/atlas_error.h"

namespace tarv::atlas {
namespace {

namespace fs = std::filesystem;

const std::string kData = std::string(TARV_SOURCE_DIR) + "/data";

GeoPlace Place(const std::string& country, const std::string& admin1, const std::string& zone,
               std::int64_t population) {
  GeoPlace p;
  p.country = country;
  p.admin1 = admin1;
  p.timezone = zone;
  p.population = population;
  return p;
}

TEST(BuilderCountryFiles, PlacesGoToTheirAtlasCountryUnderItsTitles) {
  const std::vector<GeoPlace> places = {
      Place("DE", "16", "Europe/Berlin", 3600000),
      Place("HR", "21", "Europe/Zagreb", 800000),
      Place("RS", "00", "Europe/Belgrade", 1300000),
      Place("US", "CA", "America/Los_Angeles", 3900000),
      Place("US", "PR", "America/Puerto_Rico", 340000),  // not one of the states
      Place("RU", "48", "Europe/Moscow", 10000000),
      Place("BM", "03", "Atlantic/Bermuda", 1000),
  };
  CountryTitles titles;
  titles.german = {{"DE", "Deutschland"}, {"HR", "Kroatien"}, {"BM", "Bermuda"}};
  titles.english = {{"DE", "Germany"}};
  const auto plans = PlanCountries(places, AtlasCodes(kData), titles, ReadUsStates(kData));
  std::vector<std::string> codes;
  for (const auto& [code, plan] : plans)
    codes.push_back(code);
  EXPECT_EQ(codes, (std::vector<std::string>{"BM", "D", "SSR", "USCA", "YU"}));
  // The successor states of Yugoslavia share one country under its old name;
  // without a name the ISO code stands in; the table's continent wins over
  // the zone's (Bermuda's zone is Atlantic); Germany's comes from its zone.
  const struct {
    const char* code;
    const char* title;
    const char* english;
    const char* iso;
    int continent;  // -1: not checked
    std::size_t places;
  } kPlans[] = {{"D", "Deutschland", "Germany", "DE", 4, 1},
                {"YU", "Jugoslawien", "Yugoslavia", "HR", -1, 2},
                {"USCA", "Kalifornien", "California", "US", 6, 1},
                {"SSR", "RU", "RU", "RU", -1, 1},
                {"BM", "Bermuda", "BM", "BM", 2, 1}};
  for (const auto& c : kPlans) {
    const CountryPlan& plan = plans.at(c.code);
    EXPECT_EQ(plan.title, c.title) << c.code;
    EXPECT_EQ(plan.english, c.english) << c.code;
    EXPECT_EQ(plan.iso, c.iso) << c.code;
    EXPECT_TRUE(c.continent < 0 || plan.continent == c.continent) << c.code << plan.continent;
    EXPECT_EQ(plan.usa, std::string(c.code) == "USCA") << c.code;
    EXPECT_EQ(plan.places.size(), c.places) << c.code;
  }
}

TEST(BuilderCountryFiles, TheMainZoneIsTheMostPopulous) {
  const GeoPlace city = Place("US", "IN", "America/Indiana/Indianapolis", 870000);
  const GeoPlace village1 = Place("US", "IN", "America/Chicago", 600);
  const GeoPlace village2 = Place("US", "IN", "America/Chicago", 700);
  EXPECT_EQ(MainZone({&village1, &city, &village2}), "America/Indiana/Indianapolis");
  // Places without a count weigh one each.
  const GeoPlace empty1 = Place("US", "IN", "America/Chicago", 0);
  const GeoPlace empty2 = Place("US", "IN", "America/Chicago", 0);
  const GeoPlace empty3 = Place("US", "IN", "America/Indiana/Indianapolis", 0);
  EXPECT_EQ(MainZone({&empty3, &empty1, &empty2}), "America/Chicago");
}

TEST(BuilderCountryFiles, CountriesComeInTitleOrderAndMustFitCountryDat) {
  std::map<std::string, CountryPlan> plans;
  for (const auto& [code, title] : std::vector<std::pair<std::string, std::string>>{
           {"D", "Deutschland"}, {"A", "\xC3\x96sterreich"}, {"ZZ", "Belgien"}, {"B", "Belgien"}}) {
    plans[code].code = code;
    plans[code].title = title;
  }
  std::vector<std::string> order;
  for (const CountryPlan* plan : CountryOrder(plans, "cities500.txt"))
    order.push_back(plan->code);
  // Equal titles go by code.
  EXPECT_EQ(order, (std::vector<std::string>{"B", "ZZ", "D", "A"}));

  // The five groups follow the countries in the same file.
  std::map<std::string, CountryPlan> many;
  for (std::size_t i = 0; many.size() + 5 < kMaxCountryLines; ++i)
    many["C" + std::to_string(i)].title = "C" + std::to_string(i);
  EXPECT_NO_THROW(CountryOrder(many, "cities500.txt"));
  many["ONE_MORE"].title = "One more";
  EXPECT_THROW(CountryOrder(many, "cities500.txt"), AtlasError);
}

TEST(BuilderCountryFiles, GroupsAreNumberedAfterTheCountries) {
  const auto groups = GroupRecords(200);
  ASSERT_EQ(groups.size(), 5U);
  for (std::size_t g = 0; g < groups.size(); ++g)
    EXPECT_EQ(groups[g].CountryId, static_cast<std::int16_t>(201 + g));
  EXPECT_EQ(groups.front().CountryShort, "ANT");
  EXPECT_EQ(groups.back().CountryShort, "PAZ");
}

TEST(BuilderCountryFiles, ACountryLineNamesItsStandardTimeOf1999) {
  if (!fs::exists("/usr/share/zoneinfo/Europe/Vienna")) GTEST_SKIP() << "tzdata is not installed";
  const std::vector<GeoPlace> places = {Place("AT", "09", "Europe/Vienna", 1900000),
                                        Place("AT", "06", "Europe/Vienna", 290000)};
  std::vector<std::string> unnamed;
  ZoneLibrary zones = LoadZones("/usr/share/zoneinfo", kData + "/zones.tsv", places, unnamed);
  CountryPlan plan;
  plan.code = "A";
  plan.title = "\xC3\x96sterreich";
  plan.english = "Austria";
  plan.iso = "AT";
  plan.continent = 4;
  plan.id = 7;
  plan.places = {&places[0], &places[1]};
  const CountryRecord line = CountryRecordOf(plan, zones);
  EXPECT_EQ(line.CountryId, 7);
  EXPECT_EQ(line.CountryTitle, "\xD6sterreich");  // Windows-1252, as the file holds it
  EXPECT_EQ(line.CountryShort, "A");
  EXPECT_EQ(line.Meaning, "Austria");
  EXPECT_EQ(line.TimezoneShort, "MET");    // CET, which the zone table calls MET
  EXPECT_EQ(line.HaveZonesSince, "1893");  // Vienna kept local mean time until April 1893
  EXPECT_EQ(line.Continent, "EUROPA");
  EXPECT_EQ(line.Info, "ISO AT");
}

}  // namespace
}  // namespace tarv::atlas
