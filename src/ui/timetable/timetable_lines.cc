#include "ui/timetable/timetable_lines.h"

#include <array>
#include <cstdio>

#include "ui/placemanager/atlas_access.h"
#include "util/serial_date.h"

namespace tarv::ui {
namespace {

std::string DateText(double serial) {
  const CalendarTime t = CalendarOfSerial(serial);
  std::array<char, 40> text{};
  std::snprintf(text.data(), text.size(), "%02d.%02d.%04d %02d.%02d", t.day, t.month, t.year,
                t.hour, t.minute);
  return text.data();
}

TimetableEntryLine EntryLine(const std::string& country, const TimetableRow& row, bool with_zones) {
  const TimetableZone zone = ZoneOfEntry(country, row.ZoneId);
  TimetableEntryLine line{DateText(row.Date), zone.abbreviation, zone.name, zone.summer_time};
  if (with_zones) line.text += "  " + line.zone;
  return line;
}

}  // namespace

TimetableListing ListTimetable(const std::string& country, std::int16_t timetable, bool with_zones,
                               const TarvLanguage& language) {
  TimetableListing listing;
  // Zone 0, local mean time, holds before the first change.
  const TimetableZone local_mean_time = ZoneOfEntry("", 0);
  TimetableEntryLine lmt{language.Choose("before is LMT", "davor gilt LMT"),
                         local_mean_time.abbreviation, local_mean_time.name,
                         local_mean_time.summer_time};
  listing.items.push_back(lmt.text);
  listing.entries.push_back(std::move(lmt));
  for (const TimetableRow& row : ZoneChanges(country, timetable)) {
    TimetableEntryLine line = EntryLine(country, row, with_zones);
    listing.items.push_back(line.text);
    listing.entries.push_back(std::move(line));
  }
  return listing;
}

std::string LocalTimeDescription(const TimetableEntryLine* entry, const TarvLanguage& language) {
  if (entry == nullptr) return language.Choose("No choice", "Keine Auswahl");
  return language.Choose("Local time: ", "Ortszeit: ") + entry->zone_name + "  (" + entry->zone +
         ")";
}

namespace {

std::string NoteOf(const std::optional<OwnZoneHistory>& own, std::int16_t timetable,
                   const TarvLanguage& language) {
  if (!own) return {};
  const std::string number = std::to_string(timetable);
  // A country without timetables has one history, numbered 0.
  const std::string from = timetable == 0
                               ? language.Choose(" (differs from the country's history)",
                                                 " (weicht von der Zeitgeschichte des Landes ab)")
                               : language.Choose(" (differs from timetable " + number + ")",
                                                 " (weicht von Zeittabelle " + number + " ab)");
  return language.Choose("Own zone history ", "Eigene Zonengeschichte ") + own->iana + " in " +
         own->years + from;
}

}  // namespace

std::string OwnHistoryNote(const std::string& country, const PlaceData& place,
                           std::int16_t timetable, const TarvLanguage& language) {
  return NoteOf(DifferingOwnHistory(country, place, timetable), timetable, language);
}

std::string ZoneSourceNote(const std::string& country, const PlaceData& place,
                           const TarvLanguage& language) {
  const auto source = HistorySourceOf(country, place);
  if (!source) return {};
  return language.Choose("Times from ", "Zeiten: ") + source->iana +
         (source->named ? language.Choose(" (your choice)", " (Ihre Wahl)") : "") + ", tzdata " +
         source->tzdata + language.Choose(" (incomplete before 1970)", ", vor 1970 lückenhaft");
}

std::string OwnHistoryNote(const std::string& country, std::int16_t record, std::int16_t timetable,
                           const TarvLanguage& language) {
  return NoteOf(DifferingOwnHistory(country, record, timetable), timetable, language);
}

}  // namespace tarv::ui
