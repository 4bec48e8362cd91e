// Writes the small sample atlas the build uses for its smoke run and for
// examples: "Country.dat" with a selection of countries, US states and the
// five group lines, in the atlas's own format (Windows-1252, TAB, CR LF), and
// "Zones13.bin" compiled from the zone table source.
//
// Usage: tarv_make_sample_atlas OUTDIR ZONES_TSV
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

#include "atlas/country_table.h"
#include "atlas/zone_table.h"
#include "atlas/zone_table_source.h"
#include "platform/atomic_file.h"
#include "tarvplaces/atlas_error.h"
#include "text/codepage.h"

namespace {

struct SampleCountry {
  std::int16_t id;
  const char* title;  // UTF-8, German
  const char* code;
  const char* zone;
  const char* continent;
  const char* sub_continent;
  std::int16_t continent_id;
};

// Continent numbers: 1 Africa, 2 Americas, 3 Asia, 4 Europe, 5 Oceania, 6 USA.
constexpr SampleCountry kCountries[] = {
    {1, "Deutschland", "D", "MEZ", "EUROPA", "Mitteleuropa", 4},
    {2, "Österreich", "A", "MEZ", "EUROPA", "Mitteleuropa", 4},
    {3, "Schweiz", "CH", "MEZ", "EUROPA", "Mitteleuropa", 4},
    {4, "Frankreich", "F", "MEZ", "EUROPA", "Westeuropa", 4},
    {5, "Italien", "I", "MEZ", "EUROPA", "Südeuropa", 4},
    {6, "Spanien", "E", "MEZ", "EUROPA", "Südeuropa", 4},
    {7, "Großbritannien", "GBE", "GMT", "EUROPA", "Westeuropa", 4},
    {8, "Russland", "SSR", "MSK", "EUROPA", "Osteuropa", 4},
    {9, "Jugoslawien", "YU", "MEZ", "EUROPA", "Südosteuropa", 4},
    {10, "Türkei", "TR", "OEZ", "ASIEN", "Vorderasien", 3},
    {11, "Japan", "J", "JST", "ASIEN", "Ostasien", 3},
    {12, "Australien", "AUS", "AEST", "OCEANIEN", "Australien", 5},
    {13, "Brasilien", "BR", "BRT", "AMERIKA", "Südamerika", 2},
    {14, "Kanada", "CDN", "EST", "AMERIKA", "Nordamerika", 2},
    {15, "Ägypten", "ET", "OEZ", "AFRIKA", "Nordafrika", 1},
    {16, "Kalifornien", "USCA", "PST", "USA", "Westküste", 6},
    {17, "New York", "USNY", "EST", "USA", "Ostküste", 6},
    {18, "Texas", "USTX", "CST", "USA", "Süden", 6},
    {90, "Karibik", "KAR", "AST", "AMERIKA", "Karibik", 2},
    {91, "Antarktis", "ANT", "GMT", "OCEANIEN", "Antarktis", 5},
    {92, "Arktis", "ARK", "GMT", "EUROPA", "Arktis", 4},
    {93, "Atlantische Inseln", "ATL", "GMT", "EUROPA", "Atlantik", 4},
    {94, "Pazifische Inseln", "PAZ", "GMT", "OCEANIEN", "Pazifik", 5},
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: tarv_make_sample_atlas OUTDIR ZONES_TSV\n";
    return 2;
  }
  try {
    const std::filesystem::path out = argv[1];
    std::filesystem::create_directories(out);
    std::vector<tarv::CountryRecord> records;
    for (const auto& c : kCountries) {
      tarv::CountryRecord r;
      r.CountryId = c.id;
      r.CountryTitle = tarv::AnsiFromUtf8(c.title);
      r.CountryShort = c.code;
      r.TimezoneShort = c.zone;
      r.Continent = c.continent;
      r.SubContinent = tarv::AnsiFromUtf8(c.sub_continent);
      r.ContinentID = c.continent_id;
      records.push_back(r);
    }
    tarv::WriteFileAtomically(out / "Country.dat", tarv::CountryFileText(records));

    std::ifstream zones_in(argv[2], std::ios::binary);
    if (!zones_in) throw tarv::AtlasError(argv[2], "cannot be opened for reading");
    const std::string zones_text{std::istreambuf_iterator<char>(zones_in),
                                 std::istreambuf_iterator<char>()};
    tarv::WriteFileAtomically(out / "Zones13.bin",
                              tarv::EncodeZoneFile(tarv::ValueOrAtlasError(
                                  tarv::ParseZoneTableSource(zones_text, argv[2]))));
  } catch (const std::exception& e) {
    std::cerr << "tarv_make_sample_atlas: " << e.what() << '\n';
    return 2;
  }
  return 0;
}
