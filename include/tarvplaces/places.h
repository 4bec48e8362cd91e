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
// tarv::AtlasError. A place or timetable file that cannot be read at all
// (damaged compressed data) does not throw from a lookup: the lookup answers
// as if it found nothing, and LastAtlasFault names the file. The object is
// meant for one thread (the host's UI thread), like the hosts it serves.
#ifndef TARVPLACES_PLACES_H_
#define TARVPLACES_PLACES_H_

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tarvplaces/atlas_error.h"
#include "tarvplaces/language.h"
#include "tarvplaces/list_control.h"
#include "tarvplaces/message_sink.h"
#include "tarvplaces/placemanager.h"
#include "tarvplaces/records.h"

namespace tarv {

// One entry of a timetable: from `Date` on (a serial date, days since 30
// December 1899 in local wall-clock time, or a Julian day when asked for),
// the zone `ZoneId` of the zone table holds.
struct TimetableRow {
  double Date = 0.0;
  std::int16_t ZoneId = 0;
};

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
  // exact title ("Deutschland") or a title or code prefix ("Deu"), in that
  // order; where none of these matches, of an ISO 3166 code or a country
  // name the atlas lists ("CN", "JPN", "CA-QC", "Allemagne"; see
  // FindCountry): the table's own codes and titles keep their meaning, so
  // "DE" stays Delaware (a title prefix) and "ES" El Salvador. 0 when none
  // matches, for "*" and "". Deliberately also 0 on the call that loads the
  // country table for the first time: ask again.
  std::int32_t GetCountryID(const std::string& CountryShort);

  // The country or group a text names, as people name them: with kIso an
  // ISO 3166-1 code ("DE", "DEU") or ISO 3166-2 code of a state or province
  // ("US-CA" is California, "CA-QC" Canada, which files Quebec's places)
  // first; then an atlas code ("D", "usca", "RUS") or a group ("EUROPA",
  // "Europe", "USA"); with kAtlas the ISO codes here; then a whole title or
  // country name in English, German, French, Spanish or the country's own
  // language ("Germany", "Allemagne", "Deutschland", "ドイツ"); then the
  // beginning of a title or code ("Deu", "con"). So FindCountry("ES") is
  // Spain, FindCountry("ES", CountryCodes::kAtlas) El Salvador. nullopt when
  // nothing matches. Every member that takes a CountryShort takes the Code
  // of the answer. Throws AtlasError for a damaged "CountryNames.dat".
  std::optional<CountryInfo> FindCountry(const std::string& Text,
                                         CountryCodes Codes = CountryCodes::kIso);

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
  // The same, and when the country has timetables `*Timetable` receives the
  // timetable of the place `SearchPlace` (user places first; a name the
  // place files do not hold is looked up among the places' other names,
  // most populous first: "Jekaterinburg" gives Yekaterinburg's), or 1 when
  // the place is not found. For a country without timetables `*Timetable` is
  // left as it was.
  std::int32_t HaveTimetables(const std::string& CountryShort, const std::string& SearchPlace,
                              std::int16_t* Timetable);

  // ---- Places ----

  // Looks `SearchPlace` up in the country or group `CountryShort` ("D",
  // "usca", "EUROPA"): first by whole name (or by prefix when it ends in
  // "*"), then, when that finds nothing, as a pattern that ignores accents
  // and honours "*", "?" and "[...]" ("Munchen" finds "München"); then
  // among the places' other names in the name index: other languages
  // ("Munich", "Moskau"), transcriptions ("Muenchen"), other scripts
  // ("Мюнхен", transliterated), most populous first. A text of two
  // coordinates finds the nearest place: "48N08 11E34" by its letters, "11.575
  // 48.137" by the reading that lies in the country. Text the atlas's letters
  // cannot hold is transliterated ("Łódź" is "Lódz"); a character nothing can
  // be made of (an emoji, bytes that are not UTF-8) makes the search find
  // nothing. Same names come most populous first. The places found become
  // the found-place list. Returns their number (at most 32767) and
  // sets the optional outputs to the first place's longitude and latitude
  // (decimal degrees, east and north positive) and zone identifier; all
  // three are 0 when nothing was found.
  std::int16_t GetPlaceData(const std::string& SearchPlace, const std::string& CountryShort,
                            double* Longitude = nullptr, double* Latitude = nullptr,
                            std::int16_t* TimeZoneId = nullptr);

  // Looks `SearchPlace` up in every country at once: a whole name ("Paris")
  // or the beginning of one ("Par*", for typing ahead) among every name the
  // atlas knows places by, in any script; other wildcards ("M?nchen") through
  // each country's place file. Ranked as GetPlaceData ranks a whole name in
  // one country: the user's own places first, then the most populous (a
  // seat of government counting a twentieth more). At most `MaxPlaces` (1
  // to 50) become the found-place list, each with its country's code
  // (GetPlaceDataOfId). Returns their number.
  std::int32_t SearchAllCountries(const std::string& SearchPlace, std::int32_t MaxPlaces = 50);

  // Runs the search of GetPlaceData and lists the places in the host's
  // control: the trimmed name, plus " (country code)" for a continent or
  // group; each item's data is its number in the found-place list. The
  // optional counters receive the number found and the number listed.
  // Returns the number found.
  std::int32_t SearchPlacesInForm(PlaceListControl& PlaceListControl,
                                  const std::string& SearchPlace, const std::string& CountryShort,
                                  std::int32_t* PlacesFound = nullptr,
                                  std::int32_t* PlacesAdded = nullptr);

  // The place of `CountryShort` nearest to the coordinates (decimal
  // degrees), as one TAB-separated line: the 28-character name with its
  // blanks, longitude, latitude, timetable number, and, when `RangeDegrees`
  // is 0, the place's position in the country's list (user places first,
  // from 0). With `RangeDegrees` only places closer than that many degrees
  // count. Distances are plain differences of the numbers, without
  // wrap-around at the 180th meridian. "" when no place qualifies.
  // GetNearestPlace("D", 11.575, 48.137) might give
  // "München                     \t11.57549\t48.13743\t1\t5012".
  std::string GetNearestPlace(const std::string& CountryShort, double Longitude, double Latitude,
                              double RangeDegrees = 0.0);

  // Like GetPlaceData, but the outputs come from element `PlaceId` of the
  // found-place list (0 when left out); an element number outside the
  // search's result sets them to 0. With `Julian` (a Julian day, local time)
  // not 0, `*TimeZoneId` is the zone in force at that moment at the place
  // (GetPlaceDataX("München", "D", &lon, &lat, &zone, 2444422.0) gives the
  // identifier of "MET/S" for 1 July 1980, 12:00), else the place's standard
  // zone. Returns the number of places found.
  std::int32_t GetPlaceDataX(const std::string& SearchPlace, const std::string& CountryShort,
                             double* Longitude = nullptr, double* Latitude = nullptr,
                             std::int16_t* TimeZoneId = nullptr, double Julian = 0.0,
                             std::int32_t PlaceId = 0);

  // The data of element `Id` of the found-place list as text fields:
  // {name (trimmed), country code, longitude, latitude, timetable, zone
  // identifier, record number}. The zone is the one in force at `Julian`
  // when it is not 0 (then `*rIsLmt` tells whether that is local mean time
  // and `*ZoneTime` receives its offset in hours), else the place's standard
  // zone. Empty for an element number outside the list.
  std::vector<std::string> GetPlaceDataOfId(std::int32_t Id, double Julian = 0.0,
                                            bool* rIsLmt = nullptr, double* ZoneTime = nullptr);

  // The zone of a place: with `Julian` (a Julian day, local time at the
  // place) the zone in force then: its abbreviation ("MET/S"; cut at a NUL,
  // trailing blanks dropped). With `Julian` 0 the text GetRightTimeZone
  // gives for the place's timetable, as it stands ("MEZ" for a country whose
  // base zone the country table writes so; "" for an unknown country). With
  // `LongString` the zone's 45-character name instead ("" where no zone is
  // named). `*GetTimezoneId` receives the zone's identifier (0 when none).
  // Julian days of years before 100 are looked up at 1 January 100 (local
  // mean time). "" when a file the lookup needs cannot be read
  // (LastAtlasFault).
  std::string GetTimezoneOfCity(const std::string& SearchPlace, const std::string& CountryShort,
                                double Julian = 0.0, bool LongString = false,
                                std::int16_t* GetTimezoneId = nullptr);

  // The zone that holds for a country's timetable at the serial date `Datum`
  // (local time; timetable 0 is the country's default history). The zone's
  // fields are handed out trimmed of blanks. Returns the offset in hours
  // east of UTC, 0 (and outputs untouched) for an unknown country or a group.
  float Get_TZData(const std::string& CountryShort, std::int16_t Timetable, double Datum,
                   std::string* TZShort = nullptr, std::string* TZName = nullptr,
                   float* TZDif = nullptr, std::string* TZType = nullptr,
                   std::int16_t* TZSortIndex = nullptr, std::uint8_t* TZShow = nullptr);

  // The entries of a country's timetable, from 1 January 1700 (zone 0,
  // local mean time) to its last change before 2000; with
  // `GetJulianNotSerial` the dates are Julian days. Empty for an unknown
  // country.
  std::vector<TimetableRow> GetTimeTableArray(const std::string& Land, std::int16_t TimeTableId,
                                              bool GetJulianNotSerial = false);

  // The country's base zone abbreviation ("MEZ" for "D"); "" when unknown.
  std::string GetCountryTimeZone(const std::string& CountryShort);

  // The standard zone abbreviation a country's timetable ends on in 1999
  // (the base zone where the country has no such history).
  std::string GetRightTimeZone(const std::string& CountryShort, std::int16_t Timetable);

  // ---- The user's own places ----

  // Adds a place to the user's places of a country (they come before the
  // atlas's places in every search). The name is cleaned first: control
  // characters become blanks, outer blanks go. Returns -1 when it was stored
  // or a user place of that name exists already; 0 for an unknown country
  // code (a country's title or its beginning, which GetCountryID takes,
  // names no place file), a continent or group ("EUROPA", "USA": their
  // places would be read by no search), an empty name, a name longer than
  // the 28 characters of the field (stored cut, the name the host used
  // would find it nowhere), or a timetable the country does not have (allowed: 0 to
  // HaveTimetables, or 0 and 1 where it has none, 0 and 1 both meaning its
  // default history); `*RecordNo` receives the new record's number
  // (negative). Throws AtlasWriteError when the atlas folder cannot be
  // written.
  std::int16_t AddUserPlace(const std::string& CountryShort, const std::string& Name,
                            double Longitude, double Latitude, std::int16_t Timetable = 0,
                            std::int32_t* RecordNo = nullptr);

  // Deletes the user's place of that name in a country, the name cleaned as
  // AddUserPlace cleans it; places of the atlas itself cannot be deleted.
  // Returns -1 when the country code exists (whether or not such a user place
  // was found), else 0.
  std::int16_t DeleteUserPlace(const std::string& CountryShort, const std::string& Name);

  // Whether a local wall-clock time (a Julian day) at a place exists once
  // (0), not at all because clocks were set forward over it (1), or twice
  // because they were set back (2). A birth time in such an hour needs the
  // user's attention.
  int GetLocalTimeKind(const std::string& SearchPlace, const std::string& CountryShort,
                       double Julian);

  // ---- The place manager ----

  // Opens the place manager dialog (the factory of tarvplaces/placemanager.h
  // creates it) on the given place: `*City` loses one trailing full stop and
  // its outer blanks, `*CountryShort` its outer blanks. With `NewMode` the
  // dialog opens in the entry of a new place. `Modal` is kModal or kModeless;
  // `OwnerForm` (0 for none) becomes the dialog's owner window and gets the
  // focus back afterwards. Returns false when the user cancelled, and then
  // leaves every argument as it was; otherwise the place the dialog ended on
  // is written to the non-null arguments and the result is true. Without an
  // installed factory shows "the place manager is not available" and
  // returns false.
  bool ShowPlacemanager(std::string* City = nullptr, std::string* CountryShort = nullptr,
                        float* Longitude = nullptr, float* Latitude = nullptr,
                        std::int16_t* Timetable = nullptr, std::int16_t* Index = nullptr,
                        bool NewMode = false, std::int32_t Modal = kModal,
                        OwnerWindow OwnerForm = 0);

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

  // ---- Export ----

  // Writes the whole atlas as Countries.txt, Cities.txt, Zones.txt and
  // Timetable.txt (TAB-separated, Windows-1252, CR LF) into the place
  // folder, the country table read from `*CountryFile` ("Country.dat" when
  // null or empty). Guarded by a 9-character pass phrase: any other
  // `Password` does nothing at all. With an empty place folder that the
  // FillPlacePath handler does not fill, shows "g_PlacesPath ist nicht
  // gefüllt" and writes nothing. The four files are written in full under
  // temporary names ("Cities.~~~") and replace the old ones only when all
  // are complete. Throws AtlasError naming the file (and the entry) for a
  // place or timetable file that is present but cannot be read, or a
  // timetable entry that is not a date; AtlasWriteError when the folder
  // cannot be written. Either way the files already there stay as they were.
  void Export(const std::string& Password, const std::string* CountryFile = nullptr);

  // ---- Faults ----

  // The first atlas file the last call of a member that reads place, index
  // or timetable files could not read (the place, zone, timetable and
  // user-place members, Export, ShowPlacemanager), with the LZ error code
  // and its text; Code 0 when that call read everything it needed. Lookups
  // do not throw for such a file: they show the LZ message where the classic
  // interface shows one and then answer as if the file held nothing (0
  // places, "", no zone). So a host that gets an empty answer asks here
  // whether the atlas is damaged rather than the place unknown, and tells
  // the user to reinstall or rebuild the atlas:
  //   if (places.GetPlaceData(name, code) == 0) {
  //     if (const auto fault = places.LastAtlasFault())
  //       ShowError(fault.File + ": " + fault.Reason);
  //   }
  // Each such member starts afresh, so the answer always belongs to the
  // last call.
  AtlasFault LastAtlasFault() const;

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
