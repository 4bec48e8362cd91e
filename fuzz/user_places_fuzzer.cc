// The user's own places: arbitrary names added to and deleted from the user
// files of a temporary atlas, and the files checked after every call.
//
// Input: a sequence of calls, each an operation byte (bits 0-1: Germany,
// Austria, California, or a country that does not exist; bit 2: delete
// instead of add), a length byte (taken modulo 48) and that many name bytes.
#include <cstdint>
#include <string>
#include <string_view>

#include "atlas/place_file.h"
#include "atlas/user_places.h"
#include "fuzz_support.h"
#include "text/bytes.h"

namespace {

using namespace tarv;

constexpr std::int32_t kCountryIds[] = {58, 11, 200, 999};
constexpr const char* kCodes[] = {"D", "A", "USCA", ""};

// The user file and its index are whole records and entries; after an add
// the records are in byte order and the index points into them in order.
void CheckUserFiles(const std::string& code, bool added) {
  if (code.empty()) return;
  const std::string data = fuzz::Scratch().Read("USER/" + code + ".dao");
  const std::string index = fuzz::Scratch().Read("USER/" + code + ".IDX");
  FUZZ_CHECK(data.size() % kPlaceRecordSize == 0);
  FUZZ_CHECK(index.size() % kIndexEntrySize == 0);
  const std::size_t records = data.size() / kPlaceRecordSize;
  if (!added) return;
  for (std::size_t r = 1; r < records; ++r) {
    FUZZ_CHECK(data.compare((r - 1) * kPlaceRecordSize, kPlaceRecordSize, data,
                            r * kPlaceRecordSize, kPlaceRecordSize) <= 0);
  }
  std::int32_t previous = 0;
  for (std::size_t at = 0; at < index.size(); at += kIndexEntrySize) {
    const std::int32_t first = DecodeInt32(index, at + 1);
    FUZZ_CHECK(first > previous && static_cast<std::size_t>(first) <= records);
    previous = first;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::PrepareAtlas(false);
  std::size_t at = 0;
  for (int call = 1; at + 2 <= size && call <= 24; ++call) {
    const std::uint8_t op = data[at];
    const std::size_t length = std::min<std::size_t>(data[at + 1] % 48, size - at - 2);
    const std::string_view name(reinterpret_cast<const char*>(data) + at + 2, length);
    at += 2 + length;

    UserPlace place;
    place.CountryId = kCountryIds[op & 3];
    place.Place.SetName(name);
    place.Place.Timetable = static_cast<std::int16_t>(call % 2);  // one every country offers
    place.Place.Longitude = static_cast<float>(call);
    place.Place.Latitude = -static_cast<float>(call);
    const std::string code = kCodes[op & 3];
    const std::string before = code.empty() ? "" : fuzz::Scratch().Read("USER/" + code + ".dao");

    if ((op & 4) != 0) {
      FUZZ_CHECK(Delete_City(place) == -1);
      const std::string after = code.empty() ? "" : fuzz::Scratch().Read("USER/" + code + ".dao");
      FUZZ_CHECK(after.size() == before.size());
      CheckUserFiles(code, false);
      continue;
    }
    std::int32_t record_no = 0;
    const std::int16_t result = AddCity(place, record_no);
    FUZZ_CHECK(result == 0 || result == -1);
    if (code.empty()) {
      FUZZ_CHECK(result == 0);
      continue;
    }
    const std::string after = fuzz::Scratch().Read("USER/" + code + ".dao");
    const bool added = after != before;
    CheckUserFiles(code, added);
    if (!added) continue;
    // The new record is where its number says, and holds what was given;
    // the deleted records went with the rewrite.
    std::size_t deleted = 0;
    for (std::size_t r = 0; r < before.size(); r += kPlaceRecordSize)
      deleted += before[r] == kDeletedMark ? 1 : 0;
    FUZZ_CHECK(result == -1 &&
               after.size() == before.size() + kPlaceRecordSize - deleted * kPlaceRecordSize);
    FUZZ_CHECK(record_no < 0 &&
               static_cast<std::size_t>(-record_no) * kPlaceRecordSize <= after.size());
    const std::string stored =
        after.substr(static_cast<std::size_t>(-record_no - 1) * kPlaceRecordSize, kPlaceRecordSize);
    FUZZ_CHECK(stored.substr(kPlaceNameWidth) ==
               EncodePlaceRecord(place.Place).substr(kPlaceNameWidth));
  }

  // Every place added and not deleted is read back, user places only.
  for (const char* code : {"D", "A", "USCA"}) {
    const std::string bytes = fuzz::Scratch().Read(std::string("USER/") + code + ".dao");
    std::int32_t live = 0;
    for (std::size_t r = 0; r < bytes.size(); r += kPlaceRecordSize)
      live += bytes[r] != kDeletedMark ? 1 : 0;
    PlaceList list;
    FUZZ_CHECK(Read_Cp_ORTE(GetCompressedPlaceFile(code), list) == live);
  }
  return 0;
}
