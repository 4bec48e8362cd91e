#include "atlas/zone_periods.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "support/zone_fixture.h"
#include "tarvplaces/atlas_error.h"
#include "tools/machine_tzdata.h"
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

// Each period's kind ('?' not checked), and the standard time the period
// before the last is measured from.
TEST(ZonePeriods, KindsAreReadFromTheOffsetsNotOnlyTheDaylightFlag) {
  const struct {
    std::vector<TzifType> types;  // from second 10 on, 10 seconds apart
    std::string kinds;
    std::int32_t standard;
  } kCases[] = {
      // Summer and double summer.
      {{{3600, 0, "CET"}, {7200, 1, "CEST"}, {10800, 1, "CEMT"}, {3600, 0, "CET"}}, "NSDN", 3600},
      // Ireland: "standard" IST in summer, "daylight" GMT in winter.
      {{{0, 0, "GMT"}, {3600, 0, "IST"}, {0, 1, "GMT"}, {3600, 0, "IST"}, {0, 1, "GMT"}},
       "??NSN",
       0},
      // Prague 1946/47: a "daylight" GMT winter, then the usual CET and CEST.
      {{{3600, 0, "CET"}, {0, 1, "GMT"}, {3600, 0, "CET"}, {7200, 1, "CEST"}, {3600, 0, "CET"}},
       "???SN",
       3600},
      // Apia: -11:00 with summer time, then +14:00 summer time, +13:00 standard.
      {{{-39600, 0, "-11"}, {-36000, 1, "-10"}, {50400, 1, "+14"}, {46800, 0, "+13"}},
       "??SN",
       46800}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.kinds);
    std::vector<std::pair<std::int64_t, TzifType>> changes;
    for (const auto& type : c.types)
      changes.emplace_back(10 * static_cast<std::int64_t>(changes.size() + 1), type);
    const auto periods = HistoricPeriods(Zone(changes), kYear2000);
    ASSERT_EQ(periods.size(), c.kinds.size());
    for (std::size_t i = 0; i < periods.size(); ++i)
      EXPECT_TRUE(c.kinds[i] == '?' || static_cast<char>(periods[i].kind) == c.kinds[i]) << i;
    EXPECT_EQ(periods[periods.size() - 2].standard_offset, c.standard);
  }
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
  if (!std::filesystem::exists(testing::kZoneinfo + "/Europe/Berlin"))
    GTEST_SKIP() << "tzdata is not installed";
  const auto table = testing::ProjectZoneTable();
  std::set<std::pair<std::int32_t, char>> pairs;
  const auto zones = testing::MachineZones();
  for (const auto& [name, zone] : zones) {
    for (const auto& p : HistoricPeriods(zone, kYear2000)) {
      if (p.local_mean_time) continue;  // zone 0
      pairs.insert({p.utc_offset, static_cast<char>(p.kind)});
      const auto entry = FindZoneEntry(table, p.utc_offset, p.kind);
      EXPECT_TRUE(entry) << name << ": " << p.abbreviation << " " << p.utc_offset << " "
                         << static_cast<char>(p.kind);
      // Timetables cannot name entries 138-140: those codes mean the last three.
      EXPECT_TRUE(!entry || *entry < 138 || *entry > 140) << name << ": " << p.abbreviation;
    }
  }
  EXPECT_GT(zones.size(), 300U);
  EXPECT_GT(pairs.size(), 150U);
}

}  // namespace
}  // namespace tarv::atlas
