// The codes and names of CountryNames.dat from small iso-codes and CLDR
// files.
#include "atlas/country_sources.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "atlas/name_key.h"
#include "support/temp_folder.h"
#include "tarvplaces/atlas_error.h"

namespace tarv::atlas {
namespace {

using ::testing::ElementsAre;

std::string Territories(const std::string& language, const std::string& names) {
  return R"({"main": {")" + language + R"(": {"localeDisplayNames": {"territories": {)" + names +
         "}}}}}";
}

class CountrySourcesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_.Write("iso/iso_3166-1.json", R"({"3166-1": [
        {"alpha_2": "DE", "alpha_3": "DEU", "name": "Germany"},
        {"alpha_2": "US", "alpha_3": "USA", "name": "United States"},
        {"alpha_2": "PR", "alpha_3": "PRI", "name": "Puerto Rico"},
        {"alpha_2": "KH", "alpha_3": "KHM", "name": "Cambodia"}]})");
    folder_.Write("iso/iso_3166-2.json", R"({"3166-2": [
        {"code": "DE-BY", "name": "Bayern"}, {"code": "US-CA", "name": "California"},
        {"code": "US-PR", "name": "Puerto Rico"}, {"code": "US-UM", "name": "Outlying"},
        {"code": "FR-75", "name": "Paris"}]})");
    folder_.Write("cldr/en/territories.json",
                  Territories("en", R"("DE": "Germany", "US": "United States",
                                       "US-alt-short": "US", "KH": "Cambodia",
                                       "DE-alt-variant": "Deutschland")"));
    folder_.Write("cldr/fr/territories.json", Territories("fr", R"("DE": "Allemagne")"));
    folder_.Write("cldr/km/territories.json", Territories("km", R"("KH": "កម្ពុជា")"));
  }
  std::vector<CountryNameEntry> Entries() {
    return CountryNameEntries(
        {{"D", {"DE"}, false}, {"USCA", {}, true}, {"PR", {"PR"}, false}, {"K", {"KH"}, false}},
        (folder_.path() / "iso").string(), (folder_.path() / "cldr").string());
  }
  std::vector<std::string> Of(const std::string& code, bool iso) {
    std::vector<std::string> texts;
    for (const auto& e : Entries()) {
      if (e.code == code && e.iso == iso) texts.push_back(e.text);
    }
    return texts;
  }
  testing::TempFolder folder_;
};

TEST_F(CountrySourcesTest, IsoCodesGoWhereTheAtlasFilesTheirPlaces) {
  EXPECT_THAT(Of("D", true), ElementsAre("DE", "DEU", "DE-BY"));
  EXPECT_THAT(Of("USCA", true), ElementsAre("US-CA"));
  EXPECT_THAT(Of("PR", true), ElementsAre("PR", "PRI", "US-PR"));  // an outlying area of the US
  EXPECT_THAT(Of("USA", true), ElementsAre("US", "USA"));
}

TEST_F(CountrySourcesTest, NamesInEachLanguageAndTheCountrysOwnKeyedAsTyped) {
  EXPECT_THAT(Of("D", false), ElementsAre("germany", "deutschland", "allemagne"));
  EXPECT_THAT(Of("USA", false), ElementsAre("unitedstates", "us"));
  EXPECT_THAT(Of("K", false), ElementsAre("cambodia", TypedNameKey("កម្ពុជា")));
  EXPECT_EQ(OwnLanguageOf("KH"), "km");
  EXPECT_EQ(OwnLanguageOf("TW"), "zh-Hant");
}

TEST_F(CountrySourcesTest, BrokenInputsAreAtlasErrors) {
  folder_.Write("iso/iso_3166-2.json", R"({"3166-1": []})");
  EXPECT_THROW(Entries(), AtlasError);
  folder_.Write("iso/iso_3166-2.json", "not json");
  EXPECT_THROW(Entries(), AtlasError);
  folder_.Write("iso/iso_3166-2.json", R"({"3166-2": []})");
  folder_.Write("cldr/en/territories.json", R"({"main": {}})");
  EXPECT_THROW(Entries(), AtlasError);
}

}  // namespace
}  // namespace tarv::atlas
