// The interactive prompt. With libedit the line is edited in place, the
// history survives sessions in ~/.quorvex_history (or $QUORVEX_HISTORY),
// Ctrl-R searches it and Tab completes names; without libedit a plain reader
// takes lines and drops the escape sequences of keys it cannot edit with, so
// an arrow key never reaches the engine as "[A".
//
// Ctrl-C while typing discards the statement; while a statement runs it
// cancels it, and the session goes on either way.
#include "prompt.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

#include <unistd.h>

#include "help.h"
#include "session.h"

#ifdef QVX_HAVE_LIBEDIT
#include <histedit.h>
#endif

namespace cli {

namespace {

class LineReader {
 public:
  virtual ~LineReader() = default;
  // One line; false at the end of input, or after Ctrl-C (Interrupted()).
  virtual bool Read(const char *prompt, std::string *line) = 0;
  virtual void Remember(const std::string &statement) {}
};

// Drops CSI and SS3 sequences (ESC [ ... final byte, ESC O x) and other
// control characters but tabs.
std::string WithoutEscapes(const std::string &line) {
  std::string out;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const unsigned char c = line[i];
    if (c == 0x1b) {
      if (i + 1 < line.size() && line[i + 1] == '[') {
        i += 2;
        while (i < line.size() && !(line[i] >= 0x40 && line[i] <= 0x7e)) ++i;
      } else if (i + 1 < line.size() && line[i + 1] == 'O') {
        i += 2;
      } else {
        ++i;
      }
      continue;
    }
    if (c < 0x20 && c != '\t') continue;
    out += static_cast<char>(c);
  }
  return out;
}

class PlainReader : public LineReader {
 public:
  bool Read(const char *prompt, std::string *line) override {
    std::fputs(prompt, stdout);
    std::fflush(stdout);
    std::clearerr(stdin);
    line->clear();
    char buffer[4096];
    while (std::fgets(buffer, sizeof buffer, stdin)) {
      *line += buffer;
      if (line->back() == '\n') break;
    }
    if (line->empty()) return false;
    *line = WithoutEscapes(*line);
    return true;
  }
};

#ifdef QVX_HAVE_LIBEDIT

// Names offered by Tab: the host's commands at the start of a line, the
// catalogue, and what the workspace holds now.
std::vector<std::string> Candidates(const std::string &word, bool lineStart) {
  std::vector<std::string> names;
  if (lineStart) names = HostCommandNames();
  for (std::string &n : CatalogueNames()) names.push_back(std::move(n));
  // Workspace listing: "  name = value" for objects, "  name(arity)" for functions.
  if (char *listing = PrintTopLevelEnvironment(gEnv, 0, 1)) {
    std::string_view rest(listing);
    while (!rest.empty()) {
      const std::size_t eol = rest.find('\n');
      std::string_view l = rest.substr(0, eol);
      rest = eol == std::string_view::npos ? std::string_view() : rest.substr(eol + 1);
      if (l.size() < 3 || l.substr(0, 2) != "  " || l[2] == ' ') continue;
      l.remove_prefix(2);
      std::size_t n = 0;
      while (n < l.size() && (std::isalnum(static_cast<unsigned char>(l[n])) || l[n] == '_')) ++n;
      if (n > 0 && n < l.size() && (l[n] == '(' || l.substr(n, 3) == " = ")) names.emplace_back(l.substr(0, n));
    }
    FreeString(listing);
  }
  std::vector<std::string> out;
  for (std::string &n : names)
    if (n.rfind(word, 0) == 0) out.push_back(std::move(n));
  std::sort(out.begin(), out.end());
  out.erase(std::unique(out.begin(), out.end()), out.end());
  return out;
}

bool IsNameChar(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

unsigned char Complete(EditLine *el, int) {
  const LineInfo *li = el_line(el);
  const char *start = li->cursor;
  while (start > li->buffer && IsNameChar(start[-1])) --start;
  if (start > li->buffer && start[-1] == ':' && start - 1 == li->buffer) --start;
  const std::string before(li->buffer, start);
  const bool lineStart = before.find_first_not_of(" \t") == std::string::npos;
  const std::string word(start, li->cursor);
  const std::vector<std::string> found = Candidates(word, lineStart);
  if (found.empty()) return CC_ERROR;
  std::string common = found.front();
  for (const std::string &f : found) {
    std::size_t n = 0;
    while (n < common.size() && n < f.size() && common[n] == f[n]) ++n;
    common.resize(n);
  }
  if (common.size() > word.size()) {
    el_insertstr(el, common.substr(word.size()).c_str());
    return CC_REFRESH;
  }
  if (found.size() == 1) return CC_NORM;
  std::fputc('\n', stdout);
  std::size_t width = 0;
  for (const std::string &f : found) width = std::max(width, f.size());
  const std::size_t perLine = std::max<std::size_t>(1, 78 / (width + 2));
  for (std::size_t i = 0; i < found.size(); ++i)
    std::printf("%-*s%s", static_cast<int>(width + 2), found[i].c_str(),
                (i + 1) % perLine == 0 || i + 1 == found.size() ? "\n" : "");
  std::fflush(stdout);
  return CC_REDISPLAY;
}

const char *gPrompt = "> ";
char *PromptText(EditLine *) { return const_cast<char *>(gPrompt); }

// Reads a character from the terminal; a read cut short by Ctrl-C ends the
// line (el_gets returns null) instead of being retried.
int ReadChar(EditLine *, wchar_t *out) {
  static std::mbstate_t state{};
  for (;;) {
    char c;
    const ssize_t n = read(STDIN_FILENO, &c, 1);
    if (n == 0) return 0;
    if (n < 0) {
      if (errno == EINTR && !Interrupted()) continue;
      return -1;
    }
    const std::size_t r = std::mbrtowc(out, &c, 1, &state);
    if (r == static_cast<std::size_t>(-2)) continue;  // inside a multi-byte character
    if (r == static_cast<std::size_t>(-1)) {
      state = std::mbstate_t{};
      *out = static_cast<unsigned char>(c);
    }
    return 1;
  }
}

std::string HistoryPath() {
  if (const char *p = std::getenv("QUORVEX_HISTORY")) return p;
  if (const char *home = std::getenv("HOME"); home && *home) return std::string(home) + "/.quorvex_history";
  return {};
}

class EditReader : public LineReader {
 public:
  EditReader() : path_(HistoryPath()) {
    history_ = history_init();
    history(history_, &event_, H_SETSIZE, 1000);
    history(history_, &event_, H_SETUNIQUE, 1);
    if (!path_.empty()) history(history_, &event_, H_LOAD, path_.c_str());
    el_ = el_init("quorvex", stdin, stdout, stderr);
    el_set(el_, EL_EDITOR, "emacs");
    el_set(el_, EL_PROMPT, PromptText);
    el_set(el_, EL_HIST, history, history_);
    el_set(el_, EL_GETCFN, ReadChar);
    // The wide form keeps the two names as given; the narrow one copies
    // them and never frees the copies.
    el_wset(el_, EL_ADDFN, L"quorvex-complete", L"complete a name", Complete);
    el_set(el_, EL_BIND, "^I", "quorvex-complete", nullptr);
    el_set(el_, EL_BIND, "^R", "em-inc-search-prev", nullptr);
    el_source(el_, nullptr);  // the user's ~/.editrc, if any
  }
  ~EditReader() override {
    if (!path_.empty()) history(history_, &event_, H_SAVE, path_.c_str());
    el_end(el_);
    history_end(history_);
  }

  bool Read(const char *prompt, std::string *line) override {
    gPrompt = prompt;
    int count = 0;
    const char *text = el_gets(el_, &count);
    if (!text || count <= 0) {
      el_reset(el_);
      return false;
    }
    *line = text;
    while (!line->empty() && (line->back() == '\n' || line->back() == '\r')) line->pop_back();
    return true;
  }

  void Remember(const std::string &statement) override {
    history(history_, &event_, H_ENTER, statement.c_str());
  }

 private:
  std::string path_;
  History *history_ = nullptr;
  HistEvent event_;
  EditLine *el_ = nullptr;
};

#endif  // QVX_HAVE_LIBEDIT

void PrintBanner() {
  char *about = About();
  std::printf("%sversion %s; \"help\" lists the functions, \":help\" the commands, \"quit\" leaves\n",
              about ? about : "", QUORVEX_VERSION);
  FreeString(about);
}

}  // namespace

int RunPrompt() {
  std::setlocale(LC_CTYPE, "");  // only the character set: numbers keep the "C" format
  PrintBanner();
#ifdef QVX_HAVE_LIBEDIT
  EditReader reader;
#else
  PlainReader reader;
#endif
  Joiner joiner;
  std::string line;
  for (;;) {
    ClearInterrupt();
    if (!reader.Read(joiner.Empty() ? "> " : ". ", &line)) {
      if (Interrupted()) {  // Ctrl-C while typing: start a fresh statement
        joiner.Take();
        std::printf("\n");
        continue;
      }
      break;
    }
    if (IsComment(line)) continue;
    if (joiner.Empty()) {
      const std::size_t b = line.find_first_not_of(" \t");
      const std::string word = b == std::string::npos ? "" : line.substr(b, line.find_last_not_of(" \t") - b + 1);
      if (word == "quit" || word == "exit") break;
      if (word.empty()) continue;
      if (HostCommand(line, stdout)) {
        reader.Remember(word);
        continue;
      }
    }
    if (!joiner.Add(line)) continue;
    const std::string statement = joiner.Take();
    reader.Remember(statement);
    const Answer a = Evaluate(statement);
    if (!a.text.empty()) std::printf("%s\n", a.text.c_str());
    std::fflush(stdout);
  }
  std::printf("\n");
  return 0;
}

}  // namespace cli
