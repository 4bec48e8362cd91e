#include "export/text_export.h"

#include <algorithm>

#include "atlas/atlas_fault.h"
#include "atlas/atlas_state.h"
#include "atlas/country_table.h"
#include "atlas/place_file.h"
#include "atlas/place_image.h"
#include "atlas/timetable.h"
#include "atlas/zone_table.h"
#include "export/file_helpers.h"
#include "platform/atomic_file.h"
#include "platform/paths.h"
#include "platform/per_thread.h"
#include "tarvplaces/atlas_error.h"
#include "text/codepage.h"
#include "text/lz.h"
#include "util/number_text.h"
#include "util/serial_date.h"

namespace tarv {
namespace {

constexpr const char* kCrLf = "\r\n";
constexpr std::size_t kChunk = std::size_t{1} << 20;

template <typename... Fields>
void Line(std::string& text, const Fields&... fields) {
  bool first = true;
  ((text += (first ? "" : "\t"), text += fields, first = false), ...);
  text += kCrLf;
}

std::string CountryLine(std::size_t position, const CountryRecord& r) {
  std::string line;
  Line(line, std::to_string(position), std::to_string(r.CountryId), r.CountryTitle, r.CountryShort,
       r.TimezoneShort, r.Continent, r.SubContinent, r.Meaning, r.Info, r.HaveZonesSince,
       std::to_string(r.ContinentID), std::to_string(r.SubContinentID));
  return line;
}

}  // namespace

std::size_t Export_Cp_Orte(const std::string& place_file, const std::string& country, bool user,
                           std::string& text) {
  std::int32_t error = 0;
  const auto image = ExistingImage(place_file, error, user ? Packing::kAsFound : Packing::kSzdd);
  // Leaving the places of a damaged file out would export a smaller atlas.
  if (error != 0) {
    throw AtlasError(place_file, Utf8FromAnsi(LZERROR_Msg(error, AnsiFromUtf8(place_file))));
  }
  if (!image) return 0;
  if (const std::string problem = PlaceFileProblem(*image, place_file); !problem.empty()) {
    throw AtlasError(place_file, problem);
  }
  // Room for the file's lines at once, growing the whole text geometrically.
  const std::size_t wanted = text.size() + image->size() / kPlaceRecordSize * 72;
  if (text.capacity() < wanted) text.reserve(std::max(wanted, 2 * text.capacity()));
  std::size_t count = 0;
  for (std::size_t at = 0; at + kPlaceRecordSize <= image->size(); at += kPlaceRecordSize) {
    const PlaceRecord p = DecodePlaceRecord(std::string_view(*image).substr(at, kPlaceRecordSize));
    if (p.IsDeleted()) continue;
    // One line at a time into a buffer that keeps its room: the text grows
    // by whole lines.
    struct Line {
      std::string text;
    };
    std::string& line = PerThread<Line>().text;
    line.assign(country);
    line += '\t';
    line += p.NameField();
    line += '\t';
    AppendSingleText(p.Longitude, line);
    line += '\t';
    AppendSingleText(p.Latitude, line);
    line += '\t';
    line += std::to_string(p.Timetable);
    line += user ? "\t1" : "\t0";
    line += kCrLf;
    text += line;
    ++count;
  }
  return count;
}

ExportCounts ExportPlaces(const std::string& country_file, const std::string& out_folder,
                          const std::function<void(const std::string&, double)>& progress) {
  const std::uint64_t notes = FaultNotes();
  InitializeCountries("", country_file.empty() ? "Country.dat" : country_file, false, true);
  InitializeTimeZones("", "Zones13.bin");
  // Exporting the tables as they were before would write another atlas.
  if (FaultNotes() != notes) {
    const auto fault = LastMalformedFile();
    throw AtlasError(fault->file, fault->problem);
  }
  return ExportLoadedAtlas(out_folder, progress);
}

ExportCounts ExportLoadedAtlas(const std::string& out_folder,
                               const std::function<void(const std::string&, double)>& progress) {
  const std::string out = out_folder.empty() ? AtlasFolder("") : AddBackslash(out_folder, true);
  const auto& table = CurrentAtlas().countries;
  const std::size_t last = table.size() > kNonCountryTail ? table.size() - kNonCountryTail : 0;
  ExportCounts counts;

  // All four are written in full before any of them replaces an old one. The
  // old Cities.txt is replaced whole, not appended to. Places and timetables
  // go out a few countries at a time rather than held whole in memory.
  StagedFile cities_file(NativePath(out + "Cities.txt"));
  std::string cities;
  Line(cities, "Country", "City", "Longitude", "Latitude", "Timetable", "User");
  std::string countries;
  Line(countries, "Id", "CountryId", "CountryTitle", "CountryShort", "TimezoneShort", "Continent",
       "SubContinent", "Meaning", "Info", "HaveZonesSince", "ContinentID", "SubContinentID");
  StagedFile timetables_file(NativePath(out + "Timetable.txt"));
  std::string timetables;
  Line(timetables, "CountryId", "Timetable", "RunningId", "TZIndex", "Date");
  for (std::size_t i = 1; i < last; ++i) {
    const CountryRecord& c = table[i];
    if (progress) progress(c.CountryShort, static_cast<double>(i) / static_cast<double>(last));
    const std::string place_file = GetCompressedPlaceFile(c.CountryShort);
    counts.places += Export_Cp_Orte(place_file, c.CountryShort, false, cities);
    counts.places += Export_Cp_Orte(Get_UserFile(place_file), c.CountryShort, true, cities);
    for (auto [text, file] : {std::pair{&cities, &cities_file}, {&timetables, &timetables_file}}) {
      if (text->size() < kChunk) continue;
      file->Write(*text);
      text->clear();
    }
    countries += CountryLine(i, c);
    ++counts.countries;
    const std::int16_t number = HaveTimetables(c.CountryShort);
    for (std::int16_t t = 1; t <= number; ++t) {
      std::vector<TimetableRecord> entries;
      std::int32_t error = 0;
      Read_Cp_TimeTable(c.CountryShort, c.CountryId, kSerial2000, t, entries, IsUSA(c.CountryShort),
                        "", &error);
      if (error != 0) {
        const std::string file =
            AtlasFolder("") + (IsUSA(c.CountryShort) ? "TTUSA.dao" : "ttx.dao");
        const auto malformed = LastMalformedFile();
        if (malformed && malformed->file == file) throw AtlasError(file, malformed->problem);
        throw AtlasError(file, Utf8FromAnsi(LZERROR_Msg(error, AnsiFromUtf8(file))));
      }
      for (std::size_t e = 0; e < entries.size(); ++e) {
        Line(timetables, std::to_string(c.CountryId), std::to_string(t), std::to_string(e + 1),
             std::to_string(entries[e].Zone), DateTimeText(entries[e].Datum));
      }
      counts.timetable_entries += entries.size();
    }
  }
  std::string zones;
  Line(zones, "Id", "TZIndex", "TZShort", "TZName", "TZDif", "TZType", "TZSortIndex", "TZShow");
  const auto& zone_table = CurrentAtlas().zones;
  for (std::size_t z = 0; z < zone_table.size(); ++z) {
    const ZoneRecord& r = zone_table[z];
    Line(zones, std::to_string(z), std::to_string(z), r.TZShort, r.TZName, SingleToText(r.TZDif),
         std::string(1, r.TZType), std::to_string(r.TZSortIndex), std::to_string(r.TZShow));
    ++counts.zones;
  }

  cities_file.Write(cities);
  cities_file.Flush();
  StagedFile staged[] = {{NativePath(out + "Countries.txt"), countries},
                         {NativePath(out + "Zones.txt"), zones}};
  timetables_file.Write(timetables);
  timetables_file.Flush();
  cities_file.Commit();
  for (auto& file : staged)
    file.Commit();
  timetables_file.Commit();
  if (progress) progress("", 1.0);
  return counts;
}

}  // namespace tarv
