#include "atlas/timetable.h"

#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <shared_mutex>
#include <tuple>

#include "atlas/atlas_fault.h"
#include "atlas/atlas_state.h"
#include "atlas/country_table.h"
#include "atlas/dst_rules.h"
#include "atlas/place_file.h"
#include "platform/file_status.h"
#include "text/bytes.h"
#include "text/codepage.h"
#include "text/lz.h"
#include "util/file_tests.h"
#include "util/julian.h"
#include "util/serial_date.h"
#include "util/text.h"

namespace tarv {
namespace {

// One second, in days: the tolerance of the summer-time test.
constexpr double kOneSecond = 1.0 / (24.0 * 3600.0);

std::optional<std::size_t> CountryPosition(std::string_view code) {
  const std::int16_t id = GetCountryID(code);
  if (id == 0) return std::nullopt;
  const auto index = static_cast<std::size_t>(GetCountryIndexOfID(id));
  const auto& table = CurrentAtlas().countries;
  if (index == 0 || index + kNonCountryTail >= table.size()) return std::nullopt;
  return index;
}

const CountryRecord* CountryOf(std::string_view code) {
  const auto position = CountryPosition(code);
  return position ? &CurrentAtlas().countries[*position] : nullptr;
}

bool HasTimetableHistory(const std::vector<TimetableRecord>& entries) {
  return entries.size() > 1;
}

std::int16_t ZoneInTimetableHistory(const std::vector<TimetableRecord>& entries, double date) {
  std::int16_t zone = 0;
  const double at = LinearSerial(date);
  for (const auto& e : entries) {
    if (LinearSerial(e.Datum) > at) break;
    zone = e.Zone;
  }
  return zone;
}

bool IsSummerZone(const ZoneRecord& zone) {
  // "/S" holds no blank, so trimming the field first would not change this.
  return zone.TZType == 'S' || zone.TZType == 'D' || zone.TZShort.find("/S") != std::string::npos;
}

// The standard zone a history ends on: the last one before 2000 that is
// not a summer variant (at the end of 1999 it is summer time south of the
// equator).
std::int16_t StandardZoneOf1999(const std::vector<TimetableRecord>& entries) {
  for (auto it = entries.rbegin(); it != entries.rend(); ++it) {
    if (LinearSerial(it->Datum) < kSerial2000 && !IsSummerZone(ZoneRecordOf(it->Zone))) {
      return it->Zone;
    }
  }
  return 0;
}

std::int16_t SummerVariantOf(std::int16_t standard) {
  const ZoneRecord& zone = ZoneRecordOf(standard);
  const std::string name = Trim(zone.TZShort);
  if (name.empty()) return standard;
  const std::string variant = UCase(name) == "GMT" ? "WET/S" : name + "/S";
  if (const std::int16_t id = GetTimezoneId(variant); id != 0) return id;
  const auto& zones = CurrentAtlas().zones;
  for (std::size_t i = 1; i < zones.size(); ++i) {
    if (zones[i].TZType == 'S' && zones[i].TZDif == zone.TZDif + 1.0F) {
      return static_cast<std::int16_t>(i);
    }
  }
  return standard;
}

// The atlas's rules file as last decoded, with the image it came from.
struct DecodedRules {
  std::mutex mutex;
  std::shared_ptr<const std::string> image;
  std::shared_ptr<const DstRules> rules;
};

std::shared_ptr<const DstRules> RulesFile() {
  // The same file version within one number of the file statuses.
  struct Known {
    const AtlasState* atlas = nullptr;
    std::uint64_t call = 0;
    std::shared_ptr<const DstRules> rules;
  };
  Known& known = PerThread<Known>();
  AtlasState& atlas = CurrentAtlas();
  const std::uint64_t call = CallNumber();
  if (call != 0 && call == known.call && known.atlas == &atlas) return known.rules;
  const std::string path = AtlasFolder("") + kDstRulesFile;
  std::int32_t error = 0;
  auto current = ExistingImage(path, error);
  if (!current && error == 0) {  // an atlas without rules of its own
    known = {&atlas, call, nullptr};
    return nullptr;
  }
  // Falling back to the rule of the 1990s would be a quiet wrong answer: the
  // call fails instead, and asks again next time.
  if (!current) {
    NoteUnreadableFile(path, error);
    return nullptr;
  }
  DecodedRules& decoded = atlas.Derived<DecodedRules>();
  std::shared_ptr<const DstRules> rules;
  {
    const std::lock_guard<std::mutex> lock(decoded.mutex);
    if (current != decoded.image) {
      auto parsed = DstRules::Parse(*current, path);
      if (!parsed) {
        NoteMalformedFile(parsed.fault());
        return nullptr;
      }
      decoded.rules = std::make_shared<const DstRules>(*std::move(parsed));
      decoded.image = current;
    }
    rules = decoded.rules;
  }
  known = {&atlas, call, WithOwnCount(std::move(rules))};
  return known.rules;
}

DstRule RuleOf(const CountryRecord& country, std::int16_t timetable,
               const std::vector<TimetableRecord>& history, int year) {
  if (const auto rules = RulesFile()) {
    const std::int16_t number = timetable == 0 ? std::int16_t{1} : timetable;
    if (auto rule = rules->RuleFor(country.CountryId, number, year)) return *rule;
  }
  std::vector<std::pair<double, bool>> summer;
  summer.reserve(history.size());
  for (const auto& e : history)
    summer.emplace_back(e.Datum, IsSummerZone(ZoneRecordOf(e.Zone)));
  return InferDstRule(summer);
}

// The changes after 1999 the rules file records for the timetable, or
// nullptr (an atlas without them, or a date after the last year they cover).
const DstRules::Changes* ChangesOf(const CountryRecord& country, std::int16_t timetable,
                                   double date) {
  if (date >= SerialOfDate(kLastChangeYear + 1, 1, 1)) return nullptr;
  const auto rules = RulesFile();
  if (rules == nullptr) return nullptr;
  return rules->ChangesFor(country.CountryId, timetable == 0 ? std::int16_t{1} : timetable);
}

// The zone the changes after 1999 give at `date`: the history's zone at the
// end of 1999 until the first change.
std::int16_t ZoneInChanges(const std::vector<TimetableRecord>& history,
                           const DstRules::Changes& changes, double date) {
  std::int16_t zone = ZoneInTimetableHistory(history, kSerial2000);
  const double at = LinearSerial(date);
  for (const auto& [from, id] : changes) {
    if (LinearSerial(from) > at) break;
    zone = id;
  }
  return zone;
}

bool InSummerTime(const DstRule& rule, int year, double date) {
  if (rule.kind == DstRule::Kind::kNone) return false;
  if (rule.kind == DstRule::Kind::kAll) return true;
  const auto [start, end] = rule.PeriodIn(year);
  const double at = date + kOneSecond;
  // A start after the end: summer time spans the turn of the year.
  return start <= end ? (at >= start && at < end) : (at >= start || at < end);
}

}  // namespace

ZoneAtDate ZoneOfId(std::int16_t id) {
  const auto& zones = CurrentAtlas().zones;
  const auto index = static_cast<std::size_t>(id);
  ZoneAtDate at;
  at.zone_id = id;
  at.zone = index < zones.size() ? zones[index] : ZoneRecord{};
  return at;
}

// The zone table's entry without a copy; a blank one outside the table.
const ZoneRecord& ZoneRecordOf(std::int16_t id) {
  static const ZoneRecord kBlank;
  const auto& zones = CurrentAtlas().zones;
  const auto index = static_cast<std::size_t>(id);
  return index < zones.size() ? zones[index] : kBlank;
}

std::optional<ZoneAtDate> ZoneAt(std::string_view code, std::int16_t timetable, double date) {
  InitializeCountries("", "Country.dat", false, false);
  InitializeTimeZones("", "Zones13.bin");
  if (!std::isfinite(date)) return std::nullopt;
  const std::string mapped = GetInternalCountryAbbreviation(code);
  const CountryRecord* country = CountryOf(mapped);
  if (country == nullptr) return std::nullopt;
  const auto entries = TimetableHistory(*country, timetable);
  if (!entries) return std::nullopt;
  const std::vector<TimetableRecord>& history = *entries;
  if (!HasTimetableHistory(history) && timetable == 0) {
    ZoneRecord base;
    const std::int16_t id = Fill_BaseTimeZoneData(mapped, base);
    ZoneAtDate at;
    at.zone_id = id;
    at.zone = base;
    return at;
  }
  if (date <= kSerial2000) return ZoneOfId(ZoneInTimetableHistory(history, date));
  if (const auto* changes = ChangesOf(*country, timetable, date))
    return ZoneOfId(ZoneInChanges(history, *changes, date));

  // After the years the changes cover (or without them): the standard time
  // of the end of the history and the year's summer-time rule.
  std::int16_t standard = StandardZoneOf1999(history);
  const auto rules = RulesFile();
  if (const auto* changes = rules == nullptr
                                ? nullptr
                                : rules->ChangesFor(country->CountryId,
                                                    timetable == 0 ? std::int16_t{1} : timetable)) {
    for (auto it = changes->rbegin(); it != changes->rend(); ++it) {
      if (it->second != 0 && !IsSummerZone(ZoneRecordOf(it->second))) {
        standard = it->second;
        break;
      }
    }
  }
  const int year = CalendarOfSerial(std::min(date, 2958465.0)).year;
  const DstRule rule = RuleOf(*country, timetable, history, year);
  return ZoneOfId(InSummerTime(rule, year, date) ? SummerVariantOf(standard) : standard);
}

float Get_TZData(std::string_view code, std::int16_t timetable, double date, ZoneRecord& record) {
  const auto zone = ZoneAt(code, timetable, date);
  if (!zone) return 0.0F;
  record = zone->zone;
  return record.TZDif;
}

double GetDaylightSavingDate(std::string_view code, std::int16_t timetable, int year,
                             std::int16_t end_flag) {
  InitializeCountries("", "Country.dat", false, false);
  InitializeTimeZones("", "Zones13.bin");
  const CountryRecord* country = CountryOf(GetInternalCountryAbbreviation(code));
  if (country == nullptr) return 0.0;
  const auto history = TimetableHistory(*country, timetable);
  if (!history) return 0.0;
  const DstRule rule = RuleOf(*country, timetable, *history, year);
  const auto [start, end] = rule.PeriodIn(year);
  return end_flag == 0 ? start : end;
}

std::string Get_BaseTimeZone(std::string_view code) {
  const CountryRecord* country = CountryOf(GetInternalCountryAbbreviation(code));
  return country == nullptr ? std::string() : Trim(country->TimezoneShort);
}

std::int16_t Fill_BaseTimeZoneData(std::string_view code, ZoneRecord& record) {
  const std::int16_t id = GetTimezoneId(Get_BaseTimeZone(code));
  record = ZoneOfId(id).zone;
  return id;
}

std::string GetRightTimeZone(std::string_view code, std::int16_t timetable) {
  InitializeCountries("", "Country.dat", false, false);
  InitializeTimeZones("", "Zones13.bin");
  const std::string mapped = GetInternalCountryAbbreviation(code);
  const CountryRecord* country = CountryOf(mapped);
  if (country == nullptr) return {};
  const auto history = TimetableHistory(*country, timetable);
  if (!history) return {};
  if (!HasTimetableHistory(*history)) return Get_BaseTimeZone(mapped);
  return Trim(ZoneRecordOf(StandardZoneOf1999(*history)).TZShort);
}

std::int16_t RightTimeZoneId(std::string_view code, std::int16_t timetable) {
  InitializeCountries("", "Country.dat", false, false);
  InitializeTimeZones("", "Zones13.bin");
  const std::string mapped = GetInternalCountryAbbreviation(code);
  const CountryRecord* country = CountryOf(mapped);
  if (country == nullptr) return 0;
  const auto history = TimetableHistory(*country, timetable);
  if (!history) return 0;
  if (!HasTimetableHistory(*history)) return GetTimezoneId(Get_BaseTimeZone(mapped));
  return StandardZoneOf1999(*history);
}

LocalTimeKind LocalTimeStatus(std::string_view code, std::int16_t timetable, double date) {
  InitializeCountries("", "Country.dat", false, false);
  InitializeTimeZones("", "Zones13.bin");
  const std::string mapped = GetInternalCountryAbbreviation(code);
  const CountryRecord* country = CountryOf(mapped);
  if (country == nullptr || !std::isfinite(date)) return LocalTimeKind::kNormal;
  // Each change: the local time it happens at (old offset) and the hours the
  // clocks moved.
  std::vector<std::pair<double, double>> changes;
  const auto entries = TimetableHistory(*country, timetable);
  if (!entries) return LocalTimeKind::kNormal;
  const std::vector<TimetableRecord>& history = *entries;
  if (date <= kSerial2000 + 1) {
    for (std::size_t i = 1; i < history.size(); ++i) {
      const ZoneRecord& before = ZoneRecordOf(history[i - 1].Zone);
      const ZoneRecord& after = ZoneRecordOf(history[i].Zone);
      if (history[i - 1].Zone == 0 || history[i].Zone == 0) continue;
      changes.emplace_back(LinearSerial(history[i].Datum),
                           static_cast<double>(after.TZDif - before.TZDif));
    }
  } else if (const auto* later = ChangesOf(*country, timetable, date)) {
    std::int16_t zone = ZoneInTimetableHistory(history, kSerial2000);
    for (const auto& [from, id] : *later) {
      if (zone != 0 && id != 0) {
        changes.emplace_back(LinearSerial(from), static_cast<double>(ZoneRecordOf(id).TZDif -
                                                                     ZoneRecordOf(zone).TZDif));
      }
      zone = id;
    }
  } else if (HasTimetableHistory(history) || timetable != 0) {
    const int year = CalendarOfSerial(std::min(date, 2958465.0)).year;
    const DstRule rule = RuleOf(*country, timetable, history, year);
    if (rule.kind == DstRule::Kind::kRule || rule.kind == DstRule::Kind::kDates) {
      const auto [start, end] = rule.PeriodIn(year);
      changes.emplace_back(start, 1.0);
      changes.emplace_back(end, -1.0);
    }
  }
  const double at = LinearSerial(date);
  for (const auto& [when, hours] : changes) {
    const double span = std::fabs(hours) / 24.0;
    if (hours > 0 && at >= when && at < when + span) return LocalTimeKind::kSkipped;
    if (hours < 0 && at >= when - span && at < when) return LocalTimeKind::kRepeated;
  }
  return LocalTimeKind::kNormal;
}

}  // namespace tarv
