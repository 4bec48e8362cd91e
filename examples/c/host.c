/* A C host of the atlas: looks a place up and prints the zone in force there
 * at a local date.
 *
 *   cc host.c $(pkg-config --cflags --libs tarvplaces) -o host
 *   ./host build/atlas München D 1980-07-01T12:00
 *   ./host - München D 1980-07-01T12:00      (the default atlas)
 *
 * Names are UTF-8, as the library takes them; on Windows argv is in the ANSI
 * code page, so a Windows host converts its wide strings (WideCharToMultiByte
 * with CP_UTF8) before it calls the library.
 *
 * Exit status: 0 found, 1 not found, 2 bad usage or an unusable atlas. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tarvplaces/tarvplaces.h"

static int fail(const char* what, tarv_status status) {
  fprintf(stderr, "host: %s: %s (%s)\n", what, tarv_last_error(), tarv_status_text(status));
  return 2;
}

int main(int argc, char** argv) {
  tarv_local_time when = {0, 0, 0, 12, 0, 0};
  tarv_atlas* atlas = NULL;
  tarv_place place;
  tarv_status status;
  int offset_minutes;

  if (argc != 5 || sscanf(argv[4], "%d-%d-%dT%d:%d", &when.year, &when.month, &when.day, &when.hour,
                          &when.minute) != 5) {
    fprintf(stderr, "usage: host ATLAS|- NAME COUNTRY YYYY-MM-DDTHH:MM\n");
    return 2;
  }
  /* "-": $TARV_ATLAS, else the atlas installed with the library. */
  status = strcmp(argv[1], "-") == 0 ? tarv_open_default(&atlas) : tarv_open(argv[1], &atlas);
  if (status != TARV_OK) return fail("cannot open the atlas", status);

  status = tarv_place_lookup(atlas, argv[2], argv[3], &when, &place, NULL);
  if (status == TARV_NOT_FOUND) {
    printf("no place \"%s\" in %s\n", argv[2], argv[3]);
    tarv_close(atlas);
    return 1;
  }
  if (status != TARV_OK) {
    const int exit_status = fail("lookup failed", status); /* before closing clears the message */
    tarv_close(atlas);
    return exit_status;
  }
  offset_minutes = place.utc_offset / 60;
  printf("%s (%s) %.5f %.5f\n", place.name, place.country, place.longitude, place.latitude);
  printf("%s: %s (%s), UTC%c%d:%02d%s\n", argv[4], place.zone, place.zone_name,
         offset_minutes < 0 ? '-' : '+', abs(offset_minutes) / 60, abs(offset_minutes) % 60,
         place.local_time == TARV_LOCAL_TIME_SKIPPED    ? ", a time the clocks skipped"
         : place.local_time == TARV_LOCAL_TIME_REPEATED ? ", a time that occurred twice"
                                                        : "");
  tarv_close(atlas);
  return 0;
}
