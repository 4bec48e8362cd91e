// What the place manager reads of the atlas, in UTF-8: the countries to
// choose from, the place list, and one place by name and record number.
//
// It reads the process's tables without reloading or resorting them and
// never touches the found-place list that hosts read with GetPlaceDataOfId.
#ifndef TARVPLACES_UI_PLACEMANAGER_ATLAS_ACCESS_H_
#define TARVPLACES_UI_PLACEMANAGER_ATLAS_ACCESS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

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

}  // namespace tarv::ui

#endif  // TARVPLACES_UI_PLACEMANAGER_ATLAS_ACCESS_H_
