#include "atlas/zone_history.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "atlas/place_search.h"
#include "atlas/place_zone.h"
#include "atlas/zone_map.h"
#include "platform/file_status.h"
#include "support/atlas_fixture.h"
#include "tarvplaces/atlas.h"
#include "tarvplaces/atlas_error.h"
#include "tarvplaces/places.h"
#include "text/bytes.h"

namespace tarv {
namespace {

using ::testing::AllOf;
using testing::At;
using ::testing::HasSubstr;
using testing::JulianAt;
using testing::Place;

std::int64_t Utc(int year, int month, int day, int hour = 0) {
  return DaysOfCivil(year, static_cast<unsigned>(month), static_cast<unsigned>(day)) * 86400 +
         hour * std::int64_t{3600};
}

// Germany (58) with three database places: Berlin keeps a Central European
// history with summer time in 1980 and the EU rule after it, Lagos Town the
// history of Lagos (GMT from 1905, local mean time again 1908-1914, West
// Africa Time from 1919, never summer time), Ohne no zone of its own. All
// three carry timetable 1, the Central European history without summer
// time before 1996.
class ZoneHistoryTest : public testing::AtlasFixture {
 protected:
  void SetUp() override {
    AtlasFixture::SetUp();
    InitializeTimeZones("", "Zones13.bin");
    met_ = Zone("MET");
    met_s_ = Zone("MET/S");
    WriteGermanTimetables();
    folder_.Write(kZoneHistoryFile, CompressSzdd(EncodeZoneHistories(Histories(), "2025b")));
    PlaceFileExtras extras;
    extras.place_zones = {0, 1, kNoPlaceZone};
    extras.timetable_zones = {0};
    WritePlaceFiles(folder_.path(), "D",
                    {Place("Berlin", 13.4F, 52.5F), Place("Lagos Town", 3.4F, 6.5F),
                     Place("Ohne", 10.0F, 50.0F)},
                    true, extras);
  }

  std::vector<ZoneHistory> Histories() const {
    ZoneHistory berlin{"Test/Berlin",
                       {{0, 3208, false, true, 0, "LMT"},
                        {Utc(1893, 3, 31, 23), 3600, false, false, met_, "CET"},
                        {Utc(1980, 4, 6, 1), 7200, true, false, met_s_, "CEST"},
                        {Utc(1980, 9, 28, 1), 3600, false, false, met_, "CET"}},
                       "CET-1CEST,M3.5.0,M10.5.0/3",
                       met_,
                       met_s_};
    const std::int16_t gmt = Zone("GMT");
    const std::int16_t wat = Zone("WAT");
    ZoneHistory lagos{"Test/Lagos",
                      {{0, 815, false, true, 0, "LMT"},
                       {Utc(1905, 6, 30, 23), 0, false, false, gmt, "GMT"},
                       {Utc(1908, 7, 1), 815, false, true, 0, "LMT"},
                       {Utc(1914, 1, 1), 1800, false, false, Zone("Z+0030"), "+0030"},
                       {Utc(1919, 8, 31, 23), 3600, false, false, wat, "WAT"}},
                      "WAT-1",
                      wat,
                      wat};
    return {berlin, lagos};
  }

  std::string ZoneOf(const std::string& name, int year, int month, int day, double hour = 12) {
    return places_.GetTimezoneOfCity(name, "D", JulianAt(year, month, day, hour));
  }

  // What a lookup in a fresh state throws, "" when it throws nothing.
  std::string ErrorOfLookup() {
    ForgetFileStatuses();
    ClearExpandedImages();
    try {
      ZoneOf("Berlin", 1980, 7, 1);
    } catch (const AtlasError& e) {
      return e.what();
    }
    return "";
  }

  classPlaces places_;
  std::int16_t met_ = 0;
  std::int16_t met_s_ = 0;
};

// Ohne has no zone of its own; after the listed periods the rule decides.
TEST_F(ZoneHistoryTest, OwnHistoryDecidesWhereTheTimetableDiffers) {
  const std::tuple<const char*, int, int, int, const char*> kCases[] = {
      {"Berlin", 1980, 7, 1, "MET/S"},   {"Berlin", 1980, 1, 15, "MET"},
      {"Berlin", 1850, 1, 1, "LMT"},     {"Lagos Town", 1906, 1, 1, "GMT"},
      {"Lagos Town", 1950, 7, 1, "WAT"}, {"Lagos Town", 2005, 7, 1, "WAT"},
      {"Ohne", 1980, 7, 1, "MET"},       {"Ohne", 1997, 7, 1, "MET/S"},
      {"Lagos Town", 1910, 1, 1, "LMT"}, {"Lagos Town", 1915, 1, 1, "Z+0030"},
      {"Berlin", 2050, 7, 1, "MET/S"},   {"Berlin", 2050, 1, 15, "MET"},
      {"Berlin", 2099, 10, 31, "MET"},   {"Berlin", 2099, 10, 24, "MET/S"},
      {"Lagos Town", 2090, 7, 1, "WAT"}};
  for (const auto& [place, year, month, day, zone] : kCases)
    EXPECT_EQ(ZoneOf(place, year, month, day), zone) << place << " " << year << "-" << month;
}

TEST_F(ZoneHistoryTest, AReturnToLocalMeanTimeIsTheOwnMeanTime) {
  ASSERT_EQ(places_.GetPlaceDataX("Lagos Town", "D"), 1);
  bool lmt = false;
  double hours = 0;
  places_.GetPlaceDataOfId(0, JulianAt(1910, 1, 1, 12), &lmt, &hours);
  EXPECT_TRUE(lmt);
  EXPECT_FALSE(places_.GetLocalTimeKind("Lagos Town", "D", JulianAt(1914, 1, 1, 0.1)));
}

// 6 April 1980: 02:00 became 03:00 (a skipped time takes the new offset);
// 28 September: 03:00 became 02:00 (a repeated one the earlier); by the rule
// 27 March and 30 October 2050. Changes out of local mean time are not judged.
TEST_F(ZoneHistoryTest, SkippedAndRepeatedHoursAreFlaggedAtTheExactChange) {
  const std::tuple<int, int, int, double, int> kCases[] = {
      {1980, 4, 6, 1.99, 0},  {1980, 4, 6, 2.0, 1},   {1980, 4, 6, 2.99, 1}, {1980, 4, 6, 3.0, 0},
      {1980, 9, 28, 1.99, 0}, {1980, 9, 28, 2.0, 2},  {1980, 9, 28, 3.0, 0}, {2050, 3, 27, 2.5, 1},
      {2050, 10, 30, 2.5, 2}, {2050, 10, 30, 3.5, 0}, {1893, 4, 1, 0.5, 0}};
  for (const auto& [year, month, day, hour, kind] : kCases)
    EXPECT_EQ(places_.GetLocalTimeKind("Berlin", "D", JulianAt(year, month, day, hour)), kind)
        << year << "-" << month << " " << hour;
  EXPECT_EQ(ZoneOf("Berlin", 1980, 4, 6, 2.5), "MET/S");
  EXPECT_EQ(ZoneOf("Berlin", 1980, 9, 28, 2.5), "MET/S");
}

// Both readings of a repeated hour, earlier first as the answer gives it;
// the gap of a skipped one; from the listed periods and from the rule.
TEST_F(ZoneHistoryTest, SkippedAndRepeatedHoursTellBothClocks) {
  const Atlas atlas(folder_.str());
  auto at = [&](int year, int month, int day, int hour, int minute) {
    return *atlas.Lookup("Berlin", "D", LocalTime{year, month, day, hour, minute, 0});
  };
  for (const int year : {1980, 2050}) {
    const PlaceInfo repeated = year == 1980 ? at(1980, 9, 28, 2, 30) : at(2050, 10, 30, 2, 30);
    ASSERT_EQ(repeated.Readings.size(), 2U) << year;
    EXPECT_FALSE(repeated.Gap);
    const auto& [earlier, later] = std::tie(repeated.Readings[0], repeated.Readings[1]);
    EXPECT_EQ(
        std::tuple(earlier.Zone.UtcOffsetHours, earlier.Zone.Abbreviation, earlier.TzAbbreviation,
                   later.Zone.UtcOffsetHours, later.Zone.Abbreviation, later.TzAbbreviation),
        std::tuple(2.0, "MET/S", "CEST", 1.0, "MET", "CET"))
        << year;
    EXPECT_EQ(earlier.Zone.Id, repeated.Zone.Id);

    const PlaceInfo skipped = year == 1980 ? at(1980, 4, 6, 2, 30) : at(2050, 3, 27, 2, 30);
    EXPECT_TRUE(skipped.Readings.empty());
    ASSERT_TRUE(skipped.Gap) << year;
    const LocalTime& from = skipped.Gap->From;
    const LocalTime& to = skipped.Gap->To;
    EXPECT_EQ(std::tuple(from.Year, from.Month, from.Hour, from.Minute, to.Day, to.Hour,
                         skipped.Gap->OffsetBeforeHours, skipped.Gap->OffsetAfterHours),
              std::tuple(year, year == 1980 ? 4 : 3, 2, 0, from.Day, 3, 1.0, 2.0));
  }
  const PlaceInfo normal = at(1980, 7, 1, 12, 0);
  EXPECT_TRUE(normal.Readings.empty());
  EXPECT_FALSE(normal.Gap);
  // Out of local mean time nothing is judged, and nothing told.
  const PlaceInfo mean_time = at(1893, 4, 1, 0, 30);
  EXPECT_TRUE(mean_time.Readings.empty() && !mean_time.Gap);
}

// An instant has one clock on either side of every change, east and west of
// Greenwich, listed or by the rule: Berlin's changes at 01:00 UTC,
// Chicago's at 08:00 UTC (spring) and 07:00 UTC (fall) of 2026.
TEST_F(ZoneHistoryTest, AnInstantHasOneClockAroundEveryChange) {
  auto zones = Histories();
  zones.push_back({"Test/Chicago",
                   {{0, -21036, false, true, 0, "LMT"},
                    {Utc(1883, 11, 18, 18), -21600, false, false, Zone("CST"), "CST"}},
                   "CST6CDT,M3.2.0,M11.1.0",
                   Zone("CST"),
                   Zone("CST/S")});
  const ZoneHistories histories(EncodeZoneHistories(zones, "2025b"), kZoneHistoryFile,
                                CurrentAtlas().zones.size());
  const std::tuple<std::size_t, std::int64_t, std::int32_t, std::int32_t> kChanges[] = {
      {0, Utc(1980, 4, 6, 1), 3600, 7200},     {0, Utc(1980, 9, 28, 1), 7200, 3600},
      {0, Utc(2050, 3, 27, 1), 3600, 7200},    {0, Utc(2050, 10, 30, 1), 7200, 3600},
      {2, Utc(2026, 3, 8, 8), -21600, -18000}, {2, Utc(2026, 11, 1, 7), -18000, -21600}};
  for (const auto& [zone, change, before, after] : kChanges) {
    for (const std::int64_t from_change : {-7200, -5400, -1800, -1, 0, 1, 1800, 5400, 7200}) {
      const HistoryAnswer answer = histories.AtUtc(zone, change + from_change);
      EXPECT_EQ(std::tuple(answer.utc_offset, answer.kind, answer.change.has_value()),
                std::tuple(from_change < 0 ? before : after, LocalTimeKind::kNormal, false))
          << zone << " " << change << " " << from_change;
    }
  }
  // Local mean time stays local mean time.
  EXPECT_TRUE(histories.AtUtc(2, Utc(1850, 1, 1)).local_mean_time);
}

TEST_F(ZoneHistoryTest, UserPlacesAndAtlasesWithoutTheFilesKeepTheTimetable) {
  WriteUserFile("D", {Place("Berlin", 13.4F, 52.5F)});
  EXPECT_EQ(ZoneOf("Berlin", 1980, 7, 1), "MET");  // the user's Berlin
  // Its timetable keeps Test/Berlin's history, which names the clock.
  places_.GetPlaceDataX("Berlin", "D");
  FoundPlace user = FoundPlaces()[0];
  ASSERT_LT(user.RecordNo, 0);
  const auto at = ZoneOfPlaceAt(user, At(1980, 7, 1, 12));
  ASSERT_TRUE(at);
  EXPECT_EQ(std::tuple(at->own_history, at->iana, at->abbreviation),
            std::tuple(false, "Test/Berlin", "CEST"));

  std::filesystem::remove(folder_.path() / "USER" / "D.dao");
  std::filesystem::remove(folder_.path() / kZoneHistoryFile);
  ForgetFileStatuses();
  ClearExpandedImages();
  EXPECT_EQ(std::tuple(ZoneOf("Berlin", 1980, 7, 1), ZoneOf("Lagos Town", 1950, 7, 1)),
            std::tuple("MET", "MET"));
}

// A map where Test/Lagos holds from 0 to 10 degrees east and north and
// the sea (all of it Test/Berlin's here) everywhere else.
TEST_F(ZoneHistoryTest, UserPlacesAndPointsTakeTheZoneOfTheMap) {
  ZoneMapData map;
  ZoneMapData::Ring square;
  square.longitudes = {0, 1'000'000, 1'000'000, 0};
  square.latitudes = {0, 0, 1'000'000, 1'000'000};
  map.nodes = {{ZoneMapData::NodeKind::kTile, 0}};
  map.tiles = {{{1, {square}}}};
  folder_.Write(kZoneMapFile, CompressSzdd(EncodeZoneMap(map)));
  WriteUserFile("D", {Place("Mine", 3.4F, 6.5F), Place("Yours", 13.4F, 52.5F)});
  const std::tuple<const char*, int, int, const char*> kCases[] = {
      {"Mine", 1950, 7, "WAT"}, {"Mine", 1906, 1, "GMT"}, {"Yours", 1980, 7, "MET/S"}};
  for (const auto& [place, year, month, zone] : kCases)
    EXPECT_EQ(ZoneOf(place, year, month, 1), zone) << place << " " << year;
  const auto at = ZoneOfPointAt(3.0, 3.0, At(1950, 7, 1, 12));
  ASSERT_TRUE(at);
  EXPECT_EQ(std::tuple(at->iana, at->abbreviation, at->utc_seconds),
            std::tuple("Test/Lagos", "WAT", 3600));
  EXPECT_FALSE(ZoneOfPointAt(181.0, 0.0, At(1950, 7, 1, 12)));

  folder_.Write(kZoneMapFile, CompressSzdd(EncodeZoneMap(map).substr(0, 70)));
  ForgetFileStatuses();
  ClearExpandedImages();
  EXPECT_THAT([&] { ZoneOf("Mine", 1950, 7, 1); },
              ::testing::ThrowsMessage<AtlasError>(
                  AllOf(HasSubstr("Zones.map"), HasSubstr("tile count 1 out of range"))));
}

TEST_F(ZoneHistoryTest, DamagedFilesAreErrorsNamingThem) {
  const std::string good = EncodeZoneHistories(Histories(), "2025b");
  std::string out_of_table = good;
  // The first period's zone-table entry (after name, rule, entries, count).
  const std::size_t first_entry = 12 + 1 + 11 + 1 + 26 + 4 + 4 + 8 + 4 + 1;
  out_of_table[first_entry + 1] = '\x7F';
  std::string trailing = good;
  AppendInt32(trailing, 0);
  const std::vector<std::pair<std::string, std::string>> damaged = {
      {"", "not a zone history file"},
      {"TPZH\x02", "not a zone history file"},
      {good.substr(0, 40), "cut off"},
      {good.substr(0, 8) + std::string("\xFF\xFF\xFF\x7F", 4) + good.substr(12), "zone count"},
      {out_of_table, "zone-table entry"},
      {trailing, "after the last field"}};
  for (const auto& [bytes, why] : damaged) {
    folder_.Write(kZoneHistoryFile, CompressSzdd(bytes));
    EXPECT_THAT(ErrorOfLookup(), AllOf(HasSubstr("Zones.hst"), HasSubstr(why))) << why;
  }
  // A zone file for a place file of other records, or naming a zone beyond.
  folder_.Write(kZoneHistoryFile, CompressSzdd(good));
  folder_.Write("D.TZP", CompressSzdd(EncodePlaceZones({0, 1})));
  EXPECT_THAT(ErrorOfLookup(), AllOf(HasSubstr("D.TZP"), HasSubstr("has 3")));
  folder_.Write("D.TZP", CompressSzdd(EncodePlaceZones({0, 1, 2})));
  EXPECT_THAT(ErrorOfLookup(), AllOf(HasSubstr("D.TZP"), HasSubstr("record 3 names zone 2 of 2")));
}

TEST(ZoneHistoryCodec, RoundTripsAndRefusesWhatItCannotHold) {
  ZoneHistory zone{"Area/City",
                   {{0, -3600, false, true, 0, "LMT"}, {-100, 0, false, false, 1, "GMT"}},
                   "",
                   1,
                   1};
  const ZoneHistories decoded(EncodeZoneHistories({zone}, "2025b"), "Zones.hst", 287);
  ASSERT_EQ(decoded.size(), 1U);
  EXPECT_EQ(std::tuple(decoded[0].name, decoded[0].periods[1]),
            std::tuple("Area/City", zone.periods[1]));
  // Local -3700 is UTC -100; the clocks moved forward an hour, out of LMT: not judged.
  EXPECT_EQ(std::tuple(decoded.At(0, -3701).abbreviation, decoded.At(0, -3600).abbreviation,
                       decoded.At(0, -3600).kind),
            std::tuple("LMT", "GMT", LocalTimeKind::kNormal));

  // A bad rule, periods out of order, too long a name, no zone at all.
  std::vector<std::vector<ZoneHistory>> bad(3, {zone});
  bad[0][0].rule = "not a rule";
  bad[1][0].periods.push_back({-200, 0, false, false, 1, "GMT"});
  bad[2][0].name = std::string(65, 'x');
  bad.emplace_back();
  for (const auto& zones : bad)
    EXPECT_THROW(EncodeZoneHistories(zones, "2025b"), std::invalid_argument);
  // Near zones come back by record, nearest first, whatever order they went in.
  const PlaceZones near(EncodePlaceZones({0, 1, 0}, {0}, {{3, 1, 4000}, {1, 1, 900}, {3, 0, 20}}),
                        "D.TZP", 2);
  EXPECT_EQ(near.NearZonesOf(3), (std::vector<PlaceNearZone>{{3, 0, 20}, {3, 1, 4000}}));
  EXPECT_EQ(near.NearZonesOf(1), (std::vector<PlaceNearZone>{{1, 1, 900}}));
  EXPECT_TRUE(near.NearZonesOf(2).empty());
  EXPECT_THROW(EncodePlaceZones({0}, {}, {{2, 0, 10}}), std::invalid_argument);  // no record 2
  EXPECT_THROW(EncodePlaceZones({0}, {}, {{1, 0, 5001}}), std::invalid_argument);
  std::string unordered = EncodePlaceZones({0, 0}, {}, {{1, 0, 10}, {2, 0, 10}});
  unordered[unordered.size() - 16] = '\x02';  // the first entry's record: 2 before 2's... then 2
  unordered[unordered.size() - 8] = '\x01';   // ... and 1: out of order
  EXPECT_THROW(PlaceZones(unordered, "D.TZP", 1), FormatViolation);
  std::string far = EncodePlaceZones({0}, {}, {{1, 0, 10}});
  far[far.size() - 2] = '\x89';  // 5001 m
  far[far.size() - 1] = '\x13';
  EXPECT_THROW(PlaceZones(far, "D.TZP", 1), FormatViolation);
  EXPECT_NO_THROW(EncodePlaceZones({0}, std::vector<std::uint16_t>(999, 0)));  // the most
  EXPECT_THROW(EncodePlaceZones({0}, std::vector<std::uint16_t>(1000, 0)), std::invalid_argument);
  EXPECT_THROW(ZoneHistories(EncodeZoneHistories({zone}, "2025b"), "Zones.hst", 1),
               FormatViolation);
}

}  // namespace
}  // namespace tarv
