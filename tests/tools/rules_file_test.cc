// The builder's rules file: each year's summer time from tzdata as the rule
// line that expresses it, and the changes after 1999 written once for the
// timetables that share them.
#include "atlas/rules_file.h"

#include <gtest/gtest.h>

#include "support/temp_folder.h"
#include "text/lz.h"
#include "tools/machine_tzdata.h"

namespace tarv::atlas {
namespace {

using testing::kZoneinfo;

class BuilderRulesFile : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(kZoneinfo + "/Europe/Berlin"))
      GTEST_SKIP() << "tzdata is not installed";
  }
};

// A year's summer time from tzdata as its rule line; `odd` tells of an
// offset no rule line holds.
TEST_F(BuilderRulesFile, EachYearsSummerTimeBecomesItsRuleAndOtherOffsetsAreReported) {
  const struct {
    const char* zone;
    std::int32_t standard_1999;
    int year;
    DstRule rule;
    bool odd;
  } kCases[] = {
      // Last Sunday of March at 02:00 standard time to last Sunday of
      // October at 03:00 summer time; across the turn of the year from the
      // first Sunday of October to the first Sunday of April.
      {"Europe/Berlin", kHour, 2010, DstRule::Rule({3, 5, 0, 120}, {10, 5, 0, 180}), false},
      {"Australia/Sydney", 10 * kHour, 2010, DstRule::Rule({10, 1, 0, 120}, {4, 1, 0, 180}), false},
      {"Asia/Tokyo", 9 * kHour, 2010, DstRule::None(), false},
      // Moscow's summer time of 2011-2014 lasted all of 2012.
      {"Europe/Moscow", 3 * kHour, 2012, DstRule::All(), false},
      // Caracas moved from -4:00 to -4:30 in December 2007.
      {"America/Caracas", -4 * kHour, 2007, DstRule::None(), true},
      {"America/Caracas", -4 * kHour, 2005, DstRule::None(), false}};
  for (const auto& c : kCases) {
    AtlasZone zone;
    zone.tzif = ReadTzif(kZoneinfo + "/" + c.zone);
    zone.standard_1999 = c.standard_1999;
    bool odd = false;
    EXPECT_EQ(RuleOfYear(zone, c.year, odd), c.rule) << c.zone << " " << c.year;
    EXPECT_EQ(odd, c.odd) << c.zone << " " << c.year;
  }
}

TEST_F(BuilderRulesFile, TimetablesOfOneZoneShareTheirChanges) {
  std::vector<GeoPlace> places(2);
  places[0].timezone = "Europe/Berlin";
  places[1].timezone = "Europe/Moscow";
  std::vector<std::string> unnamed;
  ZoneLibrary zones =
      LoadZones(kZoneinfo, std::string(TARV_SOURCE_DIR) + "/data/zones.tsv", places, unnamed);
  auto timetables_of = [&zones](const std::vector<std::string>& block_zones) {
    CountryTimetables t;
    for (const auto& zone : block_zones) {
      t.blocks.push_back(zones.Get(zone).history);
      t.later.push_back(zones.Get(zone).later);
      t.block_zone.push_back(zone);
    }
    return t;
  };
  RulesFile file;
  std::vector<std::string> unexpressible;
  file.Add(1, timetables_of({"Europe/Berlin"}), zones, unexpressible);
  file.Add(2, timetables_of({"Europe/Moscow", "Europe/Moscow"}), zones, unexpressible);
  EXPECT_TRUE(unexpressible.empty());
  const std::size_t berlin_changes = zones.Get("Europe/Berlin").later.size();
  const std::size_t moscow_changes = zones.Get("Europe/Moscow").later.size();
  ASSERT_GT(moscow_changes, 0U);
  // Moscow's second timetable names the first instead of repeating its changes.
  EXPECT_EQ(file.change_lines(), berlin_changes + moscow_changes + 1);

  testing::TempFolder folder;
  file.Write(folder.path());
  std::int32_t error = 0;
  const auto image = ExpandedImage((folder.path() / kDstRulesFile).string(), error, Packing::kSzdd);
  ASSERT_TRUE(image) << error;
  const DstRules rules = *DstRules::Parse(*image, kDstRulesFile);
  // Berlin keeps one rule from 2000 through 2037.
  for (const int year : {2000, 2020, 2037})
    EXPECT_EQ(rules.RuleFor(1, 1, year), DstRule::Rule({3, 5, 0, 120}, {10, 5, 0, 180})) << year;
  const auto* first = rules.ChangesFor(2, 1);
  const auto* second = rules.ChangesFor(2, 2);
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(*first, *second);
  EXPECT_EQ(first->size(), moscow_changes);
}

}  // namespace
}  // namespace tarv::atlas
