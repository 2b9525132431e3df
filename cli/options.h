// The command line of the quorvex program.
#pragma once

#include <string>
#include <vector>

namespace cli {

struct Options {
  enum class Mode { Prompt, Expressions, File, Plot, Help, Version };
  Mode mode = Mode::Prompt;
  std::vector<std::string> expressions;  // -e TEXT...
  std::string file;                      // a script, or "-" for standard input
  int plotIndex = 0;                     // argv index of "--plot"
  std::string initFile;
  bool noInit = false;
  bool hasDigits = false;
  int digits = 0;
  bool hasSeed = false;
  int seed = 0;
  bool stopOnError = false;
};

// Reads argv into *options. On a bad command line it writes the reason to
// standard error and returns false.
bool ParseOptions(int argc, char **argv, Options *options);

void PrintUsage();

}  // namespace cli
