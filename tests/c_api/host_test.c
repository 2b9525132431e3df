/* A C99 host: includes only the public header and links the shared library. */
#include <stdio.h>
#include <string.h>

#include "libquorvex.h"

static int failures = 0;
#define CHECK(cond)                                                   \
  do {                                                                \
    if (!(cond)) {                                                    \
      fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #cond); \
      ++failures;                                                     \
    }                                                                 \
  } while (0)

int main(void) {
  char *about = About();
  CHECK(about != NULL && strstr(about, "scientific toolbox") != NULL);
  FreeString(about);

  double *v = Vector(5);
  CHECK((int)v[0] == 5);
  FreeVector(v);

  double **m = Matrix(3, 4);
  m[3][4] = 7.0;
  CHECK((int)m[0][0] == 3 && (int)m[1][0] == 4 && m[3][4] == 7.0);
  FreeMatrix(m);

  char **s = StringVector(3);
  CHECK(StringVectorLength(s) == 3 && strcmp(s[2], "0") == 0);
  FreeStringVector(s);

  if (failures) return 1;
  printf("1 passed, 0 failed\n");
  return 0;
}
