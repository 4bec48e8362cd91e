#include "atlas/country_names.h"

#include <gtest/gtest.h>

#include "atlas/atlas_fault.h"
#include "atlas/country_table.h"
#include "atlas/name_key.h"
#include "support/atlas_fixture.h"
#include "tarvplaces/places.h"

namespace tarv {
namespace {

// The sample table with ISO codes and names: "ES" is here the atlas code of
// no country, so "D" stands in for a code that is both: the ISO code "D" of
// Austria (made up) against Germany's atlas code.
class CountryNamesTest : public testing::AtlasFixture {
 protected:
  void SetUp() override {
    AtlasFixture::SetUp();
    folder_.Write(std::string(kCountryNamesFile),
                  CountryNamesText({{"D", true, "DE"},
                                    {"D", true, "DEU"},
                                    {"USCA", true, "US-CA"},
                                    {"AUS", true, "AU-NSW"},
                                    {"A", true, "D"},
                                    {"USA", true, "US"},
                                    {"D", false, "germany"},
                                    {"D", false, "allemagne"},
                                    {"USA", false, "unitedstates"},
                                    {"J", false, TypedNameKey("日本")}}));
  }
  std::string Code(const std::string& text, CountryCodes codes = CountryCodes::kIso) {
    const auto match = FindCountry(text, codes);
    return match ? match->code : "-";
  }
};

TEST_F(CountryNamesTest, IsoCodesNamesAndTheAtlasOwnCodesInTheirOrder) {
  EXPECT_EQ(Code("de"), "D");
  EXPECT_EQ(Code(" DEU "), "D");
  EXPECT_EQ(Code("US-CA"), "USCA");
  EXPECT_EQ(Code("AU-NSW"), "AUS");  // a state the atlas does not file apart
  EXPECT_EQ(Code("Allemagne"), "D");
  EXPECT_EQ(Code("GERMANY"), "D");
  EXPECT_EQ(Code("日本"), "J");
  EXPECT_EQ(Code("Deutschland"), "D");  // the table's title
  EXPECT_EQ(Code("usca"), "USCA");
  EXPECT_EQ(Code("RUS"), "SSR");  // a successor code
  // A code that is both: ISO first, unless the atlas's own codes are asked.
  EXPECT_EQ(Code("D"), "A");
  EXPECT_EQ(Code("D", CountryCodes::kAtlas), "D");
  EXPECT_EQ(Code("DE", CountryCodes::kAtlas), "D");  // no atlas code "DE": ISO then
  // Whole codes and names before beginnings: "Au" begins Australien.
  EXPECT_EQ(Code("Austr"), "AUS");
  EXPECT_EQ(Code("Deutsch"), "D");
  EXPECT_EQ(Code(""), "-");
  EXPECT_EQ(Code("*"), "-");
  EXPECT_EQ(Code("Xanadu"), "-");
  EXPECT_EQ(Code("Berlin\xF0\x9F\x98\x80"), "-");
}

TEST_F(CountryNamesTest, GroupsByTheirNamesInEitherLanguageAndTheUsaByItsCodes) {
  const auto us = FindCountry("US", CountryCodes::kIso);
  ASSERT_TRUE(us);
  EXPECT_TRUE(us->group);
  EXPECT_EQ(us->code, "USA");
  EXPECT_EQ(Code("United States"), "USA");
  // The table is English here: groups go by their English names, which the
  // searches read, also when asked by their German ones.
  CurrentAtlas().Language().SetLanguage(kLanguageEnglish);
  InitializeCountries("", "Country.dat", false, true);
  EXPECT_EQ(Code("EUROPA"), "EUROPE");
  EXPECT_EQ(Code("europe"), "EUROPE");
  EXPECT_EQ(Code("asia"), "ASIA");
  EXPECT_TRUE(FindCountry("asien", CountryCodes::kIso)->group);
}

TEST_F(CountryNamesTest, TheIsoCodeOfACountryIsItsFirst) {
  EXPECT_EQ(IsoCodeOf("D"), "DE");
  EXPECT_EQ(IsoCodeOf("usca"), "US-CA");
  EXPECT_EQ(IsoCodeOf("F"), "");
}

// The public member keeps the table's own rules and adds the names.
TEST_F(CountryNamesTest, GetCountryIdTakesIsoCodesAndNamesOnlyWhereItsRulesFindNothing) {
  classPlaces places;
  EXPECT_EQ(places.GetCountryID("Allemagne"), 58);
  EXPECT_EQ(places.GetCountryID("DEU"), 58);
  EXPECT_EQ(places.GetCountryID("D"), 58);  // the atlas code, not the ISO code of "A"
  EXPECT_EQ(places.GetCountryID("US-CA"), 200);
  const auto info = places.FindCountry("Allemagne");
  ASSERT_TRUE(info);
  EXPECT_EQ(info->Code, "D");
  EXPECT_EQ(info->Iso, "DE");
  EXPECT_EQ(info->Title, "Deutschland");
}

TEST_F(CountryNamesTest, AMissingFileLeavesTheAtlasCodesAndTitles) {
  std::filesystem::remove(folder_.path() / std::string(kCountryNamesFile));
  EXPECT_EQ(Code("Deutschland"), "D");
  EXPECT_EQ(Code("US-CA"), "-");
  EXPECT_EQ(IsoCodeOf("D"), "");
}

TEST_F(CountryNamesTest, DamageIsAFaultNamingTheFile) {
  const std::string header = std::string(kCountryNamesHeader) + "\r\n";
  for (const std::string& text :
       {std::string("TarvPlaces country names 9\r\n"), header + "D\tiso\r\n",
        header + "D\tcode\tDE\r\n", header + "D\tiso\tde\r\n", header + "D\tname\t\r\n",
        header + "D\tname\t" + std::string(256, 'x') + "\r\n", header + "ZZ\tiso\tZZ\r\n",
        std::string()}) {
    folder_.Write(std::string(kCountryNamesFile), text);
    const FaultScope call;
    FindCountry("Germany", CountryCodes::kIso);
    const auto fault = LastMalformedFile();
    ASSERT_TRUE(fault) << "accepted: " << text.substr(0, 40);
    EXPECT_NE(fault->file.find(std::string(kCountryNamesFile)), std::string::npos);
  }
}

}  // namespace
}  // namespace tarv
