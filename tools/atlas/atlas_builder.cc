#include "atlas/atlas_builder.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "atlas/country_names.h"
#include "atlas/country_sources.h"
#include "atlas/country_table.h"
#include "atlas/dst_rules.h"
#include "atlas/geonames.h"
#include "atlas/place_file.h"
#include "atlas/place_file_writer.h"
#include "atlas/place_names.h"
#include "atlas/timetable.h"
#include "atlas/tzif.h"
#include "atlas/zone_design.h"
#include "atlas/zone_history.h"
#include "atlas/zone_periods.h"
#include "atlas/zone_table.h"
#include "atlas/zone_table_source.h"
#include "platform/atomic_file.h"
#include "platform/change_counter.h"
#include "text/codepage.h"
#include "text/lz.h"
#include "tarvplaces/atlas_error.h"
#include "util/serial_date.h"
#include "util/text.h"

namespace fs = std::filesystem;

namespace tarv::atlas {
namespace {

constexpr std::int64_t kUnix2000 = 946684800;
constexpr std::int64_t kUnix2038 = 2145916800;
constexpr double kSerialOf1970 = 25569.0;
constexpr std::int32_t kHour = 3600;
constexpr int kFirstRuleYear = 2000;
constexpr int kLastRuleYear = 2037;

std::string ReadText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw AtlasError(path, "cannot be opened for reading");
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// Rows of a project table: "#" comments and the header line skipped.
std::vector<std::vector<std::string>> ReadTsv(const std::string& path) {
  std::vector<std::vector<std::string>> rows;
  std::istringstream in(ReadText(path));
  bool header = false;
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.empty() || line[0] == '#') continue;
    if (!header) {
      header = true;
      continue;
    }
    std::vector<std::string> fields;
    std::size_t start = 0;
    for (;;) {
      const auto tab = line.find('\t', start);
      fields.push_back(line.substr(start, tab == std::string::npos ? tab : tab - start));
      if (tab == std::string::npos) break;
      start = tab + 1;
    }
    rows.push_back(std::move(fields));
  }
  return rows;
}

std::map<std::string, std::string> ReadCountryNames(const std::string& path) {
  nlohmann::json doc;
  try {
    doc = nlohmann::json::parse(ReadText(path));
  } catch (const nlohmann::json::exception& e) {
    throw AtlasError(path, std::string("not a country-name file: ") + e.what());
  }
  std::map<std::string, std::string> names;
  if (!doc.contains("countries") || !doc["countries"].is_object()) {
    throw AtlasError(path, "has no \"countries\" object");
  }
  for (const auto& [iso, value] : doc["countries"].items()) {
    if (value.is_string()) {
      names[iso] = value.get<std::string>();
    } else if (value.is_array() && !value.empty() && value[0].is_string()) {
      names[iso] = value[0].get<std::string>();
    }
  }
  return names;
}

double LocalSerial(std::int64_t unix_seconds, std::int32_t offset) {
  const std::int64_t local = unix_seconds + offset;
  const std::int64_t days = local >= 0 ? local / 86400 : -((-local + 86399) / 86400);
  const double date = kSerialOf1970 + static_cast<double>(days);
  const double time = static_cast<double>(local - days * 86400) / 86400.0;
  // The host's serials count the time away from zero before 30 December 1899.
  return date >= 0 ? date + time : date - time;
}

// One IANA zone as the atlas uses it.
struct ZoneInfo {
  TzifZone tzif;
  std::vector<TimetableRecord> history;  // from the end of local mean time to 1999
  std::vector<TimetableRecord> later;    // its changes from 2000 through 2037
  std::int32_t standard_1999 = 0;        // standard offset at the end of 1999
  std::int16_t standard_entry_1999 = 0;  // its entry (0 before any standard time)
  int zones_since = 0;                   // year local mean time ended
  ZoneHistory own;                       // the whole history, for places of this zone

  // The whole history as one list, later changes included: what timetables
  // are told apart by.
  std::vector<std::pair<double, std::int16_t>> Key() const {
    std::vector<std::pair<double, std::int16_t>> key;
    for (const auto* list : {&history, &later}) {
      for (const auto& e : *list)
        key.emplace_back(e.Datum, e.Zone);
    }
    return key;
  }
};

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

class ZoneLibrary {
 public:
  ZoneLibrary(std::string root, const std::vector<ZoneRecord>& table,
              const std::map<std::string, ZonePopulation>& zones)
      : root_(std::move(root)), table_(table), tzifs_(zones) {}

  const ZoneInfo& Get(const std::string& name) {
    auto it = zones_.find(name);
    if (it != zones_.end()) return it->second;
    ZoneInfo info;
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

  std::int16_t StandardEntry(std::int32_t offset, const std::string& hint = "") const {
    const auto found =
        FindZoneEntry(table_, offset, ZoneKind::kStandard, {TableNameOf(hint), hint});
    return found ? *found : 0;
  }
  std::string NameOf(std::int16_t id) const {
    return Trim(table_[static_cast<std::size_t>(id)].TZShort);
  }
  // Periods expressed by an entry of their offset but another kind.
  const std::vector<std::string>& approximated() const { return approximated_; }

 private:
  // The entry of a period: the one of its offset and kind that bears the
  // name CLDR gives the zone at `probe` (seconds since 1970, inside the
  // period), else the one its abbreviation suggests, else the first.
  std::int16_t Entry(const std::string& zone, double from, std::int64_t probe, std::int32_t offset,
                     ZoneKind kind, std::int32_t standard, const std::string& abbreviation) {
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
        approximated_.push_back(zone + " " + std::to_string(t.year) + "-" +
                                std::to_string(t.month) + "-" + std::to_string(t.day) + " " +
                                abbreviation + " " + std::to_string(offset) + " s " +
                                static_cast<char>(kind) + " as " + NameOf(*any));
        return *any;
      }
    }
    throw AtlasError(root_, abbreviation + ": no zone entry for offset " + std::to_string(offset));
  }

  // Every period of the zone, each with the entry of its offset and kind,
  // and the rule of the years after them.
  ZoneHistory OwnHistory(const std::string& name, const TzifZone& tzif) {
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
    // The conventional view: of the two times the lower is standard time
    // (Dublin's rule calls its summer time standard).
    const std::int32_t low = rule->has_daylight()
                                 ? std::min(rule->standard_offset(), rule->daylight_offset())
                                 : rule->standard_offset();
    // Asked in 2050, a minute after each change of the rule.
    const auto changes = rule->ChangesIn(2050);
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
    own.rule_standard_entry = entry(rule->standard_offset(), rule->standard_name(), false);
    own.rule_daylight_entry = rule->has_daylight()
                                  ? entry(rule->daylight_offset(), rule->daylight_name(), true)
                                  : own.rule_standard_entry;
    return own;
  }

  const TzifZone& Tzif(const std::string& zone) const { return tzifs_.at(zone).tzif; }

  std::string root_;
  const std::vector<ZoneRecord>& table_;
  const std::map<std::string, ZonePopulation>& tzifs_;
  std::map<std::string, ZoneInfo> zones_;
  std::vector<std::string> approximated_;
};

struct CountryPlan {
  std::string code;
  std::string title;  // German
  std::string english;
  std::string iso;
  int continent = 0;
  bool usa = false;
  std::int16_t id = 0;
  std::vector<const GeoPlace*> places;
};

const char* const kContinentNames[] = {"",       "AFRIKA",   "AMERIKA", "ASIEN",
                                       "EUROPA", "OCEANIEN", "USA"};

int ContinentOfZone(const std::string& zone) {
  const std::string area = zone.substr(0, zone.find('/'));
  if (area == "Africa") return 1;
  if (area == "America") return 2;
  if (area == "Asia" || area == "Indian") return 3;
  if (area == "Europe" || area == "Atlantic" || area == "Arctic") return 4;
  return 5;  // Australia, Pacific, Antarctica
}

// The zone most places of a set use, weighted by population.
std::string MainZone(const std::vector<const GeoPlace*>& places) {
  std::map<std::string, double> weight;
  for (const auto* p : places)
    weight[p->timezone] += 1.0 + static_cast<double>(p->population);
  return std::max_element(weight.begin(), weight.end(),
                          [](const auto& a, const auto& b) { return a.second < b.second; })
      ->first;
}

struct Timetabling {
  std::vector<std::vector<TimetableRecord>> blocks;  // blocks[0] is timetable 1, to 1999
  std::vector<std::vector<TimetableRecord>> later;   // their changes from 2000 through 2037
  std::vector<std::string> block_zone;               // the zone each block follows
  std::map<std::string, std::int16_t> number_of_zone;
};

using HistoryKey = std::vector<std::pair<double, std::int16_t>>;

// How long two histories give different offsets (local mean time counting as
// an offset of its own) between 1700 and the end of 2037, in days.
double DaysApart(const HistoryKey& a, const HistoryKey& b, const std::vector<ZoneRecord>& table) {
  auto offset = [&table](std::int16_t zone) {
    return zone == 0 ? 1e9 : static_cast<double>(table[static_cast<std::size_t>(zone)].TZDif);
  };
  const double end = SerialOfDate(2038, 1, 1);
  std::size_t i = 0;
  std::size_t j = 0;
  std::int16_t za = 0;
  std::int16_t zb = 0;
  double at = LinearSerial(kSerial1700);
  double apart = 0;
  while (at < end) {
    const double next_a = i < a.size() ? LinearSerial(a[i].first) : end;
    const double next_b = j < b.size() ? LinearSerial(b[j].first) : end;
    const double next = std::min({next_a, next_b, end});
    if (next > at && offset(za) != offset(zb)) apart += next - at;
    at = std::max(at, next);
    if (next_a <= at && i < a.size()) za = a[i++].second;
    if (next_b <= at && j < b.size()) zb = b[j++].second;
  }
  return apart;
}

// The country's timetables: exactly its fixed count of them, numbered from 1
// in the order of their inhabitants, the main history first. Where tzdata
// has more histories than the count, those kept are chosen to spare the most
// place-days of wrong offsets, and each other one joins the kept timetable
// that agrees with it longest (listed in the summary); numbers beyond the
// histories repeat the main one, so that every number the timetable chooser
// offers is a real history. A country without timetables has one block, its
// main zone's.
Timetabling NumberHistories(const CountryPlan& country, ZoneLibrary& zones,
                            const std::vector<ZoneRecord>& table, BuildSummary& summary) {
  struct Use {
    std::size_t places = 0;
    double population = 0;
    std::map<std::string, std::size_t> zones;
  };
  std::map<HistoryKey, Use> uses;
  for (const auto* p : country.places) {
    auto& use = uses[zones.Get(p->timezone).Key()];
    ++use.places;
    use.population += static_cast<double>(p->population);
    ++use.zones[p->timezone];
  }
  std::vector<const std::map<HistoryKey, Use>::value_type*> order;
  for (const auto& u : uses)
    order.push_back(&u);
  std::stable_sort(order.begin(), order.end(), [](const auto* a, const auto* b) {
    return std::tie(a->second.population, a->second.places) >
           std::tie(b->second.population, b->second.places);
  });
  auto main_zone_of = [](const Use& use) {
    return std::max_element(use.zones.begin(), use.zones.end(),
                            [](const auto& a, const auto& b) { return a.second < b.second; })
        ->first;
  };
  Timetabling t;
  auto add_block = [&t, &zones](const std::string& zone) {
    const ZoneInfo& info = zones.Get(zone);
    t.blocks.push_back(info.history);
    t.later.push_back(info.later);
    t.block_zone.push_back(zone);
  };
  const std::int16_t fixed = HaveTimetables(country.code);
  if (fixed == 0) {
    add_block(MainZone(country.places));
    for (const auto& u : uses) {
      for (const auto& z : u.second.zones)
        t.number_of_zone[z.first] = 0;
    }
    return t;
  }
  // Which histories keep a number of their own: the main one, then, one at a
  // time, the one whose own number spares the most place-days of wrong
  // offsets (Manaus's -4:00 rather than a third -3:00 history of the
  // north-east). With numbers for all, every history is kept.
  const std::size_t kept = std::min<std::size_t>(static_cast<std::size_t>(fixed), order.size());
  std::vector<std::vector<double>> apart(order.size(), std::vector<double>(order.size(), 0.0));
  if (kept < order.size()) {
    for (std::size_t i = 0; i < order.size(); ++i) {
      for (std::size_t k = i + 1; k < order.size(); ++k)
        apart[i][k] = apart[k][i] = DaysApart(order[i]->first, order[k]->first, table);
    }
  }
  std::vector<std::size_t> chosen = {0};
  std::vector<double> cost(order.size());  // days apart from the nearest chosen history
  for (std::size_t i = 0; i < order.size(); ++i)
    cost[i] = apart[i][0];
  while (chosen.size() < kept) {
    std::size_t best = 0;
    double best_gain = -1;
    for (std::size_t c = 0; c < order.size(); ++c) {
      if (std::find(chosen.begin(), chosen.end(), c) != chosen.end()) continue;
      double gain = 0;
      for (std::size_t i = 0; i < order.size(); ++i) {
        gain += static_cast<double>(order[i]->second.places) *
                std::max(0.0, cost[i] - (i == c ? 0.0 : apart[i][c]));
      }
      if (gain > best_gain) {
        best = c;
        best_gain = gain;
      }
    }
    chosen.push_back(best);
    for (std::size_t i = 0; i < order.size(); ++i)
      cost[i] = std::min(cost[i], i == best ? 0.0 : apart[i][best]);
  }
  // Numbered by inhabitants, the main history first.
  std::sort(chosen.begin(), chosen.end());
  std::vector<std::int16_t> number(order.size(), 0);
  for (std::size_t n = 0; n < chosen.size(); ++n) {
    add_block(main_zone_of(order[chosen[n]]->second));
    number[chosen[n]] = static_cast<std::int16_t>(n + 1);
  }
  for (std::size_t i = 0; i < order.size(); ++i) {
    if (number[i] == 0) {
      // The kept history that agrees with it longest.
      std::size_t best = chosen.front();
      for (const std::size_t c : chosen) {
        if (apart[i][c] < apart[i][best]) best = c;
      }
      number[i] = number[best];
      char years[32];
      std::snprintf(years, sizeof years, "%.1f", apart[i][best] / 365.2425);
      summary.merged.push_back(country.code + ": " + main_zone_of(order[i]->second) + ", " +
                               std::to_string(order[i]->second.places) +
                               " places, into timetable " + std::to_string(number[i]) + " (" +
                               main_zone_of(order[best]->second) + "), offsets differ " + years +
                               " years");
    }
    for (const auto& z : order[i]->second.zones)
      t.number_of_zone[z.first] = number[i];
  }
  while (t.blocks.size() < static_cast<std::size_t>(fixed))
    add_block(t.block_zone.front());
  return t;
}

// Summer time of one zone in one year, in the atlas's terms: periods one hour
// above the 1999 standard offset.
DstRule RuleOfYear(const ZoneInfo& zone, int year, bool& unexpressible) {
  const std::int32_t standard = zone.standard_1999;
  const double year_start = SerialOfDate(year, 1, 1);
  const std::int64_t from =
      static_cast<std::int64_t>((year_start - kSerialOf1970) * 86400) - standard;
  const std::int64_t to =
      from + static_cast<std::int64_t>((SerialOfDate(year + 1, 1, 1) - year_start) * 86400);
  // Offset segments within the year.
  std::vector<std::pair<std::int64_t, std::int32_t>> segments = {
      {from, TypeAt(zone.tzif, from).utc_offset}};
  for (const auto& t : zone.tzif.transitions) {
    if (t.at > from && t.at < to) segments.emplace_back(t.at, t.type.utc_offset);
  }
  std::vector<std::pair<std::int64_t, std::int64_t>> summers;
  for (std::size_t i = 0; i < segments.size(); ++i) {
    const std::int64_t end = i + 1 < segments.size() ? segments[i + 1].first : to;
    const std::int32_t offset = segments[i].second;
    if (offset == standard + kHour) {
      if (!summers.empty() && summers.back().second == segments[i].first) {
        summers.back().second = end;
      } else {
        summers.emplace_back(segments[i].first, end);
      }
    } else if (offset != standard) {
      unexpressible = true;
    }
  }
  if (summers.empty()) return DstRule::None();
  if (summers.size() == 1 && summers[0].first == from && summers[0].second == to)
    return DstRule::All();
  std::pair<std::int64_t, std::int64_t> period = summers.front();
  if (summers.size() >= 2 && summers.front().first == from && summers.back().second == to) {
    period = {summers.back().first, summers.front().second};  // across the turn of the year
  } else {
    for (const auto& s : summers) {
      if (s.second - s.first > period.second - period.first) period = s;
    }
  }
  const double start = LocalSerial(period.first, standard);
  const double end = LocalSerial(period.second, standard + kHour);
  const DayRule start_rule = DayRuleOf(start);
  const DayRule end_rule = DayRuleOf(end);
  if (std::fabs(start_rule.SerialIn(year) - start) < 1e-6 &&
      std::fabs(end_rule.SerialIn(year) - end) < 1e-6) {
    return DstRule::Rule(start_rule, end_rule);
  }
  return DstRule::Dates(start, end);
}

void AddRules(std::int16_t country, std::int16_t timetable, const ZoneInfo& zone,
              const std::string& name, std::vector<DstRuleRange>& ranges, BuildSummary& summary) {
  for (int year = kFirstRuleYear; year <= kLastRuleYear; ++year) {
    bool odd = false;
    const DstRule rule = RuleOfYear(zone, year, odd);
    if (odd) summary.unexpressible.push_back(name + " " + std::to_string(year));
    const bool merges = !ranges.empty() && ranges.back().country == country &&
                        ranges.back().timetable == timetable && ranges.back().to_year == year - 1 &&
                        ranges.back().rule == rule && rule.kind != DstRule::Kind::kDates;
    if (merges) {
      ranges.back().to_year = year;
    } else {
      ranges.push_back({country, timetable, year, year, rule});
    }
  }
}

void Progress(const BuildOptions& options, const std::string& what, double fraction) {
  if (options.progress) options.progress(what, fraction);
}

}  // namespace

AtlasCodes::AtlasCodes(const std::string& data_folder) {
  for (const auto& row : ReadTsv((fs::path(data_folder) / "atlas_codes.tsv").string())) {
    codes_[row.at(0)] = {row.size() > 1 ? row[1] : "",
                         row.size() > 2 && !row[2].empty() ? std::stoi(row[2]) : 0};
  }
  for (const auto& row : ReadTsv((fs::path(data_folder) / "us_states.tsv").string()))
    states_.insert(row.at(0));
}

std::string AtlasCodes::Of(const GeoPlace& place) const {
  if (place.country == "US") return states_.count(place.admin1) ? "US" + place.admin1 : "";
  const auto known = codes_.find(place.country);
  return known != codes_.end() && !known->second.first.empty() ? known->second.first
                                                               : place.country;
}

std::vector<std::string> AtlasCodes::IsoCodesOf(const std::string& code,
                                                const std::string& own) const {
  std::vector<std::string> isos = {own};
  for (const auto& [iso, entry] : codes_) {
    const std::string& filed_as = entry.first.empty() ? iso : entry.first;
    if (filed_as == code && iso != own) isos.push_back(iso);
  }
  return isos;
}

int AtlasCodes::ContinentOf(const std::string& iso) const {
  const auto known = codes_.find(iso);
  return known != codes_.end() ? known->second.second : 0;
}

BuildSummary BuildAtlas(const BuildOptions& options) {
  BuildSummary summary;
  const fs::path out = options.out;
  fs::create_directories(out);

  Progress(options, "reading GeoNames", 0.0);
  const auto places = ReadGeoNames(options.geonames, summary.skipped_lines);

  Progress(options, "designing the zone table", 0.02);
  const std::string zones_tsv = (fs::path(options.data) / "zones.tsv").string();
  std::map<std::string, ZonePopulation> zone_uses;
  for (const auto& p : places)
    zone_uses[p.timezone].population += 1.0 + static_cast<double>(p.population);
  for (auto& [name, use] : zone_uses)
    use.tzif = ReadTzif((fs::path(options.zoneinfo) / name).string());
  auto design = DesignZoneTable(ParseZoneTableSource(ReadText(zones_tsv), zones_tsv), zone_uses);
  const std::vector<ZoneRecord> table = std::move(design.table);
  summary.unnamed_zones = std::move(design.unnamed);
  ZoneLibrary zones(options.zoneinfo, table, zone_uses);
  const auto german = ReadCountryNames((fs::path(options.country_names) / "de.json").string());
  const auto english = ReadCountryNames((fs::path(options.country_names) / "en.json").string());

  const AtlasCodes codes(options.data);
  std::map<std::string, std::pair<std::string, std::string>> states;  // code -> German, English
  for (const auto& row : ReadTsv((fs::path(options.data) / "us_states.tsv").string())) {
    states[row.at(0)] = {row.at(1), row.at(2)};
  }

  // Countries by atlas code; the successor states of Yugoslavia share one.
  std::map<std::string, CountryPlan> plans;
  for (const auto& p : places) {
    if (p.country == "US") {
      if (!states.count(p.admin1)) continue;  // places outside the 50 states and DC
      auto& plan = plans["US" + p.admin1];
      plan.code = "US" + p.admin1;
      plan.title = states[p.admin1].first;
      plan.english = states[p.admin1].second;
      plan.iso = "US";
      plan.usa = true;
      plan.continent = 6;
      plan.places.push_back(&p);
      continue;
    }
    const std::string code = codes.Of(p);
    auto& plan = plans[code];
    plan.code = code;
    plan.iso = plan.iso.empty() ? p.country : plan.iso;
    plan.places.push_back(&p);
  }
  for (auto& [code, plan] : plans) {
    if (plan.usa) continue;
    if (code == "YU") {
      plan.title = "Jugoslawien";
      plan.english = "Yugoslavia";
    } else {
      plan.title = german.count(plan.iso) ? german.at(plan.iso) : plan.iso;
      plan.english = english.count(plan.iso) ? english.at(plan.iso) : plan.iso;
    }
    const int continent = codes.ContinentOf(plan.iso);
    plan.continent = continent != 0 ? continent : ContinentOfZone(MainZone(plan.places));
  }

  // File order: countries and states by German title, then the five groups.
  std::vector<CountryPlan*> order;
  for (auto& [code, plan] : plans)
    order.push_back(&plan);
  std::sort(order.begin(), order.end(), [](const CountryPlan* a, const CountryPlan* b) {
    return std::tie(a->title, a->code) < std::tie(b->title, b->code);
  });
  struct Group {
    const char* title;
    const char* code;
    int continent;
    const char* english;
  };
  static constexpr Group kGroups[] = {{"Antarktis", "ANT", 5, "Antarctica"},
                                      {"Atlantische Inseln", "ATL", 4, "Atlantic islands"},
                                      {"Indischer Ozean", "IOZ", 3, "Indian Ocean"},
                                      {"Karibik", "KAR", 2, "Caribbean"},
                                      {"Pazifische Inseln", "PAZ", 5, "Pacific islands"}};
  if (order.size() + std::size(kGroups) > kMaxCountryLines) {
    throw AtlasError(options.geonames, "more countries than Country.dat can hold");
  }

  // Every IANA zone a place uses, numbered in name order for Zones.hst.
  std::map<std::string, std::uint16_t> zone_numbers;
  for (const auto& [code, plan] : plans) {
    for (const auto* p : plan.places)
      zone_numbers.emplace(p->timezone, 0);
  }
  std::vector<ZoneHistory> histories;
  for (auto& [name, number] : zone_numbers) {
    number = static_cast<std::uint16_t>(histories.size());
    histories.push_back(zones.Get(name).own);
  }

  Progress(options, "learning place names", 0.04);
  const PlaceNamer namer(places);
  std::vector<CountryRecord> records;
  std::vector<TimetableSection> ttx;
  std::vector<TimetableSection> ttusa;
  std::vector<DstRuleRange> rules;
  std::vector<ZoneChange> changes;
  std::vector<SameChanges> same;
  std::map<HistoryKey, std::pair<std::int16_t, std::int16_t>> change_owner;
  for (std::size_t i = 0; i < order.size(); ++i) {
    CountryPlan& plan = *order[i];
    plan.id = static_cast<std::int16_t>(i + 1);
    Progress(options, plan.code,
             0.05 + 0.85 * static_cast<double>(i) / static_cast<double>(order.size()));

    const std::string main_zone = MainZone(plan.places);
    const ZoneInfo& main = zones.Get(main_zone);
    CountryRecord r;
    r.CountryId = plan.id;
    r.CountryTitle = AnsiFromUtf8(plan.title);
    r.CountryShort = plan.code;
    r.TimezoneShort =
        zones.NameOf(main.standard_entry_1999 != 0 ? main.standard_entry_1999
                                                   : zones.StandardEntry(main.standard_1999));
    r.Continent = kContinentNames[plan.continent];
    r.Meaning = AnsiFromUtf8(plan.english);
    r.Info = "ISO " + plan.iso;
    r.HaveZonesSince = std::to_string(main.zones_since);
    r.ContinentID = static_cast<std::int16_t>(plan.continent);
    records.push_back(r);

    const Timetabling t = NumberHistories(plan, zones, table, summary);
    TimetableSection section{plan.id, t.blocks};
    // The last three zones are written as the codes 138-140 that stand for them.
    for (auto& block : section.timetables) {
      for (auto& e : block) {
        const auto from_end = static_cast<int>(table.size()) - 1 - e.Zone;
        if (from_end >= 0 && from_end < 3) e.Zone = static_cast<std::int16_t>(140 - from_end);
      }
    }
    for (const auto& block : t.blocks)
      summary.entries += block.size();
    summary.timetables += t.blocks.size();
    (plan.usa ? ttusa : ttx).push_back(std::move(section));
    for (std::size_t b = 0; b < t.blocks.size(); ++b) {
      const auto number = static_cast<std::int16_t>(b + 1);
      AddRules(plan.id, number, zones.Get(t.block_zone[b]), t.block_zone[b], rules, summary);
      if (t.later[b].empty()) continue;
      // Timetables of one zone share their changes: written once.
      HistoryKey key;
      for (const auto& e : t.later[b])
        key.emplace_back(e.Datum, e.Zone);
      const auto [first, fresh] = change_owner.try_emplace(std::move(key), plan.id, number);
      if (!fresh) {
        same.push_back({plan.id, number, first->second.first, first->second.second});
        continue;
      }
      for (const auto& e : t.later[b])
        changes.push_back({plan.id, number, e.Datum, e.Zone});
    }

    std::vector<PlaceRecord> file;
    PlaceFileExtras extras;
    for (const auto& zone : t.block_zone)
      extras.timetable_zones.push_back(zone_numbers.at(zone));
    // Larger places first, so that only the smallest fall beyond the last
    // record number; among equal populations the capital before the seat of
    // a province before the others, which the file keeps for equal names.
    std::vector<const GeoPlace*> sorted = plan.places;
    std::stable_sort(sorted.begin(), sorted.end(), [](const GeoPlace* a, const GeoPlace* b) {
      return a->population != b->population
                 ? a->population > b->population
                 : FeatureRank(a->feature_code) < FeatureRank(b->feature_code);
    });
    for (const auto* p : sorted) {
      if (file.size() >= kMaxPlaceRecords) break;  // record numbers are 16-bit
      const std::string name = namer.LocalName(*p);
      if (name.empty()) continue;
      if (name != AtlasName(*p)) ++summary.local_names;
      PlaceRecord record;
      record.SetName(name);
      record.Longitude = static_cast<float>(p->longitude);
      record.Latitude = static_cast<float>(p->latitude);
      const auto number = t.number_of_zone.find(p->timezone);
      record.Timetable = number == t.number_of_zone.end() ? std::int16_t{0} : number->second;
      file.push_back(record);
      extras.populations.push_back(p->population);
      extras.ranks.push_back(static_cast<std::uint8_t>(FeatureRank(p->feature_code)));
      extras.name_keys.push_back(namer.IndexKeys(*p, name));
      extras.place_zones.push_back(zone_numbers.at(p->timezone));
    }
    summary.places += file.size();
    summary.index_entries += WritePlaceFiles(out, plan.code, std::move(file), true, extras);
  }
  for (std::size_t g = 0; g < std::size(kGroups); ++g) {
    CountryRecord r;
    r.CountryId = static_cast<std::int16_t>(order.size() + g + 1);
    r.CountryTitle = kGroups[g].title;
    r.CountryShort = kGroups[g].code;
    r.TimezoneShort = "GMT";
    r.Continent = kContinentNames[kGroups[g].continent];
    r.Meaning = kGroups[g].english;
    r.ContinentID = static_cast<std::int16_t>(kGroups[g].continent);
    records.push_back(r);
  }
  summary.countries = records.size();
  if (!options.iso_codes.empty() && !options.cldr.empty()) {
    std::vector<NamedCountry> named;
    for (const CountryPlan* plan : order) {
      NamedCountry country{plan->code, {}, plan->usa};
      if (!plan->usa) country.isos = codes.IsoCodesOf(plan->code, plan->iso);
      named.push_back(std::move(country));
    }
    const auto entries = CountryNameEntries(named, options.iso_codes, options.cldr);
    for (const auto& e : entries)
      ++(e.iso ? summary.country_codes : summary.country_names);
    WriteFileAtomically(out / std::string(kCountryNamesFile), CountryNamesText(entries));
  }

  Progress(options, "writing tables", 0.92);
  WriteFileAtomically(out / "Country.dat", CountryFileText(records));
  WriteFileAtomically(out / "Zones13.bin", EncodeZoneFile(table));
  WriteFileAtomically(out / "ttx.dao", CompressSzdd(EncodeTimetableFile(ttx), 'o'));
  WriteFileAtomically(out / "TTUSA.dao", CompressSzdd(EncodeTimetableFile(ttusa), 'o'));
  WriteFileAtomically(out / kZoneHistoryFile, CompressSzdd(EncodeZoneHistories(histories), 't'));
  summary.zone_histories = histories.size();
  WriteFileAtomically(out / kDstRulesFile,
                      CompressSzdd(DstRules::Format(rules, changes, same), 't'));
  // A USER folder with its change counter lets readers follow other
  // processes' user places without looking at the files on every call; the
  // bump tells readers of an atlas rebuilt in place at once. User places
  // already there are kept.
  fs::create_directory(out / "USER");
  BumpChangeCounter(out / "USER");
  summary.rule_lines = rules.size();
  summary.change_lines = changes.size() + same.size();
  // Repeated timetables repeat their zone's years.
  std::sort(summary.unexpressible.begin(), summary.unexpressible.end());
  summary.unexpressible.erase(
      std::unique(summary.unexpressible.begin(), summary.unexpressible.end()),
      summary.unexpressible.end());
  summary.approximated = zones.approximated();
  for (const auto& entry : fs::directory_iterator(out)) {
    if (entry.is_regular_file()) summary.bytes += entry.file_size();
  }
  Progress(options, "done", 1.0);
  return summary;
}

}  // namespace tarv::atlas
