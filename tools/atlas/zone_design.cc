#include "atlas/zone_design.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <set>
#include <tuple>

#include "atlas/posix_tz.h"
#include "atlas/zone_periods.h"
#include "atlas/zone_record.h"
#include "interface/zone_names.h"
#include "text/codepage.h"
#include "util/text.h"

namespace tarv::atlas {
namespace {

constexpr std::int64_t kFrom1900 = -2208988800;  // 1900-01-01T00:00:00Z
constexpr std::int64_t kTo2101 = 4133980800;     // 2101-01-01T00:00:00Z
constexpr double kSecondsPerYear = 31556952.0;
constexpr std::int64_t kDay = 86400;
constexpr std::int32_t kHour = 3600;
// The timetable codes 138-140 stand for the last three entries, so the
// entries numbered 138-140 can never be written into a timetable.
constexpr std::size_t kCodeEntries = 3;
constexpr std::size_t kFirstCode = 138;

// Abbreviations for CLDR names whose zones tzdata abbreviates by numbers
// ("-03") or by letters another zone holds ("CST" for China, "PST" for
// the Philippines): the ones their countries use.
const std::multimap<std::string, std::string>& KnownAbbreviations() {
  // Where the name people use is held by a zone GetTimezoneId must keep
  // finding by it ("AST" is Atlantic for the aliases, "CST" North American
  // Central), the second name of the name serves.
  static const std::multimap<std::string, std::string> known = {
      {"Afghanistan Time", "AFT"},
      {"Amazon Standard Time", "AMT"},
      {"Arabian Standard Time", "AST"},
      {"Arabian Standard Time", "ARST"},
      {"Argentina Standard Time", "ART"},
      {"Armenia Standard Time", "AMT"},
      {"Azerbaijan Standard Time", "AZT"},
      {"Bangladesh Standard Time", "BGT"},
      {"Bolivia Time", "BOT"},
      {"Brasilia Standard Time", "BRT"},
      {"Chile Standard Time", "CLT"},
      {"China Standard Time", "CST"},
      {"China Standard Time", "CCT"},
      {"Colombia Standard Time", "COT"},
      {"Cuba Standard Time", "CST"},
      {"Cuba Standard Time", "CUT"},
      {"East Kazakhstan Time", "ALMT"},
      {"Ecuador Time", "ECT"},
      {"Georgia Standard Time", "GET"},
      {"Gulf Standard Time", "GST"},
      {"Indochina Time", "ICT"},
      {"Iran Standard Time", "IRT"},
      {"Irkutsk Standard Time", "IRKT"},
      {"Israel Standard Time", "IST"},
      {"Israel Standard Time", "ISST"},
      {"Krasnoyarsk Standard Time", "KRAT"},
      {"Kyrgyzstan Time", "KGT"},
      {"Magadan Standard Time", "MAGT"},
      {"Malaysia Time", "MYT"},
      {"Ulaanbaatar Standard Time", "ULAT"},
      {"Myanmar Time", "MMT"},
      {"Nepal Time", "NPT"},
      {"Novosibirsk Standard Time", "NOVT"},
      {"Omsk Standard Time", "OMST"},
      {"Paraguay Standard Time", "PYT"},
      {"Peru Standard Time", "PET"},
      {"Philippine Standard Time", "PST"},
      {"Philippine Standard Time", "PHT"},
      {"Samara Standard Time", "SAMT"},
      {"Singapore Standard Time", "SGT"},
      {"Taipei Standard Time", "CST"},
      {"Taipei Standard Time", "TWT"},
      {"Tajikistan Time", "TJT"},
      {"Turkey Time", "TRT"},
      {"Turkmenistan Standard Time", "TMT"},
      {"Uruguay Standard Time", "UYT"},
      {"Uzbekistan Standard Time", "UZT"},
      {"Venezuela Time", "VET"},
      {"Vladivostok Standard Time", "VLAT"},
      {"Volgograd Standard Time", "VOLT"},
      {"West Kazakhstan Time", "AQTT"},
      {"Yakutsk Standard Time", "YAKT"},
      {"Yekaterinburg Standard Time", "YEKT"},
  };
  return known;
}

bool IsAlphabetic(const std::string& text) {
  return text.size() >= 2 &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
}

std::string KindSuffix(ZoneKind kind) {
  return kind == ZoneKind::kSummer ? "/S" : kind == ZoneKind::kDoubleSummer ? "/DS" : "";
}

// "Z+0530" for an offset without a name of its own, as the project's table
// names its grid.
std::string GridName(std::int32_t offset) {
  const std::int32_t minutes = std::abs(offset) / 60;
  char text[16];
  std::snprintf(text, sizeof text, "Z%c%02d%02d", offset < 0 ? '-' : '+', minutes / 60,
                minutes % 60);
  return text;
}

std::int32_t OffsetOf(const ZoneRecord& r) {
  return static_cast<std::int32_t>(std::lround(static_cast<double>(r.TZDif) * kHour));
}
ZoneKind KindOf(const ZoneRecord& r) {
  return static_cast<ZoneKind>(r.TZType);
}

// The people and years that live under one name at one offset and kind.
struct Group {
  std::int32_t offset = 0;
  ZoneKind kind = ZoneKind::kStandard;
  std::string name;           // CLDR's English long name
  std::string standard_name;  // for summer time: the name of the standard time it belongs to
  double weight = 0;          // population x years
  double people = 0;          // population of the zones that ever use it
  std::map<std::string, double> votes;  // tzdata's abbreviations, weighted alike
  std::optional<std::size_t> entry;

  std::string TopVote() const {
    const auto top = std::max_element(votes.begin(), votes.end(), [](const auto& a, const auto& b) {
      return a.second < b.second;
    });
    return top == votes.end() ? std::string() : top->first;
  }
};

using GroupKey = std::tuple<std::int32_t, ZoneKind, std::string>;

// One period of a zone for the design: its span in UTC, offset, kind and
// tzdata's abbreviation, and an instant to ask CLDR's name at.
struct Span {
  std::int64_t from;
  std::int64_t to;
  std::int64_t probe;
  std::int32_t offset;
  ZoneKind kind;
  std::string abbreviation;
};

std::vector<Span> SpansOf(const TzifZone& tzif) {
  std::vector<Span> spans;
  const auto periods = HistoricPeriods(tzif, std::numeric_limits<std::int64_t>::max());
  for (std::size_t i = 0; i < periods.size(); ++i) {
    const ZonePeriod& p = periods[i];
    if (p.local_mean_time) continue;
    const std::int64_t to = i + 1 < periods.size() ? periods[i + 1].from : kTo2101;
    // Asked in its middle, as the builder asks for the period's entry.
    spans.push_back({p.from, to, p.from + (to - p.from) / 2, p.utc_offset, p.kind, p.abbreviation});
  }
  const auto rule = PosixTzRule::Parse(tzif.footer);
  if (!rule) return spans;
  const std::int64_t from = periods.empty() ? kFrom1900 : periods.back().from;
  if (from >= kTo2101) return spans;
  if (!rule->has_daylight() || rule->AlwaysDaylight()) {
    const bool daylight = rule->AlwaysDaylight();
    spans.push_back(
        {from, kTo2101, from + kDay, daylight ? rule->daylight_offset() : rule->standard_offset(),
         ZoneKind::kStandard, daylight ? rule->daylight_name() : rule->standard_name()});
    return spans;
  }
  // Both times of the rule, weighed by the share of 2050 each holds.
  const auto changes = rule->ChangesIn(2050);
  const std::int32_t low = std::min(rule->standard_offset(), rule->daylight_offset());
  for (const auto& change : changes) {
    const std::int32_t offset =
        change.to_daylight ? rule->daylight_offset() : rule->standard_offset();
    const std::int64_t length =
        change.to_daylight == (changes.front().to_daylight)
            ? changes.back().at - changes.front().at
            : static_cast<std::int64_t>(kSecondsPerYear) - (changes.back().at - changes.front().at);
    const double share = static_cast<double>(length) / kSecondsPerYear;
    const auto span_length = static_cast<std::int64_t>(static_cast<double>(kTo2101 - from) * share);
    spans.push_back({from, from + span_length, change.at + kDay, offset,
                     offset == low               ? ZoneKind::kStandard
                     : offset - low >= 2 * kHour ? ZoneKind::kDoubleSummer
                                                 : ZoneKind::kSummer,
                     change.to_daylight ? rule->daylight_name() : rule->standard_name()});
  }
  return spans;
}

// The abbreviations of the alias list's targets and of the summer forms it
// builds: entries holding them keep them.
std::set<std::string> FixedAbbreviations() {
  std::set<std::string> fixed;
  for (const auto& alias : ZoneAliasNames()) {
    const std::string target = ResolveZoneAlias(alias);
    if (!target.empty()) fixed.insert(target);
  }
  return fixed;
}

class Designer {
 public:
  Designer(const std::vector<ZoneRecord>& base, const std::map<std::string, ZonePopulation>& zones)
      : table_(base) {
    CollectGroups(zones);
    MarkEntries();
  }

  ZoneDesign Run() {
    std::vector<Group*> order;
    for (auto& [key, g] : groups_)
      order.push_back(&g);
    std::stable_sort(order.begin(), order.end(),
                     [](const Group* a, const Group* b) { return a->weight > b->weight; });
    // The name a standard time wants most is kept for the most populous
    // group that wants it, whenever that one gets its entry ("KST" for
    // Korea's +9:00, not for Pyongyang's +8:30 of 2015). Of names another
    // zone may hold ("PST" of the Philippines) the safe one is kept.
    for (const Group* g : order) {
      if (g->kind != ZoneKind::kStandard) continue;
      const auto [first, last] = KnownAbbreviations().equal_range(g->name);
      const std::string wanted =
          first != last ? std::prev(last)->second : UCase(Candidates(*g).front());
      // Offsets' own names are shared by every time without a name.
      if (wanted != GridName(g->offset)) reserved_.emplace(wanted, g);
    }
    for (const ZoneKind kind : {ZoneKind::kStandard, ZoneKind::kSummer, ZoneKind::kDoubleSummer}) {
      for (Group* g : order) {
        if (g->kind == kind) ClaimFixedEntry(*g);
      }
      for (Group* g : order) {
        if (g->kind == kind && !g->entry) TakeEntryOfItsTime(*g);
      }
    }
    for (Group* g : order) {
      if (!g->entry) TakeFreeEntry(*g);
    }
    for (Group* g : order) {
      if (!g->entry) TakeUnclaimedFixedEntry(*g);
    }

    RestoreNames();
    Renumber();
    ZoneDesign design;
    for (const Group* g : order) {
      if (g->entry) continue;
      const ZoneRecord* shown = FirstOf(g->offset, g->kind);
      char people[32];
      std::snprintf(people, sizeof people, "%.0f", g->people);
      design.unnamed.push_back(g->name + " (" + GridName(g->offset) + " " +
                               static_cast<char>(g->kind) + "): " + people + " people, shown as " +
                               (shown ? Trim(shown->TZShort) + " (" + Trim(shown->TZName) + ")"
                                      : std::string("nothing")));
    }
    design.table = std::move(table_);
    return design;
  }

 private:
  void CollectGroups(const std::map<std::string, ZonePopulation>& zones) {
    for (const auto& [zone, use] : zones) {
      std::set<GroupKey> seen;
      for (const Span& s : SpansOf(use.tzif)) {
        used_.insert({s.offset, s.kind});
        // A zone no place lives by (one only the zone map names: Eucla's
        // +8:45, Lord Howe's +10:30) keeps the entries of its times from
        // being given away, but names none. A time needs an entry more than
        // a second name of a time needs one of its own.
        if (use.population <= 0) continue;
        const bool daylight = s.kind != ZoneKind::kStandard;
        const std::string name = PeriodName(zone, use.tzif, s.probe, s.offset, daylight);
        if (name.empty() || name.size() > kZoneNameWidth || !IsAnsiRepresentable(name)) continue;
        const GroupKey key{s.offset, s.kind, name};
        Group& g = groups_[key];
        g.offset = s.offset;
        g.kind = s.kind;
        g.name = name;
        if (daylight) g.standard_name = ZoneLongName(zone, std::max(s.probe, kDay), false, "en");
        // Years since 1970 count fully, earlier ones a fifth (charts of the
        // living matter most); a period outside the years still counts a
        // little: it is history.
        auto years_between = [&s](std::int64_t first, std::int64_t last) {
          const std::int64_t from = std::max(s.from, first);
          const std::int64_t to = std::min(s.to, last);
          return to > from ? static_cast<double>(to - from) / kSecondsPerYear : 0.0;
        };
        const double years =
            std::max(0.01, years_between(0, kTo2101) + 0.2 * years_between(kFrom1900, 0));
        g.weight += use.population * years;
        g.votes[s.abbreviation] += use.population * years;
        if (seen.insert(key).second) g.people += use.population;
      }
    }
  }

  void MarkEntries() {
    const auto fixed = FixedAbbreviations();
    state_.assign(table_.size(), State::kRecyclable);
    state_[0] = State::kFixed;  // local mean time
    for (std::size_t i = 1; i < table_.size(); ++i) {
      if (i >= kFirstCode && i < kFirstCode + kCodeEntries) {
        state_[i] = State::kUnusable;
        continue;
      }
      const bool code_entry = i + kCodeEntries >= table_.size();
      if (code_entry || fixed.count(UCase(Trim(table_[i].TZShort))) != 0) {
        state_[i] = State::kFixed;
        continue;
      }
      if (used_.count({OffsetOf(table_[i]), KindOf(table_[i])}) == 0) state_[i] = State::kFree;
      // Names of entries that may change stand aside until the end, so that
      // no stale one blocks a name people use.
      old_names_[i] = Trim(table_[i].TZShort);
      table_[i].TZShort = "#" + std::to_string(i);
    }
  }

  // Entries no name was given to take their old name back where it still
  // fits, else that of their offset.
  void RestoreNames() {
    for (const auto& [i, name] : old_names_) {
      if (table_[i].TZShort.front() != '#') continue;
      const std::string grid = GridName(OffsetOf(table_[i])) + KindSuffix(KindOf(table_[i]));
      table_[i].TZShort = Fits(i, name)   ? name
                          : Fits(i, grid) ? grid
                                          : grid.substr(0, 1) + std::to_string(i);
    }
  }

  // The abbreviations a group would like, best first.
  std::vector<std::string> Candidates(const Group& g) const {
    std::vector<std::string> wanted;
    const std::string vote = g.TopVote();
    const std::string suffix = KindSuffix(g.kind);
    if (g.kind == ZoneKind::kStandard) {
      const auto [first, last] = KnownAbbreviations().equal_range(g.name);
      for (auto it = first; it != last; ++it)
        wanted.push_back(it->second);
      // tzdata's own letters first ("WET" for Lisbon), then the table's
      // form of them ("MET" for "CET").
      if (IsAlphabetic(vote)) {
        wanted.push_back(vote);
        wanted.push_back(TableNameOf(vote));
      }
    } else {
      if (IsAlphabetic(vote) && TableNameOf(vote).find('/') != std::string::npos)
        wanted.push_back(TableNameOf(vote));
      if (const auto base = standard_abbreviations_.find(g.standard_name);
          base != standard_abbreviations_.end()) {
        wanted.push_back(base->second + suffix);
      }
    }
    if (IsAlphabetic(vote)) wanted.push_back(vote);
    wanted.push_back(GridName(g.offset - (g.kind == ZoneKind::kStandard ? 0
                                          : g.kind == ZoneKind::kSummer ? kHour
                                                                        : 2 * kHour)) +
                     suffix);
    return wanted;
  }

  // Whether entry `i` may be called `name`: every entry GetTimezoneId can
  // find by that name (the entries of the name, or of its alias) must have
  // the offset and kind of `i`. Names are given most populous first, so a
  // historical offset that shares a modern name ("KST" at +8:30) gets
  // another one.
  bool Fits(std::size_t i, const std::string& name) const {
    if (name.empty() || name.size() > kZoneShortWidth) return false;
    const std::string upper = UCase(name);
    const std::string alias = ResolveZoneAlias(upper);
    const std::string target = alias.empty() ? upper : alias;
    bool found = target == upper;  // `i` itself, unless an alias sends the name elsewhere
    for (std::size_t k = 0; k < table_.size(); ++k) {
      if (k == i || UCase(Trim(table_[k].TZShort)) != target) continue;
      if (OffsetOf(table_[k]) != OffsetOf(table_[i]) || KindOf(table_[k]) != KindOf(table_[i])) {
        return false;
      }
      found = true;
    }
    return found;
  }

  void Assign(Group& g, std::size_t i, bool rename) {
    g.entry = i;
    state_[i] = State::kTaken;
    if (rename) {
      table_[i].TZShort = "Z" + std::to_string(i);  // when no wish fits
      for (const auto& name : Candidates(g)) {
        const auto owner = reserved_.find(UCase(name));
        if (owner != reserved_.end() && owner->second != &g) continue;
        if (Fits(i, name)) {
          table_[i].TZShort = name;
          break;
        }
      }
    }
    table_[i].TZName = AnsiFromUtf8(g.name);
    if (g.kind == ZoneKind::kStandard) standard_abbreviations_[g.name] = Trim(table_[i].TZShort);
  }

  // A fixed entry of the group's time whose abbreviation the group uses.
  void ClaimFixedEntry(Group& g) {
    for (const auto& name : Candidates(g)) {
      for (std::size_t i = 1; i < table_.size(); ++i) {
        if (state_[i] == State::kFixed && Matches(i, g) && UCase(Trim(table_[i].TZShort)) == name) {
          Assign(g, i, false);
          return;
        }
      }
    }
  }

  // An entry of the group's time to rename.
  void TakeEntryOfItsTime(Group& g) {
    for (std::size_t i = 1; i < table_.size(); ++i) {
      if (state_[i] == State::kRecyclable && Matches(i, g)) {
        Assign(g, i, true);
        return;
      }
    }
  }

  // Last: a fixed entry of the group's time nobody claimed keeps its
  // abbreviation and takes the name, when the abbreviation is no other
  // zone's summer time ("JST/S" is not Korea's).
  void TakeUnclaimedFixedEntry(Group& g) {
    for (std::size_t i = 1; i < table_.size(); ++i) {
      if (state_[i] != State::kFixed || !Matches(i, g)) continue;
      if (g.kind != ZoneKind::kStandard) {
        const std::string name = Trim(table_[i].TZShort);
        const auto base = standard_abbreviations_.find(g.standard_name);
        if (base == standard_abbreviations_.end() ||
            name.substr(0, name.find('/')) != base->second) {
          continue;
        }
      }
      Assign(g, i, false);
      return;
    }
  }

  void TakeFreeEntry(Group& g) {
    for (std::size_t i = 1; i < table_.size(); ++i) {
      if (state_[i] != State::kFree) continue;
      ZoneRecord& r = table_[i];
      r.TZDif = static_cast<float>(g.offset) / static_cast<float>(kHour);
      r.TZType = static_cast<char>(g.kind);
      r.TZShow = 1;
      Assign(g, i, true);
      return;
    }
  }

  bool Matches(std::size_t i, const Group& g) const {
    return OffsetOf(table_[i]) == g.offset && KindOf(table_[i]) == g.kind;
  }

  const ZoneRecord* FirstOf(std::int32_t offset, ZoneKind kind) const {
    for (std::size_t i = 1; i < table_.size(); ++i) {
      if (OffsetOf(table_[i]) == offset && KindOf(table_[i]) == kind) return &table_[i];
    }
    return nullptr;
  }

  // Sort indexes by offset (standard before summer), and each variant's
  // standard entry in TZExtra.
  void Renumber() {
    std::vector<std::size_t> order;
    for (std::size_t i = 1; i < table_.size(); ++i)
      order.push_back(i);
    std::stable_sort(order.begin(), order.end(), [this](std::size_t a, std::size_t b) {
      return std::make_tuple(OffsetOf(table_[a]), table_[a].TZType != 'N', a) <
             std::make_tuple(OffsetOf(table_[b]), table_[b].TZType != 'N', b);
    });
    for (std::size_t rank = 0; rank < order.size(); ++rank)
      table_[order[rank]].TZSortIndex = static_cast<std::int16_t>(rank + 1);
    for (std::size_t i = 1; i < table_.size(); ++i) {
      ZoneRecord& r = table_[i];
      if (r.TZType == 'N' || r.TZType == 'L') {
        r.TZExtra = -1;
        continue;
      }
      const std::string name = Trim(r.TZShort);
      const std::string base = name.substr(0, name.find('/'));
      r.TZExtra = -1;
      for (std::size_t k = 1; k < table_.size(); ++k) {
        if (table_[k].TZType == 'N' && Trim(table_[k].TZShort) == base) {
          r.TZExtra = static_cast<std::int16_t>(k);
          break;
        }
      }
    }
  }

  enum class State { kFixed, kRecyclable, kFree, kTaken, kUnusable };
  std::vector<ZoneRecord> table_;
  std::vector<State> state_;
  std::map<GroupKey, Group> groups_;
  // Every offset and kind some period has, named or not.
  std::set<std::pair<std::int32_t, ZoneKind>> used_;
  std::map<std::string, std::string> standard_abbreviations_;  // CLDR name -> entry abbreviation
  std::map<std::size_t, std::string> old_names_;
  std::map<std::string, const Group*> reserved_;
};

}  // namespace

std::string TableNameOf(const std::string& abbreviation) {
  static const std::map<std::string, std::string> kNames = {
      {"CET", "MET"},    {"CEST", "MET/S"},  {"CEMT", "MET/DS"}, {"WET", "GMT"},
      {"WEST", "WET/S"}, {"WEMT", "WET/DS"}, {"BST", "WET/S"},   {"BDST", "WET/DS"},
      {"UTC", "GMT"},    {"MSD", "MSK/S"},   {"EEST", "EET/S"},  {"EDT", "EST/S"},
      {"EWT", "EST/S"},  {"EPT", "EST/S"},   {"CDT", "CST/S"},   {"CWT", "CST/S"},
      {"CPT", "CST/S"},  {"MDT", "MST/S"},   {"MWT", "MST/S"},   {"MPT", "MST/S"},
      {"PDT", "PST/S"},  {"PWT", "PST/S"},   {"PPT", "PST/S"},   {"AKDT", "AKST/S"},
      {"ADT", "AST/S"},  {"NDT", "NST/S"},   {"AEDT", "AEST/S"}, {"ACDT", "ACST/S"},
      {"NZST", "NZT"},   {"NZDT", "NZT/S"},  {"HDT", "HST/S"},   {"SAST", "EET"}};
  const auto it = kNames.find(abbreviation);
  return it == kNames.end() ? abbreviation : it->second;
}

std::string PeriodName(const std::string& zone, const TzifZone& tzif, std::int64_t probe,
                       std::int32_t offset, bool daylight) {
  // ICU's metazone mappings begin in 1970. An earlier period takes the name
  // the zone had then, if it kept one of the offsets it had then; other
  // offsets (Amsterdam's +0:19:32) were another clock.
  constexpr std::int64_t kJanuary1970 = kDay;
  constexpr std::int64_t kJuly1970 = 181 * kDay;
  if (probe < kJanuary1970) {
    if (offset != TypeAt(tzif, kJanuary1970).utc_offset &&
        offset != TypeAt(tzif, kJuly1970).utc_offset) {
      return {};
    }
    probe = kJanuary1970;
  }
  // Where CLDR maps no metazone (Turkey 1978-1985, Tashkent, Ürümqi), the
  // zone's location name ("Turkey Time") rather than another country's.
  return ZoneLongName(zone, probe, daylight, "en");
}

ZoneDesign DesignZoneTable(const std::vector<ZoneRecord>& base,
                           const std::map<std::string, ZonePopulation>& zones) {
  return Designer(base, zones).Run();
}

}  // namespace tarv::atlas
