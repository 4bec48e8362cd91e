// The readable source of the atlas's zone table (data/zones.tsv), from which
// the build writes "Zones13.bin".
#ifndef TARVPLACES_ATLAS_ZONE_TABLE_SOURCE_H_
#define TARVPLACES_ATLAS_ZONE_TABLE_SOURCE_H_

#include <string>
#include <string_view>
#include <vector>

#include "atlas/atlas_fault.h"
#include "atlas/zone_table.h"

namespace tarv {

// Parses the TSV text: lines starting with "#" are comments, the first other
// line is the header "index abbreviation name offset kind sort extra show",
// then one line per entry in index order. Offsets read "+1:00", "-3:30",
// "+0:19:32" (hours east of UTC). Texts are UTF-8 and become Windows-1252.
// The fault names `file` and the line for a wrong column count, an
// index out of order, a text too long for its field, an unknown kind, a
// malformed offset, a repeated abbreviation, or a count other than 287.
ReadResult<std::vector<ZoneRecord>> ParseZoneTableSource(std::string_view text,
                                                         const std::string& file);

// Parses an offset text ("+5:45", "-0:25:21") into seconds east of UTC.
// Returns false for anything else.
bool ParseUtcOffset(std::string_view text, int& seconds);

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_ZONE_TABLE_SOURCE_H_
