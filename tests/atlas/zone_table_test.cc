#include "atlas/zone_table.h"

#include <gtest/gtest.h>

#include <limits>
#include <tuple>

#include "atlas/atlas_state.h"
#include "support/fault_text.h"
#include "support/temp_folder.h"
#include "support/zone_fixture.h"
#include "text/bytes.h"
#include "util/text.h"

namespace tarv {
namespace {

using testing::ProjectZoneFile;
using testing::ProjectZoneTable;

class ZoneTableTest : public testing::AtlasTest {
 protected:
  void SetUp() override {
    AtlasTest::SetUp();
    folder_.Write("Zones13.bin", ProjectZoneFile());
    CurrentAtlas().places_path = folder_.str();
  }
  std::int16_t Id(const std::string& abbreviation) {
    InitializeTimeZones("", "Zones13.bin");
    return GetTimezoneId(abbreviation);
  }
  std::string ShortOf(std::int16_t id) {
    return Trim(CurrentAtlas().zones.at(static_cast<std::size_t>(id)).TZShort);
  }
};

TEST(ZoneFile, FieldsSitAtTheirByteOffsetsLittleEndian) {
  std::vector<ZoneRecord> table(kZoneCount);
  table[1].TZShort = "MET/S";
  table[1].TZName = "Middle European Summer Time";
  table[1].TZDif = 2.0F;
  table[1].TZType = 'S';
  table[1].TZSortIndex = 0x0102;
  table[1].TZExtra = -2;
  table[1].TZShow = 200;
  const std::string bytes = EncodeZoneFile(table);
  ASSERT_EQ(bytes.size(), kZoneFileSize);
  const std::string_view r = std::string_view(bytes).substr(kZoneRecordSize, kZoneRecordSize);
  EXPECT_EQ(std::tuple(r.substr(0, 12), r.substr(12, 27), r[56]),
            std::tuple("MET/S       ", "Middle European Summer Time", ' '));
  EXPECT_EQ(r.substr(57, 4), std::string("\x00\x00\x00\x40", 4));  // 2.0f
  EXPECT_EQ(std::tuple(r[61], r.substr(62, 2), r.substr(64, 2), static_cast<unsigned char>(r[66])),
            std::tuple('S', "\x02\x01", "\xFE\xFF", 200));
  const auto back = DecodeZoneFile(bytes);
  EXPECT_EQ(std::tuple(back[1].TZShort, back[1].TZDif, back[1].TZExtra, back[1].TZShow),
            std::tuple("MET/S       ", 2.0F, -2, 200));
  EXPECT_THROW(EncodeZoneFile(std::vector<ZoneRecord>(286)), std::invalid_argument);
}

TEST(ZoneFile, WholeRecordsOfAShortFileAreKeptBytesPastTheTableIgnored) {
  const std::string full = ProjectZoneFile();
  const auto table = DecodeZoneFile(std::string_view(full).substr(0, 3 * kZoneRecordSize + 10));
  ASSERT_EQ(table.size(), kZoneCount);
  // The partial record stays blank.
  EXPECT_EQ(std::tuple(Trim(table[2].TZShort), table[3].TZShort, table[3].TZDif, table[286].TZType),
            std::tuple("MET", std::string(12, ' '), 0.0F, ' '));
  EXPECT_EQ(Trim(DecodeZoneFile(full + "trailing garbage")[286].TZShort), "MET/DS");
}

TEST_F(ZoneTableTest, MissingFileLeavesOneBlankEntryTheLoadingCallReturnsFalse) {
  EXPECT_FALSE(InitializeTimeZones("", "Nope.bin"));
  EXPECT_FALSE(CurrentAtlas().zones_loaded);
  ASSERT_EQ(CurrentAtlas().zones.size(), 1U);
  EXPECT_EQ(ZoneLine(CurrentAtlas().zones[0]),
            std::string(12, ' ') + "\t" + std::string(45, ' ') + "\t0\t \t0\t0\t0");
  EXPECT_EQ(GetTimezoneId("MET"), 0);
  EXPECT_FALSE(InitializeTimeZones("", "Zones13.bin"));
  EXPECT_TRUE(CurrentAtlas().zones_loaded);
  EXPECT_TRUE(InitializeTimeZones("", "Zones13.bin"));
  EXPECT_EQ(CurrentAtlas().zones.size(), kZoneCount);
}

TEST_F(ZoneTableTest, DamagedFileIsAFaultAndLoadsNothing) {
  // A zone "" with offset 0 from a damaged file would be a silent wrong answer.
  const std::string good = ProjectZoneFile();
  std::string nan;
  AppendFloat32(nan, std::numeric_limits<float>::quiet_NaN());
  std::string nan_offset = good;
  nan_offset.replace(5 * kZoneRecordSize + 57, 4, nan);
  std::string no_kind = good;
  no_kind[7 * kZoneRecordSize + 61] = 'X';
  for (const auto& [bytes, why] :
       std::vector<std::pair<std::string, std::string>>{{"", "0 bytes where a zone file has 19229"},
                                                        {good.substr(0, 1000), "1000 bytes"},
                                                        {good + "x", "19230 bytes"},
                                                        {nan_offset, "entry 5: offset nan"},
                                                        {no_kind, "entry 7: kind 88"}}) {
    folder_.Write("Zones13.bin", bytes);
    const std::string fault =
        MalformedFileOf([] { EXPECT_FALSE(InitializeTimeZones("", "Zones13.bin")); });
    EXPECT_NE(fault.find("Zones13.bin: " + why), std::string::npos) << fault;
    EXPECT_FALSE(CurrentAtlas().zones_loaded);
  }
  folder_.Write("Zones13.bin", good);
  EXPECT_EQ(MalformedFileOf([] { InitializeTimeZones("", "Zones13.bin"); }), "");
}

TEST_F(ZoneTableTest, AbbreviationsIgnoreBlanksAndCaseAndTemplatesBuildSummerForms) {
  const auto met = Id("MET");
  ASSERT_NE(met, 0);
  EXPECT_EQ(std::tuple(Id(" m e z "), Id("cet"), Id("NOSUCHZONE"), Id(""), Id("LMT")),
            std::tuple(met, met, 0, 0, 0));
  EXPECT_EQ(std::tuple(ResolveZoneAlias("EED"), ResolveZoneAlias("NZD"), ResolveZoneAlias("WE2")),
            std::tuple("EET/S", "NZT/S", "WET/DS"));
  EXPECT_EQ(
      std::tuple(ShortOf(Id("met/s")), ShortOf(Id("me2")), ShortOf(Id("mes")), ShortOf(Id("WEZ"))),
      std::tuple("MET/S", "MET/DS", "MET/S", "GMT"));
}

// An entry hidden behind an alias of another zone could never be found.
TEST_F(ZoneTableTest, AliasesAndEntriesNeverHideOneAnother) {
  for (const auto& alias : ZoneAliasNames()) {
    const std::string target = ResolveZoneAlias(alias);
    ASSERT_FALSE(target.empty()) << alias;
    EXPECT_TRUE(ResolveZoneAlias(target).empty() || ResolveZoneAlias(target) == target)
        << alias << " -> " << target << " is itself an alias";
    EXPECT_EQ(ShortOf(Id(alias)), target) << alias;
  }
  for (const auto& zone : CurrentAtlas().zones) {
    const std::string name = Trim(zone.TZShort);
    const std::string target = ResolveZoneAlias(name);
    EXPECT_TRUE(target.empty() || target == name) << name;
  }
}

TEST_F(ZoneTableTest, LinesKeepFieldPaddingAndZoneZeroTakesTheCallersZoneTime) {
  EXPECT_EQ(GetTimeZoneListString(Id("IST")),
            "IST         \tIndia Standard Time" + std::string(26, ' ') + "\t5.5\tN\t210\t-1\t1");
  GetTimeZoneListString(0, 1.5);
  EXPECT_EQ(CurrentAtlas().zones[0].TZDif, 1.5F);
  EXPECT_EQ(GetTimeZoneListString(5).substr(0, 4), "AST ");  // other zones keep theirs
  EXPECT_EQ(CurrentAtlas().zones[0].TZDif, 1.5F);
  EXPECT_NE(GetTimeZoneListString(0).find("\t0\tL\t"), std::string::npos);
  EXPECT_EQ(GetTimeZoneListString(287) + GetTimeZoneListString(-1), "");
}

}  // namespace
}  // namespace tarv
