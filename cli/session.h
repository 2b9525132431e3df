// The scope a run of the host works in, and what every way of feeding it
// statements shares: the interrupt, answering one statement, joining lines
// into statements, recognising sentinel answers and the host's own commands.
#pragma once

#include <cstdio>
#include <string>

#include "libquorvex.h"

namespace cli {

// The one top-level scope of this process.
extern Environment *gEnv;

// Ctrl-C: while a statement runs it sets the scope's cancel flag; in any case
// it leaves a mark that the readers and the batch runner look at. The handler
// does not restart system calls, so a read waiting for input returns.
void InstallInterruptHandler();
bool Interrupted();
void ClearInterrupt();

struct Answer {
  std::string text;       // what the engine answered; empty for control statements
  std::string sentinel;   // ">word<" when the answer is an error sentinel
  bool interrupted = false;
};

// Runs one statement in gEnv. The cancel flag is reset afterwards: the
// engine never resets it itself.
Answer Evaluate(const std::string &statement);

// The first error sentinel standing as an answer (on a line of its own or
// as the value of an assignment), or "".
std::string FindSentinel(const std::string &answer);

// What a sentinel means and what usually causes it, in plain words.
const char *ExplainSentinel(const std::string &sentinel);

bool IsBlank(const std::string &line);
bool IsComment(const std::string &line);   // first non-blank character is '#'

// Gathers the lines of one statement: lines are joined until every bracket,
// block pair ":" ";" and string is closed and the text does not end in a comma.
class Joiner {
 public:
  // Adds a line; true when the text gathered so far is a whole statement.
  bool Add(const std::string &line);
  std::string Take();
  bool Empty() const { return IsBlank(text_); }

 private:
  std::string text_;
  int depth_ = 0;
  bool quoted_ = false;
};

// The host's own commands (":vars", "help sin", ...). Returns false for a
// line that is none; "quit" and "exit" are left to the caller.
bool HostCommand(const std::string &line, std::FILE *out);

}  // namespace cli
