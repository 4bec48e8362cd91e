#include "atlas/geonames.h"

#include <charconv>
#include <cmath>
#include <fstream>

#include "tarvplaces/atlas_error.h"

namespace tarv::atlas {
namespace {

// Columns of the GeoNames dump.
enum Column : std::size_t {
  kId = 0,
  kName = 1,
  kAsciiName = 2,
  kAlternateNames = 3,
  kLatitude = 4,
  kLongitude = 5,
  kFeatureCode = 7,
  kCountry = 8,
  kAdmin1 = 10,
  kPopulation = 14,
  kTimezone = 17,
  kColumns = 19,
};

template <typename T>
bool ParseNumber(std::string_view text, T& value) {
  if (text.empty()) return false;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  return ec == std::errc() && end == text.data() + text.size();
}

std::vector<std::string> SplitCommas(std::string_view text) {
  std::vector<std::string> parts;
  std::size_t start = 0;
  while (start <= text.size() && !text.empty()) {
    const auto cut = text.find(',', start);
    parts.emplace_back(text.substr(start, cut == std::string_view::npos ? cut : cut - start));
    if (cut == std::string_view::npos) break;
    start = cut + 1;
  }
  return parts;
}

}  // namespace

bool ParseGeoNamesLine(std::string_view line, GeoPlace& place) {
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  std::string_view f[kColumns];
  std::size_t column = 0;
  std::size_t start = 0;
  while (column < kColumns) {
    const auto tab = line.find('\t', start);
    f[column++] = line.substr(start, tab == std::string_view::npos ? tab : tab - start);
    if (tab == std::string_view::npos) break;
    start = tab + 1;
  }
  if (column < kColumns) return false;
  place = GeoPlace{};
  if (!ParseNumber(f[kId], place.id) || !ParseNumber(f[kLatitude], place.latitude) ||
      !ParseNumber(f[kLongitude], place.longitude) || std::fabs(place.latitude) > 90.0 ||
      std::fabs(place.longitude) > 180.0 || f[kName].empty() || f[kTimezone].empty() ||
      f[kCountry].size() != 2) {
    return false;
  }
  if (!ParseNumber(f[kPopulation], place.population)) place.population = 0;
  place.name = f[kName];
  place.ascii_name = f[kAsciiName];
  place.alternate_names = SplitCommas(f[kAlternateNames]);
  place.feature_code = f[kFeatureCode];
  place.country = f[kCountry];
  place.admin1 = f[kAdmin1];
  place.timezone = f[kTimezone];
  return true;
}

std::vector<GeoPlace> ReadGeoNames(const std::string& path, std::size_t& bad_lines) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw AtlasError(path, "cannot be opened for reading");
  std::vector<GeoPlace> places;
  bad_lines = 0;
  std::string line;
  GeoPlace place;
  while (std::getline(in, line)) {
    if (line.empty()) continue;
    if (ParseGeoNamesLine(line, place)) {
      places.push_back(std::move(place));
    } else {
      ++bad_lines;
    }
  }
  if (places.empty()) throw AtlasError(path, "holds no GeoNames place record");
  return places;
}

}  // namespace tarv::atlas
