/* The C interface as a C99 host sees it, on the default atlas and on
 * scratch copies of it.
 *
 *   tarvplaces_capi_test ATLAS SCRATCH
 *
 * SCRATCH holds three fresh copies of ATLAS: writable/, damaged/ and
 * malformed/, which the tests change. Prints "N passed, N failed". */
#define _POSIX_C_SOURCE 200809L

#include <math.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tarvplaces/tarvplaces.h"

static const char* g_atlas;
static char g_writable[4096];
static char g_damaged[4096];
static char g_malformed[4096];

static int g_test_failures;

static void check(int ok, const char* text, const char* file, int line) {
  if (ok) return;
  fprintf(stderr, "%s:%d: failed: %s (last error: \"%s\")\n", file, line, text, tarv_last_error());
  ++g_test_failures;
}
#define CHECK(condition) check((condition) != 0, #condition, __FILE__, __LINE__)
#define CHECK_STATUS(call, expected) \
  check((call) == (expected), #call " == " #expected, __FILE__, __LINE__)

static int contains(const char* text, const char* part) {
  return text != NULL && strstr(text, part) != NULL;
}

static tarv_atlas* open_default(void) {
  tarv_atlas* atlas = NULL;
  CHECK_STATUS(tarv_open(g_atlas, &atlas), TARV_OK);
  return atlas;
}

static tarv_local_time local_time(int year, int month, int day, int hour, int minute) {
  tarv_local_time t = {year, month, day, hour, minute, 0};
  return t;
}

/* ---- Lookups ---- */

static void lookup_gives_the_place_and_the_zone_at_a_local_date(void) {
  tarv_atlas* atlas = open_default();
  tarv_place place;
  int32_t found = 0;
  const tarv_local_time summer = local_time(1980, 7, 1, 12, 0);
  CHECK_STATUS(tarv_place_lookup(atlas, "München", "D", &summer, &place, &found), TARV_OK);
  CHECK(strcmp(place.name, "München") == 0);
  CHECK(strcmp(place.country, "D") == 0);
  CHECK(fabs(place.longitude - 11.57549) < 1e-9 && fabs(place.latitude - 48.13743) < 1e-9);
  CHECK(place.timetable == 1 && place.user_place == 0);
  CHECK(strcmp(place.zone, "MET/S") == 0);
  CHECK(strcmp(place.zone_name, "Central European Summer Time") == 0);
  CHECK(place.utc_offset == 7200 && place.is_lmt == 0);
  CHECK(place.local_time == TARV_LOCAL_TIME_NORMAL);
  CHECK(strcmp(place.iana, "Europe/Berlin") == 0 && strcmp(place.tz_abbreviation, "CEST") == 0);
  CHECK(strcmp(place.zone_long_name, "Mitteleuropäische Sommerzeit") == 0); /* German by default */
  CHECK(place.own_history == 1);
  CHECK(found >= 1);
  CHECK(strcmp(tarv_last_error(), "") == 0);

  /* Without a date: the place's standard zone. */
  CHECK_STATUS(tarv_place_lookup(atlas, "München", "D", NULL, &place, NULL), TARV_OK);
  CHECK(strcmp(place.zone, "MET") == 0 && place.utc_offset == 3600);
  CHECK(strcmp(place.iana, "") == 0 && place.own_history == 0);
  tarv_close(atlas);
}

static void lookup_reports_local_mean_time_and_skipped_and_repeated_hours(void) {
  tarv_atlas* atlas = open_default();
  tarv_place place;
  const tarv_local_time lmt = local_time(1850, 1, 1, 12, 0);
  const tarv_local_time skipped = local_time(1999, 3, 28, 2, 30);
  const tarv_local_time repeated = local_time(2010, 10, 31, 2, 30);
  CHECK_STATUS(tarv_place_lookup(atlas, "München", "D", &lmt, &place, NULL), TARV_OK);
  /* The place's own time: 11.57549 degrees east are 2778 seconds. */
  CHECK(place.is_lmt == 1 && place.zone_id == 0 && place.utc_offset == 2778);
  CHECK_STATUS(tarv_place_lookup(atlas, "Berlin", "D", &skipped, &place, NULL), TARV_OK);
  CHECK(place.local_time == TARV_LOCAL_TIME_SKIPPED);
  CHECK_STATUS(tarv_place_lookup(atlas, "Berlin", "D", &repeated, &place, NULL), TARV_OK);
  CHECK(place.local_time == TARV_LOCAL_TIME_REPEATED);
  tarv_close(atlas);
}

static void lookup_tells_an_unknown_place_from_an_unknown_country(void) {
  tarv_atlas* atlas = open_default();
  tarv_place place;
  CHECK_STATUS(tarv_place_lookup(atlas, "Xyzzyville", "D", NULL, &place, NULL), TARV_NOT_FOUND);
  CHECK(strcmp(tarv_last_error(), "") == 0);
  /* An emoji can be written in no atlas name: nothing is found. */
  CHECK_STATUS(tarv_place_lookup(atlas, "\xF0\x9F\x98\x80", "D", NULL, &place, NULL),
               TARV_NOT_FOUND);
  CHECK_STATUS(tarv_place_lookup(atlas, "München", "ZZZ", NULL, &place, NULL),
               TARV_E_UNKNOWN_COUNTRY);
  CHECK(contains(tarv_last_error(), "\"ZZZ\""));
  /* Codes as hosts pass them: lower case, successor codes, groups. */
  CHECK_STATUS(tarv_place_lookup(atlas, "Moskva", "RUS", NULL, &place, NULL), TARV_OK);
  CHECK(strcmp(place.country, "SSR") == 0);
  CHECK_STATUS(tarv_place_lookup(atlas, "Wien", "EUROPA", NULL, &place, NULL), TARV_OK);
  CHECK(strcmp(place.country, "A") == 0);
  tarv_close(atlas);
}

static void search_lists_every_match_with_its_zone(void) {
  tarv_atlas* atlas = open_default();
  tarv_place_list* list = NULL;
  size_t i;
  int munich = 0;
  const tarv_local_time winter = local_time(1990, 1, 15, 12, 0);
  CHECK_STATUS(tarv_search(atlas, "Mün*", "D", &winter, &list), TARV_OK);
  CHECK(tarv_place_list_size(list) > 10);
  for (i = 0; i < tarv_place_list_size(list); ++i) {
    const tarv_place* p = tarv_place_list_at(list, i);
    CHECK(strncmp(p->name, "Mün", strlen("Mün")) == 0);
    CHECK(strcmp(p->zone, "MET") == 0 && p->utc_offset == 3600);
    munich += strcmp(p->name, "München") == 0;
  }
  CHECK(munich == 1);
  CHECK(tarv_place_list_at(list, tarv_place_list_size(list)) == NULL);
  tarv_place_list_free(list);

  CHECK_STATUS(tarv_search(atlas, "Xyzzyville", "D", NULL, &list), TARV_OK);
  CHECK(list != NULL && tarv_place_list_size(list) == 0);
  tarv_place_list_free(list);
  CHECK_STATUS(tarv_search(atlas, "Wien", "ZZZ", NULL, &list), TARV_E_UNKNOWN_COUNTRY);
  CHECK(list == NULL);
  /* The list functions take NULL. */
  CHECK(tarv_place_list_size(NULL) == 0 && tarv_place_list_at(NULL, 0) == NULL);
  tarv_place_list_free(NULL);
  tarv_close(atlas);
}

/* Countries by ISO code, name or the atlas's own code; none: every country. */
static void countries_as_people_name_them_and_every_country_at_once(void) {
  tarv_atlas* atlas = open_default();
  tarv_place place;
  tarv_country_list* countries = NULL;
  tarv_place_list* list = NULL;
  CHECK_STATUS(tarv_place_lookup(atlas, "München", "DE", NULL, &place, NULL), TARV_OK);
  CHECK(strcmp(place.country, "D") == 0 && strcmp(place.country_iso, "DE") == 0);
  CHECK(strcmp(place.country_name, "Deutschland") == 0 && place.population > 1000000);
  /* "ES" is Spain's ISO code and El Salvador's atlas code. */
  CHECK_STATUS(tarv_place_lookup(atlas, "Soyapango", "ES", NULL, &place, NULL), TARV_NOT_FOUND);
  CHECK_STATUS(tarv_place_lookup(atlas, "Soyapango", "atlas:ES", NULL, &place, NULL), TARV_OK);
  CHECK(strcmp(place.country_iso, "SV") == 0);
  CHECK_STATUS(tarv_place_lookup(atlas, "Munich", "Allemagne", NULL, &place, NULL), TARV_OK);
  CHECK(strcmp(place.name, "München") == 0 && place.other_name == 1);
  CHECK_STATUS(tarv_place_lookup(atlas, "Paris", NULL, NULL, &place, NULL), TARV_OK);
  CHECK(strcmp(place.country, "F") == 0);
  CHECK_STATUS(tarv_place_lookup(atlas, "Paris", "Xanadu", NULL, &place, NULL),
               TARV_E_UNKNOWN_COUNTRY);
  CHECK_STATUS(tarv_search(atlas, "Par*", "", NULL, &list), TARV_OK);
  CHECK(tarv_place_list_size(list) == 50);
  tarv_place_list_free(list);
  CHECK_STATUS(tarv_find_country(atlas, "US-CA", &countries), TARV_OK);
  CHECK(tarv_country_list_size(countries) == 1);
  CHECK(strcmp(tarv_country_list_at(countries, 0)->code, "USCA") == 0);
  tarv_country_list_free(countries);
  CHECK_STATUS(tarv_find_country(atlas, "Xanadu", &countries), TARV_NOT_FOUND);
  CHECK(tarv_country_list_size(countries) == 0);
  tarv_country_list_free(countries);
  tarv_close(atlas);
}

static void nearest_place_within_a_range(void) {
  tarv_atlas* atlas = open_default();
  tarv_place place;
  CHECK_STATUS(tarv_nearest(atlas, "D", 11.575, 48.137, 0.0, &place), TARV_OK);
  CHECK(strcmp(place.name, "München") == 0 && strcmp(place.zone, "MET") == 0);
  /* The Gulf of Guinea is far from every German place. */
  CHECK_STATUS(tarv_nearest(atlas, "D", 0.0, 0.0, 1.0, &place), TARV_NOT_FOUND);
  CHECK_STATUS(tarv_nearest(atlas, "D", NAN, 48.0, 0.0, &place), TARV_E_ARGUMENT);
  CHECK_STATUS(tarv_nearest(atlas, "D", 11.5, 48.1, -1.0, &place), TARV_E_ARGUMENT);
  tarv_close(atlas);
}

/* ---- Tables ---- */

static void countries_carry_their_titles_codes_and_timetables(void) {
  tarv_atlas* atlas = open_default();
  tarv_country_list* list = NULL;
  size_t i;
  const tarv_country* germany = NULL;
  const tarv_country* california = NULL;
  CHECK_STATUS(tarv_countries(atlas, &list), TARV_OK);
  CHECK(tarv_country_list_size(list) > 200);
  for (i = 0; i < tarv_country_list_size(list); ++i) {
    const tarv_country* c = tarv_country_list_at(list, i);
    if (strcmp(c->code, "D") == 0) germany = c;
    if (strcmp(c->code, "USCA") == 0) california = c;
  }
  CHECK(germany != NULL && california != NULL);
  if (germany != NULL) {
    CHECK(strcmp(germany->title, "Deutschland") == 0 && strcmp(germany->english, "Germany") == 0);
    CHECK(germany->timetables == 3 && germany->several_zones == 0);
  }
  if (california != NULL) CHECK(strcmp(california->title, "Kalifornien") == 0);
  CHECK(tarv_country_list_at(list, tarv_country_list_size(list)) == NULL);
  tarv_country_list_free(list);
  tarv_close(atlas);
}

static void zones_and_timetables(void) {
  tarv_atlas* atlas = open_default();
  tarv_zone_list* zones = NULL;
  tarv_timetable* timetable = NULL;
  size_t i;
  int summer = 0, ordered = 1;
  CHECK_STATUS(tarv_zones(atlas, &zones), TARV_OK);
  CHECK(tarv_zone_list_size(zones) == 287);
  CHECK(strcmp(tarv_zone_list_at(zones, 2)->abbreviation, "MET") == 0);
  CHECK(tarv_zone_list_at(zones, 2)->utc_offset == 3600 &&
        tarv_zone_list_at(zones, 2)->kind == 'N');
  tarv_zone_list_free(zones);

  CHECK_STATUS(tarv_timetable_entries(atlas, "D", 1, &timetable), TARV_OK);
  CHECK(tarv_timetable_size(timetable) > 10);
  CHECK(tarv_timetable_at(timetable, 0)->from.year == 1700 &&
        tarv_timetable_at(timetable, 0)->zone.id == 0);
  for (i = 1; i < tarv_timetable_size(timetable); ++i) {
    const tarv_timetable_entry* e = tarv_timetable_at(timetable, i);
    ordered &= e->julian_day > tarv_timetable_at(timetable, i - 1)->julian_day;
    summer |= e->from.year == 1980 && strcmp(e->zone.abbreviation, "MET/S") == 0 &&
              e->zone.utc_offset == 7200;
  }
  CHECK(ordered && summer);
  tarv_timetable_free(timetable);
  CHECK_STATUS(tarv_timetable_entries(atlas, "ZZZ", 1, &timetable), TARV_E_UNKNOWN_COUNTRY);
  CHECK_STATUS(tarv_timetable_entries(atlas, "D", -1, &timetable), TARV_E_ARGUMENT);
  CHECK(timetable == NULL);
  tarv_close(atlas);
}

static void language_is_kept_and_statuses_have_names(void) {
  tarv_atlas* atlas = open_default();
  int32_t wanted, language = 0;
  for (wanted = 1; wanted <= 2; ++wanted) {
    CHECK_STATUS(tarv_set_language(atlas, wanted), TARV_OK);
    CHECK_STATUS(tarv_language(atlas, &language), TARV_OK);
    CHECK(language == wanted);
  }
  CHECK_STATUS(tarv_language(atlas, NULL), TARV_E_ARGUMENT);
  tarv_close(atlas);
  CHECK(strcmp(tarv_status_text(TARV_E_UTF8), "TARV_E_UTF8") == 0);
  CHECK(strcmp(tarv_status_text((tarv_status)42), "unknown status") == 0);
  CHECK(strcmp(tarv_version(), "0.1.0") == 0);
}

/* ---- Bad input ---- */

static void null_pointers_are_refused_with_a_message(void) {
  tarv_atlas* atlas = open_default();
  tarv_place place;
  CHECK_STATUS(tarv_open(g_atlas, NULL), TARV_E_ARGUMENT);
  CHECK_STATUS(tarv_place_lookup(NULL, "München", "D", NULL, &place, NULL), TARV_E_ARGUMENT);
  CHECK(contains(tarv_last_error(), "handle is NULL"));
  CHECK_STATUS(tarv_place_lookup(atlas, NULL, "D", NULL, &place, NULL), TARV_E_ARGUMENT);
  CHECK(contains(tarv_last_error(), "place name is NULL"));
  CHECK_STATUS(tarv_place_lookup(atlas, "München", "D", NULL, NULL, NULL), TARV_E_ARGUMENT);
  CHECK_STATUS(tarv_search(atlas, "M*", "D", NULL, NULL), TARV_E_ARGUMENT);
  CHECK_STATUS(tarv_countries(atlas, NULL), TARV_E_ARGUMENT);
  CHECK_STATUS(tarv_add_place(atlas, "D", NULL, 10.0, 50.0, 1), TARV_E_ARGUMENT);
  tarv_close(atlas);
}

static void text_that_is_not_utf8_is_refused_and_outputs_stay(void) {
  static const char* const kBroken[] = {
      "M\xFCnchen",      /* Windows-1252, not UTF-8 */
      "M\xC3",           /* cut inside a character */
      "\xC0\xAF",        /* overlong "/" */
      "\xED\xA0\x80",    /* a surrogate */
      "\xF4\x90\x80\x80" /* past U+10FFFF */
  };
  tarv_atlas* atlas = open_default();
  tarv_place place;
  size_t i;
  for (i = 0; i < sizeof kBroken / sizeof kBroken[0]; ++i) {
    memset(&place, 'x', sizeof place);
    CHECK_STATUS(tarv_place_lookup(atlas, kBroken[i], "D", NULL, &place, NULL), TARV_E_UTF8);
    CHECK(contains(tarv_last_error(), "place name is not UTF-8"));
    CHECK(place.name[0] == 'x' && place.zone[0] == 'x');
  }
  CHECK_STATUS(tarv_place_lookup(atlas, "München", "\xFF", NULL, &place, NULL), TARV_E_UTF8);
  CHECK(contains(tarv_last_error(), "country code"));
  CHECK_STATUS(tarv_open("\xFF", &atlas), TARV_E_UTF8);
  tarv_close(atlas);
}

static void impossible_dates_are_refused(void) {
  static const struct {
    tarv_local_time when;
    tarv_status status;
  } kCases[] = {{{1999, 2, 29, 12, 0, 0}, TARV_E_ARGUMENT},
                {{2000, 2, 29, 24, 0, 0}, TARV_E_ARGUMENT},
                {{2000, 2, 29, 23, 59, 0}, TARV_OK},
                {{10000, 1, 1, 0, 0, 0}, TARV_E_ARGUMENT}};
  tarv_atlas* atlas = open_default();
  tarv_place place;
  size_t i;
  for (i = 0; i < sizeof kCases / sizeof kCases[0]; ++i) {
    CHECK_STATUS(tarv_place_lookup(atlas, "München", "D", &kCases[i].when, &place, NULL),
                 kCases[i].status);
    if (kCases[i].status != TARV_OK) CHECK(contains(tarv_last_error(), "no such local time"));
  }
  tarv_close(atlas);
}

static void a_small_buffer_learns_the_size_it_needs(void) {
  tarv_atlas* atlas = open_default();
  char buffer[4096];
  size_t needed = 0;
  memset(buffer, 'x', sizeof buffer);
  CHECK_STATUS(tarv_atlas_folder(atlas, NULL, 0, &needed), TARV_E_BUFFER);
  CHECK(needed == strlen(g_atlas) + 1);
  CHECK_STATUS(tarv_atlas_folder(atlas, buffer, needed - 1, NULL), TARV_E_BUFFER);
  CHECK(buffer[0] == 'x');
  CHECK_STATUS(tarv_atlas_folder(atlas, buffer, needed, NULL), TARV_OK);
  CHECK(strcmp(buffer, g_atlas) == 0);
  CHECK_STATUS(tarv_atlas_folder(atlas, NULL, 10, NULL), TARV_E_ARGUMENT);
  tarv_close(atlas);
}

static void closed_and_foreign_handles_are_refused(void) {
  tarv_atlas* atlas = open_default();
  tarv_atlas* second = NULL;
  int not_a_handle = 0;
  tarv_place place;
  CHECK_STATUS(tarv_close(NULL), TARV_OK);
  CHECK_STATUS(tarv_open(g_atlas, &second), TARV_OK); /* the same folder is shared */
  CHECK_STATUS(tarv_close(atlas), TARV_OK);
  CHECK_STATUS(tarv_place_lookup(atlas, "München", "D", NULL, &place, NULL), TARV_E_HANDLE);
  CHECK(contains(tarv_last_error(), "closed"));
  CHECK_STATUS(tarv_close(atlas), TARV_E_HANDLE);
  CHECK_STATUS(tarv_place_lookup((tarv_atlas*)&not_a_handle, "München", "D", NULL, &place, NULL),
               TARV_E_HANDLE);
  /* The other handle is not affected. */
  CHECK_STATUS(tarv_place_lookup(second, "München", "D", NULL, &place, NULL), TARV_OK);
  tarv_close(second);
}

static void a_folder_without_an_atlas_cannot_be_opened(void) {
  tarv_atlas* atlas = NULL;
  CHECK_STATUS(tarv_open("/nonexistent/atlas", &atlas), TARV_E_ATLAS);
  CHECK(atlas == NULL);
  /* The file is named as the system joins paths: "/" on POSIX, "\\" on Windows. */
  CHECK(contains(tarv_last_error(), "/nonexistent/atlas"));
  CHECK(contains(tarv_last_error(), "Country.dat") && contains(tarv_last_error(), "holds no atlas"));
}

static void two_atlases_answer_from_their_own_folders(void) {
  tarv_atlas* first = open_default();
  tarv_atlas* other = NULL;
  tarv_place place;
  CHECK_STATUS(tarv_open(g_writable, &other), TARV_OK);
  CHECK_STATUS(tarv_add_place(other, "D", "Capi Zweitort", 10.5, 50.25, 1), TARV_OK);
  CHECK_STATUS(tarv_place_lookup(other, "Capi Zweitort", "D", NULL, &place, NULL), TARV_OK);
  CHECK(place.user_place == 1);
  CHECK_STATUS(tarv_place_lookup(first, "Capi Zweitort", "D", NULL, &place, NULL), TARV_NOT_FOUND);
  CHECK_STATUS(tarv_place_lookup(first, "München", "D", NULL, &place, NULL), TARV_OK);
  CHECK_STATUS(tarv_delete_place(other, "D", "Capi Zweitort"), TARV_OK);
  tarv_close(first);
  tarv_close(other);
}

/* ---- Changes and faults, on scratch copies ---- */

static void user_places_are_added_found_and_deleted(void) {
  tarv_atlas* atlas = NULL;
  tarv_place place;
  CHECK_STATUS(tarv_open(g_writable, &atlas), TARV_OK);
  CHECK_STATUS(tarv_add_place(atlas, "D", "Capi Hof", 10.25, 50.5, 1), TARV_OK);
  CHECK_STATUS(tarv_place_lookup(atlas, "Capi Hof", "D", NULL, &place, NULL), TARV_OK);
  CHECK(place.user_place == 1 && fabs(place.longitude - 10.25) < 1e-6 && place.timetable == 1);
  CHECK_STATUS(tarv_delete_place(atlas, "D", "Capi Hof"), TARV_OK);
  CHECK_STATUS(tarv_place_lookup(atlas, "Capi Hof", "D", NULL, &place, NULL), TARV_NOT_FOUND);
  CHECK_STATUS(tarv_delete_place(atlas, "D", "Capi Hof"), TARV_NOT_FOUND);
  /* Atlas places cannot be deleted. */
  CHECK_STATUS(tarv_delete_place(atlas, "D", "München"), TARV_NOT_FOUND);
  {
    /* Names a search cannot tell apart by their letters are told of. */
    char names[64];
    size_t needed = 0;
    CHECK_STATUS(tarv_add_place(atlas, "D", "Capi 1", 10.25, 50.5, 1), TARV_OK);
    CHECK_STATUS(tarv_add_place(atlas, "D", "Capi 2", 10.25, 50.5, 1), TARV_OK);
    CHECK_STATUS(tarv_user_places_alike(atlas, "D", "Capi 2", NULL, 0, &needed), TARV_E_BUFFER);
    CHECK(needed == sizeof "Capi 1\n");
    CHECK_STATUS(tarv_user_places_alike(atlas, "D", "Capi 2", names, sizeof names, NULL), TARV_OK);
    CHECK(strcmp(names, "Capi 1\n") == 0);
    CHECK_STATUS(tarv_user_places_alike(atlas, "D", "Capi Hof", names, sizeof names, NULL), TARV_OK);
    CHECK(names[0] == '\0');
  }

  CHECK_STATUS(tarv_add_place(atlas, "D", "Capi Hof", 10.25, 50.5, 99), TARV_E_ARGUMENT);
  CHECK(contains(tarv_last_error(), "timetable 99"));
  CHECK_STATUS(tarv_add_place(atlas, "EUROPA", "Capi Hof", 10.25, 50.5, 0), TARV_E_ARGUMENT);
  CHECK(contains(tarv_last_error(), "group"));
  /* A country as people name it is filed under its code. */
  CHECK_STATUS(tarv_add_place(atlas, "Allemagne", "Capi Dorf", 10.25, 50.5, 0), TARV_OK);
  CHECK_STATUS(tarv_place_lookup(atlas, "Capi Dorf", "atlas:D", NULL, &place, NULL), TARV_OK);
  CHECK(place.user_place == 1 && strcmp(place.country, "D") == 0);
  CHECK_STATUS(tarv_add_place(atlas, "D", "Ψ😀", 10.25, 50.5, 0), TARV_E_ARGUMENT);
  CHECK_STATUS(tarv_add_place(atlas, "D", "   ", 10.25, 50.5, 1), TARV_E_ARGUMENT);
  CHECK(contains(tarv_last_error(), "empty"));
  CHECK_STATUS(tarv_add_place(atlas, "D", "Capi Hof", 200.0, 50.5, 1), TARV_E_ARGUMENT);
  CHECK_STATUS(tarv_add_place(atlas, "ZZZ", "Capi Hof", 10.25, 50.5, 1), TARV_E_UNKNOWN_COUNTRY);
  tarv_close(atlas);
}

static void export_writes_the_four_text_files(void) {
  tarv_atlas* atlas = NULL;
  char path[4200];
  char header[64] = "";
  FILE* file;
  CHECK_STATUS(tarv_open(g_writable, &atlas), TARV_OK);
  snprintf(path, sizeof path, "%s/export", g_writable);
  CHECK_STATUS(tarv_export(atlas, path), TARV_OK);
  snprintf(path, sizeof path, "%s/export/Cities.txt", g_writable);
  file = fopen(path, "rb");
  CHECK(file != NULL);
  if (file != NULL) {
    CHECK(fgets(header, sizeof header, file) != NULL);
    fclose(file);
  }
  CHECK(strncmp(header, "Country\tCity\tLongitude\tLatitude\tTimetable\tUser", 46) == 0);
  CHECK_STATUS(tarv_export(atlas, "/proc/no-such-folder/export"), TARV_E_WRITE);
  tarv_close(atlas);
}

struct messages {
  int count;
  int critical;
  char last[512];
};

static int collect_message(void* user_data, const char* title, const char* text, int style) {
  struct messages* m = (struct messages*)user_data;
  (void)title;
  ++m->count;
  m->critical += (style & 16) != 0;
  snprintf(m->last, sizeof m->last, "%s", text);
  return 1;
}

/* Cuts a file to half its length: compressed data that ends early. */
static int truncate_to_half(const char* path) {
  FILE* file = fopen(path, "rb");
  char* bytes;
  long size;
  size_t read;
  if (file == NULL) return 0;
  fseek(file, 0, SEEK_END);
  size = ftell(file);
  fseek(file, 0, SEEK_SET);
  bytes = (char*)malloc((size_t)size);
  read = bytes == NULL ? 0 : fread(bytes, 1, (size_t)size, file);
  fclose(file);
  file = fopen(path, "wb");
  if (file != NULL) {
    fwrite(bytes, 1, read / 2, file);
    fclose(file);
  }
  free(bytes);
  return file != NULL && read > 0;
}

static void a_damaged_place_file_is_an_atlas_error_naming_it(void) {
  tarv_atlas* atlas = NULL;
  tarv_place place;
  tarv_place_list* list = NULL;
  char path[4200];
  struct messages messages = {0, 0, ""};
  snprintf(path, sizeof path, "%s/D.dao", g_damaged);
  CHECK(truncate_to_half(path));
  CHECK_STATUS(tarv_set_message_sink(collect_message, &messages), TARV_OK);
  CHECK_STATUS(tarv_open(g_damaged, &atlas), TARV_OK);
  CHECK_STATUS(tarv_place_lookup(atlas, "München", "D", NULL, &place, NULL), TARV_E_ATLAS);
  CHECK(contains(tarv_last_error(), "D.dao") && contains(tarv_last_error(), "corrupt"));
  CHECK_STATUS(tarv_search(atlas, "M*", "D", NULL, &list), TARV_E_ATLAS);
  CHECK(list == NULL);
  /* The status tells the host; no message box is raised as well. */
  CHECK_STATUS(tarv_nearest(atlas, "D", 11.5, 48.1, 0.0, &place), TARV_E_ATLAS);
  CHECK(contains(tarv_last_error(), "D.dao") && messages.count == 0);
  /* Other countries still answer. */
  CHECK_STATUS(tarv_place_lookup(atlas, "Wien", "A", NULL, &place, NULL), TARV_OK);
  CHECK_STATUS(tarv_set_message_sink(NULL, NULL), TARV_OK);
  tarv_close(atlas);
}

static void a_malformed_country_table_fails_the_open(void) {
  tarv_atlas* atlas = NULL;
  char path[4200];
  FILE* file;
  snprintf(path, sizeof path, "%s/Country.dat", g_malformed);
  file = fopen(path, "wb");
  CHECK(file != NULL);
  if (file != NULL) {
    fputs("58\tDeutschland\r\n", file);
    fclose(file);
  }
  CHECK_STATUS(tarv_open(g_malformed, &atlas), TARV_E_ATLAS);
  CHECK(contains(tarv_last_error(), "Country.dat") && contains(tarv_last_error(), "line 1"));
}

/* ---- Callbacks ---- */

static const char* give_writable(void* user_data, const char* current) {
  int* calls = (int*)user_data;
  ++*calls;
  return current[0] == '\0' ? g_writable : NULL;
}

static const char* give_other(void* user_data, const char* current) {
  (void)user_data;
  (void)current;
  return g_atlas;
}

static void the_place_path_callback_supplies_the_folder(void) {
  tarv_atlas* atlas = NULL;
  char folder[4096];
  tarv_place place;
  tarv_country_list* countries = NULL;
  int calls = 0;
  CHECK_STATUS(tarv_open(NULL, &atlas), TARV_OK);
  CHECK_STATUS(tarv_set_place_path_callback(atlas, give_writable, &calls), TARV_OK);
  CHECK_STATUS(tarv_place_lookup(atlas, "München", "D", NULL, &place, NULL), TARV_OK);
  CHECK(calls == 1);
  /* Reading the country list asks again; another folder moves the handle. */
  CHECK_STATUS(tarv_set_place_path_callback(atlas, give_other, NULL), TARV_OK);
  CHECK_STATUS(tarv_countries(atlas, &countries), TARV_OK);
  CHECK(countries != NULL && tarv_country_list_size(countries) > 100);
  tarv_country_list_free(countries);
  CHECK_STATUS(tarv_atlas_folder(atlas, folder, sizeof folder, NULL), TARV_OK);
  CHECK(strcmp(folder, g_atlas) == 0);
  CHECK_STATUS(tarv_set_place_path_callback(atlas, NULL, NULL), TARV_OK);
  CHECK_STATUS(tarv_place_lookup(atlas, "München", "D", NULL, &place, NULL), TARV_OK);
  tarv_close(atlas);

  /* Without a folder and without a callback there is nothing to ask. */
  CHECK_STATUS(tarv_open(NULL, &atlas), TARV_OK);
  CHECK_STATUS(tarv_place_lookup(atlas, "München", "D", NULL, &place, NULL), TARV_E_ATLAS);
  CHECK(contains(tarv_last_error(), "no atlas folder"));
  tarv_close(atlas);
}

static tarv_atlas* g_reentered;
static tarv_status g_reentry_status;

static const char* call_back_in(void* user_data, const char* current) {
  int32_t language = 0;
  (void)user_data;
  (void)current;
  g_reentry_status = tarv_language(g_reentered, &language);
  return g_writable;
}

static void a_callback_that_calls_the_library_is_refused(void) {
  tarv_atlas* atlas = NULL;
  tarv_place place;
  CHECK_STATUS(tarv_open(NULL, &atlas), TARV_OK);
  g_reentered = atlas;
  CHECK_STATUS(tarv_set_place_path_callback(atlas, call_back_in, NULL), TARV_OK);
  CHECK_STATUS(tarv_place_lookup(atlas, "München", "D", NULL, &place, NULL), TARV_OK);
  CHECK(g_reentry_status == TARV_E_BUSY);
  tarv_close(atlas);
}

/* ---- Threads ---- */

struct worker {
  tarv_atlas* atlas;
  const char* name;
  double longitude;
  int wrong;
};

static void* look_up_repeatedly(void* argument) {
  struct worker* w = (struct worker*)argument;
  int i;
  for (i = 0; i < 200; ++i) {
    tarv_place place;
    tarv_place_list* list = NULL;
    if (tarv_place_lookup(w->atlas, w->name, "D", NULL, &place, NULL) != TARV_OK ||
        strcmp(place.name, w->name) != 0 || fabs(place.longitude - w->longitude) > 1e-6) {
      ++w->wrong;
    }
    /* A search replaces the found-place list the other thread reads. */
    if (tarv_search(w->atlas, w->name, "D", NULL, &list) != TARV_OK ||
        tarv_place_list_size(list) == 0 ||
        strcmp(tarv_place_list_at(list, 0)->name, w->name) != 0) {
      ++w->wrong;
    }
    tarv_place_list_free(list);
  }
  return NULL;
}

static void one_handle_used_from_two_threads_answers_each_right(void) {
  tarv_atlas* atlas = open_default();
  struct worker workers[2];
  pthread_t threads[2];
  int i;
  workers[0].atlas = workers[1].atlas = atlas;
  workers[0].name = "München";
  workers[0].longitude = 11.57549;
  workers[1].name = "Berlin";
  workers[1].longitude = 13.41053;
  for (i = 0; i < 2; ++i) {
    workers[i].wrong = 0;
    CHECK(pthread_create(&threads[i], NULL, look_up_repeatedly, &workers[i]) == 0);
  }
  for (i = 0; i < 2; ++i) {
    pthread_join(threads[i], NULL);
    CHECK(workers[i].wrong == 0);
  }
  tarv_close(atlas);
}

/* ---- Runner ---- */

static int g_passed, g_failed;

static void run(const char* name, void (*test)(void)) {
  g_test_failures = 0;
  test();
  if (g_test_failures == 0) {
    ++g_passed;
    printf("ok      %s\n", name);
  } else {
    ++g_failed;
    printf("FAILED  %s\n", name);
  }
}
#define RUN(test) run(#test, test)

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: tarvplaces_capi_test ATLAS SCRATCH\n");
    return 2;
  }
  g_atlas = argv[1];
  snprintf(g_writable, sizeof g_writable, "%s/writable", argv[2]);
  snprintf(g_damaged, sizeof g_damaged, "%s/damaged", argv[2]);
  snprintf(g_malformed, sizeof g_malformed, "%s/malformed", argv[2]);

  RUN(lookup_gives_the_place_and_the_zone_at_a_local_date);
  RUN(lookup_reports_local_mean_time_and_skipped_and_repeated_hours);
  RUN(lookup_tells_an_unknown_place_from_an_unknown_country);
  RUN(search_lists_every_match_with_its_zone);
  RUN(countries_as_people_name_them_and_every_country_at_once);
  RUN(nearest_place_within_a_range);
  RUN(countries_carry_their_titles_codes_and_timetables);
  RUN(zones_and_timetables);
  RUN(language_is_kept_and_statuses_have_names);
  RUN(null_pointers_are_refused_with_a_message);
  RUN(text_that_is_not_utf8_is_refused_and_outputs_stay);
  RUN(impossible_dates_are_refused);
  RUN(a_small_buffer_learns_the_size_it_needs);
  RUN(closed_and_foreign_handles_are_refused);
  RUN(a_folder_without_an_atlas_cannot_be_opened);
  RUN(one_handle_used_from_two_threads_answers_each_right);
  RUN(two_atlases_answer_from_their_own_folders);
  RUN(user_places_are_added_found_and_deleted);
  RUN(export_writes_the_four_text_files);
  RUN(a_damaged_place_file_is_an_atlas_error_naming_it);
  RUN(a_malformed_country_table_fails_the_open);
  RUN(the_place_path_callback_supplies_the_folder);
  RUN(a_callback_that_calls_the_library_is_refused);

  printf("%d passed, %d failed\n", g_passed, g_failed);
  return g_failed == 0 ? 0 : 1;
}
