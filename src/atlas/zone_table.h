// The zone table: "Zones13.bin", its 287 fixed records, and the lookups of a
// zone by abbreviation.
//
// A zone is referred to everywhere by its position in the table (the zone
// identifier, 0 to 286). Texts are Windows-1252, kept blank-padded to their
// field widths as the file holds them.
#ifndef TARVPLACES_ATLAS_ZONE_TABLE_H_
#define TARVPLACES_ATLAS_ZONE_TABLE_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "atlas/zone_record.h"

namespace tarv {

// Loads the zone table into the process state unless it is loaded (then
// returns true at once). `path` empty means the place folder. A missing file
// leaves a table of one blank entry and the table not loaded. Deliberately
// returns the loaded flag as it stood on entry, so the loading call returns
// false.
bool InitializeTimeZones(std::string path, const std::string& file_name);

// The seven fields of a record joined by TAB: TZShort and TZName with their
// blanks, TZDif in the general number format of the locale, TZType,
// TZSortIndex, TZExtra, TZShow as decimal integers.
std::string ZoneLine(const ZoneRecord& record);

// The zone list line of `zone_id` (the same as ZoneLine). For zone 0, local
// mean time, `zone_time` first becomes its offset in the shared table, so
// every later reader of zone 0 sees the last value stored. Loads the table
// when needed; "" for an identifier outside the table.
std::string GetTimeZoneListString(std::int16_t zone_id, double zone_time = 0.0);

// The zone identifier of an abbreviation: blanks removed and upper-cased,
// aliases resolved ("MEZ" and "CET" are "MET", "MES" is "MET/S", "EED" is
// "EET/S"...), then the first entry whose trimmed TZShort equals it; 0 when
// none does or the table is not loaded.
std::int16_t GetTimezoneId(std::string_view abbreviation);

// The canonical abbreviation an alias ends on, or "" when `normalized` (blank
// free, upper case) is no alias. Exposed so tests can check every alias
// against the table.
std::string ResolveZoneAlias(const std::string& normalized);

// The abbreviations the alias step recognises.
std::vector<std::string> ZoneAliasNames();

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_ZONE_TABLE_H_
