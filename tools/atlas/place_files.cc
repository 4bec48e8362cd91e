#include "atlas/place_files.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "atlas/place_file.h"
#include "atlas/place_file_writer.h"

namespace tarv::atlas {

std::vector<PlaceNearZone> NearZoneFinder::Of(double longitude, double latitude,
                                              std::uint16_t own) const {
  std::vector<PlaceNearZone> near;
  auto add = [&](std::uint16_t zone, double meters) {
    const bool listed = std::any_of(near.begin(), near.end(),
                                    [&](const PlaceNearZone& n) { return n.zone == zone; });
    if (zone != own && !listed) {
      near.push_back({0, zone, static_cast<std::uint16_t>(std::lround(meters))});
    }
  };
  if (const auto here = map_.ZoneAt(longitude, latitude)) add(*here, 0);
  for (const NearZone& zone : map_.ZonesWithin(longitude, latitude, kNearZoneMeters))
    add(zone.zone, zone.meters);
  return near;
}

bool NearZoneFinder::DiffersIn2020(std::uint16_t own,
                                   const std::vector<PlaceNearZone>& near) const {
  constexpr std::int64_t k2020 = 1'577'836'800;  // 2020-01-01 00:00 UTC
  const std::int32_t offset = histories_.AtUtc(own, k2020).utc_offset;
  return std::any_of(near.begin(), near.end(), [&](const PlaceNearZone& n) {
    return histories_.AtUtc(n.zone, k2020).utc_offset != offset;
  });
}

void WriteCountryPlaces(const std::filesystem::path& out, const CountryPlan& country,
                        const CountryTimetables& timetables, const PlaceNamer& namer,
                        const std::map<std::string, std::uint16_t>& zone_numbers,
                        const NearZoneFinder* near, PlaceCounts& counts) {
  std::vector<PlaceRecord> file;
  PlaceFileExtras extras;
  for (const auto& zone : timetables.block_zone)
    extras.timetable_zones.push_back(zone_numbers.at(zone));
  // Larger places first, so that only the smallest fall beyond the last
  // record number; among equal populations the capital before the seat of
  // a province before the others, which the file keeps for equal names.
  std::vector<const GeoPlace*> sorted = country.places;
  std::stable_sort(sorted.begin(), sorted.end(), [](const GeoPlace* a, const GeoPlace* b) {
    return a->population != b->population
               ? a->population > b->population
               : FeatureRank(a->feature_code) < FeatureRank(b->feature_code);
  });
  for (const auto* p : sorted) {
    if (file.size() >= kMaxPlaceRecords) break;  // record numbers are 16-bit
    const std::string name = namer.LocalName(*p);
    if (name.empty()) continue;
    if (name != AtlasName(*p)) ++counts.local_names;
    PlaceRecord record;
    record.SetName(name);
    record.Longitude = static_cast<float>(p->longitude);
    record.Latitude = static_cast<float>(p->latitude);
    const auto number = timetables.number_of_zone.find(p->timezone);
    record.Timetable = number == timetables.number_of_zone.end() ? std::int16_t{0} : number->second;
    file.push_back(record);
    extras.populations.push_back(p->population);
    extras.ranks.push_back(static_cast<std::uint8_t>(FeatureRank(p->feature_code)));
    extras.name_keys.push_back(namer.IndexKeys(*p, name));
    const std::uint16_t zone = zone_numbers.at(p->timezone);
    extras.place_zones.push_back(zone);
    if (near) {
      extras.near_zones.push_back(near->Of(p->longitude, p->latitude, zone));
      counts.near_another_clock += near->DiffersIn2020(zone, extras.near_zones.back()) ? 1 : 0;
    }
  }
  counts.places += file.size();
  counts.index_entries += WritePlaceFiles(out, country.code, std::move(file), true, extras);
}

}  // namespace tarv::atlas
