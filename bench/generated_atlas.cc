#include "generated_atlas.h"

#include <array>
#include <chrono>
#include <fstream>
#include <iterator>
#include <random>
#include <set>

#include "atlas/country_table.h"
#include "atlas/place_file_writer.h"
#include "atlas/zone_table.h"
#include "atlas/zone_table_source.h"
#include "platform/atomic_file.h"

namespace tarv::bench {
namespace {

// Syllables of German and Austrian place names, Windows-1252.
constexpr std::array<const char*, 40> kStarts = {
    "Ober",    "Unter",   "Alt",     "Neu",       "Gro\xDF",  "Klein", "Hoh",    "Wald",
    "Berg",    "Stein",   "M\xFChl", "K\xF6nigs", "Sch\xF6n", "Eich",  "Linden", "Rosen",
    "Wei\xDF", "Schwarz", "Roth",    "Hain",      "Bruck",    "Frei",  "Hof",    "Kirch",
    "Lauf",    "Ried",    "Buch",    "Wolf",      "Sonnen",   "Mar",   "Loh",    "Tann",
    "Gries",   "Fl\xF6h", "D\xFCrr", "Ahr",       "Heil",     "Bad",   "Esch",   "Ulm"};
constexpr std::array<const char*, 24> kEnds = {"bach",
                                               "berg",
                                               "burg",
                                               "dorf",
                                               "feld",
                                               "hausen",
                                               "heim",
                                               "hofen",
                                               "ingen",
                                               "kirchen",
                                               "stadt",
                                               "stein",
                                               "t\xE4l",
                                               "wald",
                                               "weiler",
                                               "wang",
                                               "br\xFC"
                                               "ck",
                                               "au",
                                               "furt",
                                               "gm\xFCnd",
                                               "l\xF6h",
                                               "rode",
                                               "see",
                                               "hagen"};
constexpr std::array<const char*, 6> kPrefixes = {"Bad ", "St. ", "Sankt ", "Markt ", "Alt-", ""};
constexpr std::array<const char*, 5> kSuffixes = {" am See", " an der Donau", " im Tal", " (Ort)",
                                                  ""};

std::string MakeName(std::mt19937& rng) {
  std::string name;
  if (rng() % 8 == 0) name += kPrefixes[rng() % kPrefixes.size()];
  name += kStarts[rng() % kStarts.size()];
  name += kEnds[rng() % kEnds.size()];
  if (rng() % 10 == 0) name += kSuffixes[rng() % kSuffixes.size()];
  return name.substr(0, kPlaceNameWidth);
}

std::string ReadText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace

std::string WithoutAccents(const std::string& ansi_name) {
  std::string plain;
  for (const char c : ansi_name) {
    switch (static_cast<unsigned char>(c)) {
      case 0xE4:
        plain += 'a';
        break;
      case 0xF6:
        plain += 'o';
        break;
      case 0xFC:
        plain += 'u';
        break;
      case 0xDF:
        plain += "ss";
        break;
      default:
        plain += c;
    }
  }
  return plain;
}

GeneratedAtlas MakeGeneratedAtlas(std::size_t count, unsigned seed) {
  GeneratedAtlas atlas;
  atlas.folder = std::filesystem::temp_directory_path() /
                 ("tarvplaces-bench-" + std::to_string(count) + "-" + std::to_string(seed));
  std::filesystem::create_directories(atlas.folder);

  CountryRecord germany;
  germany.CountryId = 58;
  germany.CountryTitle = "Deutschland";
  germany.CountryShort = "D";
  germany.TimezoneShort = "MET";
  germany.Continent = "EUROPA";
  germany.ContinentID = 4;
  std::vector<CountryRecord> countries = {germany};
  for (int i = 0; i < 5; ++i) {
    CountryRecord group;
    group.CountryId = static_cast<std::int16_t>(900 + i);
    group.CountryTitle = group.CountryShort = "Gruppe" + std::to_string(i);
    countries.push_back(group);
  }
  WriteFileAtomically(atlas.folder / "Country.dat", CountryFileText(countries));
  const std::string zones_tsv = std::string(TARV_SOURCE_DIR) + "/data/zones.tsv";
  WriteFileAtomically(
      atlas.folder / "Zones13.bin",
      EncodeZoneFile(ValueOrAtlasError(ParseZoneTableSource(ReadText(zones_tsv), zones_tsv))));

  std::mt19937 rng(seed);
  std::uniform_real_distribution<float> lon(5.9F, 15.0F);
  std::uniform_real_distribution<float> lat(47.3F, 55.0F);
  std::set<std::string> seen;
  while (atlas.places.size() < count) {
    const std::string name = MakeName(rng);
    // Real atlases repeat names (Neustadt), but not too often.
    if (!seen.insert(name).second && rng() % 4 != 0) continue;
    PlaceRecord p;
    p.SetName(name);
    p.Longitude = lon(rng);
    p.Latitude = lat(rng);
    p.Timetable = static_cast<std::int16_t>(1 + rng() % 3);
    atlas.places.push_back(p);
  }
  WritePlaceFiles(atlas.folder, "D", atlas.places);
  // An installed atlas is old: date the files back, so that caches trust them
  // as they would trust files that have not changed for a while.
  const auto installed = std::filesystem::file_time_type::clock::now() - std::chrono::hours(24);
  for (const auto& entry : std::filesystem::directory_iterator(atlas.folder)) {
    std::filesystem::last_write_time(entry.path(), installed);
  }
  std::filesystem::last_write_time(atlas.folder, installed);
  return atlas;
}

}  // namespace tarv::bench
