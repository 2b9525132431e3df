// The one process-wide record of the library.
//
// InitializeGlobals builds it once; every Environment reads it and nothing
// writes it while scripts run, so any number of threads may evaluate in
// separate scope trees. When a host evaluates without having called
// InitializeGlobals, a default record built on first use serves instead.
//
// The record sits on the ground floor so that every floor can read it; the
// engine, at the top, is the one that builds it. The object and scope records
// are only named here, never looked into.
#pragma once

#include <cstdint>
#include <string_view>

#include "common/syntax.h"
#include "libquorvex.h"

struct Object;

namespace qvx {

// The number of object tags: the operator dispatch table is square in it.
inline constexpr int32_t kObjectTagCount = 14;

// The three texts of a binary operation, for handlers that must answer with
// the text of the operation (a division by zero stays as its text).
struct OperationTexts {
  std::string_view left;
  std::string_view right;
  std::string_view whole;
};

// Handler of one cell of the operator dispatch table: gets both operands
// (borrowed), the operator character and the scope; returns a new Object.
using BinaryHandler = Object *(*)(Object *left, Object *right, char op, Environment *env,
                                  const OperationTexts *texts);

// The evaluator as the floors below the engine reach it (objects/evaluator.h).
struct EvaluatorCalls;

// A list of help records: the three lists of the help texts.
struct HelpList {
  void *head, *tail, *iterator;
  FreeValueFn free;
  ReadValueFn read;
  WriteValueFn write;
  CopyValueFn copy;
  int32_t count;
};

struct Globals {
  int32_t platformCode;          // 666666 at start
  RBST typeMap;                  // value-tree type callbacks by label
  char *initScript;
  char *localPath;               // "./"
  char *instructions[4];         // general, graphing, programming, Fourier
  char *localOutPath;            // "./"
  HelpList predefinedFunctions;
  HelpList environmentFunctions;
  HelpList programmingCommands;
  Environment *scalarPrototype;  // holds eval(0), shared by all scalars
  BinaryHandler dispatch[kObjectTagCount][kObjectTagCount];
  SyntaxLists syntax;
  const EvaluatorCalls *evaluator;  // never null in a filled record
  int32_t plotOptions;           // QVX_PLOT_ bits, 0 at start: pictures as they always were
};

// The record in use (the host's, or the default one). Defined by the engine,
// which alone knows how to build every table the record holds.
const Globals &G();

}  // namespace qvx
