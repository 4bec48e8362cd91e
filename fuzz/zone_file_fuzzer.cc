// "Zones13.bin" from arbitrary bytes: decoded, written back, listed, and
// loaded as the atlas's zone table for the lookups by abbreviation, or
// refused as damaged.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "atlas/atlas_fault.h"
#include "atlas/atlas_state.h"
#include "atlas/zone_record.h"
#include "atlas/zone_table.h"
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tarv;
  const std::string_view input(reinterpret_cast<const char*>(data), size);

  const auto records = DecodeZoneFile(input);
  FUZZ_CHECK(records.size() == kZoneCount);
  for (const auto& zone : records) {
    FUZZ_CHECK(zone.TZShort.size() == kZoneShortWidth && zone.TZName.size() == kZoneNameWidth);
    const std::string line = ZoneLine(zone);
    FUZZ_CHECK(line.starts_with(zone.TZShort + '\t' + zone.TZName + '\t'));
  }
  // Whole records come back byte for byte; the rest of the file is blank.
  const std::string encoded = EncodeZoneFile(records);
  FUZZ_CHECK(encoded.size() == kZoneFileSize);
  const std::size_t whole = std::min(size / kZoneRecordSize * kZoneRecordSize, kZoneFileSize);
  FUZZ_CHECK(encoded.compare(0, whole, input, 0, whole) == 0);
  FUZZ_CHECK(EncodeZoneFile(DecodeZoneFile(encoded)) == encoded);

  fuzz::BeginRun();
  fuzz::Scratch().Empty();
  fuzz::Scratch().Write("Zones13.bin", input);
  CurrentAtlas().places_path = fuzz::Scratch().str();
  const FaultScope call;
  FUZZ_CHECK(!InitializeTimeZones("", "Zones13.bin"));
  // A file that breaks the format is refused, naming itself, and loads nothing.
  const bool sound = ZoneFileProblem(input).empty();
  FUZZ_CHECK(sound == !LastMalformedFile());
  FUZZ_CHECK(CurrentAtlas().zones_loaded == sound);
  if (!sound) return 0;
  FUZZ_CHECK(CurrentAtlas().zones.size() == kZoneCount);
  // A lookup scans the whole table: a few records, some chosen by the input.
  std::vector<std::size_t> chosen = {0, 1, 2, kZoneCount - 3, kZoneCount - 2, kZoneCount - 1};
  for (std::size_t k = 0; k < size && k < 6; ++k)
    chosen.push_back(data[k] % kZoneCount);
  for (const std::size_t i : chosen) {
    const std::int16_t id = GetTimezoneId(records[i].TZShort);
    FUZZ_CHECK(id >= 0 && static_cast<std::size_t>(id) < kZoneCount);
    // Only zone 0 takes the offset it is asked with.
    if (id != 0) FUZZ_CHECK(GetTimeZoneListString(id, 5.5) == ZoneLine(records[id]));
    GetTimezoneId(records[i].TZName);
  }
  const std::string local = GetTimeZoneListString(0, size >= 4 ? records[0].TZDif : 1.0F);
  FUZZ_CHECK(local == ZoneLine(CurrentAtlas().zones[0]));
  FUZZ_CHECK(GetTimeZoneListString(-1).empty());
  FUZZ_CHECK(GetTimeZoneListString(static_cast<std::int16_t>(kZoneCount)).empty());
  return 0;
}
