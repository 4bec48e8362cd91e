#include "interface/records.h"

#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "atlas/atlas_fault.h"
#include "atlas/atlas_state.h"
#include "atlas/country_names.h"
#include "atlas/country_table.h"
#include "atlas/place_search.h"
#include "atlas/place_zone.h"
#include "atlas/posix_tz.h"
#include "atlas/timetable.h"
#include "interface/zone_names.h"
#include "platform/file_status.h"
#include "platform/per_thread.h"
#include "text/codepage.h"
#include "util/julian.h"
#include "util/serial_date.h"
#include "util/text.h"

namespace tarv {
namespace {

// What a memo of answers derived from the files holds for: the thread's
// call number (file_status.h: it stays while nothing the scopes saw can have
// changed, across calls where the change counter allows) and the version of
// the loaded tables.
struct FileVersions {
  std::uint64_t call = 0;
  std::uint64_t tables = 0;

  static FileVersions Now() { return {CallNumber(), CurrentAtlas().tables_version}; }
  bool Valid() const { return call != 0 && tables != 0; }
  bool operator==(const FileVersions&) const = default;
};

bool German() {
  return CurrentAtlas().Language().Language() == kLanguageGerman;
}

// The country's name in the atlas's language and its ISO code, kept for the
// last country asked while the files are as the call number saw them.
void DescribeCountry(PlaceInfo& place, std::string_view code) {
  struct Memo {
    FileVersions versions;
    bool german = false;
    std::string code, name, iso;
  };
  Memo& memo = PerThread<Memo>();
  const bool german = German();
  const FileVersions versions = FileVersions::Now();
  if (!versions.Valid() || memo.versions != versions || memo.german != german ||
      memo.code != code) {
    const std::uint64_t faults = FaultNotes();
    const auto& table = CurrentAtlas().countries;
    const std::int16_t id = GetCountryIDOfCode(GetInternalCountryAbbreviation(code));
    const auto index = static_cast<std::size_t>(GetCountryIndexOfID(id));
    std::string name, iso;
    if (id != 0 && index < table.size()) {
      name = Utf8FromAnsi(german ? table[index].CountryTitle : table[index].Meaning);
      iso = IsoCodeOf(code);
    }
    if (FaultNotes() != faults) {
      place.CountryName = std::move(name);
      place.CountryIso = std::move(iso);
      return;
    }
    memo = {FileVersions::Now(), german, std::string(code), std::move(name), std::move(iso)};
  }
  place.CountryName = memo.name;
  place.CountryIso = memo.iso;
}

// The fields every place record has, whatever found it.
PlaceInfo PlaceOf(const PlaceRecord& record, std::string_view code, std::int32_t record_no) {
  PlaceInfo place;
  place.Name = Utf8FromAnsi(record.TrimmedName());
  place.Country = Utf8FromAnsi(code);
  place.Longitude = SevenDigits(record.Longitude);
  place.Latitude = SevenDigits(record.Latitude);
  place.Timetable = record.Timetable;
  place.RecordNo = record_no;
  place.UserPlace = record_no < 0;
  DescribeCountry(place, code);
  return place;
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

namespace {

constexpr std::array<double, 13> kPowersOfTen = {1e0, 1e1, 1e2, 1e3,  1e4,  1e5, 1e6,
                                                 1e7, 1e8, 1e9, 1e10, 1e11, 1e12};

}  // namespace

double SevenDigits(float value) {
  if (!std::isfinite(value) || value == 0.0F) return value;
  // Every place and zone answer rounds four numbers: by arithmetic where it
  // is exact. For 1e-6 <= |value| < 1e7, value * 10^j (j <= 12) needs at most
  // 24 + 28 bits, so the product and its rounding (ties to even, as
  // to_chars has them) are exact, and n / 10^j is the double nearest the
  // decimal, as from_chars reads it.
  const double magnitude = std::fabs(static_cast<double>(value));
  if (magnitude >= 1e-6 && magnitude < 1e7) {
    int digits_before_point = 1;  // of the magnitude, 1 to 7
    while (digits_before_point < 7 && magnitude >= kPowersOfTen[digits_before_point])
      ++digits_before_point;
    int j = 7 - digits_before_point;  // 0 to 6 here, up to 12 below 1
    double scaled = magnitude * kPowersOfTen[j];
    while (scaled < 1e6 && j < 12)
      scaled = magnitude * kPowersOfTen[++j];
    if (scaled >= 1e6 && scaled < 1e7) {
      const double rounded = std::nearbyint(static_cast<double>(value) * kPowersOfTen[j]);
      return rounded / kPowersOfTen[j];
    }
  }
  char text[32];
  const auto written =
      std::to_chars(text, text + sizeof text, value, std::chars_format::general, 7);
  double result = 0.0;
  std::from_chars(text, written.ptr, result);
  return result;
}

namespace {

// An entry's abbreviation and name in UTF-8, converted once per load of the
// zone table and thread: every dated answer carries them.
struct ZoneTexts {
  std::string abbreviation;
  std::string name;
};
const ZoneTexts& ZoneTextsOf(const AtlasState& atlas, std::size_t id) {
  struct Memo {
    std::uint64_t tables = 0;
    std::vector<std::optional<ZoneTexts>> texts;
  };
  thread_local Memo memo;
  // Table versions are never reused, in this atlas or another.
  const std::uint64_t version = atlas.tables_version;
  if (memo.tables != version || memo.texts.size() != atlas.zones.size()) {
    memo.tables = version;
    memo.texts.assign(atlas.zones.size(), std::nullopt);
  }
  std::optional<ZoneTexts>& texts = memo.texts[id];
  if (!texts || version == 0) {
    const ZoneRecord& record = atlas.zones[id];
    texts =
        ZoneTexts{Utf8FromAnsi(TrimRight(record.TZShort)), Utf8FromAnsi(TrimRight(record.TZName))};
  }
  return *texts;
}

}  // namespace

ZoneInfo ZoneInfoOf(std::int16_t id, double longitude) {
  ZoneInfo zone;
  zone.Id = id;
  zone.IsLmt = id == 0;
  const AtlasState& atlas = CurrentAtlas();
  const auto& zones = atlas.zones;
  if (id < 0 || static_cast<std::size_t>(id) >= zones.size()) return zone;
  const ZoneRecord& record = zones[static_cast<std::size_t>(id)];
  const ZoneTexts& texts = ZoneTextsOf(atlas, static_cast<std::size_t>(id));
  zone.Abbreviation = texts.abbreviation;
  zone.Name = texts.name;
  zone.Kind = record.TZType;
  // Local mean time is the place's own, whatever the table's zone 0 says.
  zone.UtcOffsetHours =
      zone.IsLmt ? std::round(longitude / 15.0 * 1e6) / 1e6 : SevenDigits(record.TZDif);
  return zone;
}

namespace {

// The zone's long name at the local serial date, in the atlas's language.
std::string LongNameAt(const ZoneAtDate& at, const ZoneInfo& zone, double serial) {
  if (zone.IsLmt) return German() ? "Mittlere Ortszeit" : "Local Mean Time";
  if (at.iana.empty()) return "";
  const std::int64_t utc = LocalSecondsOfSerial(serial) - at.utc_seconds;
  return ZoneLongName(at.iana, utc, at.daylight, German() ? "de" : "en");
}

LocalTime LocalTimeOfSeconds(std::int64_t local) {
  const CalendarTime t = CivilOfSeconds(local);
  return {t.year, t.month, t.day, t.hour, t.minute, t.second};
}

// Both readings of a repeated local time, earlier first, or the gap of a
// skipped one, from the own history's change of clock.
void AddClockChange(const ZoneAtDate& at, double longitude, double serial,
                    std::vector<TimeReading>& readings, std::optional<TimeGap>& gap) {
  if (!at.change) return;
  const ClockChange& change = *at.change;
  if (at.kind == LocalTimeKind::kSkipped) {
    gap = TimeGap{LocalTimeOfSeconds(change.local_from), LocalTimeOfSeconds(change.local_to),
                  change.before.utc_offset / 3600.0, change.after.utc_offset / 3600.0};
    return;
  }
  if (at.kind != LocalTimeKind::kRepeated) return;
  const std::int64_t local = LocalSecondsOfSerial(serial);
  for (const ClockChange::Side* side : {&change.before, &change.after}) {
    TimeReading reading;
    reading.Zone = ZoneInfoOf(side->entry, longitude);
    reading.TzAbbreviation = side->abbreviation;
    reading.ZoneLongName =
        ZoneLongName(at.iana, local - side->utc_offset, side->daylight, German() ? "de" : "en");
    readings.push_back(std::move(reading));
  }
}

// Where the answer `at` for the local serial date `serial` comes from.
ZoneSource SourceOf(const ZoneAtDate& at, double serial) {
  ZoneSource source;
  source.Kind = at.source;
  if (at.source != ZoneSourceKind::kTimetable) {
    source.Iana = at.iana;
    source.TzdataVersion = at.tzdata_version;
  }
  if (at.zone_id == 0) source.Kind = ZoneSourceKind::kMeanTime;
  // The instant: the local time less the offset in force.
  source.Before1970 = LocalSecondsOfSerial(serial) - at.utc_seconds < 0;
  return source;
}

}  // namespace

std::string SourceText(const ZoneSource& source, std::int32_t timetable, const std::string& country,
                       bool german) {
  const std::string in_tzdata = source.Iana + " in tzdata " + source.TzdataVersion;
  std::string text;
  switch (source.Kind) {
    case ZoneSourceKind::kTimetable:
      text = (german ? "Zeittabelle " : "timetable ") + std::to_string(timetable) +
             (german ? " von " : " of ") + country;
      break;
    case ZoneSourceKind::kZoneHistory:
      text = in_tzdata;
      break;
    case ZoneSourceKind::kNamedZone:
      text = in_tzdata + (german ? ", vom Benutzer gewählt" : ", the zone the user named");
      break;
    case ZoneSourceKind::kMeanTime:
      text = german ? "mittlere Ortszeit des Ortes (Länge / 15)"
                    : "local mean time of the place (longitude / 15)";
      if (!source.Iana.empty()) text += (german ? ", nach " : ", by ") + in_tzdata;
      break;
  }
  if (source.Before1970) {
    text += german ? "; vor 1970, was tzdata nicht vollständig zu führen verspricht"
                   : "; before 1970, which tzdata does not aim to keep completely";
  }
  return text;
}

PlaceInfo PlaceInfoOf(const FoundPlace& found, std::optional<double> serial_date) {
  PlaceInfo place = PlaceOf(found.Place, found.Country, found.RecordNo);
  // The list's coordinates: a place found by coordinates keeps the ones typed.
  place.Longitude = SevenDigits(found.Longitude);
  place.Latitude = SevenDigits(found.Latitude);
  place.Population = found.Population;
  place.OtherName = found.OtherName;
  if (!serial_date) {
    place.Zone = ZoneInfoOf(static_cast<std::int16_t>(found.ZoneId), place.Longitude);
    return place;
  }
  const double serial = *serial_date;
  const auto at = ZoneOfPlaceAt(found, serial);
  place.Zone = ZoneInfoOf(at ? at->zone_id : std::int16_t{0}, place.Longitude);
  if (!at) return place;
  place.LocalTime = at->kind;
  place.OwnHistory = at->own_history;
  place.Iana = at->iana;
  place.TzAbbreviation = at->abbreviation;
  place.ZoneLongName = LongNameAt(*at, place.Zone, serial);
  AddClockChange(*at, place.Longitude, serial, place.Readings, place.Gap);
  place.Source = SourceOf(*at, serial);
  place.NearbyZones = at->nearby;
  return place;
}

PointZone PointZoneOf(double longitude, double latitude, const ZoneAtDate& at, double serial) {
  PointZone point;
  point.Longitude = longitude;
  point.Latitude = latitude;
  point.Iana = at.iana;
  point.Zone = ZoneInfoOf(at.zone_id, longitude);
  point.LocalTime = at.kind;
  point.TzAbbreviation = at.abbreviation;
  point.ZoneLongName = LongNameAt(at, point.Zone, serial);
  AddClockChange(at, longitude, serial, point.Readings, point.Gap);
  point.Source = SourceOf(at, serial);
  point.NearbyZones = at.nearby;
  return point;
}

FoundPlace FoundPlaceOf(const NearestPlace& nearest, std::string_view code) {
  FoundPlace found;
  found.Country = code;
  found.Place = nearest.place;
  found.RecordNo = nearest.ref.RecordNo;
  found.Longitude = nearest.place.Longitude;
  found.Latitude = nearest.place.Latitude;
  found.ZoneId = RightTimeZoneId(code, nearest.place.Timetable);
  return found;
}

PlaceInfo PlaceInfoOf(const NearestPlace& nearest, std::string_view code) {
  PlaceInfo place = PlaceOf(nearest.place, code, nearest.ref.RecordNo);
  // By its place in the table: an abbreviation may name several entries.
  place.Zone = ZoneInfoOf(RightTimeZoneId(code, nearest.place.Timetable), place.Longitude);
  return place;
}

CountryInfo CountryInfoAt(std::size_t index) {
  const auto& table = CurrentAtlas().countries;
  CountryInfo info;
  if (index >= table.size()) return info;
  const CountryRecord& record = table[index];
  const std::string internal = GetInternalCountryAbbreviation(record.CountryShort);
  info.Id = record.CountryId;
  info.Code = Utf8FromAnsi(Trim(record.CountryShort));
  info.Title = Utf8FromAnsi(record.CountryTitle);
  info.English = Utf8FromAnsi(record.Meaning);
  info.Zone = Utf8FromAnsi(record.TimezoneShort);
  info.Continent = Utf8FromAnsi(record.Continent);
  info.ContinentId = record.ContinentID;
  info.IsGroup = IsGroupPosition(index, table.size());
  if (info.IsGroup) {
    info.English = info.Title;
  } else {
    info.Iso = IsoCodeOf(record.CountryShort);
    info.Timetables = HaveTimetables(internal);
    info.SeveralZones = HaveSeveralTimeZones(internal);
  }
  return info;
}

std::optional<CountryInfo> FindCountryInfo(std::string_view text, CountryCodes codes) {
  // Hosts name the same country call after call: the last answer holds for
  // the same question while the files are as the call number saw them.
  struct Memo {
    FileVersions versions;
    CountryCodes codes = CountryCodes::kIso;
    std::string text;
    std::optional<CountryInfo> info;
  };
  Memo& memo = PerThread<Memo>();
  const FileVersions versions = FileVersions::Now();
  if (versions.Valid() && memo.versions == versions && memo.codes == codes && memo.text == text)
    return memo.info;
  const std::uint64_t faults = FaultNotes();
  std::optional<CountryInfo> info;
  if (const auto match = FindCountry(text, codes)) {
    info = CountryInfoAt(static_cast<std::size_t>(GetCountryIndexOfID(match->id)));
    info->Id = match->id;
    info->Code = Utf8FromAnsi(match->code);
  }
  if (FaultNotes() == faults) memo = {FileVersions::Now(), codes, std::string(text), info};
  return info;
}

std::vector<CountryInfo> CountryInfos() {
  const auto& table = CurrentAtlas().countries;
  const std::size_t end = table.size() > kContinentRecords ? table.size() - kContinentRecords : 0;
  if (end <= 1) return {};
  const std::vector<CountryRecord> lines(table.begin() + 1,
                                         table.begin() + static_cast<std::ptrdiff_t>(end));
  std::vector<CountryInfo> countries;
  countries.reserve(lines.size());
  for (const std::size_t i : TitleOrder(lines))
    countries.push_back(CountryInfoAt(i + 1));
  return countries;
}

std::vector<TimetableEntry> TimetableEntries(std::string_view code, std::int16_t number) {
  const std::string internal = GetInternalCountryAbbreviation(code);
  const std::int16_t id = GetCountryID(internal);
  std::vector<TimetableRecord> records;
  if (id != 0) Read_Cp_TimeTable(internal, id, kSerial2000, number, records, IsUSA(internal));
  std::vector<TimetableEntry> entries;
  entries.reserve(records.size());
  for (const auto& r : records) {
    const CalendarTime from = CalendarOfSerial(r.Datum);
    entries.push_back({{from.year, from.month, from.day, from.hour, from.minute, from.second},
                       SerialInJulian(r.Datum),
                       ZoneInfoOf(r.Zone, 0.0)});
  }
  return entries;
}

}  // namespace tarv
