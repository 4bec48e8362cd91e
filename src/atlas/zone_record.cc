#include "atlas/zone_record.h"

#include <cmath>
#include <stdexcept>

#include "text/bytes.h"

namespace tarv {
namespace {

// No zone lies further from UTC (the table's own reach is -12 to +14).
constexpr float kMaxZoneHours = 16.0F;

// Field offsets inside a 67-byte record.
constexpr std::size_t kShortAt = 0;
constexpr std::size_t kNameAt = 12;
constexpr std::size_t kDifAt = 57;
constexpr std::size_t kTypeAt = 61;
constexpr std::size_t kSortAt = 62;
constexpr std::size_t kExtraAt = 64;
constexpr std::size_t kShowAt = 66;

ZoneRecord DecodeRecord(std::string_view r) {
  ZoneRecord z;
  z.TZShort = std::string(r.substr(kShortAt, kZoneShortWidth));
  z.TZName = std::string(r.substr(kNameAt, kZoneNameWidth));
  z.TZDif = DecodeFloat32(r, kDifAt);
  z.TZType = r[kTypeAt];
  z.TZSortIndex = DecodeInt16(r, kSortAt);
  z.TZExtra = DecodeInt16(r, kExtraAt);
  z.TZShow = static_cast<std::uint8_t>(r[kShowAt]);
  return z;
}

std::string FixedWidth(const std::string& text, std::size_t width) {
  std::string field = text.substr(0, width);
  field.resize(width, ' ');
  return field;
}

// A blank entry as the table's resize leaves it: empty texts read as blanks.
ZoneRecord BlankZone() {
  return ZoneRecord{};
}

}  // namespace

std::vector<ZoneRecord> DecodeZoneFile(std::string_view bytes) {
  std::vector<ZoneRecord> records;
  records.reserve(kZoneCount);
  for (std::size_t k = 0; k < kZoneCount; ++k) {
    const std::size_t at = k * kZoneRecordSize;
    records.push_back(at + kZoneRecordSize <= bytes.size()
                          ? DecodeRecord(bytes.substr(at, kZoneRecordSize))
                          : BlankZone());
  }
  return records;
}

std::string ZoneFileProblem(std::string_view bytes) {
  if (bytes.size() != kZoneFileSize) {
    return std::to_string(bytes.size()) + " bytes where a zone file has " +
           std::to_string(kZoneFileSize);
  }
  for (std::size_t k = 0; k < kZoneCount; ++k) {
    const ZoneRecord z = DecodeRecord(bytes.substr(k * kZoneRecordSize, kZoneRecordSize));
    const std::string entry = "entry " + std::to_string(k) + ": ";
    if (!std::isfinite(z.TZDif) || std::fabs(z.TZDif) > kMaxZoneHours) {
      return entry + "offset " + std::to_string(z.TZDif) + " hours";
    }
    if (z.TZType != 'L' && z.TZType != 'N' && z.TZType != 'S' && z.TZType != 'D') {
      return entry + "kind " + std::to_string(static_cast<unsigned char>(z.TZType)) +
             " is none of L, N, S, D";
    }
  }
  return {};
}

std::string EncodeZoneFile(const std::vector<ZoneRecord>& records) {
  if (records.size() != kZoneCount) {
    throw std::invalid_argument("a zone file holds 287 records, not " +
                                std::to_string(records.size()));
  }
  std::string bytes;
  bytes.reserve(kZoneFileSize);
  for (const auto& z : records) {
    bytes += FixedWidth(z.TZShort, kZoneShortWidth);
    bytes += FixedWidth(z.TZName, kZoneNameWidth);
    AppendFloat32(bytes, z.TZDif);
    bytes += z.TZType;
    AppendInt16(bytes, z.TZSortIndex);
    AppendInt16(bytes, z.TZExtra);
    bytes += static_cast<char>(z.TZShow);
  }
  return bytes;
}

}  // namespace tarv
