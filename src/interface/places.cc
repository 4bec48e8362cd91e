#include "tarvplaces/places.h"

#include <algorithm>
#include <optional>

#include "atlas/atlas_fault.h"
#include "atlas/atlas_state.h"
#include "atlas/country_names.h"
#include "atlas/country_table.h"
#include "atlas/name_index.h"
#include "atlas/nearest_place.h"
#include "atlas/place_list.h"
#include "atlas/place_search.h"
#include "atlas/place_zone.h"
#include "atlas/timetable.h"
#include "atlas/user_places.h"
#include "atlas/world_search.h"
#include "atlas/zone_table.h"
#include "export/text_export.h"
#include "interface/export_phrase.h"
#include "interface/read_call.h"
#include "interface/records.h"
#include "interface/search_text.h"
#include "platform/message_box.h"
#include "text/codepage.h"
#include "util/julian.h"
#include "util/number_text.h"
#include "util/text.h"

namespace tarv {
namespace {

// Codes and names arrive as UTF-8 and the tables hold Windows-1252.
std::string Ansi(const std::string& utf8) {
  return AnsiFromUtf8(utf8);
}
std::string Host(const std::string& ansi) {
  return Utf8FromAnsi(ansi);
}

// Hands the host's list control UTF-8 items.
class HostListControl final : public PlaceListControl {
 public:
  explicit HostListControl(PlaceListControl& host) : host_(host) {}
  void Clear() override { host_.Clear(); }
  void AddItem(const std::string& item) override { host_.AddItem(Host(item)); }
  std::int32_t NewIndex() const override { return host_.NewIndex(); }
  void ItemData(std::int32_t index, std::int32_t data) override { host_.ItemData(index, data); }

 private:
  PlaceListControl& host_;
};

// Members that read open a ClassicCall: a file the call could not read is
// shown in a message box when it ends, and LastAtlasFault tells the host.

// Members that read the atlas make sure its tables are loaded first; the
// loaders' deliberate results do not matter here.
void LoadTables() {
  InitializeCountries("", "Country.dat", false, false);
  InitializeTimeZones("", "Zones13.bin");
}

}  // namespace

void classPlaces::CheckPlacePath() {
  std::string& folder = CurrentAtlas().places_path;
  if (folder.empty() && FillPlacePath) FillPlacePath(folder);
}

std::string classPlaces::PlacePath() {
  CheckPlacePath();
  return CurrentAtlas().places_path;
}

void classPlaces::PlacePath(const std::string& NewPlacePath) {
  CurrentAtlas().places_path = NewPlacePath;
}

void classPlaces::FillCountryArray(std::vector<std::string>& Countries) {
  Classic([&]() {
    if (FillPlacePath) FillPlacePath(CurrentAtlas().places_path);
    std::string country_file = "Country.dat";
    if (FillCountryFile) FillCountryFile(country_file);
    bool sort_file = true;
    if (SortCountryFile) SortCountryFile(sort_file);
    InitializeCountries("", country_file, sort_file, true);

    const auto& table = CurrentAtlas().countries;
    Countries.clear();
    Countries.reserve(table.size());
    for (const auto& record : table)
      Countries.push_back(Host(CountryLine(record)));
  });
}

std::int32_t classPlaces::GetCountryID(const std::string& CountryShort) {
  return Classic([&]() -> std::int32_t {
    CheckPlacePath();
    // The call that loads the table deliberately answers 0, the extension too.
    const bool loaded = CurrentAtlas().countries_loaded;
    const std::int16_t id = tarv::GetCountryID(Ansi(CountryShort));
    if (id != 0 || !loaded) return id;
    return CountryIdOfIsoCodeOrName(CountryShort);
  });
}

std::optional<CountryInfo> classPlaces::FindCountry(const std::string& Text, CountryCodes Codes) {
  CheckPlacePath();
  const ClassicCall call;
  LoadTables();
  return FindCountryInfo(Text, Codes);
}

std::int32_t classPlaces::GetCountryIndexOfID(std::int32_t CountryId) {
  return Classic([&]() -> std::int32_t { return tarv::GetCountryIndexOfID(CountryId); });
}

std::string classPlaces::GetInternalCountryAbbreviation(const std::string& CountryShort) {
  return Host(tarv::GetInternalCountryAbbreviation(Ansi(CountryShort)));
}

std::int32_t classPlaces::GetContinentID(const std::string& CountryShort) {
  return Classic([&]() -> std::int32_t { return tarv::GetContinentID(Ansi(CountryShort)); });
}

bool classPlaces::HaveSeveralTimeZones(const std::string& CountryShort) {
  return Classic([&]() -> bool { return tarv::HaveSeveralTimeZones(Ansi(CountryShort)); });
}

std::int32_t classPlaces::HaveTimetables(const std::string& CountryShort) {
  return Classic([&] { return tarv::HaveTimetables(Ansi(CountryShort)); });
}

std::int16_t classPlaces::GetPlaceData(const std::string& SearchPlace,
                                       const std::string& CountryShort, double* Longitude,
                                       double* Latitude, std::int16_t* TimeZoneId) {
  return Classic<ClassicCall>([&]() -> std::int16_t {
    LoadTables();
    const std::string code = tarv::GetInternalCountryAbbreviation(Ansi(CountryShort));
    const SearchText text = SearchOf(SearchPlace);
    const std::int32_t found = SearchandStorePlaces(code, text.ansi, text.Query());
    const auto& list = FoundPlaces();
    const bool any = found > 0 && !list.empty();
    if (Longitude != nullptr) *Longitude = any ? static_cast<double>(list[0].Longitude) : 0.0;
    if (Latitude != nullptr) *Latitude = any ? static_cast<double>(list[0].Latitude) : 0.0;
    if (TimeZoneId != nullptr) *TimeZoneId = any ? static_cast<std::int16_t>(list[0].ZoneId) : 0;
    return static_cast<std::int16_t>(std::min(found, std::int32_t{32767}));
  });
}

std::int32_t classPlaces::SearchAllCountries(const std::string& SearchPlace,
                                             std::int32_t MaxPlaces) {
  return Classic<ClassicCall>([&]() -> std::int32_t {
    LoadTables();
    const SearchText text = SearchOf(SearchPlace);
    return tarv::SearchAllCountries(text.ansi, MaxPlaces, text.Query(),
                                    CurrentAtlas().found_places);
  });
}

std::int32_t classPlaces::SearchPlacesInForm(PlaceListControl& PlaceListControl,
                                             const std::string& SearchPlace,
                                             const std::string& CountryShort,
                                             std::int32_t* PlacesFound, std::int32_t* PlacesAdded) {
  return Classic<ClassicCall>([&]() -> std::int32_t {
    LoadTables();
    HostListControl control(PlaceListControl);
    std::int32_t found = 0;
    std::int32_t added = 0;
    const SearchText text = SearchOf(SearchPlace);
    const std::int32_t result = tarv::SearchPlacesInForm(
        control, text.ansi, tarv::GetInternalCountryAbbreviation(Ansi(CountryShort)), found, added,
        text.Query());
    if (PlacesFound != nullptr) *PlacesFound = found;
    if (PlacesAdded != nullptr) *PlacesAdded = added;
    return result;
  });
}

std::string classPlaces::GetNearestPlace(const std::string& CountryShort, double Longitude,
                                         double Latitude, double RangeDegrees) {
  return Classic<ClassicCall>([&]() -> std::string {
    LoadTables();
    std::string line;
    SearchNearestPlace(line, tarv::GetInternalCountryAbbreviation(Ansi(CountryShort)), Longitude,
                       Latitude, RangeDegrees);
    return Host(line);
  });
}

void classPlaces::FillTimezoneArray(std::vector<std::string>& Zones) {
  Classic([&]() {
    CheckPlacePath();
    InitializeTimeZones("", "Zones13.bin");
    Zones.clear();
    for (const auto& zone : CurrentAtlas().zones)
      Zones.push_back(Host(ZoneLine(zone)));
  });
}

std::vector<std::string> classPlaces::GetTimezoneArray() {
  return Classic([&]() -> std::vector<std::string> {
    CheckPlacePath();
    if (InitializeTimeZones("", "Zones13.bin")) {
      timezone_array_.clear();
      for (std::size_t id = 0; id < kZoneCount; ++id) {
        timezone_array_.push_back(Host(tarv::GetTimeZoneListString(static_cast<std::int16_t>(id))));
      }
    }
    return timezone_array_;
  });
}

std::int16_t classPlaces::GetTimezoneId(const std::string& TimezoneShort) {
  return Classic([&]() -> std::int16_t {
    CheckPlacePath();
    InitializeTimeZones("", "Zones13.bin");
    return tarv::GetTimezoneId(Ansi(TimezoneShort));
  });
}

std::string classPlaces::GetTimeZoneListString(std::int16_t ZoneId, double ZoneTime) {
  return Classic(
      [&]() -> std::string { return Host(tarv::GetTimeZoneListString(ZoneId, ZoneTime)); });
}

namespace {

// The place a name stands for in a country, as the zone members read it: a
// user place of that name first, then the database place of that own name
// (the most populous of them), then the most populous one known by that name
// in the name index; its timetable is the number the country's count allows
// (1 for a name not found, 0 in a country without timetables).
FoundPlace PlaceOfName(const std::string& code, const SearchText& name) {
  FoundPlace found;
  found.Country = code;
  const std::int16_t count = tarv::HaveTimetables(code);
  PlaceRef ref;
  PlaceList other_names;
  const std::optional<NameQuery> query = name.query ? name.query : NameQueryOf(name.ansi);
  if (FindPlaceUserFirst(GetCompressedPlaceFile(code), name.ansi, found.Place, &ref)) {
    found.RecordNo = ref.RecordNo;
  } else if (query && !query->prefix && SearchNameIndex(code, *query, other_names) > 0) {
    // A place known by another name ("Jekaterinburg") keeps its own
    // timetable rather than the country's first.
    found.Place = other_names.places.front();
    found.RecordNo = other_names.refs.front().RecordNo;
  } else {
    found.Place.Timetable = 1;
  }
  if (count == 0) found.Place.Timetable = 0;
  return found;
}

}  // namespace

std::int32_t classPlaces::HaveTimetables(const std::string& CountryShort,
                                         const std::string& SearchPlace, std::int16_t* Timetable) {
  return Classic<ClassicCall>([&]() -> std::int32_t {
    LoadTables();
    const std::string code = tarv::GetInternalCountryAbbreviation(Ansi(CountryShort));
    const std::int16_t count = tarv::HaveTimetables(code);
    if (count > 0 && Timetable != nullptr) {
      *Timetable = PlaceOfName(code, SearchOf(SearchPlace)).Place.Timetable;
    }
    return count;
  });
}

std::int32_t classPlaces::GetPlaceDataX(const std::string& SearchPlace,
                                        const std::string& CountryShort, double* Longitude,
                                        double* Latitude, std::int16_t* TimeZoneId, double Julian,
                                        std::int32_t PlaceId) {
  return Classic<ClassicCall>([&]() -> std::int32_t {
    LoadTables();
    const std::string code = tarv::GetInternalCountryAbbreviation(Ansi(CountryShort));
    const SearchText text = SearchOf(SearchPlace);
    const std::int32_t found = SearchandStorePlaces(code, text.ansi, text.Query());
    const auto& list = FoundPlaces();
    const bool valid =
        PlaceId >= 0 && PlaceId < found && static_cast<std::size_t>(PlaceId) < list.size();
    const FoundPlace* place = valid ? &list[static_cast<std::size_t>(PlaceId)] : nullptr;
    if (Longitude != nullptr) *Longitude = place ? static_cast<double>(place->Longitude) : 0.0;
    if (Latitude != nullptr) *Latitude = place ? static_cast<double>(place->Latitude) : 0.0;
    if (TimeZoneId != nullptr) {
      bool lmt = false;
      double zone_time = 0.0;
      *TimeZoneId = place == nullptr ? std::int16_t{0}
                    : Julian != 0.0  ? GetZonenIdOfPlaceData(*place, Julian, lmt, zone_time)
                                     : static_cast<std::int16_t>(place->ZoneId);
    }
    return found;
  });
}

std::vector<std::string> classPlaces::GetPlaceDataOfId(std::int32_t Id, double Julian, bool* rIsLmt,
                                                       double* ZoneTime) {
  return Classic<ClassicCall>([&]() -> std::vector<std::string> {
    LoadTables();
    const auto& list = FoundPlaces();
    if (Id < 0 || static_cast<std::size_t>(Id) >= list.size()) return {};
    const FoundPlace& place = list[static_cast<std::size_t>(Id)];
    std::int32_t zone = place.ZoneId;
    if (Julian != 0.0) {
      bool lmt = false;
      double zone_time = 0.0;
      zone = GetZonenIdOfPlaceData(place, Julian, lmt, zone_time);
      if (rIsLmt != nullptr) *rIsLmt = lmt;
      if (ZoneTime != nullptr) *ZoneTime = zone_time;
    }
    return {Host(place.Place.TrimmedName()),       Host(place.Country),
            SingleToText(place.Longitude),         SingleToText(place.Latitude),
            std::to_string(place.Place.Timetable), std::to_string(zone),
            std::to_string(place.RecordNo)};
  });
}

std::string classPlaces::GetTimezoneOfCity(const std::string& SearchPlace,
                                           const std::string& CountryShort, double Julian,
                                           bool LongString, std::int16_t* GetTimezoneId) {
  return Classic<ClassicCall>([&]() -> std::string {
    LoadTables();
    const std::string code = tarv::GetInternalCountryAbbreviation(Ansi(CountryShort));
    const FoundPlace place = PlaceOfName(code, SearchOf(SearchPlace));
    if (GetTimezoneId != nullptr) *GetTimezoneId = 0;
    // Without the place's own timetable any zone would be a guess.
    if (tarv::LastAtlasFault()) return {};
    ZoneRecord zone;
    std::int16_t id = 0;
    if (Julian == 0.0) {
      // The text as GetRightTimeZone gives it ("MEZ" stays "MEZ"), "" when it
      // names no zone; the identifier is the zone it names.
      const std::string text = tarv::GetRightTimeZone(code, place.Place.Timetable);
      id = text.empty() ? std::int16_t{0} : RightTimeZoneId(code, place.Place.Timetable);
      if (GetTimezoneId != nullptr) *GetTimezoneId = id;
      if (!LongString) return Host(text);
      if (text.empty() || static_cast<std::size_t>(id) >= CurrentAtlas().zones.size()) return {};
      return Host(CurrentAtlas().zones[static_cast<std::size_t>(id)].TZName);
    }
    if (const auto at = ZoneOfPlaceAt(place, LookupSerialOfJulian(Julian))) {
      zone = at->zone;
      id = at->zone_id;
    }
    if (GetTimezoneId != nullptr) *GetTimezoneId = id;
    if (LongString) return Host(zone.TZName);
    // The field may hold a C-style string; blanks pad it otherwise.
    const auto nul = zone.TZShort.find('\0');
    return Host(Trim(nul == std::string::npos ? zone.TZShort : zone.TZShort.substr(0, nul)));
  });
}

float classPlaces::Get_TZData(const std::string& CountryShort, std::int16_t Timetable, double Datum,
                              std::string* TZShort, std::string* TZName, float* TZDif,
                              std::string* TZType, std::int16_t* TZSortIndex,
                              std::uint8_t* TZShow) {
  return Classic<ClassicCall>([&]() -> float {
    LoadTables();
    ZoneRecord zone;
    const auto at = ZoneAt(Ansi(CountryShort), Timetable, Datum);
    if (!at) return 0.0F;
    zone = at->zone;
    if (TZShort != nullptr) *TZShort = Host(Trim(zone.TZShort));
    if (TZName != nullptr) *TZName = Host(Trim(zone.TZName));
    if (TZDif != nullptr) *TZDif = zone.TZDif;
    if (TZType != nullptr) *TZType = Host(Trim(std::string(1, zone.TZType)));
    if (TZSortIndex != nullptr) *TZSortIndex = zone.TZSortIndex;
    if (TZShow != nullptr) *TZShow = zone.TZShow;
    return zone.TZDif;
  });
}

std::vector<TimetableRow> classPlaces::GetTimeTableArray(const std::string& Land,
                                                         std::int16_t TimeTableId,
                                                         bool GetJulianNotSerial) {
  return Classic<ClassicCall>([&]() -> std::vector<TimetableRow> {
    LoadTables();
    const std::string code = tarv::GetInternalCountryAbbreviation(Ansi(Land));
    const std::int16_t id = tarv::GetCountryID(code);
    std::vector<TimetableRecord> entries;
    if (id != 0) Read_Cp_TimeTable(code, id, kSerial2000, TimeTableId, entries, IsUSA(code));
    std::vector<TimetableRow> rows;
    for (const auto& e : entries) {
      rows.push_back({GetJulianNotSerial ? SerialInJulian(e.Datum) : e.Datum, e.Zone});
    }
    return rows;
  });
}

std::int16_t classPlaces::AddUserPlace(const std::string& CountryShort, const std::string& Name,
                                       double Longitude, double Latitude, std::int16_t Timetable,
                                       std::int32_t* RecordNo) {
  return Classic<FaultBox>([&]() -> std::int16_t {
    LoadTables();
    std::int32_t number = 0;
    const std::int16_t result =
        AddCheckedCity(Ansi(CountryShort), Ansi(Name), Longitude, Latitude, Timetable, "", number);
    if (RecordNo != nullptr) *RecordNo = number;
    return result;
  });
}

std::int16_t classPlaces::DeleteUserPlace(const std::string& CountryShort,
                                          const std::string& Name) {
  return Classic<FaultBox>([&]() -> std::int16_t {
    LoadTables();
    UserPlace place;
    place.CountryId = GetCountryIDOfCode(Ansi(CountryShort));
    if (place.CountryId == 0) return 0;
    place.Place.SetName(CleanPlaceName(Ansi(Name)));
    return Delete_City(place);
  });
}

int classPlaces::GetLocalTimeKind(const std::string& SearchPlace, const std::string& CountryShort,
                                  double Julian) {
  return Classic<ClassicCall>([&]() -> int {
    LoadTables();
    const FoundPlace place = PlaceOfName(tarv::GetInternalCountryAbbreviation(Ansi(CountryShort)),
                                         SearchOf(SearchPlace));
    if (tarv::LastAtlasFault()) return 0;
    const auto at = ZoneOfPlaceAt(place, LookupSerialOfJulian(Julian));
    const LocalTimeKind kind = at ? at->kind : LocalTimeKind::kNormal;
    return kind == LocalTimeKind::kSkipped ? 1 : kind == LocalTimeKind::kRepeated ? 2 : 0;
  });
}

std::string classPlaces::GetCountryTimeZone(const std::string& CountryShort) {
  return Classic([&]() -> std::string {
    CheckPlacePath();
    LoadTables();
    return Host(Get_BaseTimeZone(Ansi(CountryShort)));
  });
}

std::string classPlaces::GetRightTimeZone(const std::string& CountryShort, std::int16_t Timetable) {
  return Classic<ClassicCall>([&]() -> std::string {
    CheckPlacePath();
    LoadTables();
    return Host(tarv::GetRightTimeZone(Ansi(CountryShort), Timetable));
  });
}

void classPlaces::Export(const std::string& Password, const std::string* CountryFile) {
  if (Password != ExportPassPhrase()) return;
  Classic<FaultBox>([&] {
    CheckPlacePath();
    if (CurrentAtlas().places_path.empty()) {
      MsgBox("g_PlacesPath ist nicht gefüllt", kMsgInformation);
      return;
    }
    ExportPlaces(CountryFile == nullptr ? std::string() : *CountryFile);
  });
}

AtlasFault classPlaces::LastAtlasFault() const {
  return tarv::LastAtlasFault();
}

TarvLanguage& classPlaces::LanguageComponent() {
  return CurrentAtlas().Language();
}

std::int32_t classPlaces::Language() {
  return LanguageComponent().Language();
}

std::int32_t classPlaces::Language(const std::string& /*RessourceFile*/) {
  return Language();
}

void classPlaces::Language(std::int32_t NewValue) {
  LanguageComponent().SetLanguage(NewValue);
}

void classPlaces::Language(const std::string& RessourceFile, std::int32_t NewValue) {
  LanguageComponent().SetLanguage(NewValue);
  if (!RessourceFile.empty()) LanguageComponent().SetResourceFile(RessourceFile);
}

}  // namespace tarv
