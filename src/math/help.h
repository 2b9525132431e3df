// The help lists of the global record: one record a row, in linked lists.
//
// FillHelpLists runs once when the global record is built; the lists are
// read without locks afterwards and freed with FreeHelpList.
#pragma once

#include "common/globals.h"
#include "math/functions.h"

namespace qvx {

// One row of a help list. The record owns its four texts; `split` and
// `derive` copy the handlers of the function of that name (dispatch never
// goes through the list).
struct PredefinedFunctionRecord {
  char *prefix;  // "airya(", "if:;", "bin("
  char *help;
  char *usage;   // "airya(x)"; a manual's own text for the two manuals
  char *label;   // what a button shows: "airya", "polynome\nfit"
  SplitHandler split;
  DeriveHandler derive;
};

// Fills the four lists (any may be null) in the stored order; the two
// manual texts become the usage of the manual rows.
void FillHelpLists(HelpList *predefined, HelpList *environment, HelpList *programming, HelpList *manuals,
                   const char *mainManual, const char *graphingManual);
void FreeHelpList(HelpList *list);

}  // namespace qvx
