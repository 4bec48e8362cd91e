// What the place manager and the timetable lists read of the atlas, in
// UTF-8: the countries to choose from, the place list, one place by name and
// record number, the entries of a timetable with their zones, and the
// language the dialogs speak. The dialogs reach the atlas through here only.
//
// It reads the process's tables without reloading or resorting them and
// never touches the found-place list that hosts read with GetPlaceDataOfId.
#ifndef TARVPLACES_UI_PLACEMANAGER_ATLAS_ACCESS_H_
#define TARVPLACES_UI_PLACEMANAGER_ATLAS_ACCESS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tarvplaces/language.h"
#include "tarvplaces/places.h"
#include "ui/form_model.h"

namespace tarv::ui {

// One country of the country choice.
struct CountryChoice {
  std::string title;      // "Deutschland"
  std::string code;       // "D", "USCA"
  std::string base_zone;  // "MEZ"
  std::string continent;  // the continent's name in the table's language
  std::string info;       // English name and remark, "Germany, ISO DE"
};

// Loads the country and zone tables when they are not loaded yet.
void EnsureTablesLoaded();

// The language component of the thread's atlas; the dialogs' texts follow it.
const TarvLanguage& AtlasLanguage();

// The code the atlas files a country under: successor codes give the
// historical one ("RUS" gives "SSR"), blanks trimmed; others as written.
std::string InternalCountryCode(const std::string& code);

// True for the code of a US state ("USCA", any case), taken as written.
bool IsUsState(const std::string& code);

// The countries of the table (groups and continents left out) in table
// order: the US states with `usa`, all others without.
std::vector<CountryChoice> CountryChoices(bool usa);

// Fills `list` with the places of `code` matching `search` (Fill_SuchOrtListe:
// with `prefix` the text is a beginning, "*" lists all, "*", "?" and "[...]"
// anywhere make it a pattern):
// items "name<TAB>longitude<TAB>latitude" in degree notation, data the
// record numbers (negative for user places). Clears the selection. Returns
// the number of places. With `other_names` the places known by the text as
// another of their names are listed too, under their own names, and
// `*other_names` tells item by item which came so.
std::int32_t ListPlaces(const std::string& code, const std::string& search, bool prefix,
                        ControlState& list, std::vector<bool>* other_names = nullptr);

// A place of a country's files.
struct PlaceData {
  std::string name;
  double longitude = 0.0;
  double latitude = 0.0;
  std::int16_t timetable = 0;
  std::int16_t record = 0;  // negative for a user place, 0 for none

  bool IsUserPlace() const { return record < 0; }
};

// The place named `name` (whole name, any case) in `code`: the one with
// record number `record` when there is one, else the one nearest to the
// coordinates when they are not both 0, else the first (user places come
// first). nullopt when there is no place of that name.
std::optional<PlaceData> FindPlace(const std::string& code, const std::string& name,
                                   std::int16_t record = 0, double longitude = 0.0,
                                   double latitude = 0.0);

// True when the database place `record` of `code` is known by `name`, in
// any script, as one of its names (the name index files it under that key).
bool KnownAs(const std::string& code, std::int16_t record, const std::string& name);

// True when `code` holds a user place named `name`.
bool HasUserPlace(const std::string& code, const std::string& name);

// The letter under which the place files index `name`: "A" to "Z" with
// accents folded ("Ö" gives "O"), "Z" for digits and signs, "z" for "".
std::string NameIndexLetter(const std::string& name);

// True when two texts name the same place: equal in any case, or equal in
// their letters only ("St. Gallen" and "St Gallen").
bool SamePlaceName(const std::string& a, const std::string& b);

// Degree texts of the atlas: "011E34' 33\"" and "48N08' 15\"".
std::string LongitudeText(double longitude);
std::string LatitudeText(double latitude);

// A coordinate typed as degree text ("48N08", "48 8 15", "11E34") or as
// decimal degrees ("48.1375", "-0,5"); nullopt without digits or outside
// -180..180 (longitude) or -90..90 (latitude).
std::optional<double> ParseLongitude(const std::string& text);
std::optional<double> ParseLatitude(const std::string& text);

// The number of timetables of a country (0 when it has none).
std::int32_t TimetableCount(const std::string& code);

// The standard zone a country's timetable ends on before 2000 ("MET"), the
// base zone when the country has no history; "" for an unknown country and
// a timetable that cannot be read.
std::string StandardZone(const std::string& code, std::int16_t timetable);

// The zone changes of timetable `timetable` of `country` in file order,
// without the implicit first one (local mean time from 1 January 1700) that
// every history opens with. Empty for an unknown country or timetable.
std::vector<TimetableRow> ZoneChanges(const std::string& country, std::int16_t timetable);

// A zone as the timetable lists name it.
struct TimetableZone {
  std::string abbreviation;  // "MET/S"
  std::string name;          // "Middle European Time, summer time"
  bool summer_time = false;  // a summer or double summer zone
};

// Zone `zone_id` of the zone table as an entry of a timetable of `country`
// names it (zone 0 is local mean time). The US states' timetables name
// generic zones, "ST", "DT" and "WT", that take the state's base zone: on
// "EST" they read "EST", "EDT", "EWT", named by the base zone's name with
// "Standard" replaced. Empty for an id outside the table.
TimetableZone ZoneOfEntry(const std::string& country, std::int16_t zone_id);

// Where a place of `country` follows a zone history of its own that gives
// other offsets than timetable `timetable`: its IANA zone and the years
// ("1928-1980, 1986"). A database place's history is its own, a user
// place's the zone the user named for it or else the map's at its
// coordinates. nullopt when they agree, for a place the atlas does not hold
// and where the atlas keeps no such histories.
struct OwnZoneHistory {
  std::string iana;
  std::string years;
};
std::optional<OwnZoneHistory> DifferingOwnHistory(const std::string& country,
                                                  const PlaceData& place, std::int16_t timetable);
// The same by record number alone, which names no user place: nullopt for
// them.
std::optional<OwnZoneHistory> DifferingOwnHistory(const std::string& country, std::int16_t record,
                                                  std::int16_t timetable);

// The zone history a place of `country` follows at any date: its IANA zone,
// the tzdata release of the atlas and whether the user named the zone (a
// user place). nullopt where the place follows its timetable (an atlas
// without histories, a user place in an atlas without a map).
struct ZoneHistorySource {
  std::string iana;
  std::string tzdata;
  bool named = false;
};
std::optional<ZoneHistorySource> HistorySourceOf(const std::string& country,
                                                 const PlaceData& place);

// The zones a place at the coordinates may follow: the one the atlas's map
// gives there and every zone the atlas knows, sorted. nullopt for an atlas
// without a map.
struct ZoneChoice {
  std::string map_zone;
  std::vector<std::string> zones;
};
std::optional<ZoneChoice> ZoneChoiceAt(double longitude, double latitude);

// The zone the user named for their place `name` of `code`; "" when they
// named none (the place follows the map).
std::string NamedZoneOfUserPlace(const std::string& code, const std::string& name);

// Adds a user place as classPlaces::AddUserPlace does, following the IANA
// zone `zone` ("" for the map's at its coordinates). Returns 0, writing
// nothing, also for a zone the atlas does not know.
std::int16_t AddUserPlace(const std::string& code, const std::string& name, double longitude,
                          double latitude, std::int16_t timetable, const std::string& zone,
                          std::int32_t* record = nullptr);

}  // namespace tarv::ui

#endif  // TARVPLACES_UI_PLACEMANAGER_ATLAS_ACCESS_H_
