#include "atlas/place_record.h"

#include <algorithm>

#include "text/bytes.h"
#include "text/lz.h"
#include "util/text.h"

namespace tarv {
namespace {

constexpr std::size_t kTimetableAt = 28;
constexpr auto kRecordSize = static_cast<std::int32_t>(kPlaceRecordSize);

}  // namespace

std::string PlaceRecord::TrimmedName() const {
  return Trim(NameField());
}

void PlaceRecord::SetName(std::string_view name) {
  Name.fill(' ');
  std::copy_n(name.begin(), std::min(name.size(), kPlaceNameWidth), Name.begin());
}

PlaceRecord DecodePlaceRecord(std::string_view bytes) {
  PlaceRecord place;
  std::copy_n(bytes.begin(), kPlaceNameWidth, place.Name.begin());
  place.Timetable = DecodeInt16(bytes, kTimetableAt);
  place.Longitude = DecodeFloat32(bytes, kPlaceLongitudeAt);
  place.Latitude = DecodeFloat32(bytes, kPlaceLatitudeAt);
  return place;
}

std::string EncodePlaceRecord(const PlaceRecord& place) {
  std::string bytes(place.NameField());
  AppendInt16(bytes, place.Timetable);
  AppendFloat32(bytes, place.Longitude);
  AppendFloat32(bytes, place.Latitude);
  return bytes;
}

std::int32_t ReadPlaceStructure(std::int32_t handle, PlaceRecord& place, std::int16_t length) {
  if (length != kRecordSize) return LZERROR_BADVALUE;
  char buffer[kPlaceRecordSize];
  const std::int32_t read = LZRead(handle, buffer, kRecordSize);
  if (read < 0) return read;
  if (read < kRecordSize) return 0;  // a partial record at the end is no record
  place = DecodePlaceRecord(std::string_view(buffer, kPlaceRecordSize));
  return read;
}

}  // namespace tarv
