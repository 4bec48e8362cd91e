#include "atlas/zone_table_source.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <set>

#include "support/fault_text.h"
#include "support/zone_fixture.h"
#include "util/text.h"

namespace tarv {
namespace {

int Seconds(float hours) {
  return static_cast<int>(std::lround(static_cast<double>(hours) * 3600));
}

TEST(ProjectZoneTable, HoldsLocalMeanTimeFirstAndFitsItsFields) {
  const auto table = testing::ProjectZoneTable();
  ASSERT_EQ(table.size(), kZoneCount);
  EXPECT_EQ(Trim(table[0].TZShort), "LMT");
  EXPECT_EQ(table[0].TZDif, 0.0F);
  EXPECT_EQ(table[0].TZType, 'L');
  for (const auto& z : table) {
    EXPECT_EQ(z.TZShort.size(), kZoneShortWidth);
    EXPECT_EQ(z.TZName.size(), kZoneNameWidth);
    EXPECT_FALSE(Trim(z.TZName).empty()) << z.TZShort;
  }
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

TEST(ProjectZoneTable, NamesTheCanonicalFormsHostsAskFor) {
  const auto table = testing::ProjectZoneTable();
  std::set<std::string> names;
  for (const auto& z : table)
    names.insert(Trim(z.TZShort));
  for (const char* name : {"AHST", "AHDT", "AHDT/S", "AST/S", "ACST/S", "HDT/S", "IST/S", "JVT/S",
                           "MET/S", "WET/S", "Z11/S", "GMT", "MET", "EET", "MSK"}) {
    EXPECT_TRUE(names.count(name)) << name;
  }
}

TEST(ZoneTableSource, OffsetTexts) {
  int s = 0;
  EXPECT_TRUE(ParseUtcOffset("+0:19:32", s));
  EXPECT_EQ(s, 1172);
  EXPECT_TRUE(ParseUtcOffset("-3:30", s));
  EXPECT_EQ(s, -12600);
  EXPECT_TRUE(ParseUtcOffset("+14:00", s));
  EXPECT_EQ(s, 50400);
  for (const char* bad :
       {"", "1:00", "+1", "+1:0", "+1:60", "+16:00", "+1:00:5", "+a:00", "+1:00:00:00"}) {
    EXPECT_FALSE(ParseUtcOffset(bad, s)) << bad;
  }
}

std::string ErrorOf(const std::string& text) {
  return FaultText(ParseZoneTableSource(text, "zones.tsv"));
}

TEST(ZoneTableSource, RefusesMalformedLinesWithTheirNumber) {
  const std::string header =
      "# comment\nindex\tabbreviation\tname\toffset\tkind\tsort\textra\tshow\n";
  EXPECT_NE(ErrorOf(header + "0\tLMT\tLocal\t+0:00\tL\t0\t-1\n").find("line 3: 7 columns"),
            std::string::npos);
  EXPECT_NE(ErrorOf(header + "1\tLMT\tLocal\t+0:00\tL\t0\t-1\t1\n").find("index 1 out of order"),
            std::string::npos);
  EXPECT_NE(ErrorOf(header + "0\tLMT\tLocal\t0:00\tL\t0\t-1\t1\n").find("malformed offset"),
            std::string::npos);
  EXPECT_NE(ErrorOf(header + "0\tLMT\tLocal\t+0:00\tX\t0\t-1\t1\n").find("kind"),
            std::string::npos);
  EXPECT_NE(ErrorOf(header + "0\tTHIRTEENCHARS\tLocal\t+0:00\tL\t0\t-1\t1\n").find("too long"),
            std::string::npos);
  EXPECT_NE(ErrorOf(header + "0\tLMT\tA\t+0:00\tL\t0\t-1\t1\n1\tLMT\tB\t+0:00\tN\t1\t-1\t1\n")
                .find("repeated"),
            std::string::npos);
  EXPECT_NE(ErrorOf(header + "0\tLMT\tA\t+0:00\tL\t0\t-1\t1\n").find("1 entries where 287"),
            std::string::npos);
}

}  // namespace
}  // namespace tarv
