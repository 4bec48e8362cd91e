// The zone of a found place at a local date: from the place's own history
// where the atlas has one, else from its country's timetable.
#ifndef TARVPLACES_ATLAS_PLACE_ZONE_H_
#define TARVPLACES_ATLAS_PLACE_ZONE_H_

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "atlas/found_place.h"
#include "atlas/timetable.h"
#include "atlas/zone_history.h"

namespace tarv {

// The serial date a Julian day stands for in zone lookups: JulianInSerial,
// except that Julian days of years before 100 (which the host's date type
// cannot hold) and Julian days that are not finite give 1 January 100, a date
// at which every timetable still shows local mean time.
double LookupSerialOfJulian(double julian);

// The answer of `history` as a zone at a date.
ZoneAtDate ZoneOfHistoryAnswer(const PlaceHistory& history, HistoryAnswer answer);

// Adds to `at` (the answer of `own` at the local serial `date`) the zones of
// `near` whose clock then differs from the answer's, each once.
void AddNearZones(ZoneAtDate& at, const PlaceHistory& own, const std::vector<PlaceNearZone>& near,
                  double date);

// The place's own zone history: a database place's from the atlas's files, a
// user place's from the zone map at its coordinates; nullopt where the atlas
// has neither (then the timetable holds).
std::optional<PlaceHistory> OwnHistoryOfPlace(const FoundPlace& place);

// The zone of a found place at the local serial date `date`: from the place's
// own history (OwnHistoryOfPlace) where the atlas has one for it (then
// `own_history` is set and `kind` says whether the local time was skipped or
// repeated), else from its country's timetable as ZoneAt gives it, with
// `kind` from LocalTimeStatus. A damaged history file throws AtlasError.
std::optional<ZoneAtDate> ZoneOfPlaceAt(const FoundPlace& place, double date);

// The zone the atlas's zone map gives at the coordinates, at the local
// serial date `date`; nullopt for an atlas without a map, coordinates off the
// earth and dates that are not finite.
std::optional<ZoneAtDate> ZoneOfPointAt(double longitude, double latitude, double date);

// Where a database place's own history and a timetable of its country give
// different offsets (local mean time counting as an offset of its own),
// judged at noon on the 15th of every month from 1850 through 2100:
// the place's IANA zone and the ranges of years, first to last. nullopt for a
// place without an own history.
struct OwnHistoryDifference {
  std::string iana;
  std::vector<std::pair<int, int>> years;
};
std::optional<OwnHistoryDifference> CompareWithTimetable(const FoundPlace& place,
                                                         std::int16_t timetable);

// "1928-1980, 1986" for year ranges.
std::string YearRangesText(const std::vector<std::pair<int, int>>& years);

// The zone of a found place at the Julian day `julian` (ZoneOfPlaceAt at the
// serial date LookupSerialOfJulian gives). `zone_time` receives the zone's offset in hours,
// `is_lmt` whether it is local mean time. Returns the zone identifier, 0 for
// local mean time.
std::int16_t GetZonenIdOfPlaceData(const FoundPlace& place, double julian, bool& is_lmt,
                                   double& zone_time);

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_PLACE_ZONE_H_
