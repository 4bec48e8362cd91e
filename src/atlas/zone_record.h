// Zone records: the 67-byte entries of "Zones13.bin", 287 of them, and
// their codec.
#ifndef TARVPLACES_ATLAS_ZONE_RECORD_H_
#define TARVPLACES_ATLAS_ZONE_RECORD_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarv {

inline constexpr std::size_t kZoneCount = 287;
inline constexpr std::size_t kZoneRecordSize = 67;
inline constexpr std::size_t kZoneFileSize = kZoneCount * kZoneRecordSize;  // 19,229 bytes
inline constexpr std::size_t kZoneShortWidth = 12;
inline constexpr std::size_t kZoneNameWidth = 45;

struct ZoneRecord {
  std::string TZShort = std::string(kZoneShortWidth, ' ');  // "MET/S       "
  std::string TZName = std::string(kZoneNameWidth, ' ');
  float TZDif = 0.0F;            // hours east of UTC
  char TZType = ' ';             // L local mean time, N standard, S summer, D double summer
  std::int16_t TZSortIndex = 0;  // position in lists ordered by offset
  std::int16_t TZExtra = 0;      // carried through unchanged
  std::uint8_t TZShow = 0;       // carried through unchanged
};

// Decodes the bytes of a zone file: record k from bytes 67k to 67k+66. The
// file is read as one piece, like the table it stores: a shorter file fills
// the records it holds completely and leaves the rest blank (a partial last
// record is blank too); bytes past 19,229 are ignored. Always 287 records.
std::vector<ZoneRecord> DecodeZoneFile(std::string_view bytes);

// What makes the bytes no zone file, "" when they are one: a size other
// than 19,229 bytes, an offset that is not finite or beyond 16 hours, a
// kind other than L, N, S and D. The records name the zones of every
// answer, so the table is not read from such a file.
std::string ZoneFileProblem(std::string_view bytes);

// Encodes 287 records into the 19,229 bytes of a zone file. Texts longer
// than their field are cut, shorter ones blank-padded. Throws
// std::invalid_argument for any other number of records.
std::string EncodeZoneFile(const std::vector<ZoneRecord>& records);

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_ZONE_RECORD_H_
