#include "atlas/country_table.h"

#include <gtest/gtest.h>

#include <random>

#include "atlas/atlas_state.h"
#include "support/country_fixture.h"
#include "support/fault_text.h"
#include "support/temp_folder.h"

namespace tarv {
namespace {

using testing::CountryDatLine;
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

TEST_F(CountryTableTest, EnglishContinentNamesAreKeptAsHostsKnowThem) {
  CurrentAtlas().Language().SetLanguage(kLanguageEnglish);
  Load();
  const auto n = Table().size();
  EXPECT_EQ(Table()[n - 5].CountryTitle, "THE AMERIKAS");
  EXPECT_EQ(Table()[n - 2].CountryTitle, "S Pacific");
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
  EXPECT_EQ(GetCountryID("usca"), 200);
  EXPECT_EQ(GetCountryID("rus"), 120);  // -> SSR
  EXPECT_EQ(GetCountryID("UK"), 61);    // -> GBE
  EXPECT_EQ(GetCountryID("hr"), 170);   // -> YU
  EXPECT_EQ(GetCountryID(" A "), 11);
  EXPECT_EQ(GetCountryID("Japan"), 80);
  EXPECT_EQ(GetCountryID("Deu"), 58);
  EXPECT_EQ(GetCountryID("\xF6sterr"), 11);   // österr: accented title prefix
  EXPECT_EQ(GetCountryID("GB"), 61);          // no title begins with GB: code prefix GBE
  EXPECT_EQ(GetCountryID("US"), 23);          // title prefix of the continent USA wins
  EXPECT_EQ(GetCountryID("Ka"), 200);         // title prefix Kalifornien before Karibik
  EXPECT_EQ(GetCountryID("EUROPA"), 4 + 17);  // continent records are scanned too
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

TEST_F(CountryTableTest, StarEmptyAndUnknownGiveZero) {
  Load();
  EXPECT_EQ(GetCountryID("*"), 0);
  EXPECT_EQ(GetCountryID(""), 0);
  EXPECT_EQ(GetCountryID("   "), 0);
  EXPECT_EQ(GetCountryID(std::string(1, '\0')), 0);
  EXPECT_EQ(GetCountryID("Xanadu"), 0);
}

TEST_F(CountryTableTest, TextsWithControlCharactersAreNoContinent) {
  // Their first five letters would name EUROPA.
  Load();
  EXPECT_EQ(GetContinentID(std::string("EUROPA\0X", 8)), 0);
  EXPECT_EQ(GetContinentID("EUROP\t"), 0);
  EXPECT_EQ(GetContinentID("EUROPA"), 4);
}

TEST_F(CountryTableTest, IndexOfIdFindsPositionsWithoutLoading) {
  EXPECT_EQ(GetCountryIndexOfID(58), 0);  // never loaded: nothing to find
  EXPECT_FALSE(CurrentAtlas().countries_loaded);
  Load();
  EXPECT_EQ(GetCountryIndexOfID(58), 1);
  EXPECT_EQ(GetCountryIndexOfID(0), 0);
  EXPECT_EQ(GetCountryIndexOfID(4711), 0);
}

TEST_F(CountryTableTest, ContinentsByNameOrFirstFiveLettersOnly) {
  EXPECT_EQ(GetContinentID("europa"), 0);  // loading call
  EXPECT_EQ(GetContinentID("europa"), 4);
  EXPECT_EQ(GetContinentID("EuRoP"), 4);
  EXPECT_EQ(GetContinentID("europe"), 4);  // first five letters of EUROPA
  EXPECT_EQ(GetContinentID("usa"), 6);
  EXPECT_EQ(GetContinentID("OCEANIA"), 5);
  EXPECT_EQ(GetContinentID("D"), 0);  // a country is not resolved to its continent
  EXPECT_EQ(GetContinentID(""), 0);
}

TEST(CountryCodes, InternalAbbreviationMapsSuccessorStates) {
  EXPECT_EQ(GetInternalCountryAbbreviation("Rus"), "SSR");
  EXPECT_EQ(GetInternalCountryAbbreviation("uk"), "GBE");
  for (const char* code : {"MNE", "srb", "HR", "SLO", "bih", "MK"}) {
    EXPECT_EQ(GetInternalCountryAbbreviation(code), "YU") << code;
  }
  EXPECT_EQ(GetInternalCountryAbbreviation("  d "), "d");
  EXPECT_EQ(GetInternalCountryAbbreviation(" RUS"), "RUS");  // compared before trimming
}

TEST(CountryCodes, UsaAndSeveralTimeZones) {
  EXPECT_TRUE(IsUSA("usca"));
  EXPECT_TRUE(IsUSA("US"));
  EXPECT_FALSE(IsUSA("U"));
  EXPECT_FALSE(IsUSA(""));
  EXPECT_TRUE(HaveSeveralTimeZones("RUS"));
  EXPECT_TRUE(HaveSeveralTimeZones("ustx"));
  EXPECT_TRUE(HaveSeveralTimeZones("cdn"));
  EXPECT_FALSE(HaveSeveralTimeZones("D"));
  EXPECT_FALSE(HaveSeveralTimeZones("USCA"));
}

TEST(CountryCodes, TimetableCountsFromTheFixedTable) {
  EXPECT_EQ(HaveTimetables("D"), 3);
  EXPECT_EQ(HaveTimetables(" f "), 153);
  EXPECT_EQ(HaveTimetables("usin"), 345);
  EXPECT_EQ(HaveTimetables("RUS"), 47);  // through SSR
  EXPECT_EQ(HaveTimetables("USCA"), 1);
  EXPECT_EQ(HaveTimetables("CDN"), 301);
  EXPECT_EQ(HaveTimetables("A"), 0);
  EXPECT_EQ(HaveTimetables(""), 0);
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

TEST_F(CountryFileErrorTest, ShortLineOrNumberOutsideSixteenBitsNamesFileAndLine) {
  auto error = LoadError(CountryDatLine(1, "A", "A", "MEZ", "EUROPA", 4) + "\r\n1\tB\tB\r\n");
  EXPECT_NE(error.find("Country.dat: line 2: 3 TAB-separated fields"), std::string::npos) << error;
  EXPECT_FALSE(CurrentAtlas().countries_loaded);
  error = LoadError(CountryDatLine(40000, "A", "A", "MEZ", "EUROPA", 4));
  EXPECT_NE(error.find("line 1: CountryId \"40000\""), std::string::npos) << error;
}

TEST_F(CountryFileErrorTest, CodeWithAControlCharacterNamesTheLine) {
  // Such a code would name another file once its path reached the system.
  const auto error =
      LoadError(CountryDatLine(1, "A", "A", "MEZ", "EUROPA", 4) + "\r\n" +
                CountryDatLine(2, "B", std::string("D.dao\0X", 7), "MEZ", "EUROPA", 4));
  EXPECT_NE(error.find("Country.dat: line 2: the country code holds the control character 0x00 "
                       "at position 6"),
            std::string::npos)
      << error;
  EXPECT_FALSE(CurrentAtlas().countries_loaded);
  EXPECT_NE(LoadError(CountryDatLine(1, "A", "A\x1A", "MEZ", "EUROPA", 4)).find("0x1A"),
            std::string::npos);
}

TEST_F(CountryFileErrorTest, MoreThanThreeHundredLinesAreRefused) {
  std::vector<std::string> lines;
  for (int id = 1; id <= 301; ++id)
    lines.push_back(CountryDatLine(id, "A", "A", "MEZ", "EUROPA", 4));
  EXPECT_NE(LoadError(JoinCrLf(lines)).find("line 301"), std::string::npos);
  lines.pop_back();
  EXPECT_EQ(LoadError(JoinCrLf(lines)), "");
  EXPECT_EQ(CurrentAtlas().countries.size(), 307U);
}

TEST_F(CountryFileErrorTest, AnEmptyTableOrARepeatedNumberIsRefused) {
  // Either would send lookups to no country or to another country's files.
  EXPECT_NE(LoadError("").find("Country.dat: holds no country"), std::string::npos);
  EXPECT_NE(LoadError(CountryDatLine(40, "F", "F", "MEZ", "EUROPA", 4) + "\r\n" +
                      CountryDatLine(40, "D", "D", "MEZ", "EUROPA", 4))
                .find("line 2: CountryId 40 is line 1's as well"),
            std::string::npos);
  EXPECT_FALSE(CurrentAtlas().countries_loaded);
}

TEST_F(CountryFileErrorTest, FailedReloadKeepsThePreviousTable) {
  folder_.Write("Country.dat", JoinCrLf(SampleCountryLines()));
  InitializeCountries("", "Country.dat", false, true);
  EXPECT_FALSE(LoadError("garbage").empty());
  EXPECT_EQ(CurrentAtlas().countries[1].CountryShort, "D");
  EXPECT_TRUE(CurrentAtlas().countries_loaded);
}

TEST_F(CountryFileErrorTest, ExtraFieldsLineEndingsAndTextNumbersAreAccepted) {
  EXPECT_EQ(LoadError("7.6\tA\tA\tMEZ\tEUROPA\t\t\t\t\tx4\t\textra\nx\tB\tB\t\t\t\t\t\t\t\t\r"),
            "");
  EXPECT_EQ(CurrentAtlas().countries[1].CountryId, 8);    // nearest integer
  EXPECT_EQ(CurrentAtlas().countries[1].ContinentID, 0);  // no leading number
  EXPECT_EQ(CurrentAtlas().countries[2].CountryShort, "B");
}

TEST_F(CountryFileErrorTest, GarbageBytesNeverCrash) {
  std::mt19937 rng(7);
  for (int round = 0; round < 200; ++round) {
    std::string bytes(rng() % 2000, '\0');
    for (char& c : bytes) {
      const auto r = rng() % 16;
      c = r == 0 ? '\t' : r == 1 ? '\n' : static_cast<char>(rng());
    }
    // Loads or notes the file as malformed; an exception or a crash fails.
    if (LoadError(bytes).empty()) {
      EXPECT_GE(CurrentAtlas().countries.size(), 7U);
    }
  }
}

}  // namespace
}  // namespace tarv
