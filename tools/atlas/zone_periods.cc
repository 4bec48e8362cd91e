#include "atlas/zone_periods.h"

#include <algorithm>
#include <cmath>

#include "util/text.h"

namespace tarv::atlas {
namespace {

constexpr std::int32_t kHour = 3600;

bool IsLocalMeanTime(const TzifType& type) {
  return type.abbreviation == "LMT";
}

}  // namespace

std::vector<ZonePeriod> HistoricPeriods(const TzifZone& zone, std::int64_t until) {
  std::vector<ZonePeriod> periods;
  std::optional<std::int32_t> standard;  // offset of the last standard period
  // The standard offset while daylight time runs backwards (a plain pair
  // rather than an optional: GCC 12 misreads the optional at -O2).
  bool negative_mode = false;
  std::int32_t negative_base = 0;
  for (const auto& t : zone.transitions) {
    if (t.at >= until) break;
    if (IsLocalMeanTime(t.type)) {
      // Only a return to it counts: the zone's start is its initial type.
      if (!periods.empty() && !periods.back().local_mean_time) {
        ZonePeriod p{t.at, t.type.utc_offset, ZoneKind::kStandard, t.type.utc_offset,
                     t.type.abbreviation};
        p.local_mean_time = true;
        periods.push_back(std::move(p));
      }
      continue;
    }
    ZonePeriod p{t.at, t.type.utc_offset, ZoneKind::kStandard, t.type.utc_offset,
                 t.type.abbreviation};
    // Daylight time above the winter time again ends a backwards spell
    // (Prague's winter of 1946/47 was such a spell).
    if (t.type.is_dst && negative_mode && p.utc_offset > negative_base) negative_mode = false;
    if (t.type.is_dst) {
      if (standard && p.utc_offset < *standard) {
        negative_mode = true;  // this "daylight" time is the real standard
        negative_base = p.utc_offset;
        // The period just before it was really summer time.
        if (!periods.empty() && periods.back().utc_offset == p.utc_offset + kHour) {
          periods.back().kind = ZoneKind::kSummer;
          periods.back().standard_offset = p.utc_offset;
        }
      } else {
        std::int32_t base = standard.value_or(p.utc_offset - kHour);
        // Daylight time more than three hours above the standard time before
        // it follows a jump across the date line (Apia's -11:00 to +14:00 in
        // 2011): it is summer time of a new standard time an hour below it.
        if (p.utc_offset - base > 3 * kHour) base = p.utc_offset - kHour;
        p.kind = p.utc_offset - base >= 2 * kHour ? ZoneKind::kDoubleSummer : ZoneKind::kSummer;
        p.standard_offset = base;
      }
    } else if (negative_mode && p.utc_offset == negative_base + kHour) {
      p.kind = ZoneKind::kSummer;
      p.standard_offset = negative_base;
    } else {
      negative_mode = false;
      standard = p.utc_offset;
    }
    periods.push_back(std::move(p));
  }
  return periods;
}

std::optional<std::int16_t> FindZoneEntry(const std::vector<ZoneRecord>& table,
                                          std::int32_t utc_offset, ZoneKind kind,
                                          const std::vector<std::string>& preferred) {
  std::optional<std::int16_t> first;
  std::optional<std::int16_t> best;
  std::size_t best_rank = preferred.size();
  for (std::size_t i = 1; i < table.size(); ++i) {
    const auto seconds = std::lround(static_cast<double>(table[i].TZDif) * kHour);
    if (seconds != utc_offset || table[i].TZType != static_cast<char>(kind)) continue;
    if (!first) first = static_cast<std::int16_t>(i);
    const std::string name = Trim(table[i].TZShort);
    const auto rank = static_cast<std::size_t>(std::find(preferred.begin(), preferred.end(), name) -
                                               preferred.begin());
    if (rank < best_rank) {
      best = static_cast<std::int16_t>(i);
      best_rank = rank;
    }
  }
  return best ? best : first;
}

}  // namespace tarv::atlas
