// The builder's rules file: each year's summer time from tzdata as the rule
// line that expresses it, and the changes after 1999 written once for the
// timetables that share them.
#include "atlas/rules_file.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "support/temp_folder.h"
#include "text/lz.h"
#include "tools/expanded_file.h"

namespace tarv::atlas {
namespace {

namespace fs = std::filesystem;

const std::string kZoneinfo = "/usr/share/zoneinfo";

class BuilderRulesFile : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!fs::exists(kZoneinfo + "/Europe/Berlin")) GTEST_SKIP() << "tzdata is not installed";
  }

  static AtlasZone Zone(const std::string& name, std::int32_t standard_1999) {
    AtlasZone zone;
    zone.tzif = ReadTzif(kZoneinfo + "/" + name);
    zone.standard_1999 = standard_1999;
    return zone;
  }
};

TEST_F(BuilderRulesFile, EachYearsSummerTimeBecomesItsRule) {
  bool odd = false;
  // Last Sunday of March at 02:00 standard time to last Sunday of October at
  // 03:00 summer time.
  EXPECT_EQ(RuleOfYear(Zone("Europe/Berlin", kHour), 2010, odd),
            DstRule::Rule({3, 5, 0, 120}, {10, 5, 0, 180}));
  EXPECT_FALSE(odd);
  // Across the turn of the year: from the first Sunday of October to the
  // first Sunday of April.
  EXPECT_EQ(RuleOfYear(Zone("Australia/Sydney", 10 * kHour), 2010, odd),
            DstRule::Rule({10, 1, 0, 120}, {4, 1, 0, 180}));
  EXPECT_FALSE(odd);
  EXPECT_EQ(RuleOfYear(Zone("Asia/Tokyo", 9 * kHour), 2010, odd), DstRule::None());
  EXPECT_FALSE(odd);
  // Moscow's summer time of 2011-2014 lasted all of 2012.
  EXPECT_EQ(RuleOfYear(Zone("Europe/Moscow", 3 * kHour), 2012, odd), DstRule::All());
  EXPECT_FALSE(odd);
}

TEST_F(BuilderRulesFile, AnotherOffsetIsNoRuleButIsReported) {
  bool odd = false;
  // Caracas moved from -4:00 to -4:30 in December 2007: no summer time, and
  // an offset no rule line holds.
  EXPECT_EQ(RuleOfYear(Zone("America/Caracas", -4 * kHour), 2007, odd), DstRule::None());
  EXPECT_TRUE(odd);
  odd = false;
  RuleOfYear(Zone("America/Caracas", -4 * kHour), 2005, odd);
  EXPECT_FALSE(odd);
}

using testing::ExpandedFile;

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
  const DstRules rules =
      *DstRules::Parse(ExpandedFile(folder.path() / kDstRulesFile), kDstRulesFile);
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
