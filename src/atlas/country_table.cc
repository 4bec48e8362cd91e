#include "atlas/country_table.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <utility>

#include "atlas/atlas_fault.h"
#include "atlas/atlas_state.h"
#include "platform/paths.h"
#include "platform/per_thread.h"
#include "util/file_tests.h"
#include "util/numeric.h"
#include "util/text.h"

namespace tarv {
namespace {

constexpr std::size_t kFieldCount = 11;

std::int16_t NumberField(std::string_view field, const std::string& file, std::size_t line_no,
                         const char* name) {
  const auto value = ToInt16(Val(field));
  if (!value) {
    throw FormatViolation(file, "line " + std::to_string(line_no) + ": " + name + " \"" +
                                    std::string(field) + "\" is outside the 16-bit range");
  }
  return *value;
}

void SortAllButTail(std::vector<CountryRecord>& lines) {
  std::vector<CountryRecord> reordered;
  reordered.reserve(lines.size());
  for (const std::size_t i : TitleOrder(lines))
    reordered.push_back(std::move(lines[i]));
  lines = std::move(reordered);
}

// Returns the table only when it is loaded; the lookups that load first.
const std::vector<CountryRecord>* LoadedCountries() {
  if (!InitializeCountries("", "Country.dat", false, false)) return nullptr;
  return &CurrentAtlas().countries;
}

}  // namespace

ReadResult<std::vector<CountryRecord>> ParseCountryFile(std::string_view text,
                                                        const std::string& file) {
  return Decode([&] {
    const auto lines = SplitLines(text);
    // A table without countries would answer "unknown country" for every
    // place of the atlas.
    if (lines.empty()) throw FormatViolation(file, "holds no country");
    if (lines.size() > kMaxCountryLines) {
      throw FormatViolation(
          file, "line " + std::to_string(kMaxCountryLines + 1) + ": more than 300 country lines");
    }
    std::vector<CountryRecord> records;
    records.reserve(lines.size());
    std::map<std::int16_t, std::size_t> lines_of_id;
    for (std::size_t i = 0; i < lines.size(); ++i) {
      const std::size_t line_no = i + 1;
      const auto f = Split(lines[i], '\t');
      if (f.size() < kFieldCount) {
        throw FormatViolation(file, "line " + std::to_string(line_no) + ": " +
                                        std::to_string(f.size()) +
                                        " TAB-separated fields where 11 are needed");
      }
      // A code names the country's files: a control character in it (a NUL
      // above all) would name another file or none.
      for (std::size_t k = 0; k < f[2].size(); ++k) {
        if (!HasControlCharacter(f[2].substr(k, 1))) continue;
        char byte[8];
        std::snprintf(byte, sizeof byte, "0x%02X", static_cast<unsigned char>(f[2][k]));
        throw FormatViolation(file, "line " + std::to_string(line_no) +
                                        ": the country code holds the control character " + byte +
                                        " at position " + std::to_string(k + 1));
      }
      CountryRecord r;
      r.CountryId = NumberField(f[0], file, line_no, "CountryId");
      r.CountryTitle = f[1];
      r.CountryShort = f[2];
      r.TimezoneShort = f[3];
      r.Continent = f[4];
      r.SubContinent = f[5];
      r.Meaning = f[6];
      r.Info = f[7];
      r.HaveZonesSince = f[8];
      r.ContinentID = NumberField(f[9], file, line_no, "ContinentID");
      r.SubContinentID = NumberField(f[10], file, line_no, "SubContinentID");
      // Country numbers name the countries' timetables and user places: a
      // second line of one number would send its lookups to the first.
      if (const auto [at, fresh] = lines_of_id.emplace(r.CountryId, line_no); !fresh) {
        throw FormatViolation(file, "line " + std::to_string(line_no) + ": CountryId " +
                                        std::to_string(r.CountryId) + " is line " +
                                        std::to_string(at->second) + "'s as well");
      }
      records.push_back(std::move(r));
    }
    return records;
  });
}

CountryRecord FallbackCountry() {
  CountryRecord r;
  r.CountryTitle = "unbekannt";
  r.CountryShort = r.TimezoneShort = r.Continent = r.SubContinent = r.Meaning = "*";
  r.Info = "unbekannt";
  return r;
}

std::vector<std::size_t> TitleOrder(const std::vector<CountryRecord>& lines) {
  std::vector<std::size_t> order(lines.size());
  for (std::size_t i = 0; i < order.size(); ++i)
    order[i] = i;
  if (lines.size() <= kUnsortedTailLines + 1) return order;
  // The old position is part of the key: equal titles keep their file order.
  const std::size_t sorted = lines.size() - kUnsortedTailLines;
  std::vector<std::pair<std::string, std::size_t>> keys;
  keys.reserve(sorted);
  for (std::size_t i = 0; i < sorted; ++i)
    keys.emplace_back(lines[i].CountryTitle, i);
  std::sort(keys.begin(), keys.end());
  for (std::size_t i = 0; i < sorted; ++i)
    order[i] = keys[i].second;
  return order;
}

bool IsGroupCode(std::string_view code) {
  return std::any_of(kGroupCodes.begin(), kGroupCodes.end(),
                     [code](std::string_view group) { return TextEqual(code, group); });
}

std::vector<CountryRecord> ContinentRecords(std::size_t n, std::int32_t language) {
  const auto& names = language == kLanguageGerman ? kGroupCodes : kGroupTitlesEnglish;
  std::vector<CountryRecord> records;
  for (std::size_t k = 1; k <= kContinentRecords; ++k) {
    CountryRecord r;
    r.CountryId = static_cast<std::int16_t>(n + k);
    r.CountryTitle = r.CountryShort = r.Continent = std::string(names[k - 1]);
    r.ContinentID = static_cast<std::int16_t>(k);
    records.push_back(std::move(r));
  }
  return records;
}

std::string CountryLine(const CountryRecord& r) {
  std::string line = std::to_string(r.CountryId);
  for (const std::string* text : {&r.CountryTitle, &r.CountryShort, &r.TimezoneShort, &r.Continent,
                                  &r.SubContinent, &r.Meaning, &r.Info, &r.HaveZonesSince}) {
    line += '\t';
    line += *text;
  }
  line += '\t' + std::to_string(r.ContinentID) + '\t' + std::to_string(r.SubContinentID);
  return line;
}

std::string CountryFileText(const std::vector<CountryRecord>& records) {
  std::string text;
  for (const auto& record : records)
    text += CountryLine(record) + "\r\n";
  return text;
}

bool InitializeCountries(std::string path, const std::string& file_name, bool sort,
                         bool force_reload) {
  AtlasState& state = CurrentAtlas();
  if (!force_reload && state.countries_loaded) return true;
  // Once, whichever thread asks first; the others wait and find it loaded.
  const std::lock_guard<std::recursive_mutex> lock(state.tables_mutex);
  bool result = false;
  if (!force_reload) {
    result = state.countries_loaded;
    if (result) return true;
  }
  const std::string file = AtlasFolder(std::move(path)) + file_name;
  const auto read = ReadPlainAtlasFile(file);
  if (!read) return result;
  const ReadResult<std::string>& text = *read;
  ReadResult<std::vector<CountryRecord>> parsed =
      text ? ParseCountryFile(*text, file) : ReadResult<std::vector<CountryRecord>>(text.fault());
  if (!parsed) {
    NoteMalformedFile(parsed.fault());  // the table stays as it was
    return false;
  }
  std::vector<CountryRecord> lines = *std::move(parsed);
  if (sort) SortAllButTail(lines);

  std::vector<CountryRecord> table;
  table.reserve(lines.size() + 1 + kContinentRecords);
  table.push_back(FallbackCountry());
  for (auto& line : lines)
    table.push_back(std::move(line));
  for (auto& continent : ContinentRecords(lines.size(), state.Language().Language())) {
    table.push_back(std::move(continent));
  }
  state.countries = std::move(table);
  state.TablesChanged();
  state.countries_loaded = true;
  return result;
}

std::string GetInternalCountryAbbreviation(std::string_view code) {
  static constexpr std::array<std::pair<std::string_view, std::string_view>, 8> kMapped = {{
      {"RUS", "SSR"},
      {"UK", "GBE"},
      {"MNE", "YU"},
      {"SRB", "YU"},
      {"HR", "YU"},
      {"SLO", "YU"},
      {"BIH", "YU"},
      {"MK", "YU"},
  }};
  for (const auto& [from, to] : kMapped) {
    if (TextEqual(code, from)) return std::string(to);
  }
  return Trim(code);
}

namespace {

std::int16_t ScanForCountryID(const std::vector<CountryRecord>& table, const std::string& mapped) {
  const WildcardPattern prefix(mapped + "*");
  using Test = bool (*)(const CountryRecord&, const std::string&, const WildcardPattern&);
  static constexpr std::array<Test, 4> kScans = {
      [](const CountryRecord& r, const std::string& c, const WildcardPattern&) {
        return TextEqual(r.CountryShort, c);
      },
      [](const CountryRecord& r, const std::string& c, const WildcardPattern&) {
        return TextEqual(r.CountryTitle, c);
      },
      [](const CountryRecord& r, const std::string&, const WildcardPattern& p) {
        return p.Matches(r.CountryTitle);
      },
      [](const CountryRecord& r, const std::string&, const WildcardPattern& p) {
        return p.Matches(r.CountryShort);
      },
  };
  for (const Test test : kScans) {
    for (std::size_t i = 1; i < table.size(); ++i) {
      if (test(table[i], mapped, prefix)) return table[i].CountryId;
    }
  }
  return 0;
}

}  // namespace

std::int16_t GetCountryID(std::string_view code) {
  const auto* table = LoadedCountries();
  if (table == nullptr) return 0;
  auto& known = TableAnswers<struct CountryIds, std::string, std::int16_t>();
  const std::string key(code);
  if (const auto it = known.find(key); it != known.end()) return it->second;
  const std::string mapped = GetInternalCountryAbbreviation(code);
  // No code holds a control character (the file's codes are checked).
  const std::int16_t id = mapped.empty() || mapped == "*" || HasControlCharacter(mapped)
                              ? std::int16_t{0}
                              : ScanForCountryID(*table, mapped);
  known.emplace(key, id);
  return id;
}

std::int16_t GetCountryIDOfCode(std::string_view code) {
  const std::int16_t id = GetCountryID(code);
  const auto index = static_cast<std::size_t>(GetCountryIndexOfID(id));
  const auto& table = CurrentAtlas().countries;
  if (id == 0 || index >= table.size()) return 0;
  return TextEqual(table[index].CountryShort, GetInternalCountryAbbreviation(code)) ? id : 0;
}

std::int16_t GetCountryIndexOfID(std::int32_t id) {
  auto& known = TableAnswers<struct CountryIndexes, std::int32_t, std::int16_t>();
  if (const auto it = known.find(id); it != known.end()) return it->second;
  const auto& table = CurrentAtlas().countries;
  std::int16_t index = 0;
  for (std::size_t i = 0; i < table.size(); ++i) {
    if (table[i].CountryId == id) {
      index = static_cast<std::int16_t>(i);
      break;
    }
  }
  known.emplace(id, index);
  return index;
}

namespace {

std::int16_t ScanForContinentID(const std::vector<CountryRecord>& table, std::string_view code) {
  const std::string mapped = GetInternalCountryAbbreviation(UCase(code));
  const auto continents = std::prev(table.end(), kContinentRecords);
  for (auto it = continents; it != table.end(); ++it) {
    if (UCase(it->Continent) == mapped) return it->ContinentID;
  }
  auto first_five = [](std::string s) { return (s + "     ").substr(0, 5); };
  const std::string key = first_five(mapped);
  for (auto it = continents; it != table.end(); ++it) {
    if (first_five(UCase(it->Continent)) == key) return it->ContinentID;
  }
  return 0;
}

}  // namespace

std::int16_t GetContinentID(std::string_view code) {
  const auto* table = LoadedCountries();
  if (table == nullptr || table->size() < kContinentRecords) return 0;
  // Every search asks whether its code names a continent.
  auto& known = TableAnswers<struct ContinentIds, std::string, std::int16_t>();
  const std::string key(code);
  if (const auto it = known.find(key); it != known.end()) return it->second;
  const std::int16_t id =
      HasControlCharacter(code) ? std::int16_t{0} : ScanForContinentID(*table, code);
  known.emplace(key, id);
  return id;
}

bool IsUSA(std::string_view code) {
  return code.size() >= 2 && TextEqual(code.substr(0, 2), "US");
}

bool HaveSeveralTimeZones(std::string_view code) {
  static constexpr std::array<std::string_view, 31> kSeveral = {
      "AUS",  "BR",   "CDN",  "E",    "EC",   "FSP",  "GRO",  "RI",   "J",    "KSP",  "MA",
      "MEX",  "MOG",  "MSH",  "P",    "RCH",  "SSR",  "ZR",   "USAK", "USFL", "USID", "USIN",
      "USKS", "USKY", "USMI", "USNE", "USND", "USOR", "USSD", "USTN", "USTX"};
  const std::string mapped = GetInternalCountryAbbreviation(code);
  for (const std::string_view several : kSeveral) {
    if (TextEqual(mapped, several)) return true;
  }
  return false;
}

std::int16_t HaveTimetables(std::string_view code) {
  struct Entry {
    std::string_view code;
    std::int16_t count;
  };
  // US states first, then the other codes; every code once.
  static constexpr Entry kTimetables[] = {
      {"USAR", 1},   {"USCA", 1},   {"USDC", 1},   {"USHI", 1},   {"USSC", 1},   {"USWY", 1},
      {"USLA", 2},   {"USMA", 2},   {"USMS", 2},   {"USRI", 2},   {"USUT", 2},   {"USAZ", 3},
      {"USCO", 3},   {"USTX", 3},   {"USNV", 4},   {"USNM", 4},   {"USNC", 4},   {"USOK", 4},
      {"USSD", 4},   {"USCT", 5},   {"USKS", 5},   {"USFL", 6},   {"USNE", 6},   {"USWI", 6},
      {"USAL", 7},   {"USAK", 7},   {"USMN", 7},   {"USMT", 10},  {"USND", 10},  {"USDE", 16},
      {"USOR", 17},  {"USID", 18},  {"USNH", 18},  {"USNJ", 18},  {"USGA", 25},  {"USIA", 25},
      {"USVA", 26},  {"USMD", 28},  {"USWV", 35},  {"USME", 49},  {"USMO", 49},  {"USWA", 53},
      {"USVT", 67},  {"USKY", 71},  {"USTN", 75},  {"USMI", 111}, {"USOH", 118}, {"USPA", 123},
      {"USIL", 142}, {"USNY", 226}, {"USIN", 345}, {"BG", 2},     {"CPA", 2},    {"EAT", 2},
      {"EC", 2},     {"JOR", 2},    {"RMM", 2},    {"SA", 2},     {"SYR", 2},    {"U", 2},
      {"UKR", 2},    {"UZB", 2},    {"WRS", 2},    {"D", 3},      {"FSP", 3},    {"GRO", 3},
      {"J", 3},      {"KSP", 3},    {"MAL", 3},    {"MOG", 3},    {"P", 3},      {"RN", 3},
      {"TR", 3},     {"ZA", 3},     {"ZR", 3},     {"I", 4},      {"IL", 4},     {"KAZ", 4},
      {"PNG", 4},    {"RCH", 4},    {"BR", 5},     {"IND", 5},    {"MA", 5},     {"PL", 5},
      {"MSH", 6},    {"E", 7},      {"MEX", 8},    {"NL", 9},     {"AUS", 10},   {"TJ", 12},
      {"SSR", 47},   {"RI", 93},    {"F", 153},    {"CDN", 301},
  };
  // Every zone lookup asks, mostly for the country it asked before.
  struct Last {
    std::uint64_t tables = 0;
    std::string code;
    std::int16_t count = -1;
  };
  Last& last = PerThread<Last>();
  if (last.count >= 0 && last.tables == CurrentAtlas().tables_version && last.code == code) {
    return last.count;
  }
  const std::string mapped = Trim(GetInternalCountryAbbreviation(code));
  std::int16_t count = 0;
  for (const auto& entry : kTimetables) {
    if (TextEqual(mapped, entry.code)) {
      count = entry.count;
      break;
    }
  }
  last = {CurrentAtlas().tables_version, std::string(code), count};
  return count;
}

}  // namespace tarv
