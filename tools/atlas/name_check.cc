#include "atlas/name_check.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>
#include <set>
#include <unordered_map>

#include "atlas/name_key.h"
#include "atlas/place_names.h"
#include "text/codepage.h"

namespace tarv::atlas {
namespace {

constexpr double kEarthRadiusKm = 6371.0;
constexpr double kFarKm = 50.0;
constexpr std::size_t kMissSamples = 50;
// Coordinates are stored as single floats: a place is itself within this.
constexpr double kSamePlaceDegrees = 1e-3;

std::vector<std::string> NamesOf(const GeoPlace& p) {
  std::vector<std::string> names = {p.name, p.ascii_name};
  names.insert(names.end(), p.alternate_names.begin(), p.alternate_names.end());
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  std::erase_if(names, [](const std::string& n) {
    return n.find_first_of("*?[") != std::string::npos || TypedNameKey(n).empty() || IsCodeName(n);
  });
  return names;
}

std::string KeyOf(const std::string& utf8) {
  return TypedNameKey(utf8);
}

}  // namespace

double DistanceKm(double longitude1, double latitude1, double longitude2, double latitude2) {
  constexpr double kRad = std::numbers::pi / 180.0;
  const double dlat = (latitude2 - latitude1) * kRad;
  const double dlon = (longitude2 - longitude1) * kRad;
  const double a = std::sin(dlat / 2) * std::sin(dlat / 2) +
                   std::cos(latitude1 * kRad) * std::cos(latitude2 * kRad) * std::sin(dlon / 2) *
                       std::sin(dlon / 2);
  return 2 * kEarthRadiusKm * std::asin(std::min(1.0, std::sqrt(a)));
}

NameCheckResult CheckNames(classPlaces& places, const std::vector<GeoPlace>& geonames,
                           const std::function<std::string(const GeoPlace&)>& code_of,
                           std::size_t top) {
  std::vector<const GeoPlace*> held;
  std::unordered_map<const GeoPlace*, std::string> codes;
  for (const auto& p : geonames) {
    std::string code = code_of(p);
    if (code.empty()) continue;
    codes.emplace(&p, std::move(code));
    held.push_back(&p);
  }
  std::vector<const GeoPlace*> checked = held;
  std::stable_sort(checked.begin(), checked.end(),
                   [](const auto* a, const auto* b) { return a->population > b->population; });
  if (checked.size() > top) checked.resize(top);

  // The keys the checked places are typed by, then who else carries them.
  std::map<std::pair<std::string, std::string>, std::vector<const GeoPlace*>> carriers;
  for (const auto* p : checked) {
    for (const auto& n : NamesOf(*p))
      carriers[{codes.at(p), KeyOf(n)}];
  }
  std::set<std::string> checked_codes;
  for (const auto* p : checked)
    checked_codes.insert(codes.at(p));
  for (const auto* p : held) {
    const std::string& code = codes.at(p);
    if (!checked_codes.count(code)) continue;
    std::set<std::string> keys;
    for (const auto& n : NamesOf(*p))
      keys.insert(KeyOf(n));
    for (const auto& k : keys) {
      const auto it = carriers.find({code, k});
      if (it != carriers.end()) it->second.push_back(p);
    }
  }

  NameCheckResult r;
  for (const auto* p : checked) {
    ++r.places;
    const std::string& code = codes.at(p);
    for (const auto& name : NamesOf(*p)) {
      const auto& others = carriers.at({code, KeyOf(name)});
      const bool outranked = std::any_of(others.begin(), others.end(), [p](const auto* o) {
        return o != p && o->population > p->population;
      });
      if (outranked) continue;
      std::vector<std::string> typed = {name};
      const std::string plain = Utf8WithoutDiacritics(name);
      if (plain != name) typed.push_back(plain);
      for (const auto& text : typed) {
        ++r.typed;
        const bool shared = others.size() > 1;
        r.shared += shared;
        r.unique += !shared;
        double longitude = 0;
        double latitude = 0;
        const bool found = places.GetPlaceData(text, code, &longitude, &latitude) > 0;
        const bool right = found && std::fabs(longitude - p->longitude) < kSamePlaceDegrees &&
                           std::fabs(latitude - p->latitude) < kSamePlaceDegrees;
        r.right += right;
        r.shared_right += shared && right;
        if (found && DistanceKm(longitude, latitude, p->longitude, p->latitude) > kFarKm) {
          ++r.far;
        }
        if (!right && r.misses.size() < kMissSamples) {
          r.misses.push_back(text + " (" + code + "): " +
                             (found ? std::to_string(longitude) + " " + std::to_string(latitude)
                                    : std::string("nothing")) +
                             ", meant " + p->name);
        }
      }
    }
  }
  return r;
}

WorldCheckResult CheckWorldSearch(classPlaces& places, const std::vector<GeoPlace>& geonames,
                                  const std::function<std::string(const GeoPlace&)>& code_of,
                                  std::size_t top) {
  std::vector<const GeoPlace*> held;
  for (const auto& p : geonames) {
    if (!code_of(p).empty()) held.push_back(&p);
  }
  std::stable_sort(held.begin(), held.end(),
                   [](const auto* a, const auto* b) { return a->population > b->population; });
  if (held.size() > top) held.resize(top);
  WorldCheckResult r;
  for (const auto* p : held) {
    ++r.typed;
    double longitude = 0;
    double latitude = 0;
    if (places.SearchAllCountries(p->name, 1) > 0) {
      const auto first = places.GetPlaceDataOfId(0);
      places.GetPlaceDataX(p->name, first.at(1), &longitude, &latitude, nullptr, 0.0, 0);
      if (std::fabs(longitude - p->longitude) < kSamePlaceDegrees &&
          std::fabs(latitude - p->latitude) < kSamePlaceDegrees) {
        ++r.right;
        continue;
      }
      // A more populous place elsewhere that GeoNames knows by this name?
      const std::string key = KeyOf(p->name);
      const bool namesake = std::any_of(geonames.begin(), geonames.end(), [&](const auto& o) {
        if (o.population <= p->population ||
            DistanceKm(o.longitude, o.latitude, longitude, latitude) > 1.0) {
          return false;
        }
        const auto names = NamesOf(o);
        return std::any_of(names.begin(), names.end(),
                           [&key](const std::string& n) { return KeyOf(n) == key; });
      });
      r.namesakes += namesake;
      r.misses.push_back(p->name + ": " + first.at(0) + " (" + first.at(1) + ")" +
                         (namesake ? ", a more populous namesake" : ""));
    } else {
      r.misses.push_back(p->name + ": nothing");
    }
  }
  return r;
}

}  // namespace tarv::atlas
