// Help texts. The library keeps the catalogue (usage and description of each
// predefined function, environment function and programming command, listed
// under a label such as "find roots") and the manuals the host stores in it;
// this file lists them by group and finds an entry by the name one types.
#include "help.h"

#include <algorithm>
#include <cctype>
#include <memory>

#include "libquorvex.h"

namespace cli {

namespace {

constexpr const char *kLanguageManual =
    "Numbers and names\n"
    "  1+2*3   2^10   (1+2i)^2     numbers, complex numbers with i, powers with ^\n"
    "  x=3                         binds x; a name without a value stays symbolic\n"
    "  a=1,b=2                     several statements on a line, separated by commas\n"
    "  deriv(sin(x)^2,x)           a symbolic derivative: 2*cos(x)*sin(x)\n"
    "  int(sin(x),x,0,pi)          a numeric integral; sum, prod and root likewise\n"
    "Values\n"
    "  \"text\"                      a string\n"
    "  m=[[1,2],[3,4]]             a matrix (first index the row); m^-1 inverts it\n"
    "  a=array:3;                  an array of three zeros; a.0 reads its first element\n"
    "Functions of your own\n"
    "  f(n)=n^2+1                  defines f; f(3) answers 10\n"
    "A statement continues on the next line while a bracket, a block (from \":\" to\n"
    "\";\") or a string is open, or while the line ends in a comma. Lines whose first\n"
    "character is # are comments. Errors answer a sentinel such as >invalid_expression<.\n";

constexpr const char *kProgrammingManual =
    "Blocks run from \":\" to \";\" and hold statements separated by commas:\n"
    "  if:(bool),___,elseif,(bool),___,else,statements;\n"
    "  while:(bool),___;\n"
    "  for:(initialize),(bool),(increment),___;\n"
    "Examples\n"
    "  s=0,for:k=1,k<=100,k=k+1,s=s+k;                    s is then 5050\n"
    "  f(n)=if:n<2,return=n,else,return=f(n-1)+f(n-2);   f(15) answers 610\n"
    "Ctrl-C stops a running statement; it answers >evaluation_aborted< and the\n"
    "session keeps its variables.\n";

constexpr const char *kPlottingManual =
    "Plots are drawn from the shell, not at the prompt:\n"
    "  quorvex --plot EXPR X1 X2 FILE.bmp [WIDTH HEIGHT] [--font PATH]\n"
    "writes the real and imaginary part of EXPR, a function of one unknown, over\n"
    "[X1, X2] to a BMP image, 800 by 448 pixels unless WIDTH and HEIGHT are given.\n"
    "  quorvex --plot 'sin(x)*exp(-x/5)' 0 20 plot.bmp\n";

struct Strings {
  void operator()(char **v) const { FreeStringVector(v); }
};
using StringVectorPtr = std::unique_ptr<char *, Strings>;

struct Text {
  void operator()(char *s) const { FreeString(s); }
};
using TextPtr = std::unique_ptr<char, Text>;

struct Group {
  const char *title;
  char **(*labels)();
  char **(*info)(const char *);
};
const Group kGroups[] = {
    {"Mathematical functions", GetPredefinedFunctionLabels, GetPredefinedFunctionInfo},
    {"Environment functions", GetEnvironmentFunctionLabels, GetEnvironmentFunctionInfo},
    {"Programming commands", GetProgrammingCommandLabels, GetProgrammingCommandInfo},
};

struct Manual {
  const char *name;
  char *(*text)();
};
const Manual kManuals[] = {
    {"language", Instructions},
    {"programming", InstructionsProgramming},
    {"plotting", InstructionsGraphing},
    {"fourier", InstructionsFourier},
};

struct Entry {
  std::string name;   // as typed: "findroots"
  std::string label;  // as listed: "find roots"
  std::string usage;
  std::string help;
};

// The typed name is the start of the usage: "findroots(f(x),x1,x2)" gives
// "findroots", "x.print()" gives "print", "while:(bool),___;" gives "while".
std::string NameFromUsage(std::string_view usage) {
  if (usage.rfind("x.", 0) == 0) usage.remove_prefix(2);
  std::size_t n = 0;
  while (n < usage.size() && (std::isalnum(static_cast<unsigned char>(usage[n])) || usage[n] == '_')) ++n;
  return std::string(usage.substr(0, n));
}

std::vector<Entry> EntriesOf(const Group &group) {
  std::vector<Entry> entries;
  StringVectorPtr labels(group.labels());
  for (int i = 0; labels && labels.get()[i] && *labels.get()[i]; ++i) {
    const char *label = labels.get()[i];
    StringVectorPtr info(group.info(label));
    Entry e;
    e.label = label;
    if (info && info.get()[0] && info.get()[1]) {
      e.usage = info.get()[0];
      e.help = info.get()[1];
    }
    e.name = NameFromUsage(e.usage);
    if (e.name.empty()) e.name = e.label;
    entries.push_back(std::move(e));
  }
  std::sort(entries.begin(), entries.end(), [](const Entry &a, const Entry &b) { return a.name < b.name; });
  return entries;
}

// Names in columns, at most 78 characters a line, indented by two.
void PrintColumns(const std::vector<std::string> &names, std::FILE *out) {
  std::size_t width = 0;
  for (const std::string &n : names) width = std::max(width, n.size());
  width += 2;
  const std::size_t perLine = std::max<std::size_t>(1, 76 / width);
  for (std::size_t i = 0; i < names.size(); ++i) {
    const bool last = i + 1 == names.size() || (i + 1) % perLine == 0;
    std::fprintf(out, "%s%-*s", i % perLine == 0 ? "  " : "", last ? 0 : static_cast<int>(width), names[i].c_str());
    if (last) std::fputc('\n', out);
  }
}

// A paragraph wrapped at 78 columns, every line indented by two.
void PrintWrapped(const std::string &text, std::FILE *out) {
  std::string line;
  std::size_t pos = 0;
  while (pos < text.size()) {
    std::size_t end = text.find(' ', pos);
    if (end == std::string::npos) end = text.size();
    const std::string word = text.substr(pos, end - pos);
    if (!line.empty() && line.size() + 1 + word.size() > 76) {
      std::fprintf(out, "  %s\n", line.c_str());
      line.clear();
    }
    line += (line.empty() ? "" : " ") + word;
    pos = end + 1;
  }
  if (!line.empty()) std::fprintf(out, "  %s\n", line.c_str());
}

std::string ManualText(const Manual &m) {
  TextPtr text(m.text());
  return text ? std::string(text.get()) : std::string();
}

}  // namespace

void SetManuals() {
  SetInstructions(kLanguageManual);
  SetProgrammingInstructions(kProgrammingManual);
  SetGraphingInstructions(kPlottingManual);
}

void PrintHelpOverview(std::FILE *out) {
  for (const Group &g : kGroups) {
    std::vector<std::string> names;
    for (const Entry &e : EntriesOf(g)) names.push_back(e.name);
    std::fprintf(out, "%s:\n", g.title);
    PrintColumns(names, out);
  }
  std::vector<std::string> manuals;
  for (const Manual &m : kManuals)
    if (!ManualText(m).empty()) manuals.push_back(std::string("help ") + m.name);
  if (!manuals.empty()) {
    std::fprintf(out, "Manuals:\n");
    PrintColumns(manuals, out);
  }
  std::fprintf(out, "\"help NAME\" shows how to call NAME; \":help\" lists the commands of this program.\n");
}

void PrintHelpFor(const std::string &name, std::FILE *out) {
  for (const Manual &m : kManuals) {
    const std::string text = ManualText(m);
    if (name == m.name && !text.empty()) {
      std::fputs(text.c_str(), out);
      if (text.back() != '\n') std::fputc('\n', out);
      return;
    }
  }
  for (const Group &g : kGroups) {
    for (const Entry &e : EntriesOf(g)) {
      if (name != e.name && name != e.label) continue;
      std::fprintf(out, "%s\n", e.usage.c_str());
      PrintWrapped(e.help, out);
      return;
    }
  }
  std::fprintf(out, "no help for \"%s\"; \"help\" lists the functions and commands\n", name.c_str());
}

void PrintHostCommands(std::FILE *out) {
  std::fprintf(out,
               "help          the functions and commands of the language, by group\n"
               "help NAME     how to call the function or command NAME\n"
               "plot EXPR, A, B   the plot of EXPR from A to B, as a PNG file here\n"
               ":vars         the variables of the workspace\n"
               ":functions    the workspace and every function it knows\n"
               ":history      this session's inputs and answers, one a line\n"
               ":help         this list\n"
               "quit, exit    leave (so does Ctrl-D)\n"
               "Ctrl-C stops a running statement; Up and Down walk the history, Ctrl-R\n"
               "searches it, Tab completes names.\n");
}

std::vector<std::string> CatalogueNames() {
  std::vector<std::string> names;
  for (const Group &g : kGroups)
    for (const Entry &e : EntriesOf(g)) names.push_back(e.name);
  return names;
}

const std::vector<std::string> &HostCommandNames() {
  static const std::vector<std::string> kNames = {":vars", ":functions", ":history", ":help", "help", "plot", "quit", "exit"};
  return kNames;
}

}  // namespace cli
