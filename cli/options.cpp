// Command-line options. Options come first; "-e" takes every argument after
// it as a statement (so "-e -3+1" works), and "--plot" hands the rest of the
// line to the plot writer.
#include "options.h"
#include "plot.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace cli {

namespace {

bool Fail(const char *format, const char *what) {
  std::fprintf(stderr, "quorvex: ");
  std::fprintf(stderr, format, what);
  std::fprintf(stderr, "\nTry 'quorvex --help'.\n");
  return false;
}

bool ParseInt(const char *text, long low, long high, int *out) {
  errno = 0;
  char *end = nullptr;
  const long v = std::strtol(text, &end, 10);
  if (errno || end == text || *end || v < low || v > high) return false;
  *out = static_cast<int>(v);
  return true;
}

}  // namespace

void PrintUsage() {
  std::printf(
      "Usage: quorvex [OPTION]... [FILE | -e TEXT...]\n"
      "       quorvex [OPTION]... --plot EXPR --from A --to B -o FILE [PLOT OPTION]...\n"
      "A scientific calculator: statements from a prompt, from FILE (\"-\" for standard\n"
      "input) or from the texts after -e, one answer a line.\n"
      "\n"
      "Options:\n"
      "  -e TEXT...         answer each TEXT in turn; every later argument is a TEXT\n"
      "  --digits N         show numbers with N significant digits (1 to 999; default 15)\n"
      "  --seed N           start the random numbers from seed N, for repeatable runs\n"
      "  --init FILE        run FILE after the built-in start-up, which binds pi and e\n"
      "  --no-init          start with a bare workspace: no pi, no e, no init file\n"
      "  --stop-on-error    stop at the first statement that answers an error\n"
      "  --keep-going       answer every statement even after errors (the default)\n"
      "  --plot EXPR --from A --to B -o FILE\n"
      "                     write the plot of EXPR over [A, B] to FILE: a PNG image\n"
      "                     when FILE ends in .png, else a BMP; the imaginary part\n"
      "                     is drawn when it is not zero, with a legend\n"
      "                     (the form --plot EXPR X1 X2 FILE [W H] works too)\n"
      "  --plot2d, --plot-complex, --plot-parametric, --plot-fourier\n"
      "                     surfaces, complex planes, curves and Fourier transforms\n"
      "  plot options:      --size WxH, --title TEXT, --font PATH, --samples N,\n"
      "                     --yfrom C --yto D (2D), --second FILE (second picture)\n"
      "  -h, --help         show this help and leave\n"
      "  --version          show the versions of this program and of the library\n"
      "\n"
      "Lines whose first non-blank character is # are comments. A statement runs on\n"
      "over several lines while a bracket, a block or a string is open. At the prompt,\n"
      "\"help\" lists the functions and \":help\" the commands of this program.\n"
      "\n"
      "Exit status: 0 when every statement was answered, 1 when one answered an error\n"
      "sentinel such as >invalid_expression< (explained on standard error), 2 for a bad\n"
      "command line or a missing file, 130 after Ctrl-C.\n"
      "\n"
      "Examples:\n"
      "  quorvex -e '1+2*3' 'deriv(sin(x)^2,x)'\n"
      "  quorvex --digits 6 script.qvx\n"
      "  echo 'int(sin(x),x,0,pi)' | quorvex\n"
      "  quorvex --plot 'sin(x)*exp(-x/5)' --from 0 --to 20 -o plot.png --title 'damped sine'\n");
}

bool ParseOptions(int argc, char **argv, Options *o) {
  for (int i = 1; i < argc; ++i) {
    const char *a = argv[i];
    auto value = [&](const char *option) -> const char * {
      if (i + 1 >= argc) {
        Fail("option %s needs a value", option);
        return nullptr;
      }
      return argv[++i];
    };
    if (std::strcmp(a, "-h") == 0 || std::strcmp(a, "--help") == 0) {
      o->mode = Options::Mode::Help;
      return true;
    } else if (std::strcmp(a, "--version") == 0) {
      o->mode = Options::Mode::Version;
      return true;
    } else if (quorvex_cli::IsPlotCommand(a)) {
      if (!o->file.empty()) return Fail("a plot command cannot follow the script %s", o->file.c_str());
      o->mode = Options::Mode::Plot;
      o->plotIndex = i;
      return true;
    } else if (std::strcmp(a, "-e") == 0) {
      if (!o->file.empty()) return Fail("-e cannot follow the script %s", o->file.c_str());
      o->mode = Options::Mode::Expressions;
      o->expressions.assign(argv + i + 1, argv + argc);
      return true;
    } else if (std::strcmp(a, "--digits") == 0) {
      const char *v = value(a);
      if (!v) return false;
      if (!ParseInt(v, 1, 999, &o->digits)) return Fail("--digits takes a whole number from 1 to 999, not '%s'", v);
      o->hasDigits = true;
    } else if (std::strcmp(a, "--seed") == 0) {
      const char *v = value(a);
      if (!v) return false;
      if (!ParseInt(v, INT_MIN + 1, INT_MAX, &o->seed)) return Fail("--seed takes a whole number, not '%s'", v);
      o->hasSeed = true;
    } else if (std::strcmp(a, "--init") == 0) {
      const char *v = value(a);
      if (!v) return false;
      o->initFile = v;
    } else if (std::strcmp(a, "--no-init") == 0) {
      o->noInit = true;
    } else if (std::strcmp(a, "--stop-on-error") == 0) {
      o->stopOnError = true;
    } else if (std::strcmp(a, "--keep-going") == 0) {
      o->stopOnError = false;
    } else if (a[0] == '-' && a[1] != '\0') {
      return Fail("unknown option '%s'", a);
    } else if (o->file.empty()) {
      o->file = a;
      o->mode = Options::Mode::File;
    } else {
      return Fail("unexpected argument '%s': one script at a time", a);
    }
  }
  if (o->noInit && !o->initFile.empty()) return Fail("%s", "--init and --no-init exclude each other");
  return true;
}

}  // namespace cli
