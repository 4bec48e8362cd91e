// The C interface (tarvplaces/tarvplaces.h): each function checks its
// arguments, asks the handle's tarv::Atlas and copies the typed answer out;
// capi/boundary.h keeps exceptions inside.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>
#include <ctime>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

#include "capi/boundary.h"
#include "capi/handles.h"
#include "tarvplaces/atlas.h"
#include "tarvplaces/message_sink.h"
#include "tarvplaces/tarvplaces.h"

struct tarv_place_list {
  std::vector<tarv_place> places;
};

struct tarv_country_list {
  std::vector<tarv::CountryInfo> infos;  // owns the texts `countries` point into
  std::vector<tarv_country> countries;

  // Points `countries` at `infos`.
  void Point() {
    countries.clear();
    for (const auto& c : infos) {
      countries.push_back({c.Id, c.Code.c_str(), c.Title.c_str(), c.English.c_str(), c.Zone.c_str(),
                           c.Continent.c_str(), c.ContinentId, c.Timetables, c.SeveralZones ? 1 : 0,
                           c.Iso.c_str()});
    }
  }
};

struct tarv_zone_list {
  std::vector<tarv_zone> zones;
};

struct tarv_timetable {
  std::vector<tarv_timetable_entry> entries;
};

namespace tarv::capi {
namespace {

template <std::size_t N>
void CopyText(char (&field)[N], const std::string& text, const char* what) {
  // Atlas fields are narrower than these; a longer text means a changed
  // atlas format, never something to cut silently.
  if (text.size() >= N) {
    Fail(TARV_E_ATLAS, std::string(what) + " \"" + text + "\" is longer than the " +
                           std::to_string(N - 1) + " bytes its field holds");
  }
  std::memcpy(field, text.data(), text.size());
  field[text.size()] = '\0';
}

std::int32_t Seconds(double hours) {
  return static_cast<std::int32_t>(std::lround(hours * 3600.0));
}

tarv_zone ZoneOf(const ZoneInfo& info) {
  tarv_zone zone{};
  zone.id = info.Id;
  CopyText(zone.abbreviation, info.Abbreviation, "zone abbreviation");
  CopyText(zone.name, info.Name, "zone name");
  zone.utc_offset = Seconds(info.UtcOffsetHours);
  zone.kind = info.Kind;
  return zone;
}

// The zone-table fields tarv_place and tarv_point_zone share.
template <class Record>
void CopyZone(Record& record, const ZoneInfo& zone) {
  record.zone_id = zone.Id;
  CopyText(record.zone, zone.Abbreviation, "zone abbreviation");
  CopyText(record.zone_name, zone.Name, "zone name");
  record.utc_offset = Seconds(zone.UtcOffsetHours);
  record.is_lmt = zone.IsLmt ? 1 : 0;
}

tarv_local_time CLocalTime(const LocalTime& t) {
  return {t.Year, t.Month, t.Day, t.Hour, t.Minute, t.Second};
}

// Both readings of a repeated local time and the gap of a skipped one, as
// tarv_place and tarv_point_zone carry them.
template <class Record>
void CopyClockChange(Record& record, const std::vector<TimeReading>& readings,
                     const std::optional<TimeGap>& gap) {
  const std::size_t count = std::min(readings.size(), std::size(record.readings));
  record.reading_count = static_cast<std::int32_t>(count);
  for (std::size_t i = 0; i < count; ++i) {
    tarv_time_reading& out = record.readings[i];
    const TimeReading& in = readings[i];
    out.zone_id = in.Zone.Id;
    CopyText(out.zone, in.Zone.Abbreviation, "zone abbreviation");
    CopyText(out.zone_name, in.Zone.Name, "zone name");
    out.utc_offset = Seconds(in.Zone.UtcOffsetHours);
    CopyText(out.tz_abbreviation, in.TzAbbreviation, "zone abbreviation");
    CopyText(out.zone_long_name, in.ZoneLongName, "zone name");
    out.is_default = i == 0 ? 1 : 0;  // the earlier reading, the answer given
  }
  record.has_gap = gap ? 1 : 0;
  if (gap) {
    record.gap.from = CLocalTime(gap->From);
    record.gap.to = CLocalTime(gap->To);
    record.gap.offset_before = Seconds(gap->OffsetBeforeHours);
    record.gap.offset_after = Seconds(gap->OffsetAfterHours);
  }
}

tarv_source SourceOf(const ZoneSource& in) {
  tarv_source source{};
  switch (in.Kind) {
    case ZoneSourceKind::kTimetable:
      source.kind = TARV_SOURCE_TIMETABLE;
      break;
    case ZoneSourceKind::kZoneHistory:
      source.kind = TARV_SOURCE_ZONE_HISTORY;
      break;
    case ZoneSourceKind::kNamedZone:
      source.kind = TARV_SOURCE_NAMED_ZONE;
      break;
    case ZoneSourceKind::kMeanTime:
      source.kind = TARV_SOURCE_MEAN_TIME;
      break;
  }
  CopyText(source.iana, in.Iana, "IANA zone");
  CopyText(source.tzdata_version, in.TzdataVersion, "tzdata release");
  source.before_1970 = in.Before1970 ? 1 : 0;
  return source;
}

template <class Record>
void CopyNearZones(Record& record, const std::vector<NearbyZone>& zones) {
  const std::size_t count = std::min(zones.size(), std::size(record.near_zones));
  record.near_count = static_cast<std::int32_t>(count);
  for (std::size_t i = 0; i < count; ++i) {
    tarv_near_zone& out = record.near_zones[i];
    CopyText(out.iana, zones[i].Iana, "IANA zone");
    out.utc_offset = Seconds(zones[i].UtcOffsetHours);
    CopyText(out.tz_abbreviation, zones[i].TzAbbreviation, "zone abbreviation");
    out.meters = zones[i].Meters;
  }
}

void FillPlaceFields(const PlaceInfo& info, tarv_place& place) {
  CopyText(place.name, info.Name, "place name");
  CopyText(place.country, info.Country, "country code");
  place.longitude = info.Longitude;
  place.latitude = info.Latitude;
  place.timetable = info.Timetable;
  place.user_place = info.UserPlace ? 1 : 0;
  CopyZone(place, info.Zone);
  place.local_time = static_cast<std::int32_t>(info.LocalTime);
  CopyText(place.iana, info.Iana, "IANA zone");
  CopyText(place.tz_abbreviation, info.TzAbbreviation, "zone abbreviation");
  CopyText(place.zone_long_name, info.ZoneLongName, "zone name");
  place.own_history = info.OwnHistory ? 1 : 0;
  CopyText(place.country_name, info.CountryName, "country name");
  CopyText(place.country_iso, info.CountryIso, "ISO code");
  place.population = info.Population;
  place.other_name = info.OtherName ? 1 : 0;
  CopyClockChange(place, info.Readings, info.Gap);
  place.source = SourceOf(info.Source);
  CopyNearZones(place, info.NearbyZones);
}

// Written in place: the struct is large enough that a copy of it is a fair
// part of a lookup. A text too long for its field fails the call with the
// struct zeroed, never half filled.
void FillPlace(const PlaceInfo& info, tarv_place& place) {
  std::memset(&place, 0, sizeof place);
  try {
    FillPlaceFields(info, place);
  } catch (...) {
    std::memset(&place, 0, sizeof place);
    throw;
  }
}

tarv_place PlaceOf(const PlaceInfo& info) {
  tarv_place place;
  FillPlace(info, place);
  return place;
}

tarv_point_zone PointZoneOf(const PointZone& point) {
  tarv_point_zone zone{};
  zone.longitude = point.Longitude;
  zone.latitude = point.Latitude;
  CopyText(zone.iana, point.Iana, "IANA zone");
  CopyZone(zone, point.Zone);
  zone.local_time = static_cast<std::int32_t>(point.LocalTime);
  CopyText(zone.tz_abbreviation, point.TzAbbreviation, "zone abbreviation");
  CopyText(zone.zone_long_name, point.ZoneLongName, "zone name");
  CopyClockChange(zone, point.Readings, point.Gap);
  zone.source = SourceOf(point.Source);
  CopyNearZones(zone, point.NearbyZones);
  return zone;
}

// The wall-clock time of UTC now: near enough to the present at any place
// to tell which IANA zone the place follows.
LocalTime UtcNow() {
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
#ifdef _WIN32
  gmtime_s(&utc, &now);
#else
  gmtime_r(&now, &utc);
#endif
  return {utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday,
          utc.tm_hour,        utc.tm_min,     std::min(utc.tm_sec, 59)};
}

std::optional<LocalTime> LocalTimeOf(const tarv_local_time* when) {
  if (when == nullptr) return std::nullopt;
  const LocalTime time{when->year, when->month, when->day, when->hour, when->minute, when->second};
  if (!JulianDayOf(time)) {
    Fail(TARV_E_ARGUMENT, "no such local time: " + std::to_string(when->year) + "-" +
                              std::to_string(when->month) + "-" + std::to_string(when->day) + " " +
                              std::to_string(when->hour) + ":" + std::to_string(when->minute) +
                              ":" + std::to_string(when->second) +
                              " (years 0-9999, hours 0-23, minutes and seconds 0-59)");
  }
  return time;
}

// The country or group a `country` argument names (tarvplaces.h: ISO codes
// first, "atlas:" for the atlas's own reading), else TARV_E_UNKNOWN_COUNTRY.
CountryInfo ResolveCountry(const Atlas& atlas, const std::string& text) {
  constexpr std::string_view kAtlasPrefix = "atlas:";
  const bool atlas_code =
      text.size() > kAtlasPrefix.size() &&
      std::equal(kAtlasPrefix.begin(), kAtlasPrefix.end(), text.begin(),
                 [](char a, char b) { return a == std::tolower(static_cast<unsigned char>(b)); });
  auto info = atlas_code ? atlas.FindCountry(text.substr(kAtlasPrefix.size()), CountryCodes::kAtlas)
                         : atlas.FindCountry(text, CountryCodes::kIso);
  if (!info) {
    Fail(TARV_E_UNKNOWN_COUNTRY,
         "no country or group \"" + text + "\" in the atlas \"" + atlas.Folder() + "\"");
  }
  return std::move(*info);
}

// A country for members that take no group.
CountryInfo ResolveOneCountry(const Atlas& atlas, const std::string& text) {
  CountryInfo info = ResolveCountry(atlas, text);
  if (info.IsGroup) {
    Fail(TARV_E_ARGUMENT,
         "\"" + text + "\" is a group of countries (" + info.Code + "): name one of its countries");
  }
  return info;
}

// The atlas code a lookup's `country` names; "" for every country.
std::string LookupCode(const Atlas& atlas, const std::string& country) {
  return country.empty() ? country : ResolveCountry(atlas, country).Code;
}

// A `country` argument, checked; "" for NULL.
std::string CountryArgument(const char* country) {
  return country == nullptr ? std::string() : Utf8Argument(country, "the country code");
}

}  // namespace
}  // namespace tarv::capi

using tarv::capi::Call;
using tarv::capi::CallOn;
using tarv::capi::Fail;
using tarv::capi::Handle;
using tarv::capi::Require;
using tarv::capi::Utf8Argument;

extern "C" {

const char* tarv_version(void) {
  return "0.1.0";
}

const char* tarv_status_text(tarv_status status) {
  switch (status) {
    case TARV_OK:
      return "TARV_OK";
    case TARV_NOT_FOUND:
      return "TARV_NOT_FOUND";
    case TARV_E_ARGUMENT:
      return "TARV_E_ARGUMENT";
    case TARV_E_UTF8:
      return "TARV_E_UTF8";
    case TARV_E_BUFFER:
      return "TARV_E_BUFFER";
    case TARV_E_HANDLE:
      return "TARV_E_HANDLE";
    case TARV_E_UNKNOWN_COUNTRY:
      return "TARV_E_UNKNOWN_COUNTRY";
    case TARV_E_ATLAS:
      return "TARV_E_ATLAS";
    case TARV_E_WRITE:
      return "TARV_E_WRITE";
    case TARV_E_ATLAS_IN_USE:
      return "TARV_E_ATLAS_IN_USE";
    case TARV_E_MEMORY:
      return "TARV_E_MEMORY";
    case TARV_E_BUSY:
      return "TARV_E_BUSY";
    case TARV_E_INTERNAL:
      return "TARV_E_INTERNAL";
  }
  return "unknown status";
}

const char* tarv_last_error(void) {
  return tarv::capi::LastError();
}

tarv_status tarv_open(const char* folder, tarv_atlas** atlas) {
  return tarv_open_with_user_folder(folder, nullptr, atlas);
}

tarv_status tarv_open_with_user_folder(const char* folder, const char* user_folder,
                                       tarv_atlas** atlas) {
  return Call([&] {
    Require(atlas, "the handle's address");
    const std::string path = folder == nullptr ? std::string() : Utf8Argument(folder, "the folder");
    const std::string user =
        user_folder == nullptr ? std::string() : Utf8Argument(user_folder, "the user folder");
    if (path.empty() && !user.empty()) Fail(TARV_E_ARGUMENT, "a user folder needs an atlas folder");
    *atlas = tarv::capi::OpenHandle(path, user);
    return TARV_OK;
  });
}

tarv_status tarv_open_default(tarv_atlas** atlas) {
  return Call([&] {
    Require(atlas, "the handle's address");
    const tarv::AtlasLocation location = tarv::DefaultAtlasLocation();
    if (location.folder.empty()) {
      Fail(TARV_E_ATLAS,
           "no default atlas: TARV_ATLAS is not set and no atlas is installed with the library");
    }
    *atlas = tarv::capi::OpenHandle(location.folder, location.user_folder);
    return TARV_OK;
  });
}

tarv_status tarv_close(tarv_atlas* atlas) {
  if (atlas == nullptr) return Call([] { return TARV_OK; });
  return Call([&] {
    tarv::capi::CloseHandle(atlas);
    return TARV_OK;
  });
}

namespace {

// `text` and its NUL into the host's buffer, or TARV_E_BUFFER saying what it takes.
tarv_status CopyOut(const std::string& text, const char* what, char* buffer, size_t size,
                    size_t* needed) {
  if (size > 0) Require(buffer, "the buffer");
  if (needed != nullptr) *needed = text.size() + 1;
  if (text.size() + 1 > size) {
    Fail(TARV_E_BUFFER, std::string(what) + " take " + std::to_string(text.size() + 1) +
                            " bytes with the NUL; the buffer has " + std::to_string(size));
  }
  std::memcpy(buffer, text.c_str(), text.size() + 1);
  return TARV_OK;
}

}  // namespace

tarv_status tarv_atlas_folder(tarv_atlas* atlas, char* buffer, size_t size, size_t* needed) {
  return CallOn(atlas, [&](Handle& h) {
    return CopyOut(h.Folder(), "the folder's letters", buffer, size, needed);
  });
}

tarv_status tarv_place_lookup(tarv_atlas* atlas, const char* name, const char* country,
                              const tarv_local_time* when, tarv_place* place, int32_t* found) {
  return CallOn(atlas, [&](Handle& h) {
    const std::string text = Utf8Argument(name, "the place name");
    const std::string country_text = tarv::capi::CountryArgument(country);
    Require(place, "the place");
    const auto time = tarv::capi::LocalTimeOf(when);
    const auto a = h.AtlasOfCall();
    std::int32_t count = 0;
    const auto info = a->Lookup(text, tarv::capi::LookupCode(*a, country_text), time, &count);
    if (!info) {
      if (found != nullptr) *found = 0;
      return TARV_NOT_FOUND;
    }
    tarv::capi::FillPlace(*info, *place);
    if (found != nullptr) *found = count;
    return TARV_OK;
  });
}

tarv_status tarv_search(tarv_atlas* atlas, const char* text, const char* country,
                        const tarv_local_time* when, tarv_place_list** list) {
  if (list != nullptr) *list = nullptr;
  return CallOn(atlas, [&](Handle& h) {
    const std::string pattern = Utf8Argument(text, "the search text");
    const std::string country_text = tarv::capi::CountryArgument(country);
    Require(list, "the list's address");
    const auto time = tarv::capi::LocalTimeOf(when);
    const auto a = h.AtlasOfCall();
    auto result = std::make_unique<tarv_place_list>();
    for (const auto& info : a->Search(pattern, tarv::capi::LookupCode(*a, country_text), time)) {
      result->places.push_back(tarv::capi::PlaceOf(info));
    }
    *list = result.release();
    return TARV_OK;
  });
}

size_t tarv_place_list_size(const tarv_place_list* list) {
  return list == nullptr ? 0 : list->places.size();
}

const tarv_place* tarv_place_list_at(const tarv_place_list* list, size_t index) {
  return list == nullptr || index >= list->places.size() ? nullptr : &list->places[index];
}

void tarv_place_list_free(tarv_place_list* list) {
  delete list;
}

tarv_status tarv_nearest(tarv_atlas* atlas, const char* country, double longitude, double latitude,
                         double range_degrees, tarv_place* place) {
  return CallOn(atlas, [&](Handle& h) {
    const std::string code = Utf8Argument(country, "the country code");
    Require(place, "the place");
    if (!std::isfinite(longitude) || !std::isfinite(latitude) || !std::isfinite(range_degrees) ||
        range_degrees < 0) {
      Fail(TARV_E_ARGUMENT, "coordinates and range must be finite numbers, the range not negative");
    }
    const auto a = h.AtlasOfCall();
    const auto info = a->Nearest(tarv::capi::ResolveOneCountry(*a, code).Code, longitude, latitude,
                                 range_degrees);
    if (!info) return TARV_NOT_FOUND;
    tarv::capi::FillPlace(*info, *place);
    return TARV_OK;
  });
}

tarv_status tarv_zone_at(tarv_atlas* atlas, double longitude, double latitude,
                         const tarv_local_time* when, tarv_point_zone* zone) {
  return CallOn(atlas, [&](Handle& h) {
    Require(zone, "the zone");
    const auto time = tarv::capi::LocalTimeOf(when);
    const auto point = h.AtlasOfCall()->ZoneAt(longitude, latitude, time);
    if (!point) return TARV_NOT_FOUND;
    *zone = tarv::capi::PointZoneOf(*point);
    return TARV_OK;
  });
}

tarv_status tarv_nearest_here(tarv_atlas* atlas, const char* country, double longitude,
                              double latitude, double range_degrees, const tarv_local_time* when,
                              tarv_place* place, tarv_point_zone* here, int32_t* differs) {
  return CallOn(atlas, [&](Handle& h) {
    const std::string code = Utf8Argument(country, "the country code");
    Require(place, "the place");
    Require(here, "the zone here");
    Require(differs, "the difference's address");
    const auto time = tarv::capi::LocalTimeOf(when);
    const auto a = h.AtlasOfCall();
    const std::string atlas_code = tarv::capi::ResolveOneCountry(*a, code).Code;
    const auto info = a->Nearest(atlas_code, longitude, latitude, range_degrees, time);
    if (!info) return TARV_NOT_FOUND;
    const auto point = a->ZoneAt(longitude, latitude, time);
    tarv_point_zone zone{};
    bool other = false;
    if (point) {
      zone = tarv::capi::PointZoneOf(*point);
      // Only a dated place knows its IANA zone.
      const auto dated =
          time ? info
               : a->Nearest(atlas_code, longitude, latitude, range_degrees, tarv::capi::UtcNow());
      other = !dated || dated->Iana != point->Iana;
    }
    tarv::capi::FillPlace(*info, *place);
    *here = zone;
    *differs = other ? 1 : 0;
    return TARV_OK;
  });
}

tarv_status tarv_countries(tarv_atlas* atlas, tarv_country_list** list) {
  if (list != nullptr) *list = nullptr;
  return CallOn(atlas, [&](Handle& h) {
    Require(list, "the list's address");
    auto result = std::make_unique<tarv_country_list>();
    result->infos = h.AtlasOfCountryList()->Countries();
    result->Point();
    *list = result.release();
    return TARV_OK;
  });
}

tarv_status tarv_find_country(tarv_atlas* atlas, const char* text, tarv_country_list** list) {
  if (list != nullptr) *list = nullptr;
  return CallOn(atlas, [&](Handle& h) {
    const std::string name = Utf8Argument(text, "the country");
    Require(list, "the list's address");
    const auto a = h.AtlasOfCall();
    auto result = std::make_unique<tarv_country_list>();
    tarv_status status = TARV_NOT_FOUND;
    try {
      result->infos.push_back(tarv::capi::ResolveCountry(*a, name));
      status = TARV_OK;
    } catch (const tarv::capi::Failure& failure) {
      if (failure.status != TARV_E_UNKNOWN_COUNTRY) throw;
    }
    result->Point();
    *list = result.release();
    return status;
  });
}

size_t tarv_country_list_size(const tarv_country_list* list) {
  return list == nullptr ? 0 : list->countries.size();
}

const tarv_country* tarv_country_list_at(const tarv_country_list* list, size_t index) {
  return list == nullptr || index >= list->countries.size() ? nullptr : &list->countries[index];
}

void tarv_country_list_free(tarv_country_list* list) {
  delete list;
}

tarv_status tarv_zones(tarv_atlas* atlas, tarv_zone_list** list) {
  if (list != nullptr) *list = nullptr;
  return CallOn(atlas, [&](Handle& h) {
    Require(list, "the list's address");
    auto result = std::make_unique<tarv_zone_list>();
    for (const auto& zone : h.AtlasOfCall()->Zones()) {
      result->zones.push_back(tarv::capi::ZoneOf(zone));
    }
    *list = result.release();
    return TARV_OK;
  });
}

size_t tarv_zone_list_size(const tarv_zone_list* list) {
  return list == nullptr ? 0 : list->zones.size();
}

const tarv_zone* tarv_zone_list_at(const tarv_zone_list* list, size_t index) {
  return list == nullptr || index >= list->zones.size() ? nullptr : &list->zones[index];
}

void tarv_zone_list_free(tarv_zone_list* list) {
  delete list;
}

tarv_status tarv_timetable_entries(tarv_atlas* atlas, const char* country, int32_t number,
                                   tarv_timetable** timetable) {
  if (timetable != nullptr) *timetable = nullptr;
  return CallOn(atlas, [&](Handle& h) {
    const std::string code = Utf8Argument(country, "the country code");
    Require(timetable, "the timetable's address");
    if (number < 0 || number > std::numeric_limits<std::int16_t>::max()) {
      Fail(TARV_E_ARGUMENT, "timetable numbers run from 0 to 32767, not " + std::to_string(number));
    }
    const auto a = h.AtlasOfCall();
    const auto entries = a->Timetable(tarv::capi::ResolveOneCountry(*a, code).Code,
                                      static_cast<std::int16_t>(number));
    auto result = std::make_unique<tarv_timetable>();
    for (const auto& e : entries) {
      const tarv::LocalTime& t = e.From;
      result->entries.push_back({{t.Year, t.Month, t.Day, t.Hour, t.Minute, t.Second},
                                 e.JulianDay,
                                 tarv::capi::ZoneOf(e.Zone)});
    }
    *timetable = result.release();
    return TARV_OK;
  });
}

size_t tarv_timetable_size(const tarv_timetable* timetable) {
  return timetable == nullptr ? 0 : timetable->entries.size();
}

const tarv_timetable_entry* tarv_timetable_at(const tarv_timetable* timetable, size_t index) {
  return timetable == nullptr || index >= timetable->entries.size() ? nullptr
                                                                    : &timetable->entries[index];
}

void tarv_timetable_free(tarv_timetable* timetable) {
  delete timetable;
}

tarv_status tarv_add_place(tarv_atlas* atlas, const char* country, const char* name,
                           double longitude, double latitude, int32_t timetable) {
  return tarv_add_place_in_zone(atlas, country, name, longitude, latitude, timetable, nullptr);
}

tarv_status tarv_add_place_in_zone(tarv_atlas* atlas, const char* country, const char* name,
                                   double longitude, double latitude, int32_t timetable,
                                   const char* zone) {
  return CallOn(atlas, [&](Handle& h) {
    const std::string code = Utf8Argument(country, "the country code");
    const std::string place = Utf8Argument(name, "the place name");
    const std::string iana = zone == nullptr ? std::string() : Utf8Argument(zone, "the zone");
    const auto a = h.AtlasOfCall();
    const std::string atlas_code = tarv::capi::ResolveOneCountry(*a, code).Code;
    const auto number = static_cast<std::int16_t>(
        std::clamp<std::int32_t>(timetable, -1, std::numeric_limits<std::int16_t>::max()));
    const std::string refusal = a->AddPlace(atlas_code, place, longitude, latitude, number, iana);
    if (!refusal.empty()) Fail(TARV_E_ARGUMENT, "cannot add \"" + place + "\": " + refusal);
    return TARV_OK;
  });
}

tarv_status tarv_user_places_alike(tarv_atlas* atlas, const char* country, const char* name,
                                   char* buffer, size_t size, size_t* needed) {
  return CallOn(atlas, [&](Handle& h) {
    const std::string code = Utf8Argument(country, "the country code");
    const std::string place = Utf8Argument(name, "the place name");
    const auto a = h.AtlasOfCall();
    std::string names;
    for (const std::string& other :
         a->UserPlacesAlike(tarv::capi::ResolveOneCountry(*a, code).Code, place)) {
      names += other + '\n';
    }
    return CopyOut(names, "the names", buffer, size, needed);
  });
}

tarv_status tarv_delete_place(tarv_atlas* atlas, const char* country, const char* name) {
  return CallOn(atlas, [&](Handle& h) {
    const std::string code = Utf8Argument(country, "the country code");
    const std::string place = Utf8Argument(name, "the place name");
    const auto a = h.AtlasOfCall();
    return a->DeletePlace(tarv::capi::ResolveOneCountry(*a, code).Code, place) ? TARV_OK
                                                                               : TARV_NOT_FOUND;
  });
}

tarv_status tarv_export(tarv_atlas* atlas, const char* folder) {
  return CallOn(atlas, [&](Handle& h) {
    const std::string to = folder == nullptr ? std::string() : Utf8Argument(folder, "the folder");
    h.AtlasOfCall()->Export(to);
    return TARV_OK;
  });
}

tarv_status tarv_language(tarv_atlas* atlas, int32_t* language) {
  return CallOn(atlas, [&](Handle& h) {
    Require(language, "the language's address");
    *language = h.Language();
    return TARV_OK;
  });
}

tarv_status tarv_set_language(tarv_atlas* atlas, int32_t language) {
  return CallOn(atlas, [&](Handle& h) {
    h.SetLanguage(language);
    return TARV_OK;
  });
}

tarv_status tarv_set_message_sink(tarv_message_fn fn, void* user_data) {
  return Call([&] {
    if (fn == nullptr) {
      tarv::SetMessageSink({});
      return TARV_OK;
    }
    tarv::SetMessageSink([fn, user_data](const tarv::Message& message) {
      const int answer = fn(user_data, message.title.c_str(), message.text.c_str(), message.style);
      const bool known = answer >= static_cast<int>(tarv::MsgAnswer::kOk) &&
                         answer <= static_cast<int>(tarv::MsgAnswer::kNo);
      return known ? static_cast<tarv::MsgAnswer>(answer) : tarv::MsgAnswer::kOk;
    });
    return TARV_OK;
  });
}

tarv_status tarv_set_place_path_callback(tarv_atlas* atlas, tarv_place_path_fn fn,
                                         void* user_data) {
  return CallOn(atlas, [&](Handle& h) {
    h.SetPlacePathCallback(fn, user_data);
    return TARV_OK;
  });
}

}  // extern "C"
