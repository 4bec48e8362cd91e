#include "atlas/timetable.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <initializer_list>
#include <limits>

#include "atlas/atlas_fault.h"
#include "atlas/dst_rules.h"
#include "platform/file_status.h"
#include "platform/paths.h"
#include "support/atlas_fixture.h"
#include "support/fault_text.h"
#include "text/bytes.h"
#include "text/lz.h"
#include "util/text.h"

namespace tarv {
namespace {

using testing::At;
using testing::CentralEuropeanHistory;

class TimetableTest : public testing::AtlasFixture {
 protected:
  void SetUp() override {
    AtlasFixture::SetUp();
    met_ = Zone("MET");
    met_s_ = Zone("MET/S");
    InitializeTimeZones("", "Zones13.bin");
    // Germany (58): timetable 1 the Central European history, 2 always MET,
    // 3 empty; Algeria (3), outside the fixed table, one block.
    WriteTimetables("ttx.dao",
                    {{58, {CentralEuropeanHistory(met_, met_s_), {{At(1900, 1, 1), met_}}, {}}},
                     {3, {{{At(1911, 3, 11), Zone("GMT")}}}}});
    WriteTimetables("TTUSA.dao", {{200, {{{At(1883, 11, 18, 12), Zone("PST")}}}}});
  }
  std::vector<TimetableRecord> Read(std::int16_t country, std::int32_t number,
                                    double reference = kSerial2000, bool usa = false) {
    std::vector<TimetableRecord> entries;
    Read_Cp_TimeTable("", country, reference, number, entries, usa);
    return entries;
  }
  // The zones of a timetable at local dates, blank-separated ("none" where
  // there is none).
  std::string Zones(const std::string& code, std::int16_t timetable,
                    std::initializer_list<double> dates) {
    std::string names;
    for (const double date : dates) {
      const auto zone = ZoneAt(code, timetable, date);
      names += (names.empty() ? "" : " ") + (zone ? Trim(zone->zone.TZShort) : "none");
    }
    return names;
  }
  std::int16_t met_ = 0;
  std::int16_t met_s_ = 0;
};

TEST_F(TimetableTest, BlockOfACountrySectionAfterThe1700Entry) {
  EXPECT_EQ(Read(58, 2), (std::vector<TimetableRecord>{{kSerial1700, 0}, {At(1900, 1, 1), met_}}));
  // The US file has its own countries; an empty or absent block, or a
  // country without a section, gives the 1700 entry alone.
  EXPECT_EQ((std::vector<std::size_t>{Read(58, 1).size(), Read(200, 1, kSerial2000, true).size(),
                                      Read(200, 1).size(), Read(58, 3).size(), Read(58, 9).size(),
                                      Read(77, 1).size()}),
            (std::vector<std::size_t>{10, 2, 1, 1, 1, 1}));
}

TEST_F(TimetableTest, ReferenceDatesAroundTheEndsOfTheFiles) {
  std::vector<TimetableRecord> entries;
  EXPECT_EQ(Read_Cp_TimeTable("", 58, kSerial2000 + 0.001, 1, entries, false), 0);
  EXPECT_EQ(entries.size(), 1U);
  EXPECT_EQ(Read_Cp_TimeTable("", 58, kSerial2000, 1, entries, false), 10);
  EXPECT_EQ(Read_Cp_TimeTable("", 58, kSmallestSerial - 1, 1, entries, false), 1);
  EXPECT_EQ(entries, (std::vector<TimetableRecord>{{kSerial1700, 0}}));
  EXPECT_EQ(Read_Cp_TimeTable("", 0, kSerial2000, 1, entries, false), 0);  // no country
  EXPECT_EQ(Read_Cp_TimeTable("", 1, kSerial2000, 1, entries, false), 1);  // none of the file
}

TEST_F(TimetableTest, CodesForTheLastThreeZonesAndFranceAfter1975) {
  WriteTimetables("ttx.dao", {{58, {{{1.0, 138}, {2.0, 139}, {3.0, 140}, {4.0, 137}}}},
                              {40, {{{At(1975, 5, 10, 2), met_}, {At(1976, 5, 10, 2), met_}}}}});
  std::vector<std::int16_t> zones;
  for (const auto& entry : Read(58, 1))
    zones.push_back(entry.Zone);
  EXPECT_EQ(zones, (std::vector<std::int16_t>{0, 284, 285, 286, 137}));
  // France's May entries after 1975 lie four months later.
  const auto france = Read(40, 1);
  ASSERT_EQ(france.size(), 3U);
  EXPECT_EQ(std::pair(france[1].Datum, france[2].Datum),
            std::pair(At(1975, 5, 10, 2), At(1976, 9, 10, 2)));
}

// A timetable file that breaks its format is a fault naming the file and
// the entry, never a history of local mean time: every lookup fails.
TEST_F(TimetableTest, FormatFaultsNameTheFileAndTheEntry) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const std::string good = EncodeTimetableFile({{58, {{{At(1900, 1, 1), met_}}}}});
  std::string marker;  // beyond any country number
  AppendFloat64(marker, -1e300);
  AppendInt16(marker, 0);
  // Entries the host's date type cannot hold would be compared as dates.
  const auto ending_with = [&](double bad) {
    return EncodeTimetableFile(
        {{58, {{{At(1893, 4, 1), met_}, {At(1950, 1, 1), met_}, {bad, met_s_}}}}});
  };
  const std::string entry = "country 58, timetable 1, entry ";
  const std::pair<std::string, std::string> cases[] = {
      {"", "holds no timetables"},
      {good + "x", "1 bytes after the last whole record"},
      {marker + good, "record 1: "},
      {good.substr(10), "does not begin with a country's section"},
      {good + good, "record 4: a second section of country 58"},
      // Germany has timetables: a file without its section is another file.
      {EncodeTimetableFile({{40, {{}}}}), "holds no section of country 58"},
      {EncodeTimetableFile({{58, {{{1.0, 500}}}}}), entry + "2: zone 500 is not in the zone table"},
      {ending_with(nan), entry + "4: "},
      {ending_with(1.7e13), entry + "4: " + std::to_string(1.7e13) + " is not a date"},
      {ending_with(kLargestSerial), entry + "4: "},
      {ending_with(kSmallestSerial - 1), entry + "4: "}};
  for (const auto& [bytes, why] : cases) {
    SCOPED_TRACE(why);
    folder_.Write("ttx.dao", CompressSzdd(bytes));
    std::int32_t error = 0;
    EXPECT_EQ(MalformedFileOf([&] {
                std::vector<TimetableRecord> entries;
                Read_Cp_TimeTable("", 58, kSerial2000, 1, entries, false, "", &error);
              }).rfind(folder_.str() + "\\ttx.dao: " + why, 0),
              0U);
    EXPECT_EQ(error, LZERROR_BADVALUE);
    EXPECT_NE(MalformedFileOf([&] { Read(58, 1); }), "");
    EXPECT_NE(MalformedFileOf([&] { EXPECT_EQ(Zones("D", 1, {At(1997, 7, 1)}), "none"); }), "");
    EXPECT_NE(MalformedFileOf([&] { EXPECT_EQ(GetDaylightSavingDate("D", 1, 2005, 0), 0.0); }), "");
  }
  // The ends of the range are dates; so is a date of 1700 or before.
  WriteTimetables("ttx.dao", {{58, {{{kSmallestSerial, met_}, {kLargestSerial - 0.5, met_}}}}});
  EXPECT_EQ(Read(58, 1).size(), 3U);
}

// A timetable file that cannot be expanded, or a plain one (the builder
// always compresses it), fails every reader naming it; the USA's file is
// another file.
TEST_F(TimetableTest, AnUnreadableFileFailsEveryReaderNamingIt) {
  const std::string whole = folder_.Read("ttx.dao");
  for (const std::string& bytes : {whole.substr(0, whole.size() - 3),
                                   EncodeTimetableFile({{58, {{{At(1900, 1, 1), met_}}}}})}) {
    folder_.Write("ttx.dao", bytes);
    messages_.clear();
    ClearAtlasFault();
    std::vector<TimetableRecord> entries;
    std::int32_t error = 0;
    EXPECT_EQ(Read_Cp_TimeTable("", 58, kSerial2000, 1, entries, false, "", &error), 1);
    EXPECT_EQ(error, LZERROR_READ);
    EXPECT_TRUE(messages_.empty());  // the interfaces tell the fault
    EXPECT_EQ(std::tuple(LastAtlasFaultReader(), LastAtlasFault().Reason, LastAtlasFault().File,
                         LastAtlasFault().Code),
              std::tuple("Read_Cp_TimeTable", "corrupt compressed file format",
                         folder_.str() + "\\ttx.dao", LZERROR_READ));
    EXPECT_EQ(Read(58, 1).size(), 1U);
    // A country without timetables reads block 1 of its section, else takes
    // its base zone: with the file unreadable it has neither.
    EXPECT_EQ(
        Zones("D", 1, {At(1997, 7, 1), At(2005, 7, 1)}) + " " + Zones("A", 0, {At(1997, 7, 1)}),
        "none none none");
    EXPECT_EQ(std::pair(GetRightTimeZone("D", 1), GetDaylightSavingDate("D", 1, 2005, 0)),
              std::pair(std::string(), 0.0));
    EXPECT_EQ(Zones("USCA", 1, {At(1950, 1, 1)}), "PST");
  }
}

TEST_F(TimetableTest, FaultOfOneCallIsNotKeptForTheNext) {
  const std::string whole = CompressSzdd(EncodeTimetableFile(
      {{3, {{{At(1911, 3, 11), Zone("GMT")}}}}, {58, {CentralEuropeanHistory(met_, met_s_)}}}));
  folder_.Write("ttx.dao", whole.substr(0, 20));
  {
    WatchedFolder user(folder_.str() + "\\USER", NativePath);
    const StatScope one_call(user);
    const FaultScope fault;
    const double summer = At(1997, 7, 1);
    EXPECT_EQ(Zones("D", 1, {summer}) + Zones("D", 2, {summer}) + Zones("D", 3, {summer}),
              "nonenonenone");
    EXPECT_EQ(LastAtlasFault().Code, LZERROR_READ);
  }
  folder_.Write("ttx.dao", whole);
  ForgetExpandedImage(folder_.str() + "\\ttx.dao");
  EXPECT_EQ(Zones("D", 1, {At(1997, 7, 1)}), "MET/S");
}

TEST_F(TimetableTest, UnreadableRulesFileIsAnError) {
  folder_.Write(
      kDstRulesFile,
      CompressSzdd(DstRules::Format({{58, 1, 2000, 2037, DstRule::None()}})).substr(0, 20));
  EXPECT_EQ(Zones("D", 1, {At(1997, 7, 1)}), "MET/S");  // the history does not need it
  EXPECT_NE(MalformedFileOf([&] { ZoneAt("D", 1, At(2005, 7, 1)); }).find(kDstRulesFile),
            std::string::npos);
}

TEST_F(TimetableTest, ZoneOfATimetableAtALocalDate) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  // Before 2000 the history decides; after it the rule of the last years,
  // also in the far future. No date has no zone.
  EXPECT_EQ(Zones("D", 1,
                  {At(1850, 1, 1), At(1997, 7, 1), At(1997, 3, 30, 1, 59), At(1997, 3, 30, 2),
                   At(2005, 7, 1), At(2005, 1, 15), At(2005, 3, 27, 1, 59), At(2005, 3, 27, 2),
                   At(2005, 10, 30, 2, 59), At(2005, 10, 30, 3), 1e300, -1e300, nan,
                   std::numeric_limits<double>::infinity()}),
            "LMT MET/S MET MET/S MET/S MET MET MET/S MET/S MET MET LMT none none");
  // Timetable 2 has no summer time in its last years; block 3 is empty.
  EXPECT_EQ(Zones("D", 2, {At(1997, 7, 1), At(2005, 7, 1)}) + " " + Zones("D", 3, {At(1997, 7, 1)}),
            "MET MET LMT");
  // Countries without timetables: block 1 of their section, else the base
  // zone (MEZ). Unknown countries and groups have none.
  EXPECT_EQ(Zones("DZ", 0, {At(1950, 1, 1), At(1900, 1, 1)}) + " " +
                Zones("A", 0, {At(1850, 1, 1), At(2020, 7, 1)}),
            "GMT LMT MET MET");
  EXPECT_EQ(Zones("Xanadu", 1, {At(1950, 1, 1)}) + " " + Zones("ATL", 1, {At(1950, 1, 1)}),
            "none none");
  EXPECT_EQ(GetRightTimeZone("A", 0) + " " + GetRightTimeZone("D", 1), "MEZ MET");
}

TEST_F(TimetableTest, ALaterReturnToLocalMeanTimeIsLocalMeanTime) {
  WriteTimetables(
      "ttx.dao",
      {{58, {{{At(1905, 1, 1), Zone("GMT")}, {At(1908, 7, 1), 0}, {At(1914, 1, 1), met_}}}}});
  EXPECT_EQ(Zones("D", 1, {At(1906, 1, 1), At(1910, 1, 1), At(1915, 1, 1)}), "GMT LMT MET");
}

TEST_F(TimetableTest, RulesFileDecidesLaterYears) {
  folder_.Write(kDstRulesFile,
                DstRules::Format({
                    {58, 1, 2000, 2010, DstRule::Rule({3, 5, 0, 120}, {10, 5, 0, 180})},
                    {58, 1, 2011, 2037, DstRule::None()},
                    {58, 2, 2000, 2037, DstRule::All()},
                }));
  // Summer time dropped in 2011, the nearest year's rule after 2037, and
  // summer time all year in timetable 2.
  EXPECT_EQ(Zones("D", 1, {At(2005, 7, 1), At(2012, 7, 1), At(2050, 7, 1)}) + " " +
                Zones("D", 2, {At(2020, 1, 1)}),
            "MET/S MET MET MET/S");
  EXPECT_EQ(GetDaylightSavingDate("D", 1, 2005, 0), At(2005, 3, 27, 2));
  EXPECT_EQ(GetDaylightSavingDate("D", 1, 2005, -1), At(2005, 10, 30, 3));
  EXPECT_EQ(GetDaylightSavingDate("D", 1, 2020, 0), 0.0);
}

TEST_F(TimetableTest, ChangesAfter1999DecideUntil2037ThenTheRules) {
  const std::int16_t gmt = Zone("GMT");
  const std::int16_t wet_s = Zone("WET/S");
  folder_.Write(
      kDstRulesFile,
      DstRules::Format({{58, 2, 2000, 2037, DstRule::Rule({3, 5, 0, 120}, {10, 5, 0, 180})}},
                       {{58, 2, At(2007, 12, 9, 3), gmt},
                        {58, 2, At(2008, 3, 30, 1), wet_s},
                        {58, 2, At(2008, 10, 26, 2), gmt},
                        {58, 2, At(2016, 5, 1, 2, 30), met_}}));
  // The zone of the end of 1999 goes on until a change of standard time; no
  // summer period was recorded in 2010. After 2037: the last standard zone
  // and the rule of the nearest year.
  EXPECT_EQ(Zones("D", 2,
                  {At(2005, 7, 1), At(2007, 12, 9, 2, 59), At(2007, 12, 9, 3), At(2008, 7, 1),
                   At(2010, 7, 1), At(2020, 7, 1), At(2040, 7, 1), At(2040, 1, 15)}),
            "MET MET GMT WET/S GMT MET MET/S MET");
  EXPECT_EQ(LocalTimeStatus("D", 2, At(2008, 3, 30, 1, 30)), LocalTimeKind::kSkipped);
  EXPECT_EQ(LocalTimeStatus("D", 2, At(2008, 10, 26, 1, 30)), LocalTimeKind::kRepeated);
  EXPECT_EQ(LocalTimeStatus("D", 2, At(2010, 3, 28, 1, 30)), LocalTimeKind::kNormal);
  // Timetable 1 has no changes: its rule from the history, as before.
  EXPECT_EQ(Zones("D", 1, {At(2005, 7, 1)}), "MET/S");
}

TEST_F(TimetableTest, ZonesFollowATimetableFileRewrittenOnDisk) {
  // Dated back as in an installed atlas, so that its image is kept.
  const auto install = [this] {
    std::filesystem::last_write_time(
        folder_.path() / "ttx.dao",
        std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
  };
  install();
  EXPECT_EQ(GetRightTimeZone("D", 2) + " " + Zones("D", 2, {At(1997, 7, 1)}), "MET MET");
  WriteTimetables("ttx.dao", {{58, {{}, {{At(1900, 1, 1), Zone("GMT")}}}}});
  install();
  EXPECT_EQ(GetRightTimeZone("D", 2) + " " + Zones("D", 2, {At(1997, 7, 1)}), "GMT GMT");
}

}  // namespace
}  // namespace tarv
