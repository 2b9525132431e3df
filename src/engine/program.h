// The programming layer of the engine: assignment and members, calls and
// blocks, statements and loops, the default function table and the built-in
// commands that act on scopes.
//
// Two facts a reader must know first:
//  * Nothing here parses. A statement is text; it is split at depth 0 each
//    time it runs, and the pieces are views into the text of the caller,
//    which stays alive (and unchanged) for as long as a loop runs.
//  * A function body runs in the caller's scope, not in a scope of its own.
//    A frame is the call depth (`scopeDepth`) plus the names it adds:
//    parameters under frame names (the parameter's name with bytes of value 1
//    appended until it is free), shadows of outer variables that the body
//    writes (the name behind `depth` bytes of value 3), and its return key
//    ("return", the frame suffix, a last byte 2). None of these can be typed,
//    and the frame removes all of them when it ends.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "engine/evaluate.h"
#include "engine/normalise.h"
#include "objects/environment.h"
#include "objects/object.h"

namespace qvx {

// ---------------------------------------------------------------------------
// Assignment and member access (assign.cpp).

// 0 no member form, 1 a chain ending in a member ("a.b"), 2 a chain whose
// last part is a range ("a..b"). Facts not computed may be left empty.
int32_t TestMemberForm(std::string_view text, Facts facts = {});

// The value of a name seen from `env`: shadows of the current frame first,
// then the scope chain (literals live in the top level). An unbound name
// gives a new algebraic object of its text (owned); a private member seen
// from outside gives ">invalid_object<" (owned).
Object *LookUpVariable(std::string_view name, Environment *env, int32_t *owned);

// Runs `left=right`; returns the status byte (0 failed, 1 done).
uint8_t AssignStatement(std::string_view left, std::string_view right, Environment *env);
// `a.b=...`, `a.f(x)=...`, `a(1)(2)=...`: status byte.
uint8_t AssignMember(std::string_view left, std::string_view right, Environment *env);

// count 1: head and the rest after the first depth-0 "."; count -1: holder
// text and the part after the last depth-0 ".". False if there is no ".".
bool SplitMemberChain(std::string_view text, int32_t count, std::string_view *first, std::string_view *second);

// Where a write to `name` lands: the scope, and the key in its objectTable
// (the name, a shadow key of the current frame, or the frame's return key).
// `existing` is the object under that key now, or null for a new entry.
struct AssignableSlot {
  Environment *scope = nullptr;
  std::string key;
  Object *existing = nullptr;
  bool isShadow = false;
  bool isNew = false;
};
// False when the name can't be written from `env` (a private member of
// another scope, a malformed name).
bool FindAssignableObject(std::string_view name, AssignableSlot *slot, Environment *env);

// The holder of the last name of a chain of plain names ("a.b.c" -> the
// object "a.b"), resolved in place through the member tables.
struct MemberHolder {
  Object *holder = nullptr;     // null when the head itself is the target
  Environment *table = nullptr; // the scope whose objectTable holds the last name
  int32_t found = 0;            // count of names that resolved
  std::string_view last;        // the last name
};
int32_t ResolveMemberHolder(MemberHolder *out, std::string_view text, Environment *env);

// Equal tags (instances by class name), or algebraic with numeric / bignum.
bool HaveCompatibleTypes(const Object *a, const Object *b);

// "(1)(2,3)..." -> {count, i1, i2, ...}; empty when a part doesn't evaluate
// to a number.
std::vector<int32_t> ParseIndexList(std::string_view text, Environment *env);

// The reading side of a member chain: "a.b", "a.b.c", "a.f(2).g".
Object *EvaluateMemberChain(std::string_view text, Environment *env, int32_t *owned);

// True if a reader in `reader` may see the private member `member`.
bool CanReadPrivate(const Object *member, Environment *reader);

// Stores `value` under a plain name as an assignment does (value copied
// unless owned; an owned value is taken over). False on a refused name.
bool StoreVariable(std::string_view name, Object *value, int32_t owned, Environment *env);

// Turns a scalar (tags 1, 12, 13) into a mutant in place, or an instance
// into a mutant; other tags are left alone. True if the object changed.
bool MutateObject(Object *object);

// A literal sink that enters the literals of a text into the tables of the
// top-level scope `top` (script.cpp); the scope's existing literals are not
// offered for reuse.
LiteralSink NewLiteralSink(Environment *top);

// ---------------------------------------------------------------------------
// Calls and blocks (calls.cpp).

// A parsed call: name, argument texts and (when evaluated) their values.
struct CallText {
  std::string_view name;
  std::vector<std::string_view> texts;
  std::vector<Object *> values;   // values[0] is the list's sentinel (null)
  std::vector<uint8_t> owned;     // parallel to values
  ArgumentList list{0, nullptr, nullptr};  // count = arguments + 1, items = values
  CallText() = default;
  CallText(const CallText &) = delete;
  CallText &operator=(const CallText &) = delete;
  ~CallText();
  int32_t Count() const { return static_cast<int32_t>(texts.size()); }
};

// Splits "name(a,b)" and, with `evaluate` set, evaluates the arguments in
// `env`. False when the text isn't a call.
bool ParseCall(std::string_view text, int32_t allowThis, int32_t evaluate, CallText *call, Environment *env);
// Runs the call. `self` is the receiver of a method call (its scope is
// searched first and handed to a native handler), or null. Null means the
// call yielded nothing. `joinSplit` turns a split result into algebraic.
Object *RunCall(CallText *call, int32_t joinSplit, Environment *env, int32_t *owned, Object *self = nullptr);
// The value of a block ":...;" (what it assigns to `return`).
Object *RunBlock(std::string_view text, Environment *env, int32_t *owned);
// True if a body is one plain expression (no list, no assignment, no
// control form): such a body is the value of its block or function.
bool IsPlainExpressionBody(std::string_view body);
// Removes the return value of the frame of `env` (key with last byte 3 or 2).
void RemoveReturnObject(Environment *env);

// The function record a call of `name` with `count` arguments reaches from
// `env`: "name(count)" then "name()" in each scope up the chain.
FunctionRecord *FindFunction(std::string_view name, int32_t count, Environment *env);
// Replaces each name of `from` that stands as a whole name (not inside a
// longer name, not after a member dot, not inside a literal placeholder)
// by the name of `to` at the same index.
std::string SubstituteArguments(std::string_view text, std::span<const std::string> from,
                                std::span<const std::string> to);
// The return key of the innermost frame that `env` belongs to.
std::string ReturnKey(Environment *env, char lastByte);
// The scope that holds the return key for a write from `env`.
Environment *FrameScopeOf(Environment *env);
// Records a name that the current function frame created, so the frame
// removes it at exit.
void NoteFrameName(Environment *scope, const std::string &key);
// Limits of recursion.
inline constexpr int32_t kMaxCallDepth = 2000;

// ---------------------------------------------------------------------------
// Statements (statements.cpp). ExecuteStatement is declared in evaluate.h.

// Runs the items in order (enclosing parentheses stripped) until one gives
// status 0 or 2, which it passes up.
uint8_t ExecuteStatementList(std::span<const std::string_view> items, Environment *env);
uint8_t ExecuteIf(std::span<const std::string_view> items, Environment *env);
uint8_t ExecuteWhile(std::span<const std::string_view> items, Environment *env);
uint8_t ExecuteFor(std::span<const std::string_view> items, Environment *env);
// ":...;" with at least one enclosing block pair.
bool TestBlockForm(std::string_view text);
// The head of a colon form and its statements, or one piece.
std::vector<std::string_view> SplitHead(std::string_view text);
// The statements of a comma list, nested parenthesised lists flattened.
void SplitStatementList(std::string_view text, std::vector<std::string_view> *out);
// A statement whose head is "if", "while", "for" or "private".
bool IsControlStatement(std::string_view text);
// 1 if the condition's text is exactly "1", 0 otherwise.
bool ConditionHolds(std::string_view condition, Environment *env);
// The status a statement's value gives: 0 for a sentinel, 2 for "break".
uint8_t StatusOfValue(const Object *value);

// ---------------------------------------------------------------------------
// Default functions and method tables (defaults.cpp).

// One entry of a native table.
struct NativeEntry {
  const char *key;
  NativeHandler handler;  // null: the function is not available yet
};
// Fills the top-level default table (only missing keys are inserted).
void FillDefaultFunctions(Environment *env);
// Builds a method table into a new object's scope (no test for existing keys).
void FillMethodTable(Environment *env, std::span<const NativeEntry> entries);
// The method table of a type, by tag, for the constructors below the engine
// (types without a table get none).
void FillTypeMethods(Environment *env, int32_t tag);
// The method tables of the types, for their constructors.
std::span<const NativeEntry> BignumMethods();
std::span<const NativeEntry> MatrixMethods();
std::span<const NativeEntry> ArrayMethods();
std::span<const NativeEntry> StringMethods();
std::span<const NativeEntry> NodeMethods();
std::span<const NativeEntry> MapMethods();
std::span<const NativeEntry> ClassDefinitionMethods();
// Resets a scope to its defaults: a fresh seed, the default functions (at a
// top level), empty object and class tables, then the init script. Serves a
// new top level, RestoreDefaultAssignments and restore(). `keepLiterals`
// keeps the literal objects of a script that is still running.
void ResetToDefaults(Environment *env, bool keepLiterals);

// ---------------------------------------------------------------------------
// Built-in commands (builtins.cpp).

Object *DeleteCommand(ArgumentList *arguments, Environment *env, int32_t *owned);
Object *PrintCommand(ArgumentList *arguments, Environment *env, int32_t *owned);
Object *TypeCommand(ArgumentList *arguments, Environment *env, int32_t *owned);
Object *IntrospectCommand(ArgumentList *arguments, Environment *env, int32_t *owned);
Object *MutateCommand(ArgumentList *arguments, Environment *env, int32_t *owned);
Object *RestoreCommand(ArgumentList *arguments, Environment *env, int32_t *owned);
// Frees the objects that `delete` parked while a script ran.
void FlushDeletedObjects(Environment *env);
// Moves an object out of its table into the parking area of the top level.
bool ParkDeletedObject(Object *object);

}  // namespace qvx
