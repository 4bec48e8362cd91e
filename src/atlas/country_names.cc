#include "atlas/country_names.h"

#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <unordered_map>
#include <unordered_set>

#include "atlas/atlas_fault.h"
#include "atlas/atlas_state.h"
#include "atlas/country_table.h"
#include "atlas/name_key.h"
#include "platform/per_thread.h"
#include "text/codepage.h"
#include "text/lz.h"
#include "util/text.h"

namespace tarv {
namespace {

constexpr std::size_t kMaxKeyLength = 255;
constexpr std::size_t kMaxIsoLength = 6;  // "GB-ENG", "FR-971"

bool IsIsoText(std::string_view text) {
  return !text.empty() && text.size() <= kMaxIsoLength &&
         std::all_of(text.begin(), text.end(), [](char c) {
           return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-';
         });
}

// The file's lines as lookups: codes by ISO code, codes by name key, each
// atlas code's first ISO code.
struct CountryNames {
  std::unordered_map<std::string, std::string> by_iso;
  std::unordered_map<std::string, std::string> by_name;
  std::unordered_map<std::string, std::string> iso_of;
};

// The decoded file `file` of `image`, shared by the threads, once per
// version of it; null when it breaks its format (the fault is noted).
std::shared_ptr<const CountryNames> SharedNames(const std::string& file,
                                                const std::shared_ptr<const std::string>& image) {
  struct Decoded {
    std::shared_mutex mutex;
    std::map<std::string,
             std::pair<std::shared_ptr<const std::string>, std::shared_ptr<const CountryNames>>>
        files;
  };
  Decoded& decoded = CurrentAtlas().Derived<Decoded>();
  std::shared_mutex& mutex = decoded.mutex;
  auto& known = decoded.files;
  {
    const std::shared_lock<std::shared_mutex> lock(mutex);
    if (const auto it = known.find(file); it != known.end() && it->second.first == image) {
      return it->second.second;
    }
  }
  const std::unique_lock<std::shared_mutex> lock(mutex);
  auto& slot = known[file];
  if (slot.first == image) return slot.second;
  auto names = std::make_shared<CountryNames>();
  std::unordered_set<std::string> table_codes;
  for (const auto group : kGroupCodes)
    table_codes.emplace(group);
  for (const auto& record : CurrentAtlas().countries)
    table_codes.insert(UCase(record.CountryShort));
  auto entries = ParseCountryNames(*image, file);
  if (!entries) {
    NoteMalformedFile(entries.fault());
    return nullptr;
  }
  for (auto& e : *entries) {
    // Every code names a country or group of the table the file came with.
    if (table_codes.count(UCase(GetInternalCountryAbbreviation(e.code))) == 0) {
      // One of the two files is not the atlas's: the country table may be
      // the damaged one, so both are named.
      NoteMalformedFile({file, "\"" + e.code + "\" is no country of the country table \"" +
                                   AtlasFolder("") + "Country.dat\""});
      return nullptr;
    }
    if (e.iso) {
      names->iso_of.try_emplace(UCase(e.code), e.text);
      names->by_iso.try_emplace(e.text, e.code);
    } else {
      names->by_name.try_emplace(e.text, e.code);
    }
  }
  if (known.size() > 16) known.clear();
  slot = {image, names};
  return names;
}

// The decoded file of the current atlas folder, once per version of it; null
// when there is none. Each thread keeps the version it last had, with the
// image it came from.
std::shared_ptr<const CountryNames> LoadedNames() {
  struct Known {
    std::string file;
    std::shared_ptr<const std::string> image;
    std::shared_ptr<const CountryNames> names;
  };
  Known& known = PerThread<Known>();
  const std::string file = AtlasFolder("") + std::string(kCountryNamesFile);
  std::int32_t error = 0;
  auto image = ExistingImage(file, error);
  if (error != 0) {
    // Names the host asked for cannot be given: the call fails, as for a
    // malformed file, rather than answering without them.
    NoteUnreadableFile(file, error);
    return nullptr;
  }
  if (!image) return nullptr;
  if (known.image == image && known.file == file) return known.names;
  auto names = WithOwnCount(SharedNames(file, image));
  if (!names) return nullptr;
  known = {file, std::move(image), names};
  return names;
}

bool TableLoaded() {
  InitializeCountries("", "Country.dat", false, false);
  return CurrentAtlas().countries_loaded;
}

// The match of a country number; a group's code is its name in the table's
// language, which the searches read as the group.
std::optional<CountryMatch> MatchOf(std::int16_t id, CountryMatch::By by) {
  if (id == 0) return std::nullopt;
  const auto& table = CurrentAtlas().countries;
  const auto index = static_cast<std::size_t>(GetCountryIndexOfID(id));
  if (index == 0 || index >= table.size()) return std::nullopt;
  const CountryRecord& record = table[index];
  const bool group = IsGroupPosition(index, table.size()) && record.ContinentID >= 1 &&
                     static_cast<std::size_t>(record.ContinentID) <= kContinentRecords;
  return CountryMatch{id, record.CountryShort, group, by};
}

// A code of the file (a country's, or a group's German name) as a match.
std::optional<CountryMatch> MatchOfCode(const std::string& code, CountryMatch::By by) {
  const auto group = std::find(kGroupCodes.begin(), kGroupCodes.end(), UCase(code));
  if (group != kGroupCodes.end()) {
    const auto& table = CurrentAtlas().countries;
    const auto k = static_cast<std::size_t>(group - kGroupCodes.begin());
    if (table.size() < kContinentRecords) return std::nullopt;
    return MatchOf(table[table.size() - kContinentRecords + k].CountryId, by);
  }
  return MatchOf(GetCountryIDOfCode(code), by);
}

std::optional<CountryMatch> ByIso(const CountryNames* names, const std::string& upper) {
  if (names == nullptr) return std::nullopt;
  const auto it = names->by_iso.find(upper);
  if (it == names->by_iso.end()) return std::nullopt;
  return MatchOfCode(it->second, CountryMatch::By::kIsoCode);
}

// A whole title of the table, or a country name of the file.
std::optional<CountryMatch> ByName(const CountryNames* names, const std::string& key) {
  if (key.empty()) return std::nullopt;
  const auto& table = CurrentAtlas().countries;
  for (std::size_t i = 1; i < table.size(); ++i) {
    if (NameKey(table[i].CountryTitle) == key)
      return MatchOf(table[i].CountryId, CountryMatch::By::kName);
  }
  if (names == nullptr) return std::nullopt;
  const auto it = names->by_name.find(key);
  if (it == names->by_name.end()) return std::nullopt;
  return MatchOfCode(it->second, CountryMatch::By::kName);
}

}  // namespace

std::string CountryNamesText(const std::vector<CountryNameEntry>& entries) {
  std::string text = std::string(kCountryNamesHeader) + "\r\n";
  for (const auto& e : entries)
    text += e.code + '\t' + (e.iso ? "iso" : "name") + '\t' + e.text + "\r\n";
  return text;
}

ReadResult<std::vector<CountryNameEntry>> ParseCountryNames(std::string_view text,
                                                            const std::string& file) {
  return Decode([&] {
    const auto lines = SplitLines(text);
    if (lines.empty() || lines[0] != kCountryNamesHeader) {
      throw FormatViolation(file, "not a country names file (its first line is not \"" +
                                      std::string(kCountryNamesHeader) + "\")");
    }
    std::vector<CountryNameEntry> entries;
    for (std::size_t i = 1; i < lines.size(); ++i) {
      const std::string where = "line " + std::to_string(i + 1) + ": ";
      const auto f = Split(lines[i], '\t');
      if (f.size() != 3) {
        throw FormatViolation(
            file, where + std::to_string(f.size()) + " TAB-separated fields where 3 are");
      }
      CountryNameEntry e{std::string(f[0]), f[1] == "iso", std::string(f[2])};
      if (f[1] != "iso" && f[1] != "name") {
        throw FormatViolation(
            file, where + "\"" + std::string(f[1]) + "\" is neither \"iso\" nor \"name\"");
      }
      if (e.code.empty() || HasControlCharacter(e.code)) {
        throw FormatViolation(file, where + "no country code");
      }
      if (e.iso ? !IsIsoText(e.text) : e.text.empty() || e.text.size() > kMaxKeyLength) {
        throw FormatViolation(file, where + "\"" + e.text + "\" is no " +
                                        (e.iso ? "ISO code" : "name key of 1 to 255 bytes"));
      }
      entries.push_back(std::move(e));
    }
    return entries;
  });
}

std::optional<CountryMatch> FindCountry(std::string_view utf8, CountryCodes codes) {
  const std::string text = Trim(utf8);
  if (text.empty() || text == "*" || !TableLoaded()) return std::nullopt;
  const std::string ansi = AnsiFromUtf8(text);
  if (HasControlCharacter(ansi) || ansi.find(kUnmappable) != std::string::npos) {
    // Only a name in another script can still name a country.
    const auto names = LoadedNames();
    return ByName(names.get(), TypedNameKey(text));
  }
  const auto names = LoadedNames();
  const std::string upper = UCase(ansi);
  if (codes == CountryCodes::kIso) {
    if (auto m = ByIso(names.get(), upper)) return m;
  }
  if (auto m = MatchOf(GetCountryIDOfCode(ansi), CountryMatch::By::kAtlasCode)) return m;
  if (IsGroupCode(upper)) return MatchOfCode(upper, CountryMatch::By::kAtlasCode);
  if (codes == CountryCodes::kAtlas) {
    if (auto m = ByIso(names.get(), upper)) return m;
  }
  if (auto m = ByName(names.get(), NameKey(ansi))) return m;
  // The beginnings the country table has always taken.
  if (auto m = MatchOf(GetCountryID(ansi), CountryMatch::By::kBeginning)) return m;
  if (const std::int16_t continent = GetContinentID(ansi); continent != 0) {
    return MatchOfCode(std::string(kGroupCodes[static_cast<std::size_t>(continent - 1)]),
                       CountryMatch::By::kBeginning);
  }
  return std::nullopt;
}

std::string IsoCodeOf(std::string_view code) {
  const auto names = LoadedNames();
  if (!names) return {};
  const auto it = names->iso_of.find(UCase(GetInternalCountryAbbreviation(code)));
  return it == names->iso_of.end() ? std::string() : it->second;
}

std::int16_t CountryIdOfIsoCodeOrName(std::string_view utf8) {
  const std::string text = Trim(utf8);
  if (text.empty() || !CurrentAtlas().countries_loaded) return 0;
  const auto names = LoadedNames();
  const std::string ansi = AnsiFromUtf8(text);
  auto match = HasControlCharacter(ansi) ? std::nullopt : ByIso(names.get(), UCase(ansi));
  if (!match) match = ByName(names.get(), TypedNameKey(text));
  return match ? match->id : 0;
}

}  // namespace tarv
