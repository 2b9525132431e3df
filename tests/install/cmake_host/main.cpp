// A C++ host built against an installed libquorvex: one session, a few lines
// of script and one toolkit call. Prints one answer a line; the caller checks
// them.
#include <cstdio>

#include "libquorvex.h"

int main() {
  InitializeGlobals(nullptr, 0);
  Environment *env = InitializeTopLevelEnvironment(nullptr);
  int status = env ? 0 : 1;
  const char *const lines[] = {"x=3", "x^2+1"};
  for (const char *line : lines) {
    char *answer = QuorvexScript(line, env, 1);
    if (!answer) status = 1;
    std::printf("%s\n", answer ? answer : "(null)");
    FreeString(answer);
  }

  double **m = Matrix(2, 2);  // columns first: m[column][row]
  m[1][1] = 4; m[2][1] = 1;
  m[1][2] = 2; m[2][2] = 5;
  std::printf("%g\n", Det(m));
  FreeMatrix(m);

  TerminateEnvironment(env);
  TerminateGlobals();
  return status;
}
