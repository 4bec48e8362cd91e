#include "ui/timetable/timetable_lines.h"

#include <array>
#include <cstdio>

#include "atlas/atlas_state.h"
#include "atlas/country_table.h"
#include "atlas/timetable.h"
#include "interface/read_call.h"
#include "text/codepage.h"
#include "tarvplaces/places.h"
#include "util/serial_date.h"
#include "util/text.h"

namespace tarv::ui {
namespace {

std::string DateText(double serial) {
  const CalendarTime t = CalendarOfSerial(serial);
  std::array<char, 40> text{};
  std::snprintf(text.data(), text.size(), "%02d.%02d.%04d %02d.%02d", t.day, t.month, t.year,
                t.hour, t.minute);
  return text.data();
}

std::string TrimRight(std::string s) {
  s.erase(s.find_last_not_of(' ') + 1);
  return s;
}

// A US timetable's generic zone, composed from the state's base zone.
bool ComposeUsGeneric(const std::string& code, const std::string& generic,
                      TimetableEntryLine& line) {
  static constexpr std::array<std::pair<const char*, const char*>, 3> kGenerics = {
      {{"ST", "Standard"}, {"DT", "Daylight"}, {"WT", "War"}}};
  const char* word = nullptr;
  for (const auto& [name, meaning] : kGenerics) {
    if (generic == name) word = meaning;
  }
  if (word == nullptr) return false;
  const std::string base = Get_BaseTimeZone(code);
  const bool standard_letters = base.size() > 2 && base.compare(base.size() - 2, 2, "ST") == 0;
  line.zone = (standard_letters ? base.substr(0, base.size() - 2) : base) + generic;
  const auto& zones = CurrentAtlas().zones;
  const std::int16_t base_id = GetTimezoneId(base);
  std::string name =
      base_id > 0 ? Trim(zones[static_cast<std::size_t>(base_id)].TZName) : std::string();
  if (const auto at = name.find("Standard"); at != std::string::npos) {
    name.replace(at, 8, word);
  } else if (!name.empty() && generic != "ST") {
    name += std::string(", ") + (generic == "DT" ? "daylight time" : "war time");
  }
  line.zone_name = Utf8FromAnsi(name);
  line.summer_time = generic != "ST";
  return true;
}

TimetableEntryLine EntryLine(const std::string& code, const TimetableRow& row, bool with_zones) {
  TimetableEntryLine line;
  const auto& zones = CurrentAtlas().zones;
  if (row.ZoneId >= 0 && static_cast<std::size_t>(row.ZoneId) < zones.size()) {
    const ZoneRecord& zone = zones[static_cast<std::size_t>(row.ZoneId)];
    const std::string short_name = TrimRight(zone.TZShort);
    if (!IsUSA(code) || !ComposeUsGeneric(code, short_name, line)) {
      line.zone = Utf8FromAnsi(short_name);
      line.zone_name = Utf8FromAnsi(Trim(zone.TZName));
      line.summer_time = zone.TZType == 'S' || zone.TZType == 'D';
    }
  }
  line.text = DateText(row.Date);
  if (with_zones) line.text += "  " + line.zone;
  return line;
}

}  // namespace

TimetableListing ListTimetable(const std::string& country, std::int16_t timetable, bool with_zones,
                               const TarvLanguage& language) {
  TimetableListing listing;
  classPlaces places;
  std::vector<TimetableRow> rows = places.GetTimeTableArray(country, timetable);
  TimetableEntryLine lmt = EntryLine("", TimetableRow{kSerial1700, 0}, false);
  lmt.text = language.Choose("before is LMT", "davor gilt LMT");
  listing.items.push_back(lmt.text);
  listing.entries.push_back(std::move(lmt));
  const std::string code = GetInternalCountryAbbreviation(AnsiFromUtf8(country));
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (i == 0 && rows[i].ZoneId == 0 && rows[i].Date == kSerial1700) continue;
    TimetableEntryLine line = EntryLine(code, rows[i], with_zones);
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

std::string OwnHistoryNote(const std::string& country, std::int16_t record, std::int16_t timetable,
                           const TarvLanguage& language) {
  if (record <= 0) return {};
  const FaultBox fault;
  FoundPlace place;
  place.Country = GetInternalCountryAbbreviation(AnsiFromUtf8(country));
  place.RecordNo = record;
  const auto difference = CompareWithTimetable(place, timetable);
  if (!difference || difference->years.empty()) return {};
  const std::string number = std::to_string(timetable);
  // A country without timetables has one history, numbered 0.
  const std::string from = timetable == 0
                               ? language.Choose(" (differs from the country's history)",
                                                 " (weicht von der Zeitgeschichte des Landes ab)")
                               : language.Choose(" (differs from timetable " + number + ")",
                                                 " (weicht von Zeittabelle " + number + " ab)");
  return language.Choose("Own zone history ", "Eigene Zonengeschichte ") + difference->iana +
         " in " + YearRangesText(difference->years) + from;
}

}  // namespace tarv::ui
