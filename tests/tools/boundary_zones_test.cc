#include "atlas/boundary_zones.h"

#include <gtest/gtest.h>

namespace tarv::atlas {
namespace {

constexpr std::int64_t k1890 = -2524521600;
constexpr std::int64_t k1905 = -2051222400;
constexpr std::int64_t k1990 = 631152000;

TzifZone Zone(TzifType initial, std::vector<TzifTransition> transitions, std::string footer = "") {
  return {std::move(initial), std::move(transitions), std::move(footer)};
}

const TzifType kLmt{3208, false, "LMT"};
const TzifType kCet{3600, false, "CET"};
const TzifType kMet{3600, false, "MET"};
const TzifType kEet{7200, false, "EET"};

TEST(ClocksDiffer, OnlyOffsetsAndLocalMeanTimeWithin1900To2100Count) {
  const TzifZone berlin = Zone(kLmt, {{k1890, kCet}}, "CET-1CEST,M3.5.0,M10.5.0/3");
  EXPECT_FALSE(ClocksDiffer(berlin, berlin));
  // Other names for the same clock.
  EXPECT_FALSE(ClocksDiffer(berlin, Zone(kLmt, {{k1890, kMet}}, "MET-1MEST,M3.5.0,M10.5.0/3")));
  // Local mean time that ends before 1900, at another hour.
  EXPECT_FALSE(
      ClocksDiffer(berlin, Zone(kLmt, {{k1890 + 7200, kCet}}, "CET-1CEST,M3.5.0,M10.5.0/3")));
  // Local mean time into 1905 in one of them.
  EXPECT_TRUE(ClocksDiffer(berlin, Zone(kLmt, {{k1905, kCet}}, "CET-1CEST,M3.5.0,M10.5.0/3")));
  // The same offset kept as local mean time and as a zone.
  EXPECT_TRUE(ClocksDiffer(Zone(kCet, {}), Zone({3600, false, "LMT"}, {})));
  // Apart only by the rules after the last transition.
  EXPECT_TRUE(ClocksDiffer(Zone(kCet, {{k1990, kCet}}, "CET-1CEST,M3.5.0,M10.5.0/3"),
                           Zone(kCet, {{k1990, kCet}}, "CET-1")));
  EXPECT_TRUE(ClocksDiffer(Zone(kCet, {{k1990, kEet}}), Zone(kCet, {})));
}

TEST(ZoneTabs, ReadBothFormats) {
  ZoneCountries countries;
  AddZoneTab("# comment\nMX\t+2550-09730\tAmerica/Matamoros\tCoahuila\n", countries);
  AddZoneTab("CH,DE,LI\t+4723+00832\tEurope/Zurich\r\n", countries);
  EXPECT_EQ(countries["America/Matamoros"], std::set<std::string>{"MX"});
  EXPECT_EQ(countries["Europe/Zurich"], (std::set<std::string>{"CH", "DE", "LI"}));
  EXPECT_EQ(countries.size(), 2U);
}

TEST(BoundaryZones, PlacesTakeTheBoundariesZoneOnlyWhereTheRuleAsks) {
  auto place = [](std::string name, std::string country, std::string zone, double longitude) {
    GeoPlace p;
    p.name = std::move(name);
    p.country = std::move(country);
    p.timezone = std::move(zone);
    p.longitude = longitude;
    return p;
  };
  std::vector<GeoPlace> places = {
      place("Border town", "AA", "Z/West", 1),  // another clock, zone of its country
      place("Across", "BB", "Z/Other", 1),      // the zone serves AA, not BB
      place("Same clock", "AA", "Z/West", 2),   // Z/Twin keeps Z/West's clock
      place("Agreeing", "AA", "Z/West", 3),     // the boundaries agree
      place("Second town", "AA", "Z/West", 1),  // the pair already compared
      place("Overlap", "AA", "Z/West", 4),      // its zone overlaps the first
      place("Overlap twin", "AA", "Z/West", 5)};  // a zone of its clock overlaps the first
  const auto zones_at = [](double longitude, double) -> std::vector<std::string> {
    if (longitude == 4) return {"Z/East", "Z/West"};
    if (longitude == 5) return {"Z/East", "Z/Twin"};
    return {longitude == 1 ? "Z/East" : longitude == 2 ? "Z/Twin" : "Z/West"};
  };
  ZoneCountries countries{{"Z/East", {"AA"}}, {"Z/Twin", {"AA"}}, {"Z/West", {"AA"}}};
  std::map<std::string, int> loads;
  ClockComparison clocks([&](const std::string& name) {
    ++loads[name];
    return name == "Z/East" ? Zone(kEet, {}) : Zone(kCet, {});
  });
  const auto changes = TakeBoundaryZones(places, zones_at, countries, clocks);
  ASSERT_EQ(changes.size(), 2U);
  EXPECT_EQ(changes[0].place, "Border town");
  EXPECT_EQ(changes[0].country, "AA");
  EXPECT_EQ(changes[0].geonames_zone, "Z/West");
  EXPECT_EQ(changes[0].boundary_zone, "Z/East");
  EXPECT_EQ(changes[1].place, "Second town");
  std::vector<std::string> zones;
  for (const auto& p : places)
    zones.push_back(p.timezone);
  EXPECT_EQ(zones, (std::vector<std::string>{"Z/East", "Z/Other", "Z/West", "Z/West", "Z/East",
                                             "Z/West", "Z/West"}));
  EXPECT_EQ(loads, (std::map<std::string, int>{{"Z/East", 1}, {"Z/Twin", 1}, {"Z/West", 1}}));
}

}  // namespace
}  // namespace tarv::atlas
