/* A host that asks the same places again and again, for counting the system
 * calls a warm lookup makes (warm_lookups_test.py runs it under strace).
 *
 *   warm_lookups ATLAS USER_FOLDER|- COUNT     lookups between two markers,
 *       then, after a line on standard input, the place "Tarvhausen" in D
 *   warm_lookups ATLAS USER_FOLDER|- add NAME  adds NAME to D and ends
 *
 * The markers are writes of "<<begin>>" and "<<end>>" to standard error, so
 * that the trace shows which calls the lookups made. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "tarvplaces/tarvplaces.h"

static int Fail(const char* what) {
  fprintf(stderr, "%s: %s\n", what, tarv_last_error());
  return 1;
}

static void Mark(const char* text) {
  if (write(STDERR_FILENO, text, strlen(text)) < 0) exit(1);
}

/* Undated and dated, as hosts ask: OK for both, else the failing status. */
static tarv_status LookUp(tarv_atlas* atlas, const char* name) {
  static const tarv_local_time kWhen = {1980, 7, 1, 12, 0, 0};
  tarv_place place;
  tarv_status status = tarv_place_lookup(atlas, name, "D", NULL, &place, NULL);
  if (status != TARV_OK) return status;
  return tarv_place_lookup(atlas, name, "D", &kWhen, &place, NULL);
}

int main(int argc, char** argv) {
  if (argc != 4 && argc != 5) {
    fprintf(stderr, "usage: %s ATLAS USER_FOLDER|- COUNT | add NAME\n", argv[0]);
    return 2;
  }
  tarv_atlas* atlas = NULL;
  const char* user_folder = strcmp(argv[2], "-") == 0 ? NULL : argv[2];
  if ((user_folder ? tarv_open_with_user_folder(argv[1], user_folder, &atlas)
                   : tarv_open(argv[1], &atlas)) != TARV_OK)
    return Fail("open");
  if (strcmp(argv[3], "add") == 0) {
    if (argc != 5) return 2;
    const tarv_status status = tarv_add_place(atlas, "D", argv[4], 10.0, 50.0, 0);
    tarv_close(atlas);
    return status == TARV_OK ? 0 : Fail("add");
  }
  const long count = strtol(argv[3], NULL, 10);
  for (int i = 0; i < 100; ++i)
    if (LookUp(atlas, "München") != TARV_OK) return Fail("warm-up");
  Mark("<<begin>>\n");
  for (long i = 0; i < count; ++i)
    if (LookUp(atlas, "München") != TARV_OK) return Fail("lookup");
  Mark("<<end>>\n");
  /* Another process adds a place; the next call must find it. */
  printf("ready\n");
  fflush(stdout);
  char line[16];
  if (fgets(line, sizeof line, stdin) == NULL) return 2;
  const tarv_status status = LookUp(atlas, "Tarvhausen");
  printf("%s\n", status == TARV_OK ? "found" : status == TARV_NOT_FOUND ? "missing" : "error");
  tarv_close(atlas);
  return 0;
}
