#include "atlas/zone_table_source.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <map>

#include "support/fault_text.h"
#include "support/zone_fixture.h"
#include "util/text.h"

namespace tarv {
namespace {

using ::testing::HasSubstr;

int Seconds(float hours) {
  return static_cast<int>(std::lround(static_cast<double>(hours) * 3600));
}

TEST(ProjectZoneTable, VariantsLieOneOrTwoHoursAboveTheirStandardZone) {
  const auto table = testing::ProjectZoneTable();
  std::map<std::string, int> offsets;
  for (const auto& z : table)
    offsets[Trim(z.TZShort)] = Seconds(z.TZDif);
  int checked = 0;
  for (const auto& z : table) {
    const std::string name = Trim(z.TZShort);
    const auto slash = name.find('/');
    if (slash == std::string::npos) {
      EXPECT_TRUE(z.TZType == 'N' || z.TZType == 'L') << name;
      continue;
    }
    const std::string base = name.substr(0, slash);
    const bool double_summer = name.substr(slash) == "/DS";
    EXPECT_EQ(z.TZType, double_summer ? 'D' : 'S') << name;
    const int base_offset = base == "WET" ? 0
                            : offsets.count(base)
                                ? offsets[base]
                                : Seconds(z.TZDif) - (double_summer ? 7200 : 3600);
    EXPECT_EQ(Seconds(z.TZDif) - base_offset, double_summer ? 7200 : 3600) << name;
    ++checked;
  }
  EXPECT_GT(checked, 80);
}

TEST(ProjectZoneTable, SortIndexOrdersByOffset) {
  const auto table = testing::ProjectZoneTable();
  std::vector<const ZoneRecord*> by_sort(kZoneCount, nullptr);
  for (const auto& z : table) {
    ASSERT_EQ(by_sort[static_cast<std::size_t>(z.TZSortIndex)], nullptr) << "sort index repeated";
    by_sort[static_cast<std::size_t>(z.TZSortIndex)] = &z;
  }
  for (std::size_t i = 2; i < kZoneCount; ++i)
    EXPECT_LE(by_sort[i - 1]->TZDif, by_sort[i]->TZDif);
}

TEST(ZoneTableSource, OffsetTexts) {
  int s = 0;
  for (const auto& [text, seconds] :
       {std::pair("+0:19:32", 1172), std::pair("-3:30", -12600), std::pair("+14:00", 50400)}) {
    EXPECT_TRUE(ParseUtcOffset(text, s)) << text;
    EXPECT_EQ(s, seconds);
  }
  for (const char* bad :
       {"", "1:00", "+1", "+1:0", "+1:60", "+16:00", "+1:00:5", "+a:00", "+1:00:00:00"})
    EXPECT_FALSE(ParseUtcOffset(bad, s)) << bad;
}

TEST(ZoneTableSource, RefusesMalformedLinesWithTheirNumber) {
  const std::string header =
      "# comment\nindex\tabbreviation\tname\toffset\tkind\tsort\textra\tshow\n";
  const std::string lmt = "0\tLMT\tA\t+0:00\tL\t0\t-1\t1\n";
  const std::pair<std::string, std::string> cases[] = {
      {"0\tLMT\tLocal\t+0:00\tL\t0\t-1\n", "line 3: 7 columns"},
      {"1\tLMT\tLocal\t+0:00\tL\t0\t-1\t1\n", "index 1 out of order"},
      {"0\tLMT\tLocal\t0:00\tL\t0\t-1\t1\n", "malformed offset"},
      {"0\tLMT\tLocal\t+0:00\tX\t0\t-1\t1\n", "kind"},
      {"0\tTHIRTEENCHARS\tLocal\t+0:00\tL\t0\t-1\t1\n", "too long"},
      {lmt + "1\tLMT\tB\t+0:00\tN\t1\t-1\t1\n", "repeated"},
      {lmt, "1 entries where 287"}};
  for (const auto& [lines, why] : cases)
    EXPECT_THAT(FaultText(ParseZoneTableSource(header + lines, "zones.tsv")), HasSubstr(why))
        << lines;
}

}  // namespace
}  // namespace tarv
