// Place records: 38 bytes each, the name (Windows-1252, blank-padded to
// 28 bytes), the timetable number and the coordinates, as the place files,
// their user files and the dialogs' lists hold them.
#ifndef TARVPLACES_ATLAS_PLACE_RECORD_H_
#define TARVPLACES_ATLAS_PLACE_RECORD_H_

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarv {

inline constexpr std::size_t kPlaceRecordSize = 38;
inline constexpr std::size_t kPlaceNameWidth = 28;
inline constexpr std::size_t kIndexEntrySize = 5;
inline constexpr std::size_t kPlaceLongitudeAt = 30;
inline constexpr std::size_t kPlaceLatitudeAt = 34;
// Record numbers are 16-bit: records past this one cannot be addressed.
inline constexpr std::size_t kMaxPlaceRecords = 32767;
// The first byte of a deleted record's name.
inline constexpr char kDeletedMark = '@';

// One place: name (Windows-1252, blank-padded to 28 bytes), the number of its
// timetable within its country, and its coordinates in decimal degrees
// (longitude east, latitude north positive).
struct PlaceRecord {
  std::array<char, kPlaceNameWidth> Name;
  std::int16_t Timetable = 0;
  float Longitude = 0.0F;
  float Latitude = 0.0F;

  PlaceRecord() { Name.fill(' '); }

  // The whole 28-byte field, blanks included.
  std::string_view NameField() const { return {Name.data(), Name.size()}; }
  // The name without leading and trailing blanks.
  std::string TrimmedName() const;
  // Stores `name` cut to 28 bytes or padded with blanks.
  void SetName(std::string_view name);
  bool IsDeleted() const { return Name[0] == kDeletedMark; }
};

// Where a place was read from.
struct PlaceRef {
  std::string Country;        // the country code of its file ("" where unknown)
  std::int16_t RecordNo = 0;  // 1-based record number, negative in the user file
};

// A list of places with their origins, in reading order.
struct PlaceList {
  std::vector<PlaceRecord> places;
  std::vector<PlaceRef> refs;

  std::size_t size() const { return places.size(); }
  // Empties the list and keeps its room.
  void clear() {
    places.clear();
    refs.clear();
  }
  void Add(const PlaceRecord& place, PlaceRef ref) {
    places.push_back(place);
    refs.push_back(std::move(ref));
  }
};

// Record codec: name bytes 0-27, timetable (16-bit) at 28, longitude and
// latitude (IEEE single) at 30 and 34, all little-endian. `bytes` must hold
// 38 bytes.
PlaceRecord DecodePlaceRecord(std::string_view bytes);
std::string EncodePlaceRecord(const PlaceRecord& place);

// Reads the next record of an open LZ handle. Returns the bytes read: 38,
// 0 at the end (also for a partial last record), or a negative LZ error
// code. `place` is filled only for a whole record.
std::int32_t ReadPlaceStructure(std::int32_t handle, PlaceRecord& place,
                                std::int16_t length = static_cast<std::int16_t>(kPlaceRecordSize));

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_PLACE_RECORD_H_
