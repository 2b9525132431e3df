// The batch runner. Every statement is answered in turn; a sentinel answer
// marks the run as failed (status 1) and, under --stop-on-error, ends it.
// Ctrl-C cancels the running statement and ends the run with status 130.
#include "batch.h"

#include "session.h"

namespace cli {

namespace {

class Batch {
 public:
  explicit Batch(const BatchPolicy &policy) : policy_(policy) {}

  // Answers one statement; false when the run must stop.
  bool Run(const std::string &statement, const std::string &where) {
    if (Interrupted()) return Stop();
    if (policy_.ran) policy_.ran->push_back(statement);
    const Answer a = Evaluate(statement);
    if (a.interrupted) return Stop();
    if (policy_.printAnswers && !a.text.empty()) std::printf("%s\n", a.text.c_str());
    std::fflush(stdout);
    if (a.sentinel.empty()) return true;
    failed_ = true;
    std::fprintf(stderr, "quorvex: %s: the answer is %s\n  statement: %s\n  %s\n", where.c_str(),
                 a.sentinel.c_str(), statement.c_str(), ExplainSentinel(a.sentinel));
    return !policy_.stopOnError;
  }

  // Called at the end of the input: a Ctrl-C that cut a read short counts.
  int Status() {
    if (Interrupted() && !interrupted_) Stop();
    if (interrupted_) return kStatusInterrupted;
    return failed_ ? kStatusSentinel : kStatusOk;
  }

 private:
  bool Stop() {
    if (!interrupted_) std::fprintf(stderr, "quorvex: interrupted\n");
    interrupted_ = true;
    return false;
  }

  BatchPolicy policy_;
  bool failed_ = false;
  bool interrupted_ = false;
};

// One line without its line break; false at the end of the input or when a
// read is interrupted.
bool ReadLine(std::FILE *in, std::string *line) {
  line->clear();
  char buffer[4096];
  while (std::fgets(buffer, sizeof buffer, in)) {
    *line += buffer;
    if (line->back() == '\n') break;
  }
  if (line->empty()) return false;
  while (!line->empty() && (line->back() == '\n' || line->back() == '\r')) line->pop_back();
  return true;
}

}  // namespace

int RunExpressions(const std::vector<std::string> &texts, const BatchPolicy &policy) {
  Batch batch(policy);
  for (std::size_t i = 0; i < texts.size(); ++i)
    if (!batch.Run(texts[i], "-e text " + std::to_string(i + 1))) break;
  return batch.Status();
}

int RunStream(std::FILE *in, const std::string &name, const BatchPolicy &policy) {
  Batch batch(policy);
  Joiner joiner;
  std::string line;
  int lineNumber = 0, statementLine = 0;
  auto where = [&] { return name + ", line " + std::to_string(statementLine); };
  bool going = true;
  while (going && !Interrupted() && ReadLine(in, &line)) {
    ++lineNumber;
    if (IsComment(line) || (joiner.Empty() && IsBlank(line))) continue;
    if (joiner.Empty()) {
      statementLine = lineNumber;
      if (policy.hostCommands) {
        const std::size_t b = line.find_first_not_of(" \t");
        const std::size_t e = line.find_last_not_of(" \t\r");
        const std::string word = line.substr(b, e - b + 1);
        if (word == "quit" || word == "exit") break;
        if (HostCommand(line, stdout)) continue;
      }
    }
    if (joiner.Add(line)) going = batch.Run(joiner.Take(), where());
  }
  if (going && !Interrupted() && !joiner.Empty()) batch.Run(joiner.Take(), where());
  return batch.Status();
}

int RunFile(const std::string &path, const BatchPolicy &policy) {
  std::FILE *f = std::fopen(path.c_str(), "rb");
  if (!f) {
    std::fprintf(stderr, "quorvex: cannot open %s\n", path.c_str());
    return kStatusUsage;
  }
  const int status = RunStream(f, path, policy);
  std::fclose(f);
  return status;
}

}  // namespace cli
