// The builder's timetables: how long two zone histories disagree, which
// decides the histories a country keeps, and the files the timetables go to.
#include "atlas/timetable_files.h"

#include <gtest/gtest.h>

#include "support/temp_folder.h"
#include "text/lz.h"
#include "util/serial_date.h"

namespace tarv::atlas {
namespace {

// Entries 1 and 3 share their offset under different names.
std::vector<ZoneRecord> Table() {
  std::vector<ZoneRecord> table(4);
  table[0].TZType = 'L';
  table[1].TZDif = 1.0F;
  table[2].TZDif = 2.0F;
  table[3].TZDif = 1.0F;
  return table;
}

TEST(BuilderTimetableFiles, DaysApartCountsTheDaysOffsetsDiffer) {
  const auto table = Table();
  const HistoryKey cet = {{kSerial1700, 1}};
  EXPECT_EQ(DaysApart(cet, cet, table), 0.0);
  // Another entry of the same offset is no difference.
  EXPECT_EQ(DaysApart(cet, {{kSerial1700, 3}}, table), 0.0);
  // A year of two hours, 2000 being a leap year; symmetric.
  const HistoryKey year_2000 = {
      {kSerial1700, 1}, {SerialOfDate(2000, 1, 1), 2}, {SerialOfDate(2001, 1, 1), 1}};
  EXPECT_DOUBLE_EQ(DaysApart(cet, year_2000, table), 366.0);
  EXPECT_DOUBLE_EQ(DaysApart(year_2000, cet, table), 366.0);
  // Local mean time is an offset of its own, before 1900 too: the 19th
  // century has 36,524 days.
  const HistoryKey mean_time_1800s = {
      {kSerial1700, 1}, {SerialOfDate(1800, 1, 1), 0}, {SerialOfDate(1900, 1, 1), 1}};
  EXPECT_DOUBLE_EQ(DaysApart(cet, mean_time_1800s, table), 36524.0);
  // Nothing after 2037 counts: July to December 2037 has 184 days.
  const HistoryKey from_mid_2037 = {{kSerial1700, 1}, {SerialOfDate(2037, 7, 1), 2}};
  EXPECT_DOUBLE_EQ(DaysApart(cet, from_mid_2037, table), 184.0);
}

TEST(BuilderTimetableFiles, TheLastThreeZonesAreWrittenAsTheirCodesAndStatesApart) {
  constexpr std::size_t kTableSize = 287;
  CountryTimetables germany;
  germany.blocks = {{{kSerial1700, 0}, {-2000.0, 286}, {-1000.0, 285}},
                    {{kSerial1700, 284}, {-500.0, 283}}};
  CountryTimetables ohio;
  ohio.blocks = {{{kSerial1700, 0}, {-3000.0, 12}}};
  CountryPlan d;
  d.id = 5;
  CountryPlan usoh;
  usoh.id = 9;
  usoh.usa = true;

  TimetableFiles files;
  files.Add(d, germany, kTableSize);
  files.Add(usoh, ohio, kTableSize);
  EXPECT_EQ(files.timetables(), 3U);
  EXPECT_EQ(files.entries(), 7U);

  testing::TempFolder folder;
  files.Write(folder.path());
  const std::vector<TimetableSection> ttx = {
      {5,
       {{{kSerial1700, 0}, {-2000.0, 140}, {-1000.0, 139}}, {{kSerial1700, 138}, {-500.0, 283}}}}};
  const std::vector<TimetableSection> ttusa = {{9, {{{kSerial1700, 0}, {-3000.0, 12}}}}};
  for (const auto& [file, sections] : {std::pair{"ttx.dao", ttx}, {"TTUSA.dao", ttusa}}) {
    std::int32_t error = 0;
    const auto image = ExpandedImage((folder.path() / file).string(), error, Packing::kSzdd);
    ASSERT_TRUE(image) << file << " " << error;
    EXPECT_EQ(*image, EncodeTimetableFile(sections)) << file;
  }
}

}  // namespace
}  // namespace tarv::atlas
