// The zone boundaries' say on the zones of GeoNames' places. GeoNames gives
// a place the zone of its administrative division, which now and then keeps
// another clock than the place itself (a border town, an island far off the
// coast). Where the boundaries put the place in another zone of its own
// country that keeps another clock at some time 1900-2100, the place takes
// the boundaries' zone.
#ifndef TARVPLACES_TOOLS_ATLAS_BOUNDARY_ZONES_H_
#define TARVPLACES_TOOLS_ATLAS_BOUNDARY_ZONES_H_

#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "atlas/geonames.h"
#include "atlas/tzif.h"

namespace tarv::atlas {

// IANA zone -> the countries (ISO codes) it serves.
using ZoneCountries = std::map<std::string, std::set<std::string>>;

// Adds the rows of a zone.tab (one country code a row) or zone1970.tab
// (comma-separated codes) text to `countries`.
void AddZoneTab(std::string_view text, ZoneCountries& countries);

// zone1970.tab and zone.tab of a zoneinfo folder, those that are there.
ZoneCountries ReadZoneCountries(const std::string& zoneinfo);

// Whether the two zones keep different clocks at some instant of the years
// 1900-2100: another UTC offset, or local mean time in one and not the
// other.
bool ClocksDiffer(const TzifZone& a, const TzifZone& b);

// ClocksDiffer over zones by name, each pair worked out once.
class ClockComparison {
 public:
  explicit ClockComparison(std::function<TzifZone(const std::string&)> load)
      : load_(std::move(load)) {}
  bool Differ(const std::string& a, const std::string& b);

 private:
  const TzifZone& Zone(const std::string& name);

  std::function<TzifZone(const std::string&)> load_;
  std::map<std::string, TzifZone> zones_;
  std::map<std::pair<std::string, std::string>, bool> pairs_;
};

struct BoundaryZoneChange {
  std::string place;
  std::string country;
  std::string geonames_zone;
  std::string boundary_zone;
};

// The zones the boundaries give at (longitude, latitude), first the one
// that holds; the others overlap it (Beijing's time and Ürümqi's in
// Xinjiang).
using ZonesAtPoint = std::function<std::vector<std::string>(double, double)>;

// Gives each place the first zone `zones_at` finds where the rule above
// asks for it; a place whose own zone, or one of its clock, is among them
// keeps it. Returns the places changed, in file order.
std::vector<BoundaryZoneChange> TakeBoundaryZones(std::vector<GeoPlace>& places,
                                                  const ZonesAtPoint& zones_at,
                                                  const ZoneCountries& countries,
                                                  ClockComparison& clocks);

}  // namespace tarv::atlas

#endif  // TARVPLACES_TOOLS_ATLAS_BOUNDARY_ZONES_H_
