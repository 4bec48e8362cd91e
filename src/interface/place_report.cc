#include "interface/place_report.h"

#include <charconv>
#include <cmath>

#include "atlas/country_names.h"
#include "atlas/country_table.h"
#include "atlas/place_search.h"
#include "atlas/atlas_state.h"
#include "atlas/zone_history.h"
#include "atlas/zone_table.h"
#include "interface/zone_names.h"
#include "platform/codepage.h"
#include "util/julian.h"
#include "util/number_text.h"
#include "util/text.h"

namespace tarv {
namespace {

// A number the members wrote with the locale's decimal separator: a host
// that set a German LC_NUMERIC gets "11,57549", which must not read as 11.
double NumberOfText(std::string text) {
  for (char& c : text) {
    if (c == ',') c = '.';
  }
  double value = 0.0;
  const auto* begin = text.data();
  while (begin != text.data() + text.size() && *begin == ' ')
    ++begin;
  std::from_chars(begin, text.data() + text.size(), value);
  return value;
}

std::int32_t IntegerOfText(const std::string& text) {
  std::int32_t value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

// The value the members hand out for a single-precision field: its seven
// significant digits, not the binary expansion of the float.
double NumberOfSingle(float value) {
  return NumberOfText(SingleToText(value));
}

// The name and ISO code of the place's country.
void DescribeCountry(classPlaces& places, PlaceReport& p) {
  const auto& table = CurrentAtlas().countries;
  const auto index = static_cast<std::size_t>(GetCountryIndexOfID(
      GetCountryIDOfCode(GetInternalCountryAbbreviation(AnsiFromUtf8(p.country)))));
  if (index == 0 || index >= table.size()) return;
  p.country_name = Utf8FromAnsi(places.Language() == kLanguageGerman ? table[index].CountryTitle
                                                                     : table[index].Meaning);
  p.country_iso = IsoCodeOf(AnsiFromUtf8(p.country));
}

}  // namespace

const char* LocalTimeName(LocalTimeKind kind) {
  switch (kind) {
    case LocalTimeKind::kSkipped:
      return "skipped";
    case LocalTimeKind::kRepeated:
      return "repeated";
    case LocalTimeKind::kNormal:
      break;
  }
  return "normal";
}

ZoneReport ReportZone(classPlaces& places, std::int16_t id, double longitude) {
  ZoneReport zone;
  zone.id = id;
  zone.is_lmt = id == 0;
  // The member loads the zone table when needed.
  if (places.GetTimeZoneListString(id).empty()) return zone;
  const ZoneRecord& record = CurrentAtlas().zones[static_cast<std::size_t>(id)];
  zone.abbreviation = Utf8FromAnsi(TrimRight(record.TZShort));
  zone.name = Utf8FromAnsi(TrimRight(record.TZName));
  zone.kind = record.TZType;
  // Local mean time is the place's own: its longitude / 15.
  zone.utc_offset =
      zone.is_lmt ? std::round(longitude / 15.0 * 1e6) / 1e6 : NumberOfSingle(record.TZDif);
  return zone;
}

std::optional<PlaceReport> ReportFoundPlace(classPlaces& places, std::int32_t index,
                                            std::optional<double> julian) {
  bool lmt = false;
  double zone_time = 0;
  const auto f = places.GetPlaceDataOfId(index, julian.value_or(0.0), &lmt, &zone_time);
  if (f.size() < 7) return std::nullopt;
  const FoundPlace& found = FoundPlaces()[static_cast<std::size_t>(index)];
  PlaceReport p;
  p.name = f[0];
  p.country = f[1];
  p.longitude = NumberOfSingle(found.Longitude);
  p.latitude = NumberOfSingle(found.Latitude);
  p.timetable = IntegerOfText(f[4]);
  p.user_place = IntegerOfText(f[6]) < 0;
  DescribeCountry(places, p);
  p.population = found.Population;
  p.other_name = found.OtherName;
  p.zone = ReportZone(places, static_cast<std::int16_t>(IntegerOfText(f[5])), p.longitude);
  if (julian) {
    const double serial = LookupSerialOfJulian(*julian);
    if (const auto at = ZoneOfPlaceAt(found, serial)) {
      p.local_time = at->kind;
      p.own_history = at->own_history;
      p.iana = at->iana;
      p.tz_abbreviation = at->abbreviation;
      if (p.zone.is_lmt) {
        p.zone_long_name = places.Language() == 2 ? "Mittlere Ortszeit" : "Local Mean Time";
      } else if (!at->iana.empty()) {
        const std::int64_t utc = LocalSecondsOfSerial(serial) - at->utc_seconds;
        p.zone_long_name =
            ZoneLongName(at->iana, utc, at->daylight, places.Language() == 2 ? "de" : "en");
      }
    }
  }
  return p;
}

std::optional<PlaceReport> ReportNearestPlace(classPlaces& places, const std::string& code,
                                              double longitude, double latitude,
                                              double range_degrees) {
  const auto f =
      SplitCopies(places.GetNearestPlace(code, longitude, latitude, range_degrees), '\t');
  if (f.size() < 4) return std::nullopt;
  PlaceReport p;
  p.name = TrimRight(f[0]);
  p.country = places.GetInternalCountryAbbreviation(code);
  p.longitude = NumberOfText(f[1]);
  p.latitude = NumberOfText(f[2]);
  p.timetable = IntegerOfText(f[3]);
  DescribeCountry(places, p);
  // By its place in the table: an abbreviation may name several entries.
  const std::int16_t standard = RightTimeZoneId(p.country, static_cast<std::int16_t>(p.timetable));
  p.zone = ReportZone(places, standard, p.longitude);
  return p;
}

std::vector<CountryReport> ReportCountries(classPlaces& places, bool sorted) {
  const auto sort_before = places.SortCountryFile;
  places.SortCountryFile = [sorted](bool& sort) { sort = sorted; };
  std::vector<std::string> lines;
  places.FillCountryArray(lines);
  places.SortCountryFile = sort_before;
  std::vector<CountryReport> countries;
  // Entry 0 is the fallback; the continent records end the table.
  for (std::size_t i = 1; i + kContinentRecords < lines.size(); ++i) {
    const auto f = SplitCopies(lines[i], '\t');
    if (f.size() < 10) continue;
    CountryReport c;
    c.index = static_cast<std::int32_t>(i);
    c.id = IntegerOfText(f[0]);
    c.title = f[1];
    c.code = f[2];
    c.zone = f[3];
    c.continent = f[4];
    c.english = f[6];
    c.iso = IsoCodeOf(AnsiFromUtf8(c.code));
    c.continent_id = IntegerOfText(f[9]);
    const std::string internal = places.GetInternalCountryAbbreviation(c.code);
    c.timetables = places.HaveTimetables(internal);
    c.several_zones = places.HaveSeveralTimeZones(internal);
    countries.push_back(std::move(c));
  }
  return countries;
}

std::vector<ZoneReport> ReportZones(classPlaces& places) {
  std::vector<std::string> lines;
  places.FillTimezoneArray(lines);
  std::vector<ZoneReport> zones;
  for (std::size_t id = 0; id < lines.size(); ++id) {
    if (Split(lines[id], '\t').size() < 7) continue;
    zones.push_back(ReportZone(places, static_cast<std::int16_t>(id), 0.0));
  }
  return zones;
}

std::vector<TimetableEntryReport> ReportTimetable(classPlaces& places, const std::string& code,
                                                  std::int16_t number) {
  std::vector<TimetableEntryReport> entries;
  for (const auto& row : places.GetTimeTableArray(code, number)) {
    entries.push_back({row.Date, SerialInJulian(row.Date), ReportZone(places, row.ZoneId, 0.0)});
  }
  return entries;
}

}  // namespace tarv
