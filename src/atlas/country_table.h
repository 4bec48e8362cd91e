// The country table: "Country.dat", the fallback record, the six continent
// records, and the lookups by code, title, number and continent.
//
// All texts here are Windows-1252; comparisons ignore case.
#ifndef TARVPLACES_ATLAS_COUNTRY_TABLE_H_
#define TARVPLACES_ATLAS_COUNTRY_TABLE_H_

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "atlas/atlas_fault.h"
#include "atlas/country_record.h"

namespace tarv {

// Most lines "Country.dat" may hold.
inline constexpr std::size_t kMaxCountryLines = 300;
// Continent records at the end of the table; lines at the end of the file
// that stay unsorted; entries at the end never treated as countries (the
// five group lines and the six continents).
inline constexpr std::size_t kContinentRecords = 6;
inline constexpr std::size_t kUnsortedTailLines = 5;
inline constexpr std::size_t kNonCountryTail = 11;

// The groups that end the table, by continent number: the five continents
// and the USA, whose member countries a search reads. The German names are
// their codes (place files and searches use them); a table loaded in
// English titles them with the English names. Kept exactly as hosts know
// them, mixed forms and case included.
inline constexpr std::array<std::string_view, kContinentRecords> kGroupCodes = {
    "AFRIKA", "AMERIKA", "ASIEN", "EUROPA", "OCEANIEN", "USA"};
inline constexpr std::array<std::string_view, kContinentRecords> kGroupTitlesEnglish = {
    "AFRICA", "THE AMERIKAS", "ASIA", "EUROPE", "S Pacific", "USA"};

// True for a group's code (any case).
bool IsGroupCode(std::string_view code);

// True for the position of a group record in a table of `table_size`
// entries: the last kContinentRecords.
inline bool IsGroupPosition(std::size_t index, std::size_t table_size) {
  return index > 0 && index < table_size && index + kContinentRecords >= table_size;
}

// Parses the text of a country file into records 1..n (no fallback, no
// continents). Lines end in CR LF (LF or CR alone are accepted too); a final
// line break does not start another line. The fault names `file` and the
// line for fewer than eleven TAB-separated fields, a number outside
// the 16-bit range, a country code holding a control character, a CountryId
// of an earlier line, no line at all, or more than 300 lines.
ReadResult<std::vector<CountryRecord>> ParseCountryFile(std::string_view text,
                                                        const std::string& file);

// The fallback record "unbekannt" of position 0.
CountryRecord FallbackCountry();

// The six continent records for a table of `n` lines, in the language
// `language` (2 = German names).
std::vector<CountryRecord> ContinentRecords(std::size_t n, std::int32_t language);

// The positions of `lines` in the order the sorted country list has: all but
// the last five lines by title (equal titles in file order), then those five.
std::vector<std::size_t> TitleOrder(const std::vector<CountryRecord>& lines);

// The eleven fields of a record joined by TAB (the host's country line).
std::string CountryLine(const CountryRecord& record);

// The text of a country file holding `records` in order: one CountryLine
// each, ended by CR LF. ParseCountryFile reads it back unchanged.
std::string CountryFileText(const std::vector<CountryRecord>& records);

// Loads the country table into the atlas's state. With `force_reload` false
// and the table loaded, returns true and does nothing. Otherwise `path`
// (empty: the place folder) plus `file_name` is read; a missing file leaves
// the table as it was. `sort` orders all but the last five lines by title.
// Deliberately returns the loaded flag as it stood on entry (false with
// `force_reload`), so the call that loads returns false. A malformed file
// is noted (NoteMalformedFile) and leaves the table as it was.
bool InitializeCountries(std::string path, const std::string& file_name, bool sort,
                         bool force_reload);

// Maps historical and successor-state codes: "RUS" to "SSR", "UK" to "GBE",
// "MNE", "SRB", "HR", "SLO", "BIH", "MK" to "YU" (any case); the result is
// trimmed of blanks. Other codes come back trimmed, as written.
std::string GetInternalCountryAbbreviation(std::string_view code);

// The country number of a code or title: exact code, exact title, title
// prefix, code prefix, in that order, over positions 1 to the end. Returns 0
// for "*", "", a text holding a control character, an unknown text, and on
// the call that first loads the table.
std::int16_t GetCountryID(std::string_view code);

// The number of the country (or continent) whose own code `code` is, mapped
// and compared as GetCountryID compares codes; 0 for a title or its
// beginning, which GetCountryID also takes, and for unknown codes. Places
// are stored under codes: a place filed under "con" would land in
// Connecticut, where no lookup by "con" (the file CON.dao) reads it.
std::int16_t GetCountryIDOfCode(std::string_view code);

// The position of the first record with this number; 0 when none (also when
// the table was never loaded).
std::int16_t GetCountryIndexOfID(std::int32_t id);

// The continent number of a continent name or its first five letters
// ("europ" finds EUROPA / EUROPE); 0 for anything else, country codes and
// texts holding a control character included, and on the loading call.
std::int16_t GetContinentID(std::string_view code);

// True when the first two characters are "US" (any case).
bool IsUSA(std::string_view code);

// True for the countries and states with several time zones.
bool HaveSeveralTimeZones(std::string_view code);

// The fixed number of timetables of a country or state, 0 for others.
std::int16_t HaveTimetables(std::string_view code);

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_COUNTRY_TABLE_H_
