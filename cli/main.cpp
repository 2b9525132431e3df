// quorvex: the command-line host. A thin program over the public header.
//
//   quorvex -e TEXT...   evaluate each text, print each answer on its own line
//   quorvex FILE         run a script file
//   quorvex              interactive prompt
#include <cstdio>
#include <cstring>
#include <string>

#include "libquorvex.h"

namespace {

// Answers one text. Until the script engine is linked in, the host says so.
void Answer(const std::string &text) {
  (void)text;
  std::printf("not available yet: the script engine is not part of this build\n");
}

void PrintBanner() {
  char *about = About();
  std::printf("%s\nversion %s\n", about ? about : "", QUORVEX_VERSION);
  FreeString(about);
}

int RunFile(const char *path) {
  std::FILE *f = std::fopen(path, "rb");
  if (!f) {
    std::fprintf(stderr, "quorvex: cannot open %s\n", path);
    return 1;
  }
  std::string text;
  char buffer[4096];
  std::size_t n;
  while ((n = std::fread(buffer, 1, sizeof buffer, f)) > 0) text.append(buffer, n);
  std::fclose(f);
  Answer(text);
  return 0;
}

int RunPrompt() {
  PrintBanner();
  std::string line;
  char buffer[4096];
  for (;;) {
    std::printf("> ");
    std::fflush(stdout);
    if (!std::fgets(buffer, sizeof buffer, stdin)) break;
    line = buffer;
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
    if (line == "quit" || line == "exit") break;
    if (!line.empty()) Answer(line);
  }
  std::printf("\n");
  return 0;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc >= 2 && std::strcmp(argv[1], "--version") == 0) {
    PrintBanner();
    return 0;
  }
  if (argc >= 2 && std::strcmp(argv[1], "-e") == 0) {
    for (int i = 2; i < argc; ++i) Answer(argv[i]);
    return 0;
  }
  if (argc >= 2) return RunFile(argv[1]);
  return RunPrompt();
}
