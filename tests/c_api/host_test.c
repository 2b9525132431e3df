/* A C99 host: includes only the public header and links the shared library.
   Runs under the sanitizers with leak detection, so it frees all it gets. */
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

/* Runs one line and compares the answer; the answer is freed either way. */
static void expect_answer(Environment *env, const char *line, const char *expected) {
  char *answer = QuorvexScript(line, env, 1);
  if (answer == NULL || strcmp(answer, expected) != 0) {
    fprintf(stderr, "%s: got \"%s\", expected \"%s\"\n", line, answer ? answer : "(null)", expected);
    ++failures;
  }
  FreeString(answer);
}

/* The life cycle of a host session, a few lines whose answers build on each
   other, and the cancel flag: the host sets it, the engine stops and leaves
   it set, the host resets it and the session goes on. */
static void run_session(void) {
  InitializeGlobals(NULL, 0);
  Environment *env = InitializeTopLevelEnvironment(NULL);
  CHECK(env != NULL);
  if (env == NULL) return;

  expect_answer(env, "x=3", "x <- 3");
  expect_answer(env, "x^2+1", "10");
  expect_answer(env, "deriv(sin(t)^2,t)", "2*cos(t)*sin(t)");
  expect_answer(env, "deriv(t^3,t)", "3*t^2");

  CHECK(GetCancelFlag(env) == 0);
  SetCancelFlag(env, 1);
  CHECK(GetCancelFlag(env) == 1);
  expect_answer(env, "x+1", ">evaluation_aborted<");
  CHECK(GetCancelFlag(env) == 1);
  SetCancelFlag(env, 0);
  expect_answer(env, "s=0,for:k=1,k<=10,k=k+1,s=s+k;", "s <- 0");
  expect_answer(env, "s+x", "58");

  TerminateEnvironment(env);
  TerminateGlobals();
}

int main(void) {
  run_session();

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
