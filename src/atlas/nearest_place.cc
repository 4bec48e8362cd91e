#include "atlas/nearest_place.h"

#include <cmath>

#include "atlas/country_table.h"
#include "atlas/process_state.h"
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
  PlaceList places;
  Read_Cp_ORTE(GetCompressedPlaceFile(Trim(code)), places);
  std::optional<NearestPlace> best;
  double best_distance = kNoDistance;
  for (std::size_t i = 0; i < places.size(); ++i) {
    const auto& p = places.places[i];
    const double distance =
        std::sqrt(std::pow(std::fabs(static_cast<double>(p.Longitude) - longitude), 2) +
                  std::pow(std::fabs(static_cast<double>(p.Latitude) - latitude), 2));
    if (range_degrees != 0.0 && !(distance < range_degrees)) continue;
    if (distance < best_distance) {
      best_distance = distance;
      best = NearestPlace{p, places.refs[i], static_cast<std::int32_t>(i), distance};
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
