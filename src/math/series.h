// Functions of the language that run an expression many times: sum, prod,
// int and root, and the few number commands that sit beside them.
//
// Read functions.h first: each function here has an object handler (entered
// in the default table) and a split handler (the function on text), and a
// call whose arguments can't yet be reduced to numbers answers with its own
// call text, so that int(f(y),y,0,a) stays a value until `a` is known.
//
// What a reader must know first: nothing is compiled. Every sample binds the
// variable to a number and runs the expression text through the ordinary
// evaluator. A Sampler binds the variable once, in place of any value it had
// (that value is set aside and put back afterwards), and then only changes
// the number inside the bound object between samples, which keeps a sample
// at the cost of one evaluation of the text.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "libquorvex.h"
#include "math/algebra.h"
#include "math/functions.h"
#include "objects/environment.h"
#include "objects/object.h"

namespace qvx {

// The distinct symbols of an expression text that have no value seen from
// `env`, in order of first appearance. Names of calls, members after a dot,
// "i" and numbers are not symbols. The count of symbols that do have a value
// goes to *boundCount when it isn't null.
std::vector<std::string> CollectUnknowns(std::string_view expression, Environment *env,
                                         int32_t *boundCount = nullptr);

// Binds `variable` to a numeric object for the life of the sampler and
// evaluates expression texts at real values of it. A value the name had in
// the scope that holds it is set aside at construction and restored by the
// destructor; an expression that deletes or rebinds the name makes every
// later sample NaN instead of touching freed memory.
class Sampler {
 public:
  Sampler(Environment *env, std::string_view variable);
  ~Sampler();
  Sampler(const Sampler &) = delete;
  Sampler &operator=(const Sampler &) = delete;

  // False when no scope could take the binding.
  bool Ready() const { return object_ != nullptr; }
  // Takes the binding: until then the name is unbound (its old value set
  // aside), so that an expression can be read symbolically in it.
  void Bind();
  // The value of `text` at variable = x; NaN in a part that is not a number.
  Complex At(std::string_view text, double x);
  // The same for the text given by SetText (the common case).
  void SetText(std::string_view text) { text_.assign(text); }
  Complex At(double x) { return At(text_, x); }
  Environment *Scope() const { return env_; }
  bool Cancelled() const;

 private:
  bool Holds() const;

  Environment *env_ = nullptr;    // where expressions are evaluated
  Environment *holder_ = nullptr; // the scope whose table carries the binding
  std::string name_;
  std::string text_;
  Object *object_ = nullptr;      // the bound numeric object
  Object *saved_ = nullptr;       // the name's own value, set aside
  bool bound_ = false;
};

// Evaluates the expression at one real value of its first unknown (a constant
// expression is evaluated as it stands); NaN in a part that isn't a number.
Complex SampleAtReal(Environment *env, std::string_view expression, double value);

// n samples of the expression over its first unknown from x1 to x2, equally
// spaced, each abscissa passed through its 15-digit text as a typed number
// would be: a 1DC set (MatrixC(2, n): abscissas in the real parts of the
// first vector, values in the second; FreeMatrixC). Samples not reached
// because of a cancellation are NaN. Null for n < 1 or when memory runs out.
Complex **SampleOnGrid(int32_t n, Environment *env, std::string_view expression, double x1, double x2);

// Adaptive Simpson's rule on 256 equal panels of [a, b], each refined by
// bisection while its two halves disagree with the whole by more than
// 2*tolerance (relative); a panel narrower than 2^-16 of a first panel is
// dropped from the sum. The variable is the first unknown of the expression.
Complex AdaptiveSimpson(Environment *env, std::string_view expression, double a, double b, double tolerance);
Complex AdaptiveSimpson(Sampler &f, double a, double b, double tolerance);
// One panel [a, b] with its Simpson estimate `whole` and the values at both
// ends and the middle.
Complex AdaptiveSimpsonPanel(Sampler &f, double a, double b, double tolerance, Complex whole, Complex f0,
                             Complex f1, Complex fm, double minimumWidth);

// A grid that follows the expression from a to b (a < b), for root and peak
// searches: singular ends are moved inward by (b-a)*1e-6 until the
// expression is finite, embedded Runge-Kutta steps (Cash-Karp) of y' = f(x)
// place points where f bends, and a spline puts f on ten times as many
// uniform points as the smallest step fits into [a, b] (at most 100000). A
// 1DC set (FreeMatrixC), or null when b <= a or a value isn't finite.
Complex **BuildAdaptiveGrid(Environment *env, std::string_view expression, double a, double b);

// Real parts of a VectorC as a new Vector (FreeVector); length 0 for null.
double *ReV(const Complex *v);

// Split handlers ("f,n,i1,i2" etc.).
ComplexText SumSplit(std::string_view arguments, Environment *env);
ComplexText ProdSplit(std::string_view arguments, Environment *env);
ComplexText IntSplit(std::string_view arguments, Environment *env);
ComplexText RootSplit(std::string_view arguments, Environment *env);

// Object handlers.
Object *SumObject(ArgumentList *arguments, Environment *env, int32_t *owned);
Object *ProdObject(ArgumentList *arguments, Environment *env, int32_t *owned);
Object *IntObject(ArgumentList *arguments, Environment *env, int32_t *owned);
Object *RootObject(ArgumentList *arguments, Environment *env, int32_t *owned);
Object *PrimeFactorsObject(ArgumentList *arguments, Environment *env, int32_t *owned);
Object *HmsTimeObject(ArgumentList *arguments, Environment *env, int32_t *owned);

// The entries of this module for the predefined function table.
std::span<const PredefinedFunction> SeriesFunctions();

}  // namespace qvx
