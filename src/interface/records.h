// The public records (tarvplaces/records.h) made from what the current
// atlas holds: the one place where table records, found places and zone
// answers become the typed, UTF-8 records every front end shows.
#ifndef TARVPLACES_INTERFACE_RECORDS_H_
#define TARVPLACES_INTERFACE_RECORDS_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "atlas/found_place.h"
#include "atlas/nearest_place.h"
#include "atlas/timetable.h"
#include "tarvplaces/records.h"

namespace tarv {

// Zone `id` of the zone table for a place at `longitude` (which only local
// mean time needs: its offset is the place's own, longitude / 15). An id
// outside the table gives a blank zone with that id.
ZoneInfo ZoneInfoOf(std::int16_t id, double longitude);

// A found place with the zone in force at the local serial date `serial`
// (LookupSerialOfJulian's reckoning) from its own history or timetable, or
// with its standard zone.
PlaceInfo PlaceInfoOf(const FoundPlace& found, std::optional<double> serial);

// The nearest place of the country `code` as a search would have found it.
FoundPlace FoundPlaceOf(const NearestPlace& nearest, std::string_view code);

// The nearest place of the country `code` with its standard zone.
PlaceInfo PlaceInfoOf(const NearestPlace& nearest, std::string_view code);

// The record of the zone `at` at coordinates, at the local serial date
// `serial`.
PointZone PointZoneOf(double longitude, double latitude, const ZoneAtDate& at, double serial);

// The record at `index` of the loaded country table.
CountryInfo CountryInfoAt(std::size_t index);

// The country or group `text` names (see tarv::Atlas::FindCountry).
std::optional<CountryInfo> FindCountryInfo(std::string_view text, CountryCodes codes);

// The countries, US states and group lines of the table (not the fallback
// entry, not the continents), by title with the group lines last.
std::vector<CountryInfo> CountryInfos();

// The entries of timetable `number` of the country `code` (an atlas code)
// up to its last change before 2000.
std::vector<TimetableEntry> TimetableEntries(std::string_view code, std::int16_t number);

// `value` as the component writes a single-precision number, seven
// significant digits, read back as a double: 11.57549, not 11.575489997863.
double SevenDigits(float value);

}  // namespace tarv

#endif  // TARVPLACES_INTERFACE_RECORDS_H_
