#include "atlas/place_zone.h"

#include <algorithm>
#include <cmath>

#include "atlas/atlas_state.h"
#include "atlas/country_table.h"
#include "atlas/zone_history.h"
#include "util/julian.h"
#include "util/serial_date.h"
#include "util/text.h"

namespace tarv {

double LookupSerialOfJulian(double julian) {
  if (!std::isfinite(julian)) return kSmallestSerial;
  try {
    if (JulianYear(julian) < 100) return kSmallestSerial;
    return JulianInSerial(julian);
  } catch (const std::overflow_error&) {
    return kSmallestSerial;
  }
}

ZoneAtDate ZoneOfHistoryAnswer(const PlaceHistory& history, HistoryAnswer answer) {
  ZoneAtDate at = ZoneOfId(answer.entry);
  at.own_history = true;
  at.source = history.named ? ZoneSourceKind::kNamedZone : ZoneSourceKind::kZoneHistory;
  at.tzdata_version = history.histories->tzdata_version();
  at.iana = std::move(answer.zone_name);
  at.abbreviation = std::move(answer.abbreviation);
  at.utc_seconds = answer.utc_offset;
  at.daylight = answer.daylight;
  at.kind = answer.kind;
  at.change = std::move(answer.change);
  return at;
}

void AddNearZones(ZoneAtDate& at, const PlaceHistory& own, const std::vector<PlaceNearZone>& near,
                  double date) {
  const ZoneHistories& histories = *own.histories;
  const std::int64_t utc = LocalSecondsOfSerial(date) - at.utc_seconds;
  const bool mean_time = at.zone_id == 0;
  for (const PlaceNearZone& n : near) {
    if (n.zone == own.zone || n.zone >= histories.size()) continue;
    const HistoryAnswer other = histories.AtUtc(n.zone, utc);
    // Two zones both still on local mean time keep no clock to differ by.
    const bool differs = mean_time ? !other.local_mean_time
                                   : other.local_mean_time || other.utc_offset != at.utc_seconds;
    if (!differs) continue;
    const bool listed = std::any_of(at.nearby.begin(), at.nearby.end(), [&](const NearbyZone& z) {
      return z.Iana == histories[n.zone].name;
    });
    if (listed) continue;
    at.nearby.push_back({histories[n.zone].name, other.utc_offset / 3600.0, other.abbreviation,
                         static_cast<double>(n.meters)});
  }
}

std::optional<PlaceHistory> OwnHistoryOfPlace(const FoundPlace& place) {
  if (place.RecordNo > 0) return OwnHistoryOf(place.Country, place.RecordNo);
  if (place.RecordNo < 0) {
    if (auto named = UserNamedHistory(place.Country, place.Place.NameField())) return named;
    return MapHistoryAt(place.Place.Longitude, place.Place.Latitude);
  }
  return std::nullopt;
}

std::optional<ZoneAtDate> ZoneOfPlaceAt(const FoundPlace& place, double date) {
  InitializeCountries("", "Country.dat", false, false);
  InitializeTimeZones("", "Zones13.bin");
  if (auto own = OwnHistoryOfPlace(place); own && std::isfinite(date)) {
    ZoneAtDate at = ZoneOfHistoryAnswer(*own, own->At(date));
    AddNearZones(at, *own,
                 place.RecordNo > 0 ? NearZonesOfRecord(place.Country, place.RecordNo)
                                    : NearZonesOnMap(place.Place.Longitude, place.Place.Latitude),
                 date);
    return at;
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

std::optional<ZoneAtDate> ZoneOfPointAt(double longitude, double latitude, double date) {
  InitializeTimeZones("", "Zones13.bin");
  if (!std::isfinite(date)) return std::nullopt;
  const auto history = MapHistoryAt(longitude, latitude);
  if (!history) return std::nullopt;
  ZoneAtDate at = ZoneOfHistoryAnswer(*history, history->At(date));
  AddNearZones(at, *history, NearZonesOnMap(longitude, latitude), date);
  return at;
}

std::optional<OwnHistoryDifference> CompareWithTimetable(const FoundPlace& place,
                                                         std::int16_t timetable) {
  constexpr int kFirstYear = 1850;
  constexpr int kLastYear = 2100;
  InitializeCountries("", "Country.dat", false, false);
  InitializeTimeZones("", "Zones13.bin");
  const auto history = OwnHistoryOfPlace(place);
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
