// classPlaces: the atlas service a host program embeds.
//
// A host creates one classPlaces, tells it where the atlas folder is
// (PlacePath, or the FillPlacePath event through which the object asks), and
// then asks it for countries, places, zones and timetables. The place folder,
// the loaded tables and the language component are shared by every instance
// in the process; an instance itself holds nothing else.
//
// Strings crossing this interface are UTF-8. Integer widths follow the
// classic automation types the hosts were written against: Integer is
// std::int16_t, Long is std::int32_t. Frequent lookups never throw; they
// return 0 or an empty result. A present but malformed atlas file throws
// tarv::AtlasError. The object is meant for one thread (the host's UI
// thread), like the hosts it serves.
#ifndef TARVPLACES_PLACES_H_
#define TARVPLACES_PLACES_H_

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tarvplaces/atlas_error.h"
#include "tarvplaces/language.h"
#include "tarvplaces/message_sink.h"

namespace tarv {

class classPlaces {
 public:
  // Creating an instance loads nothing and opens no file.
  classPlaces() = default;

  // ---- Events: set by the host, raised synchronously by the members. ----

  // Raised when a member finds the place folder empty (and at the start of
  // every FillCountryArray). The argument is the process's place folder
  // itself: what the handler writes becomes the place folder.
  std::function<void(std::string& PlacePath)> FillPlacePath;
  // Raised by FillCountryArray after FillPlacePath with "Country.dat"; the
  // handler may name another country file in the place folder.
  std::function<void(std::string& CountryFile)> FillCountryFile;
  // Raised by FillCountryArray after FillCountryFile with true; the handler
  // may set false to keep the file's own order.
  std::function<void(bool& SortFile)> SortCountryFile;

  // ---- Place folder ----

  // The place folder; when it is empty, FillPlacePath is raised first.
  // Returns "" when no handler fills it.
  std::string PlacePath();
  // Stores the place folder exactly as given ("/atlas", "C:\Atlas\"): no
  // trailing separator is added and nothing is checked.
  void PlacePath(const std::string& NewPlacePath);

  // ---- Countries ----

  // Raises FillPlacePath, FillCountryFile and SortCountryFile in that order,
  // reloads the country table from the file they settled on and fills
  // `Countries` with one line per table entry (index 0 the fallback
  // "unbekannt", then the countries, then the six continents): the eleven
  // fields of "Country.dat" joined by TAB, e.g.
  // "58\tDeutschland\tD\tMEZ\tEUROPA\t...\t4\t0". A missing country file
  // leaves the table as it was. Throws AtlasError for a malformed one.
  void FillCountryArray(std::vector<std::string>& Countries);

  // The country number of a code ("D", "usca", "RUS" is found as "SSR"), an
  // exact title ("Deutschland") or a title or code prefix ("Deu"); 0 when
  // none matches, for "*" and "". Deliberately also 0 on the call that loads
  // the country table for the first time: ask again.
  std::int32_t GetCountryID(const std::string& CountryShort);

  // The table position of the first entry with number `CountryId`; 0 when
  // there is none. Does not load the table.
  std::int32_t GetCountryIndexOfID(std::int32_t CountryId);

  // "RUS" -> "SSR", "UK" -> "GBE", "MNE", "SRB", "HR", "SLO", "BIH",
  // "MK" -> "YU" (any case); other codes trimmed of blanks.
  std::string GetInternalCountryAbbreviation(const std::string& CountryShort);

  // The continent number (1 to 6) of a continent name or its first five
  // letters: GetContinentID("europ") is 4. Country codes give 0, and so does
  // the call that first loads the table.
  std::int32_t GetContinentID(const std::string& CountryShort);

  // True for the countries and US states that span several time zones
  // ("AUS", "BR", "CDN", "USTX", ... and "RUS" through "SSR").
  bool HaveSeveralTimeZones(const std::string& CountryShort);

  // The number of timetables of a country or state (e.g. 3 for "D", 153 for
  // "F", 0 for a country without any).
  std::int32_t HaveTimetables(const std::string& CountryShort);

  // ---- Zones ----

  // Fills `Zones` with one line per entry of the zone table (287 lines, or a
  // single line of blanks when "Zones13.bin" is missing): abbreviation
  // (12 characters) and name (45 characters) with their blanks, the offset
  // in hours in the general number format of the process's LC_NUMERIC
  // locale, type letter, sort index, extra value and show flag, joined by
  // TAB, e.g. "MET         \tMiddle European Time ... \t1\tN\t141\t-1\t1".
  void FillTimezoneArray(std::vector<std::string>& Zones);

  // The zone list lines of all 287 zones (the lines of FillTimezoneArray),
  // kept by this instance. Deliberately empty on the call that loads the
  // zone table: ask again. Resets the stored offset of zone 0 to 0.
  std::vector<std::string> GetTimezoneArray();

  // The zone identifier (0 to 286) of an abbreviation; blanks and case are
  // ignored and aliases resolved: GetTimezoneId(" mez ") is the identifier
  // of "MET". 0 (local mean time) for an unknown abbreviation.
  std::int16_t GetTimezoneId(const std::string& TimezoneShort);

  // The zone list line of `ZoneId`. For zone 0 (local mean time) `ZoneTime`
  // (hours east of UTC) first becomes the stored offset of zone 0, which
  // every later reader sees; left out it stores 0. "" for an identifier
  // outside the table.
  std::string GetTimeZoneListString(std::int16_t ZoneId, double ZoneTime = 0.0);

  // ---- Language ----

  // The language number (2 = German texts, anything else English).
  // `RessourceFile` is accepted and ignored.
  std::int32_t Language();
  std::int32_t Language(const std::string& RessourceFile);
  // Sets the language number; a non-empty `RessourceFile` is also handed to
  // the language component as its file of numbered texts.
  void Language(std::int32_t NewValue);
  void Language(const std::string& RessourceFile, std::int32_t NewValue);

  // The process's language component (created on first use).
  static TarvLanguage& LanguageComponent();

 private:
  // Raises FillPlacePath when the place folder is empty.
  void CheckPlacePath();

  // What GetTimezoneArray last built.
  std::vector<std::string> timezone_array_;
};

}  // namespace tarv

#endif  // TARVPLACES_PLACES_H_
