/* A C host for the hostile-atlas suite: answers questions on stdin about the
 * atlas named on the command line, one per line, fields separated by TABs:
 *   place NAME COUNTRY [YYYY-MM-DDTHH:MM]   nearest COUNTRY LON LAT
 *   search TEXT COUNTRY                     add COUNTRY NAME LON LAT
 *   placefile FILE COUNTRY                  (the name is FILE's bytes)
 * Each answer is one flushed line (the suite sees every answer given before a
 * crash): "0 <answer>", "1 not found", or "2 <error>" naming the file at fault. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tarvplaces/tarvplaces.h"

enum { kMaxLine = 4096, kMaxFields = 6 };

/* The answer line of a status; with `place`, the place of TARV_OK. */
static void print_answer(tarv_status status, const tarv_place* p) {
  if (status == TARV_NOT_FOUND) {
    printf("1 not found\n");
  } else if (status != TARV_OK) {
    printf("2 %s (%s)\n", tarv_last_error(), tarv_status_text(status));
  } else if (p == NULL) {
    printf("0 added\n");
  } else {
    printf("0 %s (%s) %.5f %.5f tt%d %s %d lmt%d kind%d %s\n", p->name, p->country, p->longitude,
           p->latitude, (int)p->timetable, p->zone, (int)p->utc_offset, (int)p->is_lmt,
           (int)p->local_time, p->iana);
  }
}

/* The largest name file the suite writes holds 2 MiB. */
static char g_text[3 << 20];

static const char* read_file(const char* path) {
  FILE* file = fopen(path, "rb");
  if (file == NULL) return NULL;
  g_text[fread(g_text, 1, sizeof g_text - 1, file)] = '\0';
  fclose(file);
  return g_text;
}

static void answer(tarv_atlas* atlas, char** f, int n) {
  tarv_place place;
  tarv_local_time when = {0, 0, 0, 0, 0, 0};
  if (strcmp(f[0], "place") == 0 && (n == 3 || n == 4)) {
    if (n == 4 && sscanf(f[3], "%d-%d-%dT%d:%d", &when.year, &when.month, &when.day, &when.hour,
                         &when.minute) != 5) {
      printf("2 bad date\n");
      return;
    }
    print_answer(tarv_place_lookup(atlas, f[1], f[2], n == 4 ? &when : NULL, &place, NULL), &place);
  } else if (strcmp(f[0], "placefile") == 0 && n == 3) {
    const char* text = read_file(f[1]);
    if (text == NULL)
      printf("2 cannot read %s\n", f[1]);
    else
      print_answer(tarv_place_lookup(atlas, text, f[2], NULL, &place, NULL), &place);
  } else if (strcmp(f[0], "nearest") == 0 && n == 4) {
    print_answer(tarv_nearest(atlas, f[1], atof(f[2]), atof(f[3]), 0.0, &place), &place);
  } else if (strcmp(f[0], "search") == 0 && n == 3) {
    tarv_place_list* list = NULL;
    size_t i;
    const tarv_status status = tarv_search(atlas, f[1], f[2], NULL, &list);
    if (status != TARV_OK || tarv_place_list_size(list) == 0) {
      print_answer(status == TARV_OK ? TARV_NOT_FOUND : status, NULL);
    } else {
      printf("0 %u:", (unsigned)tarv_place_list_size(list));
      for (i = 0; i < tarv_place_list_size(list); ++i)
        printf(" %s", tarv_place_list_at(list, i)->name);
      printf("\n");
    }
    tarv_place_list_free(list);
  } else if (strcmp(f[0], "add") == 0 && n == 5) {
    print_answer(tarv_add_place(atlas, f[1], f[2], atof(f[3]), atof(f[4]), 0), NULL);
  } else {
    printf("2 unknown question %s\n", f[0]);
  }
}

int main(int argc, char** argv) {
  tarv_atlas* atlas = NULL;
  tarv_status status;
  char line[kMaxLine];
  if (argc != 2) {
    fprintf(stderr, "usage: hostile_host ATLAS < questions\n");
    return 2;
  }
  status = tarv_open(argv[1], &atlas);
  while (fgets(line, sizeof line, stdin) != NULL) {
    char* fields[kMaxFields];
    int n = 0;
    char* next = line;
    line[strcspn(line, "\r\n")] = '\0';
    while (n < kMaxFields && next != NULL) {
      fields[n++] = next;
      next = strchr(next, '\t');
      if (next != NULL) *next++ = '\0';
    }
    if (status != TARV_OK)
      print_answer(status, NULL); /* the atlas would not open: every question says why */
    else
      answer(atlas, fields, n);
    fflush(stdout);
  }
  if (atlas != NULL) tarv_close(atlas);
  return 0;
}
