// Names as people type them, on the default atlas: local names, other
// languages and scripts, namesakes ranked, and the whole names check.
#include <gtest/gtest.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <map>

#include "atlas/atlas_builder.h"
#include "atlas/atlas_state.h"
#include "atlas/geonames.h"
#include "atlas/name_check.h"
#include "atlas/place_list.h"
#include "geonames_atlas_fixture.h"
#include "tarvplaces/list_control.h"
#include "tarvplaces/places.h"

namespace tarv {
namespace {

using atlas::GeoPlace;
using testing::AtlasCodeOf;

class Names : public testing::GeoNamesAtlasTest {
 protected:
  struct Typed {
    const char* typed;
    const char* code;
    const char* geonames_name;     // the most populous place of the country so named
    std::int64_t geonames_id = 0;  // or this one
  };
  // The first place a typed name gives lies where GeoNames puts the place
  // meant, and the place nearest to those coordinates is that place.
  void ExpectFirst(const Typed& c) {
    SCOPED_TRACE(std::string(c.typed) + " in " + c.code);
    const GeoPlace* meant = nullptr;
    for (const auto& p : *places_) {
      if (c.geonames_id != 0 ? p.id == c.geonames_id
                             : p.name == c.geonames_name && AtlasCodeOf(p) == c.code &&
                                   (meant == nullptr || p.population > meant->population)) {
        meant = &p;
      }
    }
    ASSERT_NE(meant, nullptr) << "GeoNames has no " << c.geonames_name;
    double lon = 0;
    double lat = 0;
    ASSERT_GE(places.GetPlaceData(c.typed, c.code, &lon, &lat), 1);
    EXPECT_LT(atlas::DistanceKm(lon, lat, meant->longitude, meant->latitude), 1.0)
        << "gave " << places.GetPlaceDataOfId(0).at(0) << ", meant " << meant->name;
    const std::string line = places.GetNearestPlace(c.code, meant->longitude, meant->latitude);
    const auto tab = line.find('\t');
    ASSERT_NE(tab, std::string::npos);
    EXPECT_NEAR(std::stod(line.substr(tab + 1)), meant->longitude, 1e-4) << line;
  }
};

// Every name GeoNames lists for the most populous places is typed by the
// whole check below; these are the names it does not type: the famous
// places as the atlas names them, German transcriptions, smaller cities'
// names, Arabic with its vowel marks or not listed, and scripts nothing
// romanises.
TEST_F(Names, EveryScriptAndSpellingFindsThePlace) {
  const Typed kCases[] = {{"München", "D", "Munich"},   {"Köln", "D", "Köln"},
                          {"Wien", "A", "Vienna"},      {"Warszawa", "PL", "Warsaw"},
                          {"Praha", "CZ", "Prague"},    {"Moskva", "SSR", "Moscow"},
                          {"Milano", "I", "Milan"},     {"Paris", "F", "Paris"},
                          {"Lisboa", "P", "Lisbon"},    {"Tokyo", "J", "Tokyo"},
                          {"Koeln", "D", "Köln"},       {"Duesseldorf", "D", "Düsseldorf"},
                          {"Genève", "CH", "Genève"},   {"Genf", "CH", "Genève"},
                          {"Geneva", "CH", "Genève"},   {"Plzeň", "CZ", "Pilsen"},
                          {"Plzen", "CZ", "Pilsen"},    {"Pilsen", "CZ", "Pilsen"},
                          {"عمّان", "JOR", "Amman"},     {"الخرطوم", "SUD", "Khartoum"},
                          {"ភ្នំពេញ", "K", "Phnom Penh"}, {"ວຽງຈັນ", "LAO", "Vientiane"},
                          {"කොළඹ", "CL", "Colombo"}};
  for (const auto& c : kCases)
    ExpectFirst(c);
}

// Known by the name rather than bearing it: Heroica Matamoros (450,000
// people) before Matamoros, Coahuila; the city GeoNames lists as Shevchenko
// before the village Aktau; the county seat before a part of Lexington of
// about its size.
TEST_F(Names, NamesakesGiveThePlaceMostPeopleMean) {
  const Typed kCases[] = {{"Perth", "AUS", "Perth"},           {"Belém", "BR", "Belém"},
                          {"Mérida", "MEX", "Mérida"},         {"Chihuahua", "MEX", "Chihuahua"},
                          {"Hermosillo", "MEX", "Hermosillo"}, {"Mazatlán", "MEX", "Mazatlán"},
                          {"Jayapura", "RI", "Jayapura"},      {"Matamoros", "MEX", "", 3523466},
                          {"Aktau", "KAZ", "", 610612},        {"Monticello", "USKY", "", 4301224}};
  for (const auto& c : kCases)
    ExpectFirst(c);
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
  const auto listed = [&](const char* name) {
    return std::count(items.items.begin(), items.items.end(), name);
  };
  places.SearchPlacesInForm(items, "M*", "D", &found, &added);
  EXPECT_EQ(listed("München"), 1);
  for (const char* other : {"Minhen", "Muenhen", "Münhen", "Munich"})
    EXPECT_EQ(listed(other), 0) << other;
  places.SearchPlacesInForm(items, "New*", "USNY", &found, &added);
  for (const char* other : {"New York borg", "New Yorke", "New Orange"})
    EXPECT_EQ(listed(other), 0) << other;
}

// The first place found and its country: by another name, by coordinates
// inside the country, in a group's members, and without a country (at most
// 50, Heroica Matamoros first).
TEST_F(Names, TheFirstPlaceFoundIsTheOneMeantUnderItsLocalName) {
  const struct {
    const char* typed;
    const char* code;   // "" for every country
    std::size_t field;  // 0 the name, 1 the country
    const char* expected;
  } kCases[] = {{"Munich", "D", 0, "München"}, {"Vienna", "A", 0, "Wien"},
                {"Prague", "CZ", 0, "Praha"},  {"Pilsen", "CZ", 0, "Plzen"},
                {"Prag", "CZ", 0, "Praha"},    {"11.575 48.137", "D", 0, "München"},
                {"Wien", "EUROPA", 1, "A"},    {"Vienna", "EUROPA", 0, "Wien"},
                {"Paris", "", 1, "F"},         {"Par*", "", 0, "Paris"},
                {"ភ្នំពេញ", "", 1, "K"}};
  for (const auto& c : kCases) {
    const auto found =
        *c.code != 0 ? places.GetPlaceData(c.typed, c.code) : places.SearchAllCountries(c.typed);
    ASSERT_GE(found, 1) << c.typed;
    EXPECT_EQ(places.GetPlaceDataOfId(0).at(c.field), c.expected) << c.typed;
  }
  EXPECT_GT(places.SearchAllCountries("Paris"), 1);
  EXPECT_EQ(places.SearchAllCountries("Par*"), 50);
  ASSERT_GT(places.SearchAllCountries("Matamoros"), 1);
  double lon = 0;
  double lat = 0;
  places.GetPlaceDataX("Matamoros", places.GetPlaceDataOfId(0).at(1), &lon, &lat);
  EXPECT_LT(atlas::DistanceKm(lon, lat, -97.50417, 25.87972), 1.0);
}

// The names a user types a country by (its ISO codes: below).
TEST_F(Names, CountriesByNamesInTheirLanguages) {
  const std::pair<const char*, const char*> kCases[] = {
      {"Germany", "D"},    {"Allemagne", "D"}, {"Deutschland", "D"},    {"Alemania", "D"},
      {"Kambodscha", "K"}, {"កម្ពុជា", "K"},     {"United States", "USA"}};
  for (const auto& [typed, code] : kCases) {
    const auto info = places.FindCountry(typed);
    ASSERT_TRUE(info) << typed;
    EXPECT_EQ(info->Code, code) << typed;
  }
  EXPECT_EQ(places.FindCountry("ES", CountryCodes::kAtlas)->Code, "ES");  // El Salvador, not Spain
}

// The values of `key` in a JSON file of iso-codes, in the file's order.
std::vector<std::string> IsoCodes(const std::string& file, const std::string& key) {
  std::ifstream in("/usr/share/iso-codes/json/" + file);
  const std::string text((std::istreambuf_iterator<char>(in)), {});
  const std::string marker = "\"" + key + "\": \"";
  std::vector<std::string> values;
  for (auto at = text.find(marker); at != std::string::npos; at = text.find(marker, at + 1)) {
    const auto from = at + marker.size();
    values.push_back(text.substr(from, text.find('"', from) - from));
  }
  return values;
}

// Every ISO 3166-1 code of a country the atlas holds finds that country
// (where the atlas files it: GeoNames' places tell), and every ISO 3166-2
// code of its states and provinces the country, or for the USA the state.
TEST_F(Names, EveryIsoCodeFindsItsOwnCountry) {
  std::map<std::string, std::string> filed;  // ISO alpha-2 -> atlas code
  for (const auto& p : *places_) {
    const std::string code = AtlasCodeOf(p);
    if (!code.empty()) filed.emplace(p.country, code.rfind("US", 0) == 0 ? "USA" : code);
  }
  const auto alpha2 = IsoCodes("iso_3166-1.json", "alpha_2");
  const auto alpha3 = IsoCodes("iso_3166-1.json", "alpha_3");
  ASSERT_GT(alpha2.size(), 240U) << "iso-codes is not installed (scripts/setup.sh)";
  ASSERT_EQ(alpha2.size(), alpha3.size());
  std::vector<std::pair<std::string, std::string>> cases(filed.begin(), filed.end());
  for (std::size_t i = 0; i < alpha2.size(); ++i) {
    if (filed.count(alpha2[i]) != 0) cases.emplace_back(alpha3[i], filed[alpha2[i]]);
  }
  for (const auto& code : IsoCodes("iso_3166-2.json", "code")) {
    const auto held = filed.find(code.substr(0, code.find('-')));
    if (held != filed.end()) cases.emplace_back(code, held->second);
  }
  std::cout << filed.size() << " countries, " << cases.size() << " ISO codes\n";
  EXPECT_GT(cases.size(), 2 * 240U + 5000U);
  for (const auto& [iso, code] : cases) {
    const auto found = places.FindCountry(iso);
    const bool us_state = iso.rfind("US-", 0) == 0;
    // An outlying area of the USA the atlas holds no places of names nothing.
    if (!found && us_state) continue;
    ASSERT_TRUE(found) << iso;
    if (us_state) {
      EXPECT_TRUE(found->Code == "US" + iso.substr(3) || found->Iso.rfind("US-", 0) != 0)
          << iso << " found " << found->Code;
    } else {
      EXPECT_EQ(found->Code, code) << iso;
    }
  }
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
  EXPECT_GE(r.RightPercent(), 99.9);
  EXPECT_EQ(r.far, 0U);
}

}  // namespace
}  // namespace tarv
