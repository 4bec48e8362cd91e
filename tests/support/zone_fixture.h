// The project's zone table, read from its source, for tests.
#ifndef TARVPLACES_TESTS_SUPPORT_ZONE_FIXTURE_H_
#define TARVPLACES_TESTS_SUPPORT_ZONE_FIXTURE_H_

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "atlas/zone_table.h"
#include "atlas/zone_table_source.h"

namespace tarv::testing {

inline std::string ZonesTsvPath() {
  return std::string(TARV_SOURCE_DIR) + "/data/zones.tsv";
}

inline std::vector<ZoneRecord> ProjectZoneTable() {
  std::ifstream in(ZonesTsvPath(), std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  return ValueOrAtlasError(ParseZoneTableSource(text, ZonesTsvPath()));
}

// The bytes of "Zones13.bin" as the build writes it.
inline std::string ProjectZoneFile() {
  return EncodeZoneFile(ProjectZoneTable());
}

}  // namespace tarv::testing

#endif  // TARVPLACES_TESTS_SUPPORT_ZONE_FIXTURE_H_
