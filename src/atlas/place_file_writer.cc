#include "atlas/place_file_writer.h"

#include <algorithm>

#include "atlas/place_search.h"
#include "export/atomic_file.h"
#include "platform/lz.h"
#include "util/bytes.h"
#include "util/text.h"

namespace tarv {

char RunLetterOf(const PlaceRecord& place) {
  return GetLetter(place.TrimmedName())[0];
}

void SortForPlaceFile(std::vector<PlaceRecord>& places, const std::vector<int>& ranks) {
  struct Keyed {
    char letter;
    int rank;
    std::string folded;
    std::string bytes;
    PlaceRecord place;
  };
  std::vector<Keyed> keyed;
  keyed.reserve(places.size());
  for (std::size_t i = 0; i < places.size(); ++i) {
    std::string name = places[i].TrimmedName();
    keyed.push_back({RunLetterOf(places[i]), i < ranks.size() ? ranks[i] : 0, UCase(name),
                     std::move(name), places[i]});
  }
  std::sort(keyed.begin(), keyed.end(), [](const Keyed& a, const Keyed& b) {
    return std::tie(a.letter, a.rank, a.folded, a.bytes) <
           std::tie(b.letter, b.rank, b.folded, b.bytes);
  });
  for (std::size_t i = 0; i < places.size(); ++i)
    places[i] = keyed[i].place;
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

void WritePlaceFiles(const std::filesystem::path& folder, const std::string& code,
                     std::vector<PlaceRecord> places, bool compress,
                     const std::vector<int>& ranks) {
  SortForPlaceFile(places, ranks);
  const std::string data = EncodePlaceFile(places);
  WriteFileAtomically(folder / (code + ".dao"), compress ? CompressSzdd(data, 'o') : data);
  WriteFileAtomically(folder / (code + ".IDX"), EncodePlaceIndex(places));
}

}  // namespace tarv
