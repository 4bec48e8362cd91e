#include "ui/placemanager/atlas_access.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "atlas/atlas_state.h"
#include "atlas/country_table.h"
#include "atlas/name_index.h"
#include "atlas/name_match.h"
#include "atlas/place_file.h"
#include "atlas/place_list.h"
#include "atlas/place_search.h"
#include "atlas/place_zone.h"
#include "atlas/timetable.h"
#include "atlas/user_places.h"
#include "atlas/user_zones.h"
#include "atlas/zone_history.h"
#include "atlas/zone_table.h"
#include "interface/read_call.h"
#include "tarvplaces/list_control.h"
#include "text/codepage.h"
#include "util/degrees.h"
#include "util/text.h"

namespace tarv::ui {
namespace {

// Collects Fill_SuchOrtListe's items in UTF-8.
class ListCollector final : public PlaceListControl {
 public:
  explicit ListCollector(ControlState& list) : list_(list) {}
  void Clear() override {
    list_.items.clear();
    list_.item_data.clear();
    list_.list_index = -1;
  }
  void AddItem(const std::string& item) override {
    list_.items.push_back(Utf8FromAnsi(item));
    list_.item_data.push_back(0);
  }
  std::int32_t NewIndex() const override {
    return static_cast<std::int32_t>(list_.items.size()) - 1;
  }
  void ItemData(std::int32_t index, std::int32_t data) override {
    list_.item_data.at(static_cast<std::size_t>(index)) = data;
  }

 private:
  ControlState& list_;
};

std::string InternalCode(const std::string& code) {
  return GetInternalCountryAbbreviation(AnsiFromUtf8(code));
}

std::string ContinentName(const std::vector<CountryRecord>& table, std::int16_t id) {
  if (id < 1 || static_cast<std::size_t>(id) > kContinentRecords) return {};
  return table[table.size() - kContinentRecords + static_cast<std::size_t>(id) - 1].CountryTitle;
}

std::string JoinInfo(const CountryRecord& record) {
  std::string info = record.Meaning;
  if (!record.Info.empty()) info += (info.empty() ? "" : ", ") + record.Info;
  return info;
}

PlaceData ToPlaceData(const PlaceRecord& place, std::int16_t record) {
  return {Utf8FromAnsi(place.TrimmedName()), place.Longitude, place.Latitude, place.Timetable,
          record};
}

std::optional<double> ParseCoordinate(const std::string& text, double limit) {
  if (text.find_first_of("0123456789") == std::string::npos) return std::nullopt;
  const double value = SignedDecOfString(AnsiFromUtf8(text));
  if (!std::isfinite(value) || std::fabs(value) > limit) return std::nullopt;
  return value;
}

std::string TrimRight(std::string s) {
  s.erase(s.find_last_not_of(' ') + 1);
  return s;
}

// A US timetable's generic zone, composed from the state's base zone.
bool ComposeUsGeneric(const std::string& code, const std::string& generic, TimetableZone& zone) {
  static constexpr std::array<std::pair<const char*, const char*>, 3> kGenerics = {
      {{"ST", "Standard"}, {"DT", "Daylight"}, {"WT", "War"}}};
  const char* word = nullptr;
  for (const auto& [name, meaning] : kGenerics) {
    if (generic == name) word = meaning;
  }
  if (word == nullptr) return false;
  const std::string base = Get_BaseTimeZone(code);
  const bool standard_letters = base.size() > 2 && base.compare(base.size() - 2, 2, "ST") == 0;
  zone.abbreviation = (standard_letters ? base.substr(0, base.size() - 2) : base) + generic;
  const auto& zones = CurrentAtlas().zones;
  const std::int16_t base_id = GetTimezoneId(base);
  std::string name =
      base_id > 0 ? Trim(zones[static_cast<std::size_t>(base_id)].TZName) : std::string();
  if (const auto at = name.find("Standard"); at != std::string::npos) {
    name.replace(at, 8, word);
  } else if (!name.empty() && generic != "ST") {
    name += std::string(", ") + (generic == "DT" ? "daylight time" : "war time");
  }
  zone.name = Utf8FromAnsi(name);
  zone.summer_time = generic != "ST";
  return true;
}

}  // namespace

void EnsureTablesLoaded() {
  InitializeCountries("", "Country.dat", false, false);
  InitializeTimeZones("", "Zones13.bin");
}

const TarvLanguage& AtlasLanguage() {
  return CurrentAtlas().Language();
}

std::string InternalCountryCode(const std::string& code) {
  return Utf8FromAnsi(InternalCode(code));
}

bool IsUsState(const std::string& code) {
  return IsUSA(AnsiFromUtf8(code));
}

std::vector<CountryChoice> CountryChoices(bool usa) {
  return Classic<TableCall>([&]() -> std::vector<CountryChoice> {
    EnsureTablesLoaded();
    const auto& table = CurrentAtlas().countries;
    std::vector<CountryChoice> choices;
    for (std::size_t i = 1; i + kNonCountryTail < table.size(); ++i) {
      const CountryRecord& r = table[i];
      if (IsUSA(r.CountryShort) != usa) continue;
      choices.push_back({Utf8FromAnsi(r.CountryTitle), Utf8FromAnsi(r.CountryShort),
                         Utf8FromAnsi(r.TimezoneShort),
                         Utf8FromAnsi(ContinentName(table, r.ContinentID)),
                         Utf8FromAnsi(JoinInfo(r))});
    }
    return choices;
  });
}

std::int32_t ListPlaces(const std::string& code, const std::string& search, bool prefix,
                        ControlState& list, std::vector<bool>* other_names) {
  return Classic<FaultBox>([&]() -> std::int32_t {
    // The dialog tells what it could not read as the members do.
    EnsureTablesLoaded();
    ListCollector collector(list);
    std::string text = AnsiFromUtf8(search);
    // A name the atlas's letters cannot write is asked of the name index as
    // typed, in its own script.
    std::optional<NameQuery> typed;
    if (other_names != nullptr && text.find(kUnmappable) != std::string::npos) {
      const std::string trimmed = Trim(search);
      typed = NameQueryOfUtf8(prefix && !trimmed.empty() && trimmed.back() != '*' ? trimmed + "*"
                                                                                  : trimmed);
      if (!typed) typed = NameQuery{};
    }
    return Fill_SuchOrtListe(InternalCode(code), text, collector, prefix, other_names,
                             typed ? &*typed : nullptr);
  });
}

std::optional<PlaceData> FindPlace(const std::string& code, const std::string& name,
                                   std::int16_t record, double longitude, double latitude) {
  return Classic<FaultBox>([&]() -> std::optional<PlaceData> {
    // The dialog tells what it could not read as the members do.
    EnsureTablesLoaded();
    const std::string wanted = Trim(AnsiFromUtf8(name));
    if (wanted.empty() || wanted.find_first_of("*?[") != std::string::npos) return std::nullopt;
    PlaceList list;
    Read_Cp_Indexed_City(GetCompressedPlaceFile(InternalCode(code)), wanted, list, 0);
    std::optional<PlaceData> best;
    double best_distance = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < list.size(); ++i) {
      if (!TextEqual(list.places[i].TrimmedName(), wanted)) continue;
      const PlaceData data = ToPlaceData(list.places[i], list.refs[i].RecordNo);
      if (record != 0 && data.record == record) return data;
      const double distance = std::hypot(data.longitude - longitude, data.latitude - latitude);
      if (!best || ((longitude != 0.0 || latitude != 0.0) && distance < best_distance)) {
        best = data;
        best_distance = distance;
      }
    }
    return best;
  });
}

bool KnownAs(const std::string& code, std::int16_t record, const std::string& name) {
  return Classic<FaultBox>([&]() -> bool {
    // The dialog tells what it could not read as the members do.
    EnsureTablesLoaded();
    const auto query = NameQueryOfUtf8(name);
    if (!query || query->prefix || record <= 0) return false;
    const auto index = NameIndexOf(GetCompressedPlaceFile(InternalCode(code)));
    if (!index) return false;
    const auto found = index->Find(query->key, false);
    return std::any_of(found.begin(), found.end(),
                       [record](const NameIndexEntry& e) { return e.record == record; });
  });
}

bool HasUserPlace(const std::string& code, const std::string& name) {
  const auto place = FindPlace(code, name);
  return place && place->IsUserPlace();
}

std::string NameIndexLetter(const std::string& name) {
  return Utf8FromAnsi(GetLetter(AnsiFromUtf8(name)));
}

bool SamePlaceName(const std::string& a, const std::string& b) {
  return CitiesAreMatching(AnsiFromUtf8(a), AnsiFromUtf8(b));
}

std::string LongitudeText(double longitude) {
  return Utf8FromAnsi(DegreeStringOfDec(longitude, kLongitudeFlags));
}

std::string LatitudeText(double latitude) {
  return Utf8FromAnsi(DegreeStringOfDec(latitude, kLatitudeFlags));
}

std::optional<double> ParseLongitude(const std::string& text) {
  return ParseCoordinate(text, 180.0);
}

std::optional<double> ParseLatitude(const std::string& text) {
  return ParseCoordinate(text, 90.0);
}

std::int32_t TimetableCount(const std::string& code) {
  return Classic<TableCall>([&]() -> std::int32_t {
    EnsureTablesLoaded();
    return HaveTimetables(InternalCode(code));
  });
}

std::string StandardZone(const std::string& code, std::int16_t timetable) {
  return Classic<FaultBox>([&]() -> std::string {
    // The dialog tells what it could not read as the members do.
    return Utf8FromAnsi(GetRightTimeZone(AnsiFromUtf8(code), timetable));
  });
}

std::vector<TimetableRow> ZoneChanges(const std::string& country, std::int16_t timetable) {
  return Classic<FaultBox>([&]() -> std::vector<TimetableRow> {
    // The dialog tells what it could not read as the members do.
    classPlaces places;
    std::vector<TimetableRow> rows = places.GetTimeTableArray(country, timetable);
    if (!rows.empty() && rows.front().ZoneId == 0 && rows.front().Date == kSerial1700) {
      rows.erase(rows.begin());
    }
    return rows;
  });
}

TimetableZone ZoneOfEntry(const std::string& country, std::int16_t zone_id) {
  TimetableZone zone;
  const auto& zones = CurrentAtlas().zones;
  if (zone_id < 0 || static_cast<std::size_t>(zone_id) >= zones.size()) return zone;
  const ZoneRecord& record = zones[static_cast<std::size_t>(zone_id)];
  const std::string short_name = TrimRight(record.TZShort);
  const std::string code = InternalCode(country);
  if (IsUSA(code) && ComposeUsGeneric(code, short_name, zone)) return zone;
  zone.abbreviation = Utf8FromAnsi(short_name);
  zone.name = Utf8FromAnsi(Trim(record.TZName));
  zone.summer_time = record.TZType == 'S' || record.TZType == 'D';
  return zone;
}

namespace {

// The place as the zone lookups know it; a user place's history is found by
// its name and coordinates.
FoundPlace FoundOf(const std::string& country, const PlaceData& place) {
  FoundPlace found;
  found.Country = InternalCode(country);
  found.RecordNo = place.record;
  found.Place.SetName(CleanPlaceName(AnsiFromUtf8(place.name)));
  found.Place.Longitude = static_cast<float>(place.longitude);
  found.Place.Latitude = static_cast<float>(place.latitude);
  return found;
}

}  // namespace

std::optional<ZoneHistorySource> HistorySourceOf(const std::string& country,
                                                 const PlaceData& place) {
  if (place.record == 0) return std::nullopt;
  return Classic<FaultBox>([&]() -> std::optional<ZoneHistorySource> {
    // The dialog tells what it could not read as the members do.
    EnsureTablesLoaded();
    const auto history = OwnHistoryOfPlace(FoundOf(country, place));
    if (!history) return std::nullopt;
    return ZoneHistorySource{(*history->histories)[history->zone].name,
                             history->histories->tzdata_version(), history->named};
  });
}

std::optional<OwnZoneHistory> DifferingOwnHistory(const std::string& country,
                                                  const PlaceData& place, std::int16_t timetable) {
  if (place.record == 0) return std::nullopt;
  return Classic<FaultBox>([&]() -> std::optional<OwnZoneHistory> {
    // The dialog tells what it could not read as the members do.
    const auto difference = CompareWithTimetable(FoundOf(country, place), timetable);
    if (!difference || difference->years.empty()) return std::nullopt;
    return OwnZoneHistory{difference->iana, YearRangesText(difference->years)};
  });
}

std::optional<OwnZoneHistory> DifferingOwnHistory(const std::string& country, std::int16_t record,
                                                  std::int16_t timetable) {
  if (record <= 0) return std::nullopt;
  PlaceData place;
  place.record = record;
  return DifferingOwnHistory(country, place, timetable);
}

std::optional<ZoneChoice> ZoneChoiceAt(double longitude, double latitude) {
  return Classic<FaultBox>([&]() -> std::optional<ZoneChoice> {
    // The dialog tells what it could not read as the members do.
    EnsureTablesLoaded();
    if (!HasZoneMap()) return std::nullopt;
    const auto history = MapHistoryAt(longitude, latitude);
    if (!history) return std::nullopt;
    const ZoneHistories& histories = *history->histories;
    ZoneChoice choice;
    choice.map_zone = histories[history->zone].name;
    choice.zones.reserve(histories.size());
    for (std::size_t i = 0; i < histories.size(); ++i)
      choice.zones.push_back(histories[i].name);
    std::sort(choice.zones.begin(), choice.zones.end());
    return choice;
  });
}

std::string NamedZoneOfUserPlace(const std::string& code, const std::string& name) {
  return Classic<FaultBox>([&]() -> std::string {
    // The dialog tells what it could not read as the members do.
    EnsureTablesLoaded();
    const auto named = UserNamedHistory(InternalCode(code), CleanPlaceName(AnsiFromUtf8(name)));
    return named ? (*named->histories)[named->zone].name : std::string();
  });
}

std::int16_t AddUserPlace(const std::string& code, const std::string& name, double longitude,
                          double latitude, std::int16_t timetable, const std::string& zone,
                          std::int32_t* record) {
  return Classic<ClassicCall>([&]() -> std::int16_t {
    EnsureTablesLoaded();
    std::int32_t number = 0;
    const std::int16_t added = AddCheckedCity(AnsiFromUtf8(code), AnsiFromUtf8(name), longitude,
                                              latitude, timetable, zone, number);
    if (record != nullptr) *record = number;
    return added;
  });
}

}  // namespace tarv::ui
