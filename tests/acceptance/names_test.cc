// Names as people type them, on the default atlas: local names, other
// languages and scripts, namesakes ranked, and the whole names check.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>

#include "atlas/place_list.h"
#include "atlas/atlas_builder.h"
#include "atlas/geonames.h"
#include "atlas/name_check.h"
#include "atlas/atlas_state.h"
#include "geonames_atlas_fixture.h"
#include "tarvplaces/list_control.h"
#include "tarvplaces/places.h"

namespace tarv {
namespace {

using atlas::GeoPlace;

using testing::AtlasCodeOf;
const std::string& kAtlas = testing::kDefaultAtlas;

class Names : public testing::GeoNamesAtlasTest {
 protected:
  // The most populous GeoNames place of a country (atlas code) with this
  // main name.
  static const GeoPlace& Meant(const std::string& geonames_name, const std::string& code) {
    const GeoPlace* best = nullptr;
    for (const auto& p : *places_) {
      if (p.name != geonames_name || AtlasCodeOf(p) != code) continue;
      if (best == nullptr || p.population > best->population) best = &p;
    }
    if (best == nullptr) throw std::runtime_error("GeoNames has no " + geonames_name);
    return *best;
  }
  static const GeoPlace& MeantById(std::int64_t id) {
    for (const auto& p : *places_) {
      if (p.id == id) return p;
    }
    throw std::runtime_error("GeoNames has no place " + std::to_string(id));
  }
  // The first place a typed name gives lies where GeoNames puts the place
  // meant: the most populous of its country with that GeoNames name, or
  // the one of that GeoNames id.
  void ExpectFirst(const std::string& typed, const std::string& code,
                   const std::string& geonames_name) {
    ExpectFirst(typed, code, Meant(geonames_name, code));
  }
  void ExpectFirst(const std::string& typed, const std::string& code, std::int64_t geonames_id) {
    ExpectFirst(typed, code, MeantById(geonames_id));
  }
  void ExpectFirst(const std::string& typed, const std::string& code, const GeoPlace& meant) {
    const std::string& geonames_name = meant.name;
    double lon = 0;
    double lat = 0;
    ASSERT_GE(places.GetPlaceData(typed, code, &lon, &lat), 1)
        << typed << " in " << code << " found nothing";
    EXPECT_LT(atlas::DistanceKm(lon, lat, meant.longitude, meant.latitude), 1.0)
        << typed << " in " << code << " gave " << places.GetPlaceDataOfId(0).at(0) << ", meant "
        << geonames_name;
  }
};

TEST_F(Names, EveryScriptFindsThePlace) {
  ExpectFirst("Москва", "SSR", "Moscow");
  ExpectFirst("Αθήνα", "GR", "Athens");
  ExpectFirst("София", "BG", "Sofia");
  ExpectFirst("تهران", "IR", "Tehran");
  ExpectFirst("東京", "J", "Tokyo");
  ExpectFirst("北京", "CHN", "Beijing");
  // Romanised Arabic, whose ain and hamza no key keeps.
  ExpectFirst("عمّان", "JOR", "Amman");
  ExpectFirst("الدار البيضاء", "MA", "Casablanca");
  ExpectFirst("الخرطوم", "SUD", "Khartoum");
  // Scripts nothing romanises: their own letters.
  ExpectFirst("ភ្នំពេញ", "K", "Phnom Penh");
  ExpectFirst("ວຽງຈັນ", "LAO", "Vientiane");
  ExpectFirst("කොළඹ", "CL", "Colombo");
}

TEST_F(Names, NamesakesGiveThePlaceMostPeopleMean) {
  ExpectFirst("Perth", "AUS", "Perth");
  ExpectFirst("Belém", "BR", "Belém");
  for (const char* name : {"Mérida", "Chihuahua", "Hermosillo", "Mazatlán"})
    ExpectFirst(name, "MEX", name);
  ExpectFirst("Jayapura", "RI", "Jayapura");
  // Known by the name rather than bearing it: Heroica Matamoros (450,000
  // people) before Matamoros, Coahuila; the city GeoNames lists as
  // Shevchenko before the village Aktau.
  ExpectFirst("Matamoros", "MEX", 3523466);
  ExpectFirst("Aktau", "KAZ", 610612);
  // The county seat before a part of Lexington of about its size.
  ExpectFirst("Monticello", "USKY", 4301224);
}

TEST_F(Names, LocalEnglishGermanAndTranscribedNamesAllFindThePlace) {
  const struct {
    const char* typed;
    const char* code;
    const char* geonames_name;
  } kCases[] = {{"Łódź", "PL", "Łódź"},           {"Lodz", "PL", "Łódź"},
                {"İstanbul", "TR", "Istanbul"},   {"Plzeň", "CZ", "Pilsen"},
                {"Plzen", "CZ", "Pilsen"},        {"Pilsen", "CZ", "Pilsen"},
                {"Sao Paulo", "BR", "São Paulo"}, {"Muenchen", "D", "Munich"},
                {"Munich", "D", "Munich"},        {"Koeln", "D", "Köln"},
                {"Cologne", "D", "Köln"},         {"Duesseldorf", "D", "Düsseldorf"},
                {"Moskau", "SSR", "Moscow"},      {"Mailand", "I", "Milan"},
                {"Warschau", "PL", "Warsaw"},     {"Genf", "CH", "Genève"},
                {"Geneva", "CH", "Genève"},       {"Bruxelles", "B", "Brussels"},
                {"Vienne", "A", "Vienna"},        {"Nueva York", "USNY", "New York City"},
                {"Prag", "CZ", "Prague"}};
  for (const auto& c : kCases)
    ExpectFirst(c.typed, c.code, c.geonames_name);
}

// Collects what a search lists.
class Items : public PlaceListControl {
 public:
  void Clear() override { items.clear(); }
  void AddItem(const std::string& item) override { items.push_back(item); }
  std::int32_t NewIndex() const override { return static_cast<std::int32_t>(items.size()) - 1; }
  void ItemData(std::int32_t, std::int32_t) override {}
  std::vector<std::string> items;
};

TEST_F(Names, PlacesAreListedOnceUnderTheirLocalName) {
  Items items;
  std::int32_t found = 0;
  std::int32_t added = 0;
  places.SearchPlacesInForm(items, "M*", "D", &found, &added);
  EXPECT_EQ(std::count(items.items.begin(), items.items.end(), "München"), 1);
  for (const char* other : {"Minhen", "Muenhen", "Münhen", "Munich"})
    EXPECT_EQ(std::count(items.items.begin(), items.items.end(), other), 0) << other;
  places.SearchPlacesInForm(items, "New*", "USNY", &found, &added);
  for (const char* other : {"New York borg", "New Yorke", "New Orange"})
    EXPECT_EQ(std::count(items.items.begin(), items.items.end(), other), 0) << other;
  for (const auto& [typed, code, local] :
       std::vector<std::tuple<std::string, std::string, std::string>>{{"Munich", "D", "München"},
                                                                      {"Vienna", "A", "Wien"},
                                                                      {"Prague", "CZ", "Praha"},
                                                                      {"Pilsen", "CZ", "Plzen"},
                                                                      {"Prag", "CZ", "Praha"}}) {
    ASSERT_GE(places.GetPlaceData(typed, code), 1) << typed;
    EXPECT_EQ(places.GetPlaceDataOfId(0).at(0), local) << typed;
  }
}

TEST_F(Names, CoordinatesWithoutLettersAreReadInsideTheCountry) {
  ASSERT_GE(places.GetPlaceData("11.575 48.137", "D"), 1);
  EXPECT_EQ(places.GetPlaceDataOfId(0).at(0), "München");
}

TEST_F(Names, GroupsFindLocalNamesInTheirMembers) {
  ASSERT_GE(places.GetPlaceData("Wien", "EUROPA"), 1);
  EXPECT_EQ(places.GetPlaceDataOfId(0).at(1), "A");
  ASSERT_GE(places.GetPlaceData("Vienna", "EUROPA"), 1);
  EXPECT_EQ(places.GetPlaceDataOfId(0).at(0), "Wien");
}

// The places the issue of ranking was found with, asked without a country.
TEST_F(Names, WithoutACountryEveryCountryIsSearched) {
  double lon = 0;
  double lat = 0;
  ASSERT_GT(places.SearchAllCountries("Paris"), 1);
  EXPECT_EQ(places.GetPlaceDataOfId(0).at(1), "F");
  ASSERT_EQ(places.SearchAllCountries("Par*"), 50);
  EXPECT_EQ(places.GetPlaceDataOfId(0).at(0), "Paris");
  ASSERT_GT(places.SearchAllCountries("Matamoros"), 1);
  places.GetPlaceDataX("Matamoros", places.GetPlaceDataOfId(0).at(1), &lon, &lat);
  EXPECT_LT(atlas::DistanceKm(lon, lat, -97.50417, 25.87972), 1.0);
  ASSERT_GT(places.SearchAllCountries("ភ្នំពេញ"), 0);
  EXPECT_EQ(places.GetPlaceDataOfId(0).at(1), "K");
}

// The codes and names a user types a country by.
TEST_F(Names, CountriesByIsoCodesAndNamesInTheirLanguages) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"DE", "D"},         {"DEU", "D"},         {"US", "USA"},
      {"GB", "GBE"},       {"IN", "IND"},        {"UA", "UKR"},
      {"RU", "SSR"},       {"ES", "E"},          {"CN", "CHN"},
      {"JP", "J"},         {"MX", "MEX"},        {"US-CA", "USCA"},
      {"CA-QC", "CDN"},    {"AU-NSW", "AUS"},    {"Germany", "D"},
      {"Allemagne", "D"},  {"Deutschland", "D"}, {"Alemania", "D"},
      {"Kambodscha", "K"}, {"កម្ពុជា", "K"},       {"United States", "USA"},
      {"HR", "YU"}};
  for (const auto& [typed, code] : cases) {
    const auto info = places.FindCountry(typed);
    ASSERT_TRUE(info) << typed;
    EXPECT_EQ(info->Code, code) << typed;
  }
  // The atlas's own reading keeps El Salvador and Burundi.
  EXPECT_EQ(places.FindCountry("ES", CountryCodes::kAtlas)->Code, "ES");
  EXPECT_EQ(places.FindCountry("RU", CountryCodes::kAtlas)->Code, "RU");
}

// Every ISO 3166-1 code iso-codes lists for a country the atlas holds finds
// that country (where the atlas files it: GeoNames' places tell).
TEST_F(Names, EveryIsoCodeFindsItsOwnCountry) {
  std::map<std::string, std::string> filed;  // ISO alpha-2 -> atlas code
  for (const auto& p : *places_) {
    const std::string code = AtlasCodeOf(p);
    if (!code.empty()) filed.emplace(p.country, code.rfind("US", 0) == 0 ? "USA" : code);
  }
  std::ifstream in("/usr/share/iso-codes/json/iso_3166-1.json");
  ASSERT_TRUE(in) << "iso-codes is not installed (scripts/setup.sh)";
  const std::string text((std::istreambuf_iterator<char>(in)), {});
  std::size_t checked = 0;
  for (const auto& [iso, code] : filed) {
    const auto alpha2 = places.FindCountry(iso);
    ASSERT_TRUE(alpha2) << iso;
    EXPECT_EQ(alpha2->Code, code) << iso;
    // Its alpha-3 code: "alpha_2": "DE", "alpha_3": "DEU" in the file.
    const auto at = text.find("\"alpha_2\": \"" + iso + "\"");
    if (at == std::string::npos) continue;  // Kosovo has no ISO code of its own
    constexpr std::string_view kAlpha3 = "\"alpha_3\": \"";
    const std::string alpha3 = text.substr(text.find(kAlpha3, at) + kAlpha3.size(), 3);
    const auto three = places.FindCountry(alpha3);
    ASSERT_TRUE(three) << alpha3;
    EXPECT_EQ(three->Code, code) << alpha3;
    ++checked;
  }
  std::cout << checked << " countries by their ISO alpha-2 and alpha-3 codes\n";
  EXPECT_GT(checked, 240U);
  // Every ISO 3166-2 code of their states and provinces: the country, or for
  // the USA the state.
  std::ifstream in2("/usr/share/iso-codes/json/iso_3166-2.json");
  const std::string subdivisions((std::istreambuf_iterator<char>(in2)), {});
  constexpr std::string_view kCode = "\"code\": \"";
  std::size_t codes = 0;
  for (auto at = subdivisions.find(kCode); at != std::string::npos;
       at = subdivisions.find(kCode, at + 1)) {
    const auto from = at + kCode.size();
    const std::string code = subdivisions.substr(from, subdivisions.find('"', from) - from);
    const std::string country = code.substr(0, code.find('-'));
    const auto held = filed.find(country);
    if (held == filed.end()) continue;
    const auto found = places.FindCountry(code);
    // An outlying area of the USA the atlas holds no places of names nothing.
    if (!found && country == "US") continue;
    ASSERT_TRUE(found) << code;
    if (country == "US") {
      EXPECT_TRUE(found->Code == "US" + code.substr(3) || found->Iso.rfind("US-", 0) != 0)
          << code << " found " << found->Code;
    } else {
      EXPECT_EQ(found->Code, held->second) << code;
    }
    ++codes;
  }
  std::cout << codes << " ISO 3166-2 codes of their states and provinces\n";
}

// The most populous places by their names, without a country.
TEST_F(Names, TheMostPopulousPlacesAreFoundFirstWithoutACountry) {
  const auto r = atlas::CheckWorldSearch(places, *places_, AtlasCodeOf, 1000);
  std::cout << r.typed << " names typed, " << r.RightPercent() << "% right first; " << r.namesakes
            << " of the misses a more populous namesake\n";
  for (const auto& miss : r.misses)
    std::cout << "  miss: " << miss << "\n";
  EXPECT_GE(r.RightPercent(), 95.0);
  EXPECT_EQ(r.namesakes, r.misses.size());
}

// The most populous places, every name they are known by, as written and
// without diacritics: the place itself first.
TEST_F(Names, TheMostPopulousPlacesAreFoundByEveryNameTheyHave) {
  const auto r = atlas::CheckNames(places, *places_, AtlasCodeOf, 3000);
  std::cout << r.places << " places, " << r.typed << " names typed, " << r.RightPercent()
            << "% right first; shared names " << r.shared_right << " of " << r.shared
            << "; unique names over 50 km off: " << r.far << "\n";
  for (const auto& miss : r.misses)
    std::cout << "  miss: " << miss << "\n";
  EXPECT_GE(r.RightPercent(), 99.5);
  EXPECT_EQ(r.far, 0U);
}

}  // namespace
}  // namespace tarv
