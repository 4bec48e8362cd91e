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
  // Loads the table so that lookups answer at once.
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
  ASSERT_EQ(Table().size(), 1 + 17 + 6U);
  EXPECT_EQ(Table()[0].CountryTitle, "unbekannt");
  EXPECT_EQ(Table()[0].CountryShort, "*");
  EXPECT_EQ(Table()[0].Info, "unbekannt");
  EXPECT_EQ(Table()[1].CountryShort, "D");
  EXPECT_EQ(Table()[18].CountryTitle, "AFRIKA");  // language 2 by default
  EXPECT_EQ(Table()[18].CountryId, 18);
  EXPECT_EQ(Table()[18].ContinentID, 1);
  EXPECT_EQ(Table()[23].Continent, "USA");
  EXPECT_EQ(Table()[23].ContinentID, 6);
  EXPECT_EQ(Table()[23].TimezoneShort, "");
}

TEST_F(CountryTableTest, SortingKeepsTheLastFiveLinesInFileOrder) {
  Load(/*sort=*/true);
  const auto& t = Table();
  for (std::size_t i = 2; i <= 12; ++i)
    EXPECT_LT(t[i - 1].CountryTitle, t[i].CountryTitle) << i;
  EXPECT_EQ(t[1].CountryTitle, "Algerien");
  EXPECT_EQ(t[12].CountryTitle, "\xD6sterreich");  // byte order puts Ö after R
  EXPECT_EQ(t[13].CountryShort, "ZAM");
  EXPECT_EQ(t[14].CountryShort, "ANT");
  EXPECT_EQ(t[15].CountryShort, "ARK");
  EXPECT_EQ(t[16].CountryShort, "KAR");
  EXPECT_EQ(t[17].CountryShort, "ATL");
}

// Codes in any case and mapped to their predecessors, then four scans in
// order: code, title, title prefix, code prefix.
TEST_F(CountryTableTest, CodesThenTitlesThenTitlePrefixesThenCodePrefixes) {
  Load();
  // rus is SSR, UK GBE, hr YU; no title begins with GB: code prefix GBE; the
  // title prefix of the continent USA wins; Kalifornien before Karibik;
  // continent records are scanned too.
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
  EXPECT_EQ(GetCountryID("D"), 58);
  EXPECT_EQ(GetCountryID("Deu"), 58);
  folder_.Write("Country.dat",
                JoinCrLf({CountryDatLine(7, "Dschibuti", "DJI", "EAT", "AFRIKA", 1),
                          CountryDatLine(8, "Deutschland", "D", "MEZ", "EUROPA", 4)}));
  EXPECT_EQ(GetCountryIndexOfID(58), 1);
  EXPECT_EQ(GetContinentID("AFRICA"), 0);  // German continent names
  CurrentAtlas().Language().SetLanguage(kLanguageEnglish);
  Load();
  EXPECT_EQ(GetCountryID("D"), 8);
  EXPECT_EQ(GetCountryID("Deu"), 8);
  EXPECT_EQ(GetCountryID("DJ"), 7);
  EXPECT_EQ(GetCountryIndexOfID(58), 0);
  EXPECT_EQ(GetCountryIndexOfID(8), 2);
  EXPECT_EQ(GetContinentID("AFRICA"), 1);
}

TEST_F(CountryTableTest, IndexOfIdFindsPositionsWithoutLoading) {
  EXPECT_EQ(GetCountryIndexOfID(58), 0);  // never loaded: nothing to find
  EXPECT_FALSE(CurrentAtlas().countries_loaded);
  Load();
  EXPECT_EQ(GetCountryIndexOfID(58), 1);
  EXPECT_EQ(GetCountryIndexOfID(0), 0);
  EXPECT_EQ(GetCountryIndexOfID(4711), 0);
}

// By name or its first five letters; a country is not resolved to its
// continent, and texts with control characters are no continent.
TEST_F(CountryTableTest, ContinentsByNameOrFirstFiveLettersOnly) {
  EXPECT_EQ(GetContinentID("europa"), 0);  // loading call
  const std::pair<std::string, std::int16_t> cases[] = {
      {"europa", 4},  {"EuRoP", 4}, {"europe", 4}, {"usa", 6},
      {"OCEANIA", 5}, {"D", 0},     {"", 0},       {std::string("EUROPA\0X", 8), 0},
      {"EUROP\t", 0}};
  for (const auto& [text, id] : cases)
    EXPECT_EQ(GetContinentID(text), id) << text;
}

// Successor states map to the code that holds their places (compared
// before trimming).
TEST(CountryCodes, SuccessorStatesUsaSeveralZonesAndTimetableCounts) {
  for (const auto& [code, internal] :
       {std::pair("Rus", "SSR"), std::pair("uk", "GBE"), std::pair("MNE", "YU"),
        std::pair("srb", "YU"), std::pair("HR", "YU"), std::pair("SLO", "YU"),
        std::pair("bih", "YU"), std::pair("MK", "YU"), std::pair("  d ", "d"),
        std::pair(" RUS", "RUS")}) {
    EXPECT_EQ(GetInternalCountryAbbreviation(code), internal) << code;
  }
  for (const auto& [code, usa] : {std::pair("usca", true), std::pair("US", true),
                                  std::pair("U", false), std::pair("", false)}) {
    EXPECT_EQ(IsUSA(code), usa) << code;
  }
  for (const auto& [code, several] :
       {std::pair("RUS", true), std::pair("ustx", true), std::pair("cdn", true),
        std::pair("D", false), std::pair("USCA", false)}) {
    EXPECT_EQ(HaveSeveralTimeZones(code), several) << code;
  }
  for (const auto& [code, count] :
       {std::pair("D", 3), std::pair(" f ", 153), std::pair("usin", 345), std::pair("RUS", 47),
        std::pair("USCA", 1), std::pair("CDN", 301), std::pair("A", 0), std::pair("", 0)}) {
    EXPECT_EQ(HaveTimetables(code), count) << code;
  }
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
  EXPECT_EQ(GetCountryID("D"), 0);
  EXPECT_EQ(GetCountryID("D"), 0);
  EXPECT_FALSE(CurrentAtlas().countries_loaded);
}

// Each would send lookups to no country or to another country's files; a
// code with a control character would name another file once its path
// reached the system.
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
  EXPECT_EQ(CurrentAtlas().countries[1].CountryId, 8);    // nearest integer
  EXPECT_EQ(CurrentAtlas().countries[1].ContinentID, 0);  // no leading number
  EXPECT_EQ(CurrentAtlas().countries[2].CountryShort, "B");
  EXPECT_EQ(CurrentAtlas().countries[3].CountryShort, "C");
}

}  // namespace
}  // namespace tarv
