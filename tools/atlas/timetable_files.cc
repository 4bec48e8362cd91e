#include "atlas/timetable_files.h"

#include <algorithm>
#include <cstdio>
#include <tuple>

#include "platform/atomic_file.h"
#include "text/lz.h"
#include "util/serial_date.h"

namespace fs = std::filesystem;

namespace tarv::atlas {
namespace {

// The places of one history.
struct HistoryUse {
  std::size_t places = 0;
  double population = 0;
  std::map<std::string, std::size_t> zones;  // places by IANA zone
};
using HistoryUses = std::map<HistoryKey, HistoryUse>;
using UseOrder = std::vector<const HistoryUses::value_type*>;

HistoryUses UsesOf(const CountryPlan& country, ZoneLibrary& zones) {
  HistoryUses uses;
  for (const auto* p : country.places) {
    auto& use = uses[zones.Get(p->timezone).Key()];
    ++use.places;
    use.population += static_cast<double>(p->population);
    ++use.zones[p->timezone];
  }
  return uses;
}

// Most inhabitants first, then most places.
UseOrder ByInhabitants(const HistoryUses& uses) {
  UseOrder order;
  for (const auto& u : uses)
    order.push_back(&u);
  std::stable_sort(order.begin(), order.end(), [](const auto* a, const auto* b) {
    return std::tie(a->second.population, a->second.places) >
           std::tie(b->second.population, b->second.places);
  });
  return order;
}

// The zone most places of a history use.
std::string MainZoneOf(const HistoryUse& use) {
  return std::max_element(use.zones.begin(), use.zones.end(),
                          [](const auto& a, const auto& b) { return a.second < b.second; })
      ->first;
}

// Which histories keep a number of their own (`kept` of them, as indexes
// into `order`): the main one, then, one at a time, the one whose own
// number spares the most place-days of wrong offsets (Manaus's -4:00 rather
// than a third -3:00 history of the north-east).
std::vector<std::size_t> ChooseKept(const UseOrder& order, std::size_t kept,
                                    const std::vector<std::vector<double>>& apart) {
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
  return chosen;
}

}  // namespace

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

CountryTimetables NumberHistories(const CountryPlan& country, ZoneLibrary& zones,
                                  std::vector<std::string>& merged) {
  const HistoryUses uses = UsesOf(country, zones);
  const UseOrder order = ByInhabitants(uses);
  CountryTimetables t;
  auto add_block = [&t, &zones](const std::string& zone) {
    const AtlasZone& info = zones.Get(zone);
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
  // With numbers for all, every history is kept and none needs comparing.
  const std::size_t kept = std::min<std::size_t>(static_cast<std::size_t>(fixed), order.size());
  std::vector<std::vector<double>> apart(order.size(), std::vector<double>(order.size(), 0.0));
  if (kept < order.size()) {
    for (std::size_t i = 0; i < order.size(); ++i) {
      for (std::size_t k = i + 1; k < order.size(); ++k)
        apart[i][k] = apart[k][i] = DaysApart(order[i]->first, order[k]->first, zones.table());
    }
  }
  std::vector<std::size_t> chosen = ChooseKept(order, kept, apart);
  // Numbered by inhabitants, the main history first.
  std::sort(chosen.begin(), chosen.end());
  std::vector<std::int16_t> number(order.size(), 0);
  for (std::size_t n = 0; n < chosen.size(); ++n) {
    add_block(MainZoneOf(order[chosen[n]]->second));
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
      merged.push_back(country.code + ": " + MainZoneOf(order[i]->second) + ", " +
                       std::to_string(order[i]->second.places) + " places, into timetable " +
                       std::to_string(number[i]) + " (" + MainZoneOf(order[best]->second) +
                       "), offsets differ " + years + " years");
    }
    for (const auto& z : order[i]->second.zones)
      t.number_of_zone[z.first] = number[i];
  }
  while (t.blocks.size() < static_cast<std::size_t>(fixed))
    add_block(t.block_zone.front());
  return t;
}

void TimetableFiles::Add(const CountryPlan& country, const CountryTimetables& timetables,
                         std::size_t table_size) {
  TimetableSection section{country.id, timetables.blocks};
  // The last three zones are written as the codes 138-140 that stand for them.
  for (auto& block : section.timetables) {
    for (auto& e : block) {
      const auto from_end = static_cast<int>(table_size) - 1 - e.Zone;
      if (from_end >= 0 && from_end < 3) e.Zone = static_cast<std::int16_t>(140 - from_end);
    }
  }
  for (const auto& block : timetables.blocks)
    entries_ += block.size();
  timetables_ += timetables.blocks.size();
  (country.usa ? ttusa_ : ttx_).push_back(std::move(section));
}

void TimetableFiles::Write(const fs::path& out) const {
  WriteFileAtomically(out / "ttx.dao", CompressSzdd(EncodeTimetableFile(ttx_), 'o'));
  WriteFileAtomically(out / "TTUSA.dao", CompressSzdd(EncodeTimetableFile(ttusa_), 'o'));
}

}  // namespace tarv::atlas
