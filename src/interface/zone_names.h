// Zone names as people read them, in their language: the long names Unicode
// CLDR gives each zone (through ICU), for the zone's metazone at the date.
#ifndef TARVPLACES_INTERFACE_ZONE_NAMES_H_
#define TARVPLACES_INTERFACE_ZONE_NAMES_H_

#include <cstdint>
#include <string>

namespace tarv {

// The long name of the IANA zone `iana` at `utc_seconds` (since 1970) in the
// language of `locale` ("en", "de"), UTF-8: "Korean Standard Time",
// "Koreanische Normalzeit", "Korean Daylight Time" when `daylight`. Where
// CLDR names no metazone for that date, the zone's location name ("Syria
// Time", "Uhrzeit: Ürümqi"). Unknown zones give "".
std::string ZoneLongName(const std::string& iana, std::int64_t utc_seconds, bool daylight,
                         const std::string& locale);

}  // namespace tarv

#endif  // TARVPLACES_INTERFACE_ZONE_NAMES_H_
