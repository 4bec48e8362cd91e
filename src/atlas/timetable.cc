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
#include "tarvplaces/atlas_error.h"
#include "text/bytes.h"
#include "text/codepage.h"
#include "text/lz.h"
#include "util/file_tests.h"
#include "util/julian.h"
#include "util/serial_date.h"
#include "util/text.h"

namespace tarv {
namespace {

constexpr auto kRecordSize = static_cast<std::int32_t>(kTimetableRecordSize);
// One second, in days: the tolerance of the summer-time test.
constexpr double kOneSecond = 1.0 / (24.0 * 3600.0);
// The codes that stand for the last three zones of the loaded table.
constexpr std::int16_t kLastZoneCode = 140;

bool IsSectionMarker(double datum) {
  return datum <= -kSectionMarkerStep;
}
bool IsBlockMarker(double datum) {
  return !IsSectionMarker(datum) && datum <= -kBlockMarkerStep &&
         std::fmod(-datum, kBlockMarkerStep) == 0.0;
}
// The country a section marker opens. Country numbers are 16-bit; a marker
// beyond them (an infinite one too) opens no country's section.
std::optional<std::int16_t> SectionCountry(double datum) {
  const double number = std::floor(std::fabs(datum) / kSectionMarkerStep);
  if (!(number <= std::numeric_limits<std::int16_t>::max())) return std::nullopt;
  return static_cast<std::int16_t>(number);
}

// Where each block of each country's section starts in one expanded
// timetable image, so that a reader seeks to its block instead of reading
// the blocks before it (the export reads every block of a country).
class SectionIndex {
 public:
  // The position of the marker of timetable `number` in the country's
  // section: its first such marker, as a reader walking the section meets
  // it. Nothing when the section or the block is missing, or the file cannot
  // be read (`error` then holds the LZ error code).
  std::optional<std::int32_t> FindBlock(const std::string& path, std::int16_t country,
                                        std::int32_t number, std::int32_t& error) {
    auto image = ExpandedImage(path, error);
    if (!image) return std::nullopt;
    const std::lock_guard<std::mutex> lock(mutex_);
    auto& entry = files_[path];
    if (entry.image != image) {
      entry.image = image;
      entry.blocks = Scan(*image);
    }
    const auto it = entry.blocks.find({country, number});
    if (it == entry.blocks.end()) return std::nullopt;
    return it->second;
  }

 private:
  using Blocks = std::map<std::pair<std::int16_t, std::int32_t>, std::int32_t>;
  struct File {
    std::shared_ptr<const std::string> image;
    Blocks blocks;
  };
  static Blocks Scan(std::string_view image) {
    Blocks blocks;
    std::set<std::int16_t> seen;  // a country's first section counts
    std::optional<std::int16_t> country;
    for (std::size_t at = 0; at + kTimetableRecordSize <= image.size();
         at += kTimetableRecordSize) {
      const double datum = DecodeFloat64(image, at);
      if (IsSectionMarker(datum)) {
        country = SectionCountry(datum);
        if (country && !seen.insert(*country).second) country.reset();
      } else if (country && IsBlockMarker(datum) &&
                 -datum / kBlockMarkerStep <= std::numeric_limits<std::int32_t>::max()) {
        const auto number = static_cast<std::int32_t>(-datum / kBlockMarkerStep);
        blocks.emplace(std::make_pair(*country, number), static_cast<std::int32_t>(at));
      }
    }
    return blocks;
  }
  std::mutex mutex_;
  std::map<std::string, File> files_;
};

SectionIndex& Sections() {
  return CurrentAtlas().Derived<SectionIndex>();
}

struct RawRecord {
  double datum = 0;
  std::int16_t zone = 0;
};

// Reads one record; 0 at the end, negative for an LZ error.
std::int32_t ReadRecord(std::int32_t handle, RawRecord& record) {
  char buffer[kTimetableRecordSize];
  const std::int32_t read = LZRead(handle, buffer, kRecordSize);
  if (read < kRecordSize) return read < 0 ? read : 0;
  const std::string_view bytes(buffer, kTimetableRecordSize);
  record = {DecodeFloat64(bytes, 0), DecodeInt16(bytes, 8)};
  return read;
}

std::int16_t MapZoneCode(std::int16_t code, const std::string& file, std::int16_t country,
                         std::int32_t number) {
  const auto last = static_cast<std::int16_t>(CurrentAtlas().zones.size() - 1);
  if (code >= kLastZoneCode - 2 && code <= kLastZoneCode) {
    return static_cast<std::int16_t>(last - (kLastZoneCode - code));
  }
  if (code < 0 || code > last) {
    throw AtlasError(file, "country " + std::to_string(country) + ", timetable " +
                               std::to_string(number) + ": zone " + std::to_string(code) +
                               " is not in the zone table");
  }
  return code;
}

double FranceCorrected(double datum) {
  const CalendarTime t = CalendarOfSerial(datum);
  if (t.month != 5 || t.year <= 1975) return datum;
  CalendarTime moved = t;
  moved.month += 4;
  return SerialOf(moved);
}

std::int16_t NoteTimetableFault(std::int32_t code, const std::string& file,
                                const std::vector<TimetableRecord>& result,
                                std::int32_t* lz_error) {
  NoteAtlasFault(file, code, "Read_Cp_TimeTable");
  if (lz_error != nullptr) *lz_error = code;
  return static_cast<std::int16_t>(result.size());
}

// The dates the host's date type holds: 1 January 100 to 31 December 9999.
bool IsDate(double datum) {
  return std::isfinite(datum) && datum >= kSmallestSerial && datum < kLargestSerial;
}

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

using Entries = std::vector<TimetableRecord>;

// Timetables as the zone lookups read them. An entry holds while the
// timetable file is the version it was read from and the tables are the ones
// it was read with (zone codes are mapped through the zone table, France is
// found through the country table).
class HistoryCache {
 public:
  // nullptr when the timetable file cannot be read.
  std::shared_ptr<const Entries> Get(const CountryRecord& country, std::int32_t number) {
    const bool usa = IsUSA(country.CountryShort);
    const AtlasState& state = CurrentAtlas();
    const Key key{usa, country.CountryId, number};
    std::string file;
    {
      const std::shared_lock<std::shared_mutex> lock(mutex_);
      if (state.places_path == folder_) file = files_[usa ? 1 : 0];
    }
    if (file.empty()) {
      const std::unique_lock<std::shared_mutex> lock(mutex_);
      if (state.places_path != folder_) {
        // Another atlas: its files have other names and other contents.
        folder_ = state.places_path;
        files_ = {AtlasFolder("") + "ttx.dao", AtlasFolder("") + "TTUSA.dao"};
        entries_.clear();
      }
      file = files_[usa ? 1 : 0];
    }
    // A file that failed once in this call fails again: it is read once.
    const std::uint64_t call = CallNumber();
    FailedRead& failed = PerThread<FailedRead>();
    if (call != 0 && failed.call == call && failed.file == file) return nullptr;
    std::int32_t error = 0;
    // The version the entries belong to; a missing file has none.
    auto image = ExistingImage(file, error);
    const bool cacheable = error == 0 && state.countries_loaded && state.zones_loaded;
    const std::uint64_t tables = state.tables_version;
    if (cacheable) {
      const std::shared_lock<std::shared_mutex> lock(mutex_);
      const auto it = entries_.find(key);
      if (it != entries_.end() && it->second.image == image && it->second.tables == tables) {
        return it->second.entries;
      }
    }
    auto entries = std::make_shared<Entries>();
    std::int32_t lz_error = 0;
    Read_Cp_TimeTable(country.CountryShort, country.CountryId, kSerial2000, number, *entries, usa,
                      "", &lz_error);
    if (lz_error != 0) {
      failed = {call, file};
      return nullptr;
    }
    if (cacheable) {
      const std::unique_lock<std::shared_mutex> lock(mutex_);
      if (entries_.size() >= kMaxEntries) entries_.clear();
      entries_[key] = Entry{std::move(image), tables, entries};
    }
    return entries;
  }

 private:
  static constexpr std::size_t kMaxEntries = 4096;
  using Key = std::tuple<bool, std::int16_t, std::int32_t>;
  struct Entry {
    std::shared_ptr<const std::string> image;  // held, so its address cannot be reused
    std::uint64_t tables = 0;
    std::shared_ptr<const Entries> entries;
  };
  struct FailedRead {
    std::uint64_t call = 0;
    std::string file;
  };
  std::shared_mutex mutex_;
  std::string folder_ = std::string(1, '\0');  // no place folder is this
  std::array<std::string, 2> files_;
  std::map<Key, Entry> entries_;
};

// The entries of a timetable as the zone lookups use them; timetable 0 reads
// block 1. Fewer than two entries means the file has no such history;
// nullptr that the file cannot be read, and then no zone is known.
std::shared_ptr<const Entries> History(const CountryRecord& country, std::int16_t timetable) {
  return CurrentAtlas().Derived<HistoryCache>().Get(country, timetable == 0 ? 1 : timetable);
}

bool HasHistory(const std::vector<TimetableRecord>& entries) {
  return entries.size() > 1;
}

std::int16_t ZoneInHistory(const std::vector<TimetableRecord>& entries, double date) {
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
  known = {&atlas, call, nullptr};
  const std::string path = AtlasFolder("") + kDstRulesFile;
  if (!Exist(path)) return nullptr;
  std::int32_t error = 0;
  auto current = ExpandedImage(path, error);
  // Falling back to the rule of the 1990s would be a quiet wrong answer.
  if (!current) throw AtlasError(path, Utf8FromAnsi(LZERROR_Msg(error, AnsiFromUtf8(path))));
  DecodedRules& decoded = atlas.Derived<DecodedRules>();
  const std::lock_guard<std::mutex> lock(decoded.mutex);
  if (current != decoded.image) {
    decoded.rules = std::make_shared<const DstRules>(DstRules::Parse(*current, path));
    decoded.image = current;
  }
  known.rules = decoded.rules;
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
  std::int16_t zone = ZoneInHistory(history, kSerial2000);
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

std::string EncodeTimetableFile(const std::vector<TimetableSection>& sections) {
  std::string bytes;
  auto record = [&bytes](double datum, std::int16_t zone) {
    AppendFloat64(bytes, datum);
    AppendInt16(bytes, zone);
  };
  for (const auto& section : sections) {
    record(-kSectionMarkerStep * section.country, 0);
    for (std::size_t n = 0; n < section.timetables.size(); ++n) {
      record(-kBlockMarkerStep * static_cast<double>(n + 1), 0);
      for (const auto& e : section.timetables[n])
        record(e.Datum, e.Zone);
    }
  }
  return bytes;
}

std::int16_t Read_Cp_TimeTable(std::string_view /*code*/, std::int16_t country_id, double reference,
                               std::int32_t number, std::vector<TimetableRecord>& result, bool usa,
                               const std::string& folder, std::int32_t* lz_error) {
  if (lz_error != nullptr) *lz_error = 0;
  if (!InitializeCountries("", "Country.dat", false, false) ||
      !InitializeTimeZones("", "Zones13.bin")) {
    return 0;
  }
  const bool france = country_id == GetCountryID("F");
  if (reference > kSerial2000) {
    result.assign(1, TimetableRecord{});
    return 0;
  }
  if (reference < kSmallestSerial) {
    result.assign(1, TimetableRecord{kSerial1700, 0});
    return 1;
  }
  if (country_id == 0) return 0;
  const std::string file = AtlasFolder(folder) + (usa ? "TTUSA.dao" : "ttx.dao");
  if (!Exist(file)) return 0;

  result.assign(1, TimetableRecord{kSerial1700, 0});
  std::int32_t error = 0;
  const auto block = Sections().FindBlock(file, country_id, number, error);
  if (error != 0) return NoteTimetableFault(error, file, result, lz_error);
  if (!block) return static_cast<std::int16_t>(result.size());
  const LzFile lz(file);
  if (lz.get() < 0) return NoteTimetableFault(lz.get(), file, result, lz_error);
  if (const std::int32_t at = LZSeek(lz.get(), *block + kRecordSize, kLzSeekSet); at < 0) {
    return NoteTimetableFault(at, file, result, lz_error);
  }
  RawRecord r;
  for (;;) {
    const std::int32_t read = ReadRecord(lz.get(), r);
    if (read < 0) return NoteTimetableFault(read, file, result, lz_error);
    if (read == 0 || IsSectionMarker(r.datum) || IsBlockMarker(r.datum)) break;
    if (result.size() >= 32767) break;  // the count is 16-bit
    if (!IsDate(r.datum)) {
      // Numbered as the text export numbers the entries, 1700 being 1.
      throw AtlasError(file, "country " + std::to_string(country_id) + ", timetable " +
                                 std::to_string(number) + ", entry " +
                                 std::to_string(result.size() + 1) + ": " +
                                 std::to_string(r.datum) + " is not a date");
    }
    const double datum = france ? FranceCorrected(r.datum) : r.datum;
    result.push_back({datum, MapZoneCode(r.zone, file, country_id, number)});
  }
  return static_cast<std::int16_t>(result.size());
}

std::optional<ZoneAtDate> ZoneAt(std::string_view code, std::int16_t timetable, double date) {
  InitializeCountries("", "Country.dat", false, false);
  InitializeTimeZones("", "Zones13.bin");
  if (!std::isfinite(date)) return std::nullopt;
  const std::string mapped = GetInternalCountryAbbreviation(code);
  const CountryRecord* country = CountryOf(mapped);
  if (country == nullptr) return std::nullopt;
  const auto entries = History(*country, timetable);
  if (!entries) return std::nullopt;
  const Entries& history = *entries;
  if (!HasHistory(history) && timetable == 0) {
    ZoneRecord base;
    const std::int16_t id = Fill_BaseTimeZoneData(mapped, base);
    ZoneAtDate at;
    at.zone_id = id;
    at.zone = base;
    return at;
  }
  if (date <= kSerial2000) return ZoneOfId(ZoneInHistory(history, date));
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
  const auto history = History(*country, timetable);
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
  const auto history = History(*country, timetable);
  if (!history) return {};
  if (!HasHistory(*history)) return Get_BaseTimeZone(mapped);
  return Trim(ZoneRecordOf(StandardZoneOf1999(*history)).TZShort);
}

std::int16_t RightTimeZoneId(std::string_view code, std::int16_t timetable) {
  InitializeCountries("", "Country.dat", false, false);
  InitializeTimeZones("", "Zones13.bin");
  const std::string mapped = GetInternalCountryAbbreviation(code);
  const CountryRecord* country = CountryOf(mapped);
  if (country == nullptr) return 0;
  const auto history = History(*country, timetable);
  if (!history) return 0;
  if (!HasHistory(*history)) return GetTimezoneId(Get_BaseTimeZone(mapped));
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
  const auto entries = History(*country, timetable);
  if (!entries) return LocalTimeKind::kNormal;
  const Entries& history = *entries;
  if (date <= kSerial2000 + 1) {
    for (std::size_t i = 1; i < history.size(); ++i) {
      const ZoneRecord& before = ZoneRecordOf(history[i - 1].Zone);
      const ZoneRecord& after = ZoneRecordOf(history[i].Zone);
      if (history[i - 1].Zone == 0 || history[i].Zone == 0) continue;
      changes.emplace_back(LinearSerial(history[i].Datum),
                           static_cast<double>(after.TZDif - before.TZDif));
    }
  } else if (const auto* later = ChangesOf(*country, timetable, date)) {
    std::int16_t zone = ZoneInHistory(history, kSerial2000);
    for (const auto& [from, id] : *later) {
      if (zone != 0 && id != 0) {
        changes.emplace_back(LinearSerial(from), static_cast<double>(ZoneRecordOf(id).TZDif -
                                                                     ZoneRecordOf(zone).TZDif));
      }
      zone = id;
    }
  } else if (HasHistory(history) || timetable != 0) {
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

double LookupSerialOfJulian(double julian) {
  if (!std::isfinite(julian)) return kSmallestSerial;
  try {
    if (JulianYear(julian) < 100) return kSmallestSerial;
    return JulianInSerial(julian);
  } catch (const std::overflow_error&) {
    return kSmallestSerial;
  }
}

std::optional<ZoneAtDate> ZoneOfPlaceAt(const FoundPlace& place, double date) {
  InitializeCountries("", "Country.dat", false, false);
  InitializeTimeZones("", "Zones13.bin");
  if (place.RecordNo > 0) {
    if (auto own = OwnHistoryAt(place.Country, place.RecordNo, date)) {
      ZoneAtDate at = ZoneOfId(own->entry);
      at.own_history = true;
      at.iana = std::move(own->zone_name);
      at.abbreviation = std::move(own->abbreviation);
      at.utc_seconds = own->utc_offset;
      at.daylight = own->daylight;
      at.kind = own->kind;
      return at;
    }
  }
  auto at = ZoneAt(place.Country, place.Place.Timetable, date);
  if (at) {
    // Countries without timetables have one history, numbered 0 here.
    const std::int16_t timetable = HaveTimetables(place.Country) > 0 ? place.Place.Timetable : 0;
    at->kind = LocalTimeStatus(place.Country, timetable, date);
    at->utc_seconds = static_cast<std::int32_t>(std::lround(at->zone.TZDif * 3600.0F));
    at->daylight = at->zone.TZType == 'S' || at->zone.TZType == 'D';
    // The IANA zone of the history the timetable keeps names the clock.
    if (auto main = TimetableHistoryAt(place.Country, timetable, date)) {
      at->iana = std::move(main->zone_name);
      at->abbreviation = std::move(main->abbreviation);
    }
  }
  return at;
}

std::optional<OwnHistoryDifference> CompareWithTimetable(const FoundPlace& place,
                                                         std::int16_t timetable) {
  constexpr int kFirstYear = 1850;
  constexpr int kLastYear = 2100;
  InitializeCountries("", "Country.dat", false, false);
  InitializeTimeZones("", "Zones13.bin");
  const auto history = OwnHistoryOf(place.Country, place.RecordNo);
  if (!history) return std::nullopt;
  OwnHistoryDifference difference;
  difference.iana = (*history->histories)[history->zone].name;
  // Local mean time as an offset no zone has.
  constexpr float kMeanTime = 99.0F;
  for (int year = kFirstYear; year <= kLastYear; ++year) {
    bool differs = false;
    for (int month = 1; month <= 12 && !differs; ++month) {
      const double noon = SerialOfDate(year, month, 15) + 0.5;
      const auto own = history->At(noon);
      const auto table = ZoneAt(place.Country, timetable, noon);
      const float ours = own.local_mean_time ? kMeanTime : ZoneRecordOf(own.entry).TZDif;
      differs =
          !table || (Trim(table->zone.TZShort) == "LMT" ? kMeanTime : table->zone.TZDif) != ours;
    }
    if (!differs) continue;
    if (!difference.years.empty() && difference.years.back().second == year - 1) {
      difference.years.back().second = year;
    } else {
      difference.years.emplace_back(year, year);
    }
  }
  return difference;
}

std::string YearRangesText(const std::vector<std::pair<int, int>>& years) {
  std::string text;
  for (const auto& [first, last] : years) {
    if (!text.empty()) text += ", ";
    text += std::to_string(first);
    if (last != first) text += "-" + std::to_string(last);
  }
  return text;
}

std::int16_t GetZonenIdOfPlaceData(const FoundPlace& place, double julian, bool& is_lmt,
                                   double& zone_time) {
  const auto zone = ZoneOfPlaceAt(place, LookupSerialOfJulian(julian));
  const ZoneRecord record = zone ? zone->zone : ZoneRecord{};
  zone_time = record.TZDif;
  is_lmt = UCase(Trim(record.TZShort)) == "LMT";
  return zone ? zone->zone_id : std::int16_t{0};
}

}  // namespace tarv
