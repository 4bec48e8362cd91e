// Summer-time rules after 1999, when the timetables end: the atlas's rules
// file, and the rule a timetable's own last years imply.
//
// Rules file "DstRules.dat" (plain text, or SZDD-compressed: it is read
// through the LZ layer). Lines end in LF or CR LF; fields are TAB-separated;
// lines starting with "#" are comments. The first line is
//   TarvPlaces DST rules<TAB>1
// (the format version). Every further line is
//   country<TAB>timetable<TAB>from year<TAB>to year<TAB>kind[<TAB>start<TAB>end]
// with the country number of "Country.dat", the timetable number (1 for a
// country's default history), an inclusive range of years, and one kind:
//   none   no summer time in those years
//   all    summer time the whole year
//   rule   start and end as "Mm.w.d/hh:mm": month m, week w (1-4, 5 = last),
//          weekday d (0 = Sunday), local wall-clock time, e.g. M3.5.0/02:00
//   dates  start and end as "yyyy-mm-ddThh:mm" local wall-clock times (from
//          year = to year)
// A start later in the year than the end means summer time across the turn
// of the year (southern hemisphere). Years outside every range of a
// timetable take the rule of the nearest year that has one.
//
// Version 2 adds the whole history after 1999, one line per change:
//   country<TAB>timetable<TAB>change<TAB>yyyy-mm-ddThh:mm:ss<TAB>zone
// from that local wall-clock time (the clock before the change) the zone of
// the zone table with that index (0 = local mean time) holds. A timetable
// with change lines has every change of standard time and every summer
// period from 2000 through kLastChangeYear in them, in time order; before
// its first change the zone its timetable holds at the end of 1999 goes on.
// Its rule lines then serve the years after kLastChangeYear. A timetable
// whose changes are another's (most timetables of a time zone share them)
// says so in one line instead:
//   country<TAB>timetable<TAB>same<TAB>country<TAB>timetable
// naming a timetable with change lines of its own. Version 1 files (rule
// lines only) are read as before.
#ifndef TARVPLACES_ATLAS_DST_RULES_H_
#define TARVPLACES_ATLAS_DST_RULES_H_

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "atlas/atlas_fault.h"

namespace tarv {

inline constexpr const char* kDstRulesFile = "DstRules.dat";
inline constexpr int kDstRulesVersion = 2;
inline constexpr int kLastChangeYear = 2037;

// "The w-th weekday d of month m at `minutes` after local midnight".
struct DayRule {
  int month = 0;    // 1-12
  int week = 0;     // 1-4, 5 = last
  int weekday = 0;  // 0 Sunday - 6 Saturday
  int minutes = 0;  // local wall-clock time

  // The serial date (local) of this rule in `year`.
  double SerialIn(int year) const;
  friend bool operator==(const DayRule&, const DayRule&) = default;
};

// The weekday rule a local serial date satisfies: its month, weekday and
// week (5 when it lies in the month's last seven days), and its time.
DayRule DayRuleOf(double serial);

struct DstRule {
  enum class Kind : std::uint8_t { kNone, kAll, kRule, kDates };
  Kind kind = Kind::kNone;
  DayRule start;
  DayRule end;
  double start_serial = 0;  // kDates
  double end_serial = 0;    // kDates

  static DstRule None() { return DstRule{}; }
  static DstRule All() {
    DstRule r;
    r.kind = Kind::kAll;
    return r;
  }
  static DstRule Rule(const DayRule& from, const DayRule& to) {
    DstRule r;
    r.kind = Kind::kRule;
    r.start = from;
    r.end = to;
    return r;
  }
  static DstRule Dates(double from, double to) {
    DstRule r;
    r.kind = Kind::kDates;
    r.start_serial = from;
    r.end_serial = to;
    return r;
  }

  // The local start and end of summer time in `year` (serial dates); for
  // kNone both are 0, for kAll the year's first and last moment.
  std::pair<double, double> PeriodIn(int year) const;
  friend bool operator==(const DstRule&, const DstRule&) = default;
};

// One line of the rules file.
struct DstRuleRange {
  std::int16_t country = 0;
  std::int16_t timetable = 0;
  int from_year = 0;
  int to_year = 0;
  DstRule rule;
};

// One change line: from local serial date `at` on, zone `zone` holds.
struct ZoneChange {
  std::int16_t country = 0;
  std::int16_t timetable = 0;
  double at = 0;
  std::int16_t zone = 0;
};

// One "same" line: the timetable has the changes of another.
struct SameChanges {
  std::int16_t country = 0;
  std::int16_t timetable = 0;
  std::int16_t as_country = 0;
  std::int16_t as_timetable = 0;
};

// The parsed rules file.
class DstRules {
 public:
  using Changes = std::vector<std::pair<double, std::int16_t>>;  // (local serial, zone)

  // Parses the file's text; the fault names `file` and the line for
  // a wrong header or version, a malformed line, a range whose years run
  // backwards, a zone outside the zone table, changes out of time order, or
  // a "same" line naming a timetable without change lines of its own.
  static ReadResult<DstRules> Parse(std::string_view text, const std::string& file);
  // The file's text (version 2) for `ranges`, `changes` and `same`, in the
  // order given.
  static std::string Format(const std::vector<DstRuleRange>& ranges,
                            const std::vector<ZoneChange>& changes = {},
                            const std::vector<SameChanges>& same = {});

  // The rule of a country's timetable in `year`, or nullopt when the file
  // says nothing about that timetable.
  std::optional<DstRule> RuleFor(std::int16_t country, std::int16_t timetable, int year) const;
  // The changes after 1999 of a country's timetable, or nullptr when the file
  // has none for it.
  const Changes* ChangesFor(std::int16_t country, std::int16_t timetable) const;
  bool empty() const { return ranges_.empty() && changes_.empty(); }

 private:
  std::map<std::pair<std::int16_t, std::int16_t>, std::vector<DstRuleRange>> ranges_;
  std::map<std::pair<std::int16_t, std::int16_t>, std::shared_ptr<const Changes>> changes_;
};

// The summer-time rule a timetable's entries imply for the years after 1999:
// the rule of the latest year before 2000 that had summer time, expressed as
// weekday rules (e.g. "last Sunday of March at 02:00" to "last Sunday of
// October at 03:00"), provided one of the last `kInferenceYears` years had
// it; otherwise none. `entries` are (local serial date, is summer) pairs in
// time order, the is-summer flag telling whether the zone from that date on
// is a summer-time variant. Entries whose dates the calendar cannot hold
// (not finite, or years beyond the int range) are left out.
inline constexpr int kInferenceYears = 3;
DstRule InferDstRule(const std::vector<std::pair<double, bool>>& entries);

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_DST_RULES_H_
