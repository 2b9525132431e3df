// quorvex: the command-line host, a program over the public header only.
// This file reads the command line, sets the library up, hands the work to
// the batch runner, the prompt or the plot writer, and tears the library down.
//
// Start-up: the built-in init script binds pi and e; --init FILE runs after
// it and joins it, so that restore() brings back both; --no-init leaves the
// workspace bare.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "batch.h"
#include "help.h"
#include "libquorvex.h"
#include "options.h"
#include "plot.h"
#include "prompt.h"
#include "session.h"

#ifndef QVX_HOST_VERSION
#define QVX_HOST_VERSION QUORVEX_VERSION
#endif

namespace {

using cli::gEnv;

// The engine defines no constants of its own: the host's init script does,
// and restore() runs it again. Number literals keep 15 significant digits,
// so the constants are computed to full double precision instead of being
// written out.
constexpr const char *kInitScript = "pi=4*arctan(1),e=exp(1)";

void PrintVersion() {
  char *about = About();
  std::printf("quorvex %s\nlibquorvex %s\n%s", QVX_HOST_VERSION, QUORVEX_VERSION, about ? about : "");
  FreeString(about);
}

// Runs the init file's statements now, silently but for errors, and makes
// them part of the init script that restore() runs again.
int RunInitFile(const std::string &path, bool stopOnError) {
  std::vector<std::string> statements;
  cli::BatchPolicy policy;
  policy.printAnswers = false;
  policy.stopOnError = stopOnError;
  policy.ran = &statements;
  const unsigned char saved = SetUpdateHistoryFlag(gEnv, 0);
  const int status = cli::RunFile(path, policy);
  SetUpdateHistoryFlag(gEnv, saved);
  std::string script = kInitScript;
  for (const std::string &s : statements) script += "," + s;
  SetInitScript(script.c_str());
  return status;
}

int Run(const cli::Options &o, int argc, char **argv) {
  cli::BatchPolicy policy;
  policy.stopOnError = o.stopOnError;
  switch (o.mode) {
    case cli::Options::Mode::Plot:
      return quorvex_cli::RunPlotCommand(argc - o.plotIndex + 1, argv + o.plotIndex - 1, gEnv);
    case cli::Options::Mode::Expressions:
      return cli::RunExpressions(o.expressions, policy);
    case cli::Options::Mode::File:
      if (o.file != "-") return cli::RunFile(o.file, policy);
      policy.hostCommands = true;
      return cli::RunStream(stdin, "standard input", policy);
    default:
      if (isatty(STDIN_FILENO)) return cli::RunPrompt();
      policy.hostCommands = true;
      return cli::RunStream(stdin, "standard input", policy);
  }
}

}  // namespace

int main(int argc, char **argv) {
  cli::Options options;
  if (!cli::ParseOptions(argc, argv, &options)) return cli::kStatusUsage;
  if (options.mode == cli::Options::Mode::Help) {
    cli::PrintUsage();
    return 0;
  }
  if (options.mode == cli::Options::Mode::Version) {
    PrintVersion();
    return 0;
  }
  if (!options.initFile.empty() && access(options.initFile.c_str(), R_OK) != 0) {
    std::fprintf(stderr, "quorvex: cannot read the init file %s\n", options.initFile.c_str());
    return cli::kStatusUsage;
  }
  InitializeGlobals(options.noInit ? nullptr : kInitScript, 0);
  cli::SetManuals();
  gEnv = InitializeTopLevelEnvironment(nullptr);
  if (!gEnv) {
    std::fprintf(stderr, "quorvex: cannot create a scope\n");
    TerminateGlobals();
    return 1;
  }
  if (options.hasDigits) SetSignificantDigits(gEnv, options.digits);
  if (options.hasSeed) SetSeed(gEnv, options.seed);
  cli::InstallInterruptHandler();
  int status = 0;
  if (!options.initFile.empty()) status = RunInitFile(options.initFile, options.stopOnError);
  if (status == cli::kStatusOk || (status == cli::kStatusSentinel && !options.stopOnError)) {
    const int ran = Run(options, argc, argv);
    if (ran != cli::kStatusOk) status = ran;
  }
  TerminateEnvironment(gEnv);
  TerminateGlobals();
  return status;
}
