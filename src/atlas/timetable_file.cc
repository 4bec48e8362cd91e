#include "atlas/timetable_file.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <shared_mutex>
#include <tuple>

#include "atlas/atlas_fault.h"
#include "atlas/atlas_state.h"
#include "atlas/country_table.h"
#include "atlas/zone_table.h"
#include "platform/file_status.h"
#include "platform/per_thread.h"
#include "text/bytes.h"
#include "text/codepage.h"
#include "text/lz.h"
#include "util/file_tests.h"
#include "util/serial_date.h"
#include "util/text.h"

namespace tarv {
namespace {

constexpr auto kRecordSize = static_cast<std::int32_t>(kTimetableRecordSize);
// The codes that stand for the last three zones of the loaded table.
constexpr std::int16_t kLastZoneCode = 140;

bool IsSectionMarker(double datum) {
  return datum <= -kSectionMarkerStep;
}

bool IsBlockMarker(double datum) {
  return !IsSectionMarker(datum) && datum <= -kBlockMarkerStep &&
         std::fmod(-datum, kBlockMarkerStep) == 0.0;
}

// The country a section marker opens. Country numbers are 16-bit; a marker
// beyond them (an infinite one too) opens no country's section.
std::optional<std::int16_t> SectionCountry(double datum) {
  const double number = std::floor(std::fabs(datum) / kSectionMarkerStep);
  if (!(number <= std::numeric_limits<std::int16_t>::max())) return std::nullopt;
  return static_cast<std::int16_t>(number);
}

// Where each block of each country's section starts in one expanded
// timetable image, so that a reader seeks to its block instead of reading
// the blocks before it (the export reads every block of a country).
class SectionIndex {
 public:
  // The position of the marker of timetable `number` in the country's
  // section: its first such marker, as a reader walking the section meets
  // it. Nothing when the block is missing or the file cannot be read
  // (`error` then holds the LZ error code) or breaks the format (noted as
  // malformed, and `malformed` set). `has_section` tells whether the
  // country has a section at all.
  std::optional<std::int32_t> FindBlock(const std::string& path, std::int16_t country,
                                        std::int32_t number, std::int32_t& error, bool& has_section,
                                        bool& malformed) {
    has_section = false;
    malformed = false;
    auto image = ExpandedImage(path, error, Packing::kSzdd);
    if (!image) return std::nullopt;
    const std::lock_guard<std::mutex> lock(mutex_);
    auto& entry = files_[path];
    if (entry.image != image) {
      auto scanned = Scan(*image, path);
      if (!scanned) {
        files_.erase(path);
        NoteMalformedFile(scanned.fault());
        malformed = true;
        return std::nullopt;
      }
      entry.image = image;
      entry.sections = std::move(*scanned);
    }
    const auto section = entry.sections.find(country);
    if (section == entry.sections.end()) return std::nullopt;
    has_section = true;
    const auto it = section->second.find(number);
    if (it == section->second.end()) return std::nullopt;
    return it->second;
  }

 private:
  // Per country, where each of its blocks starts.
  using Sections = std::map<std::int16_t, std::map<std::int32_t, std::int32_t>>;
  struct File {
    std::shared_ptr<const std::string> image;
    Sections sections;
  };
  // The sections of a whole file, checked: records of ten bytes, a
  // country's section first, one section per country, each opened by a
  // country number and holding its timetables' blocks.
  static ReadResult<Sections> Scan(std::string_view image, const std::string& file) {
    if (image.empty()) return FileFault{file, "holds no timetables (it is empty)"};
    if (image.size() % kTimetableRecordSize != 0) {
      return FileFault{file, std::to_string(image.size() % kTimetableRecordSize) +
                                 " bytes after the last whole record"};
    }
    Sections sections;
    std::optional<std::int16_t> country;
    for (std::size_t at = 0; at < image.size(); at += kTimetableRecordSize) {
      const double datum = DecodeFloat64(image, at);
      auto record = [at] {
        return "record " + std::to_string(at / kTimetableRecordSize + 1) + ": ";
      };
      if (IsSectionMarker(datum)) {
        country = SectionCountry(datum);
        if (!country || std::floor(-datum / kSectionMarkerStep) != -datum / kSectionMarkerStep) {
          return FileFault{file, record() + std::to_string(datum) + " marks no country"};
        }
        if (!sections.emplace(*country, std::map<std::int32_t, std::int32_t>()).second) {
          return FileFault{file,
                           record() + "a second section of country " + std::to_string(*country)};
        }
      } else if (!country) {
        return FileFault{file, "does not begin with a country's section"};
      } else if (IsBlockMarker(datum) &&
                 -datum / kBlockMarkerStep <= std::numeric_limits<std::int32_t>::max()) {
        const auto number = static_cast<std::int32_t>(-datum / kBlockMarkerStep);
        sections[*country].emplace(number, static_cast<std::int32_t>(at));
      }
    }
    return sections;
  }
  std::mutex mutex_;
  std::map<std::string, File> files_;
};

SectionIndex& Sections() {
  return CurrentAtlas().Derived<SectionIndex>();
}

struct RawRecord {
  double datum = 0;
  std::int16_t zone = 0;
};

// Reads one record; 0 at the end, negative for an LZ error.
std::int32_t ReadRecord(std::int32_t handle, RawRecord& record) {
  char buffer[kTimetableRecordSize];
  const std::int32_t read = LZRead(handle, buffer, kRecordSize);
  if (read < kRecordSize) return read < 0 ? read : 0;
  const std::string_view bytes(buffer, kTimetableRecordSize);
  record = {DecodeFloat64(bytes, 0), DecodeInt16(bytes, 8)};
  return read;
}

// The zone-table entry of a zone code of the file; nullopt for a code the
// table has no entry for.
std::optional<std::int16_t> MapZoneCode(std::int16_t code) {
  const auto last = static_cast<std::int16_t>(CurrentAtlas().zones.size() - 1);
  if (code >= kLastZoneCode - 2 && code <= kLastZoneCode) {
    return static_cast<std::int16_t>(last - (kLastZoneCode - code));
  }
  if (code < 0 || code > last) return std::nullopt;
  return code;
}

double FranceCorrected(double datum) {
  const CalendarTime t = CalendarOfSerial(datum);
  if (t.month != 5 || t.year <= 1975) return datum;
  CalendarTime moved = t;
  moved.month += 4;
  return SerialOf(moved);
}

std::int16_t NoteTimetableFault(std::int32_t code, const std::string& file,
                                const std::vector<TimetableRecord>& result,
                                std::int32_t* lz_error) {
  NoteAtlasFault(file, code, "Read_Cp_TimeTable");
  if (lz_error != nullptr) *lz_error = code;
  return static_cast<std::int16_t>(result.size());
}

// An entry no history can hold: the call fails rather than answer from the
// entries before it.
std::int16_t NoteMalformedTimetable(const std::string& file, std::string problem,
                                    const std::vector<TimetableRecord>& result,
                                    std::int32_t* lz_error) {
  NoteMalformedFile({file, std::move(problem)});
  if (lz_error != nullptr) *lz_error = LZERROR_BADVALUE;
  return static_cast<std::int16_t>(result.size());
}

// Whether the country of number `id` has timetables by the table of counts.
bool CountryHasTimetables(std::int16_t id) {
  const auto& table = CurrentAtlas().countries;
  const auto index = static_cast<std::size_t>(GetCountryIndexOfID(id));
  return index > 0 && index < table.size() && HaveTimetables(table[index].CountryShort) > 0;
}

// The dates the host's date type holds: 1 January 100 to 31 December 9999.
bool IsDate(double datum) {
  return std::isfinite(datum) && datum >= kSmallestSerial && datum < kLargestSerial;
}

using Entries = std::vector<TimetableRecord>;

// Timetables as the zone lookups read them. An entry holds while the
// timetable file is the version it was read from and the tables are the ones
// it was read with (zone codes are mapped through the zone table, France is
// found through the country table).
class HistoryCache {
 public:
  // nullptr when the timetable file cannot be read.
  std::shared_ptr<const Entries> Get(const CountryRecord& country, std::int32_t number) {
    const bool usa = IsUSA(country.CountryShort);
    const AtlasState& state = CurrentAtlas();
    const Key key{usa, country.CountryId, number};
    ThreadMemo& memo = PerThread<ThreadMemo>();
    if (memo.owner != this || memo.folder != state.places_path) {
      memo = ThreadMemo{};
      memo.owner = this;
      memo.folder = state.places_path;
      memo.files = Files(state);
    }
    const std::string& file = memo.files[usa ? 1 : 0];
    // A file that failed once in this call fails again: it is read once.
    const std::uint64_t call = CallNumber();
    FailedRead& failed = PerThread<FailedRead>();
    if (call != 0 && failed.call == call && failed.file == file) {
      // Each call that needs the file fails as the first did.
      if (failed.malformed) {
        NoteMalformedFile(*failed.malformed);
      } else {
        NoteAtlasFault(file, failed.code, "Read_Cp_TimeTable");
      }
      return nullptr;
    }
    std::int32_t error = 0;
    // The version the entries belong to; a missing file has none.
    auto image = ExistingImage(file, error, Packing::kSzdd);
    const bool cacheable = error == 0 && state.countries_loaded && state.zones_loaded;
    const std::uint64_t tables = state.tables_version;
    if (cacheable) {
      for (const Entry& known : memo.known) {
        if (known.entries && known.key == key && known.image == image && known.tables == tables) {
          return known.entries;
        }
      }
      std::shared_ptr<const Entries> shared;
      {
        const std::shared_lock<std::shared_mutex> lock(mutex_);
        const auto it = entries_.find(key);
        if (it != entries_.end() && it->second.image == image && it->second.tables == tables) {
          shared = it->second.entries;
        }
      }
      if (shared) return memo.Remember({key, std::move(image), tables, WithOwnCount(shared)});
    }
    auto entries = std::make_shared<Entries>();
    std::int32_t lz_error = 0;
    Read_Cp_TimeTable(country.CountryShort, country.CountryId, kSerial2000, number, *entries, usa,
                      "", &lz_error);
    if (lz_error != 0) {
      auto malformed = LastMalformedFile();
      if (malformed && malformed->file != file) malformed.reset();
      failed = {call, file, lz_error, std::move(malformed)};
      return nullptr;
    }
    if (cacheable) {
      const std::unique_lock<std::shared_mutex> lock(mutex_);
      if (entries_.size() >= kMaxEntries) entries_.clear();
      entries_[key] = Entry{key, image, tables, entries};
    }
    return entries;
  }

 private:
  static constexpr std::size_t kMaxEntries = 4096;
  using Key = std::tuple<bool, std::int16_t, std::int32_t>;
  struct Entry {
    Key key;
    std::shared_ptr<const std::string> image;  // held, so its address cannot be reused
    std::uint64_t tables = 0;
    std::shared_ptr<const Entries> entries;
  };
  // What this thread last found, with counts of its own: a thread that asks
  // again takes no lock and writes no count another thread writes.
  struct ThreadMemo {
    const HistoryCache* owner = nullptr;
    std::string folder;
    std::array<std::string, 2> files;
    std::array<Entry, 8> known;
    std::shared_ptr<const Entries> Remember(Entry entry) {
      std::rotate(known.rbegin(), known.rbegin() + 1, known.rend());
      known.front() = std::move(entry);
      return known.front().entries;
    }
  };

  // The timetable files of the atlas's folder, the folder taken as it is now.
  std::array<std::string, 2> Files(const AtlasState& state) {
    {
      const std::shared_lock<std::shared_mutex> lock(mutex_);
      if (state.places_path == folder_) return files_;
    }
    const std::unique_lock<std::shared_mutex> lock(mutex_);
    if (state.places_path != folder_) {
      // Another atlas folder: its files have other names and other contents.
      folder_ = state.places_path;
      files_ = {AtlasFolder("") + "ttx.dao", AtlasFolder("") + "TTUSA.dao"};
      entries_.clear();
    }
    return files_;
  }
  struct FailedRead {
    std::uint64_t call = 0;
    std::string file;
    std::int32_t code = 0;               // the LZ error
    std::optional<FileFault> malformed;  // or what breaks the format
  };
  std::shared_mutex mutex_;
  std::string folder_ = std::string(1, '\0');  // no place folder is this
  std::array<std::string, 2> files_;
  std::map<Key, Entry> entries_;
};

}  // namespace

std::string EncodeTimetableFile(const std::vector<TimetableSection>& sections) {
  std::string bytes;
  auto record = [&bytes](double datum, std::int16_t zone) {
    AppendFloat64(bytes, datum);
    AppendInt16(bytes, zone);
  };
  for (const auto& section : sections) {
    record(-kSectionMarkerStep * section.country, 0);
    for (std::size_t n = 0; n < section.timetables.size(); ++n) {
      record(-kBlockMarkerStep * static_cast<double>(n + 1), 0);
      for (const auto& e : section.timetables[n])
        record(e.Datum, e.Zone);
    }
  }
  return bytes;
}

std::int16_t Read_Cp_TimeTable(std::string_view /*code*/, std::int16_t country_id, double reference,
                               std::int32_t number, std::vector<TimetableRecord>& result, bool usa,
                               const std::string& folder, std::int32_t* lz_error) {
  if (lz_error != nullptr) *lz_error = 0;
  if (!InitializeCountries("", "Country.dat", false, false) ||
      !InitializeTimeZones("", "Zones13.bin")) {
    return 0;
  }
  const bool france = country_id == GetCountryID("F");
  if (reference > kSerial2000) {
    result.assign(1, TimetableRecord{});
    return 0;
  }
  if (reference < kSmallestSerial) {
    result.assign(1, TimetableRecord{kSerial1700, 0});
    return 1;
  }
  if (country_id == 0) return 0;
  const std::string file = AtlasFolder(folder) + (usa ? "TTUSA.dao" : "ttx.dao");
  if (!Exist(file)) return 0;

  result.assign(1, TimetableRecord{kSerial1700, 0});
  std::int32_t error = 0;
  bool has_section = false;
  bool malformed = false;
  const auto block = Sections().FindBlock(file, country_id, number, error, has_section, malformed);
  if (malformed) {
    if (lz_error != nullptr) *lz_error = LZERROR_BADVALUE;
    return static_cast<std::int16_t>(result.size());
  }
  if (error != 0) return NoteTimetableFault(error, file, result, lz_error);
  // A country with timetables whose section is missing is a file cut short
  // or another country's: its places would answer local mean time.
  if (!has_section && CountryHasTimetables(country_id)) {
    return NoteMalformedTimetable(file, "holds no section of country " + std::to_string(country_id),
                                  result, lz_error);
  }
  if (!block) return static_cast<std::int16_t>(result.size());
  const LzFile lz(file);
  if (lz.get() < 0) return NoteTimetableFault(lz.get(), file, result, lz_error);
  if (const std::int32_t at = LZSeek(lz.get(), *block + kRecordSize, kLzSeekSet); at < 0) {
    return NoteTimetableFault(at, file, result, lz_error);
  }
  RawRecord r;
  for (;;) {
    const std::int32_t read = ReadRecord(lz.get(), r);
    if (read < 0) return NoteTimetableFault(read, file, result, lz_error);
    if (read == 0 || IsSectionMarker(r.datum) || IsBlockMarker(r.datum)) break;
    if (result.size() >= 32767) break;  // the count is 16-bit
    // Entries are numbered as the text export numbers them, 1700 being 1.
    const std::string entry = "country " + std::to_string(country_id) + ", timetable " +
                              std::to_string(number) + ", entry " +
                              std::to_string(result.size() + 1) + ": ";
    if (!IsDate(r.datum)) {
      return NoteMalformedTimetable(file, entry + std::to_string(r.datum) + " is not a date",
                                    result, lz_error);
    }
    const auto zone = MapZoneCode(r.zone);
    if (!zone) {
      return NoteMalformedTimetable(
          file, entry + "zone " + std::to_string(r.zone) + " is not in the zone table", result,
          lz_error);
    }
    const double datum = france ? FranceCorrected(r.datum) : r.datum;
    result.push_back({datum, *zone});
  }
  return static_cast<std::int16_t>(result.size());
}

// The entries of a timetable as the zone lookups use them; timetable 0 reads
// block 1. Fewer than two entries means the file has no such history;
// nullptr that the file cannot be read, and then no zone is known.
std::shared_ptr<const std::vector<TimetableRecord>> TimetableHistory(const CountryRecord& country,
                                                                     std::int16_t timetable) {
  return CurrentAtlas().Derived<HistoryCache>().Get(country, timetable == 0 ? 1 : timetable);
}

}  // namespace tarv
