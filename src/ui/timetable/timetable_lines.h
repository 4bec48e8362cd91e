// The lines in which both dialogs list a timetable, and the description of
// one entry.
#ifndef TARVPLACES_UI_TIMETABLE_TIMETABLE_LINES_H_
#define TARVPLACES_UI_TIMETABLE_TIMETABLE_LINES_H_

#include <cstdint>
#include <string>
#include <vector>

#include "tarvplaces/language.h"
#include "ui/placemanager/atlas_access.h"

namespace tarv::ui {

// One entry of a timetable as the lists show it. Texts are UTF-8.
struct TimetableEntryLine {
  std::string text;          // "01.04.1893 00.00  MET"
  std::string zone;          // "MET/S", composed for the US generics ("EDT")
  std::string zone_name;     // "Middle European Time, summer time"
  bool summer_time = false;  // a summer or double summer zone
};

// A timetable of a country as listed: the line "before is LMT" / "davor gilt
// LMT" first, then one line per entry in file order, with "dd.mm.yyyy hh.nn"
// and, when `with_zones`, two blanks and the zone. The history's implicit
// first entry (1 January 1700, local mean time) is what the first line says
// and is not repeated. An unknown country or timetable gives the first line
// alone.
//
// In the timetables of the US states the generic zones "ST", "DT" and "WT"
// stand for standard, daylight and war time of the state's base zone; they
// are shown with the base zone's letters ("EST", "EDT", "EWT" for a state
// on "EST") and described by its name with "Standard" replaced ("Eastern
// Daylight Time (North America)").
struct TimetableListing {
  std::vector<std::string> items;
  // entries[i] describes items[i]; entries[0] is local mean time.
  std::vector<TimetableEntryLine> entries;
};
TimetableListing ListTimetable(const std::string& country, std::int16_t timetable, bool with_zones,
                               const TarvLanguage& language);

// "Local time: " / "Ortszeit: " + the zone's name + "  (" + zone + ")" for
// an entry, "No choice" / "Keine Auswahl" for none.
std::string LocalTimeDescription(const TimetableEntryLine* entry, const TarvLanguage& language);

// One line saying that a place of `country` follows its own zone history
// (DifferingOwnHistory) in the years it differs from timetable `timetable`:
// "Own zone history Asia/Urumqi in 1928-1980 (differs from timetable 1)" /
// "Eigene Zonengeschichte Asia/Urumqi in 1928-1980 (weicht von Zeittabelle 1
// ab)"; for timetable 0, a country's only history, "(differs from the
// country's history)". "" when they agree and where the atlas keeps no such
// history.
std::string OwnHistoryNote(const std::string& country, const PlaceData& place,
                           std::int16_t timetable, const TarvLanguage& language);
// Where the times of a place come from, when no difference is to be told:
// "Times from Europe/Berlin, tzdata 2025b (incomplete before 1970)": tzdata
// does not aim to be complete before 1970;
// "" where the place follows its timetable.
std::string ZoneSourceNote(const std::string& country, const PlaceData& place,
                           const TarvLanguage& language);
// The same for the database place `record`; "" for user places, which
// their record number does not name.
std::string OwnHistoryNote(const std::string& country, std::int16_t record, std::int16_t timetable,
                           const TarvLanguage& language);

}  // namespace tarv::ui

#endif  // TARVPLACES_UI_TIMETABLE_TIMETABLE_LINES_H_
