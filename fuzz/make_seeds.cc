// Writes the seed corpora of the fuzz targets into fuzz/corpus/<target>/
// from the project's own writers and the tests' sample atlas, in each
// target's input format (see the targets' opening comments):
//   tarv_fuzz_seeds <corpus folder> <folder of sample SZDD files>
// The sample SZDD files are copied as they are.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "atlas/atlas_state.h"
#include "atlas/country_names.h"
#include "atlas/dst_rules.h"
#include "atlas/name_index.h"
#include "atlas/place_file_writer.h"
#include "atlas/timetable.h"
#include "atlas/user_zones.h"
#include "atlas/zone_history.h"
#include "atlas/zone_map.h"
#include "fuzz_support.h"
#include "support/country_fixture.h"
#include "text/bytes.h"
#include "text/lz.h"
#include "util/degrees.h"
#include "util/serial_date.h"

namespace fs = std::filesystem;

namespace {

using namespace tarv;
using fuzz::JoinParts;

fs::path g_corpus;

void Save(const std::string& target, const std::string& name, const std::string& bytes) {
  const fs::path folder = g_corpus / target;
  fs::create_directories(folder);
  std::ofstream out(folder / name, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

PlaceRecord Place(const std::string& name, float longitude, float latitude,
                  std::int16_t timetable = 1) {
  PlaceRecord p;
  p.SetName(name);
  p.Longitude = longitude;
  p.Latitude = latitude;
  p.Timetable = timetable;
  return p;
}

double At(int year, int month, int day, int hour = 0, int minute = 0) {
  return SerialOf({year, month, day, hour, minute, 0});
}

std::string Doubles(const std::vector<double>& values) {
  std::string bytes;
  for (const double v : values)
    AppendFloat64(bytes, v);
  return bytes;
}

std::string Option(int bits) {
  return std::string(1, static_cast<char>(bits));
}

void SzddSeeds(const fs::path& samples) {
  for (const auto& entry : fs::directory_iterator(samples)) {
    const auto ext = entry.path().extension();
    if (ext == ".tx_" || ext == ".txt")
      fs::copy_file(entry.path(), g_corpus / "szdd_fuzzer" / entry.path().filename(),
                    fs::copy_options::overwrite_existing);
  }
  std::vector<PlaceRecord> places = {Place("Berlin", 13.41F, 52.52F, 3),
                                     Place("Bernau", 13.58F, 52.68F)};
  Save("szdd_fuzzer", "places.da_", CompressSzdd(EncodePlaceFile(places), 'o'));
  std::string text;
  for (int i = 0; i < 40; ++i)
    text += "Zeile " + std::to_string(i) + ": Berlin Bernau Bonn\r\n";
  Save("szdd_fuzzer", "text.tx_", CompressSzdd(text, 't'));
  Save("szdd_fuzzer", "empty.tx_", CompressSzdd("", 't'));
}

void CountrySeeds() {
  const auto lines = testing::SampleCountryLines();
  Save("country_file_fuzzer", "sample", Option(0) + testing::JoinCrLf(lines));
  Save("country_file_fuzzer", "sample_sorted", Option(1) + testing::JoinCrLf(lines));
  std::string lf;
  for (std::size_t i = 0; i < 3; ++i)
    lf += lines[i] + "\n";
  Save("country_file_fuzzer", "three_lf", Option(0) + lf);
  Save("country_file_fuzzer", "short_line", Option(0) + "58\tDeutschland\tD\r\n");
}

void ZoneSeeds() {
  const std::string& zones = fuzz::ProjectZoneFile();
  Save("zone_file_fuzzer", "zones13", zones);
  Save("zone_file_fuzzer", "first_60", zones.substr(0, 60 * kZoneRecordSize));
  Save("zone_file_fuzzer", "last_3", zones.substr(zones.size() - 3 * kZoneRecordSize));
}

void PlaceSeeds() {
  std::vector<PlaceRecord> places = {Place("M\xFCnchen", 11.57549F, 48.13743F, 1),
                                     Place("Aachen", 6.08F, 50.77F, 2),
                                     Place("Bach", 9.0F, 48.0F),
                                     Place("Bad Aibling", 12.0F, 47.86F),
                                     Place("Berlin", 13.41F, 52.52F, 3),
                                     Place("'s-Hertogenbosch", 5.3F, 51.7F),
                                     Place("Zwickau", 12.5F, 50.72F)};
  SortForPlaceFile(places);
  std::vector<PlaceRecord> user = {Place("@dorf", 1, 1), Place("Adorf", 12.26F, 50.32F),
                                   Place("Berlin", 13.0F, 52.0F, 9)};
  const std::string searches = "Berlin\nba*\nM?nch*\nMunchen\n_Bach\n48N08 11E34";
  Save("place_file_fuzzer", "compressed",
       JoinParts({Option(1), EncodePlaceFile(places), EncodePlaceIndex(places), searches}));
  Save("place_file_fuzzer", "plain_with_user",
       JoinParts({Option(2), EncodePlaceFile(places), EncodePlaceIndex(places),
                  "  Bad-Aibling.. \nberlin\nAdorf\n*", EncodePlaceFile(user),
                  EncodePlaceIndex(user)}));
  Save("place_file_fuzzer", "szdd_as_stored",
       JoinParts({Option(0), CompressSzdd(EncodePlaceFile(places), 'o'), EncodePlaceIndex(places),
                  "Zwickau\n1Graz\nBad (Aibling)"}));
}

void TimetableSeeds() {
  fuzz::PrepareAtlas(true);
  const auto zone = [](const char* name) { return GetTimezoneId(name); };
  InitializeTimeZones("", "Zones13.bin");
  const std::int16_t met = zone("MET");
  const std::int16_t met_s = zone("MET/S");
  std::vector<TimetableRecord> europe = {{At(1893, 4, 1), met}};
  const int march[] = {31, 30, 29, 28};
  const int october[] = {27, 26, 25, 31};
  for (int y = 1996; y <= 1999; ++y) {
    europe.push_back({At(y, 3, march[y - 1996], 2), met_s});
    europe.push_back({At(y, 10, october[y - 1996], 3), met});
  }
  const std::vector<TimetableRecord> france = {
      {At(1911, 3, 11), zone("GMT")}, {At(1976, 5, 28, 1), zone("WET/S")}, {At(1976, 9, 26), met}};
  const std::string ttx = EncodeTimetableFile({{58, {europe, {{At(1900, 1, 1), met}}, {}}},
                                               {40, {france}},
                                               {3, {{{At(1911, 3, 11), zone("GMT")}}}}});
  const std::string usa =
      EncodeTimetableFile({{200, {{{At(1883, 11, 18, 12), zone("PST")}, {1.0, 140}}}}});
  Save("timetable_fuzzer", "europe_compressed", JoinParts({Option(1), ttx}));
  Save("timetable_fuzzer", "europe_dates",
       JoinParts(
           {Option(0), CompressSzdd(ttx, 'o'),
            Doubles({At(1997, 7, 1), At(1997, 3, 30, 2, 30), At(2020, 7, 1), At(1976, 5, 30)})}));
  Save("timetable_fuzzer", "usa", JoinParts({Option(3), usa, Doubles({At(1950, 1, 1)})}));
  // History after 1999: a change of standard time, summer periods, a
  // timetable sharing them, and a rule for the years after 2037.
  const std::string rules =
      DstRules::Format({{58, 1, 2000, 2037, DstRule::Rule({3, 5, 0, 120}, {10, 5, 0, 180})}},
                       {{58, 1, At(2007, 12, 9, 3), zone("GMT")},
                        {58, 1, At(2008, 3, 30, 1), zone("WET/S")},
                        {58, 1, At(2008, 10, 26, 2), zone("GMT")},
                        {58, 1, At(2016, 5, 1, 2, 30), met}},
                       {{58, 2, 58, 1}});
  Save("timetable_fuzzer", "changes_after_1999",
       JoinParts({Option(4), ttx, Doubles({At(2008, 7, 1), At(2040, 7, 1), At(2008, 3, 30, 1, 30)}),
                  rules}));
  ResetDefaultAtlas();
}

void DegreeSeeds() {
  const auto numbers = [](double value, std::int16_t flags) {
    std::string bytes;
    AppendFloat64(bytes, value);
    AppendInt16(bytes, flags);
    return bytes;
  };
  Save("degrees_fuzzer", "latitude", JoinParts({"48N08' 15\"", numbers(48.1375, kLatitudeFlags)}));
  Save("degrees_fuzzer", "longitude", JoinParts({"0113415E", numbers(-11.57, kLongitudeFlags)}));
  Save("degrees_fuzzer", "exponent", JoinParts({"1.5E-05", numbers(59.99999, 5 + kUnitMarksFlag)}));
  Save("degrees_fuzzer", "south_words",
       JoinParts({"-33 30,5 S\xFC"
                  "d",
                  numbers(-33.5, 11 + kLatitudeFlag + kHemisphereWordFlag)}));
  Save("degrees_fuzzer", "signed", JoinParts({"4830.5", numbers(179.9999, 17 + kSignSwitchFlag)}));
}

void SearchSeeds() {
  Save("search_pattern_fuzzer", "accents", "M\xFCnchen\nMunchen\nM\xDCNCHEN\nMuenchen");
  Save("search_pattern_fuzzer", "folding", "]Munch*\nM\xFCnchen\nMunich");
  Save("search_pattern_fuzzer", "wildcards", "B?r*n\nBerlin\nBernau\nBremen\nBad Aibling");
  Save("search_pattern_fuzzer", "sets", "[A-C]*[!x]\nAachen\nBach\nZwickau\n[]");
  Save("search_pattern_fuzzer", "apostrophe",
       "'s-Hertogenbosch\n's Hertogenbosch\nSt. Gallen\nSt Gallen");
}

void UserPlaceSeeds() {
  const auto call = [](int op, const std::string& name) {
    return std::string(1, static_cast<char>(op)) + std::string(1, static_cast<char>(name.size())) +
           name;
  };
  Save("user_places_fuzzer", "adds",
       call(0, "Zell") + call(0, "Bonn") + call(0, "Aalen") + call(0, "Bad T\xF6lz") +
           call(0, "bonn"));
  Save("user_places_fuzzer", "delete",
       call(1, "Graz") + call(1, "Wien") + call(5, "Graz") + call(1, "Graz"));
  Save("user_places_fuzzer", "odd_names",
       call(2, "  ") + call(2, "@dorf") + call(2, "Tab\tName\r\n") +
           call(2, "A name much longer than twenty-eight bytes") + call(3, "Nowhere"));
}

}  // namespace

void NameIndexSeeds() {
  Save(
      "name_index_fuzzer", "three_names",
      EncodeNameIndex({{"munich", 1, 1500000}, {"muenchen", 1, 1500000}, {"wien", 2, 1900000}}, 3));
  Save("name_index_fuzzer", "empty", EncodeNameIndex({}, 0));
  Save("name_index_fuzzer", "khmer_and_ranks",
       EncodeNameIndex({{"\xE1\x9E\x97\xE1\x9F\x92\xE1\x9E\x93", 1, 2000000, 0, true},
                        {"phnompenh", 1, 2000000, 0, false},
                        {"aktau", 2, 9977, 6, true}},
                       2));
  Save("name_index_fuzzer", "scripts",
       "\xD0\x9C\xD0\xBE\xD1\x81\xD0\xBA\xD0\xB2\xD0\xB0 "
       "\xE6\x9D\xB1\xE4\xBA\xAC \xC5\x81\xC3\xB3"
       "d\xC5\xBA");
}

void CountryNameSeeds() {
  Save("country_names_fuzzer", "codes_and_names",
       CountryNamesText({{"D", true, "DE"},
                         {"D", true, "DEU"},
                         {"USCA", true, "US-CA"},
                         {"D", false, "germany"},
                         {"K", false, "\xE1\x9E\x80\xE1\x9E\x98"}}));
  Save("country_names_fuzzer", "header_only", CountryNamesText({}));
}

void ZoneHistorySeeds() {
  const ZoneHistory berlin{"Europe/Berlin",
                           {{0, 3208, false, true, 0, "LMT"},
                            {-2422054408, 3600, false, false, 2, "CET"},
                            {323830800, 7200, true, false, 285, "CEST"},
                            {338950800, 3600, false, false, 2, "CET"}},
                           "CET-1CEST,M3.5.0,M10.5.0/3",
                           2,
                           285};
  const ZoneHistory lagos{"Africa/Lagos",
                          {{0, 815, false, true, 0, "LMT"},
                           {-2035584815, 0, false, false, 1, "GMT"},
                           {-1940889600, 815, false, true, 0, "LMT"},
                           {-1767226415, 1800, false, false, 83, "+0030"}},
                          "WAT-1",
                          37,
                          37};
  Save("zone_history_fuzzer", "two_zones", EncodeZoneHistories({berlin, lagos}, "2025b"));
  Save("zone_history_fuzzer", "place_zones",
       EncodePlaceZones({0, 1, kNoPlaceZone}, {0}, {{1, 1, 1200}, {2, 0, 30}}));
  Save("zone_history_fuzzer", "southern_rule", "AEST-10AEDT,M10.1.0,M4.1.0/3");
  Save("zone_history_fuzzer", "odd_rule", "<-02>2<-01>,M3.5.0/-1,J365/25");

  // A split root: one zone, a tile with a holed square and its hole, the sea.
  ZoneMapData map;
  for (std::uint16_t i = 0; i < kSeaZoneCount; ++i)
    map.sea[i] = i;
  map.nodes = {{ZoneMapData::NodeKind::kSplit, 1},
               {ZoneMapData::NodeKind::kZone, 25},
               {ZoneMapData::NodeKind::kTile, 0},
               {ZoneMapData::NodeKind::kSea, 0},
               {ZoneMapData::NodeKind::kSea, 0}};
  const ZoneMapData::Ring square{{-17000000, -1000000, -1000000, -17000000},
                                 {1000000, 1000000, 8000000, 8000000}};
  const ZoneMapData::Ring hole{{-10000000, -8000000, -8000000, -10000000},
                               {3000000, 3000000, 6000000, 6000000}};
  map.tiles = {{{27, {square, hole}}, {26, {hole}}}};
  Save("zone_map_fuzzer", "small_map", EncodeZoneMap(map));
  Save("zone_map_fuzzer", "named_zones",
       EncodeUserZones({{"Hinterdorf", "America/Chicago"}, {"Vorderdorf", "Europe/Berlin"}}));
}

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s <corpus folder> <folder of sample SZDD files>\n", argv[0]);
    return 2;
  }
  g_corpus = argv[1];
  fs::create_directories(g_corpus / "szdd_fuzzer");
  SzddSeeds(argv[2]);
  CountrySeeds();
  ZoneSeeds();
  PlaceSeeds();
  TimetableSeeds();
  DegreeSeeds();
  SearchSeeds();
  UserPlaceSeeds();
  NameIndexSeeds();
  CountryNameSeeds();
  ZoneHistorySeeds();
  return 0;
}
