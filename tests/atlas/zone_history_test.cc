#include "atlas/zone_history.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "atlas/country_table.h"
#include "atlas/place_search.h"
#include "atlas/place_zone.h"
#include "platform/file_status.h"
#include "support/atlas_fixture.h"
#include "tarvplaces/atlas_error.h"
#include "tarvplaces/places.h"
#include "text/bytes.h"
#include "util/text.h"

namespace tarv {
namespace {

using ::testing::AllOf;
using testing::At;
using ::testing::HasSubstr;
using testing::JulianAt;
using testing::Place;

constexpr std::int64_t kHour = 3600;

std::int64_t Utc(int year, int month, int day, int hour = 0) {
  return DaysOfCivil(year, static_cast<unsigned>(month), static_cast<unsigned>(day)) * 86400 +
         hour * kHour;
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
    folder_.Write(kZoneHistoryFile, CompressSzdd(EncodeZoneHistories(Histories())));
    WritePlaceFiles(folder_.path(), "D",
                    {Place("Berlin", 13.4F, 52.5F), Place("Lagos Town", 3.4F, 6.5F),
                     Place("Ohne", 10.0F, 50.0F)},
                    true, ZoneExtras());
  }

  static PlaceFileExtras ZoneExtras() {
    PlaceFileExtras extras;
    extras.place_zones = {0, 1, kNoPlaceZone};
    extras.timetable_zones = {0};
    return extras;
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

  // The zone GetTimezoneOfCity names, and the kind of local time, at a local time.
  std::string ZoneOf(const std::string& name, int year, int month, int day, double hour = 12) {
    return places_.GetTimezoneOfCity(name, "D", JulianAt(year, month, day, hour));
  }
  int KindAt(const std::string& name, int year, int month, int day, double hour) {
    return places_.GetLocalTimeKind(name, "D", JulianAt(year, month, day, hour));
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

TEST_F(ZoneHistoryTest, OwnHistoryDecidesWhereTheTimetableDiffers) {
  EXPECT_EQ(ZoneOf("Berlin", 1980, 7, 1), "MET/S");  // the timetable has no summer time in 1980
  EXPECT_EQ(ZoneOf("Berlin", 1980, 1, 15), "MET");
  EXPECT_EQ(ZoneOf("Berlin", 1850, 1, 1), "LMT");
  EXPECT_EQ(ZoneOf("Lagos Town", 1906, 1, 1), "GMT");
  EXPECT_EQ(ZoneOf("Lagos Town", 1950, 7, 1), "WAT");
  EXPECT_EQ(ZoneOf("Lagos Town", 2005, 7, 1), "WAT");  // the timetable's rule gives MET/S
  // Without an own zone the timetable answers.
  EXPECT_EQ(ZoneOf("Ohne", 1980, 7, 1), "MET");
  EXPECT_EQ(ZoneOf("Ohne", 1997, 7, 1), "MET/S");
}

TEST_F(ZoneHistoryTest, AReturnToLocalMeanTimeIsTheOwnMeanTime) {
  EXPECT_EQ(ZoneOf("Lagos Town", 1910, 1, 1), "LMT");
  EXPECT_EQ(ZoneOf("Lagos Town", 1915, 1, 1), "Z+0030");
  const auto found = places_.GetPlaceDataX("Lagos Town", "D");
  ASSERT_EQ(found, 1);
  bool lmt = false;
  double hours = 0;
  places_.GetPlaceDataOfId(0, JulianAt(1910, 1, 1, 12), &lmt, &hours);
  EXPECT_TRUE(lmt);
  EXPECT_FALSE(places_.GetLocalTimeKind("Lagos Town", "D", JulianAt(1914, 1, 1, 0.1)));
}

TEST_F(ZoneHistoryTest, DatesAfterTheListedPeriodsFollowTheRule) {
  EXPECT_EQ(ZoneOf("Berlin", 2050, 7, 1), "MET/S");
  EXPECT_EQ(ZoneOf("Berlin", 2050, 1, 15), "MET");
  EXPECT_EQ(ZoneOf("Berlin", 2099, 10, 31), "MET");  // the last Sunday of October 2099 was the 25th
  EXPECT_EQ(ZoneOf("Berlin", 2099, 10, 24), "MET/S");
  EXPECT_EQ(ZoneOf("Lagos Town", 2090, 7, 1), "WAT");
}

TEST_F(ZoneHistoryTest, SkippedAndRepeatedHoursAreFlaggedAtTheExactChange) {
  // 6 April 1980: 02:00 became 03:00; 28 September: 03:00 became 02:00.
  EXPECT_EQ(KindAt("Berlin", 1980, 4, 6, 1.99), 0);
  EXPECT_EQ(KindAt("Berlin", 1980, 4, 6, 2.0), 1);
  EXPECT_EQ(KindAt("Berlin", 1980, 4, 6, 2.99), 1);
  EXPECT_EQ(KindAt("Berlin", 1980, 4, 6, 3.0), 0);
  EXPECT_EQ(ZoneOf("Berlin", 1980, 4, 6, 2.5), "MET/S");  // a skipped time takes the new offset
  EXPECT_EQ(KindAt("Berlin", 1980, 9, 28, 1.99), 0);
  EXPECT_EQ(KindAt("Berlin", 1980, 9, 28, 2.0), 2);
  EXPECT_EQ(ZoneOf("Berlin", 1980, 9, 28, 2.5), "MET/S");  // a repeated one the earlier
  EXPECT_EQ(KindAt("Berlin", 1980, 9, 28, 3.0), 0);
  // By the rule: 27 March and 30 October 2050.
  EXPECT_EQ(KindAt("Berlin", 2050, 3, 27, 2.5), 1);
  EXPECT_EQ(KindAt("Berlin", 2050, 10, 30, 2.5), 2);
  EXPECT_EQ(KindAt("Berlin", 2050, 10, 30, 3.5), 0);
  // Changes out of local mean time are not judged.
  EXPECT_EQ(KindAt("Berlin", 1893, 4, 1, 0.5), 0);
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
  EXPECT_FALSE(at->own_history);
  EXPECT_EQ(at->iana, "Test/Berlin");
  EXPECT_EQ(at->abbreviation, "CEST");

  std::filesystem::remove(folder_.path() / "USER" / "D.dao");
  std::filesystem::remove(folder_.path() / kZoneHistoryFile);
  ForgetFileStatuses();
  ClearExpandedImages();
  EXPECT_EQ(ZoneOf("Berlin", 1980, 7, 1), "MET");
  EXPECT_EQ(ZoneOf("Lagos Town", 1950, 7, 1), "MET");
}

TEST_F(ZoneHistoryTest, DamagedFilesAreErrorsNamingThem) {
  const std::string good = EncodeZoneHistories(Histories());
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
  // A zone file written for a place file of other records, or naming a
  // zone beyond the histories.
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
  const ZoneHistories decoded(EncodeZoneHistories({zone}), "Zones.hst", 287);
  ASSERT_EQ(decoded.size(), 1U);
  EXPECT_EQ(decoded[0].name, "Area/City");
  EXPECT_EQ(decoded[0].periods[1], zone.periods[1]);
  EXPECT_EQ(decoded.At(0, -3701).abbreviation, "LMT");           // local -3700 is UTC -100
  EXPECT_EQ(decoded.At(0, -3600).abbreviation, "GMT");           // clocks moved forward an hour
  EXPECT_EQ(decoded.At(0, -3600).kind, LocalTimeKind::kNormal);  // out of LMT: not judged

  auto bad = zone;
  bad.rule = "not a rule";
  EXPECT_THROW(EncodeZoneHistories({bad}), std::invalid_argument);
  bad = zone;
  bad.periods.push_back({-200, 0, false, false, 1, "GMT"});
  EXPECT_THROW(EncodeZoneHistories({bad}), std::invalid_argument);
  bad = zone;
  bad.name = std::string(65, 'x');
  EXPECT_THROW(EncodeZoneHistories({bad}), std::invalid_argument);
  EXPECT_THROW(EncodeZoneHistories({}), std::invalid_argument);
  EXPECT_NO_THROW(EncodePlaceZones({0}, std::vector<std::uint16_t>(999, 0)));  // the most
  EXPECT_THROW(EncodePlaceZones({0}, std::vector<std::uint16_t>(1000, 0)), std::invalid_argument);
  EXPECT_THROW(ZoneHistories(EncodeZoneHistories({zone}), "Zones.hst", 1), FormatViolation);
}

}  // namespace
}  // namespace tarv
