#include "atlas/nearest_place.h"

#include <algorithm>
#include <cmath>

#include "atlas/country_table.h"
#include "atlas/process_state.h"
#include "platform/lz.h"
#include "util/bytes.h"
#include "util/file_tests.h"
#include "util/number_text.h"
#include "util/text.h"

namespace tarv {
namespace {

// No pair of valid coordinates lies this far apart.
constexpr double kNoDistance = 1000.0;

bool CountriesLoaded() {
  InitializeCountries("", "Country.dat", false, false);
  return State().countries_loaded;
}

}  // namespace

std::optional<NearestPlace> FindNearestPlace(std::string_view code, double longitude,
                                             double latitude, double range_degrees) {
  if (!CountriesLoaded()) return std::nullopt;
  const std::string place_file = GetCompressedPlaceFile(Trim(code));
  std::optional<NearestPlace> best;
  double best_distance = kNoDistance;
  std::int32_t position = 0;
  // The records are scanned where they lie in the expanded images, in the
  // order Read_Cp_ORTE would list them; only the winner is decoded.
  for (const bool user : {true, false}) {
    const std::string file = user ? Get_UserFile(place_file) : place_file;
    if (!Exist(file)) continue;
    std::int32_t error = 0;
    const auto image = ExpandedImage(file, error);
    if (!image) {
      PlaceList unused;
      Read_Cp_ORTE(place_file, unused);  // reports the error as a full read does
      return std::nullopt;
    }
    const std::string_view bytes = *image;
    const std::size_t count =
        std::min<std::size_t>(bytes.size() / kPlaceRecordSize, kMaxPlaceRecords);
    for (std::size_t r = 0; r < count; ++r) {
      const std::string_view record = bytes.substr(r * kPlaceRecordSize, kPlaceRecordSize);
      if (record[0] == kDeletedMark) continue;
      const double dx =
          std::fabs(static_cast<double>(DecodeFloat32(record, kPlaceLongitudeAt)) - longitude);
      const double dy =
          std::fabs(static_cast<double>(DecodeFloat32(record, kPlaceLatitudeAt)) - latitude);
      // pow(x, 2) is exact for a square, so x * x gives the same distance.
      const double distance = std::sqrt(dx * dx + dy * dy);
      const bool in_range = range_degrees == 0.0 || distance < range_degrees;
      if (in_range && distance < best_distance) {
        best_distance = distance;
        const auto number = static_cast<std::int16_t>(r + 1);
        best = NearestPlace{DecodePlaceRecord(record),
                            PlaceRef{"", user ? static_cast<std::int16_t>(-number) : number},
                            position, distance};
      }
      ++position;
    }
  }
  return best;
}

std::string NearestPlaceLine(const NearestPlace& nearest, bool with_position) {
  std::string line(nearest.place.NameField());
  line += '\t' + SingleToText(nearest.place.Longitude);
  line += '\t' + SingleToText(nearest.place.Latitude);
  line += '\t' + std::to_string(nearest.place.Timetable);
  if (with_position) line += '\t' + std::to_string(nearest.position);
  return line;
}

void SearchNearestPlace(std::string& result, std::string_view code, double longitude,
                        double latitude, double range_degrees) {
  if (!CountriesLoaded()) return;
  const auto nearest = FindNearestPlace(code, longitude, latitude, range_degrees);
  result = nearest ? NearestPlaceLine(*nearest, range_degrees == 0.0) : std::string();
}

}  // namespace tarv
