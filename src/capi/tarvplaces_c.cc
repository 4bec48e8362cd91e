// The C interface (tarvplaces/tarvplaces.h): each function checks its
// arguments, asks the place service through the handle's classPlaces and
// copies the answer out; capi/boundary.h keeps exceptions inside.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

#include "atlas/country_table.h"
#include "atlas/place_search.h"
#include "atlas/atlas_state.h"
#include "atlas/user_places.h"
#include "capi/boundary.h"
#include "capi/handles.h"
#include "export/text_export.h"
#include "interface/export_phrase.h"
#include "interface/place_report.h"
#include "platform/codepage.h"
#include "tarvplaces/message_sink.h"
#include "tarvplaces/tarvplaces.h"
#include "util/local_date.h"
#include "util/serial_date.h"
#include "util/text.h"

struct tarv_place_list {
  std::vector<tarv_place> places;
};

struct tarv_country_list {
  std::vector<tarv::CountryReport> reports;  // owns the texts `countries` point into
  std::vector<tarv_country> countries;

  // Points `countries` at `reports`.
  void Point() {
    countries.clear();
    for (const auto& r : reports) {
      countries.push_back({r.id, r.code.c_str(), r.title.c_str(), r.english.c_str(), r.zone.c_str(),
                           r.continent.c_str(), r.continent_id, r.timetables,
                           r.several_zones ? 1 : 0, r.iso.c_str()});
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

tarv_zone ZoneOf(const ZoneReport& report) {
  tarv_zone zone{};
  zone.id = report.id;
  CopyText(zone.abbreviation, report.abbreviation, "zone abbreviation");
  CopyText(zone.name, report.name, "zone name");
  zone.utc_offset = Seconds(report.utc_offset);
  zone.kind = report.kind;
  return zone;
}

tarv_place PlaceOf(const PlaceReport& report) {
  tarv_place place{};
  CopyText(place.name, report.name, "place name");
  CopyText(place.country, report.country, "country code");
  place.longitude = report.longitude;
  place.latitude = report.latitude;
  place.timetable = report.timetable;
  place.user_place = report.user_place ? 1 : 0;
  place.zone_id = report.zone.id;
  CopyText(place.zone, report.zone.abbreviation, "zone abbreviation");
  CopyText(place.zone_name, report.zone.name, "zone name");
  place.utc_offset = Seconds(report.zone.utc_offset);
  place.is_lmt = report.zone.is_lmt ? 1 : 0;
  place.local_time = static_cast<std::int32_t>(report.local_time);
  CopyText(place.iana, report.iana, "IANA zone");
  CopyText(place.tz_abbreviation, report.tz_abbreviation, "zone abbreviation");
  CopyText(place.zone_long_name, report.zone_long_name, "zone name");
  place.own_history = report.own_history ? 1 : 0;
  CopyText(place.country_name, report.country_name, "country name");
  CopyText(place.country_iso, report.country_iso, "ISO code");
  place.population = report.population;
  place.other_name = report.other_name ? 1 : 0;
  return place;
}

std::optional<double> JulianOf(const tarv_local_time* when) {
  if (when == nullptr) return std::nullopt;
  const auto julian = JulianOfLocalDate(
      {when->year, when->month, when->day, when->hour, when->minute, when->second});
  if (!julian) {
    Fail(TARV_E_ARGUMENT, "no such local time: " + std::to_string(when->year) + "-" +
                              std::to_string(when->month) + "-" + std::to_string(when->day) + " " +
                              std::to_string(when->hour) + ":" + std::to_string(when->minute) +
                              ":" + std::to_string(when->second) +
                              " (years 0-9999, hours 0-23, minutes and seconds 0-59)");
  }
  return julian;
}

// The atlas folder of the call: the handles' folder, else what the handle's
// callback gives.
void RequireFolder(tarv_atlas& atlas) {
  std::string& folder = CurrentAtlas().places_path;
  if (folder.empty() && atlas.places.FillPlacePath) atlas.places.FillPlacePath(folder);
  if (folder.empty()) {
    Fail(TARV_E_ATLAS, "no atlas folder: open the handle on one or give it a place path callback");
  }
}

// The country or group a `country` argument names (tarvplaces.h: ISO codes
// first, "atlas:" for the atlas's own reading), else TARV_E_UNKNOWN_COUNTRY.
CountryInfo ResolveCountry(tarv_atlas& atlas, const std::string& text) {
  constexpr std::string_view kAtlasPrefix = "atlas:";
  const bool atlas_code =
      text.size() > kAtlasPrefix.size() &&
      TextEqual(std::string_view(text).substr(0, kAtlasPrefix.size()), kAtlasPrefix);
  const auto info =
      atlas_code ? atlas.places.FindCountry(text.substr(kAtlasPrefix.size()), CountryCodes::kAtlas)
                 : atlas.places.FindCountry(text, CountryCodes::kIso);
  if (!info) {
    Fail(TARV_E_UNKNOWN_COUNTRY,
         "no country or group \"" + text + "\" in the atlas \"" + CurrentAtlas().places_path + "\"");
  }
  return *info;
}

// A country for members that take no group.
CountryInfo ResolveOneCountry(tarv_atlas& atlas, const std::string& text) {
  CountryInfo info = ResolveCountry(atlas, text);
  if (info.IsGroup) {
    Fail(TARV_E_ARGUMENT,
         "\"" + text + "\" is a group of countries (" + info.Code + "): name one of its countries");
  }
  return info;
}

// Whether the country has a user place of that name, as AddUserPlace
// stores names.
bool HasUserPlace(tarv_atlas& atlas, const std::string& code, const std::string& name) {
  if (atlas.places.GetPlaceDataX(name, code) == 0) return false;
  const std::string wanted = CleanPlaceName(AnsiFromUtf8(name));
  return std::any_of(FoundPlaces().begin(), FoundPlaces().end(), [&](const FoundPlace& found) {
    return found.RecordNo < 0 && TextEqual(found.Place.TrimmedName(), wanted);
  });
}

// Why AddUserPlace stored nothing for a known country.
std::string AddRefusal(tarv_atlas& atlas, const std::string& code, const std::string& name,
                       std::int32_t timetable) {
  const std::string cleaned = Trim(CleanPlaceName(AnsiFromUtf8(name)));
  if (cleaned.empty()) return "the name is empty";
  if (cleaned.front() == '@') return "a name cannot begin with \"@\", the mark of a deleted place";
  const std::int32_t count = atlas.places.HaveTimetables(code);
  return code + " has no timetable " + std::to_string(timetable) + " (it offers 0 to " +
         std::to_string(std::max(count, std::int32_t{1})) + ")";
}

}  // namespace
}  // namespace tarv::capi

using tarv::capi::Call;
using tarv::capi::CallOn;
using tarv::capi::Fail;
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
  return Call([&] {
    Require(atlas, "the handle's address");
    const std::string path = folder == nullptr ? std::string() : Utf8Argument(folder, "the folder");
    *atlas = tarv::capi::OpenHandle(path);
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

tarv_status tarv_atlas_folder(tarv_atlas* atlas, char* buffer, size_t size, size_t* needed) {
  return CallOn(atlas, [&](tarv_atlas& a) {
    if (size > 0) Require(buffer, "the buffer");
    const std::string folder = a.places.PlacePath();
    if (needed != nullptr) *needed = folder.size() + 1;
    if (folder.size() + 1 > size) {
      Fail(TARV_E_BUFFER, "the folder takes " + std::to_string(folder.size() + 1) +
                              " bytes with its NUL; the buffer has " + std::to_string(size));
    }
    std::memcpy(buffer, folder.c_str(), folder.size() + 1);
    return TARV_OK;
  });
}

tarv_status tarv_place_lookup(tarv_atlas* atlas, const char* name, const char* country,
                              const tarv_local_time* when, tarv_place* place, int32_t* found) {
  return CallOn(atlas, [&](tarv_atlas& a) {
    const std::string text = Utf8Argument(name, "the place name");
    const std::string code =
        country == nullptr ? std::string() : Utf8Argument(country, "the country code");
    Require(place, "the place");
    const auto julian = tarv::capi::JulianOf(when);
    tarv::capi::RequireFolder(a);
    const std::int32_t count =
        code.empty() ? a.places.SearchAllCountries(text)
                     : a.places.GetPlaceDataX(text, tarv::capi::ResolveCountry(a, code).Code);
    tarv::capi::CheckAtlasFault();
    std::optional<tarv::PlaceReport> report;
    if (count > 0) report = tarv::ReportFoundPlace(a.places, 0, julian);
    tarv::capi::CheckAtlasFault();
    if (!report) {
      if (found != nullptr) *found = 0;
      return TARV_NOT_FOUND;
    }
    *place = tarv::capi::PlaceOf(*report);
    if (found != nullptr) *found = count;
    return TARV_OK;
  });
}

tarv_status tarv_search(tarv_atlas* atlas, const char* text, const char* country,
                        const tarv_local_time* when, tarv_place_list** list) {
  if (list != nullptr) *list = nullptr;
  return CallOn(atlas, [&](tarv_atlas& a) {
    const std::string pattern = Utf8Argument(text, "the search text");
    const std::string code =
        country == nullptr ? std::string() : Utf8Argument(country, "the country code");
    Require(list, "the list's address");
    const auto julian = tarv::capi::JulianOf(when);
    tarv::capi::RequireFolder(a);
    const std::int32_t count =
        code.empty() ? a.places.SearchAllCountries(pattern)
                     : a.places.GetPlaceDataX(pattern, tarv::capi::ResolveCountry(a, code).Code);
    tarv::capi::CheckAtlasFault();
    auto result = std::make_unique<tarv_place_list>();
    result->places.reserve(static_cast<std::size_t>(count));
    for (std::int32_t i = 0; i < count; ++i) {
      const auto report = tarv::ReportFoundPlace(a.places, i, julian);
      if (report) result->places.push_back(tarv::capi::PlaceOf(*report));
    }
    tarv::capi::CheckAtlasFault();
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
  return CallOn(atlas, [&](tarv_atlas& a) {
    const std::string code = Utf8Argument(country, "the country code");
    Require(place, "the place");
    if (!std::isfinite(longitude) || !std::isfinite(latitude) || !std::isfinite(range_degrees) ||
        range_degrees < 0) {
      Fail(TARV_E_ARGUMENT, "coordinates and range must be finite numbers, the range not negative");
    }
    tarv::capi::RequireFolder(a);
    const std::string atlas_code = tarv::capi::ResolveOneCountry(a, code).Code;
    const auto report =
        tarv::ReportNearestPlace(a.places, atlas_code, longitude, latitude, range_degrees);
    tarv::capi::CheckAtlasFault();
    if (!report) return TARV_NOT_FOUND;
    *place = tarv::capi::PlaceOf(*report);
    return TARV_OK;
  });
}

tarv_status tarv_countries(tarv_atlas* atlas, tarv_country_list** list) {
  if (list != nullptr) *list = nullptr;
  return CallOn(atlas, [&](tarv_atlas& a) {
    Require(list, "the list's address");
    tarv::capi::RequireFolder(a);
    auto result = std::make_unique<tarv_country_list>();
    result->reports = tarv::ReportCountries(a.places, true);
    result->Point();
    *list = result.release();
    return TARV_OK;
  });
}

tarv_status tarv_find_country(tarv_atlas* atlas, const char* text, tarv_country_list** list) {
  if (list != nullptr) *list = nullptr;
  return CallOn(atlas, [&](tarv_atlas& a) {
    const std::string name = Utf8Argument(text, "the country");
    Require(list, "the list's address");
    tarv::capi::RequireFolder(a);
    auto result = std::make_unique<tarv_country_list>();
    tarv_status status = TARV_NOT_FOUND;
    try {
      const tarv::CountryInfo info = tarv::capi::ResolveCountry(a, name);
      tarv::CountryReport report;
      for (auto& r : tarv::ReportCountries(a.places, true)) {
        if (r.id == info.Id) report = std::move(r);
      }
      report.id = info.Id;
      report.code = info.Code;
      report.title = info.Title;
      report.english = info.English;
      report.iso = info.Iso;
      result->reports.push_back(std::move(report));
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
  return CallOn(atlas, [&](tarv_atlas& a) {
    Require(list, "the list's address");
    tarv::capi::RequireFolder(a);
    auto result = std::make_unique<tarv_zone_list>();
    for (const auto& zone : tarv::ReportZones(a.places)) {
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
  return CallOn(atlas, [&](tarv_atlas& a) {
    const std::string code = Utf8Argument(country, "the country code");
    Require(timetable, "the timetable's address");
    if (number < 0 || number > std::numeric_limits<std::int16_t>::max()) {
      Fail(TARV_E_ARGUMENT, "timetable numbers run from 0 to 32767, not " + std::to_string(number));
    }
    tarv::capi::RequireFolder(a);
    const auto rows = tarv::ReportTimetable(a.places, tarv::capi::ResolveOneCountry(a, code).Code,
                                            static_cast<std::int16_t>(number));
    tarv::capi::CheckAtlasFault();
    auto result = std::make_unique<tarv_timetable>();
    for (const auto& row : rows) {
      const tarv::CalendarTime from = tarv::CalendarOfSerial(row.serial);
      result->entries.push_back(
          {{from.year, from.month, from.day, from.hour, from.minute, from.second},
           row.julian,
           tarv::capi::ZoneOf(row.zone)});
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
  return CallOn(atlas, [&](tarv_atlas& a) {
    const std::string code = Utf8Argument(country, "the country code");
    const std::string place = Utf8Argument(name, "the place name");
    if (!std::isfinite(longitude) || !std::isfinite(latitude) || std::fabs(longitude) > 180 ||
        std::fabs(latitude) > 90) {
      Fail(TARV_E_ARGUMENT,
           "coordinates lie within -180 to 180 degrees of longitude and -90 to "
           "90 of latitude");
    }
    if (!tarv::IsTransliterable(place)) {
      Fail(TARV_E_ARGUMENT, "the name \"" + place +
                                "\" holds a character the atlas's letters "
                                "cannot write");
    }
    tarv::capi::RequireFolder(a);
    const std::string atlas_code = tarv::capi::ResolveOneCountry(a, code).Code;
    const auto number = static_cast<std::int16_t>(
        std::clamp<std::int32_t>(timetable, -1, std::numeric_limits<std::int16_t>::max()));
    if (a.places.AddUserPlace(atlas_code, place, longitude, latitude, number) == 0) {
      Fail(TARV_E_ARGUMENT, "cannot add \"" + place +
                                "\": " + tarv::capi::AddRefusal(a, atlas_code, place, timetable));
    }
    tarv::capi::CheckAtlasFault();
    return TARV_OK;
  });
}

tarv_status tarv_delete_place(tarv_atlas* atlas, const char* country, const char* name) {
  return CallOn(atlas, [&](tarv_atlas& a) {
    const std::string code = Utf8Argument(country, "the country code");
    const std::string place = Utf8Argument(name, "the place name");
    tarv::capi::RequireFolder(a);
    const std::string atlas_code = tarv::capi::ResolveOneCountry(a, code).Code;
    if (!tarv::capi::HasUserPlace(a, atlas_code, place)) {
      tarv::capi::CheckAtlasFault();
      return TARV_NOT_FOUND;
    }
    a.places.DeleteUserPlace(atlas_code, place);
    tarv::capi::CheckAtlasFault();
    return TARV_OK;
  });
}

tarv_status tarv_export(tarv_atlas* atlas, const char* folder) {
  return CallOn(atlas, [&](tarv_atlas& a) {
    const std::string to = folder == nullptr ? std::string() : Utf8Argument(folder, "the folder");
    tarv::capi::RequireFolder(a);
    if (to.empty()) {
      a.places.Export(tarv::ExportPassPhrase());
    } else {
      std::error_code ec;
      std::filesystem::create_directories(to, ec);
      if (ec) throw tarv::AtlasWriteError(to, "creating the folder: " + ec.message());
      tarv::ExportPlaces("", to);
    }
    tarv::capi::CheckAtlasFault();
    return TARV_OK;
  });
}

tarv_status tarv_language(tarv_atlas* atlas, int32_t* language) {
  return CallOn(atlas, [&](tarv_atlas& a) {
    Require(language, "the language's address");
    *language = a.places.Language();
    return TARV_OK;
  });
}

tarv_status tarv_set_language(tarv_atlas* atlas, int32_t language) {
  return CallOn(atlas, [&](tarv_atlas& a) {
    a.places.Language(language);
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
  return CallOn(atlas, [&](tarv_atlas& a) {
    tarv::capi::SetPlacePathCallback(a, fn, user_data);
    return TARV_OK;
  });
}

}  // extern "C"
