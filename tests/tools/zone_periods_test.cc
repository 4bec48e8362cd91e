#include "atlas/zone_periods.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "support/zone_fixture.h"
#include "tarvplaces/atlas_error.h"
#include "util/text.h"

namespace tarv::atlas {
namespace {

constexpr std::int64_t kYear2000 = 946684800;

TzifZone Zone(std::vector<std::pair<std::int64_t, TzifType>> changes) {
  TzifZone zone;
  zone.initial = {3208, false, "LMT"};
  for (auto& [at, type] : changes)
    zone.transitions.push_back({at, type});
  return zone;
}

TEST(ZonePeriods, SummerAndDoubleSummerAreMeasuredFromTheStandardTime) {
  const auto periods = HistoricPeriods(Zone({{10, {3600, false, "CET"}},
                                             {20, {7200, true, "CEST"}},
                                             {30, {10800, true, "CEMT"}},
                                             {40, {3600, false, "CET"}}}),
                                       kYear2000);
  ASSERT_EQ(periods.size(), 4U);
  EXPECT_EQ(periods[0].kind, ZoneKind::kStandard);
  EXPECT_EQ(periods[1].kind, ZoneKind::kSummer);
  EXPECT_EQ(periods[2].kind, ZoneKind::kDoubleSummer);
  EXPECT_EQ(periods[3].kind, ZoneKind::kStandard);
}

TEST(ZonePeriods, NegativeDaylightTimeIsReadTheConventionalWay) {
  // Ireland: "standard" IST in summer, "daylight" GMT in winter.
  const auto periods = HistoricPeriods(Zone({{10, {0, false, "GMT"}},
                                             {20, {3600, false, "IST"}},
                                             {30, {0, true, "GMT"}},
                                             {40, {3600, false, "IST"}},
                                             {50, {0, true, "GMT"}}}),
                                       kYear2000);
  ASSERT_EQ(periods.size(), 5U);
  EXPECT_EQ(periods[2].kind, ZoneKind::kStandard);
  EXPECT_EQ(periods[3].kind, ZoneKind::kSummer);
  EXPECT_EQ(periods[4].kind, ZoneKind::kStandard);
}

TEST(ZonePeriods, OrdinarySummerTimeEndsABackwardsSpell) {
  // Prague 1946/47: a "daylight" GMT winter, then the usual CET and CEST.
  const auto periods = HistoricPeriods(Zone({{10, {3600, false, "CET"}},
                                             {20, {0, true, "GMT"}},
                                             {30, {3600, false, "CET"}},
                                             {40, {7200, true, "CEST"}},
                                             {50, {3600, false, "CET"}}}),
                                       kYear2000);
  ASSERT_EQ(periods.size(), 5U);
  EXPECT_EQ(periods[3].kind, ZoneKind::kSummer);
  EXPECT_EQ(periods[3].standard_offset, 3600);
  EXPECT_EQ(periods[4].kind, ZoneKind::kStandard);
}

TEST(ZonePeriods, DaylightTimeAfterAJumpAcrossTheDateLineIsSummerTime) {
  // Apia: -11:00 with summer time, then +14:00 summer time, +13:00 standard.
  const auto periods = HistoricPeriods(Zone({{10, {-39600, false, "-11"}},
                                             {20, {-36000, true, "-10"}},
                                             {30, {50400, true, "+14"}},
                                             {40, {46800, false, "+13"}}}),
                                       kYear2000 * 2);
  ASSERT_EQ(periods.size(), 4U);
  EXPECT_EQ(periods[2].kind, ZoneKind::kSummer);
  EXPECT_EQ(periods[2].standard_offset, 46800);
  EXPECT_EQ(periods[3].kind, ZoneKind::kStandard);
}

TEST(ZonePeriods, InitialMeanTimeAndLaterPeriodsAreLeftOutAReturnToMeanTimeIsNot) {
  const auto periods = HistoricPeriods(
      Zone({{10, {3600, false, "CET"}}, {kYear2000, {7200, true, "CEST"}}}), kYear2000);
  ASSERT_EQ(periods.size(), 1U);
  EXPECT_EQ(periods[0].abbreviation, "CET");
  // Lagos: GMT from 1905, its own mean time again from 1908, then +0030.
  const auto lagos = HistoricPeriods(
      Zone({{5, {0, false, "GMT"}}, {10, {815, false, "LMT"}}, {20, {1800, false, "+0030"}}}),
      kYear2000);
  ASSERT_EQ(lagos.size(), 3U);
  EXPECT_FALSE(lagos[0].local_mean_time);
  EXPECT_TRUE(lagos[1].local_mean_time);
  EXPECT_EQ(lagos[1].from, 10);
  EXPECT_FALSE(lagos[2].local_mean_time);
}

TEST(ZonePeriods, FindsTheEntryByOffsetToTheSecondAndKind) {
  const auto table = testing::ProjectZoneTable();
  EXPECT_EQ(Trim(table[*FindZoneEntry(table, 7200, ZoneKind::kSummer, {"MET/S"})].TZShort),
            "MET/S");
  EXPECT_EQ(Trim(table[*FindZoneEntry(table, 7200, ZoneKind::kSummer, {"X", "WET/DS"})].TZShort),
            "WAT/S");  // WET/DS is no summer entry: the first in table order
  EXPECT_EQ(Trim(table[*FindZoneEntry(table, 19800, ZoneKind::kStandard, {"IST"})].TZShort), "IST");
  EXPECT_EQ(Trim(table[*FindZoneEntry(table, 3600, ZoneKind::kStandard)].TZShort), "MET");
  EXPECT_EQ(Trim(table[*FindZoneEntry(table, 1172, ZoneKind::kStandard)].TZShort), "AMT+001932");
  EXPECT_FALSE(FindZoneEntry(table, 1173, ZoneKind::kStandard));
  EXPECT_EQ(table[*FindZoneEntry(table, 0, ZoneKind::kDoubleSummer)].TZType, 'D');
}

// The zone table must express every period the machine's tzdata records
// before 2000, so that the atlas builder never has to approximate.
TEST(ZonePeriods, TheZoneTableExpressesEveryPeriodBefore2000) {
  const std::filesystem::path root = "/usr/share/zoneinfo";
  if (!std::filesystem::exists(root / "Europe/Berlin")) GTEST_SKIP() << "tzdata is not installed";
  const auto table = testing::ProjectZoneTable();
  std::set<std::pair<std::int32_t, char>> pairs;
  std::size_t zones = 0;
  for (auto it = std::filesystem::recursive_directory_iterator(root);
       it != std::filesystem::recursive_directory_iterator(); ++it) {
    const auto name = it->path().filename().string();
    if (it->is_directory() && (name == "posix" || name == "right")) {
      it.disable_recursion_pending();
      continue;
    }
    if (!it->is_regular_file()) continue;
    TzifZone zone;
    try {
      zone = ReadTzif(it->path().string());
    } catch (const AtlasError&) {
      continue;  // zone.tab, tzdata.zi and other text files
    }
    ++zones;
    for (const auto& p : HistoricPeriods(zone, kYear2000)) {
      if (p.local_mean_time) continue;  // zone 0
      pairs.insert({p.utc_offset, static_cast<char>(p.kind)});
      const auto entry = FindZoneEntry(table, p.utc_offset, p.kind);
      EXPECT_TRUE(entry) << it->path() << ": " << p.abbreviation << " " << p.utc_offset << " "
                         << static_cast<char>(p.kind);
      // Timetables cannot name entries 138-140: those codes mean the last three.
      EXPECT_TRUE(!entry || *entry < 138 || *entry > 140) << it->path() << ": " << p.abbreviation;
    }
  }
  EXPECT_GT(zones, 300U);
  EXPECT_GT(pairs.size(), 150U);
}

}  // namespace
}  // namespace tarv::atlas
