#include "tarvplaces/atlas.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <system_error>

#include "atlas/atlas_fault.h"
#include "atlas/atlas_state.h"
#include "atlas/country_table.h"
#include "atlas/nearest_place.h"
#include "atlas/place_search.h"
#include "atlas/place_zone.h"
#include "atlas/timetable_file.h"
#include "atlas/user_places.h"
#include "atlas/user_zones.h"
#include "atlas/world_search.h"
#include "atlas/zone_history.h"
#include "atlas/zone_table.h"
#include "export/text_export.h"
#include "interface/read_call.h"
#include "interface/records.h"
#include "interface/search_text.h"
#include "platform/file_status.h"
#include "platform/paths.h"
#include "text/codepage.h"
#include "text/lz.h"
#include "util/degrees.h"
#include "util/local_date.h"
#include "util/serial_date.h"
#include "util/text.h"

namespace tarv {
namespace {

// 1970-01-01 as a serial date.
constexpr double kSerialOf1970Utc = 25569.0;

// A call on an atlas: its ReadCall, and the file it could not read as an
// AtlasError once the answer is made.
class Call {
 public:
  explicit Call(AtlasState& atlas) : read_(atlas) {}

  // Throws for a file the call could not read: an answer made without it
  // would be a smaller atlas's.
  void Check() const {
    if (const auto malformed = LastMalformedFile()) {
      throw AtlasError(malformed->file, malformed->problem);
    }
    if (const AtlasFault fault = LastAtlasFault()) throw AtlasError(fault.File, fault.Reason);
  }

 private:
  ReadCall read_;
};

std::optional<double> JulianOf(const std::optional<LocalTime>& when) {
  if (!when) return std::nullopt;
  const auto julian = JulianOfLocalDate(*when);
  if (!julian) {
    const LocalTime& t = *when;
    char text[96];
    std::snprintf(text, sizeof text, "no such local time: %d-%02d-%02d %02d:%02d:%02d", t.Year,
                  t.Month, t.Day, t.Hour, t.Minute, t.Second);
    throw std::invalid_argument(text);
  }
  return julian;
}

// The serial date of a valid local time as LookupSerialOfJulian gives it
// for its Julian day, without the trip through the Julian day: the time of
// day subtracted before 1900, years before 100 at the smallest date.
double LookupSerialOfLocal(const LocalTime& t) {
  if (t.Year < 100) return kSmallestSerial;
  const double date = SerialOfDate(t.Year, t.Month, t.Day);
  const double time = SerialOfTime(t.Hour, t.Minute, t.Second);
  return t.Year < 1900 ? date - time : date + time;
}

// The serial date zone lookups take for `when`, after refusing a local time
// that never was; nothing without one.
std::optional<double> SerialOf(const std::optional<LocalTime>& when) {
  if (!when) return std::nullopt;
  JulianOf(when);
  return LookupSerialOfLocal(*when);
}

void CheckText(const std::string& text, const std::string& what) {
  if (Utf8Length(text) > kMaxTextCharacters) {
    throw std::invalid_argument("the " + what + " is longer than " +
                                std::to_string(kMaxTextCharacters) + " characters");
  }
}

// A country is a code or a name: a pattern would pick some country's places.
void CheckCountry(const std::string& country) {
  CheckText(country, "country");
  if (country.find_first_of("*?[") != std::string::npos) {
    throw std::invalid_argument("the country \"" + country +
                                "\" holds a wildcard: a country is a code or a name");
  }
}

void CheckPoint(double longitude, double latitude) {
  if (!std::isfinite(longitude) || std::fabs(longitude) > 180.0) {
    throw std::invalid_argument("the longitude " + std::to_string(longitude) +
                                " lies outside -180 to 180 degrees");
  }
  if (!std::isfinite(latitude) || std::fabs(latitude) > 90.0) {
    throw std::invalid_argument("the latitude " + std::to_string(latitude) +
                                " lies outside -90 to 90 degrees");
  }
}

// The found places of a search of `text` in `country` (every country when
// empty).
std::vector<FoundPlace> Found(const std::string& text, const std::string& country) {
  CheckText(text, "text");
  CheckCountry(country);
  const SearchText search = SearchOf(text);
  std::vector<FoundPlace> found;
  if (country.empty()) {
    SearchAllCountries(search.ansi, kWorldSearchLimit, search.Query(), found);
  } else {
    const std::int32_t count = SearchPlaces(GetInternalCountryAbbreviation(AnsiFromUtf8(country)),
                                            search.ansi, search.Query(), found);
    found.resize(static_cast<std::size_t>(std::max(count, std::int32_t{0})));
  }
  return found;
}

// The code point of one well-formed UTF-8 character, as "U+1F600".
std::string CodePoint(std::int32_t value) {
  char text[16];
  std::snprintf(text, sizeof text, "U+%04X", static_cast<unsigned>(value));
  return text;
}

std::int32_t CodePointOf(std::string_view character) {
  const auto lead = static_cast<unsigned char>(character[0]);
  std::int32_t value = character.size() == 1   ? lead
                       : character.size() == 2 ? lead & 0x1F
                       : character.size() == 3 ? lead & 0x0F
                                               : lead & 0x07;
  for (std::size_t i = 1; i < character.size(); ++i)
    value = (value << 6) | (static_cast<unsigned char>(character[i]) & 0x3F);
  return value;
}

// Whether the country has a user place of that name, as AddCity keeps names.
bool HasUserPlace(const std::string& code, const std::string& name) {
  const std::string wanted = CleanPlaceName(AnsiFromUtf8(name));
  const std::vector<FoundPlace> found = Found(name, code);
  return std::any_of(found.begin(), found.end(), [&](const FoundPlace& place) {
    return place.RecordNo < 0 && TextEqual(place.Place.TrimmedName(), wanted);
  });
}

}  // namespace

Atlas::Atlas(const std::string& folder, std::int32_t language) : Atlas(folder, "", language) {}

Atlas::Atlas(const std::string& folder, const std::string& user_folder, std::int32_t language)
    : state_(std::make_shared<AtlasState>(folder)) {
  state_->images = MakeImageCache();
  state_->Language().SetLanguage(language);
  for (const char* file : {"Country.dat", "Zones13.bin"}) {
    const std::filesystem::path path = NativePath(AtlasFolder(folder) + file);
    std::error_code ec;
    const auto status = std::filesystem::status(path, ec);
    // Something else in its place is a damaged atlas, not a missing one.
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
      throw AtlasError(Utf8OfPath(path), "is not a regular file");
    }
    if (!std::filesystem::is_regular_file(status)) {
      throw AtlasError(Utf8OfPath(path), "no such file: \"" + folder +
                                             "\" holds no atlas (build one with \"tarvplaces "
                                             "build-atlas --out DIR\")");
    }
  }
  if (!user_folder.empty()) MountFolder(AtlasFolder(folder) + "USER", user_folder);
  const Call call(*state_);
  InitializeCountries("", "Country.dat", false, false);
  InitializeTimeZones("", "Zones13.bin");
  call.Check();
}

Atlas::~Atlas() = default;
Atlas::Atlas(Atlas&&) noexcept = default;
Atlas& Atlas::operator=(Atlas&&) noexcept = default;

std::string Atlas::Folder() const {
  return state_->places_path;
}

std::int32_t Atlas::Language() const {
  return state_->Language().Language();
}

std::optional<CountryInfo> Atlas::FindCountry(const std::string& text, CountryCodes codes) const {
  CheckCountry(text);
  const Call call(*state_);
  auto info = FindCountryInfo(text, codes);
  call.Check();
  return info;
}

std::vector<CountryInfo> Atlas::Countries() const {
  const Call call(*state_);
  auto countries = CountryInfos();
  call.Check();
  return countries;
}

std::vector<ZoneInfo> Atlas::Zones() const {
  const Call call(*state_);
  std::vector<ZoneInfo> zones;
  zones.reserve(state_->zones.size());
  for (std::size_t id = 0; id < state_->zones.size(); ++id) {
    zones.push_back(ZoneInfoOf(static_cast<std::int16_t>(id), 0.0));
  }
  call.Check();
  return zones;
}

std::vector<TimetableEntry> Atlas::Timetable(const std::string& country,
                                             std::int16_t number) const {
  CheckCountry(country);
  const Call call(*state_);
  auto entries = TimetableEntries(AnsiFromUtf8(country), number);
  call.Check();
  return entries;
}

std::vector<PlaceInfo> Atlas::Search(const std::string& text, const std::string& country,
                                     const std::optional<LocalTime>& when) const {
  const auto serial = SerialOf(when);
  const Call call(*state_);
  const std::vector<FoundPlace> found = Found(text, country);
  call.Check();
  std::vector<PlaceInfo> places;
  places.reserve(found.size());
  for (const auto& place : found)
    places.push_back(PlaceInfoOf(place, serial));
  call.Check();
  return places;
}

std::optional<PlaceInfo> Atlas::Lookup(const std::string& name, const std::string& country,
                                       const std::optional<LocalTime>& when,
                                       std::int32_t* found) const {
  const auto serial = SerialOf(when);
  const Call call(*state_);
  const std::vector<FoundPlace> places = Found(name, country);
  call.Check();
  if (found != nullptr) *found = static_cast<std::int32_t>(places.size());
  if (places.empty()) return std::nullopt;
  PlaceInfo place = PlaceInfoOf(places.front(), serial);
  call.Check();
  return place;
}

std::optional<PlaceInfo> Atlas::Nearest(const std::string& country, double longitude,
                                        double latitude, double range_degrees,
                                        const std::optional<LocalTime>& when) const {
  CheckCountry(country);
  CheckPoint(longitude, latitude);
  if (!std::isfinite(range_degrees) || range_degrees < 0) {
    throw std::invalid_argument("the range " + std::to_string(range_degrees) +
                                " is no number of degrees");
  }
  const auto serial = SerialOf(when);
  const Call call(*state_);
  const std::string code = GetInternalCountryAbbreviation(AnsiFromUtf8(country));
  const auto nearest = FindNearestPlace(code, longitude, latitude, range_degrees);
  call.Check();
  if (!nearest) return std::nullopt;
  PlaceInfo place =
      serial ? PlaceInfoOf(FoundPlaceOf(*nearest, code), serial) : PlaceInfoOf(*nearest, code);
  call.Check();  // the zone reads the timetables and histories
  return place;
}

std::optional<PointZone> Atlas::ZoneAt(double longitude, double latitude,
                                       const std::optional<LocalTime>& when) const {
  CheckPoint(longitude, latitude);
  if (when) JulianOf(when);  // refuses a local time that never was
  const Call call(*state_);
  InitializeTimeZones("", "Zones13.bin");
  const auto history = MapHistoryAt(longitude, latitude);
  call.Check();
  if (!history) return std::nullopt;
  double serial = 0;
  HistoryAnswer answer;
  if (when) {
    serial = LookupSerialOfLocal(*when);
    answer = history->At(serial);
  } else {
    // The present instant, whose local time is UTC moved by the offset
    // that holds then.
    const std::int64_t now = std::time(nullptr);
    answer = history->AtUtc(now);
    serial = kSerialOf1970Utc + static_cast<double>(now + answer.utc_offset) / 86400.0;
  }
  ZoneAtDate at = ZoneOfHistoryAnswer(*history, std::move(answer));
  AddNearZones(at, *history, NearZonesOnMap(longitude, latitude), serial);
  call.Check();
  return PointZoneOf(longitude, latitude, at, serial);
}

std::optional<std::string> Atlas::ZoneNameAt(double longitude, double latitude) const {
  CheckPoint(longitude, latitude);
  const Call call(*state_);
  auto history = MapHistoryAt(longitude, latitude);
  call.Check();
  if (!history) return std::nullopt;
  return (*history->histories)[history->zone].name;
}

std::string Atlas::AddPlace(const std::string& country, const std::string& name, double longitude,
                            double latitude, std::int16_t timetable, const std::string& zone) {
  CheckCountry(country);
  CheckText(name, "name");
  if (std::string why = WhyNotStorable(name, "name"); !why.empty()) return why;
  if (!std::isfinite(longitude) || !std::isfinite(latitude) || std::fabs(longitude) > 180 ||
      std::fabs(latitude) > 90) {
    return "coordinates lie within -180 to 180 degrees of longitude and -90 to 90 of latitude";
  }
  const Call call(*state_);
  const std::string code = GetInternalCountryAbbreviation(AnsiFromUtf8(country));
  UserPlace place;
  place.CountryId = GetCountryIDOfCode(code);
  const auto index = static_cast<std::size_t>(GetCountryIndexOfID(place.CountryId));
  if (place.CountryId == 0) return "no country has the code \"" + country + "\"";
  if (IsGroupPosition(index, state_->countries.size())) {
    return country + " is a group of countries: add it to one of them";
  }
  const std::string cleaned = Trim(CleanPlaceName(AnsiFromUtf8(name)));
  if (cleaned.empty()) return "the name is empty";
  if (cleaned.front() == '@') return "a name cannot begin with \"@\", the mark of a deleted place";
  // Stored cut, it would be found by neither the name the host used nor
  // deleted by it.
  if (cleaned.size() > kPlaceNameWidth) {
    return "the name \"" + name + "\" is longer than the " + std::to_string(kPlaceNameWidth) +
           " letters a place name holds";
  }
  // A number the timetable chooser does not offer names no history: the
  // place would answer local mean time in every year.
  const std::int16_t count = std::max<std::int16_t>(HaveTimetables(code), 1);
  if (timetable < 0 || timetable > count) {
    return country + " has no timetable " + std::to_string(timetable) + " (it offers 0 to " +
           std::to_string(count) + ")";
  }
  if (!zone.empty()) {
    CheckText(zone, "zone");
    const bool known = StorableZoneName(zone) && NamedHistory(zone).has_value();
    call.Check();
    if (!known) return "the atlas knows no zone \"" + zone + "\"";
    place.Zone = zone;
  }
  place.Place.SetName(cleaned);
  place.Place.Longitude = static_cast<float>(longitude);
  place.Place.Latitude = static_cast<float>(latitude);
  place.Place.Timetable = timetable;
  const std::lock_guard writer(state_->write_mutex);
  std::int32_t record = 0;
  const std::int16_t added = AddCity(place, record);
  call.Check();  // a user file it could not read whole is an error naming it
  if (added == 0) return "the name cannot be stored";
  return {};
}

bool Atlas::DeletePlace(const std::string& country, const std::string& name) {
  CheckCountry(country);
  CheckText(name, "name");
  const Call call(*state_);
  const std::string code = GetInternalCountryAbbreviation(AnsiFromUtf8(country));
  const std::lock_guard writer(state_->write_mutex);
  if (!HasUserPlace(code, name)) {
    call.Check();
    return false;
  }
  UserPlace place;
  place.CountryId = GetCountryIDOfCode(code);
  place.Place.SetName(CleanPlaceName(AnsiFromUtf8(name)));
  Delete_City(place);
  call.Check();
  return true;
}

std::vector<std::string> Atlas::UserPlacesAlike(const std::string& country,
                                                const std::string& name) const {
  CheckCountry(country);
  CheckText(name, "name");
  const Call call(*state_);
  const std::string code = GetInternalCountryAbbreviation(AnsiFromUtf8(country));
  const std::string wanted = CleanPlaceName(AnsiFromUtf8(name));
  std::vector<std::string> alike;
  for (const FoundPlace& place : Found(name, code)) {
    const std::string spelled = place.Place.TrimmedName();
    if (place.RecordNo < 0 && !TextEqual(spelled, wanted)) alike.push_back(Utf8FromAnsi(spelled));
  }
  call.Check();
  return alike;
}

void Atlas::Export(const std::string& folder,
                   const std::function<void(const std::string&, double)>& progress) const {
  const Call call(*state_);
  if (!folder.empty()) {
    std::error_code ec;
    std::filesystem::create_directories(NativePath(folder), ec);
    if (ec) throw AtlasWriteError(folder, "creating the folder: " + ec.message());
  }
  ExportLoadedAtlas(folder, progress);
  call.Check();
}

std::string WhyNoName(const std::string& text, const std::string& what) {
  const NonNameCharacter bad = FirstNonNameCharacter(text);
  if (bad.position == 0) return {};
  const std::string position = "character " + std::to_string(bad.position);
  if (bad.code_point < 0) return position + " of the " + what + " is not UTF-8";
  return position + " (" + CodePoint(bad.code_point) + ") of the " + what + " \"" + text +
         "\" is part of no name";
}

std::string WhyNotStorable(const std::string& text, const std::string& what) {
  if (IsTransliterable(text)) return {};
  const std::size_t length = Utf8Length(text);
  for (std::size_t n = 1; n <= length; ++n) {
    // Prefixes, not single characters: an accent written as a combining mark
    // is written together with its letter.
    const std::string_view prefix = Utf8Prefix(text, n);
    if (IsTransliterable(prefix)) continue;
    const std::string_view character = prefix.substr(Utf8Prefix(text, n - 1).size());
    const std::string position = "character " + std::to_string(n);
    if (character.size() == 1 && static_cast<unsigned char>(character[0]) >= 0x80) {
      return position + " of the " + what + " is not UTF-8";
    }
    return position + " (" + CodePoint(CodePointOf(character)) + ") of the " + what + " \"" + text +
           "\" cannot be written in the atlas's letters";
  }
  return "the " + what + " \"" + text + "\" cannot be written in the atlas's letters";
}

namespace {

std::optional<double> Coordinate(const std::string& text, double limit) {
  if (text.find_first_of("0123456789") == std::string::npos) return std::nullopt;
  const double value = SignedDecOfString(AnsiFromUtf8(text));
  if (!std::isfinite(value) || std::fabs(value) > limit) return std::nullopt;
  return value;
}

}  // namespace

std::optional<double> ParseLongitude(const std::string& text) {
  return Coordinate(text, 180.0);
}

std::optional<double> ParseLatitude(const std::string& text) {
  return Coordinate(text, 90.0);
}

std::optional<double> JulianDayOf(const LocalTime& time) {
  return JulianOfLocalDate(time);
}

std::string HostPath(const std::string& file) {
  return Utf8OfPath(NativePath(file));
}

}  // namespace tarv
