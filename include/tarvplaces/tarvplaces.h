/* tarvplaces.h: the atlas for hosts written in C or any language that can
 * call C (Python's ctypes, C#, Delphi, Rust). It is the place service of
 * tarvplaces/places.h behind a handle, in the shared library
 * libtarvplaces.so (SONAME libtarvplaces.so.3). Compiles as C99 and as C++.
 *
 * Conventions of every function:
 *  - Strings in and out are UTF-8 and NUL-terminated. Input that is not
 *    UTF-8 is refused with TARV_E_UTF8.
 *  - Every function but the list accessors, tarv_last_error, tarv_version
 *    and tarv_status_text returns a tarv_status: TARV_OK (0), TARV_NOT_FOUND
 *    (1: the question was fine, the atlas has no such thing) or a negative
 *    error. After an error, tarv_last_error() says what went wrong and, for
 *    an atlas file, names it. No C++ exception ever leaves the library.
 *  - Results go either into a caller's struct (tarv_place: fixed-size text
 *    fields that every atlas value fits), into a caller's buffer with its
 *    size, where the size needed is reported, or into a list the library
 *    allocates and one function of its type frees. Output arguments are left
 *    as they were when a function fails, except lists, which are set to NULL.
 *
 * Each handle has an atlas of its own (tarv::Atlas): any number of handles,
 * on the same folder or on different ones, may be open at once, and each
 * answers from its own folder. Calls on different handles, and on one handle
 * from several threads, run at the same time; adding or deleting a user
 * place waits only for other writers of the same folder, and every lookup
 * that starts after it returned sees the change. Callbacks run on the
 * calling thread inside a call and must not call back into the library
 * (that call fails with TARV_E_BUSY).
 */
#ifndef TARVPLACES_TARVPLACES_H_
#define TARVPLACES_TARVPLACES_H_

#include <stddef.h>
#include <stdint.h>

/* On Windows the DLL exports what is marked (and nothing else); hosts link
   the functions through its import library. */
#if defined(_WIN32) && defined(TARVPLACES_BUILDING_DLL)
#define TARV_API __declspec(dllexport)
#elif defined(__GNUC__) && !defined(_WIN32)
#define TARV_API __attribute__((visibility("default")))
#else
#define TARV_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef enum tarv_status {
  TARV_OK = 0,
  TARV_NOT_FOUND = 1,          /* no such place, or none within the range */
  TARV_E_ARGUMENT = -1,        /* a NULL pointer, a value out of range */
  TARV_E_UTF8 = -2,            /* a string that is not UTF-8 */
  TARV_E_BUFFER = -3,          /* the caller's buffer is too small */
  TARV_E_HANDLE = -4,          /* the handle is closed or was never opened */
  TARV_E_UNKNOWN_COUNTRY = -5, /* no country or group of that code */
  TARV_E_ATLAS = -6,           /* an atlas file is missing, malformed or damaged */
  TARV_E_WRITE = -7,           /* a file could not be written */
  TARV_E_ATLAS_IN_USE = -8,    /* no longer returned: handles on any folders may be open */
  TARV_E_MEMORY = -9,          /* out of memory */
  TARV_E_BUSY = -10,           /* called from inside a callback of the library */
  TARV_E_INTERNAL = -11        /* any other failure; the message says which */
} tarv_status;

/* An open atlas. */
typedef struct tarv_atlas tarv_atlas;

/* "0.1.0": the version of the library. */
TARV_API const char* tarv_version(void);

/* The name of a status ("TARV_E_UTF8"); "unknown status" for other values. */
TARV_API const char* tarv_status_text(tarv_status status);

/* What the last call of this thread that failed said went wrong, e.g.
 * "/atlas/Country.dat: line 7: fewer than 11 TAB-separated fields"; "" after
 * a call that succeeded (TARV_OK or TARV_NOT_FOUND). Valid until the next
 * call on this thread. */
TARV_API const char* tarv_last_error(void);

/* Countries. Every `country` argument names a country, a US state or a group
 * as people name them (classPlaces::FindCountry): an ISO 3166-1 code ("DE",
 * "DEU"), an ISO 3166-2 code of a state or province ("US-CA" California,
 * "CA-QC" Canada, which files Quebec's places), the atlas's own code ("D",
 * "usca", "RUS"), a group ("EUROPA", "Europe", "US"), a country name in
 * English, German, French, Spanish or the country's own language
 * ("Germany", "Allemagne", "Deutschland") or the beginning of a title or
 * code ("Deu"). A code that is both an ISO code and another country's atlas
 * code is read as the ISO code ("ES" is Spain, "RU" Russia); "atlas:" before
 * a code asks for the atlas's own reading ("atlas:ES" is El Salvador). The
 * `country` of a tarv_place is the atlas code; its `country_iso` names the
 * same country as an argument. */

/* ---- Handles ---- */

/* Opens the atlas in `folder` ("build/atlas") and loads its country and
 * zone tables. TARV_E_ATLAS when the folder holds no Country.dat or
 * Zones13.bin, or a table is malformed. A NULL or empty folder opens a
 * handle that asks its place path callback for a folder the first time it
 * needs one (TARV_E_ATLAS when it has none to ask). *atlas receives the
 * handle. */
TARV_API tarv_status tarv_open(const char* folder, tarv_atlas** atlas);

/* The same, keeping the user's places in `user_folder` (UTF-8; created with
 * the folders above it when the first place is added) rather than in the
 * atlas's own USER folder: for an atlas installed where the user cannot
 * write. Within one process an atlas folder keeps the user folder it was
 * first opened with; another is TARV_E_ARGUMENT. A NULL or empty
 * `user_folder` is the same as tarv_open. */
TARV_API tarv_status tarv_open_with_user_folder(const char* folder, const char* user_folder,
                                                tarv_atlas** atlas);

/* Opens the atlas a host gets when it names none: the folder $TARV_ATLAS
 * names, else the atlas installed with the library (share/tarvplaces/atlas
 * above the library's folder, or "atlas" in it), whose user places are
 * kept in the user's data folder ($XDG_DATA_HOME/tarvplaces/USER,
 * ~/.local/share/tarvplaces/USER, %APPDATA%\tarvplaces\USER).
 * TARV_E_ATLAS when there is neither. */
TARV_API tarv_status tarv_open_default(tarv_atlas** atlas);

/* Closes and frees the handle; NULL is allowed and does nothing. A closed
 * handle must not be used again: like any freed pointer that is undefined in
 * C, but this library recognizes the addresses of handles it has closed and
 * answers TARV_E_HANDLE for them (as long as no new handle got the same
 * address). */
TARV_API tarv_status tarv_close(tarv_atlas* atlas);

/* The atlas folder (as given to tarv_open or by the callback) into `buffer`
 * of `size` bytes. *needed (may be NULL) receives the bytes the folder
 * takes with its NUL; TARV_E_BUFFER when that is more than `size`, and then
 * the buffer is untouched. `buffer` may be NULL when `size` is 0. */
TARV_API tarv_status tarv_atlas_folder(tarv_atlas* atlas, char* buffer, size_t size,
                                       size_t* needed);

/* ---- Places ---- */

/* A local wall-clock time at a place. Years 0-9999, months 1-12, days as the
 * month has them, hours 0-23, minutes and seconds 0-59; anything else is
 * TARV_E_ARGUMENT. */
typedef struct tarv_local_time {
  int year;
  int month;
  int day;
  int hour;
  int minute;
  int second;
} tarv_local_time;

/* Whether a local time existed once, was skipped (clocks set forward over
 * it) or occurred twice (clocks set back). */
typedef enum tarv_local_time_kind {
  TARV_LOCAL_TIME_NORMAL = 0,
  TARV_LOCAL_TIME_SKIPPED = 1,
  TARV_LOCAL_TIME_REPEATED = 2
} tarv_local_time_kind;

/* Sizes of the text fields, with the NUL: an atlas name holds at most 28
 * characters, a zone abbreviation 12 and a zone name 45, each at most three
 * bytes in UTF-8. */
#define TARV_NAME_SIZE 96
#define TARV_CODE_SIZE 32
#define TARV_ZONE_SIZE 48
#define TARV_ZONE_NAME_SIZE 160
#define TARV_IANA_SIZE 64
#define TARV_COUNTRY_NAME_SIZE 160

/* One reading of a local time the clocks went through twice (clocks set
 * back): the zone-table entry, the UTC offset and tzdata's abbreviation and
 * the zone's long name of that reading. */
typedef struct tarv_time_reading {
  int32_t zone_id;
  char zone[TARV_ZONE_SIZE]; /* "MET/S" */
  char zone_name[TARV_ZONE_NAME_SIZE];
  int32_t utc_offset;                       /* 7200 */
  char tz_abbreviation[TARV_ZONE_SIZE];     /* "CEST" */
  char zone_long_name[TARV_ZONE_NAME_SIZE]; /* in the handle's language */
  int32_t is_default;                       /* 1 for the reading the answer gives */
} tarv_time_reading;

/* The stretch of local time the clocks jumped over (clocks set forward):
 * `from` is the first local time that never was, `to` the first after the
 * gap; the UTC offsets before and after it in seconds, east positive. */
typedef struct tarv_time_gap {
  tarv_local_time from;  /* 1983-03-27 02:00 */
  tarv_local_time to;    /* 1983-03-27 03:00 */
  int32_t offset_before; /* 3600 */
  int32_t offset_after;  /* 7200 */
} tarv_time_gap;

/* Where a zone answer comes from. */
typedef enum tarv_zone_source {
  /* The country's timetable: no date asked, a user place in an atlas
   * without a zone map, an atlas without zone histories. */
  TARV_SOURCE_TIMETABLE = 0,
  /* The history of an IANA zone in tzdata: the place's own, or the zone
   * map's at a user place or at coordinates. */
  TARV_SOURCE_ZONE_HISTORY = 1,
  /* The history of the IANA zone the user named for the place. */
  TARV_SOURCE_NAMED_ZONE = 2,
  /* The place's own local mean time, longitude / 15 hours. */
  TARV_SOURCE_MEAN_TIME = 3
} tarv_zone_source;

#define TARV_TZDATA_SIZE 16

/* The source of a zone answer and how far to trust it. */
typedef struct tarv_source {
  int32_t kind;                          /* a tarv_zone_source */
  char iana[TARV_IANA_SIZE];             /* the zone whose history answered; "" for a timetable */
  char tzdata_version[TARV_TZDATA_SIZE]; /* the atlas's tzdata release, "2025b", with it */
  /* 1 when the instant lies before 1970 UTC: tzdata keeps the zones'
   * earlier history but does not aim to be complete or right for it. */
  int32_t before_1970;
} tarv_source;

/* Another zone whose area lies within 5 km of a place or point (by the
 * atlas's zone map) and whose clock differs from the answer's at the instant
 * asked. */
typedef struct tarv_near_zone {
  char iana[TARV_IANA_SIZE];            /* "America/New_York" */
  int32_t utc_offset;                   /* its offset then, seconds east */
  char tz_abbreviation[TARV_ZONE_SIZE]; /* "EST" */
  double meters;                        /* how far its area begins */
} tarv_near_zone;

#define TARV_NEAR_ZONES 4

/* A place with its zone. Coordinates in decimal degrees, east and north
 * positive; the UTC offset in seconds east of UTC. For local mean time
 * (is_lmt) the offset is the place's own, longitude / 15 hours. */
typedef struct tarv_place {
  char name[TARV_NAME_SIZE];    /* "München" */
  char country[TARV_CODE_SIZE]; /* "D" */
  double longitude;             /* 11.57549 */
  double latitude;              /* 48.13743 */
  int32_t timetable;            /* 1 */
  int32_t user_place;           /* 1 for a place the user added */
  int32_t zone_id;              /* index into the zone table */
  char zone[TARV_ZONE_SIZE];    /* "MET/S" */
  char zone_name[TARV_ZONE_NAME_SIZE];
  int32_t utc_offset; /* 7200 */
  int32_t is_lmt;     /* 1 for local mean time */
  int32_t local_time; /* a tarv_local_time_kind; NORMAL without a date */
  /* With a date, where the atlas knows them (else ""): the IANA zone the
   * place follows (a user place: its timetable's), tzdata's abbreviation at
   * that instant and the zone's long name then in the atlas's language. */
  char iana[TARV_IANA_SIZE];                /* "Europe/Berlin" */
  char tz_abbreviation[TARV_ZONE_SIZE];     /* "CEST" */
  char zone_long_name[TARV_ZONE_NAME_SIZE]; /* "Central European Summer Time" */
  int32_t own_history;                      /* 1 when the zone came from the place's own history */
  /* The country's name in the atlas's language ("Germany", "Deutschland")
   * and its ISO code ("DE"; a US state's "US-CA"; "" where the atlas has
   * none), which names the same country as a `country` argument. */
  char country_name[TARV_COUNTRY_NAME_SIZE];
  char country_iso[TARV_CODE_SIZE];
  int64_t population; /* GeoNames' population; 0 for a user place or where unknown */
  int32_t other_name; /* 1 when the place was found by another of its names ("Munich") */
  /* A repeated local time (local_time TARV_LOCAL_TIME_REPEATED, from the
   * place's own history): reading_count 2, the earlier reading first; the
   * answer above is the earlier one (is_default). Otherwise 0. */
  int32_t reading_count;
  tarv_time_reading readings[2];
  /* A skipped local time (TARV_LOCAL_TIME_SKIPPED, from the own history):
   * has_gap 1 and the gap; the answer above gives the clock after it. */
  int32_t has_gap;
  tarv_time_gap gap;
  tarv_source source; /* where the zone answer comes from */
  /* With a date: the zones within 5 km keeping another clock then, nearest
   * first (at most TARV_NEAR_ZONES of them). */
  int32_t near_count;
  tarv_near_zone near_zones[TARV_NEAR_ZONES];
} tarv_place;

/* Looks up `name` in the country or group `country` (see Countries above:
 * "D", "DE", "Germany", "EUROPA") the way classPlaces::GetPlaceData does
 * (whole name, prefix with "*", accents folded, every name a place has in
 * any script, a whole name ranked so that the place most people mean comes
 * first) and fills *place with the first place found and the zone in force
 * there at the local time `when`, or its standard zone when `when` is NULL.
 * A NULL or empty `country` searches every country at once
 * (classPlaces::SearchAllCountries). *found (may be NULL) receives the
 * number of places found. TARV_NOT_FOUND when there is none, also for a
 * name holding a character that is part of no name (an emoji);
 * TARV_E_UNKNOWN_COUNTRY for a country nothing names; TARV_E_ATLAS when a
 * file the lookup needed is damaged. *place holds a place only with
 * TARV_OK; a call that fails after the lookup leaves it zeroed, never half
 * filled. Example: "München", "D", 1980-07-01 12:00 gives 11.57549,
 * 48.13743, timetable 1, "MET/S", 7200 seconds. */
TARV_API tarv_status tarv_place_lookup(tarv_atlas* atlas, const char* name, const char* country,
                                       const tarv_local_time* when, tarv_place* place,
                                       int32_t* found);

/* A list of places the library allocated. */
typedef struct tarv_place_list tarv_place_list;

/* Every place matching `text` ("Mün*", "M?nchen", "Munchen") in a country
 * or group, each with its zone at `when` (its standard zone when NULL), in
 * the order of the search (a whole name: the place most people mean first).
 * A NULL or empty `country` searches every country at once and lists at
 * most 50 places, the user's own first, then the most populous ("Par*" for
 * typing ahead). An empty list when nothing matches (TARV_OK). *list
 * receives the list, to be freed with tarv_place_list_free. */
TARV_API tarv_status tarv_search(tarv_atlas* atlas, const char* text, const char* country,
                                 const tarv_local_time* when, tarv_place_list** list);

/* The number of places in the list (0 for NULL). */
TARV_API size_t tarv_place_list_size(const tarv_place_list* list);
/* Place `index` of the list, valid until the list is freed; NULL outside it. */
TARV_API const tarv_place* tarv_place_list_at(const tarv_place_list* list, size_t index);
TARV_API void tarv_place_list_free(tarv_place_list* list);

/* The place of `country` nearest to the coordinates, with its standard
 * zone; with `range_degrees` > 0 only places closer than that count (plain
 * differences of degrees). TARV_NOT_FOUND when no place qualifies. */
TARV_API tarv_status tarv_nearest(tarv_atlas* atlas, const char* country, double longitude,
                                  double latitude, double range_degrees, tarv_place* place);

/* The zone in force at coordinates by the atlas's map of the zones'
 * boundaries (Zones.map): on land and in territorial waters the zone of the
 * land, on the open sea the nautical zone of the longitude ("Etc/GMT+5").
 * Fields as tarv_place has them; local mean time is the point's own,
 * longitude / 15 hours. */
typedef struct tarv_point_zone {
  double longitude; /* as asked */
  double latitude;
  char iana[TARV_IANA_SIZE]; /* "America/Chicago" */
  int32_t zone_id;           /* index into the zone table */
  char zone[TARV_ZONE_SIZE]; /* "CST/S" */
  char zone_name[TARV_ZONE_NAME_SIZE];
  int32_t utc_offset;                       /* -18000 */
  int32_t is_lmt;                           /* 1 for local mean time */
  int32_t local_time;                       /* a tarv_local_time_kind */
  char tz_abbreviation[TARV_ZONE_SIZE];     /* "CDT" */
  char zone_long_name[TARV_ZONE_NAME_SIZE]; /* in the handle's language */
  /* As in tarv_place: both readings of a repeated local time, the gap of a
   * skipped one. */
  int32_t reading_count;
  tarv_time_reading readings[2];
  int32_t has_gap;
  tarv_time_gap gap;
  tarv_source source;
  int32_t near_count;
  tarv_near_zone near_zones[TARV_NEAR_ZONES];
} tarv_point_zone;

/* The zone in force at the coordinates at the local time `when` there, or
 * at the present instant when `when` is NULL, into *zone. TARV_NOT_FOUND
 * for an atlas without a zone map; TARV_E_ARGUMENT for coordinates off the
 * earth (longitude beyond -180 to 180, latitude beyond -90 to 90). */
TARV_API tarv_status tarv_zone_at(tarv_atlas* atlas, double longitude, double latitude,
                                  const tarv_local_time* when, tarv_point_zone* zone);

/* tarv_nearest with the zone at the coordinates themselves, which near a
 * zone line may be another than the nearest place's: *place receives the
 * nearest place with its zone at `when` (its standard zone when NULL),
 * *here the zone at the coordinates at `when` (at the present instant when
 * NULL) and *differs 1 when the IANA zones of the two differ, else 0. In an
 * atlas without a zone map *here is zeroed and *differs 0. TARV_NOT_FOUND,
 * with *here and *differs untouched, when no place qualifies. */
TARV_API tarv_status tarv_nearest_here(tarv_atlas* atlas, const char* country, double longitude,
                                       double latitude, double range_degrees,
                                       const tarv_local_time* when, tarv_place* place,
                                       tarv_point_zone* here, int32_t* differs);

/* ---- Countries, zones, timetables ---- */

typedef struct tarv_country {
  int32_t id;            /* 47 */
  const char* code;      /* "D" */
  const char* title;     /* "Deutschland": the atlas's titles are German */
  const char* english;   /* "Germany" */
  const char* zone;      /* the base zone as the table writes it, "MET" */
  const char* continent; /* "EUROPA" */
  int32_t continent_id;  /* 4 */
  int32_t timetables;    /* number of timetables, 0 when it has none */
  int32_t several_zones; /* 1 for countries spanning several zones */
  const char* iso;       /* "DE"; a US state's "US-CA"; "" where the atlas has none */
} tarv_country;

typedef struct tarv_country_list tarv_country_list;

/* Every country and US state of the atlas, sorted by title. */
TARV_API tarv_status tarv_countries(tarv_atlas* atlas, tarv_country_list** list);
TARV_API size_t tarv_country_list_size(const tarv_country_list* list);
/* Country `index`, its strings valid until the list is freed; NULL outside. */
TARV_API const tarv_country* tarv_country_list_at(const tarv_country_list* list, size_t index);
TARV_API void tarv_country_list_free(tarv_country_list* list);

/* The country or group `text` names (see Countries above) as a list of one,
 * to be freed with tarv_country_list_free; a group ("EUROPA", "USA") has no
 * ISO code, zone or timetables. TARV_NOT_FOUND, with an empty list, when
 * nothing matches. */
TARV_API tarv_status tarv_find_country(tarv_atlas* atlas, const char* text,
                                       tarv_country_list** list);

typedef struct tarv_zone {
  int32_t id;
  char abbreviation[TARV_ZONE_SIZE]; /* "MET" */
  char name[TARV_ZONE_NAME_SIZE];    /* "Middle European Time" */
  int32_t utc_offset;                /* seconds east of UTC; 0 for local mean time */
  char kind;                         /* 'L' local mean, 'N' standard, 'S' summer, 'D' double */
} tarv_zone;

typedef struct tarv_zone_list tarv_zone_list;

/* The zone table (287 zones in the default atlas), by id. */
TARV_API tarv_status tarv_zones(tarv_atlas* atlas, tarv_zone_list** list);
TARV_API size_t tarv_zone_list_size(const tarv_zone_list* list);
TARV_API const tarv_zone* tarv_zone_list_at(const tarv_zone_list* list, size_t index);
TARV_API void tarv_zone_list_free(tarv_zone_list* list);

/* One entry of a timetable: from the local time `from` on, zone `zone`
 * holds. The first entry is 1 January 1700, local mean time. */
typedef struct tarv_timetable_entry {
  tarv_local_time from;
  double julian_day; /* `from` as a Julian day */
  tarv_zone zone;
} tarv_timetable_entry;

typedef struct tarv_timetable tarv_timetable;

/* The entries of timetable `number` of a country up to its last change
 * before 2000 (tarv_countries tells how many timetables it has; 0 is its
 * default history). A number the country does not have gives the single
 * local-mean-time entry. */
TARV_API tarv_status tarv_timetable_entries(tarv_atlas* atlas, const char* country, int32_t number,
                                            tarv_timetable** timetable);
TARV_API size_t tarv_timetable_size(const tarv_timetable* timetable);
TARV_API const tarv_timetable_entry* tarv_timetable_at(const tarv_timetable* timetable,
                                                       size_t index);
TARV_API void tarv_timetable_free(tarv_timetable* timetable);

/* ---- The user's own places ---- */

/* Adds a place of the user's (found before the atlas's places of the same
 * name) to the country `country` names. The name loses outer blanks.
 * TARV_OK also when a user place of that name exists already.
 * TARV_E_ARGUMENT for an empty name, a name longer than the 28 characters a
 * place name holds (stored cut, it would be found by no name the host used), a name the atlas's
 * letters cannot write even romanised (an emoji, Khmer), a group ("EUROPA") or a timetable the
 * country does not offer (0 to its number of timetables; 0 and 1 where it has none); TARV_E_WRITE
 * when the atlas folder cannot be written. */
TARV_API tarv_status tarv_add_place(tarv_atlas* atlas, const char* country, const char* name,
                                    double longitude, double latitude, int32_t timetable);

/* tarv_add_place with the IANA zone the user names for the place (UTF-8,
 * "America/Chicago"), which then gives its zone at any date. A NULL or
 * empty `zone` is tarv_add_place: the place's zone at a date follows the
 * atlas's zone map at its coordinates (its timetable in an atlas without a
 * map). TARV_E_ARGUMENT also for a zone the atlas does not know. */
TARV_API tarv_status tarv_add_place_in_zone(tarv_atlas* atlas, const char* country,
                                            const char* name, double longitude, double latitude,
                                            int32_t timetable, const char* zone);

/* The user places of `country` spelled otherwise whose names have the same
 * letters as `name` ("Testort 1" for "Testort 2": digits, blanks and marks
 * aside), which a search finds together with it (the one spelled as typed
 * first); hosts tell the user so after an addition. The names go into
 * `buffer` of `size` bytes, each ended by "\n", with a NUL after the last
 * ("" when there are none). *needed (may be NULL) receives the bytes they
 * take; TARV_E_BUFFER when that is more than `size`, and then the buffer is
 * untouched. `buffer` may be NULL when `size` is 0. */
TARV_API tarv_status tarv_user_places_alike(tarv_atlas* atlas, const char* country,
                                            const char* name, char* buffer, size_t size,
                                            size_t* needed);

/* Deletes the user's place of that name; TARV_NOT_FOUND when the country
 * has no user place of that name (atlas places cannot be deleted). */
TARV_API tarv_status tarv_delete_place(tarv_atlas* atlas, const char* country, const char* name);

/* ---- Export ---- */

/* Writes the whole atlas as Countries.txt, Cities.txt, Zones.txt and
 * Timetable.txt (TAB-separated, Windows-1252, CR LF) into `folder`, created
 * when missing, or into the atlas folder when `folder` is NULL. The old
 * files stay as they were when it fails. */
TARV_API tarv_status tarv_export(tarv_atlas* atlas, const char* folder);

/* ---- Language ---- */

/* The language of the handle's texts: 2 German (the default), anything else
 * English (1). Country, zone and continent names of the calls that start
 * after the change follow it. */
TARV_API tarv_status tarv_language(tarv_atlas* atlas, int32_t* language);
TARV_API tarv_status tarv_set_language(tarv_atlas* atlas, int32_t language);

/* ---- Callbacks ---- */

/* Shows a message of the component (a change counter it cannot use)
 * and returns the button chosen: 1 OK, 2 Cancel, 3 Abort, 4 Retry,
 * 5 Ignore, 6 Yes, 7 No; any other value counts as OK. `style` holds the
 * buttons (low 4 bits) and the icon (16 critical, 32 question, 48
 * exclamation, 64 information). */
typedef int (*tarv_message_fn)(void* user_data, const char* title, const char* text, int style);

/* Routes every message of the process to `fn`; NULL restores the default,
 * which writes "title: text" to stderr. */
TARV_API tarv_status tarv_set_message_sink(tarv_message_fn fn, void* user_data);

/* Asked for the atlas folder when the handle needs one and none is set (a
 * handle opened with NULL), and when the country list is read, with the
 * current folder ("" when none). Returns the folder to use (copied at once)
 * or NULL to keep the current one; the handle then answers from that
 * folder. */
typedef const char* (*tarv_place_path_fn)(void* user_data, const char* current_folder);

/* Sets the handle's callback; NULL removes it. */
TARV_API tarv_status tarv_set_place_path_callback(tarv_atlas* atlas, tarv_place_path_fn fn,
                                                  void* user_data);

#ifdef __cplusplus
}
#endif

#endif /* TARVPLACES_TARVPLACES_H_ */
