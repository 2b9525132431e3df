// History lists: what the user entered and what came back, in order.
//
// A doubly linked list that always holds two empty sentinel entries, one at
// each end (input "", output null); user entries lie between them, and the
// count includes the sentinels, so an empty history counts 2. Positions count
// from 0 at the first user entry. Every text is the list's and is wiped when
// freed.
#pragma once

#include <cstdint>

#include "libquorvex.h"

namespace qvx {

HistoryList *NewHistoryList();
void FreeHistoryList(HistoryList *list);
HistoryList *CopyHistoryList(const HistoryList *list);
void AppendToHistoryList(HistoryList *list, const char *input, const char *output);
// Removes the user entry at a position; out of range does nothing.
void RemoveHistoryListItem(HistoryList *list, int32_t position);
// Replaces the output of the last user entry, if there is one.
void SetLastHistoryListOutput(HistoryList *list, const char *output);
// Frees every entry; the record stays, so a host's pointer to it stays valid.
void ClearHistoryList(HistoryList *list);
// All entries as one text: input and output joined by two vertical tabs,
// entries by four (an empty output but the last given as one blank).
char *HistoryListToString(const HistoryList *list);
// The inputs (selector 0) or outputs of the user entries as a StringVector;
// moves the iterator to the end.
char **HistoryListElements(HistoryList *list, int32_t selector);

}  // namespace qvx
