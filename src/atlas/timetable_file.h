// Timetable files: "ttx.dao" (every country but the USA) and "TTUSA.dao"
// (the US states), read per country and timetable and kept per file version.
//
// 10-byte records, little-endian: a double (a serial date, local wall-clock
// time from which the entry holds, or a marker) and a 16-bit zone index. A
// date of -N x 100,000 opens the block of timetable N within the current
// country section; a date at or below -100,000,000 opens the section of
// country int(|date| / 100,000,000). Zone codes 138, 139 and 140 stand for
// the last three entries of the loaded zone table.
#ifndef TARVPLACES_ATLAS_TIMETABLE_FILE_H_
#define TARVPLACES_ATLAS_TIMETABLE_FILE_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "atlas/country_record.h"

namespace tarv {

inline constexpr std::size_t kTimetableRecordSize = 10;
inline constexpr double kBlockMarkerStep = 100000.0;
inline constexpr double kSectionMarkerStep = 100000000.0;
// Serial dates: 1 January 1700, 1 January 1999, 1 January 2000, the
// smallest the host's date type holds (1 January 100), and the first it
// cannot hold (1 January 10000).
inline constexpr double kSerial1700 = -73046.0;
inline constexpr double kSerial1999 = 36161.0;
inline constexpr double kSerial2000 = 36526.0;
inline constexpr double kSmallestSerial = -657434.0;
inline constexpr double kLargestSerial = 2958466.0;

struct TimetableRecord {
  double Datum = 0.0;     // serial date (local) from which the zone holds
  std::int16_t Zone = 0;  // index into the zone table
  friend bool operator==(const TimetableRecord&, const TimetableRecord&) = default;
};

// One country section of a timetable file for the writer: timetables[0] is
// timetable 1. An empty timetable is written as its marker alone.
struct TimetableSection {
  std::int16_t country = 0;
  std::vector<std::vector<TimetableRecord>> timetables;
};

// The bytes of a timetable file holding `sections` in order.
std::string EncodeTimetableFile(const std::vector<TimetableSection>& sections);

// Reads timetable `number` of country `country_id` into `result` and returns
// the number of entries (16-bit).
//  - Both tables must be loaded already (the loaders' deliberate result is
//    honoured: the call that loads them returns 0 here).
//  - A reference date after 1 January 2000 gives one empty entry and 0: the
//    files end with 1999. Exactly 1 January 2000 gives the whole timetable.
//  - A reference date before 1 January 100 gives one entry, 1 January 1700
//    with zone 0 (local mean time), and 1.
//  - Otherwise the first entry is always 1 January 1700, zone 0, followed by
//    the block's records in file order; reading does not stop at the
//    reference date, so a caller gets the whole history. A missing section
//    or block leaves the 1700 entry alone.
//  - `usa` chooses "TTUSA.dao" over "ttx.dao"; `folder` names the folder to
//    read from, "" meaning the place folder.
//  - For France, entries in May of a year after 1975 move four months later,
//    a correction of that country's data.
// Reading stops at the next block marker or country marker. Section
// positions are remembered per file image, so asking the same file again
// jumps straight to the section. A missing file gives 0 entries silently. A
// file that cannot be read (damaged compressed data, even past the wanted
// block, an unknown compression mode) is an LZ error: the file is noted as
// the call's atlas fault (which the classic members show under the title
// "Read_Cp_TimeTable"), `*lz_error` (when given) receives the code, and what
// was read so far is returned. A zone number outside the zone table or an
// entry whose date the host's date type cannot hold (NaN, infinite, before
// the year 100 or after 9999) is noted as a malformed file naming the
// country, timetable and entry; `*lz_error` then receives LZERROR_BADVALUE.
std::int16_t Read_Cp_TimeTable(std::string_view code, std::int16_t country_id, double reference,
                               std::int32_t number, std::vector<TimetableRecord>& result, bool usa,
                               const std::string& folder = "", std::int32_t* lz_error = nullptr);

// Timetable `number` of `country` as the zone lookups read it: from 1700
// through its last change before 2000, kept while the file and the tables
// are the versions it was read from. nullptr when the file cannot be read
// (noted as the call's atlas fault, once per call).
std::shared_ptr<const std::vector<TimetableRecord>> TimetableHistory(const CountryRecord& country,
                                                                     std::int16_t number);

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_TIMETABLE_FILE_H_
