// The shared core of the host: one scope, the interrupt, one statement at a
// time, and the sentinel answers explained in plain words.
#include "session.h"

#include <csignal>
#include <cstdlib>
#include <string_view>
#include <vector>
#include <cstring>

#include "help.h"
#include "plot.h"

namespace cli {

Environment *gEnv = nullptr;

namespace {

volatile std::sig_atomic_t gEvaluating = 0;
volatile std::sig_atomic_t gInterrupted = 0;

extern "C" void OnInterrupt(int) {
  gInterrupted = 1;
  // SetCancelFlag stores one byte: safe from a signal handler.
  if (gEvaluating && gEnv) SetCancelFlag(gEnv, 1);
}

void PrintOwned(char *text, std::FILE *out) {
  if (text && *text) std::fprintf(out, "%s\n", text);
  FreeString(text);
}

// One entry a line: the input, and its answer with inner line breaks shown
// as " | " so that a matrix stays on its entry's line.
void PrintHistory(std::FILE *out) {
  char **inputs = EnvironmentHistoryElementsToStringVector(gEnv, 0);
  char **outputs = EnvironmentHistoryElementsToStringVector(gEnv, 1);
  for (int i = 0; inputs && inputs[i] && *inputs[i]; ++i) {
    std::string answer = outputs && outputs[i] ? outputs[i] : "";
    while (!answer.empty() && answer.back() == '\n') answer.pop_back();
    for (std::size_t p; (p = answer.find('\n')) != std::string::npos;) answer.replace(p, 1, " | ");
    if (answer.empty()) std::fprintf(out, "%4d  %s\n", i + 1, inputs[i]);
    else std::fprintf(out, "%4d  %s  ->  %s\n", i + 1, inputs[i], answer.c_str());
  }
  FreeStringVector(inputs);
  FreeStringVector(outputs);
}

bool IsSentinel(std::string_view s) {
  if (s.size() < 3 || s.front() != '>' || s.back() != '<') return false;
  for (char c : s.substr(1, s.size() - 2))
    if (!(c >= 'a' && c <= 'z') && c != '_') return false;
  return true;
}

std::string_view Trim(std::string_view s) {
  const std::size_t b = s.find_first_not_of(" \t");
  if (b == std::string_view::npos) return {};
  return s.substr(b, s.find_last_not_of(" \t") - b + 1);
}

}  // namespace

void InstallInterruptHandler() {
  struct sigaction action;
  std::memset(&action, 0, sizeof action);
  action.sa_handler = OnInterrupt;
  sigemptyset(&action.sa_mask);
  action.sa_flags = 0;  // no SA_RESTART: an interrupted read returns
  sigaction(SIGINT, &action, nullptr);
}

bool Interrupted() { return gInterrupted != 0; }
void ClearInterrupt() { gInterrupted = 0; }

Answer Evaluate(const std::string &statement) {
  Answer result;
  gEvaluating = 1;
  char *text = QuorvexScript(statement.c_str(), gEnv, 1);
  gEvaluating = 0;
  result.interrupted = gInterrupted != 0 || GetCancelFlag(gEnv) != 0;
  SetCancelFlag(gEnv, 0);
  if (text) result.text = text;
  FreeString(text);
  result.sentinel = FindSentinel(result.text);
  return result;
}

std::string FindSentinel(const std::string &answer) {
  std::string_view rest(answer);
  while (!rest.empty()) {
    const std::size_t eol = rest.find('\n');
    std::string_view line = rest.substr(0, eol);
    rest = eol == std::string_view::npos ? std::string_view() : rest.substr(eol + 1);
    if (const std::size_t arrow = line.find(" <- "); arrow != std::string_view::npos) line = line.substr(arrow + 4);
    line = Trim(line);
    if (IsSentinel(line)) return std::string(line);
  }
  return {};
}

const char *ExplainSentinel(const std::string &sentinel) {
  struct Entry { const char *sentinel, *meaning; };
  static const Entry kEntries[] = {
      {">invalid_expression<",
       "the statement could not be evaluated; usually a misspelt name or command, an operator "
       "without an operand, brackets that do not match, or a function given arguments it does not take"},
      {">invalid_object<",
       "an object was used in a way its type does not allow; usually an index out of range, matrix "
       "shapes that do not fit, a method the object lacks, or a matrix or array given to a function of numbers"},
      {">evaluation_aborted<",
       "the statement was stopped before it finished; usually Ctrl-C, or a loop that ran past the "
       "engine's limits"},
      {">invalid_assignment<",
       "the left side of \"=\" cannot take a value; usually a number, a predefined name or a "
       "malformed name on the left"},
      {">invalid_file<",
       "a file could not be opened, read or written; usually a wrong name, a file of another kind, "
       "or a folder without permission"},
      {">invalid_path<", "a path was refused; usually a folder that does not exist or lies outside the local path"},
      {">invalid_string<", "a text could not be used; usually a string where a number or a name is expected"},
      {">invalid_connection<", "two nodes could not be connected; usually a node that no longer exists"},
      {">array_allocation_failed<", "an array or matrix would have been too large to build"},
  };
  for (const Entry &e : kEntries)
    if (sentinel == e.sentinel) return e.meaning;
  return "the engine refused the statement";
}

bool IsBlank(const std::string &s) { return s.find_first_not_of(" \t\r") == std::string::npos; }

bool IsComment(const std::string &s) {
  const std::size_t b = s.find_first_not_of(" \t");
  return b != std::string::npos && s[b] == '#';
}

bool Joiner::Add(const std::string &line) {
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

std::string Joiner::Take() {
  std::string out;
  out.swap(text_);
  depth_ = 0;
  quoted_ = false;
  return out;
}

// "plot EXPR, A, B" at the prompt: the plot of EXPR over [A, B] as a PNG file
// in the current folder, under the first free name plot-N.png; prints the
// path. The range is cut at the last two commas outside brackets, so EXPR
// may hold commas of its own.
void PlotCommand(std::string_view request, std::FILE *out) {
  std::vector<std::size_t> commas;
  int depth = 0;
  for (std::size_t i = 0; i < request.size(); ++i) {
    const char c = request[i];
    if (c == '(' || c == '[' || c == ':') ++depth;
    else if (c == ')' || c == ']' || c == ';') --depth;
    else if (c == ',' && depth == 0) commas.push_back(i);
  }
  if (commas.size() < 2) {
    std::fprintf(out, "usage: plot EXPR, FROM, TO   (for example: plot sin(x)*x, 0, 10)\n");
    return;
  }
  const std::size_t b = commas[commas.size() - 1], a = commas[commas.size() - 2];
  const std::string expr(Trim(request.substr(0, a)));
  const std::string from(Trim(request.substr(a + 1, b - a - 1)));
  const std::string to(Trim(request.substr(b + 1)));
  std::string file;
  for (int n = 1; n < 10000; ++n) {
    file = "plot-" + std::to_string(n) + ".png";
    if (std::FILE *f = std::fopen(file.c_str(), "rb")) std::fclose(f);
    else break;
  }
  std::vector<std::string> args = {"quorvex", "--plot", expr, "--from", from, "--to", to, "-o", file};
  std::vector<char *> argv;
  for (std::string &x : args) argv.push_back(x.data());
  argv.push_back(nullptr);
  if (quorvex_cli::RunPlotCommand(static_cast<int>(args.size()), argv.data(), gEnv) == 0) {
    char *full = realpath(file.c_str(), nullptr);
    std::fprintf(out, "%s\n", full ? full : file.c_str());
    std::free(full);
  }
}

bool HostCommand(const std::string &raw, std::FILE *out) {
  const std::string line(Trim(raw));
  if (line == ":vars") {
    PrintOwned(PrintTopLevelEnvironment(gEnv, 0, 0), out);
  } else if (line == ":functions") {
    PrintOwned(PrintTopLevelEnvironment(gEnv, 0, 1), out);
  } else if (line == ":history") {
    PrintHistory(out);
  } else if (line == ":help") {
    PrintHostCommands(out);
  } else if (line == "help") {
    PrintHelpOverview(out);
  } else if (line.rfind("plot ", 0) == 0) {
    PlotCommand(std::string_view(line).substr(5), out);
  } else if (line.rfind("help ", 0) == 0) {
    PrintHelpFor(std::string(Trim(std::string_view(line).substr(5))), out);
  } else {
    return false;
  }
  std::fflush(out);
  return true;
}

}  // namespace cli
