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
    std::vector<CountryNameEntry> names = {
        {"D", true, "DE"},       {"D", true, "DEU"},        {"USCA", true, "US-CA"},
        {"AUS", true, "AU-NSW"}, {"A", true, "D"},          {"USA", true, "US"},
        {"D", false, "germany"}, {"D", false, "allemagne"}, {"USA", false, "unitedstates"},
    };
    names.push_back({"J", false, TypedNameKey("日本")});
    folder_.Write(std::string(kCountryNamesFile), CountryNamesText(names));
  }
  std::string Code(const std::string& text, CountryCodes codes = CountryCodes::kIso) {
    const auto match = FindCountry(text, codes);
    return match ? match->code : "-";
  }
};

// A state the atlas does not file apart goes to its country; a code that is
// both is ISO first, unless the atlas's own codes are asked; whole codes and
// names come before beginnings ("Au" begins Australien).
TEST_F(CountryNamesTest, IsoCodesNamesAndTheAtlasOwnCodesInTheirOrder) {
  const std::pair<const char*, const char*> kCases[] = {
      {"de", "D"},        {" DEU ", "D"},   {"US-CA", "USCA"}, {"AU-NSW", "AUS"},
      {"Allemagne", "D"}, {"GERMANY", "D"}, {"usca", "USCA"},  {"Deutschland", "D"},
      {"RUS", "SSR"},     {"D", "A"},       {"Austr", "AUS"},  {"Deutsch", "D"},
      {"", "-"},          {"*", "-"},       {"Xanadu", "-"},
  };
  for (const auto& [text, code] : kCases)
    EXPECT_EQ(Code(text), code) << text;
  EXPECT_EQ(std::tuple(Code("日本"), Code("Berlin\xF0\x9F\x98\x80")), std::tuple("J", "-"));
  EXPECT_EQ(Code("D", CountryCodes::kAtlas), "D");
  EXPECT_EQ(Code("DE", CountryCodes::kAtlas), "D");  // no atlas code "DE": ISO then
}

TEST_F(CountryNamesTest, GroupsByTheirNamesInEitherLanguageAndTheUsaByItsCodes) {
  const auto us = FindCountry("US", CountryCodes::kIso);
  ASSERT_TRUE(us);
  EXPECT_EQ(std::tuple(us->group, us->code), std::tuple(true, "USA"));
  EXPECT_EQ(Code("United States"), "USA");
  // The table is English here: groups go by their English names, which the
  // searches read, also when asked by their German ones.
  CurrentAtlas().Language().SetLanguage(kLanguageEnglish);
  InitializeCountries("", "Country.dat", false, true);
  EXPECT_EQ(std::tuple(Code("EUROPA"), Code("europe"), Code("asia")),
            std::tuple("EUROPE", "EUROPE", "ASIA"));
  EXPECT_TRUE(FindCountry("asien", CountryCodes::kIso)->group);
}

TEST_F(CountryNamesTest, TheIsoCodeOfACountryIsItsFirst) {
  EXPECT_EQ(std::tuple(IsoCodeOf("D"), IsoCodeOf("usca"), IsoCodeOf("F")),
            std::tuple("DE", "US-CA", ""));
}

TEST_F(CountryNamesTest, GetCountryIdTakesIsoCodesAndNamesOnlyWhereItsRulesFindNothing) {
  classPlaces places;
  // "D" is the atlas code, not the ISO code of "A".
  EXPECT_EQ(std::tuple(places.GetCountryID("Allemagne"), places.GetCountryID("DEU"),
                       places.GetCountryID("D"), places.GetCountryID("US-CA")),
            std::tuple(58, 58, 58, 200));
  const auto info = places.FindCountry("Allemagne");
  ASSERT_TRUE(info);
  EXPECT_EQ(std::tuple(info->Code, info->Iso, info->Title), std::tuple("D", "DE", "Deutschland"));
}

TEST_F(CountryNamesTest, AMissingFileLeavesTheAtlasCodesAndTitles) {
  std::filesystem::remove(folder_.path() / std::string(kCountryNamesFile));
  EXPECT_EQ(std::tuple(Code("Deutschland"), Code("US-CA"), IsoCodeOf("D")),
            std::tuple("D", "-", ""));
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
