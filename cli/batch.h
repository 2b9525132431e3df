// Statements run without a person at the keyboard: -e texts, script files,
// standard input that is not a terminal, and the init file. Answers go to
// standard output; a sentinel answer is also explained on standard error.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace cli {

// Exit statuses of a batch.
constexpr int kStatusOk = 0;
constexpr int kStatusSentinel = 1;     // some statement answered a sentinel
constexpr int kStatusUsage = 2;        // bad arguments, missing files
constexpr int kStatusInterrupted = 130;

struct BatchPolicy {
  bool stopOnError = false;   // stop at the first sentinel answer
  bool printAnswers = true;   // false for the init file
  bool hostCommands = false;  // "help", ":vars"... and "quit" (standard input)
  std::vector<std::string> *ran = nullptr;  // collects the statements answered
};

int RunExpressions(const std::vector<std::string> &texts, const BatchPolicy &policy);
// `name` is how messages refer to the stream ("demo.qvx", "standard input").
int RunStream(std::FILE *in, const std::string &name, const BatchPolicy &policy);
// Opens and runs a file; a file that can't be opened is kStatusUsage.
int RunFile(const std::string &path, const BatchPolicy &policy);

}  // namespace cli
