#include "atlas/zone_table.h"

#include <array>
#include <bit>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "atlas/atlas_fault.h"
#include "atlas/atlas_state.h"
#include "platform/paths.h"
#include "text/bytes.h"
#include "util/file_tests.h"
#include "util/number_text.h"
#include "util/text.h"

namespace tarv {
namespace {

enum class AliasRule : std::uint8_t {
  kTo,            // the named abbreviation
  kSummerOf,      // first two letters + "T/S"
  kDoubleSummer,  // first two letters + "T/DS"
};

struct Alias {
  const char* name;
  AliasRule rule;
  const char* target;  // kTo only; equal to `name` where the name is passed on
};

// Every alternative abbreviation hosts and old charts use, and where it ends.
// A target is always an abbreviation of the zone table (checked by a test);
// names passed on unchanged are entries of their own.
constexpr std::array<Alias, 67> kAliases = {{
    {"LMT", AliasRule::kTo, "LMT"},
    {"CAT", AliasRule::kTo, "EET"},
    {"NAD", AliasRule::kTo, "NST/S"},
    {"UT", AliasRule::kTo, "GMT"},
    {"GT", AliasRule::kTo, "GMT"},
    {"WET", AliasRule::kTo, "GMT"},
    {"WEZ", AliasRule::kTo, "GMT"},
    {"MEZ", AliasRule::kTo, "MET"},
    {"CET", AliasRule::kTo, "MET"},
    {"MES", AliasRule::kTo, "MET/S"},
    {"WES", AliasRule::kTo, "WET/S"},
    {"AGD", AliasRule::kSummerOf, nullptr},
    {"AZT", AliasRule::kTo, "AZOT"},
    {"BGD", AliasRule::kSummerOf, nullptr},
    {"BZD", AliasRule::kSummerOf, nullptr},
    {"CCD", AliasRule::kSummerOf, nullptr},
    {"EED", AliasRule::kSummerOf, nullptr},
    {"GSD", AliasRule::kSummerOf, nullptr},
    {"HSD", AliasRule::kTo, "HDT/S"},
    {"IRD", AliasRule::kSummerOf, nullptr},
    {"JSD", AliasRule::kSummerOf, nullptr},
    {"JVD", AliasRule::kTo, "JVT/S"},
    {"NFD", AliasRule::kSummerOf, nullptr},
    {"NSD", AliasRule::kSummerOf, nullptr},
    {"NZD", AliasRule::kSummerOf, nullptr},
    {"OZD", AliasRule::kSummerOf, nullptr},
    {"SSD", AliasRule::kSummerOf, nullptr},
    {"WAD", AliasRule::kSummerOf, nullptr},
    {"RS3", AliasRule::kTo, "MSK"},
    {"RS4", AliasRule::kTo, "GST"},
    {"RS5", AliasRule::kTo, "PKT"},
    {"WE2", AliasRule::kDoubleSummer, nullptr},
    {"ME2", AliasRule::kDoubleSummer, nullptr},
    {"SAT", AliasRule::kTo, "ACST"},
    {"SAS", AliasRule::kTo, "ACST/S"},
    {"SAST", AliasRule::kTo, "ACST"},
    {"BT", AliasRule::kTo, "MSK"},
    {"MOT", AliasRule::kTo, "MSK"},
    {"ADT", AliasRule::kTo, "AST/S"},
    {"SAD", AliasRule::kTo, "ACST/S"},
    {"AHT", AliasRule::kTo, "AHST"},
    {"AHD", AliasRule::kTo, "AHDT"},
    {"BGT", AliasRule::kTo, "BGT"},
    {"IDL", AliasRule::kTo, "NZT"},
    {"DAT", AliasRule::kTo, "Z-12"},
    {"OEZ", AliasRule::kTo, "EET"},
    {"EET", AliasRule::kTo, "EET"},
    {"IND", AliasRule::kTo, "IST/S"},
    {"INT", AliasRule::kTo, "IST"},
    {"IST", AliasRule::kTo, "IST"},
    {"KED", AliasRule::kTo, "KST/S"},
    {"IRT", AliasRule::kTo, "IRT"},
    {"JT", AliasRule::kTo, "JVT"},
    {"JVT", AliasRule::kTo, "JVT"},
    {"MT", AliasRule::kTo, "MST"},
    {"KET", AliasRule::kTo, "MSK"},
    {"KYT", AliasRule::kTo, "EET"},
    {"CED", AliasRule::kTo, "MET/S"},
    {"NT", AliasRule::kTo, "SST"},
    {"NAT", AliasRule::kTo, "AST"},
    {"NZT", AliasRule::kTo, "NZT"},
    {"GMD", AliasRule::kTo, "WET/S"},
    {"11D", AliasRule::kTo, "Z11/S"},
    {"GMT", AliasRule::kTo, "GMT"},
    {"ACST", AliasRule::kTo, "ACST"},
    {"MET", AliasRule::kTo, "MET"},
    {"AHDT", AliasRule::kTo, "AHDT"},
}};

std::int16_t ScanTable(const std::string& normalized) {
  const auto& zones = CurrentAtlas().zones;
  for (std::size_t i = 0; i < zones.size(); ++i) {
    if (UCase(Trim(zones[i].TZShort)) == normalized) return static_cast<std::int16_t>(i);
  }
  return 0;
}

}  // namespace

bool InitializeTimeZones(std::string path, const std::string& file_name) {
  AtlasState& state = CurrentAtlas();
  if (state.zones_loaded) return true;
  // Once, whichever thread asks first; the others wait and find it loaded.
  const std::lock_guard<std::recursive_mutex> lock(state.tables_mutex);
  if (state.zones_loaded) return true;
  const std::string file = AtlasFolder(std::move(path)) + file_name;
  if (auto read = ReadPlainAtlasFile(file)) {
    if (!*read) {
      NoteMalformedFile(read->fault());
      return false;
    }
    const std::string& bytes = **read;
    if (std::string problem = ZoneFileProblem(bytes); !problem.empty()) {
      NoteMalformedFile({file, std::move(problem)});  // the table stays as it was
      return false;
    }
    state.zones = DecodeZoneFile(bytes);
    state.TablesChanged();
    state.zones_loaded = true;
  } else if (state.zones.size() != 1) {
    state.zones.assign(1, ZoneRecord{});  // a blank entry: empty texts read as blanks
    state.TablesChanged();
  }
  return false;
}

std::string ZoneLine(const ZoneRecord& z) {
  std::string line = z.TZShort;
  line += '\t';
  line += z.TZName;
  line += '\t';
  line += SingleToText(z.TZDif);
  line += '\t';
  line += z.TZType;
  line += '\t' + std::to_string(z.TZSortIndex) + '\t' + std::to_string(z.TZExtra) + '\t' +
          std::to_string(z.TZShow);
  return line;
}

std::string GetTimeZoneListString(std::int16_t zone_id, double zone_time) {
  InitializeTimeZones("", "Zones13.bin");
  auto& zones = CurrentAtlas().zones;
  if (zone_id < 0 || static_cast<std::size_t>(zone_id) >= zones.size()) return {};
  if (zone_id == 0) zones[0].TZDif = static_cast<float>(zone_time);
  return ZoneLine(zones[static_cast<std::size_t>(zone_id)]);
}

std::string ResolveZoneAlias(const std::string& normalized) {
  for (const auto& alias : kAliases) {
    if (normalized != alias.name) continue;
    switch (alias.rule) {
      case AliasRule::kTo:
        return alias.target;
      case AliasRule::kSummerOf:
        return normalized.substr(0, 2) + "T/S";
      case AliasRule::kDoubleSummer:
        return normalized.substr(0, 2) + "T/DS";
    }
  }
  return {};
}

std::vector<std::string> ZoneAliasNames() {
  std::vector<std::string> names;
  for (const auto& alias : kAliases)
    names.emplace_back(alias.name);
  return names;
}

std::int16_t GetTimezoneId(std::string_view abbreviation) {
  std::string normalized;
  for (const char c : abbreviation) {
    if (c != ' ') normalized += c;
  }
  normalized = UCase(normalized);
  auto& known = TableAnswers<struct ZoneIds, std::string, std::int16_t>();
  if (const auto it = known.find(normalized); it != known.end()) return it->second;
  // A target is never an alias of something else, so one step resolves it;
  // names passed on unchanged go straight to the table.
  const std::string canonical = ResolveZoneAlias(normalized);
  const std::int16_t id = ScanTable(canonical.empty() ? normalized : canonical);
  // Abbreviations asked for are few; the bound only keeps odd input in check.
  known.emplace(std::move(normalized), id);
  return id;
}

}  // namespace tarv
