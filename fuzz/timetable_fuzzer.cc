// A timetable file ("ttx.dao", and "TTUSA.dao" on request) from arbitrary
// bytes under the project's zone table: the zone at dates from the input for
// countries and states of the sample atlas, and the lookups built on it.
//
// Input parts (see fuzz_support.h): options (byte 0, bit 0: compress the
// timetable bytes before writing them; bit 1: write them as "TTUSA.dao"
// too; bit 2: compress the rules text), timetable bytes, dates (8-byte
// little-endian serial dates, up to four; a fixed set when there are none),
// and the text of the rules file "DstRules.dat" (none when empty), whose
// change lines decide the dates after 1999.
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "atlas/atlas_fault.h"
#include "atlas/country_table.h"
#include "atlas/dst_rules.h"
#include "atlas/timetable.h"
#include "fuzz_support.h"
#include "text/bytes.h"
#include "text/lz.h"
#include "util/serial_date.h"

namespace {

using namespace tarv;

// Germany, France (whose May dates are corrected), Algeria, California, and
// a code that is no country.
constexpr const char* kCodes[] = {"D", "F", "DZ", "USCA", "XX"};

// The zone at every date; the zone identifier and the kind of local time at
// the first one (each lookup reads the timetable again).
void LookUp(const char* code, std::int16_t timetable, const std::vector<double>& dates) {
  // A broken file is noted as the call's fault, never a crash.
  const FaultScope call;
  ZoneRecord record;
  for (const double date : dates)
    Get_TZData(code, timetable, date, record);
  if (const auto zone = ZoneAt(code, timetable, dates.front())) {
    FUZZ_CHECK(zone->zone_id >= 0 && static_cast<std::size_t>(zone->zone_id) < kZoneCount);
  }
  LocalTimeStatus(code, timetable, dates.front());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto parts =
      fuzz::SplitParts(std::string_view(reinterpret_cast<const char*>(data), size), 4);
  const std::uint8_t options = parts[0].empty() ? 0 : static_cast<std::uint8_t>(parts[0][0]);
  const std::string bytes =
      (options & 1) != 0 ? CompressSzdd(parts[1], 'o') : std::string(parts[1]);

  fuzz::PrepareAtlas(true);
  fuzz::Scratch().Write("ttx.dao", bytes);
  if ((options & 2) != 0) fuzz::Scratch().Write("TTUSA.dao", bytes);
  if (!parts[3].empty()) {
    fuzz::Scratch().Write(kDstRulesFile,
                          (options & 4) != 0 ? CompressSzdd(parts[3], 't') : std::string(parts[3]));
  }

  std::vector<double> dates;
  for (std::size_t at = 0; at + 8 <= parts[2].size() && dates.size() < 4; at += 8)
    dates.push_back(DecodeFloat64(parts[2], at));
  if (dates.empty()) {
    dates = {SerialOfDate(1950, 6, 1), kSerial2000, SerialOfDate(2015, 7, 1),
             SerialOfDate(2040, 7, 1)};
  }

  for (const char* code : kCodes) {
    const std::int16_t country = GetCountryID(code);
    for (std::int16_t timetable = 0; timetable <= 2; ++timetable) {
      LookUp(code, timetable, dates);
      const FaultScope call;
      std::vector<TimetableRecord> entries;
      const std::int16_t n =
          Read_Cp_TimeTable(code, country, dates.front(), timetable, entries, IsUSA(code));
      FUZZ_CHECK(n >= 0 && static_cast<std::size_t>(n) <= entries.size());
      GetRightTimeZone(code, timetable);
      for (const int year : {1985, 2010})
        GetDaylightSavingDate(code, timetable, year, static_cast<std::int16_t>(-(year & 1)));
    }
  }
  return 0;
}
