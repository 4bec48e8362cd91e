#include "atlas/boundary_zones.h"

#include <algorithm>
#include <filesystem>
#include <limits>
#include <optional>
#include <sstream>

#include "atlas/posix_tz.h"
#include "atlas/source_files.h"

namespace fs = std::filesystem;

namespace tarv::atlas {
namespace {

constexpr std::int64_t kFrom1900 = -2208988800;
constexpr std::int64_t kTo2101 = 4133980800;
constexpr std::int64_t kAverageYear = 31556952;

struct Clock {
  std::int32_t offset = 0;
  bool local_mean_time = false;
  friend bool operator==(const Clock&, const Clock&) = default;
};

// A zone's clock at any instant: its transitions, then the rule of its
// footer.
class ZoneClock {
 public:
  explicit ZoneClock(const TzifZone& zone) : zone_(zone), rule_(PosixTzRule::Parse(zone.footer)) {}

  Clock At(std::int64_t t) const {
    if (!rule_ || (!zone_.transitions.empty() && t <= zone_.transitions.back().at)) {
      const TzifType& type = TypeAt(zone_, t);
      return {type.utc_offset, type.abbreviation == "LMT"};
    }
    if (!rule_->has_daylight()) return {rule_->standard_offset(), false};
    if (rule_->AlwaysDaylight()) return {rule_->daylight_offset(), false};
    bool daylight = false;
    std::int64_t latest = std::numeric_limits<std::int64_t>::min();
    const int year = static_cast<int>(1970 + t / kAverageYear);
    for (int y = year - 2; y <= year + 1; ++y) {
      for (const auto& change : rule_->ChangesIn(y)) {
        if (change.at <= t && change.at > latest) {
          latest = change.at;
          daylight = change.to_daylight;
        }
      }
    }
    return {daylight ? rule_->daylight_offset() : rule_->standard_offset(), false};
  }

  // Every instant of 1900-2100 the clock may change at.
  void AddChanges(std::vector<std::int64_t>& instants) const {
    for (const auto& t : zone_.transitions) {
      if (t.at > kFrom1900 && t.at < kTo2101) instants.push_back(t.at);
    }
    if (!rule_) return;
    const std::int64_t after = zone_.transitions.empty() ? kFrom1900 : zone_.transitions.back().at;
    for (int y = static_cast<int>(1970 + after / kAverageYear) - 1; y <= 2100; ++y) {
      for (const auto& change : rule_->ChangesIn(y)) {
        if (change.at > after && change.at > kFrom1900 && change.at < kTo2101)
          instants.push_back(change.at);
      }
    }
  }

 private:
  const TzifZone& zone_;
  std::optional<PosixTzRule> rule_;
};

}  // namespace

void AddZoneTab(std::string_view text, ZoneCountries& countries) {
  std::istringstream in{std::string(text)};
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream fields(line);
    std::string codes, coordinates, zone;
    if (!std::getline(fields, codes, '\t') || !std::getline(fields, coordinates, '\t') ||
        !std::getline(fields, zone, '\t')) {
      continue;
    }
    if (!zone.empty() && zone.back() == '\r') zone.pop_back();
    std::istringstream list(codes);
    for (std::string code; std::getline(list, code, ',');)
      countries[zone].insert(code);
  }
}

ZoneCountries ReadZoneCountries(const std::string& zoneinfo) {
  ZoneCountries countries;
  for (const char* file : {"zone1970.tab", "zone.tab"}) {
    const fs::path path = fs::path(zoneinfo) / file;
    if (fs::exists(path)) AddZoneTab(ReadText(path.string()), countries);
  }
  return countries;
}

bool ClocksDiffer(const TzifZone& a, const TzifZone& b) {
  const ZoneClock clock_a(a), clock_b(b);
  std::vector<std::int64_t> instants{kFrom1900};
  clock_a.AddChanges(instants);
  clock_b.AddChanges(instants);
  return std::any_of(instants.begin(), instants.end(),
                     [&](std::int64_t t) { return !(clock_a.At(t) == clock_b.At(t)); });
}

const TzifZone& ClockComparison::Zone(const std::string& name) {
  auto it = zones_.find(name);
  if (it == zones_.end()) it = zones_.emplace(name, load_(name)).first;
  return it->second;
}

bool ClockComparison::Differ(const std::string& a, const std::string& b) {
  const auto key = std::minmax(a, b);
  auto it = pairs_.find(key);
  if (it == pairs_.end()) it = pairs_.emplace(key, ClocksDiffer(Zone(a), Zone(b))).first;
  return it->second;
}

std::vector<BoundaryZoneChange> TakeBoundaryZones(std::vector<GeoPlace>& places,
                                                  const ZonesAtPoint& zones_at,
                                                  const ZoneCountries& countries,
                                                  ClockComparison& clocks) {
  std::vector<BoundaryZoneChange> changes;
  for (auto& place : places) {
    const std::vector<std::string> zones = zones_at(place.longitude, place.latitude);
    if (zones.empty() || std::find(zones.begin(), zones.end(), place.timezone) != zones.end()) {
      continue;
    }
    const std::string& zone = zones.front();
    // A zone of another country would move the place across a border that
    // the outlines or GeoNames' coordinates may have got a little wrong.
    const auto served = countries.find(zone);
    if (served == countries.end() || served->second.count(place.country) == 0) continue;
    // Where the boundaries overlap (Beijing's time and Ürümqi's over
    // Xinjiang), a place keeping the clock of one of them lies within it.
    if (std::any_of(zones.begin(), zones.end(), [&](const std::string& other) {
          return !clocks.Differ(place.timezone, other);
        })) {
      continue;
    }
    changes.push_back({place.name, place.country, place.timezone, zone});
    place.timezone = zone;
  }
  return changes;
}

}  // namespace tarv::atlas
