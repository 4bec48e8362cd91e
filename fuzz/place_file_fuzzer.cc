// A country's place file and first-letter index from arbitrary bytes, read
// whole and searched with texts taken from the input, alone and as part of
// its continent, with or without a user file beside it.
//
// Input parts (see fuzz_support.h): options (byte 0, bit 0: compress the
// place bytes before writing them, as the atlas has them; bit 1: write the user file pair), place
// bytes ("D.dao"), index bytes ("D.IDX"), search texts one a line, user
// place bytes and user index bytes ("USER\D.dao", "USER\D.IDX").
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "atlas/name_match.h"
#include "atlas/place_file.h"
#include "atlas/place_image.h"
#include "atlas/place_list.h"
#include "atlas/place_search.h"
#include "fuzz_support.h"
#include "text/lz.h"
#include "text/lz_native.h"
#include "util/text.h"

namespace {

using namespace tarv;

// What a reader should see in one file: its record count and its places.
struct Expected {
  std::int32_t error = 0;
  std::int32_t records = 0;
  std::int32_t places = 0;
};

// A file that breaks the format (cut in a record, a place off the globe or
// on a timetable its country lacks) is read as LZERROR_BADVALUE.
Expected ExpectedOf(const std::string& expanded, std::int32_t error) {
  Expected e;
  e.error = error != 0 || PlaceFileProblem(expanded, "D.dao").empty() ? error : LZERROR_BADVALUE;
  if (e.error != 0) return e;
  e.records = static_cast<std::int32_t>(
      std::min(expanded.size() / kPlaceRecordSize, std::size_t{kMaxPlaceRecords}));
  for (std::int32_t r = 0; r < e.records; ++r) {
    if (expanded[static_cast<std::size_t>(r) * kPlaceRecordSize] != kDeletedMark) ++e.places;
  }
  return e;
}

class ItemList : public PlaceListControl {
 public:
  void Clear() override { items_.clear(); }
  void AddItem(const std::string& item) override { items_.push_back(item); }
  std::int32_t NewIndex() const override { return static_cast<std::int32_t>(items_.size()) - 1; }
  void ItemData(std::int32_t index, std::int32_t) override {
    FUZZ_CHECK(index >= 0 && static_cast<std::size_t>(index) < items_.size());
  }
  std::size_t size() const { return items_.size(); }

 private:
  std::vector<std::string> items_;
};

void CheckFound(const PlaceList& list, std::int32_t found, const Expected& user,
                const Expected& database) {
  if (found < 0) return;
  FUZZ_CHECK(static_cast<std::size_t>(found) == list.size());
  FUZZ_CHECK(list.refs.size() == list.places.size());
  for (std::size_t i = 0; i < list.size(); ++i) {
    const std::int16_t number = list.refs[i].RecordNo;
    FUZZ_CHECK(number != 0);
    FUZZ_CHECK(number < 0 ? -number <= user.records : number <= database.records);
    FUZZ_CHECK(!list.places[i].IsDeleted());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto parts =
      fuzz::SplitParts(std::string_view(reinterpret_cast<const char*>(data), size), 6);
  const std::uint8_t options = parts[0].empty() ? 0 : static_cast<std::uint8_t>(parts[0][0]);
  const bool compress = (options & 1) != 0;
  const bool with_user = (options & 2) != 0;

  fuzz::PrepareAtlas(false);
  fuzz::Scratch().Write("D.IDX", parts[2]);
  if (with_user) {
    fuzz::Scratch().Write("USER/D.dao", parts[4]);
    fuzz::Scratch().Write("USER/D.IDX", parts[5]);
  }
  // The atlas's own file must be compressed, and whole: plain bytes, or
  // data past the length field, are damage.
  const std::string written = compress ? CompressSzdd(parts[1], 'o') : std::string(parts[1]);
  fuzz::Scratch().Write("D.dao", written);
  std::int32_t error = 0;
  std::string expanded = ExpandSzdd(written, error);
  if (error == 0 && (!StartsWithSzddMagic(written) || OverrunsLength(written))) {
    error = LZERROR_READ;
  }
  const Expected database = ExpectedOf(expanded, error);
  Expected user;
  if (with_user) {
    expanded = ExpandSzdd(parts[4], error);
    user = ExpectedOf(expanded, error);
  }

  // Every place but the deleted ones, user places first.
  const std::string file = GetCompressedPlaceFile("D");
  PlaceList all;
  const std::int32_t count = Read_Cp_ORTE(file, all);
  if (user.error != 0 || database.error != 0) {
    FUZZ_CHECK(count == (user.error != 0 ? user.error : database.error));
  } else {
    FUZZ_CHECK(count == user.places + database.places);
    CheckFound(all, count, user, database);
    for (std::size_t i = 1; i < all.size(); ++i)
      FUZZ_CHECK(all.refs[i - 1].RecordNo < 0 || all.refs[i].RecordNo > 0);
  }

  // Each text is searched alone and, on alternate lines, in the continent.
  const auto searches = fuzz::Lines(parts[3]);
  for (std::size_t s = 0; s < searches.size() && s < 4; ++s) {
    const std::string search(searches[s]);
    const bool odd = (s & 1) != 0;
    // Texts the reader takes as they stand: trimmed, no trailing full stop.
    const bool plain = !search.empty() && search == Trim(search) && search.back() != '.';
    for (const std::int16_t mode : {std::int16_t{0}, std::int16_t{1}}) {
      PlaceList list;
      const std::int32_t found = Read_Cp_Indexed_City(file, search, list, mode);
      CheckFound(list, found, user, database);
      if (found > 0 && plain) {
        const NameTest test(search, mode != 0);
        for (const auto& place : list.places)
          FUZZ_CHECK(test.Matches(place));
      }
      if (odd != (mode == 0)) continue;
      PlaceList group;
      const std::int32_t in_group =
          Read_Cp_Indexed_City(GetCompressedPlaceFile("EUROPA"), search, group, mode);
      if (in_group >= 0 && found >= 0) FUZZ_CHECK(in_group == found);
      for (const auto& ref : group.refs)
        FUZZ_CHECK(ref.Country == "D");
    }
    const std::int32_t stored = SearchandStorePlaces("D", search);
    FUZZ_CHECK(stored >= 0 && static_cast<std::size_t>(stored) == FoundPlaces().size());
    PlaceRecord place;
    Get_City_Data(odd ? Get_UserFile(file) : file, search, place);
    ItemList items;
    std::string text = search;
    const std::int32_t listed = Fill_SuchOrtListe("D", text, items, odd);
    FUZZ_CHECK(listed >= 0 && static_cast<std::size_t>(listed) == items.size());
  }
  return 0;
}
