/* The C interface as a C99 host meets it: arguments, UTF-8, buffers,
 * handles, callbacks, threads and each kind of failure's status and message,
 * with one dated lookup; what the atlas answers is the library's tests' job.
 *
 *   tarvplaces_capi_test ATLAS SCRATCH   (SCRATCH/writable: a copy of ATLAS;
 *                                         SCRATCH/mapped: one with a zone map,
 *                                         SCRATCH/unmapped: one without)
 *
 * Prints "N passed, N failed". */
#define _POSIX_C_SOURCE 200809L

#include <math.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tarvplaces/tarvplaces.h"

static char g_atlas[4096];
static char g_writable[4096];
static char g_mapped[4096];   /* a copy of the atlas with a small zone map */
static char g_unmapped[4096]; /* a copy of the atlas without its zone map */

static int g_test_failures;

static void check(int ok, const char* text, const char* file, int line) {
  if (ok) return;
  fprintf(stderr, "%s:%d: failed: %s (last error: \"%s\")\n", file, line, text, tarv_last_error());
  ++g_test_failures;
}
#define CHECK(condition) check((condition) != 0, #condition, __FILE__, __LINE__)

/* A call's status and what it left in tarv_last_error: "" after success,
 * else a message holding `part` (when not NULL). */
static void check_status(tarv_status got, tarv_status want, const char* part, const char* call,
                         const char* file, int line) {
  const char* error = tarv_last_error();
  char text[512];
  snprintf(text, sizeof text, "%s gave %s, expected %s", call, tarv_status_text(got),
           tarv_status_text(want));
  check(got == want, text, file, line);
  if (want >= 0) check(error[0] == '\0', "no message after success", file, line);
  if (part != NULL) check(strstr(error, part) != NULL, part, file, line);
}
#define CHECK_STATUS(call, want, part) \
  check_status((call), (want), (part), #call, __FILE__, __LINE__)

static tarv_atlas* open_default(void) {
  tarv_atlas* atlas = NULL;
  CHECK_STATUS(tarv_open(g_atlas, &atlas), TARV_OK, NULL);
  return atlas;
}

static const tarv_local_time kSummer1980 = {1980, 7, 1, 12, 0, 0};

/* An undated lookup into g_place, the place most tests read. */
static tarv_place g_place;
static tarv_status find(tarv_atlas* atlas, const char* name, const char* country) {
  return tarv_place_lookup(atlas, name, country, NULL, &g_place, NULL);
}

/* Every field, from a name the place bears besides its own and an ISO code. */
static void a_dated_lookup_fills_every_field(void) {
  tarv_atlas* atlas = open_default();
  tarv_place p;
  int32_t found = 0, language = 0;
  CHECK_STATUS(tarv_place_lookup(atlas, "Munich", "DE", &kSummer1980, &p, &found), TARV_OK, NULL);
  CHECK(strcmp(p.name, "München") == 0 && strcmp(p.country, "D") == 0 && found >= 1);
  CHECK(fabs(p.longitude - 11.57549) < 1e-9 && fabs(p.latitude - 48.13743) < 1e-9);
  CHECK(p.timetable == 1 && p.user_place == 0 && p.zone_id > 0 && p.is_lmt == 0);
  CHECK(strcmp(p.zone, "MET/S") == 0 && strcmp(p.zone_name, "Central European Summer Time") == 0);
  CHECK(p.utc_offset == 7200 && p.local_time == TARV_LOCAL_TIME_NORMAL && p.own_history == 1);
  CHECK(strcmp(p.iana, "Europe/Berlin") == 0 && strcmp(p.tz_abbreviation, "CEST") == 0);
  CHECK(strcmp(p.zone_long_name, "Mitteleuropäische Sommerzeit") == 0); /* German by default */
  CHECK(strcmp(p.country_name, "Deutschland") == 0 && strcmp(p.country_iso, "DE") == 0);
  CHECK(p.population > 1000000 && p.other_name == 1);
  /* The handle keeps its language for the calls after; the same again changes nothing. */
  CHECK_STATUS(tarv_set_language(atlas, 1), TARV_OK, NULL);
  CHECK_STATUS(tarv_set_language(atlas, 1), TARV_OK, NULL);
  CHECK_STATUS(tarv_language(atlas, &language), TARV_OK, NULL);
  CHECK_STATUS(tarv_place_lookup(atlas, "München", "D", &kSummer1980, &p, NULL), TARV_OK, NULL);
  CHECK(language == 1 && strcmp(p.country_name, "Germany") == 0);
  CHECK(strcmp(p.zone_long_name, "Central European Summer Time") == 0);
  /* Without a date, in a group: the standard zone and no IANA zone. */
  CHECK_STATUS(find(atlas, "München", "EUROPA"), TARV_OK, NULL);
  CHECK(strcmp(g_place.country, "D") == 0 && strcmp(g_place.zone, "MET") == 0);
  CHECK(g_place.utc_offset == 3600 && strcmp(g_place.iana, "") == 0);
  tarv_close(atlas);
}

/* A repeated hour has two readings, the earlier the answer; a skipped one
 * its gap, the answer the clock after it; a time that was once neither. */
static void both_readings_of_a_repeated_hour_and_the_gap_of_a_skipped_one(void) {
  tarv_atlas* atlas = open_default();
  tarv_atlas* mapped = NULL;
  tarv_place p;
  tarv_point_zone z;
  const tarv_local_time autumn = {1983, 9, 25, 2, 30, 0};
  const tarv_local_time spring = {1983, 3, 27, 2, 30, 0};
  const tarv_local_time chicago_autumn = {1990, 10, 28, 1, 30, 0};
  const tarv_local_time winter2020 = {2020, 1, 15, 12, 0, 0};
  CHECK_STATUS(tarv_place_lookup(atlas, "Paris", "F", &autumn, &p, NULL), TARV_OK, NULL);
  CHECK(p.local_time == TARV_LOCAL_TIME_REPEATED && p.utc_offset == 7200 && p.reading_count == 2);
  CHECK(p.readings[0].utc_offset == 7200 && p.readings[0].is_default == 1);
  CHECK(p.readings[1].utc_offset == 3600 && p.readings[1].is_default == 0);
  CHECK(strcmp(p.readings[0].tz_abbreviation, "CEST") == 0 &&
        strcmp(p.readings[0].zone, "MET/S") == 0);
  CHECK(strcmp(p.readings[1].tz_abbreviation, "CET") == 0 &&
        strcmp(p.readings[1].zone, "MET") == 0);
  CHECK(strcmp(p.readings[1].zone_long_name, "Mitteleuropäische Normalzeit") == 0);
  CHECK(p.readings[0].zone_id == p.zone_id && p.has_gap == 0);

  CHECK_STATUS(tarv_place_lookup(atlas, "Paris", "F", &spring, &p, NULL), TARV_OK, NULL);
  CHECK(p.local_time == TARV_LOCAL_TIME_SKIPPED && p.utc_offset == 7200 && p.reading_count == 0);
  CHECK(p.has_gap == 1 && p.gap.offset_before == 3600 && p.gap.offset_after == 7200);
  CHECK(p.gap.from.year == 1983 && p.gap.from.month == 3 && p.gap.from.day == 27);
  CHECK(p.gap.from.hour == 2 && p.gap.from.minute == 0 && p.gap.to.hour == 3 &&
        p.gap.to.minute == 0);

  CHECK_STATUS(tarv_place_lookup(atlas, "Paris", "F", &kSummer1980, &p, NULL), TARV_OK, NULL);
  CHECK(p.local_time == TARV_LOCAL_TIME_NORMAL && p.reading_count == 0 && p.has_gap == 0);
  CHECK(p.source.kind == TARV_SOURCE_ZONE_HISTORY && strcmp(p.source.iana, "Europe/Paris") == 0);
  CHECK(strlen(p.source.tzdata_version) >= 5 && p.source.before_1970 == 0 && p.near_count == 0);

  /* Chattahoochee keeps Eastern time a kilometre or two from Central time. */
  CHECK_STATUS(tarv_place_lookup(atlas, "Chattahoochee", "USFL", &winter2020, &p, NULL), TARV_OK,
               NULL);
  CHECK(p.utc_offset == -18000 && p.near_count >= 1);
  CHECK(strcmp(p.near_zones[0].iana, "America/Chicago") == 0 &&
        p.near_zones[0].utc_offset == -21600);
  CHECK(p.near_zones[0].meters > 0 && p.near_zones[0].meters < 5000);
  CHECK(strcmp(p.near_zones[0].tz_abbreviation, "CST") == 0);

  CHECK_STATUS(tarv_open(g_mapped, &mapped), TARV_OK, NULL);
  CHECK_STATUS(tarv_zone_at(mapped, 13.4, 52.5, &chicago_autumn, &z), TARV_OK, NULL);
  CHECK(z.local_time == TARV_LOCAL_TIME_REPEATED && z.reading_count == 2);
  CHECK(z.readings[0].utc_offset == -18000 && z.readings[1].utc_offset == -21600);
  CHECK(strcmp(z.readings[0].tz_abbreviation, "CDT") == 0 &&
        strcmp(z.readings[1].tz_abbreviation, "CST") == 0);
  tarv_close(mapped);
  tarv_close(atlas);
}

/* Each way the library fails reaches the host as its own status. */
static void each_failure_has_its_status_and_a_message(void) {
  tarv_atlas* atlas = open_default();
  tarv_atlas* none = NULL;
  const tarv_local_time no_such_day = {1999, 2, 29, 12, 0, 0};
  CHECK_STATUS(find(atlas, "Xyzzyville", "D"), TARV_NOT_FOUND, NULL);
  CHECK_STATUS(find(atlas, "Wien", "ZZZ"), TARV_E_UNKNOWN_COUNTRY, "\"ZZZ\"");
  CHECK_STATUS(tarv_place_lookup(atlas, "Wien", "A", &no_such_day, &g_place, NULL), TARV_E_ARGUMENT,
               "no such local time");
  CHECK_STATUS(find(atlas, "Wien", "A*"), TARV_E_ARGUMENT, "wildcard");
  CHECK_STATUS(tarv_export(atlas, "/proc/no-such-folder/export"), TARV_E_WRITE, "no-such-folder");
  CHECK_STATUS(tarv_open("/nonexistent/atlas", &none), TARV_E_ATLAS, "Country.dat");
  /* The file is named as the system joins paths: "/" on POSIX, "\\" on Windows. */
  CHECK(strstr(tarv_last_error(), "/nonexistent/atlas") != NULL && none == NULL);
  CHECK(strcmp(tarv_status_text(TARV_E_UTF8), "TARV_E_UTF8") == 0 &&
        strcmp(tarv_status_text((tarv_status)42), "unknown status") == 0);
  tarv_close(atlas);
}

static void null_pointers_and_values_out_of_range_are_refused(void) {
  tarv_atlas* atlas = open_default();
  tarv_place p;
  tarv_place_list* list = (tarv_place_list*)&p; /* stale: a failure must clear it */
  tarv_timetable* timetable = NULL;
  CHECK_STATUS(tarv_open(g_atlas, NULL), TARV_E_ARGUMENT, "is NULL");
  CHECK_STATUS(find(NULL, "Wien", "A"), TARV_E_ARGUMENT, "handle is NULL");
  CHECK_STATUS(find(atlas, NULL, "A"), TARV_E_ARGUMENT, "place name is NULL");
  CHECK_STATUS(tarv_place_lookup(atlas, "Wien", "A", NULL, NULL, NULL), TARV_E_ARGUMENT, "NULL");
  CHECK_STATUS(tarv_search(atlas, "Wien", "A", NULL, NULL), TARV_E_ARGUMENT, "NULL");
  CHECK_STATUS(tarv_countries(atlas, NULL), TARV_E_ARGUMENT, "NULL");
  CHECK_STATUS(tarv_add_place(atlas, "D", NULL, 10.0, 50.0, 1), TARV_E_ARGUMENT, "NULL");
  CHECK_STATUS(tarv_language(atlas, NULL), TARV_E_ARGUMENT, "NULL");
  CHECK_STATUS(tarv_nearest(atlas, "D", NAN, 48.0, 0.0, &p), TARV_E_ARGUMENT, "finite");
  CHECK_STATUS(tarv_nearest(atlas, "D", 11.5, 48.1, -1.0, &p), TARV_E_ARGUMENT, "negative");
  CHECK_STATUS(tarv_timetable_entries(atlas, "D", -1, &timetable), TARV_E_ARGUMENT, "32767");
  CHECK_STATUS(tarv_search(atlas, "Wien", "ZZZ", NULL, &list), TARV_E_UNKNOWN_COUNTRY, NULL);
  CHECK(timetable == NULL && list == NULL);
  CHECK(tarv_place_list_size(NULL) == 0 && tarv_place_list_at(NULL, 0) == NULL);
  tarv_place_list_free(NULL);
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
  tarv_atlas* none = NULL;
  tarv_place p;
  size_t i;
  for (i = 0; i < sizeof kBroken / sizeof kBroken[0]; ++i) {
    memset(&p, 'x', sizeof p);
    CHECK_STATUS(tarv_place_lookup(atlas, kBroken[i], "D", NULL, &p, NULL), TARV_E_UTF8,
                 "place name is not UTF-8");
    CHECK(p.name[0] == 'x' && p.zone[0] == 'x');
  }
  /* Four bytes are UTF-8 too: an emoji is part of no name. */
  CHECK_STATUS(find(atlas, "\xF0\x9F\x98\x80", "D"), TARV_NOT_FOUND, NULL);
  CHECK_STATUS(find(atlas, "Wien", "\xFF"), TARV_E_UTF8, "country code");
  CHECK_STATUS(tarv_open("\xFF", &none), TARV_E_UTF8, "folder");
  tarv_close(atlas);
}

static void a_small_buffer_learns_the_size_it_needs(void) {
  tarv_atlas* atlas = open_default();
  char buffer[4096];
  size_t needed = 0;
  memset(buffer, 'x', sizeof buffer);
  CHECK_STATUS(tarv_atlas_folder(atlas, NULL, 0, &needed), TARV_E_BUFFER, "bytes");
  CHECK(needed == strlen(g_atlas) + 1);
  CHECK_STATUS(tarv_atlas_folder(atlas, buffer, needed - 1, NULL), TARV_E_BUFFER, NULL);
  CHECK(buffer[0] == 'x');
  CHECK_STATUS(tarv_atlas_folder(atlas, buffer, needed, NULL), TARV_OK, NULL);
  CHECK(strcmp(buffer, g_atlas) == 0);
  CHECK_STATUS(tarv_atlas_folder(atlas, NULL, 10, NULL), TARV_E_ARGUMENT, "buffer");
  tarv_close(atlas);
}

static void closed_and_foreign_handles_are_refused(void) {
  tarv_atlas* atlas = open_default();
  tarv_atlas* second = open_default(); /* the same folder is shared */
  int not_a_handle = 0;
  CHECK_STATUS(tarv_close(NULL), TARV_OK, NULL);
  CHECK_STATUS(tarv_close(atlas), TARV_OK, NULL);
  CHECK_STATUS(find(atlas, "Wien", "A"), TARV_E_HANDLE, "closed");
  CHECK_STATUS(tarv_close(atlas), TARV_E_HANDLE, "closed");
  CHECK_STATUS(find((tarv_atlas*)&not_a_handle, "Wien", "A"), TARV_E_HANDLE, NULL);
  CHECK_STATUS(find(second, "Wien", "A"), TARV_OK, NULL);
  tarv_close(second);
}

/* Lists the library allocates: sized, indexed, NULL past the end, freed.
 * (The Python tests read their fields.) */
static void lists_and_tables_come_out_whole(void) {
  tarv_atlas* atlas = open_default();
  tarv_place_list* places = NULL;
  tarv_country_list* countries = NULL;
  tarv_zone_list* zones = NULL;
  tarv_timetable* timetable = NULL;
  const tarv_local_time winter = {1990, 1, 15, 12, 0, 0};
  size_t i;
  /* A group names its countries' places; the date reaches each of them. */
  CHECK_STATUS(tarv_search(atlas, "Mün*", "EUROPA", &winter, &places), TARV_OK, NULL);
  CHECK(tarv_place_list_size(places) > 1);
  for (i = 0; i < tarv_place_list_size(places); ++i) {
    CHECK(tarv_place_list_at(places, i)->utc_offset == 3600);
  }
  CHECK(tarv_place_list_at(places, i) == NULL);
  tarv_place_list_free(places);
  CHECK_STATUS(tarv_search(atlas, "Xyzzyville", "D", NULL, &places), TARV_OK, NULL);
  CHECK(places != NULL && tarv_place_list_size(places) == 0);
  tarv_place_list_free(places);

  CHECK_STATUS(tarv_countries(atlas, &countries), TARV_OK, NULL);
  i = tarv_country_list_size(countries);
  CHECK(i > 200 && tarv_country_list_at(countries, i - 1) && !tarv_country_list_at(countries, i));
  tarv_country_list_free(countries);
  CHECK_STATUS(tarv_find_country(atlas, "US-CA", &countries), TARV_OK, NULL);
  CHECK(tarv_country_list_size(countries) == 1 &&
        strcmp(tarv_country_list_at(countries, 0)->code, "USCA") == 0);
  tarv_country_list_free(countries);
  /* Nothing named: an empty list, not an error. */
  CHECK_STATUS(tarv_find_country(atlas, "Xanadu", &countries), TARV_NOT_FOUND, NULL);
  CHECK(countries != NULL && tarv_country_list_size(countries) == 0);
  tarv_country_list_free(countries);

  CHECK_STATUS(tarv_zones(atlas, &zones), TARV_OK, NULL);
  CHECK(tarv_zone_list_size(zones) == 287 && tarv_zone_list_at(zones, 287) == NULL);
  tarv_zone_list_free(zones);
  CHECK_STATUS(tarv_timetable_entries(atlas, "D", 1, &timetable), TARV_OK, NULL);
  i = tarv_timetable_size(timetable);
  CHECK(i > 10 && tarv_timetable_at(timetable, i - 1) != NULL && !tarv_timetable_at(timetable, i));
  tarv_timetable_free(timetable);

  CHECK_STATUS(tarv_nearest(atlas, "D", 11.575, 48.137, 0.0, &g_place), TARV_OK, NULL);
  CHECK(strcmp(g_place.name, "München") == 0);
  CHECK_STATUS(tarv_nearest(atlas, "D", 0.0, 0.0, 1.0, &g_place), TARV_NOT_FOUND, NULL);
  tarv_close(atlas);
}

/* User places and the export, on the writable copy. */
static void changes_go_to_the_handles_own_folder(void) {
  tarv_atlas* atlas = NULL;
  tarv_atlas* other = open_default();
  char text[4200];
  size_t needed = 0;
  FILE* file;
  CHECK_STATUS(tarv_open(g_writable, &atlas), TARV_OK, NULL);
  CHECK_STATUS(tarv_add_place(atlas, "D", "Capi Hof", 10.25, 50.5, 1), TARV_OK, NULL);
  CHECK_STATUS(tarv_add_place(atlas, "D", "Capi-Hof", 10.25, 50.5, 1), TARV_OK, NULL);
  CHECK_STATUS(find(atlas, "Capi-Hof", "D"), TARV_OK, NULL);
  CHECK(g_place.user_place == 1 && fabs(g_place.longitude - 10.25) < 1e-6 &&
        g_place.timetable == 1);
  CHECK_STATUS(find(other, "Capi-Hof", "D"), TARV_NOT_FOUND, NULL);
  /* Names a search cannot tell apart, "\n"-ended, in a buffer of the size reported. */
  CHECK_STATUS(tarv_user_places_alike(atlas, "D", "Capi-Hof", NULL, 0, &needed), TARV_E_BUFFER,
               NULL);
  CHECK(needed == sizeof "Capi Hof\n");
  CHECK_STATUS(tarv_user_places_alike(atlas, "D", "Capi-Hof", text, needed, NULL), TARV_OK, NULL);
  CHECK(strcmp(text, "Capi Hof\n") == 0);
  CHECK_STATUS(tarv_delete_place(atlas, "D", "Capi Hof"), TARV_OK, NULL);
  CHECK_STATUS(tarv_delete_place(atlas, "D", "Capi Hof"), TARV_NOT_FOUND, NULL);
  CHECK_STATUS(tarv_user_places_alike(atlas, "D", "Capi-Hof", text, sizeof text, NULL), TARV_OK,
               NULL);
  CHECK(text[0] == '\0');
  CHECK_STATUS(tarv_delete_place(atlas, "D", "Capi-Hof"), TARV_OK, NULL);
  CHECK_STATUS(find(atlas, "Capi Hof", "D"), TARV_NOT_FOUND, NULL);
  /* The library's refusals say why. */
  CHECK_STATUS(tarv_add_place(atlas, "D", "Capi 3", 10.25, 50.5, 99), TARV_E_ARGUMENT,
               "timetable 99");
  CHECK_STATUS(tarv_add_place(atlas, "EUROPA", "Capi 3", 10.25, 50.5, 0), TARV_E_ARGUMENT, "group");
  CHECK_STATUS(tarv_add_place(atlas, "D", "Capi \xF0\x9F\x98\x80", 10.25, 50.5, 0), TARV_E_ARGUMENT,
               "U+1F600"); /* UTF-8, but no letters of the atlas */

  snprintf(text, sizeof text, "%s/export", g_writable);
  CHECK_STATUS(tarv_export(atlas, text), TARV_OK, NULL);
  snprintf(text, sizeof text, "%s/export/Cities.txt", g_writable);
  CHECK((file = fopen(text, "rb")) != NULL);
  if (file != NULL) fclose(file);
  tarv_close(atlas);
  tarv_close(other);
}

/* The map says America/Chicago around Berlin (13-14 east, 52-53 north),
 * Europe/Berlin in the rest of Germany. */
static void the_zone_at_coordinates_and_beside_the_nearest_place(void) {
  tarv_atlas* atlas = NULL;
  tarv_atlas* unmapped = NULL;
  tarv_point_zone z;
  tarv_place p;
  int32_t differs = 7;
  CHECK_STATUS(tarv_open(g_mapped, &atlas), TARV_OK, NULL);
  CHECK_STATUS(tarv_open(g_unmapped, &unmapped), TARV_OK, NULL);
  CHECK_STATUS(tarv_zone_at(atlas, 13.4, 52.5, &kSummer1980, &z), TARV_OK, NULL);
  CHECK(z.longitude == 13.4 && z.latitude == 52.5 && strcmp(z.iana, "America/Chicago") == 0);
  CHECK(z.utc_offset == -18000 && z.is_lmt == 0 && z.local_time == TARV_LOCAL_TIME_NORMAL);
  CHECK(strcmp(z.tz_abbreviation, "CDT") == 0 && strcmp(z.zone, "CST/S") == 0 && z.zone_id > 0);
  CHECK(strcmp(z.zone_long_name, "Nordamerikanische Zentral-Sommerzeit") == 0);
  /* Without a date: now, in summer or in winter. */
  CHECK_STATUS(tarv_zone_at(atlas, 13.4, 52.5, NULL, &z), TARV_OK, NULL);
  CHECK(strcmp(z.iana, "America/Chicago") == 0 &&
        (z.utc_offset == -18000 || z.utc_offset == -21600));
  memset(&z, 'x', sizeof z);
  CHECK_STATUS(tarv_zone_at(unmapped, 13.4, 52.5, NULL, &z), TARV_NOT_FOUND, NULL);
  CHECK_STATUS(tarv_zone_at(atlas, 13.4, 91.0, NULL, &z), TARV_E_ARGUMENT, "latitude");
  CHECK_STATUS(tarv_zone_at(atlas, NAN, 52.5, NULL, &z), TARV_E_ARGUMENT, NULL);
  CHECK_STATUS(tarv_zone_at(atlas, 13.4, 52.5, NULL, NULL), TARV_E_ARGUMENT, "NULL");
  CHECK(z.iana[0] == 'x');

  /* Nearest to a point across the zone line: a place of Europe/Berlin. */
  CHECK_STATUS(tarv_nearest_here(atlas, "D", 13.4, 52.5, 0.0, &kSummer1980, &p, &z, &differs),
               TARV_OK, NULL);
  CHECK(strcmp(p.iana, "Europe/Berlin") == 0 && p.utc_offset == 7200);
  CHECK(strcmp(z.iana, "America/Chicago") == 0 && z.utc_offset == -18000 && differs == 1);
  /* Without a date the place keeps its standard zone; the zones are compared now. */
  differs = 7;
  CHECK_STATUS(tarv_nearest_here(atlas, "DE", 13.4, 52.5, 0.0, NULL, &p, &z, &differs), TARV_OK,
               NULL);
  CHECK(strcmp(p.zone, "MET") == 0 && p.iana[0] == '\0' && differs == 1);
  CHECK_STATUS(tarv_nearest_here(atlas, "D", 11.575, 48.137, 0.0, NULL, &p, &z, &differs), TARV_OK,
               NULL);
  CHECK(strcmp(p.name, "München") == 0 && strcmp(z.iana, "Europe/Berlin") == 0 && differs == 0);
  /* No map: nothing to tell, the place as tarv_nearest gives it. */
  memset(&z, 'x', sizeof z);
  differs = 7;
  CHECK_STATUS(tarv_nearest_here(unmapped, "D", 13.4, 52.5, 0.0, NULL, &p, &z, &differs), TARV_OK,
               NULL);
  CHECK(z.iana[0] == '\0' && z.zone[0] == '\0' && z.longitude == 0.0 && differs == 0);
  CHECK_STATUS(tarv_nearest(unmapped, "D", 13.4, 52.5, 0.0, &g_place), TARV_OK, NULL);
  CHECK(strcmp(p.name, g_place.name) == 0 && strcmp(p.zone, g_place.zone) == 0);
  differs = 7;
  CHECK_STATUS(tarv_nearest_here(atlas, "D", 0.0, 0.0, 1.0, NULL, &p, &z, &differs), TARV_NOT_FOUND,
               NULL);
  CHECK(differs == 7);
  CHECK_STATUS(tarv_nearest_here(atlas, "D", 13.4, 52.5, 0.0, NULL, &p, &z, NULL), TARV_E_ARGUMENT,
               "NULL");
  CHECK_STATUS(tarv_nearest_here(atlas, "EUROPA", 13.4, 52.5, 0.0, NULL, &p, &z, &differs),
               TARV_E_ARGUMENT, "group");
  tarv_close(atlas);
  tarv_close(unmapped);
}

/* A user place follows the map at its coordinates, or the zone the user names. */
static void a_user_place_follows_the_map_or_the_zone_named(void) {
  tarv_atlas* atlas = NULL;
  tarv_point_zone z;
  tarv_place p;
  int32_t differs = 7;
  CHECK_STATUS(tarv_open(g_mapped, &atlas), TARV_OK, NULL);
  CHECK_STATUS(tarv_add_place(atlas, "D", "Capi Chicago", 13.5, 52.6, 1), TARV_OK, NULL);
  CHECK_STATUS(tarv_add_place_in_zone(atlas, "D", "Capi Leer", 13.6, 52.7, 1, ""), TARV_OK, NULL);
  CHECK_STATUS(tarv_add_place_in_zone(atlas, "D", "Capi Berlin", 13.7, 52.8, 1, "Europe/Berlin"),
               TARV_OK, NULL);
  CHECK_STATUS(tarv_place_lookup(atlas, "Capi Chicago", "D", &kSummer1980, &p, NULL), TARV_OK,
               NULL);
  CHECK(strcmp(p.iana, "America/Chicago") == 0 && p.utc_offset == -18000);
  CHECK_STATUS(tarv_place_lookup(atlas, "Capi Leer", "D", &kSummer1980, &p, NULL), TARV_OK, NULL);
  CHECK(strcmp(p.iana, "America/Chicago") == 0);
  CHECK_STATUS(tarv_place_lookup(atlas, "Capi Berlin", "D", &kSummer1980, &p, NULL), TARV_OK, NULL);
  CHECK(strcmp(p.iana, "Europe/Berlin") == 0 && p.utc_offset == 7200);
  /* Nearest to its own coordinates, the place of the map's zone agrees with it. */
  CHECK_STATUS(tarv_nearest_here(atlas, "D", 13.5, 52.6, 0.0, &kSummer1980, &p, &z, &differs),
               TARV_OK, NULL);
  CHECK(strcmp(p.name, "Capi Chicago") == 0 && differs == 0);
  CHECK_STATUS(tarv_nearest_here(atlas, "D", 13.7, 52.8, 0.0, &kSummer1980, &p, &z, &differs),
               TARV_OK, NULL);
  CHECK(strcmp(p.name, "Capi Berlin") == 0 && differs == 1);

  CHECK_STATUS(tarv_add_place_in_zone(atlas, "D", "Capi Nirgends", 13.5, 52.6, 1, "Test/Nowhere"),
               TARV_E_ARGUMENT, "the atlas knows no zone \"Test/Nowhere\"");
  CHECK_STATUS(find(atlas, "Capi Nirgends", "D"), TARV_NOT_FOUND, NULL);
  CHECK_STATUS(tarv_add_place_in_zone(atlas, "D", "Capi Nirgends", 13.5, 52.6, 1, "\xFF"),
               TARV_E_UTF8, "zone");
  CHECK_STATUS(tarv_delete_place(atlas, "D", "Capi Chicago"), TARV_OK, NULL);
  CHECK_STATUS(tarv_delete_place(atlas, "D", "Capi Leer"), TARV_OK, NULL);
  CHECK_STATUS(tarv_delete_place(atlas, "D", "Capi Berlin"), TARV_OK, NULL);
  tarv_close(atlas);
}

static void set_variable(const char* name, const char* value) {
#ifdef _WIN32
  _putenv_s(name, value != NULL ? value : "");
#else
  if (value != NULL)
    setenv(name, value, 1);
  else
    unsetenv(name);
#endif
}

/* The default atlas is $TARV_ATLAS's (none is installed beside a library in
 * a build tree); user places go where the host says. Last: the user folder
 * stays the atlas's for the life of the process. */
static void the_default_atlas_and_a_user_folder_of_the_hosts(void) {
  tarv_atlas* atlas = NULL;
  char text[4200];
  FILE* file;
  set_variable("TARV_ATLAS", g_writable);
  CHECK_STATUS(tarv_open_default(&atlas), TARV_OK, NULL);
  CHECK_STATUS(tarv_atlas_folder(atlas, text, sizeof text, NULL), TARV_OK, NULL);
  CHECK(strcmp(text, g_writable) == 0);
  tarv_close(atlas);
  set_variable("TARV_ATLAS", NULL);
  CHECK_STATUS(tarv_open_default(&atlas), TARV_E_ATLAS, "TARV_ATLAS is not set");
  CHECK_STATUS(tarv_open_with_user_folder(NULL, "mine", &atlas), TARV_E_ARGUMENT, "atlas folder");
  CHECK_STATUS(tarv_open_with_user_folder(g_atlas, "\xFF", &atlas), TARV_E_UTF8, "user folder");

  snprintf(text, sizeof text, "%s/mine/USER", g_writable);
  CHECK_STATUS(tarv_open_with_user_folder(g_atlas, text, &atlas), TARV_OK, NULL);
  CHECK_STATUS(tarv_add_place(atlas, "D", "Capi Weiler", 10.25, 50.5, 1), TARV_OK, NULL);
  CHECK_STATUS(find(atlas, "Capi Weiler", "D"), TARV_OK, NULL);
  tarv_close(atlas);
  snprintf(text, sizeof text, "%s/mine/USER/D.dao", g_writable);
  CHECK((file = fopen(text, "rb")) != NULL);
  if (file != NULL) fclose(file);
  CHECK_STATUS(tarv_open_with_user_folder(g_atlas, g_writable, &atlas), TARV_E_ARGUMENT,
               "already keeps");
}

/* ---- Callbacks ---- */

static int g_callback_calls;

/* Gives the folder its user data holds. */
static const char* give_folder(void* folder, const char* current) {
  (void)current;
  ++g_callback_calls;
  return (const char*)folder;
}

static void the_place_path_callback_supplies_the_folder(void) {
  tarv_atlas* atlas = NULL;
  char folder[4096];
  tarv_country_list* countries = NULL;
  CHECK_STATUS(tarv_open(NULL, &atlas), TARV_OK, NULL);
  CHECK_STATUS(find(atlas, "Wien", "A"), TARV_E_ATLAS, "no atlas folder");
  CHECK_STATUS(tarv_set_place_path_callback(atlas, give_folder, g_writable), TARV_OK, NULL);
  CHECK_STATUS(find(atlas, "Wien", "A"), TARV_OK, NULL);
  CHECK(g_callback_calls == 1);
  /* Reading the country list asks again; another folder moves the handle. */
  CHECK_STATUS(tarv_set_place_path_callback(atlas, give_folder, g_atlas), TARV_OK, NULL);
  CHECK_STATUS(tarv_countries(atlas, &countries), TARV_OK, NULL);
  CHECK(g_callback_calls == 2 && tarv_country_list_size(countries) > 100);
  tarv_country_list_free(countries);
  CHECK_STATUS(tarv_atlas_folder(atlas, folder, sizeof folder, NULL), TARV_OK, NULL);
  CHECK(strcmp(folder, g_atlas) == 0);
  CHECK_STATUS(tarv_set_place_path_callback(atlas, NULL, NULL), TARV_OK, NULL);
  CHECK_STATUS(find(atlas, "Wien", "A"), TARV_OK, NULL);
  tarv_close(atlas);
}

static tarv_status g_reentry_status;

/* Calls the library with the handle that asks it. */
static const char* call_back_in(void* atlas, const char* current) {
  int32_t language = 0;
  (void)current;
  g_reentry_status = tarv_language((tarv_atlas*)atlas, &language);
  return g_writable;
}

static void a_callback_that_calls_the_library_is_refused(void) {
  tarv_atlas* atlas = NULL;
  CHECK_STATUS(tarv_open(NULL, &atlas), TARV_OK, NULL);
  CHECK_STATUS(tarv_set_place_path_callback(atlas, call_back_in, atlas), TARV_OK, NULL);
  CHECK_STATUS(find(atlas, "Wien", "A"), TARV_OK, NULL);
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
    tarv_place p;
    w->wrong += tarv_place_lookup(w->atlas, w->name, "D", NULL, &p, NULL) != TARV_OK ||
                strcmp(p.name, w->name) != 0 || fabs(p.longitude - w->longitude) > 1e-6;
  }
  return NULL;
}

static void one_handle_used_from_two_threads_answers_each_right(void) {
  tarv_atlas* atlas = open_default();
  struct worker workers[2] = {{NULL, "München", 11.57549, 0}, {NULL, "Berlin", 13.41053, 0}};
  pthread_t threads[2];
  int i;
  for (i = 0; i < 2; ++i) {
    workers[i].atlas = atlas;
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
  printf("%s  %s\n", g_test_failures == 0 ? "ok    " : "FAILED", name);
  ++*(g_test_failures == 0 ? &g_passed : &g_failed);
}
#define RUN(test) run(#test, test)

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: tarvplaces_capi_test ATLAS SCRATCH\n");
    return 2;
  }
  snprintf(g_atlas, sizeof g_atlas, "%s", argv[1]);
  snprintf(g_writable, sizeof g_writable, "%s/writable", argv[2]);
  snprintf(g_mapped, sizeof g_mapped, "%s/mapped", argv[2]);
  snprintf(g_unmapped, sizeof g_unmapped, "%s/unmapped", argv[2]);

  RUN(a_dated_lookup_fills_every_field);
  RUN(both_readings_of_a_repeated_hour_and_the_gap_of_a_skipped_one);
  RUN(each_failure_has_its_status_and_a_message);
  RUN(null_pointers_and_values_out_of_range_are_refused);
  RUN(text_that_is_not_utf8_is_refused_and_outputs_stay);
  RUN(a_small_buffer_learns_the_size_it_needs);
  RUN(closed_and_foreign_handles_are_refused);
  RUN(lists_and_tables_come_out_whole);
  RUN(changes_go_to_the_handles_own_folder);
  RUN(the_zone_at_coordinates_and_beside_the_nearest_place);
  RUN(a_user_place_follows_the_map_or_the_zone_named);
  RUN(the_place_path_callback_supplies_the_folder);
  RUN(a_callback_that_calls_the_library_is_refused);
  RUN(one_handle_used_from_two_threads_answers_each_right);
  RUN(the_default_atlas_and_a_user_folder_of_the_hosts);

  printf("%d passed, %d failed\n", g_passed, g_failed);
  return g_failed == 0 ? 0 : 1;
}
