#include "atlas/zone_library.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <fstream>
#include <limits>
#include <optional>

#include "atlas/source_files.h"
#include "atlas/zone_table_source.h"
#include "platform/atomic_file.h"
#include "tarvplaces/atlas_error.h"
#include "text/codepage.h"
#include "text/lz.h"
#include "util/serial_date.h"
#include "util/text.h"

namespace fs = std::filesystem;

namespace tarv::atlas {
namespace {

// An instant inside period `i`, to ask its name at: its middle, so that a
// long period takes the name it bore longest (the last one runs to 2100).
std::int64_t ProbeOf(const std::vector<ZonePeriod>& periods, std::size_t i) {
  constexpr std::int64_t kEnd2100 = 4133980800;
  const std::int64_t from = periods[i].from;
  const std::int64_t to =
      i + 1 < periods.size() ? periods[i + 1].from : std::max(from + 2 * 86400, kEnd2100);
  return from + (to - from) / 2;
}

// An instant of a zone's first type: before its first change.
std::int64_t FirstProbe(const TzifZone& tzif) {
  return tzif.transitions.empty() ? 0 : tzif.transitions.front().at - 86400;
}

}  // namespace

double LocalSerial(std::int64_t unix_seconds, std::int32_t offset) {
  const std::int64_t local = unix_seconds + offset;
  const std::int64_t days = local >= 0 ? local / 86400 : -((-local + 86399) / 86400);
  const double date = kSerialOf1970 + static_cast<double>(days);
  const double time = static_cast<double>(local - days * 86400) / 86400.0;
  // The host's serials count the time away from zero before 30 December 1899.
  return date >= 0 ? date + time : date - time;
}

std::vector<std::pair<double, std::int16_t>> AtlasZone::Key() const {
  std::vector<std::pair<double, std::int16_t>> key;
  for (const auto* list : {&history, &later}) {
    for (const auto& e : *list)
      key.emplace_back(e.Datum, e.Zone);
  }
  return key;
}

const AtlasZone& ZoneLibrary::Get(const std::string& name) {
  auto it = zones_.find(name);
  if (it != zones_.end()) return it->second;
  AtlasZone info;
  info.tzif = ReadTzif((fs::path(root_) / name).string());
  const auto periods = HistoricPeriods(info.tzif, kUnix2038);
  std::int32_t previous = info.tzif.initial.utc_offset;
  std::optional<std::int16_t> last;
  if (info.tzif.initial.abbreviation != "LMT") {
    // A zone without local mean time holds its first zone from 1700 on.
    last = Entry(name, kSerial1700, FirstProbe(info.tzif), info.tzif.initial.utc_offset,
                 info.tzif.initial.is_dst ? ZoneKind::kSummer : ZoneKind::kStandard,
                 info.tzif.initial.utc_offset, info.tzif.initial.abbreviation);
    info.history.push_back({kSerial1700, *last});
  }
  info.standard_1999 = TypeAt(info.tzif, kUnix2000 - 1).utc_offset;
  for (std::size_t i = 0; i < periods.size(); ++i) {
    const ZonePeriod& p = periods[i];
    const double from = LocalSerial(p.from, previous);
    previous = p.utc_offset;
    const std::int16_t zone = p.local_mean_time
                                  ? std::int16_t{0}
                                  : Entry(name, from, ProbeOf(periods, i), p.utc_offset, p.kind,
                                          p.standard_offset, p.abbreviation);
    if (p.from < kUnix2000 && !p.local_mean_time && p.kind == ZoneKind::kStandard)
      info.standard_entry_1999 = zone;
    if (last == zone) continue;
    last = zone;
    auto& list = p.from < kUnix2000 ? info.history : info.later;
    list.push_back({from, zone});
    if (info.zones_since == 0) info.zones_since = CalendarOfSerial(from).year;
    // The standard time the history ends on, in force at the end of 1999.
    if (p.from < kUnix2000 && !p.local_mean_time) info.standard_1999 = p.standard_offset;
  }
  info.own = OwnHistory(name, info.tzif);
  return zones_.emplace(name, std::move(info)).first->second;
}

std::int16_t ZoneLibrary::StandardEntry(std::int32_t offset, const std::string& hint) const {
  const auto found = FindZoneEntry(table_, offset, ZoneKind::kStandard, {TableNameOf(hint), hint});
  return found ? *found : 0;
}

std::string ZoneLibrary::NameOf(std::int16_t id) const {
  return Trim(table_[static_cast<std::size_t>(id)].TZShort);
}

// The entry of a period: the one of its offset and kind that bears the name
// CLDR gives the zone at `probe` (seconds since 1970, inside the period),
// else the one its abbreviation suggests, else the first.
std::int16_t ZoneLibrary::Entry(const std::string& zone, double from, std::int64_t probe,
                                std::int32_t offset, ZoneKind kind, std::int32_t standard,
                                const std::string& abbreviation) {
  const std::string cldr =
      AnsiFromUtf8(PeriodName(zone, Tzif(zone), probe, offset, kind != ZoneKind::kStandard));
  for (std::size_t i = 1; i < table_.size(); ++i) {
    const ZoneRecord& r = table_[i];
    if (r.TZType == static_cast<char>(kind) &&
        std::lround(static_cast<double>(r.TZDif) * kHour) == offset && Trim(r.TZName) == cldr) {
      return static_cast<std::int16_t>(i);
    }
  }
  std::vector<std::string> preferred;
  if (kind != ZoneKind::kStandard) {
    const std::string base = NameOf(StandardEntry(standard));
    preferred.push_back(base + (kind == ZoneKind::kSummer ? "/S" : "/DS"));
  }
  preferred.push_back(TableNameOf(abbreviation));
  preferred.push_back(abbreviation);
  if (const auto found = FindZoneEntry(table_, offset, kind, preferred)) return *found;
  // Every period before 2000 has an entry (a test checks the table); one
  // after it may lack its kind ("+14" summer time in Apia), and then keeps
  // its offset through an entry of another kind.
  for (const ZoneKind other : {ZoneKind::kStandard, ZoneKind::kSummer, ZoneKind::kDoubleSummer}) {
    if (const auto any = FindZoneEntry(table_, offset, other)) {
      const CalendarTime t = CalendarOfSerial(from);
      approximated_.push_back(zone + " " + std::to_string(t.year) + "-" + std::to_string(t.month) +
                              "-" + std::to_string(t.day) + " " + abbreviation + " " +
                              std::to_string(offset) + " s " + static_cast<char>(kind) + " as " +
                              NameOf(*any));
      return *any;
    }
  }
  throw AtlasError(root_, abbreviation + ": no zone entry for offset " + std::to_string(offset));
}

// Every period of the zone, each with the entry of its offset and kind, and
// the rule of the years after them.
ZoneHistory ZoneLibrary::OwnHistory(const std::string& name, const TzifZone& tzif) {
  ZoneHistory own;
  own.name = name;
  const TzifType& first = tzif.initial;
  if (first.abbreviation == "LMT") {
    own.periods.push_back({0, first.utc_offset, false, true, 0, first.abbreviation});
  } else {
    own.periods.push_back({0, first.utc_offset, first.is_dst, false,
                           Entry(name, kSerial1700, FirstProbe(tzif), first.utc_offset,
                                 first.is_dst ? ZoneKind::kSummer : ZoneKind::kStandard,
                                 first.utc_offset, first.abbreviation),
                           first.abbreviation});
  }
  const auto periods = HistoricPeriods(tzif, std::numeric_limits<std::int64_t>::max());
  for (std::size_t i = 0; i < periods.size(); ++i) {
    const ZonePeriod& p = periods[i];
    HistoryPeriod period{p.from, p.utc_offset,  p.kind != ZoneKind::kStandard, p.local_mean_time,
                         0,      p.abbreviation};
    if (!p.local_mean_time) {
      period.entry = Entry(name, LocalSerial(p.from, p.utc_offset), ProbeOf(periods, i),
                           p.utc_offset, p.kind, p.standard_offset, p.abbreviation);
    }
    const HistoryPeriod& last = own.periods.back();
    if (std::tie(last.utc_offset, last.daylight, last.local_mean_time, last.entry,
                 last.abbreviation) == std::tie(period.utc_offset, period.daylight,
                                                period.local_mean_time, period.entry,
                                                period.abbreviation)) {
      continue;
    }
    own.periods.push_back(std::move(period));
  }
  const auto rule = PosixTzRule::Parse(tzif.footer);
  if (!rule) {
    // Without a rule the last period holds for ever; a footer that is
    // there but does not parse would silently freeze the zone.
    if (!tzif.footer.empty())
      throw AtlasError(root_ + "/" + name, "footer \"" + tzif.footer + "\" is no POSIX TZ rule");
    return own;
  }
  own.rule = tzif.footer;
  SetRuleEntries(name, *rule, own);
  return own;
}

// The entries of the rule's standard and summer time, as the years after
// the timetables show them.
void ZoneLibrary::SetRuleEntries(const std::string& name, const PosixTzRule& rule,
                                 ZoneHistory& own) {
  // The conventional view: of the two times the lower is standard time
  // (Dublin's rule calls its summer time standard).
  const std::int32_t low = rule.has_daylight()
                               ? std::min(rule.standard_offset(), rule.daylight_offset())
                               : rule.standard_offset();
  // Asked in 2050, a minute after each change of the rule.
  const auto changes = rule.ChangesIn(2050);
  auto entry = [&](std::int32_t offset, const std::string& abbreviation, bool to_daylight) {
    const ZoneKind kind = offset == low               ? ZoneKind::kStandard
                          : offset - low >= 2 * kHour ? ZoneKind::kDoubleSummer
                                                      : ZoneKind::kSummer;
    std::int64_t probe = changes.empty() ? kUnix2038 : changes.front().at;
    for (const auto& c : changes) {
      if (c.to_daylight == to_daylight) probe = c.at + 60;
    }
    return Entry(name, SerialOfDate(kLastRuleYear + 1, 1, 1), probe, offset, kind, low,
                 abbreviation);
  };
  own.rule_standard_entry = entry(rule.standard_offset(), rule.standard_name(), false);
  own.rule_daylight_entry = rule.has_daylight()
                                ? entry(rule.daylight_offset(), rule.daylight_name(), true)
                                : own.rule_standard_entry;
}

ZoneLibrary LoadZones(const std::string& zoneinfo, const std::string& zones_tsv,
                      const std::vector<GeoPlace>& places, std::vector<std::string>& unnamed,
                      const std::set<std::string>& more) {
  std::map<std::string, ZonePopulation> zone_uses;
  for (const auto& p : places)
    zone_uses[p.timezone].population += 1.0 + static_cast<double>(p.population);
  // No place of the atlas lives by them: they name no entries.
  for (const auto& name : more)
    zone_uses.try_emplace(name);
  for (auto& [name, use] : zone_uses)
    use.tzif = ReadTzif((fs::path(zoneinfo) / name).string());
  auto design = DesignZoneTable(
      ValueOrAtlasError(ParseZoneTableSource(ReadText(zones_tsv), zones_tsv)), zone_uses);
  unnamed = std::move(design.unnamed);
  return ZoneLibrary(zoneinfo, std::move(design.table), std::move(zone_uses));
}

ZoneHistoryFile NumberZoneHistories(const std::set<std::string>& names, ZoneLibrary& zones) {
  ZoneHistoryFile file;
  for (const auto& name : names) {
    file.numbers.emplace(name, static_cast<std::uint16_t>(file.histories.size()));
    file.histories.push_back(zones.Get(name).own);
  }
  return file;
}

std::string ReadTzdataVersion(const std::string& zoneinfo) {
  const fs::path file = fs::path(zoneinfo) / "tzdata.zi";
  std::ifstream in(file);
  std::string line;
  constexpr std::string_view kVersion = "# version ";
  if (!in || !std::getline(in, line) || !line.starts_with(kVersion)) {
    throw AtlasError(file.string(), "no \"# version\" line opens it");
  }
  std::string version = line.substr(kVersion.size());
  while (!version.empty() && std::isspace(static_cast<unsigned char>(version.back())))
    version.pop_back();
  if (version.empty() || version.size() > 15) {
    throw AtlasError(file.string(), "the version \"" + version + "\" is not a tzdata release");
  }
  return version;
}

void WriteZoneTable(const fs::path& out, const std::vector<ZoneRecord>& table) {
  WriteFileAtomically(out / "Zones13.bin", EncodeZoneFile(table));
}

void WriteZoneHistories(const fs::path& out, const ZoneHistoryFile& file) {
  WriteFileAtomically(out / kZoneHistoryFile,
                      CompressSzdd(EncodeZoneHistories(file.histories, file.tzdata_version), 't'));
}

}  // namespace tarv::atlas
