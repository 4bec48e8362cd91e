#include "ui/placemanager/atlas_access.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "atlas/atlas_state.h"
#include "atlas/country_table.h"
#include "atlas/name_index.h"
#include "atlas/place_file.h"
#include "atlas/place_search.h"
#include "atlas/zone_table.h"
#include "interface/read_call.h"
#include "text/codepage.h"
#include "tarvplaces/list_control.h"
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

}  // namespace

void EnsureTablesLoaded() {
  InitializeCountries("", "Country.dat", false, false);
  InitializeTimeZones("", "Zones13.bin");
}

std::vector<CountryChoice> CountryChoices(bool usa) {
  EnsureTablesLoaded();
  const auto& table = CurrentAtlas().countries;
  std::vector<CountryChoice> choices;
  for (std::size_t i = 1; i + kNonCountryTail < table.size(); ++i) {
    const CountryRecord& r = table[i];
    if (IsUSA(r.CountryShort) != usa) continue;
    choices.push_back(
        {Utf8FromAnsi(r.CountryTitle), Utf8FromAnsi(r.CountryShort), Utf8FromAnsi(r.TimezoneShort),
         Utf8FromAnsi(ContinentName(table, r.ContinentID)), Utf8FromAnsi(JoinInfo(r))});
  }
  return choices;
}

std::int32_t ListPlaces(const std::string& code, const std::string& search, bool prefix,
                        ControlState& list, std::vector<bool>* other_names) {
  const FaultBox fault;  // the dialog tells what it could not read as the members do
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
}

std::optional<PlaceData> FindPlace(const std::string& code, const std::string& name,
                                   std::int16_t record, double longitude, double latitude) {
  const FaultBox fault;  // the dialog tells what it could not read as the members do
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
}

bool KnownAs(const std::string& code, std::int16_t record, const std::string& name) {
  const FaultBox fault;  // the dialog tells what it could not read as the members do
  EnsureTablesLoaded();
  const auto query = NameQueryOfUtf8(name);
  if (!query || query->prefix || record <= 0) return false;
  const auto index = NameIndexOf(GetCompressedPlaceFile(InternalCode(code)));
  if (!index) return false;
  const auto found = index->Find(query->key, false);
  return std::any_of(found.begin(), found.end(),
                     [record](const NameIndexEntry& e) { return e.record == record; });
}

bool HasUserPlace(const std::string& code, const std::string& name) {
  const auto place = FindPlace(code, name);
  return place && place->IsUserPlace();
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
  EnsureTablesLoaded();
  return HaveTimetables(InternalCode(code));
}

}  // namespace tarv::ui
