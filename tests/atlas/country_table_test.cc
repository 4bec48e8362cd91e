#include "atlas/country_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "atlas/atlas_state.h"
#include "support/country_fixture.h"
#include "support/fault_text.h"
#include "support/temp_folder.h"

namespace tarv {
namespace {

using testing::CountryDatLine;
using ::testing::HasSubstr;
using testing::JoinCrLf;
using testing::SampleCountryLines;

class CountryTableTest : public testing::AtlasTest {
 protected:
  void SetUp() override {
    AtlasTest::SetUp();
    folder_.Write("Country.dat", JoinCrLf(SampleCountryLines()));
    CurrentAtlas().places_path = folder_.str();
  }
  void Load(bool sort = false) { InitializeCountries("", "Country.dat", sort, true); }
  const std::vector<CountryRecord>& Table() const { return CurrentAtlas().countries; }
};

TEST_F(CountryTableTest, FirstLookupLoadsAndDeliberatelyReturnsZero) {
  EXPECT_EQ(GetCountryID("D"), 0);
  EXPECT_TRUE(CurrentAtlas().countries_loaded);
  EXPECT_EQ(GetCountryID("D"), 58);
  // The loader returns the flag as it stood on entry; forced, always false.
  EXPECT_TRUE(InitializeCountries("", "Country.dat", false, false));
  EXPECT_FALSE(InitializeCountries("", "Country.dat", false, true));
}

TEST_F(CountryTableTest, LayoutIsFallbackThenLinesThenSixContinents) {
  Load();
  const auto& t = Table();
  ASSERT_EQ(t.size(), 1 + 17 + 6U);
  EXPECT_EQ(std::tuple(t[0].CountryTitle, t[0].CountryShort, t[0].Info, t[1].CountryShort),
            std::tuple("unbekannt", "*", "unbekannt", "D"));
  // Language 2 by default.
  EXPECT_EQ(std::tuple(t[18].CountryTitle, t[18].CountryId, t[18].ContinentID),
            std::tuple("AFRIKA", 18, 1));
  EXPECT_EQ(std::tuple(t[23].Continent, t[23].ContinentID, t[23].TimezoneShort),
            std::tuple("USA", 6, ""));
}

TEST_F(CountryTableTest, SortingKeepsTheLastFiveLinesInFileOrder) {
  Load(/*sort=*/true);
  const auto& t = Table();
  for (std::size_t i = 2; i <= 12; ++i)
    EXPECT_LT(t[i - 1].CountryTitle, t[i].CountryTitle) << i;
  EXPECT_EQ(t[1].CountryTitle, "Algerien");
  EXPECT_EQ(t[12].CountryTitle, "\xD6sterreich");  // byte order puts Ö after R
  EXPECT_EQ(std::tuple(t[13].CountryShort, t[14].CountryShort, t[15].CountryShort,
                       t[16].CountryShort, t[17].CountryShort),
            std::tuple("ZAM", "ANT", "ARK", "KAR", "ATL"));
}

TEST_F(CountryTableTest, CodesThenTitlesThenTitlePrefixesThenCodePrefixes) {
  Load();
  // No title begins with GB: code prefix GBE; Kalifornien before Karibik.
  const std::pair<std::string, std::int16_t> cases[] = {
      {"usca", 200}, {"rus", 120},  {"UK", 61},  {"hr", 170},
      {" A ", 11},   {"Japan", 80}, {"Deu", 58}, {"\xF6sterr", 11},
      {"GB", 61},    {"US", 23},    {"Ka", 200}, {"EUROPA", 4 + 17},
      {"*", 0},      {"", 0},       {"   ", 0},  {std::string(1, '\0'), 0},
      {"Xanadu", 0}};
  for (const auto& [text, id] : cases)
    EXPECT_EQ(GetCountryID(text), id) << text;
}

TEST_F(CountryTableTest, LookupsFollowAReloadedTable) {
  Load();
  EXPECT_EQ(std::tuple(GetCountryID("D"), GetCountryID("Deu")), std::tuple(58, 58));
  folder_.Write("Country.dat",
                JoinCrLf({CountryDatLine(7, "Dschibuti", "DJI", "EAT", "AFRIKA", 1),
                          CountryDatLine(8, "Deutschland", "D", "MEZ", "EUROPA", 4)}));
  EXPECT_EQ(GetCountryIndexOfID(58), 1);
  EXPECT_EQ(GetContinentID("AFRICA"), 0);  // German continent names
  CurrentAtlas().Language().SetLanguage(kLanguageEnglish);
  Load();
  EXPECT_EQ(std::tuple(GetCountryID("D"), GetCountryID("Deu"), GetCountryID("DJ")),
            std::tuple(8, 8, 7));
  EXPECT_EQ(std::tuple(GetCountryIndexOfID(58), GetCountryIndexOfID(8), GetContinentID("AFRICA")),
            std::tuple(0, 2, 1));
}

TEST_F(CountryTableTest, IndexOfIdFindsPositionsWithoutLoading) {
  EXPECT_EQ(GetCountryIndexOfID(58), 0);  // never loaded: nothing to find
  EXPECT_FALSE(CurrentAtlas().countries_loaded);
  Load();
  EXPECT_EQ(std::tuple(GetCountryIndexOfID(58), GetCountryIndexOfID(0), GetCountryIndexOfID(4711)),
            std::tuple(1, 0, 0));
}

TEST_F(CountryTableTest, ContinentsByNameOrFirstFiveLettersOnly) {
  EXPECT_EQ(GetContinentID("europa"), 0);  // loading call
  const std::pair<std::string, std::int16_t> cases[] = {
      {"europa", 4},  {"EuRoP", 4}, {"europe", 4}, {"usa", 6},
      {"OCEANIA", 5}, {"D", 0},     {"", 0},       {std::string("EUROPA\0X", 8), 0},
      {"EUROP\t", 0}};
  for (const auto& [text, id] : cases)
    EXPECT_EQ(GetContinentID(text), id) << text;
}

TEST(CountryCodes, SuccessorStatesUsaSeveralZonesAndTimetableCounts) {
  const std::pair<const char*, const char*> kSuccessors[] = {
      {"Rus", "SSR"}, {"uk", "GBE"}, {"MNE", "YU"}, {"srb", "YU"}, {"HR", "YU"},
      {"SLO", "YU"},  {"bih", "YU"}, {"MK", "YU"},  {"  d ", "d"}, {" RUS", "RUS"},
  };
  for (const auto& [code, internal] : kSuccessors)
    EXPECT_EQ(GetInternalCountryAbbreviation(code), internal) << code;
  EXPECT_EQ(std::tuple(IsUSA("usca"), IsUSA("US"), IsUSA("U"), IsUSA("")),
            std::tuple(true, true, false, false));
  EXPECT_EQ(std::tuple(HaveSeveralTimeZones("RUS"), HaveSeveralTimeZones("ustx"),
                       HaveSeveralTimeZones("cdn"), HaveSeveralTimeZones("D"),
                       HaveSeveralTimeZones("USCA")),
            std::tuple(true, true, true, false, false));
  const std::pair<const char*, int> kTimetables[] = {
      {"D", 3},    {" f ", 153}, {"usin", 345}, {"RUS", 47},
      {"USCA", 1}, {"CDN", 301}, {"A", 0},      {"", 0},
  };
  for (const auto& [code, count] : kTimetables)
    EXPECT_EQ(HaveTimetables(code), count) << code;
}

class CountryFileErrorTest : public testing::AtlasTest {
 protected:
  void SetUp() override {
    AtlasTest::SetUp();
    CurrentAtlas().places_path = folder_.str();
  }
  std::string LoadError(const std::string& text) {
    folder_.Write("Country.dat", text);
    const FaultScope call;
    InitializeCountries("", "Country.dat", true, true);
    return FaultText(LastMalformedFile());
  }
};

TEST_F(CountryFileErrorTest, MissingFileIsSilentAndLoadsNothing) {
  EXPECT_EQ(std::tuple(GetCountryID("D"), GetCountryID("D")), std::tuple(0, 0));
  EXPECT_FALSE(CurrentAtlas().countries_loaded);
}

// A code with a control character would name another file.
TEST_F(CountryFileErrorTest, MalformedTablesNameTheLineAndLoadNothing) {
  const std::string a = CountryDatLine(1, "A", "A", "MEZ", "EUROPA", 4) + "\r\n";
  std::vector<std::string> lines;
  for (int id = 1; id <= 301; ++id)
    lines.push_back(CountryDatLine(id, "A", "A", "MEZ", "EUROPA", 4));
  const std::pair<std::string, std::string> cases[] = {
      {a + "1\tB\tB\r\n", "Country.dat: line 2: 3 TAB-separated fields"},
      {CountryDatLine(40000, "A", "A", "MEZ", "EUROPA", 4), "line 1: CountryId \"40000\""},
      {a + CountryDatLine(2, "B", std::string("D.dao\0X", 7), "MEZ", "EUROPA", 4),
       "Country.dat: line 2: the country code holds the control character 0x00 at position 6"},
      {CountryDatLine(1, "A", "A\x1A", "MEZ", "EUROPA", 4), "0x1A"},
      {JoinCrLf(lines), "line 301"},
      {"", "Country.dat: holds no country"},
      {CountryDatLine(40, "F", "F", "MEZ", "EUROPA", 4) + "\r\n" +
           CountryDatLine(40, "D", "D", "MEZ", "EUROPA", 4),
       "line 2: CountryId 40 is line 1's as well"}};
  for (const auto& [text, why] : cases) {
    EXPECT_THAT(LoadError(text), HasSubstr(why));
    EXPECT_FALSE(CurrentAtlas().countries_loaded) << why;
  }
  lines.pop_back();
  EXPECT_EQ(LoadError(JoinCrLf(lines)), "");
  EXPECT_EQ(CurrentAtlas().countries.size(), 307U);
}

TEST_F(CountryFileErrorTest, FailedReloadKeepsThePreviousTable) {
  folder_.Write("Country.dat", JoinCrLf(SampleCountryLines()));
  InitializeCountries("", "Country.dat", false, true);
  EXPECT_FALSE(LoadError("garbage").empty());
  EXPECT_EQ(CurrentAtlas().countries[1].CountryShort, "D");
  EXPECT_TRUE(CurrentAtlas().countries_loaded);
}

TEST_F(CountryFileErrorTest, ExtraFieldsLineEndingsAndTextNumbersAreAccepted) {
  EXPECT_EQ(LoadError("7.6\tA\tA\tMEZ\tEUROPA\t\t\t\t\tx4\t\textra\nx\tB\tB\t\t\t\t\t\t\t\t\r"
                      "9\tC\tC\t\t\t\t\t\t\t\t\r"),
            "");
  // The id to the nearest integer; no leading number is continent 0.
  const auto& t = CurrentAtlas().countries;
  EXPECT_EQ(std::tuple(t[1].CountryId, t[1].ContinentID, t[2].CountryShort, t[3].CountryShort),
            std::tuple(8, 0, "B", "C"));
}

}  // namespace
}  // namespace tarv
