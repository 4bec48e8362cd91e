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
#include "atlas/name_match.h"
#include "atlas/place_image.h"
#include "platform/file_status.h"
#include "platform/per_thread.h"
#include "text/bytes.h"
#include "text/codepage.h"
#include "text/lz.h"
#include "util/file_tests.h"
#include "util/text.h"

namespace tarv {
namespace {

std::string RemoveTrailingStops(std::string text) {
  while (!text.empty() && text.back() == '.')
    text.pop_back();
  // Names written with this abbreviation keep its closing full stop.
  if (text.size() >= 4 && TextEqual(std::string_view(text).substr(text.size() - 4), " G.C")) {
    text += '.';
  }
  return text;
}

std::string FoldedLetters(std::string_view text) {
  return UCase(GetCleanString(text));
}

std::int32_t NoteReadFault(std::int32_t code, const std::string& file) {
  NoteAtlasFault(file, code, "Read_Cp_Orte");
  return code;
}

// The ranges of records to read for `letter` in the index `index`: for
// every entry whose character folds to it, the start of its run and the
// start of the next run (or the record count after the last run); 1 to 1
// when the letter has no run. Database indexes hold one run per letter; a
// user index keeps each name's own first character ("Ö" beside "O", "o"
// apart from "O" in byte order), so a letter may have several runs there.
std::vector<std::pair<std::int32_t, std::int32_t>> LetterRuns(std::string_view index, char letter,
                                                              std::int32_t record_count) {
  std::vector<std::pair<std::int32_t, std::int32_t>> runs;
  const std::size_t whole = index.size() / kIndexEntrySize * kIndexEntrySize;
  for (std::size_t at = 0; at < whole; at += kIndexEntrySize) {
    if (IndexLetter(index.substr(at, 1)) != AnsiUpper(letter)) continue;
    const std::size_t next = at + kIndexEntrySize;
    runs.emplace_back(DecodeInt32(index, at + 1), next + kIndexEntrySize <= index.size()
                                                      ? DecodeInt32(index, next + 1)
                                                      : record_count);
  }
  if (runs.empty()) runs.emplace_back(1, 1);
  return runs;
}

}  // namespace

std::int32_t Read_Cp_ORTE(const std::string& place_file, PlaceList& result) {
  result = PlaceList{};
  for (const bool user : {true, false}) {
    const std::string file = user ? Get_UserFile(place_file) : place_file;
    // The checked image (once per version of the file): no place of a file
    // that breaks its format is read, and the file is expanded once.
    std::int32_t error = 0;
    const auto image = PlaceImageOf(file, error);
    if (!image) {
      if (error != 0) return NoteReadFault(error, file);
      continue;  // no such file
    }
    const std::string_view bytes = *image->bytes();
    for (std::int32_t i = 1; i <= image->RecordCount(); ++i) {
      const PlaceRecord place =
          DecodePlaceRecord(bytes.substr(static_cast<std::size_t>(i - 1) * kPlaceRecordSize));
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
  bool index_checked = false;               // a database index matches its records
  std::shared_ptr<const PlaceImage> image;  // null for a file that does not exist
  std::vector<std::pair<char, std::vector<std::pair<std::int32_t, std::int32_t>>>> runs;
  // The run indexes this thread asked the image for, kept beside it.
  std::map<std::pair<std::int32_t, std::int32_t>, std::shared_ptr<const RunIndex>> run_indexes;

  const RunIndex& RunIndexOf(std::int32_t first, std::int32_t last) {
    auto& run = run_indexes[{first, last}];
    if (!run) run = WithOwnCount(image->Run(first, last));
    return *run;
  }
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
    file.image = WithOwnCount(PlaceImageOf(paths[f], error));
    if (error != 0) {
      NoteAtlasFault(paths[f], error);
      return error;
    }
    file.user = IsUserFile(paths[f]);
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
  // The runs come from the records themselves. A user index is derived data
  // (a deletion leaves it behind, a kill between the two renames of an
  // addition leaves the old one): it is not read. A database index must say
  // what its records say, or it is damage.
  const std::string& derived = file.image->IndexFor(file.user);
  if (!file.user && !file.index_checked) {
    std::int32_t error = 0;
    const std::string index_file = IndexPathOf(file.path);
    const auto image = ExistingImage(index_file, error);
    if (error != 0) {
      NoteAtlasFault(index_file, error);
      return error;
    }
    if (!image || *image != derived) {
      NoteMalformedFile({index_file, image ? "does not match the records of " + file.path
                                           : "is missing beside " + file.path});
      return LZERROR_BADVALUE;
    }
    file.index_checked = true;
  }
  auto runs = LetterRuns(derived, letter, file.image->RecordCount());
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
        file.RunIndexOf(start, end).ForEachNamed(key, add);
      } else if (const auto& folded = test.ClassFoldedKey()) {
        // Without wildcards a pattern matches exactly the names of its key.
        file.RunIndexOf(start, end).ForEachClassFolded(*folded, add);
      } else {
        const RunIndex& run = file.RunIndexOf(start, end);
        for (std::int32_t record = start; record <= end; ++record) {
          if (test.MatchesLetters(run.Letters(record))) add(record);
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
  return PickCity(found, IsUserFile(place_file), Trim(wanted), place);
}

bool FindPlaceUserFirst(const std::string& place_file, std::string_view name, PlaceRecord& place,
                        PlaceRef* ref) {
  // Both lookups search the same file pair; only the file they take the
  // place from differs.
  const std::string wanted = RemoveTrailingStops(std::string(name));
  PlaceList found;
  Read_Cp_Indexed_City(place_file, wanted, found, 0);
  if (!wanted.empty() && wanted.back() == '*') return false;
  const std::string trimmed = Trim(wanted);
  return PickCity(found, true, trimmed, place, ref) ||
         PickCity(found, IsUserFile(place_file), trimmed, place, ref);
}

}  // namespace tarv
