// The help rows a host shows: predefined functions, environment functions,
// programming commands and the two manuals, and the exported getters.
//
// The rows are fixed text, stored in the order the language lists them; the
// label getters hand them out sorted. At start-up (FillHelpLists) the rows
// are copied into the linked lists of the global record, each node keyed by
// its label; the getters read those lists, and the same rows directly when a
// host asks before the record exists.
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "common/boundary.h"
#include "common/globals.h"
#include "libquorvex.h"
#include "math/functions.h"
#include "math/help.h"

namespace qvx {
namespace {

// Rows of the predefined functions: label, prefix, usage, help.
constexpr HelpRow kPredefined[] = {
    {"deriv", "deriv(", "deriv(f(x),x,a)",
     "\"deriv(f(x),x,a)\" evaluates the total derivative of an expression \"f(x)\" with respect to a variable "
     "\"x\", and evaluates the result at \"x=a\""},
    {"airya", "airya(", "airya(x)", "\"airya(x)\" evaluates the Airy function Ai of \"x\""},
    {"airyb", "airyb(", "airyb(x)", "\"airyb(x)\" evaluates the Airy function Bi of \"x\""},
    {"arccos", "arccos(", "arccos(z)", "\"arccos(z)\" evaluates the inverse cosine of \"z\""},
    {"arccosh", "arccosh(", "arccosh(z)", "\"arccosh(z)\" evaluates the inverse hyperbolic cosine of \"z\""},
    {"arcsin", "arcsin(", "arcsin(z)", "\"arcsin(z)\" evaluates the inverse sine of \"z\""},
    {"arcsinh", "arcsinh(", "arcsinh(z)", "\"arcsinh(z)\" evaluates the inverse hyperbolic sine of \"z\""},
    {"arctan", "arctan(", "arctan(z)", "\"arctan(z)\" evaluates the inverse tangent of \"z\""},
    {"arctanh", "arctanh(", "arctanh(z)", "\"arctanh(z)\" evaluates the hyperbolic tangent of \"z\""},
    {"arctan2", "arctan2(", "arctan2(y,x)",
     "\"arctan2(y,x)\" evaluates the inverse tangent of \"y/x\", in the quadrant of the point (\"x\",\"y\")"},
    {"arg", "arg(", "arg(z)", "\"arg(z)\" evaluates the argument (phase) of \"z\""},
    {"besseli", "besseli(", "besseli(x,xn)",
     "\"besseli(x,xn)\" evaluates the modified Bessel function of the first kind of order \"xn\" of \"x\""},
    {"besselj", "besselj(", "besselj(x,xn)",
     "\"besselj(x,xn)\" evaluates the Bessel function of the first kind of order \"xn\" of \"x\""},
    {"besselk", "besselk(", "besselk(x,xn)",
     "\"besselk(x,xn)\" evaluates the modified Bessel function of the second kind of order \"xn\" of \"x\""},
    {"bessely", "bessely(", "bessely(x,xn)",
     "\"bessely(x,xn)\" evaluates the Bessel function of the second kind of order \"xn\" of \"x\""},
    {"ceil", "ceil(", "ceil(z)", "\"ceil(z)\" evaluates the ceiling of the real and imaginary parts of \"z\""},
    {"comb", "comb(", "comb(z1,z2)",
     "\"comb(z1,z2)\" evaluates the number of combinations of \"z2\" elements out of \"z1\""},
    {"cos", "cos(", "cos(z)", "\"cos(z)\" evaluates the cosine of \"z\""},
    {"cosh", "cosh(", "cosh(z)", "\"cosh(z)\" evaluates the hyperbolic cosine of \"z\""},
    {"exp", "exp(", "exp(z)", "\"exp(z)\" evaluates the exponential of \"z\""},
    {"floor", "floor(", "floor(z)", "\"floor(z)\" evaluates the floor of the real and imaginary parts of \"z\""},
    {"gcd", "gcd(", "gcd(n1,n2)", "\"gcd(n1,n2)\" evaluates the greatest common divisor of \"n1\" and \"n2\""},
    {"hypot", "hypot(", "hypot(x,y)",
     "\"hypot(x,y)\" evaluates the length of the hypotenuse sqrt(x^2+y^2) of \"x\" and \"y\""},
    {"im", "im(", "im(z)", "\"im(z)\" evaluates the imaginary part of \"z\""},
    {"int", "int(", "int(f(x),x,x1,x2,n)",
     "\"int(f(x),x,x1,x2,n)\" numerically integrates the expression \"f(x)\", from \"x\"=\"x1\" to \"x\"=\"x2\" "
     "using a grid of \"n\" points; the last argument may be omitted, in which case the integral uses an adaptive "
     "grid; the second argument may also be omitted, in which case Sorvantis searches for a single unknown "
     "variable in the first argument"},
    {"legendre", "legendre(", "legendre(x,xl,xm)",
     "\"legendre(x,xl,xm)\" computes the associated Legendre function of integer degree xl (xl<=0) and integer "
     "order xm (|xm|<=xl) at the position x (|x|<=1)"},
    {"ln", "ln(", "ln(z)", "\"ln(z)\" evaluates the natural logarithm of \"z\""},
    {"log", "log(", "log(z)", "\"log(z)\" evaluates the logarithm to base 10 of \"z\""},
    {"max", "max(", "max(x1,x2,___,xn)",
     "\"max(x1,x2,___,xn)\" evaluates the maximum of the real and of the imaginary parts of \"x1\" to \"xn\""},
    {"mean", "mean(", "mean(x1,x2,___,xn)", "\"mean(x1,x2,___,xn)\" evaluates the mean of \"x1\" to \"xn\""},
    {"median", "median(", "median(x1,x2,___,xn)",
     "\"median(x1,x2,___,xn)\" evaluates the median of the real and of the imaginary parts of \"x1\" to \"xn\""},
    {"min", "min(", "min(x1,x2,___,xn)",
     "\"min(x1,x2,___,xn)\" evaluates the minimum of the real and of the imaginary parts of \"x1\" to \"xn\""},
    {"mod", "mod(", "mod(za,zn)", "\"mod(za,zn)\" evaluates the remainder of the division of \"za\" by \"zn\""},
    {"perm", "perm(", "perm(z1,z2)",
     "\"perm(z1,z2)\" evaluates the number of permutations of \"z2\" elements out of \"z1\""},
    {"prod", "prod(", "prod(f(n),n,i1,i2)",
     "\"prod(f(n),n,i1,i2)\" evaluates the product of the expression \"f(n)\" for \"n\" from \"i1\" to \"i2\""},
    {"rand", "rand(", "rand(z1,z2)",
     "\"rand(z1,z2)\" evaluates a uniformly distributed random number between \"z1\" and \"z2\""},
    {"randint", "randint(", "randint(z1,z2)",
     "\"randint(z1,z2)\" evaluates a uniformly distributed random integer between \"z1\" and \"z2\""},
    {"re", "re(", "re(z)", "\"re(z)\" evaluates the real part of \"z\""},
    {"root", "root(", "root(f(x),x1,x2)",
     "\"root(f(x),x1,x2)\" finds the root of the expression f(x) using the bisection method if all three "
     "arguments (\"f(x)\", \"x1\" and \"x2\") are given, in which case the root is assumed to be bracketed by "
     "\"x1\" and \"x2\", while the Newton Raphson method is used if only the first two arguments are given, in "
     "which case \"x1\" is a first guess for the root"},
    {"round", "round(", "round(z)", "\"round(z)\" evaluates the rounded real and imaginary parts of \"z\""},
    {"sign", "sign(", "sign(z)", "\"sign(z)\" evaluates the sign z/|z| of \"z\""},
    {"sin", "sin(", "sin(z)", "\"sin(z)\" evaluates the sine of \"z\""},
    {"sinh", "sinh(", "sinh(z)", "\"sinh(z)\" evaluates the hyperbolic sine of \"z\""},
    {"sqrt", "sqrt(", "sqrt(z)", "\"sqrt(z)\" evaluates the square root of \"z\""},
    {"sum", "sum(", "sum(f(n),n,i1,i2)",
     "\"sum(f(n),n,i1,i2)\" evaluates the sum of the expression \"f(n)\" for \"n\" from \"i1\" to \"i2\""},
    {"tan", "tan(", "tan(z)", "\"tan(z)\" evaluates the tangent of \"z\""},
    {"tanh", "tanh(", "tanh(z)", "\"tanh(z)\" evaluates the hyperbolic tangent of \"z\""},
    {"variance", "variance(", "variance(x1,x2,___,xn)",
     "\"variance(x1,x2,___,xn)\" evaluates the variance of \"x1\" to \"xn\""},
    {"abs", "abs(", "abs(z)", "\"abs(z)\" evaluates the absolute value of \"z\""},
};

constexpr HelpRow kEnvironment[] = {
    {"bin", "bin(", "bin(x)", "\"bin(x)\" prints the number \"x\" in binary form"},
    {"combine", "combine(", "combine(list,k)",
     "\"combine(list,k)\" lists the combinations of \"k\" elements of the array \"list\""},
    {"complex roots", "complexroots(", "complexroots(z,n)",
     "\"complexroots(z,n)\" returns a vector containing the \"n\" complex \"n\"-th roots of \"z\""},
    {"dec", "dec(", "dec(x)", "\"dec(x)\" prints the number \"x\" in decimal form"},
    {"divisors", "divisors(", "divisors(n)", "\"divisors(n)\" lists the divisors of the integer \"n\""},
    {"find peaks", "findpeaks(", "findpeaks(f(x),x1,x2)",
     "\"findpeaks(f(x),x1,x2)\" returns a vector containing all the peaks of the function \"f(x)\" (i.e. the "
     "local maxima of its real part) within the range defined by \"x1<=x<=x2\", this feature might not be "
     "successful if \"f(x)\" posseses a singlularity within the given range"},
    {"find roots", "findroots(", "findroots(f(x),x1,x2)",
     "\"findroots(f(x),x1,x2)\" returns a vector containing all the simple roots of the function \"f(x)\" (i.e. "
     "those for which the function crosses zero) within the range defined by \"x1<=x<=x2\", this feature might "
     "not be successful if \"f(x)\" posseses a singlularity within the given range"},
    {"hex", "hex(", "hex(x)", "\"hex(x)\" prints the number \"x\" in hexadecimal form"},
    {"hms time", "hmstime(", "hmstime(h,m,s)",
     "\"hmstime(h,m,s)\" converts hours \"h\", minutes \"m\" and seconds \"s\" into a time"},
    {"permute", "permute(", "permute(list)", "\"permute(list)\" lists the permutations of the array \"list\""},
    {"polynome\nfit", "polyfit(", "polyfit(x,y,w,k)",
     "\"polyfit(x,y,w,k)\" fits a polynomial of degree \"k\" to the points \"x\", \"y\" with the weights "
     "\"w\" (which may be omitted: all weights 1), and returns an object with the members \"message\", "
     "\"quality\", \"parameters\" (c0..ck) and \"errors\", and the function \"eval(x)\" that evaluates "
     "\"p(x)=c0+c1*x+___+ck*x^k\""},
    {"prime factors", "primefactors(", "primefactors(n)",
     "\"primefactors(n)\" lists the prime factors of the integer \"n\""},
    {"primes", "primes(", "primes(n1,n2)", "\"primes(n1,n2)\" lists the prime numbers from \"n1\" to \"n2\""},
    {"set significant\ndigits", "sigdigits(", "sigdigits(n)",
     "\"sigdigits(n)\" sets the number of significant digits of the output to \"n\""},
    {"delete", "delete(", "delete(x)", "\"delete(x)\" deletes the object \"x\""},
    {"type", "type(", "x.type()", "\"x.type()\" evaluates the type of the object \"x\""},
    {"introspect", "introspect(", "introspect()", "\"introspect()\" lists the objects, classes and functions"},
    {"mutate", "mutate(", "mutate(x)", "\"mutate(x)\" turns the object \"x\" into a mutant"},
    {"print", "print(", "x.print()", "\"x.print()\" prints the object \"x\""},
    {"read", "read(", "read(file)", "\"read(file)\" reads the objects of the file \"file\""},
    {"list files", "listf(", "listf()", "\"listf()\" lists the files of the local directory"},
    {"write", "write(", "write(file)", "\"write(file)\" writes the objects to the file \"file\""},
    {"export\nstate", "export(", "export(file)", "\"export(file)\" writes the whole state to the file \"file\""},
    {"import\nstate", "import(", "import(file)", "\"import(file)\" reads the whole state from the file \"file\""},
};

constexpr HelpRow kProgramming[] = {
    {"if", "if:;", "if:(bool),___,elseif,(bool),___,else,statements;",
     "\"if:(bool),___,elseif,(bool),___,else,statements;\" runs the statements after the first condition that "
     "holds, or those after \"else\""},
    {"while", "while:;", "while:(bool),___;",
     "\"while:(bool),___;\" runs the statements as long as the condition holds"},
    {"for", "for:;", "for:(initialize),(bool),(increment),___;",
     "\"for:(initialize),(bool),(increment),___;\" runs the initialization, then the statements and the "
     "increment as long as the condition holds"},
};

// ---------------------------------------------------------------------------
// The linked lists of the global record.

struct HelpNode {
  HelpNode *next, *prev;
  char *key;
  PredefinedFunctionRecord *record;
};

void FreeRecord(PredefinedFunctionRecord *r) {
  if (!r) return;
  WipeAndFree(r->prefix);
  WipeAndFree(r->help);
  WipeAndFree(r->usage);
  WipeAndFree(r->label);
  std::free(r);
}

void Append(HelpList *list, const HelpRow &row, const char *usageOverride) {
  auto *r = static_cast<PredefinedFunctionRecord *>(std::calloc(1, sizeof(PredefinedFunctionRecord)));
  auto *n = static_cast<HelpNode *>(std::calloc(1, sizeof(HelpNode)));
  if (!r || !n) {
    std::free(r);
    std::free(n);
    return;
  }
  r->prefix = DupText(row.prefix);
  r->help = DupText(row.help);
  r->usage = DupText(usageOverride ? usageOverride : row.usage);
  r->label = DupText(row.label);
  // The split and derive handlers of the function of the same name.
  const std::string_view name(row.prefix, std::strcspn(row.prefix, "(:"));
  for (const PredefinedFunction &f : PredefinedFunctions()) {
    const std::string_view key(f.key);
    if (key.substr(0, key.find('(')) == name) {
      r->split = f.split;
      r->derive = f.derive;
      break;
    }
  }
  n->key = DupText(row.label);
  n->record = r;
  n->prev = static_cast<HelpNode *>(list->tail);
  if (list->tail) static_cast<HelpNode *>(list->tail)->next = n;
  else list->head = n;
  list->tail = n;
  ++list->count;
}

template <std::size_t N>
void Fill(HelpList *list, const HelpRow (&rows)[N]) {
  FreeHelpList(list);
  for (const HelpRow &row : rows) Append(list, row, nullptr);
}

// The rows a getter reads: the global list when it is filled, else the table.
template <class F>
void ForEachRow(const HelpList &list, std::span<const HelpRow> rows, F &&visit) {
  if (list.count > 0) {
    for (auto *n = static_cast<const HelpNode *>(list.head); n; n = n->next)
      visit(n->record->label, n->record->usage, n->record->help);
    return;
  }
  for (const HelpRow &r : rows) visit(r.label, r.usage, r.help);
}

char **Info(const HelpList &list, std::span<const HelpRow> rows, const char *label) {
  const char *usage = "<unknown>", *help = "<unknown>";
  if (label) {
    bool found = false;
    ForEachRow(list, rows, [&](const char *l, const char *u, const char *h) {
      if (!found && std::strcmp(l, label) == 0) {
        usage = u;
        help = h;
        found = true;
      }
    });
  }
  // Usage and help; the vector's closing empty text is the record's third.
  char **v = StringVectorNULL(2);
  if (!v) return nullptr;
  v[0] = DupText(usage);
  v[1] = DupText(help);
  return v;
}

char **Labels(const HelpList &list, std::span<const HelpRow> rows) {
  int32_t n = 0;
  ForEachRow(list, rows, [&](const char *, const char *, const char *) { ++n; });
  char **v = StringVectorNULL(n);
  if (!v) return nullptr;
  int32_t k = 0;
  ForEachRow(list, rows, [&](const char *l, const char *, const char *) {
    if (k < n) v[k++] = DupText(l);
  });
  SortStringVector(v);
  return v;
}

int32_t Size(const HelpList &list, std::span<const HelpRow> rows) {
  return list.count > 0 ? list.count : static_cast<int32_t>(rows.size());
}

char *InstructionText(int k) {
  const char *t = G().instructions[k];
  return DupText(t ? t : "");
}

}  // namespace

std::span<const HelpRow> PredefinedFunctionRows() { return kPredefined; }
std::span<const HelpRow> EnvironmentFunctionRows() { return kEnvironment; }
std::span<const HelpRow> ProgrammingCommandRows() { return kProgramming; }

void FreeHelpList(HelpList *list) {
  if (!list) return;
  auto *n = static_cast<HelpNode *>(list->head);
  while (n) {
    HelpNode *next = n->next;
    WipeAndFree(n->key);
    FreeRecord(n->record);
    std::free(n);
    n = next;
  }
  list->head = list->tail = list->iterator = nullptr;
  list->count = 0;
}

void FillHelpLists(HelpList *predefined, HelpList *environment, HelpList *programming, HelpList *manuals,
                   const char *mainManual, const char *graphingManual) {
  if (predefined) Fill(predefined, kPredefined);
  if (environment) Fill(environment, kEnvironment);
  if (programming) Fill(programming, kProgramming);
  if (manuals) {
    FreeHelpList(manuals);
    // A manual's usage field holds the manual's own text.
    Append(manuals, HelpRow{"main manual", "> Main Manual <", "", ""}, mainManual ? mainManual : "");
    Append(manuals, HelpRow{"graphing manual", "> Graphing Manual <", "", ""}, graphingManual ? graphingManual : "");
  }
}

}  // namespace qvx

using namespace qvx;

extern "C" {

QVX_API char **GetPredefinedFunctionInfo(const char *label) noexcept {
  return Guard(static_cast<char **>(nullptr), [&] { return Info(G().predefinedFunctions, kPredefined, label); });
}
QVX_API char **GetEnvironmentFunctionInfo(const char *label) noexcept {
  return Guard(static_cast<char **>(nullptr), [&] { return Info(G().environmentFunctions, kEnvironment, label); });
}
QVX_API char **GetProgrammingCommandInfo(const char *label) noexcept {
  return Guard(static_cast<char **>(nullptr), [&] { return Info(G().programmingCommands, kProgramming, label); });
}
QVX_API char **GetPredefinedFunctionLabels(void) noexcept {
  return Guard(static_cast<char **>(nullptr), [&] { return Labels(G().predefinedFunctions, kPredefined); });
}
QVX_API char **GetEnvironmentFunctionLabels(void) noexcept {
  return Guard(static_cast<char **>(nullptr), [&] { return Labels(G().environmentFunctions, kEnvironment); });
}
QVX_API char **GetProgrammingCommandLabels(void) noexcept {
  return Guard(static_cast<char **>(nullptr), [&] { return Labels(G().programmingCommands, kProgramming); });
}
// The first look at the record may build the default one, which allocates.
QVX_API int32_t GetPredefinedFunctionListSize(void) noexcept {
  return Guard(int32_t{0}, [] { return Size(G().predefinedFunctions, kPredefined); });
}
QVX_API int32_t GetEnvironmentFunctionListSize(void) noexcept {
  return Guard(int32_t{0}, [] { return Size(G().environmentFunctions, kEnvironment); });
}
QVX_API int32_t GetProgrammingCommandListSize(void) noexcept {
  return Guard(int32_t{0}, [] { return Size(G().programmingCommands, kProgramming); });
}
QVX_API char *Instructions(void) noexcept {
  return Guard(static_cast<char *>(nullptr), [] { return InstructionText(0); });
}
QVX_API char *InstructionsGraphing(void) noexcept {
  return Guard(static_cast<char *>(nullptr), [] { return InstructionText(1); });
}
QVX_API char *InstructionsProgramming(void) noexcept {
  return Guard(static_cast<char *>(nullptr), [] { return InstructionText(2); });
}
QVX_API char *InstructionsFourier(void) noexcept {
  return Guard(static_cast<char *>(nullptr), [] { return InstructionText(3); });
}

}  // extern "C"
