// The text export of the whole atlas: Countries.txt, Cities.txt, Zones.txt
// and Timetable.txt, TAB-separated, Windows-1252, lines ended by CR LF.
//
// Cities.txt starts with the header "Country City Longitude Latitude
// Timetable User" and holds one line per place: the country code, the
// 28-character name with its trailing blanks, longitude and latitude (the
// shared single-precision conversion), the timetable number, and 1 for a
// user place or 0 for an atlas place; per country its atlas places come
// first, then its user places. Deleted user places are left out.
#ifndef TARVPLACES_EXPORT_TEXT_EXPORT_H_
#define TARVPLACES_EXPORT_TEXT_EXPORT_H_

#include <cstddef>
#include <functional>
#include <string>

namespace tarv {

struct ExportCounts {
  std::size_t countries = 0;
  std::size_t places = 0;
  std::size_t zones = 0;
  std::size_t timetable_entries = 0;
};

// Appends a line for every place of one place file (deleted records left
// out) to `text`, `user` marking the places as the user's. Returns their
// number; a missing file adds nothing. A file that is present but cannot be
// read (damaged compressed data, an unknown compression mode) throws
// AtlasError naming it.
std::size_t Export_Cp_Orte(const std::string& place_file, const std::string& country, bool user,
                           std::string& text);

// Reloads the country table from `country_file` ("Country.dat" when empty),
// loads the zone table and writes the four files into `out_folder` (the
// place folder when empty). Each file is written in full under its temporary
// name ("Cities.~~~", see StagedFile) and the four replace the old ones only
// when all are complete: the old Cities.txt is replaced whole (no line of it
// survives, so two exports give the same files), and a failed export leaves
// the old files as they were and no temporary file behind. Throws AtlasError
// naming the file and the entry for a place or timetable file that is
// present but cannot be read, or a timetable entry that is not a date;
// AtlasWriteError naming the file when the folder cannot be written.
// `progress` hears the country being exported and the fraction done.
ExportCounts ExportPlaces(const std::string& country_file, const std::string& out_folder = "",
                          const std::function<void(const std::string&, double)>& progress = {});

// The same from the tables the current atlas has loaded, which it leaves as
// they are: what hosts that look up on the atlas at the same time use.
ExportCounts ExportLoadedAtlas(
    const std::string& out_folder,
    const std::function<void(const std::string&, double)>& progress = {});

}  // namespace tarv

#endif  // TARVPLACES_EXPORT_TEXT_EXPORT_H_
