#include "atlas/user_places.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <optional>

#include "atlas/atlas_fault.h"
#include "atlas/atlas_state.h"
#include "atlas/country_table.h"
#include "atlas/name_match.h"
#include "atlas/place_image.h"
#include "atlas/place_search.h"
#include "atlas/timetable.h"
#include "atlas/user_zones.h"
#include "atlas/zone_history.h"
#include "platform/atomic_file.h"
#include "platform/change_counter.h"
#include "platform/file_lock.h"
#include "platform/paths.h"
#include "platform/whole_file.h"
#include "tarvplaces/atlas_error.h"
#include "text/bytes.h"
#include "text/codepage.h"
#include "text/lz.h"
#include "util/text.h"

namespace fs = std::filesystem;

namespace tarv {
namespace {

struct UserFile {
  std::string path;  // Windows-style
  fs::path native;   // on disk
  fs::path native_index;
  std::string zones_path;  // the zones the user named
  fs::path native_zones;
};

std::optional<UserFile> UserFileOf(std::int32_t country_id) {
  InitializeCountries("", "Country.dat", false, false);
  if (!CurrentAtlas().countries_loaded) return std::nullopt;
  const auto index = static_cast<std::size_t>(GetCountryIndexOfID(country_id));
  const auto& table = CurrentAtlas().countries;
  // The six continents and groups at the end have no file of their own:
  // places stored under one would be read by no search.
  if (index == 0 || index + kContinentRecords >= table.size()) return std::nullopt;
  const std::string place_file = GetCompressedPlaceFile(table[index].CountryShort);
  if (place_file.empty() || place_file.back() == '\\') return std::nullopt;
  // A code such as "NUL" names a device on Windows: no user file can be kept.
  if (NamesADevice(place_file)) return std::nullopt;
  UserFile file;
  file.path = Get_UserFile(place_file);
  file.native = NativePath(file.path);
  file.native_index = NativePath(IndexPathOf(file.path));
  file.zones_path = UserZonesPathOf(file.path);
  file.native_zones = NativePath(file.zones_path);
  return file;
}

// The user file's bytes when they are whole and sound: a writer never
// rewrites a file it could not read whole, or the places it did not read
// would be gone. A symbolic link is never followed (its target's bytes
// would be copied into the user's file). The fault is noted.
std::optional<std::string> SoundUserFile(const UserFile& file) {
  std::error_code ec;
  if (fs::is_symlink(file.native, ec)) {
    NoteMalformedFile({file.path, "is a symbolic link: the user's places are kept in a file"});
    return std::nullopt;
  }
  std::string bytes;
  // Not through a link either where one was put there since the look above.
  const WholeFile read = ReadWholeFile(Utf8OfPath(file.native), bytes, 0, false);
  if (read == WholeFile::kMissing) return std::string();  // the first place of the country
  if (read != WholeFile::kRead) {
    NoteMalformedFile({file.path, WholeFileProblem(read)});
    return std::nullopt;
  }
  if (std::string problem = PlaceFileProblem(bytes, file.path); !problem.empty()) {
    NoteMalformedFile({file.path, std::move(problem)});
    return std::nullopt;
  }
  return bytes;
}

// The zones the user named, when their file is missing or sound; a damaged
// one is noted and never rewritten (its lines would be lost).
std::optional<NamedZones> SoundUserZones(const UserFile& file) {
  std::string bytes;
  const WholeFile read = ReadWholeFile(Utf8OfPath(file.native_zones), bytes, 0, false);
  if (read == WholeFile::kMissing) return NamedZones{};
  if (read != WholeFile::kRead) {
    NoteMalformedFile({file.zones_path, WholeFileProblem(read)});
    return std::nullopt;
  }
  auto decoded = Decode([&] { return UserZones(bytes, file.zones_path).entries(); });
  if (!decoded) {
    NoteMalformedFile(decoded.fault());
    return std::nullopt;
  }
  return *decoded;
}

// Writes the zone file with `zones` (none: no file) where they changed.
void WriteUserZones(const UserFile& file, const NamedZones& before, const NamedZones& zones) {
  if (zones == before) return;
  if (zones.empty()) {
    std::error_code ec;
    fs::remove(file.native_zones, ec);
    if (ec) throw AtlasWriteError(file.zones_path, "removing it: " + ec.message());
  } else {
    WriteFileAtomically(file.native_zones, EncodeUserZones(zones));
  }
  ForgetExpandedImage(file.zones_path);
}

// The record's name field as stored.
std::string_view NameOf(const std::string& record) {
  return std::string_view(record).substr(0, kPlaceNameWidth);
}

}  // namespace

std::string CleanPlaceName(std::string_view name) {
  std::string clean(name);
  std::replace_if(
      clean.begin(), clean.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; }, ' ');
  return Trim(clean);
}

std::int16_t AddCity(const UserPlace& place, std::int32_t& record_no) {
  const auto file = UserFileOf(place.CountryId);
  if (!file) return 0;
  const std::string name = CleanPlaceName(place.Place.NameField());
  // The user file is read through the LZ service: a first record that
  // begins with the SZDD magic would make the whole file read as damaged
  // compressed data.
  if (name.empty() || name.front() == kDeletedMark || StartsWithSzddMagic(name)) return 0;
  // A character the code page could not take would be stored as a sign
  // that no search ever matches: such a place could never be found again.
  if (name.find(kUnmappable) != std::string::npos) return 0;
  PlaceRecord added = place.Place;
  added.SetName(name);
  const std::string wanted(added.NameField());
  const char letter = IndexLetter(name);

  std::error_code ec;
  CreateUserFolder(std::string_view(file->path).substr(0, file->path.rfind('\\')), ec);
  if (ec) throw AtlasWriteError(file->path, "creating the USER folder: " + ec.message());
  const FolderLock lock(file->native.parent_path());

  const std::optional<std::string> bytes = SoundUserFile(*file);
  if (!bytes) return 0;
  const std::optional<NamedZones> zones = SoundUserZones(*file);
  if (!zones) return 0;
  // Deleted records are dropped as the file is rewritten: long use does not
  // fill the file with them. (Record numbers change with every addition in
  // any case, as the file is kept in name order.)
  std::vector<std::string> records;
  for (std::size_t at = 0; at < bytes->size(); at += kPlaceRecordSize) {
    if ((*bytes)[at] != kDeletedMark) records.push_back(bytes->substr(at, kPlaceRecordSize));
  }
  for (const auto& r : records) {
    if (IndexLetter(Trim(NameOf(r))) == letter && TextEqual(NameOf(r), wanted)) return -1;
  }
  // A record past the last number a search reads would never be found.
  if (records.size() >= kMaxPlaceRecords) {
    throw AtlasWriteError(file->path,
                          "holds " + std::to_string(records.size()) +
                              " places, as many as a place file can: delete some first");
  }
  const std::string new_record = EncodePlaceRecord(added);
  records.push_back(new_record);
  std::sort(records.begin(), records.end());

  std::string data;
  std::string index;
  char previous = '\0';
  for (std::size_t i = 0; i < records.size(); ++i) {
    data += records[i];
    if (records[i] == new_record) record_no = -static_cast<std::int32_t>(i + 1);
    const char first = AnsiUpper(records[i][0]);
    if (i == 0 || first != previous) {
      index += first;
      AppendInt32(index, static_cast<std::int32_t>(i + 1));
    }
    previous = first;
  }
  // The zones first: a line whose place is not written yet names nothing,
  // and a name added without a zone loses any line a former place left.
  NamedZones kept;
  for (const auto& entry : *zones) {
    const bool listed = std::any_of(records.begin(), records.end(), [&](const std::string& r) {
      return TextEqual(Trim(NameOf(r)), entry.first);
    });
    if (listed && !TextEqual(entry.first, Trim(wanted))) kept.push_back(entry);
  }
  if (!place.Zone.empty()) kept.emplace_back(Trim(wanted), place.Zone);
  WriteUserZones(*file, *zones, kept);
  WriteFileAtomically(file->native, data);
  WriteFileAtomically(file->native_index, index);
  ForgetExpandedImage(file->path);
  ForgetExpandedImage(IndexPathOf(file->path));
  // After the files are in place: a reader that sees the new number finds them.
  BumpChangeCounter(file->native.parent_path());
  return -1;
}

std::int16_t AddCheckedCity(std::string_view code, std::string_view name, double longitude,
                            double latitude, std::int16_t timetable, const std::string& zone,
                            std::int32_t& record_no) {
  UserPlace place;
  place.CountryId = GetCountryIDOfCode(code);
  const std::string cleaned = CleanPlaceName(name);
  if (place.CountryId == 0 || cleaned.size() > kPlaceNameWidth) return 0;
  const std::int16_t count = HaveTimetables(GetInternalCountryAbbreviation(code));
  if (timetable < 0 || timetable > std::max<std::int16_t>(count, 1)) return 0;
  if (!zone.empty() && (!StorableZoneName(zone) || !NamedHistory(zone))) return 0;
  place.Place.SetName(cleaned);
  place.Place.Longitude = static_cast<float>(longitude);
  place.Place.Latitude = static_cast<float>(latitude);
  place.Place.Timetable = timetable;
  place.Zone = zone;
  return AddCity(place, record_no);
}

std::int16_t Delete_City(const UserPlace& place) {
  InitializeCountries("", "Country.dat", false, false);
  if (!CurrentAtlas().countries_loaded) return 0;
  const auto file = UserFileOf(place.CountryId);
  if (!file || !fs::exists(file->native)) return -1;
  // The name as AddCity stored it.
  PlaceRecord wanted;
  wanted.SetName(CleanPlaceName(place.Place.NameField()));
  const FolderLock lock(file->native.parent_path());
  const std::optional<std::string> sound = SoundUserFile(*file);
  if (!sound) return 0;
  const std::string& old = *sound;
  for (std::size_t at = 0; at + kPlaceRecordSize <= old.size(); at += kPlaceRecordSize) {
    if (!TextEqual(std::string_view(old).substr(at, kPlaceNameWidth), wanted.NameField())) {
      continue;
    }
    std::string data = old;
    data.replace(at, kPlaceNameWidth, kDeletedMark + old.substr(at, kPlaceNameWidth - 1));
    WriteFileAtomically(file->native, data);
    ForgetExpandedImage(file->path);
    if (const auto zones = SoundUserZones(*file)) {
      NamedZones kept;
      for (const auto& entry : *zones) {
        if (!TextEqual(entry.first, Trim(wanted.NameField()))) kept.push_back(entry);
      }
      WriteUserZones(*file, *zones, kept);
    }
    BumpChangeCounter(file->native.parent_path());
    break;
  }
  return -1;
}

}  // namespace tarv
