#include "atlas/zone_history.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <mutex>
#include <shared_mutex>
#include <stdexcept>
#include <tuple>

#include "atlas/atlas_fault.h"
#include "atlas/atlas_state.h"
#include "atlas/decoded_files.h"
#include "atlas/format_reader.h"
#include "atlas/place_file.h"
#include "atlas/place_paths.h"
#include "atlas/user_zones.h"
#include "atlas/zone_map.h"
#include "platform/file_status.h"
#include "platform/per_thread.h"
#include "text/bytes.h"
#include "text/lz.h"
#include "util/serial_date.h"

namespace tarv {
namespace {

constexpr std::size_t kMaxZones = 4096;
constexpr std::size_t kMaxPeriods = 4096;
constexpr std::size_t kMaxNameLength = 64;
constexpr std::size_t kMaxAbbreviationLength = 15;
constexpr std::size_t kMaxRuleLength = 255;
constexpr std::size_t kMaxTimetables = 999;
constexpr std::size_t kMaxNearZones = 1U << 20;
constexpr std::size_t kPeriodFixedSize = 8 + 4 + 1 + 2 + 1;
constexpr std::uint8_t kDaylightFlag = 1;
constexpr std::uint8_t kLocalMeanTimeFlag = 2;
constexpr std::int64_t kSecondsPerDay = 86400;
constexpr double kSerialOf1970 = 25569.0;
// No offset reaches a day: a change's local start lies within a day of it.
constexpr std::int64_t kOffsetBound = kSecondsPerDay;
// Starts lie within some 300,000 years of 1970, so that adding offsets and
// days to them never overflows.
constexpr std::int64_t kStartBound = 10'000'000'000'000;

void AppendInt64(std::string& out, std::int64_t v) {
  bytes_detail::AppendUnsigned(out, static_cast<std::uint64_t>(v), 8);
}

void AppendShortText(std::string& out, const std::string& text) {
  out += static_cast<char>(text.size());
  out += text;
}

bool IsPrintableAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < 0x7F; });
}

std::int16_t CheckedEntry(std::int16_t entry, std::size_t zone_count, const std::string& file,
                          const std::string& what) {
  if (entry < 0 || static_cast<std::size_t>(entry) >= zone_count) {
    throw FormatViolation(file, what + " names zone-table entry " + std::to_string(entry) + " of " +
                                    std::to_string(zone_count));
  }
  return entry;
}

// One stretch of time a candidate for the local time asked: from `from` on
// (UTC), `period` holds.
// A tzdata release name: "2025b", 1-15 printable characters.
bool IsTzdataVersion(std::string_view version) {
  return !version.empty() && version.size() <= 15 && IsPrintableAscii(version);
}

struct Span {
  std::int64_t from;
  const HistoryPeriod* period;
};

}  // namespace

std::string EncodeZoneHistories(const std::vector<ZoneHistory>& zones,
                                std::string_view tzdata_version) {
  if (zones.empty() || zones.size() > kMaxZones) {
    throw std::invalid_argument(std::to_string(zones.size()) + " zones");
  }
  if (!IsTzdataVersion(tzdata_version)) {
    throw std::invalid_argument("tzdata release \"" + std::string(tzdata_version) + "\"");
  }
  std::string out(kZoneHistoryMagic);
  AppendInt16(out, static_cast<std::int16_t>(kZoneHistoryVersion));
  AppendInt16(out, 0);
  AppendInt32(out, static_cast<std::int32_t>(zones.size()));
  for (const auto& z : zones) {
    if (z.name.empty() || z.name.size() > kMaxNameLength || !IsPrintableAscii(z.name)) {
      throw std::invalid_argument("zone name \"" + z.name + "\"");
    }
    if (z.rule.size() > kMaxRuleLength || (!z.rule.empty() && !PosixTzRule::Parse(z.rule))) {
      throw std::invalid_argument(z.name + ": rule \"" + z.rule + "\"");
    }
    if (z.periods.empty() || z.periods.size() > kMaxPeriods) {
      throw std::invalid_argument(z.name + ": " + std::to_string(z.periods.size()) + " periods");
    }
    AppendShortText(out, z.name);
    AppendShortText(out, z.rule);
    AppendInt16(out, z.rule_standard_entry);
    AppendInt16(out, z.rule_daylight_entry);
    AppendInt32(out, static_cast<std::int32_t>(z.periods.size()));
    for (std::size_t i = 0; i < z.periods.size(); ++i) {
      const HistoryPeriod& p = z.periods[i];
      if (i > 1 && p.from <= z.periods[i - 1].from) {
        throw std::invalid_argument(z.name + ": period " + std::to_string(i + 1) + " out of order");
      }
      if (p.abbreviation.size() > kMaxAbbreviationLength) {
        throw std::invalid_argument(z.name + ": abbreviation \"" + p.abbreviation + "\"");
      }
      if ((i > 0 && std::abs(p.from) > kStartBound) ||
          std::abs(static_cast<std::int64_t>(p.utc_offset)) >= kOffsetBound) {
        throw std::invalid_argument(z.name + ": period " + std::to_string(i + 1) + " out of range");
      }
      AppendInt64(out, i == 0 ? std::numeric_limits<std::int64_t>::min() : p.from);
      AppendInt32(out, p.utc_offset);
      out += static_cast<char>((p.daylight ? kDaylightFlag : 0) |
                               (p.local_mean_time ? kLocalMeanTimeFlag : 0));
      AppendInt16(out, p.entry);
      AppendShortText(out, p.abbreviation);
    }
  }
  AppendShortText(out, std::string(tzdata_version));
  return out;
}

std::string EncodePlaceZones(const std::vector<std::uint16_t>& zones,
                             const std::vector<std::uint16_t>& timetable_zones,
                             std::vector<PlaceNearZone> near) {
  if (zones.size() > kMaxPlaceRecords) throw std::invalid_argument("too many records");
  if (timetable_zones.size() > kMaxTimetables) throw std::invalid_argument("too many timetables");
  if (near.size() > kMaxNearZones) throw std::invalid_argument("too many near zones");
  for (const auto& n : near) {
    if (n.record < 1 || static_cast<std::size_t>(n.record) > zones.size() ||
        n.meters > kNearZoneMeters) {
      throw std::invalid_argument("near zone of record " + std::to_string(n.record));
    }
  }
  std::sort(near.begin(), near.end(), [](const PlaceNearZone& a, const PlaceNearZone& b) {
    return std::tie(a.record, a.meters, a.zone) < std::tie(b.record, b.meters, b.zone);
  });
  std::string out(kPlaceZonesMagic);
  AppendInt16(out, static_cast<std::int16_t>(kPlaceZonesVersion));
  AppendInt16(out, 0);
  AppendInt32(out, static_cast<std::int32_t>(zones.size()));
  for (const auto z : zones)
    AppendInt16(out, static_cast<std::int16_t>(z));
  AppendInt16(out, static_cast<std::int16_t>(timetable_zones.size()));
  for (const auto z : timetable_zones)
    AppendInt16(out, static_cast<std::int16_t>(z));
  AppendInt32(out, static_cast<std::int32_t>(near.size()));
  for (const auto& n : near) {
    AppendInt32(out, n.record);
    AppendInt16(out, static_cast<std::int16_t>(n.zone));
    AppendInt16(out, static_cast<std::int16_t>(n.meters));
  }
  return out;
}

ZoneHistories::ZoneHistories(std::string_view bytes, const std::string& file,
                             std::size_t zone_count) {
  FormatReader in(bytes, file);
  in.Header(kZoneHistoryMagic, "a zone history file", kZoneHistoryVersion);
  const std::uint32_t count = in.Uint32("the zone count");
  if (count == 0 || count > kMaxZones) {
    throw FormatViolation(file, "zone count " + std::to_string(count) + " out of range");
  }
  zones_.reserve(count);
  rules_.reserve(count);
  for (std::uint32_t z = 0; z < count; ++z) {
    const std::string what = "zone " + std::to_string(z + 1);
    ZoneHistory zone;
    const std::size_t name_length = in.Byte(what);
    zone.name = in.Text(name_length, what + "'s name");
    if (name_length == 0 || name_length > kMaxNameLength || !IsPrintableAscii(zone.name)) {
      throw FormatViolation(file, what + " has no valid name");
    }
    const std::string of = what + " (" + zone.name + ")";
    zone.rule = in.Text(in.Byte(of), of + "'s rule");
    std::optional<PosixTzRule> rule;
    if (!zone.rule.empty()) {
      rule = PosixTzRule::Parse(zone.rule);
      if (!rule) throw FormatViolation(file, of + ": \"" + zone.rule + "\" is not a POSIX TZ rule");
    }
    zone.rule_standard_entry = CheckedEntry(in.Int16(of), zone_count, file, of + "'s rule");
    zone.rule_daylight_entry = CheckedEntry(in.Int16(of), zone_count, file, of + "'s rule");
    const std::uint32_t periods = in.Uint32(of + "'s period count");
    if (periods == 0 || periods > kMaxPeriods || periods > in.Left() / kPeriodFixedSize) {
      throw FormatViolation(file,
                            of + ": period count " + std::to_string(periods) + " out of range");
    }
    zone.periods.reserve(periods);
    for (std::uint32_t i = 0; i < periods; ++i) {
      const std::string period = of + ", period " + std::to_string(i + 1);
      HistoryPeriod p;
      p.from = in.Int64(period);
      p.utc_offset = in.Int32(period);
      const std::uint8_t flags = in.Byte(period);
      p.entry = CheckedEntry(in.Int16(period), zone_count, file, period);
      const std::size_t length = in.Byte(period);
      if (length > kMaxAbbreviationLength)
        throw FormatViolation(file, period + ": abbreviation too long");
      p.abbreviation = in.Text(length, period);
      if ((flags & ~(kDaylightFlag | kLocalMeanTimeFlag)) != 0) {
        throw FormatViolation(file, period + ": unknown flags " + std::to_string(flags));
      }
      p.daylight = (flags & kDaylightFlag) != 0;
      p.local_mean_time = (flags & kLocalMeanTimeFlag) != 0;
      // Offsets beyond a day are no clock any place kept.
      if (std::abs(static_cast<std::int64_t>(p.utc_offset)) >= kOffsetBound) {
        throw FormatViolation(file, period + ": offset " + std::to_string(p.utc_offset) + " s");
      }
      if (i > 0 && p.from <= zone.periods.back().from) {
        throw FormatViolation(file, period + " starts before the period it follows");
      }
      if (i > 0 && std::abs(p.from) > kStartBound) {
        throw FormatViolation(file, period + " starts " + std::to_string(p.from) + " s from 1970");
      }
      if (i == 0) p.from = std::numeric_limits<std::int64_t>::min();
      zone.periods.push_back(std::move(p));
    }
    zones_.push_back(std::move(zone));
    rules_.push_back(std::move(rule));
  }
  tzdata_version_ = in.Text(in.Byte("the tzdata release"), "the tzdata release");
  if (!IsTzdataVersion(tzdata_version_)) {
    throw FormatViolation(file, "the tzdata release \"" + tzdata_version_ + "\" is not valid");
  }
  in.End();
}

HistoryAnswer ZoneHistories::At(std::size_t i, std::int64_t local) const {
  const ZoneHistory& zone = zones_.at(i);
  const auto& periods = zone.periods;
  // The stored periods that can hold at `local`: none starting more than a
  // day after it, and a few before the last that does.
  const auto after = std::upper_bound(
      periods.begin() + 1, periods.end(), local,
      [](std::int64_t at, const HistoryPeriod& p) { return at + kOffsetBound < p.from; });
  const auto last = static_cast<std::size_t>(after - periods.begin()) - 1;
  // At most four listed periods and six changes of the rule: no allocation.
  std::array<Span, 10> spans{};
  std::size_t count = 0;
  for (std::size_t k = last >= 3 ? last - 3 : 0; k <= last; ++k)
    spans[count++] = {periods[k].from, &periods[k]};

  // Past the listed periods the rule goes on: its changes around the year.
  HistoryPeriod standard;
  HistoryPeriod daylight;
  const auto& rule = rules_[i];
  if (rule && last + 1 == periods.size()) {
    // Of the rule's two times the lower is standard time, whatever the rule
    // calls it (Dublin's winter GMT is its "daylight" time).
    const std::int32_t low = rule->has_daylight()
                                 ? std::min(rule->standard_offset(), rule->daylight_offset())
                                 : rule->standard_offset();
    standard = {0,     rule->standard_offset(),  rule->standard_offset() > low,
                false, zone.rule_standard_entry, rule->standard_name()};
    daylight = {0,     rule->daylight_offset(),  rule->daylight_offset() > low,
                false, zone.rule_daylight_entry, rule->daylight_name()};
    const int year = YearOfSeconds(local);
    const std::int64_t listed_until = periods.back().from;
    if (!rule->has_daylight() || rule->AlwaysDaylight()) {
      // A rule of one time alone: it holds from the last listed change on.
      const HistoryPeriod& p = rule->AlwaysDaylight() ? daylight : standard;
      if (p.utc_offset != periods.back().utc_offset) spans[count++] = {listed_until + 1, &p};
    } else {
      for (int y = year - 1; y <= year + 1; ++y) {
        for (const auto& change : rule->ChangesIn(y)) {
          if (change.at > listed_until) {
            spans[count++] = {change.at, change.to_daylight ? &daylight : &standard};
          }
        }
      }
    }
  }

  // The last span whose start, in the clock before it, is at or before `local`.
  std::size_t found = 0;
  for (std::size_t k = count; k-- > 1;) {
    if (spans[k].from + spans[k - 1].period->utc_offset <= local) {
      found = k;
      break;
    }
  }
  const HistoryPeriod& p = *spans[found].period;
  HistoryAnswer answer{
      zone.name,      p.utc_offset,           p.daylight,  p.local_mean_time, p.entry,
      p.abbreviation, LocalTimeKind::kNormal, std::nullopt};
  auto side = [](const HistoryPeriod& period) {
    return ClockChange::Side{period.utc_offset, period.daylight, period.entry, period.abbreviation};
  };
  for (std::size_t k = 1; k < count; ++k) {
    const HistoryPeriod& before = *spans[k - 1].period;
    const HistoryPeriod& now = *spans[k].period;
    if (before.local_mean_time || now.local_mean_time) continue;
    const std::int64_t change = spans[k].from + before.utc_offset;  // in the old clock
    const std::int64_t jump = now.utc_offset - before.utc_offset;
    const std::int64_t from = std::min(change, change + jump);
    const std::int64_t to = std::max(change, change + jump);
    if (jump == 0 || local < from || local >= to) continue;
    answer.kind = jump > 0 ? LocalTimeKind::kSkipped : LocalTimeKind::kRepeated;
    answer.change = ClockChange{from, to, side(before), side(now)};
  }
  return answer;
}

HistoryAnswer ZoneHistories::AtUtc(std::size_t i, std::int64_t utc) const {
  // Read as a local time, the instant lies within hours of its own; the
  // offset found there leads to the local time, which must lead back.
  std::int32_t offset = At(i, utc).utc_offset;
  for (int tries = 0; tries < 4; ++tries) {
    HistoryAnswer answer = At(i, utc + offset);
    if (answer.change) {
      // The local time fell into a change: the instant lies on one side of it.
      const ClockChange& change = *answer.change;
      const std::int64_t change_utc =
          (answer.kind == LocalTimeKind::kRepeated ? change.local_to : change.local_from) -
          change.before.utc_offset;
      const ClockChange::Side& side = utc < change_utc ? change.before : change.after;
      answer.utc_offset = side.utc_offset;
      answer.daylight = side.daylight;
      answer.entry = side.entry;
      answer.abbreviation = side.abbreviation;
      answer.kind = LocalTimeKind::kNormal;
      answer.change.reset();
      return answer;
    }
    if (answer.utc_offset == offset || answer.local_mean_time) return answer;
    offset = answer.utc_offset;
  }
  return At(i, utc + offset);
}

PlaceZones::PlaceZones(std::string_view bytes, const std::string& file, std::size_t zone_count) {
  FormatReader in(bytes, file);
  in.Header(kPlaceZonesMagic, "a place zone file", kPlaceZonesVersion);
  const std::uint32_t count = in.Uint32("the record count");
  if (count > kMaxPlaceRecords || count > in.Left() / 2) {
    throw FormatViolation(file, "record count " + std::to_string(count) + " out of range");
  }
  auto zone_of = [&](const std::string& what) {
    const auto zone = static_cast<std::uint16_t>(in.Int16(what));
    if (zone != kNoPlaceZone && zone >= zone_count) {
      throw FormatViolation(
          file, what + " names zone " + std::to_string(zone) + " of " + std::to_string(zone_count));
    }
    return zone;
  };
  zones_.reserve(count);
  for (std::uint32_t r = 0; r < count; ++r)
    zones_.push_back(zone_of("record " + std::to_string(r + 1)));
  const auto timetables = static_cast<std::uint16_t>(in.Int16("the timetable count"));
  if (timetables > kMaxTimetables || timetables > in.Left() / 2) {
    throw FormatViolation(file, "timetable count " + std::to_string(timetables) + " out of range");
  }
  for (std::uint16_t t = 0; t < timetables; ++t)
    timetables_.push_back(zone_of("timetable " + std::to_string(t + 1)));
  const std::uint32_t near = in.Uint32("the near-zone count");
  if (near > kMaxNearZones || near > in.Left() / 8) {
    throw FormatViolation(file, "near-zone count " + std::to_string(near) + " out of range");
  }
  near_.reserve(near);
  for (std::uint32_t i = 0; i < near; ++i) {
    PlaceNearZone n;
    n.record = in.Int32("the near zones");
    n.zone = zone_of("near zone " + std::to_string(i + 1));
    n.meters = static_cast<std::uint16_t>(in.Int16("the near zones"));
    if (n.record < 1 || n.record > static_cast<std::int32_t>(count) || n.zone == kNoPlaceZone ||
        n.meters > kNearZoneMeters ||
        (!near_.empty() &&
         std::tie(n.record, n.meters) < std::tie(near_.back().record, near_.back().meters))) {
      throw FormatViolation(file, "near zone " + std::to_string(i + 1) + " (record " +
                                      std::to_string(n.record) + ") is out of order or range");
    }
    near_.push_back(n);
  }
  in.End();
}

std::vector<PlaceNearZone> PlaceZones::NearZonesOf(std::int32_t record) const {
  const auto first =
      std::lower_bound(near_.begin(), near_.end(), record,
                       [](const PlaceNearZone& n, std::int32_t r) { return n.record < r; });
  auto last = first;
  while (last != near_.end() && last->record == record)
    ++last;
  return {first, last};
}

std::optional<std::uint16_t> PlaceZones::ZoneOfTimetable(std::int32_t number) const {
  const std::int32_t n = number == 0 ? 1 : number;
  if (n < 1 || n > static_cast<std::int32_t>(timetables_.size())) return std::nullopt;
  const std::uint16_t zone = timetables_[static_cast<std::size_t>(n - 1)];
  if (zone == kNoPlaceZone) return std::nullopt;
  return zone;
}

std::optional<std::uint16_t> PlaceZones::ZoneOf(std::int32_t record) const {
  if (record < 1 || record > RecordCount()) return std::nullopt;
  const std::uint16_t zone = zones_[static_cast<std::size_t>(record - 1)];
  if (zone == kNoPlaceZone) return std::nullopt;
  return zone;
}

std::string PlaceZonesPathOf(const std::string& place_file) {
  const auto dot = place_file.rfind('.');
  return (dot == std::string::npos ? place_file + "." : place_file.substr(0, dot + 1)) + "TZP";
}

std::int64_t LocalSecondsOfSerial(double serial) {
  return std::llround((LinearSerial(serial) - kSerialOf1970) * static_cast<double>(kSecondsPerDay));
}

namespace {

struct LoadedHistories {
  std::shared_ptr<const ZoneHistories> histories;
  std::shared_ptr<const PlaceZones> place_zones;
};

std::optional<LoadedHistories> ReadHistories(std::string_view code) {
  auto& histories = CurrentAtlas().Derived<DecodedFiles<ZoneHistories>>();
  auto& place_zones = CurrentAtlas().Derived<DecodedFiles<PlaceZones>>();
  // The place file as the searches name it: codes that name no country's
  // file (a group, "..") have none.
  const std::string place_file = GetCompressedPlaceFile(code);
  if (!place_file.ends_with(".dao")) return std::nullopt;
  const std::string zones_file = PlaceZonesPathOf(place_file);
  const std::string history_file = AtlasFolder("") + kZoneHistoryFile;
  // An answer from the timetables where the histories cannot be read would
  // be a quiet wrong one: the call fails instead.
  auto image = [](const std::string& file) {
    std::int32_t error = 0;
    auto bytes = ExistingImage(file, error, Packing::kSzdd);
    if (error != 0) NoteUnreadableFile(file, error);
    return bytes;
  };
  const auto zone_bytes = image(zones_file);
  if (!zone_bytes) return std::nullopt;
  const auto history_bytes = image(history_file);
  if (!history_bytes) return std::nullopt;
  LoadedHistories loaded;
  loaded.histories = histories.Get(history_file, history_bytes, CurrentAtlas().zones.size());
  if (!loaded.histories) return std::nullopt;
  loaded.place_zones = place_zones.Get(zones_file, zone_bytes, loaded.histories->size());
  if (!loaded.place_zones) return std::nullopt;
  std::int32_t error = 0;
  // Numbers written for another place file would give places others' zones.
  const auto places = ExistingImage(place_file, error, Packing::kSzdd);
  if (!places) return std::nullopt;  // the place search reports that file
  const auto records =
      static_cast<std::int32_t>(std::min(places->size() / kPlaceRecordSize, kMaxPlaceRecords));
  if (loaded.place_zones->RecordCount() != records) {
    NoteMalformedFile({zones_file, "written for a place file of " +
                                       std::to_string(loaded.place_zones->RecordCount()) +
                                       " records, " + place_file + " has " +
                                       std::to_string(records)});
    return std::nullopt;
  }
  return loaded;
}

// What this thread last found for a country, kept while the file statuses
// and the tables it was read with stand: warm lookups of one country make no
// path, lock or map work.
struct HistoryMemo {
  std::uint64_t call = 0;
  std::uint64_t tables = 0;
  std::string places_path;
  std::string code;
  std::optional<LoadedHistories> loaded;
};

// The decoded files for the database place file of `code`; nullopt when the
// atlas has no such files. The reference is this thread's memo: use it
// before the next call.
const std::optional<LoadedHistories>& LoadHistories(std::string_view code) {
  HistoryMemo& memo = PerThread<HistoryMemo>();
  const std::uint64_t call = CallNumber();
  const AtlasState& state = CurrentAtlas();
  if (call != 0 && memo.call == call && memo.tables == state.tables_version && memo.code == code &&
      memo.places_path == state.places_path) {
    return memo.loaded;
  }
  const std::uint64_t faults_before = FaultNotes();
  memo.loaded = ReadHistories(code);
  // A failed read is not remembered: each call that needs the file fails.
  memo.call = FaultNotes() != faults_before ? 0 : call;
  memo.tables = state.tables_version;
  memo.places_path = state.places_path;
  memo.code = code;
  return memo.loaded;
}

// The zone histories and the zone map of the current atlas, nullopt for an
// atlas without them; a damaged one is noted and fails the call.
struct LoadedMap {
  std::shared_ptr<const ZoneHistories> histories;
  std::shared_ptr<const ZoneMap> map;  // null for an atlas without a map
};

std::optional<LoadedMap> ReadMap() {
  auto image = [](const std::string& file) {
    std::int32_t error = 0;
    auto bytes = ExistingImage(file, error, Packing::kSzdd);
    if (error != 0) NoteUnreadableFile(file, error);
    return bytes;
  };
  const std::string history_file = AtlasFolder("") + kZoneHistoryFile;
  const auto history_bytes = image(history_file);
  if (!history_bytes) return std::nullopt;
  LoadedMap loaded;
  loaded.histories = CurrentAtlas().Derived<DecodedFiles<ZoneHistories>>().Get(
      history_file, history_bytes, CurrentAtlas().zones.size());
  if (!loaded.histories) return std::nullopt;
  const std::string map_file = AtlasFolder("") + kZoneMapFile;
  if (const auto map_bytes = image(map_file)) {
    loaded.map = CurrentAtlas().Derived<DecodedFiles<ZoneMap>>().Get(map_file, map_bytes,
                                                                     loaded.histories->size());
    if (!loaded.map) return std::nullopt;
  }
  return loaded;
}

struct MapMemo {
  std::uint64_t call = 0;
  std::uint64_t tables = 0;
  std::string places_path;
  std::optional<LoadedMap> loaded;
};

// The same for the map and the histories; the reference is again the memo.
const std::optional<LoadedMap>& LoadMap() {
  MapMemo& memo = PerThread<MapMemo>();
  const std::uint64_t call = CallNumber();
  const AtlasState& state = CurrentAtlas();
  if (call != 0 && memo.call == call && memo.tables == state.tables_version &&
      memo.places_path == state.places_path) {
    return memo.loaded;
  }
  const std::uint64_t faults_before = FaultNotes();
  memo.loaded = ReadMap();
  memo.call = FaultNotes() != faults_before ? 0 : call;
  memo.tables = state.tables_version;
  memo.places_path = state.places_path;
  return memo.loaded;
}

HistoryAnswer AnswerAt(const ZoneHistories& histories, std::uint16_t zone, double date) {
  // Serial dates far outside any history still fit 64-bit seconds.
  return histories.At(zone, LocalSecondsOfSerial(std::clamp(date, -1e9, 1e9)));
}

}  // namespace

std::optional<HistoryAnswer> OwnHistoryAt(std::string_view code, std::int32_t record, double date) {
  if (!std::isfinite(date)) return std::nullopt;
  const auto history = OwnHistoryOf(code, record);
  if (!history) return std::nullopt;
  return history->At(date);
}

std::optional<PlaceHistory> OwnHistoryOf(std::string_view code, std::int32_t record) {
  if (record < 1) return std::nullopt;
  const auto& loaded = LoadHistories(code);
  if (!loaded) return std::nullopt;
  const auto zone = loaded->place_zones->ZoneOf(record);
  if (!zone) return std::nullopt;
  return PlaceHistory{loaded->histories, *zone};
}

HistoryAnswer PlaceHistory::At(double date) const {
  return AnswerAt(*histories, zone, date);
}

std::optional<HistoryAnswer> TimetableHistoryAt(std::string_view code, std::int32_t timetable,
                                                double date) {
  if (!std::isfinite(date)) return std::nullopt;
  const auto& loaded = LoadHistories(code);
  if (!loaded) return std::nullopt;
  const auto zone = loaded->place_zones->ZoneOfTimetable(timetable);
  if (!zone) return std::nullopt;
  return AnswerAt(*loaded->histories, *zone, date);
}

std::optional<PlaceHistory> MapHistoryAt(double longitude, double latitude) {
  const auto& loaded = LoadMap();
  if (!loaded || !loaded->map) return std::nullopt;
  // The map decodes a tile when a question first reaches it, so damage can
  // show here: noted, it fails the call like any damaged file.
  const auto zone = Decode([&] { return loaded->map->ZoneAt(longitude, latitude); });
  if (!zone) {
    NoteMalformedFile(zone.fault());
    return std::nullopt;
  }
  if (!*zone) return std::nullopt;
  return PlaceHistory{loaded->histories, **zone};
}

std::vector<PlaceNearZone> NearZonesOfRecord(std::string_view code, std::int32_t record) {
  if (record < 1) return {};
  const auto& loaded = LoadHistories(code);
  if (!loaded) return {};
  return loaded->place_zones->NearZonesOf(record);
}

std::vector<PlaceNearZone> NearZonesOnMap(double longitude, double latitude) {
  const auto& loaded = LoadMap();
  if (!loaded || !loaded->map) return {};
  const ZoneMap& map = *loaded->map;
  const auto found = Decode([&] {
    std::vector<PlaceNearZone> near;
    if (const auto here = map.ZoneAt(longitude, latitude)) near.push_back({0, *here, 0});
    for (const NearZone& zone : map.ZonesWithin(longitude, latitude, kNearZoneMeters)) {
      near.push_back({0, zone.zone, static_cast<std::uint16_t>(std::lround(zone.meters))});
    }
    return near;
  });
  if (!found) {
    NoteMalformedFile(found.fault());
    return {};
  }
  return *found;
}

std::optional<PlaceHistory> NamedHistory(std::string_view iana) {
  const auto& loaded = LoadMap();
  if (!loaded) return std::nullopt;
  const ZoneHistories& histories = *loaded->histories;
  for (std::size_t i = 0; i < histories.size(); ++i) {
    if (histories[i].name == iana)
      return PlaceHistory{loaded->histories, static_cast<std::uint16_t>(i)};
  }
  return std::nullopt;
}

bool HasZoneMap() {
  const auto& loaded = LoadMap();
  return loaded && loaded->map;
}

std::optional<PlaceHistory> UserNamedHistory(std::string_view code, std::string_view name) {
  const std::string place_file = GetCompressedPlaceFile(code);
  if (!place_file.ends_with(".dao")) return std::nullopt;
  const std::string file = UserZonesPathOf(Get_UserFile(place_file));
  std::int32_t error = 0;
  const auto bytes = ExistingImage(file, error, Packing::kAsFound);
  if (error != 0) NoteUnreadableFile(file, error);
  if (!bytes) return std::nullopt;
  const auto zones = CurrentAtlas().Derived<DecodedFiles<UserZones>>().Get(file, bytes, 0);
  if (!zones) return std::nullopt;
  const auto zone = zones->ZoneOf(name);
  if (!zone) return std::nullopt;
  auto history = NamedHistory(*zone);
  // A zone the atlas does not know (an atlas rebuilt without it) is no
  // reason to answer with the map's instead.
  if (!history)
    NoteMalformedFile({file, "names the zone " + *zone + ", which the atlas does not know"});
  else
    history->named = true;
  return history;
}

}  // namespace tarv
