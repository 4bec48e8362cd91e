#include "atlas/timetable.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
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
  std::string ZoneName(const std::string& code, std::int16_t timetable, double date) {
    const auto zone = ZoneAt(code, timetable, date);
    return zone ? Trim(zone->zone.TZShort) : "none";
  }
  std::int16_t met_ = 0;
  std::int16_t met_s_ = 0;
};

TEST(TimetableConstants, SerialsOfTheirDates) {
  EXPECT_EQ(kSerial1700, SerialOfDate(1700, 1, 1));
  EXPECT_EQ(kSerial1999, SerialOfDate(1999, 1, 1));
  EXPECT_EQ(kSerial2000, SerialOfDate(2000, 1, 1));
  EXPECT_EQ(kSmallestSerial, SerialOfDate(100, 1, 1));
}

TEST_F(TimetableTest, BlockOfACountrySectionAfterThe1700Entry) {
  const auto entries = Read(58, 2);
  ASSERT_EQ(entries.size(), 2U);
  EXPECT_EQ(entries[0], (TimetableRecord{kSerial1700, 0}));
  EXPECT_EQ(entries[1], (TimetableRecord{At(1900, 1, 1), met_}));
  EXPECT_EQ(Read(58, 1).size(), 10U);
  EXPECT_EQ(Read(200, 1, kSerial2000, true).size(), 2U);  // the US file
  EXPECT_EQ(Read(200, 1).size(), 1U);                     // not in ttx.dao
}

TEST_F(TimetableTest, AbsentOrEmptyBlockGivesOnlyThe1700Entry) {
  EXPECT_EQ(Read(58, 3).size(), 1U);
  EXPECT_EQ(Read(58, 9).size(), 1U);
  EXPECT_EQ(Read(77, 1).size(), 1U);
}

TEST_F(TimetableTest, ReferenceDatesAroundTheEndsOfTheFiles) {
  std::vector<TimetableRecord> entries;
  EXPECT_EQ(Read_Cp_TimeTable("", 58, kSerial2000 + 0.001, 1, entries, false), 0);
  EXPECT_EQ(entries.size(), 1U);
  EXPECT_EQ(Read_Cp_TimeTable("", 58, kSerial2000, 1, entries, false), 10);
  EXPECT_EQ(Read_Cp_TimeTable("", 58, kSmallestSerial - 1, 1, entries, false), 1);
  EXPECT_EQ(entries, (std::vector<TimetableRecord>{{kSerial1700, 0}}));
}

TEST_F(TimetableTest, CodesForTheLastThreeZones) {
  WriteTimetables("ttx.dao", {{58, {{{1.0, 138}, {2.0, 139}, {3.0, 140}, {4.0, 137}}}}});
  const auto entries = Read(58, 1);
  ASSERT_EQ(entries.size(), 5U);
  EXPECT_EQ(entries[1].Zone, 284);
  EXPECT_EQ(entries[2].Zone, 285);
  EXPECT_EQ(entries[3].Zone, 286);
  EXPECT_EQ(entries[4].Zone, 137);
}

TEST_F(TimetableTest, FranceMovesMayEntriesAfter1975FourMonthsLater) {
  WriteTimetables("ttx.dao", {{40, {{{At(1975, 5, 10, 2), met_}, {At(1976, 5, 10, 2), met_}}}}});
  const auto entries = Read(40, 1);
  EXPECT_EQ(entries[1].Datum, At(1975, 5, 10, 2));
  EXPECT_EQ(entries[2].Datum, At(1976, 9, 10, 2));
}

TEST_F(TimetableTest, ZonesOutsideTheTableAreAnError) {
  WriteTimetables("ttx.dao", {{58, {{{1.0, 500}}}}});
  EXPECT_NE(MalformedFileOf([&] {
              Read(58, 1);
            }).find("country 58, timetable 1, entry 2: zone 500 is not in the zone table"),
            std::string::npos);
}

TEST_F(TimetableTest, HostileFilesDoNotCrash) {
  folder_.Write("ttx.dao", CompressSzdd(std::string(103, '\x7F')));  // no markers, partial record
  EXPECT_NE(MalformedFileOf([&] { EXPECT_EQ(Read(58, 1).size(), 1U); }), "");
  std::string section_only;
  AppendFloat64(section_only, -kSectionMarkerStep * 58);
  AppendInt16(section_only, 0);
  AppendFloat64(section_only, -kBlockMarkerStep);
  AppendInt16(section_only, 0);
  for (int i = 0; i < 50; ++i) {
    AppendFloat64(section_only, i % 2 ? std::numeric_limits<double>::quiet_NaN() : 1e300);
    AppendInt16(section_only, static_cast<std::int16_t>(met_));
  }
  folder_.Write("ttx.dao", CompressSzdd(section_only));  // a section that never ends, of no dates
  EXPECT_EQ(MalformedFileOf([&] { Read(58, 1); }),
            folder_.str() + "\\ttx.dao: country 58, timetable 1, entry 2: " +
                std::to_string(1e300) + " is not a date");
  EXPECT_NE(MalformedFileOf([&] { ZoneAt("D", 1, At(1950, 1, 1)); }), "");
}

TEST_F(TimetableTest, DamagedStructureIsAFaultNotLocalMeanTime) {
  const std::string good = EncodeTimetableFile({{58, {{{At(1900, 1, 1), met_}}}}});
  auto fault_of = [&](const std::string& bytes) {
    folder_.Write("ttx.dao", CompressSzdd(bytes));
    return MalformedFileOf([&] { Read(58, 1); });
  };
  EXPECT_NE(fault_of("").find("ttx.dao: holds no timetables"), std::string::npos);
  EXPECT_NE(fault_of(good + "x").find("1 bytes after the last whole record"), std::string::npos);
  std::string marker;
  AppendFloat64(marker, -1e300);  // beyond any country number
  AppendInt16(marker, 0);
  EXPECT_NE(fault_of(marker + good).find("record 1: "), std::string::npos);
  EXPECT_NE(fault_of(good.substr(10)).find("does not begin with a country's section"),
            std::string::npos);
  EXPECT_NE(fault_of(good + good).find("a second section of country 58"), std::string::npos);
  // Germany has timetables: a file without its section is another file.
  EXPECT_NE(fault_of(EncodeTimetableFile({{40, {{}}}})).find("no section of country 58"),
            std::string::npos);
  EXPECT_EQ(fault_of(good), "");
  // The builder always compresses it: a plain one is not the atlas's.
  folder_.Write("ttx.dao", good);
  ClearAtlasFault();
  Read(58, 1);
  EXPECT_EQ(LastAtlasFault().File, folder_.str() + "\\ttx.dao");
  EXPECT_EQ(LastAtlasFault().Code, LZERROR_READ);
}

TEST_F(TimetableTest, EntriesTheHostsDateTypeCannotHoldAreAnError) {
  // Such an entry would be compared as a date and quietly decide the zone.
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const double bad : {nan, 1.7e13, kLargestSerial, kSmallestSerial - 1}) {
    WriteTimetables("ttx.dao",
                    {{58, {{}, {{At(1893, 4, 1), met_}, {At(1950, 1, 1), met_}, {bad, met_s_}}}}});
    EXPECT_NE(MalformedFileOf([&] { ZoneName("D", 2, At(1997, 7, 1)); }), "") << bad;
    EXPECT_NE(MalformedFileOf([&] { GetDaylightSavingDate("D", 2, 2005, 0); }), "") << bad;
    EXPECT_EQ(MalformedFileOf([&] { Read(58, 2); }).substr(0, folder_.str().size() + 44),
              folder_.str() + "\\ttx.dao: country 58, timetable 2, entry 4: ")
        << bad;
  }
  // The ends of the range are dates; so is a date of 1700 or before.
  WriteTimetables("ttx.dao", {{58, {{{kSmallestSerial, met_}, {kLargestSerial - 0.5, met_}}}}});
  EXPECT_EQ(Read(58, 1).size(), 3U);
}

TEST_F(TimetableTest, ZoneBefore2000ComesFromTheHistory) {
  EXPECT_EQ(ZoneName("D", 1, At(1850, 1, 1)), "LMT");
  EXPECT_EQ(ZoneName("D", 1, At(1997, 7, 1)), "MET/S");
  EXPECT_EQ(ZoneName("D", 1, At(1997, 3, 30, 1, 59)), "MET");
  EXPECT_EQ(ZoneName("D", 1, At(1997, 3, 30, 2)), "MET/S");
  EXPECT_EQ(ZoneName("D", 2, At(1997, 7, 1)), "MET");
  EXPECT_EQ(ZoneName("D", 3, At(1997, 7, 1)), "LMT");  // the block is empty
}

TEST_F(TimetableTest, ZoneAfter2000UsesTheRuleOfTheLastYears) {
  EXPECT_EQ(ZoneName("D", 1, At(2005, 7, 1)), "MET/S");
  EXPECT_EQ(ZoneName("D", 1, At(2005, 1, 15)), "MET");
  EXPECT_EQ(ZoneName("D", 1, At(2005, 3, 27, 1, 59)), "MET");
  EXPECT_EQ(ZoneName("D", 1, At(2005, 3, 27, 2)), "MET/S");
  EXPECT_EQ(ZoneName("D", 1, At(2005, 10, 30, 2, 59)), "MET/S");
  EXPECT_EQ(ZoneName("D", 1, At(2005, 10, 30, 3)), "MET");
  EXPECT_EQ(ZoneName("D", 2, At(2005, 7, 1)), "MET");  // no summer time in its last years
}

TEST_F(TimetableTest, RulesFileDecidesLaterYears) {
  folder_.Write(kDstRulesFile,
                DstRules::Format({
                    {58, 1, 2000, 2010, DstRule::Rule({3, 5, 0, 120}, {10, 5, 0, 180})},
                    {58, 1, 2011, 2037, DstRule::None()},
                    {58, 2, 2000, 2037, DstRule::All()},
                }));
  EXPECT_EQ(ZoneName("D", 1, At(2005, 7, 1)), "MET/S");
  EXPECT_EQ(ZoneName("D", 1, At(2012, 7, 1)), "MET");    // summer time dropped
  EXPECT_EQ(ZoneName("D", 1, At(2050, 7, 1)), "MET");    // the nearest year's rule
  EXPECT_EQ(ZoneName("D", 2, At(2020, 1, 1)), "MET/S");  // summer time all year
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
  EXPECT_EQ(ZoneName("D", 2, At(2005, 7, 1)), "MET");  // the zone of the end of 1999 goes on
  EXPECT_EQ(ZoneName("D", 2, At(2007, 12, 9, 2, 59)), "MET");
  EXPECT_EQ(ZoneName("D", 2, At(2007, 12, 9, 3)), "GMT");  // a change of standard time
  EXPECT_EQ(ZoneName("D", 2, At(2008, 7, 1)), "WET/S");
  EXPECT_EQ(ZoneName("D", 2, At(2010, 7, 1)), "GMT");  // no summer period recorded then
  EXPECT_EQ(ZoneName("D", 2, At(2020, 7, 1)), "MET");
  // After 2037: the last standard zone and the rule of the nearest year.
  EXPECT_EQ(ZoneName("D", 2, At(2040, 7, 1)), "MET/S");
  EXPECT_EQ(ZoneName("D", 2, At(2040, 1, 15)), "MET");
  EXPECT_EQ(LocalTimeStatus("D", 2, At(2008, 3, 30, 1, 30)), LocalTimeKind::kSkipped);
  EXPECT_EQ(LocalTimeStatus("D", 2, At(2008, 10, 26, 1, 30)), LocalTimeKind::kRepeated);
  EXPECT_EQ(LocalTimeStatus("D", 2, At(2010, 3, 28, 1, 30)), LocalTimeKind::kNormal);
  // Timetable 1 has no changes: its rule from the history, as before.
  EXPECT_EQ(ZoneName("D", 1, At(2005, 7, 1)), "MET/S");
}

TEST_F(TimetableTest, ALaterReturnToLocalMeanTimeIsLocalMeanTime) {
  WriteTimetables(
      "ttx.dao",
      {{58, {{{At(1905, 1, 1), Zone("GMT")}, {At(1908, 7, 1), 0}, {At(1914, 1, 1), met_}}}}});
  EXPECT_EQ(ZoneName("D", 1, At(1906, 1, 1)), "GMT");
  EXPECT_EQ(ZoneName("D", 1, At(1910, 1, 1)), "LMT");
  EXPECT_EQ(ZoneName("D", 1, At(1915, 1, 1)), "MET");
}

TEST_F(TimetableTest, DefaultHistoryOfACountryWithoutTimetables) {
  EXPECT_EQ(ZoneName("DZ", 0, At(1950, 1, 1)), "GMT");  // block 1 of its section
  EXPECT_EQ(ZoneName("DZ", 0, At(1900, 1, 1)), "LMT");
  EXPECT_EQ(ZoneName("A", 0, At(1850, 1, 1)), "MET");  // no section: the base zone (MEZ)
  EXPECT_EQ(ZoneName("A", 0, At(2020, 7, 1)), "MET");
  EXPECT_EQ(GetRightTimeZone("A", 0), "MEZ");
  EXPECT_EQ(GetRightTimeZone("D", 1), "MET");
}

TEST_F(TimetableTest, ZonesFollowATimetableFileRewrittenOnDisk) {
  // Dated back as in an installed atlas, so that its image is kept.
  const auto install = [this] {
    std::filesystem::last_write_time(
        folder_.path() / "ttx.dao",
        std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
  };
  install();
  EXPECT_EQ(GetRightTimeZone("D", 2), "MET");
  EXPECT_EQ(ZoneName("D", 2, At(1997, 7, 1)), "MET");
  WriteTimetables("ttx.dao", {{58, {{}, {{At(1900, 1, 1), Zone("GMT")}}}}});
  install();
  EXPECT_EQ(GetRightTimeZone("D", 2), "GMT");
  EXPECT_EQ(ZoneName("D", 2, At(1997, 7, 1)), "GMT");
}

// ---------------------------------------------------------------------------
// A timetable file that cannot be read is never a history of local mean time.

class DamagedTimetableTest : public TimetableTest {
 protected:
  // Expects the timetable file to fail every reader with `code`.
  void ExpectUnreadable(std::int32_t code) {
    std::vector<TimetableRecord> entries;
    std::int32_t error = 0;
    EXPECT_EQ(Read_Cp_TimeTable("", 58, kSerial2000, 1, entries, false, "", &error), 1);
    EXPECT_EQ(error, code);
    EXPECT_TRUE(messages_.empty());  // the interfaces tell the fault
    EXPECT_EQ(LastAtlasFaultReader(), "Read_Cp_TimeTable");
    EXPECT_EQ(LastAtlasFault().Reason, LZERROR_Msg(code, ""));
    EXPECT_EQ(LastAtlasFault().File, folder_.str() + "\\ttx.dao");
    EXPECT_EQ(LastAtlasFault().Code, code);
    EXPECT_EQ(ZoneName("D", 1, At(1997, 7, 1)), "none");
    EXPECT_EQ(ZoneName("D", 1, At(2005, 7, 1)), "none");
    // A country without timetables reads block 1 of its section, else takes
    // its base zone: with the file unreadable it has neither.
    EXPECT_EQ(ZoneName("A", 0, At(1997, 7, 1)), "none");
    EXPECT_EQ(GetRightTimeZone("D", 1), "");
    EXPECT_EQ(GetDaylightSavingDate("D", 1, 2005, 0), 0.0);
    // The USA's file is another file.
    EXPECT_EQ(ZoneName("USCA", 1, At(1950, 1, 1)), "PST");
  }
  std::string Compressed() {
    return CompressSzdd(EncodeTimetableFile(
        {{3, {{{At(1911, 3, 11), Zone("GMT")}}}}, {58, {CentralEuropeanHistory(met_, met_s_)}}}));
  }
};

TEST_F(DamagedTimetableTest, TruncatedLyingOrOfAnUnknownMode) {
  const std::string whole = Compressed();
  std::string lying = whole;
  lying[12] = '\x01';  // 65,536 bytes more than the data holds
  std::string other = whole;
  other[8] = 'B';
  const std::pair<std::string, std::int32_t> cases[] = {
      {whole.substr(0, whole.size() - 3), LZERROR_READ},
      {lying, LZERROR_READ},
      {other, LZERROR_UNKNOWNALG}};
  for (const auto& [bytes, code] : cases) {
    messages_.clear();
    ClearAtlasFault();
    folder_.Write("ttx.dao", bytes);
    ExpectUnreadable(code);
  }
}

TEST_F(DamagedTimetableTest, FaultOfOneCallIsNotKeptForTheNext) {
  const std::string whole = Compressed();
  folder_.Write("ttx.dao", whole.substr(0, 20));
  {
    WatchedFolder user(folder_.str() + "\\USER", NativePath);
    const StatScope one_call(user);
    const FaultScope fault;
    for (int i = 0; i < 3; ++i)
      EXPECT_EQ(ZoneName("D", static_cast<std::int16_t>(i + 1), At(1997, 7, 1)), "none");
    EXPECT_EQ(LastAtlasFault().Code, LZERROR_READ);
  }
  folder_.Write("ttx.dao", whole);
  ForgetExpandedImage(folder_.str() + "\\ttx.dao");
  EXPECT_EQ(ZoneName("D", 1, At(1997, 7, 1)), "MET/S");
}

TEST_F(DamagedTimetableTest, UnreadableRulesFileIsAnError) {
  folder_.Write(
      kDstRulesFile,
      CompressSzdd(DstRules::Format({{58, 1, 2000, 2037, DstRule::None()}})).substr(0, 20));
  EXPECT_EQ(ZoneName("D", 1, At(1997, 7, 1)), "MET/S");  // the history does not need it
  EXPECT_NE(MalformedFileOf([&] { ZoneAt("D", 1, At(2005, 7, 1)); }).find(kDstRulesFile),
            std::string::npos);
}

TEST_F(TimetableTest, UnknownCountriesGroupsAndOddDatesHaveNoZone) {
  EXPECT_EQ(ZoneName("Xanadu", 1, At(1950, 1, 1)), "none");
  EXPECT_EQ(ZoneName("ATL", 1, At(1950, 1, 1)), "none");  // a group line
  EXPECT_EQ(ZoneName("D", 1, std::numeric_limits<double>::quiet_NaN()), "none");
  EXPECT_EQ(ZoneName("D", 1, std::numeric_limits<double>::infinity()), "none");
  EXPECT_EQ(ZoneName("D", 1, 1e300), "MET");  // far future: the rule of the last years
  EXPECT_EQ(ZoneName("D", 1, -1e300), "LMT");
}

}  // namespace
}  // namespace tarv
