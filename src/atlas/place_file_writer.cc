#include "atlas/place_file_writer.h"

#include <algorithm>
#include <limits>

#include "atlas/name_index.h"
#include "atlas/name_key.h"
#include "atlas/name_match.h"
#include "atlas/place_search.h"
#include "atlas/zone_history.h"
#include "platform/atomic_file.h"
#include "text/bytes.h"
#include "text/lz.h"
#include "util/text.h"

namespace tarv {

char RunLetterOf(const PlaceRecord& place) {
  return IndexLetter(place.TrimmedName());
}

std::vector<std::size_t> SortForPlaceFile(std::vector<PlaceRecord>& places,
                                          const std::vector<double>& prominence) {
  struct Keyed {
    char letter;
    std::string letters;
    double prominence;
    std::string bytes;
    std::size_t at;
  };
  std::vector<Keyed> keyed;
  keyed.reserve(places.size());
  for (std::size_t i = 0; i < places.size(); ++i) {
    std::string name = places[i].TrimmedName();
    keyed.push_back({RunLetterOf(places[i]), UCase(GetCleanString(name)),
                     i < prominence.size() ? prominence[i] : 0.0, std::move(name), i});
  }
  std::stable_sort(keyed.begin(), keyed.end(), [](const Keyed& a, const Keyed& b) {
    return std::tie(a.letter, a.letters, b.prominence, a.bytes) <
           std::tie(b.letter, b.letters, a.prominence, b.bytes);
  });
  std::vector<PlaceRecord> sorted;
  sorted.reserve(places.size());
  std::vector<std::size_t> order;
  order.reserve(places.size());
  for (const auto& k : keyed) {
    sorted.push_back(places[k.at]);
    order.push_back(k.at);
  }
  places = std::move(sorted);
  return order;
}

std::string EncodePlaceFile(const std::vector<PlaceRecord>& places) {
  std::string bytes;
  bytes.reserve(places.size() * kPlaceRecordSize);
  for (const auto& p : places)
    bytes += EncodePlaceRecord(p);
  return bytes;
}

std::string EncodePlaceIndex(const std::vector<PlaceRecord>& places) {
  std::string index;
  char previous = '\0';
  for (std::size_t i = 0; i < places.size(); ++i) {
    const char letter = RunLetterOf(places[i]);
    if (i > 0 && letter == previous) continue;
    index += letter;
    AppendInt32(index, static_cast<std::int32_t>(i + 1));
    previous = letter;
  }
  return index;
}

std::size_t WritePlaceFiles(const std::filesystem::path& folder, const std::string& code,
                            std::vector<PlaceRecord> places, bool compress,
                            const PlaceFileExtras& extras) {
  // Populations as the name index keeps them, 32 bits.
  std::vector<std::uint32_t> populations;
  std::vector<double> prominence;
  for (std::size_t i = 0; i < extras.populations.size(); ++i) {
    populations.push_back(static_cast<std::uint32_t>(std::clamp<std::int64_t>(
        extras.populations[i], 0, std::numeric_limits<std::uint32_t>::max())));
    prominence.push_back(Prominence(
        populations.back(), i < extras.ranks.size() ? extras.ranks[i] : kOrdinaryPlaceRank));
  }
  const auto order = SortForPlaceFile(places, prominence);
  const std::string data = EncodePlaceFile(places);
  WriteFileAtomically(folder / (code + ".dao"), compress ? CompressSzdd(data, 'o') : data);
  WriteFileAtomically(folder / (code + ".IDX"), EncodePlaceIndex(places));
  // Record numbers are 16-bit; readers see no further records.
  const std::size_t records = std::min(places.size(), kMaxPlaceRecords);
  if (!extras.place_zones.empty()) {
    std::vector<std::uint16_t> zones(records, kNoPlaceZone);
    std::vector<PlaceNearZone> near;
    for (std::size_t r = 0; r < records; ++r) {
      if (order[r] < extras.place_zones.size()) zones[r] = extras.place_zones[order[r]];
      if (order[r] >= extras.near_zones.size()) continue;
      for (PlaceNearZone n : extras.near_zones[order[r]]) {
        n.record = static_cast<std::int32_t>(r + 1);
        near.push_back(n);
      }
    }
    const std::string bytes = EncodePlaceZones(zones, extras.timetable_zones, std::move(near));
    WriteFileAtomically(folder / (code + ".TZP"), compress ? CompressSzdd(bytes, 'P') : bytes);
  }
  if (extras.name_keys.empty()) return 0;
  std::vector<NameIndexEntry> entries;
  for (std::size_t r = 0; r < records; ++r) {
    const std::size_t at = order[r];
    if (at >= extras.name_keys.size()) continue;
    const std::uint32_t population = at < populations.size() ? populations[at] : 0;
    const std::uint8_t rank = at < extras.ranks.size() ? extras.ranks[at] : kOrdinaryPlaceRank;
    const auto own = NameKeysOf(places[r].TrimmedName());
    for (const auto& key : extras.name_keys[at]) {
      const bool own_name = std::find(own.begin(), own.end(), key) != own.end();
      entries.push_back({key, static_cast<std::int32_t>(r + 1), population, rank, own_name});
    }
  }
  const std::size_t count = entries.size();
  const std::string index = EncodeNameIndex(std::move(entries), static_cast<std::int32_t>(records));
  // SZDD keeps the last character of the file name apart, as for ".dao".
  WriteFileAtomically(folder / (code + ".NDX"), compress ? CompressSzdd(index, 'X') : index);
  return count;
}

}  // namespace tarv
