#include "atlas/place_file.h"

#include <algorithm>
#include <array>
#include <bit>
#include <map>
#include <memory>
#include <mutex>

#include "atlas/atlas_fault.h"
#include "atlas/atlas_state.h"
#include "atlas/country_table.h"
#include "atlas/place_search.h"
#include "text/codepage.h"
#include "platform/file_status.h"
#include "text/lz.h"
#include "platform/per_thread.h"
#include "text/bytes.h"
#include "util/file_tests.h"
#include "util/text.h"

namespace tarv {
namespace {

constexpr std::size_t kTimetableAt = 28;
constexpr std::size_t kLongitudeAt = kPlaceLongitudeAt;
constexpr std::size_t kLatitudeAt = kPlaceLatitudeAt;
constexpr auto kRecordSize = static_cast<std::int32_t>(kPlaceRecordSize);
constexpr auto kMaxRecords = static_cast<std::int32_t>(kMaxPlaceRecords);

// A code that could leave the place folder, or whose control characters (a
// NUL above all) would cut its path short on the way to the system, is no
// country at all.
bool IsSafeCode(std::string_view code) {
  return code.find_first_of("\\/:") == std::string_view::npos &&
         code.find("..") == std::string_view::npos && !HasControlCharacter(code);
}

// Country codes are ASCII in practice; the conversion keeps a path in one
// encoding if one is not.
std::string PathPart(std::string_view ansi) {
  return Utf8FromAnsi(ansi);
}

std::string RemoveTrailingStops(std::string text) {
  while (!text.empty() && text.back() == '.')
    text.pop_back();
  // Names written with this abbreviation keep its closing full stop.
  if (text.size() >= 4 && TextEqual(std::string_view(text).substr(text.size() - 4), " G.C")) {
    text += '.';
  }
  return text;
}

std::int32_t NoteReadFault(std::int32_t code, const std::string& file) {
  NoteAtlasFault(file, code, "Read_Cp_Orte");
  return code;
}

// The ranges of records to read for `letter`: for every index entry whose
// character folds to it, the start of its run and the start of the next run
// (or the record count after the last run); 1 to 1 when the letter has no
// run. Database indexes hold one run per letter; a user index keeps each
// name's own first character ("Ö" beside "O", "o" apart from "O" in byte
// order), so a letter may have several runs there. Entries cut short by the
// end of the file do not count. An index that cannot be read sets `error`.
std::vector<std::pair<std::int32_t, std::int32_t>> LetterRuns(const std::string& index_file,
                                                              char letter,
                                                              std::int32_t record_count,
                                                              std::int32_t& error) {
  std::vector<std::pair<std::int32_t, std::int32_t>> runs;
  const auto image = ExistingImage(index_file, error);
  if (error != 0) return runs;
  if (image) {
    const std::string_view index = *image;
    const std::size_t whole = index.size() / kIndexEntrySize * kIndexEntrySize;
    for (std::size_t at = 0; at < whole; at += kIndexEntrySize) {
      if (IndexLetter(index.substr(at, 1)) != AnsiUpper(letter)) continue;
      const std::size_t next = at + kIndexEntrySize;
      runs.emplace_back(DecodeInt32(index, at + 1), next + kIndexEntrySize <= index.size()
                                                        ? DecodeInt32(index, next + 1)
                                                        : record_count);
    }
  }
  if (runs.empty()) runs.emplace_back(1, 1);
  return runs;
}

// Records chained by a key: the records of one key in record order, found
// through an open-addressing table over the keys (at least half empty).
class KeyChains {
 public:
  // `keys` holds the key of record i at [ends[i-1], ends[i]); both must
  // outlive the chains.
  void Build(const std::string& keys, const std::vector<std::uint32_t>& ends) {
    keys_ = &keys;
    ends_ = &ends;
    const std::size_t count = ends.size();
    next_.assign(count, -1);
    std::vector<std::int32_t> tail(count, -1);
    slots_.assign(std::bit_ceil(std::max<std::size_t>(count * 2, 2)), -1);
    for (std::size_t i = 0; i < count; ++i) {
      auto& slot = slots_[SlotOf(Key(i))];
      if (slot < 0) {
        slot = static_cast<std::int32_t>(i);
        tail[i] = static_cast<std::int32_t>(i);
      } else {
        const auto head = static_cast<std::size_t>(slot);
        next_[static_cast<std::size_t>(tail[head])] = static_cast<std::int32_t>(i);
        tail[head] = static_cast<std::int32_t>(i);
      }
    }
  }

  // Calls `visit` with the position of each record whose key is `key`, in order.
  template <typename Visit>
  void ForEach(std::string_view key, Visit visit) const {
    for (auto i = slots_[SlotOf(key)]; i >= 0; i = next_[static_cast<std::size_t>(i)])
      visit(i);
  }

 private:
  std::string_view Key(std::size_t i) const {
    const std::uint32_t begin = i == 0 ? 0 : (*ends_)[i - 1];
    return std::string_view(*keys_).substr(begin, (*ends_)[i] - begin);
  }
  std::size_t SlotOf(std::string_view key) const {
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t at = std::hash<std::string_view>()(key) & mask;; at = (at + 1) & mask) {
      const std::int32_t slot = slots_[at];
      if (slot < 0 || Key(static_cast<std::size_t>(slot)) == key) return at;
    }
  }

  const std::string* keys_ = nullptr;
  const std::vector<std::uint32_t>* ends_ = nullptr;
  std::vector<std::int32_t> slots_;
  std::vector<std::int32_t> next_;  // the next record of the same key, or -1
};

// What searches derive from the names of one run of records (the records an
// index letter points to): the letters-only form of every name, the records
// grouped by that form folded to capitals, which is exactly what a
// whole-name search compares, and grouped by that form with the accent
// classes folded too, which is what a pattern search without wildcards
// compares. Built on the run's first search, so that a first lookup pays for
// its run only.
class RunIndex {
 public:
  RunIndex(std::string_view bytes, std::int32_t first, std::int32_t last) : first_(first) {
    const auto count = static_cast<std::size_t>(last - first + 1);
    ends_.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
      const auto record = static_cast<std::size_t>(first) + i;
      AppendCleanString(bytes.substr((record - 1) * kPlaceRecordSize, kPlaceNameWidth), letters_);
      for (std::size_t k = capitals_.size(); k < letters_.size(); ++k) {
        capitals_ += AnsiUpper(letters_[k]);
        classes_ += FoldAccentClass(letters_[k]);
      }
      ends_.push_back(static_cast<std::uint32_t>(letters_.size()));
    }
    by_capitals_.Build(capitals_, ends_);
    by_classes_.Build(classes_, ends_);
  }
  RunIndex(const RunIndex&) = delete;
  RunIndex& operator=(const RunIndex&) = delete;

  // The letters-only form of a record of the run (1-based record number).
  std::string_view Letters(std::int32_t record) const {
    const auto i = static_cast<std::size_t>(record - first_);
    const std::uint32_t begin = i == 0 ? 0 : ends_[i - 1];
    return std::string_view(letters_).substr(begin, ends_[i] - begin);
  }

  // Calls `visit` with each record whose letters in capitals are `key`, in order.
  template <typename Visit>
  void ForEachNamed(std::string_view key, Visit visit) const {
    by_capitals_.ForEach(key, [&](std::int32_t i) { visit(first_ + i); });
  }
  // Calls `visit` with each record whose letters folded by accent class are
  // `key`, in order.
  template <typename Visit>
  void ForEachClassFolded(std::string_view key, Visit visit) const {
    by_classes_.ForEach(key, [&](std::int32_t i) { visit(first_ + i); });
  }

 private:
  std::int32_t first_;
  std::string letters_;
  std::string capitals_;             // letters_ in capitals
  std::string classes_;              // letters_ folded by accent class
  std::vector<std::uint32_t> ends_;  // where each record's form ends in all three
  KeyChains by_capitals_;
  KeyChains by_classes_;
};

// A place file's expanded bytes with the run indexes its searches built.
class PlaceImage {
 public:
  explicit PlaceImage(std::shared_ptr<const std::string> bytes) : bytes_(std::move(bytes)) {}

  const std::shared_ptr<const std::string>& bytes() const { return bytes_; }
  std::int32_t RecordCount() const {
    return std::min(static_cast<std::int32_t>(bytes_->size() / kPlaceRecordSize), kMaxRecords);
  }
  std::string_view NameField(std::int32_t record) const {
    return std::string_view(*bytes_).substr((record - 1) * kPlaceRecordSize, kPlaceNameWidth);
  }
  // The index of records `first` to `last` (1-based, within the file).
  std::shared_ptr<const RunIndex> Run(std::int32_t first, std::int32_t last) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (runs_.size() >= kMaxRuns) runs_.clear();  // only an index rewritten often gets here
    auto& run = runs_[{first, last}];
    if (!run) run = std::make_shared<const RunIndex>(*bytes_, first, last);
    return run;
  }

 private:
  static constexpr std::size_t kMaxRuns = 64;
  std::shared_ptr<const std::string> bytes_;
  mutable std::mutex mutex_;
  mutable std::map<std::pair<std::int32_t, std::int32_t>, std::shared_ptr<const RunIndex>> runs_;
};

std::string FoldedLetters(std::string_view text) {
  return UCase(GetCleanString(text));
}

// Derived data per expanded image, dropped with the image.
class PlaceImages {
 public:
  // nullptr with `error` 0 for a file that does not exist.
  std::shared_ptr<const PlaceImage> Get(const std::string& file, std::int32_t& error) {
    auto bytes = ExistingImage(file, error);
    if (!bytes) return nullptr;
    const std::lock_guard<std::mutex> lock(mutex_);
    auto& slot = images_[file];
    if (slot && slot->bytes() == bytes) return slot;
    if (images_.size() > kMaxFiles) {
      images_.clear();
      return images_[file] = std::make_shared<const PlaceImage>(std::move(bytes));
    }
    slot = std::make_shared<const PlaceImage>(std::move(bytes));
    return slot;
  }
  void Clear() {
    const std::lock_guard<std::mutex> lock(mutex_);
    images_.clear();
  }

 private:
  static constexpr std::size_t kMaxFiles = 512;
  std::mutex mutex_;
  std::map<std::string, std::shared_ptr<const PlaceImage>> images_;
};

PlaceImages& Images() {
  return CurrentAtlas().Derived<PlaceImages>();
}

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
  place.Longitude = DecodeFloat32(bytes, kLongitudeAt);
  place.Latitude = DecodeFloat32(bytes, kLatitudeAt);
  return place;
}

std::string EncodePlaceRecord(const PlaceRecord& place) {
  std::string bytes(place.NameField());
  AppendInt16(bytes, place.Timetable);
  AppendFloat32(bytes, place.Longitude);
  AppendFloat32(bytes, place.Latitude);
  return bytes;
}

std::string IndexPathOf(const std::string& place_file) {
  const auto dot = place_file.rfind('.');
  return (dot == std::string::npos ? place_file + "." : place_file.substr(0, dot + 1)) + "IDX";
}

namespace {

std::string PlaceFileOf(std::string_view code) {
  std::string abbreviation = Trim(GetInternalCountryAbbreviation(code));
  if (!IsSafeCode(abbreviation)) abbreviation.clear();
  const std::string folder = AtlasFolder("");
  if (abbreviation.empty()) return folder;
  if (IsGroupCode(abbreviation)) return folder + PathPart(abbreviation);
  return folder + PathPart(abbreviation) + ".dao";
}

}  // namespace

std::string GetCompressedPlaceFile(std::string_view code) {
  // Hosts ask for one country many times over.
  struct Last {
    std::string code, folder, file;
  };
  Last& last = PerThread<Last>();
  if (code == last.code && CurrentAtlas().places_path == last.folder && !last.file.empty()) {
    return last.file;
  }
  last.code.assign(code);
  last.folder = CurrentAtlas().places_path;
  last.file = PlaceFileOf(code);
  return last.file;
}

std::string Get_UserFile(const std::string& place_file) {
  const auto cut = place_file.rfind('\\');
  if (cut == std::string::npos) return "USER\\" + place_file;
  return place_file.substr(0, cut + 1) + "USER\\" + place_file.substr(cut + 1);
}

std::size_t Get_CompressedFiles(std::string_view name, std::vector<std::string>& files,
                                std::vector<PlaceRef>& refs) {
  files.clear();
  refs.clear();
  InitializeCountries("", "Country.dat", false, false);
  if (!CurrentAtlas().countries_loaded) return 0;
  const std::string folder = AtlasFolder("");
  // A group's place file has the group's name: in English "ASIA.dao", whose
  // extension would hide the four letters of "ASIA" from the continent test.
  const std::int16_t continent = GetContinentID(Get_Prae(name));
  if (continent == 0) {
    const std::string code = Get_Prae(name);
    if (code.empty() || !IsSafeCode(name)) return 0;
    files = {folder + "USER\\" + PathPart(code) + ".dao", folder + PathPart(code) + ".dao"};
    refs = {PlaceRef{code, 0}, PlaceRef{code, 0}};
    return files.size();
  }
  const auto& table = CurrentAtlas().countries;
  for (std::size_t i = 1; i + kNonCountryTail < table.size(); ++i) {
    const auto& country = table[i];
    if (country.ContinentID != continent || !IsSafeCode(country.CountryShort)) continue;
    const std::string code = Trim(country.CountryShort);
    files.push_back(folder + PathPart(code) + ".dao");
    files.push_back(folder + "USER\\" + PathPart(code) + ".dao");
    refs.push_back(PlaceRef{code, 0});
    refs.push_back(PlaceRef{code, 0});
  }
  return files.size();
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

std::int32_t Read_Cp_ORTE(const std::string& place_file, PlaceList& result) {
  result = PlaceList{};
  for (const bool user : {true, false}) {
    const std::string file = user ? Get_UserFile(place_file) : place_file;
    if (!Exist(file)) continue;
    const LzFile lz(file);
    if (lz.get() < 0) return NoteReadFault(lz.get(), file);
    const std::int32_t length = LZSeek(lz.get(), 0, kLzSeekEnd);
    if (length < 0) return NoteReadFault(length, file);
    // Its last byte first: data that ends early is damage also where it ends
    // after the last record this reads (past record 32767, or in a partial
    // record), and no place of a damaged file is read.
    if (length > 0) {
      char last = 0;
      LZSeek(lz.get(), length - 1, kLzSeekSet);
      if (const std::int32_t read = LZRead(lz.get(), &last, 1); read < 0) {
        return NoteReadFault(read, file);
      }
    }
    if (const std::int32_t start = LZSeek(lz.get(), 0, kLzSeekSet); start < 0) {
      return NoteReadFault(start, file);
    }
    const std::int32_t records = std::min(length / kRecordSize, kMaxRecords);
    for (std::int32_t i = 1; i <= records; ++i) {
      PlaceRecord place;
      const std::int32_t read = ReadPlaceStructure(lz.get(), place);
      if (read < 0) return NoteReadFault(read, file);
      if (read == 0) break;
      if (place.IsDeleted()) continue;
      result.Add(place, PlaceRef{"", static_cast<std::int16_t>(user ? -i : i)});
    }
  }
  return static_cast<std::int32_t>(result.size());
}

namespace {

// What searches need of the files behind one place file: each file with its
// image and, per index letter, its runs. Found once per version of the
// files (a call number of the file statuses) and of the country table, so
// that a warm search goes straight to the runs it reads.
struct SearchFile {
  std::string path;
  PlaceRef ref;
  bool user = false;
  std::shared_ptr<const PlaceImage> image;  // null for a file that does not exist
  std::vector<std::pair<char, std::vector<std::pair<std::int32_t, std::int32_t>>>> runs;
};

struct SearchFiles {
  std::string place_file;
  std::uint64_t call = 0;
  std::uint64_t tables = 0;
  std::vector<SearchFile> files;
};

// Holds the file sets of the last few place files asked for; a call number of
// 0 (outside any call) keeps nothing.
class SearchFileSets {
 public:
  SearchFiles* Find(const std::string& place_file) {
    const std::uint64_t call = CallNumber();
    if (call == 0) return nullptr;
    for (auto& set : sets_) {
      if (set.call == call && set.tables == CurrentAtlas().tables_version &&
          set.place_file == place_file) {
        return &set;
      }
    }
    return nullptr;
  }

  // A set to fill for `place_file`: the oldest one, emptied.
  SearchFiles& Fresh(const std::string& place_file) {
    SearchFiles& set = sets_[next_++ % sets_.size()];
    set.place_file = place_file;
    set.call = CallNumber();
    set.tables = CurrentAtlas().tables_version;
    set.files.clear();
    return set;
  }

 private:
  std::array<SearchFiles, 8> sets_;
  std::size_t next_ = 0;
};

// The files of `place_file` with their images; an error of reading one is
// noted as the call's fault and returned.
std::int32_t FilesOf(const std::string& place_file, SearchFiles*& out) {
  SearchFileSets& sets = PerThread<SearchFileSets>();
  out = sets.Find(place_file);
  if (out != nullptr) return 0;
  std::vector<std::string> paths;
  std::vector<PlaceRef> refs;
  Get_CompressedFiles(Get_PraePost(place_file), paths, refs);
  std::vector<SearchFile> files(paths.size());
  for (std::size_t f = 0; f < paths.size(); ++f) {
    auto& file = files[f];
    std::int32_t error = 0;
    file.image = Images().Get(paths[f], error);
    if (error != 0) {
      NoteAtlasFault(paths[f], error);
      return error;
    }
    file.user = TextContains(paths[f], "\\USER\\");
    file.path = std::move(paths[f]);
    file.ref = std::move(refs[f]);
  }
  // Outside a call the set is only borrowed for this search.
  out = CallNumber() == 0 ? &PerThread<SearchFiles>() : &sets.Fresh(place_file);
  out->files = std::move(files);
  return 0;
}

// The runs of `letter` in the file's index, found once per set.
std::int32_t RunsOf(SearchFile& file, char letter,
                    const std::vector<std::pair<std::int32_t, std::int32_t>>*& out) {
  for (const auto& [l, runs] : file.runs) {
    if (l == letter) {
      out = &runs;
      return 0;
    }
  }
  std::int32_t error = 0;
  const std::string index_file = IndexPathOf(file.path);
  auto runs = LetterRuns(index_file, letter, file.image->RecordCount(), error);
  if (error != 0) {
    NoteAtlasFault(index_file, error);
    return error;
  }
  file.runs.emplace_back(letter, std::move(runs));
  out = &file.runs.back().second;
  return 0;
}

}  // namespace

std::int32_t Read_Cp_Indexed_City(const std::string& place_file, std::string search,
                                  PlaceList& result, std::int16_t pattern_mode) {
  search = RemoveTrailingStops(Trim(search));
  const NameTest test(search, pattern_mode != 0);
  if (test.FindsNothing()) return 0;

  SearchFiles* set = nullptr;
  if (const std::int32_t error = FilesOf(place_file, set); error != 0) return error;
  const char letter = IndexLetter(test.LetterText());
  const std::string key = test.mode() == 0 ? FoldedLetters(test.LetterText()) : std::string();
  std::int32_t found = 0;
  for (auto& file : set->files) {
    if (!file.image) continue;  // a missing file has no places
    const PlaceImage& image = *file.image;
    const std::int32_t record_count = image.RecordCount();
    const std::vector<std::pair<std::int32_t, std::int32_t>>* runs = nullptr;
    if (const std::int32_t error = RunsOf(file, letter, runs); error != 0) return error;
    // Runs of one letter may touch (one ends with the first record of the
    // next): a record already read for an earlier run is not added again.
    std::size_t done = 0;
    auto read_before = [&](std::int32_t record) {
      for (std::size_t r = 0; r < done; ++r) {
        const auto [start, end] = (*runs)[r];
        if (start >= 1 && record >= start && record <= std::min(end, record_count)) {
          return true;
        }
      }
      return false;
    };
    auto add = [&](std::int32_t record) {
      if (image.NameField(record)[0] == kDeletedMark || read_before(record)) return;
      PlaceRef ref = file.ref;
      ref.RecordNo = static_cast<std::int16_t>(file.user ? -record : record);
      result.Add(DecodePlaceRecord(std::string_view(*image.bytes())
                                       .substr((record - 1) * kPlaceRecordSize, kPlaceRecordSize)),
                 std::move(ref));
      ++found;
    };
    for (; done < runs->size(); ++done) {
      const std::int32_t start = (*runs)[done].first;
      const std::int32_t end = std::min((*runs)[done].second, record_count);
      // An entry that points nowhere or backwards is read as no run.
      if (start < 1 || start > record_count || end < start) continue;
      if (test.mode() == 2) {
        for (std::int32_t record = start; record <= end; ++record) {
          if (test.MatchesField(image.NameField(record))) add(record);
        }
      } else if (test.mode() == 0) {
        // A whole-name match is a match of the letters-only forms.
        image.Run(start, end)->ForEachNamed(key, add);
      } else if (const auto& folded = test.ClassFoldedKey()) {
        // Without wildcards a pattern matches exactly the names of its key.
        image.Run(start, end)->ForEachClassFolded(*folded, add);
      } else {
        const auto run = image.Run(start, end);
        for (std::int32_t record = start; record <= end; ++record) {
          if (test.MatchesLetters(run->Letters(record))) add(record);
        }
      }
    }
  }
  return found;
}

namespace {

// The first place of `found` from the user file (`user`) or the database
// file whose trimmed name equals `trimmed` without regard to case.
bool PickCity(const PlaceList& found, bool user, const std::string& trimmed, PlaceRecord& place,
              PlaceRef* ref = nullptr) {
  for (std::size_t i = 0; i < found.size(); ++i) {
    if ((found.refs[i].RecordNo < 0) != user) continue;
    if (!TextEqual(found.places[i].TrimmedName(), trimmed)) continue;
    place = found.places[i];
    place.SetName(found.places[i].TrimmedName());
    if (ref != nullptr) *ref = found.refs[i];
    return true;
  }
  return false;
}

}  // namespace

bool Get_City_Data(const std::string& place_file, std::string_view name, PlaceRecord& place) {
  const std::string wanted = RemoveTrailingStops(std::string(name));
  PlaceList found;
  Read_Cp_Indexed_City(place_file, wanted, found, 0);
  if (!wanted.empty() && wanted.back() == '*') return false;
  return PickCity(found, TextContains(place_file, "\\USER\\"), Trim(wanted), place);
}

bool Get_City_Data_UserFirst(const std::string& place_file, std::string_view name,
                             PlaceRecord& place, PlaceRef* ref) {
  // Both lookups search the same file pair; only the file they take the
  // place from differs.
  const std::string wanted = RemoveTrailingStops(std::string(name));
  PlaceList found;
  Read_Cp_Indexed_City(place_file, wanted, found, 0);
  if (!wanted.empty() && wanted.back() == '*') return false;
  const std::string trimmed = Trim(wanted);
  return PickCity(found, true, trimmed, place, ref) ||
         PickCity(found, TextContains(place_file, "\\USER\\"), trimmed, place, ref);
}

std::string LZERROR_Msg(std::int32_t code, const std::string& file_name) {
  switch (code) {
    case LZERROR_BADINHANDLE:
      return "invalid input handle";
    case LZERROR_BADOUTHANDLE:
      return "invalid output handle";
    case LZERROR_READ:
      return "corrupt compressed file format";
    case LZERROR_WRITE:
      return "out of space for output file";
    case LZERROR_GLOBALLOC:
      return "insufficient memory for LZFile struct";
    case LZERROR_GLOBLOCK:
      return "bad global handle";
    case LZERROR_BADVALUE:
      return "input parameter out of range";
    case LZERROR_UNKNOWNALG:
      return "compression algorithm not recognized";
    default:
      return "Unbekannter Fehler beim Lesen der Datei " + file_name;
  }
}

}  // namespace tarv
