// GeoNames' tab-separated place records (the "cities500" extract: places
// with 500 or more inhabitants).
#ifndef TARVPLACES_TOOLS_ATLAS_GEONAMES_H_
#define TARVPLACES_TOOLS_ATLAS_GEONAMES_H_

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace tarv::atlas {

// One place; texts are UTF-8 as GeoNames writes them.
struct GeoPlace {
  std::int64_t id = 0;
  std::string name;
  std::string ascii_name;
  std::vector<std::string> alternate_names;
  double latitude = 0;
  double longitude = 0;
  std::string country;       // ISO 3166 alpha-2
  std::string feature_code;  // "PPLC" capital, "PPLA" seat of a first-level division, ...
  std::string admin1;        // first-level division (a state of the USA)
  std::int64_t population = 0;
  std::string timezone;  // IANA zone name
};

// Parses one line of the file (19 TAB-separated columns). Returns false for
// a line that is not a place record (too few columns, bad numbers,
// coordinates off the earth, no zone).
bool ParseGeoNamesLine(std::string_view line, GeoPlace& place);

// Reads every place of the file at `path`; throws AtlasError when the file
// cannot be read or holds no place at all. `bad_lines` counts lines skipped.
std::vector<GeoPlace> ReadGeoNames(const std::string& path, std::size_t& bad_lines);

}  // namespace tarv::atlas

#endif  // TARVPLACES_TOOLS_ATLAS_GEONAMES_H_
