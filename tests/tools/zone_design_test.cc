#include "atlas/zone_design.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <set>
#include <tuple>

#include "support/zone_fixture.h"
#include "util/text.h"

namespace tarv::atlas {
namespace {

const std::string kZoneinfo = "/usr/share/zoneinfo";

const ZoneRecord* Named(const std::vector<ZoneRecord>& table, const std::string& name) {
  for (const auto& r : table) {
    if (Trim(r.TZName) == name) return &r;
  }
  return nullptr;
}

class ZoneDesignTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(kZoneinfo + "/Asia/Seoul"))
      GTEST_SKIP() << "tzdata is not installed";
    base_ = testing::ProjectZoneTable();
    for (const auto& [zone, people] :
         std::vector<std::pair<std::string, double>>{{"Asia/Tokyo", 120e6},
                                                     {"Asia/Seoul", 50e6},
                                                     {"Africa/Nairobi", 50e6},
                                                     {"Europe/Moscow", 100e6},
                                                     {"Asia/Riyadh", 30e6},
                                                     {"America/Halifax", 1e6},
                                                     {"Europe/Berlin", 80e6}}) {
      zones_[zone] = {ReadTzif(kZoneinfo + "/" + zone), people};
    }
    design_ = DesignZoneTable(base_, zones_);
  }

  std::vector<ZoneRecord> base_;
  std::map<std::string, ZonePopulation> zones_;
  ZoneDesign design_;
};

TEST_F(ZoneDesignTest, EachZoneIsNamedAsItsPeopleNameIt) {
  const auto& table = design_.table;
  ASSERT_EQ(table.size(), base_.size());
  for (const auto& [name, abbreviation, hours] :
       std::vector<std::tuple<std::string, std::string, float>>{
           {"Japan Standard Time", "JST", 9.0F},
           {"Korean Standard Time", "KST", 9.0F},
           {"East Africa Time", "EAT", 3.0F},
           {"Moscow Standard Time", "MSK", 3.0F},
           {"Central European Standard Time", "MET", 1.0F},
           {"Central European Summer Time", "MET/S", 2.0F},
           {"Atlantic Standard Time", "AST", -4.0F}}) {
    const ZoneRecord* r = Named(table, name);
    ASSERT_NE(r, nullptr) << name;
    EXPECT_EQ(Trim(r->TZShort), abbreviation) << name;
    EXPECT_EQ(r->TZDif, hours) << name;
  }
  // "AST" stays Atlantic for the aliases: Arabia's clock takes its second name.
  ASSERT_NE(Named(table, "Arabian Standard Time"), nullptr);
  EXPECT_EQ(Trim(Named(table, "Arabian Standard Time")->TZShort), "ARST");
}

TEST_F(ZoneDesignTest, FixedNamesStayAndEveryNameFindsItsOwnTime) {
  const auto& table = design_.table;
  for (const auto& alias : ZoneAliasNames()) {
    const std::string target = ResolveZoneAlias(alias);
    if (target.empty()) continue;
    const bool in_base = std::any_of(
        base_.begin(), base_.end(), [&](const ZoneRecord& r) { return Trim(r.TZShort) == target; });
    const bool in_design = std::any_of(
        table.begin(), table.end(), [&](const ZoneRecord& r) { return Trim(r.TZShort) == target; });
    EXPECT_EQ(in_design, in_base) << alias << " -> " << target;
  }
  // The first entry GetTimezoneId finds by an entry's name has its offset
  // and kind.
  for (std::size_t i = 1; i < table.size(); ++i) {
    const std::string name = UCase(Trim(table[i].TZShort));
    const std::string alias = ResolveZoneAlias(name);
    const std::string target = alias.empty() ? name : alias;
    for (const auto& r : table) {
      if (UCase(Trim(r.TZShort)) != target) continue;
      EXPECT_EQ(r.TZDif, table[i].TZDif) << name;
      EXPECT_EQ(r.TZType, table[i].TZType) << name;
      break;
    }
  }
  // The timetable codes 138-140 keep their zones.
  for (std::size_t i = table.size() - 3; i < table.size(); ++i) {
    EXPECT_EQ(Trim(table[i].TZShort), Trim(base_[i].TZShort));
    EXPECT_EQ(table[i].TZDif, base_[i].TZDif);
  }
}

TEST_F(ZoneDesignTest, PeriodsBefore1970TakeTheNameOfTheirClock) {
  const TzifZone& seoul = zones_.at("Asia/Seoul").tzif;
  // 1920 at +9:00, the clock Korea keeps: its name of 1970.
  EXPECT_EQ(PeriodName("Asia/Seoul", seoul, -1577923200, 9 * 3600, false), "Korean Standard Time");
  // 1955 at +8:30, a clock Korea no longer keeps: no name.
  EXPECT_EQ(PeriodName("Asia/Seoul", seoul, -473385600, 8 * 3600 + 1800, false), "");
  // Turkey in 1980: CLDR maps no metazone; its location names it.
  const auto istanbul = ReadTzif(kZoneinfo + "/Europe/Istanbul");
  EXPECT_EQ(PeriodName("Europe/Istanbul", istanbul, 331344000, 3 * 3600, false), "Turkey Time");
}

// Zones only the zone map names (the open sea, a research station) must
// have entries for their times, but never at the cost of a name people use.
TEST_F(ZoneDesignTest, ZonesNobodyLivesByKeepTheirTimesWithoutTakingNames) {
  auto with = zones_;
  for (const std::string zone : {"Antarctica/Troll", "Etc/GMT+12", "Asia/Ho_Chi_Minh"})
    with[zone] = {ReadTzif(kZoneinfo + "/" + zone), 0};
  const auto design = DesignZoneTable(base_, with);
  // The same names, each on the same time, as without them.
  auto names = [](const std::vector<ZoneRecord>& table) {
    std::set<std::tuple<std::string, float, char>> named;
    for (const auto& r : table)
      named.emplace(Trim(r.TZName), r.TZDif, r.TZType);
    return named;
  };
  EXPECT_EQ(names(design.table), names(design_.table));
  auto has = [&](float hours, char kind) {
    return std::any_of(design.table.begin() + 1, design.table.end(),
                       [&](const ZoneRecord& r) { return r.TZDif == hours && r.TZType == kind; });
  };
  EXPECT_TRUE(has(2.0F, 'D'));  // Troll's summer, two hours on its standard time
  EXPECT_TRUE(has(-12.0F, 'N'));
}

}  // namespace
}  // namespace tarv::atlas
