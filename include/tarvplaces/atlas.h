// tarv::Atlas: one atlas folder, for hosts that look places up from several
// threads, open several atlases at once, or want typed answers rather than
// the classic members' text lines.
//
// Every const member may be called from any number of threads at once on one
// Atlas; AddPlace and DeletePlace wait for each other (and for other
// processes writing the same folder), and every lookup after them sees their
// change. Objects on different folders share nothing but the process's
// message sink. classPlaces works on a default atlas of its own, as the
// classic hosts expect; an Atlas never changes what classPlaces answers.
//
// Lookups that find nothing answer empty; a damaged or malformed atlas file
// throws AtlasError naming it (AtlasWriteError when a file cannot be
// written). Texts are UTF-8. Arguments no lookup can mean throw
// std::invalid_argument saying which: a text or country longer than 256
// characters, a country holding a wildcard (* ? [), a longitude outside
// -180 to 180 or a latitude outside -90 to 90 degrees (or not finite), a
// negative range.
#ifndef TARVPLACES_ATLAS_H_
#define TARVPLACES_ATLAS_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tarvplaces/atlas_error.h"
#include "tarvplaces/language.h"
#include "tarvplaces/records.h"

namespace tarv {

class AtlasState;

class Atlas {
 public:
  // Opens the atlas in `folder` ("build/atlas") and loads its country and
  // zone tables. `language` is that of its texts: 2 (kLanguageGerman, the
  // component's default) German, anything else English; continent names and
  // the places' country and zone names follow it. Throws AtlasError when the
  // folder holds no "Country.dat" or "Zones13.bin", or a table is malformed.
  explicit Atlas(const std::string& folder, std::int32_t language = kLanguageGerman);
  // The same with the user's places kept in `user_folder` (created when the
  // first place is added) instead of the atlas's own USER folder: for an
  // atlas installed where the user cannot write. Within one process an atlas
  // folder keeps the user folder it was first opened with; opening it with
  // another throws std::invalid_argument.
  Atlas(const std::string& folder, const std::string& user_folder,
        std::int32_t language = kLanguageGerman);
  ~Atlas();
  Atlas(Atlas&&) noexcept;
  Atlas& operator=(Atlas&&) noexcept;
  Atlas(const Atlas&) = delete;
  Atlas& operator=(const Atlas&) = delete;

  // The folder as it was given.
  std::string Folder() const;

  // The language it was opened with.
  std::int32_t Language() const;

  // ---- Countries ----

  // The country or group a text names, as people name them: with kIso an
  // ISO 3166-1 or 3166-2 code first ("DE", "DEU", "US-CA"; "CA-QC" is
  // Canada, which files Quebec's places); then an atlas code ("D", "usca",
  // "RUS") or a group ("EUROPA", "Europe", "US"); with kAtlas the ISO codes
  // here; then a whole title or country name ("Deutschland", "Germany",
  // "Allemagne"); then the beginning of a title or code ("Deu"). nullopt
  // when nothing matches.
  std::optional<CountryInfo> FindCountry(const std::string& text,
                                         CountryCodes codes = CountryCodes::kIso) const;

  // Every country and US state of the table, and the five lines that gather
  // islands and regions (Antarctica, the Atlantic, the Indian Ocean, the
  // Caribbean, the Pacific), sorted by title as the classic country list is.
  std::vector<CountryInfo> Countries() const;

  // The zone table, every entry that has all its fields.
  std::vector<ZoneInfo> Zones() const;

  // The entries of timetable `number` of `country` (an atlas code) from 1
  // January 1700 to its last change before 2000; 0 is its default history.
  // A number the country does not have gives the single local-mean-time
  // entry; an unknown country nothing.
  std::vector<TimetableEntry> Timetable(const std::string& country, std::int16_t number) const;

  // ---- Places ----

  // Every place matching `text` in `country` (an atlas code or a group's
  // code, as FindCountry gives them), each with its zone at `when` (its
  // standard zone without one), in the order of the search: a whole name
  // ranks the place most people mean first (the user's own places first,
  // then by population, places known by the name included); beginnings
  // ("Mün*") and patterns ("M?nchen") in name order. An empty `country`
  // searches every country at once and gives at most 50 places.
  std::vector<PlaceInfo> Search(const std::string& text, const std::string& country,
                                const std::optional<LocalTime>& when = std::nullopt) const;

  // The first place Search finds, without building the others: nullopt when
  // there is none. `found`, when given, receives how many there are.
  std::optional<PlaceInfo> Lookup(const std::string& name, const std::string& country,
                                  const std::optional<LocalTime>& when = std::nullopt,
                                  std::int32_t* found = nullptr) const;

  // The place of `country` nearest to the coordinates, with its standard
  // zone, or with the zone in force there at the local time `when`; with
  // `range_degrees` > 0 only places closer than that many degrees (plain
  // differences of the numbers) count. ZoneAt tells the zone at the
  // coordinates themselves, which near a zone line may be another.
  std::optional<PlaceInfo> Nearest(const std::string& country, double longitude, double latitude,
                                   double range_degrees = 0.0,
                                   const std::optional<LocalTime>& when = std::nullopt) const;

  // The zone in force at the coordinates at the local time `when` (without
  // one, at the present instant) by the atlas's map of the zones'
  // boundaries; nullopt for an atlas without a map. Coordinates off the
  // earth throw std::invalid_argument.
  std::optional<PointZone> ZoneAt(double longitude, double latitude,
                                  const std::optional<LocalTime>& when = std::nullopt) const;

  // Only the IANA zone at the coordinates ("America/Chicago"), without its
  // clock: for a host that stores the zone and asks for the time later.
  // nullopt for an atlas without a map.
  std::optional<std::string> ZoneNameAt(double longitude, double latitude) const;

  // ---- The user's own places ----

  // Adds a place of the user's to `country` (an atlas code). Returns "" when
  // it was stored or a user place of that name exists already, else why not:
  // "the name is empty", "USCA has no timetable 9 (it offers 0 to 1)", ...
  // Its zone at a date comes from the atlas's zone map at its coordinates,
  // or from `zone` when the user names one ("America/Chicago", one of the
  // zones the atlas knows); an atlas without a map keeps the timetable.
  // Throws AtlasWriteError when the folder cannot be written.
  std::string AddPlace(const std::string& country, const std::string& name, double longitude,
                       double latitude, std::int16_t timetable = 0, const std::string& zone = "");

  // Deletes the user's place of that name; false when `country` has none.
  bool DeletePlace(const std::string& country, const std::string& name);

  // The user places of `country` spelled otherwise whose names have the same
  // letters as `name` ("Testort 1" for "Testort 2": digits, blanks and marks
  // aside). A search finds them together; the one spelled as typed comes
  // first. Hosts tell the user so when a place is added.
  std::vector<std::string> UserPlacesAlike(const std::string& country,
                                           const std::string& name) const;

  // ---- Export ----

  // Writes Countries.txt, Cities.txt, Zones.txt and Timetable.txt into
  // `folder` (the atlas folder when empty); the old files stay as they were
  // when it fails. `progress` hears the country being written and the
  // fraction done.
  void Export(const std::string& folder = "",
              const std::function<void(const std::string&, double)>& progress = {}) const;

 private:
  std::shared_ptr<AtlasState> state_;
};

// The atlas a host gets when it names none. `folder` is the one $TARV_ATLAS
// names, its places kept in its own USER folder (`user_folder` empty); else
// the atlas installed with the library (share/tarvplaces/atlas above the
// folder of libtarvplaces.so, tarvplaces.dll or the program that linked the
// library, or "atlas" in that folder, as the Python package has it), its
// user places kept in the user's data folder
// ($XDG_DATA_HOME/tarvplaces/USER, ~/.local/share/tarvplaces/USER, or
// %APPDATA%\tarvplaces\USER); else both are empty.
struct AtlasLocation {
  std::string folder;
  std::string user_folder;
};
AtlasLocation DefaultAtlasLocation();

// Why a typed name or code cannot be looked up: its first character that is
// part of no name in any script, "character 2 (U+1F600) of the name
// "M😀nchen" is part of no name", or "character 2 of the name is not UTF-8";
// "" when it can be. `what` names the text in the message.
std::string WhyNoName(const std::string& text, const std::string& what);

// Why a name cannot be stored among the user's places: its first character
// the atlas's letters cannot hold even romanised (an emoji, a Khmer
// letter); "" when it can be.
std::string WhyNotStorable(const std::string& text, const std::string& what);

// A coordinate typed as degree text ("48N08", "11E34' 30\"", "48 8 15") or
// as decimal degrees ("48.1375", "-0,5"); nullopt without digits or outside
// -180..180 (longitude) or -90..90 (latitude).
std::optional<double> ParseLongitude(const std::string& text);
std::optional<double> ParseLatitude(const std::string& text);

// The Julian day of a local time (dates before the Gregorian reform of
// October 1582 read in the Julian calendar), or nullopt when a field is out
// of range: years 0 to 9999, days that the month has (29 February only in
// leap years), hours 0-23, minutes and seconds 0-59. Every member taking a
// LocalTime throws std::invalid_argument for such a time.
std::optional<double> JulianDayOf(const LocalTime& time);

// A file name of the component (AtlasError::file()) as the host's file
// system writes it: "/atlas/D.dao" rather than "/atlas\D.dao".
std::string HostPath(const std::string& file);

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_H_
