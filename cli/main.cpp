// quorvex: the command-line host. A thin program over the public header.
//
//   quorvex -e TEXT...   evaluate each text, print each answer on its own line
//   quorvex FILE         run a script file
//   quorvex              interactive prompt ("quit" or end of input leaves)
//   quorvex --init FILE ...  run FILE as the init script instead of the
//                        built-in one, which binds the constants pi and e
//   quorvex --plot EXPR X1 X2 FILE.bmp [WIDTH HEIGHT] [--font PATH]
//                        write the plot of EXPR (real and imaginary part)
//                        over [X1, X2] to FILE.bmp, 800 x 448 by default
//
// A statement may spread over several lines: lines are joined until every
// bracket, block pair ":" ";" and string is closed and the text does not end
// in a comma. Ctrl-C while a statement is evaluated sets the scope's cancel
// flag: a running loop stops, the statement answers ">evaluation_aborted<"
// and the session goes on with its variables. Ctrl-C at the prompt discards
// the statement being typed. At the prompt, ":vars" lists the workspace,
// ":functions" adds its functions, ":history" shows the session so far.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "libquorvex.h"
#include "plot.h"

namespace {

Environment *gEnv = nullptr;
volatile std::sig_atomic_t gEvaluating = 0;
volatile std::sig_atomic_t gInterrupted = 0;

extern "C" void OnInterrupt(int) {
  gInterrupted = 1;
  // A single byte store: safe from a signal handler.
  if (gEvaluating && gEnv) SetCancelFlag(gEnv, 1);
}

void InstallInterruptHandler() {
  struct sigaction action;
  std::memset(&action, 0, sizeof action);
  action.sa_handler = OnInterrupt;
  sigemptyset(&action.sa_mask);
  action.sa_flags = 0;  // no restart: an interrupted read at the prompt returns
  sigaction(SIGINT, &action, nullptr);
}

// Answers one text and prints the answer on its own line.
void Answer(const std::string &text) {
  gEvaluating = 1;
  char *answer = QuorvexScript(text.c_str(), gEnv, 1);
  gEvaluating = 0;
  SetCancelFlag(gEnv, 0);  // the host, not the engine, resets the flag
  gInterrupted = 0;
  if (answer && *answer) std::printf("%s\n", answer);  // control statements answer nothing
  std::fflush(stdout);
  FreeString(answer);
}

void PrintBanner() {
  char *about = About();
  std::printf("%s\nversion %s\n", about ? about : "", QUORVEX_VERSION);
  FreeString(about);
}

bool ReadLine(std::FILE *in, std::string *line) {
  line->clear();
  char buffer[4096];
  while (std::fgets(buffer, sizeof buffer, in)) {
    *line += buffer;
    if (!line->empty() && line->back() == '\n') break;
  }
  if (line->empty()) return false;
  while (!line->empty() && (line->back() == '\n' || line->back() == '\r')) line->pop_back();
  return true;
}

bool IsBlank(const std::string &s) { return s.find_first_not_of(" \t") == std::string::npos; }

// Gathers the lines of one statement.
class Joiner {
 public:
  // Adds a line; true when the text gathered so far is a whole statement.
  bool Add(const std::string &line) {
    if (!text_.empty()) text_ += ' ';
    for (std::size_t i = 0; i < line.size(); ++i) {
      const char c = line[i];
      if (quoted_) {
        if (c == '\\') ++i;
        else if (c == '"') quoted_ = false;
        continue;
      }
      if (c == '"') quoted_ = true;
      else if (c == '(' || c == '[' || c == ':') ++depth_;
      else if (c == ')' || c == ']' || c == ';') --depth_;
    }
    text_ += line;
    const std::size_t end = text_.find_last_not_of(" \t");
    const bool openComma = end != std::string::npos && text_[end] == ',';
    return !quoted_ && depth_ <= 0 && !openComma;
  }
  std::string Take() {
    std::string out;
    out.swap(text_);
    depth_ = 0;
    quoted_ = false;
    return out;
  }
  bool Empty() const { return IsBlank(text_); }

 private:
  std::string text_;
  int depth_ = 0;
  bool quoted_ = false;
};

void PrintOwned(char *text) {
  if (text && *text) std::printf("%s\n", text);
  FreeString(text);
}

// Commands of the host itself; false for a line that is none.
bool HostCommand(const std::string &line) {
  if (line == ":vars") {
    PrintOwned(PrintTopLevelEnvironment(gEnv, 0, 0));
  } else if (line == ":functions") {
    PrintOwned(PrintTopLevelEnvironment(gEnv, 0, 1));
  } else if (line == ":history") {
    PrintOwned(EnvironmentHistoryToString(gEnv));
  } else if (line == ":help") {
    std::printf(":vars       the workspace\n:functions  the workspace and its functions\n"
                ":history    inputs and answers of this session\nquit, exit  leave\n"
                "(from the shell: quorvex --plot EXPR X1 X2 FILE.bmp [WIDTH HEIGHT] [--font PATH])\n");
  } else {
    return false;
  }
  std::fflush(stdout);
  return true;
}

int RunFile(const char *path) {
  std::FILE *f = std::fopen(path, "rb");
  if (!f) {
    std::fprintf(stderr, "quorvex: cannot open %s\n", path);
    return 1;
  }
  std::string line;
  Joiner joiner;
  while (ReadLine(f, &line)) {
    if (joiner.Empty() && IsBlank(line)) continue;
    if (joiner.Add(line)) Answer(joiner.Take());
  }
  if (!joiner.Empty()) Answer(joiner.Take());
  std::fclose(f);
  return 0;
}

int RunPrompt() {
  PrintBanner();
  std::string line;
  Joiner joiner;
  for (;;) {
    std::printf(joiner.Empty() ? "> " : ". ");
    std::fflush(stdout);
    gInterrupted = 0;
    std::clearerr(stdin);
    if (!ReadLine(stdin, &line)) {
      if (gInterrupted) {  // Ctrl-C at the prompt: a fresh statement
        joiner.Take();
        std::printf("\n");
        continue;
      }
      break;
    }
    if (joiner.Empty()) {
      if (line == "quit" || line == "exit") break;
      if (IsBlank(line) || HostCommand(line)) continue;
    }
    if (joiner.Add(line)) Answer(joiner.Take());
  }
  std::printf("\n");
  return 0;
}

}  // namespace

// The engine defines no constants of its own: the host's init script does,
// and restore() runs it again.
// Number literals keep 15 significant digits, so the constants are computed
// to full double precision instead of being written out.
constexpr const char *kInitScript = "pi=4*arctan(1),e=exp(1)";

int main(int argc, char **argv) {
  if (argc >= 2 && std::strcmp(argv[1], "--version") == 0) {
    PrintBanner();
    return 0;
  }
  if (argc >= 3 && std::strcmp(argv[1], "--init") == 0) {
    InitializeGlobals(argv[2], 1);
    argv[2] = argv[0];
    argc -= 2;
    argv += 2;
  } else {
    InitializeGlobals(kInitScript, 0);
  }
  gEnv = InitializeTopLevelEnvironment(nullptr);
  if (!gEnv) {
    std::fprintf(stderr, "quorvex: cannot create a scope\n");
    return 1;
  }
  InstallInterruptHandler();
  int status = 0;
  if (argc >= 2 && quorvex_cli::IsPlotCommand(argv[1])) {
    status = quorvex_cli::RunPlotCommand(argc, argv, gEnv);
  } else if (argc >= 2 && std::strcmp(argv[1], "-e") == 0) {
    for (int i = 2; i < argc; ++i) Answer(argv[i]);
  } else if (argc >= 2) {
    status = RunFile(argv[1]);
  } else {
    status = RunPrompt();
  }
  TerminateEnvironment(gEnv);
  TerminateGlobals();
  return status;
}
