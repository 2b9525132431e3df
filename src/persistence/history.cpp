// The history of a top-level scope: what the user entered and what came back.
//
// A doubly linked list that always holds two empty sentinel entries, one at
// each end (input "", output null); user entries lie between them, and the
// count includes the sentinels, so an empty history counts 2. Positions given
// to a host count from 0 at the first user entry.
#include <cstdlib>
#include <cstring>
#include <string>

#include "persistence/history.h"

#include "common/boundary.h"

namespace qvx {
namespace {

void FreeText(void *p) { WipeAndFree(static_cast<char *>(p)); }
void *CopyText(void *p) { return DupText(static_cast<const char *>(p)); }

HistoryItem *NewItem(const char *input, const char *output) {
  auto *i = static_cast<HistoryItem *>(std::calloc(1, sizeof(HistoryItem)));
  if (!i) return nullptr;
  i->input = DupText(input ? input : "");
  i->output = output ? DupText(output) : nullptr;
  return i;
}

void FreeItem(HistoryItem *i) {
  if (!i) return;
  WipeAndFree(i->input);
  WipeAndFree(i->output);
  std::free(i);
}

// Frees every entry and links two new sentinels into the same record, so a
// host's pointer to the list stays valid.
void RebuildSentinels(HistoryList *list) {
  for (HistoryItem *i = list->head; i;) {
    HistoryItem *next = i->next;
    FreeItem(i);
    i = next;
  }
  list->head = NewItem("", nullptr);
  list->tail = NewItem("", nullptr);
  if (list->head && list->tail) {
    list->head->next = list->tail;
    list->tail->prev = list->head;
  }
  list->iterator = nullptr;
  list->count = 2;
}

// The user entry at a position, or null.
HistoryItem *ItemAt(HistoryList *list, int32_t position) {
  if (!list || !list->head || position < 0 || position > list->count - 3) return nullptr;
  HistoryItem *i = list->head->next;
  for (int32_t k = 0; i && k < position; ++k) i = i->next;
  return i == list->tail ? nullptr : i;
}

}  // namespace

HistoryList *NewHistoryList() {
  auto *list = static_cast<HistoryList *>(std::calloc(1, sizeof(HistoryList)));
  if (!list) return nullptr;
  list->free = FreeText;
  list->read = nullptr;  // the string stream callbacks of the value trees
  list->write = nullptr;
  list->copy = CopyText;
  RebuildSentinels(list);
  return list;
}

void FreeHistoryList(HistoryList *list) {
  if (!list) return;
  for (HistoryItem *i = list->head; i;) {
    HistoryItem *next = i->next;
    FreeItem(i);
    i = next;
  }
  std::free(list);
}

void AppendToHistoryList(HistoryList *list, const char *input, const char *output) {
  if (!list || !list->tail) return;
  HistoryItem *item = NewItem(input, output);
  if (!item) return;
  HistoryItem *before = list->tail->prev;
  item->prev = before;
  item->next = list->tail;
  if (before) before->next = item;
  list->tail->prev = item;
  ++list->count;
}

HistoryList *CopyHistoryList(const HistoryList *list) {
  HistoryList *copy = NewHistoryList();
  if (!copy || !list || !list->head) return copy;
  for (HistoryItem *i = list->head->next; i && i != list->tail; i = i->next)
    AppendToHistoryList(copy, i->input, i->output);
  return copy;
}


void RemoveHistoryListItem(HistoryList *list, int32_t position) {
  if (!list || list->count <= 2) return;
  HistoryItem *i = ItemAt(list, position);
  if (!i) return;
  if (list->iterator == i) list->iterator = i->next;
  i->prev->next = i->next;
  i->next->prev = i->prev;
  FreeItem(i);
  --list->count;
}

void SetLastHistoryListOutput(HistoryList *list, const char *output) {
  if (!list || list->count <= 2 || !list->tail) return;
  HistoryItem *last = list->tail->prev;
  if (!last || last == list->head) return;
  WipeAndFree(last->output);
  last->output = output ? DupText(output) : nullptr;
}

void ClearHistoryList(HistoryList *list) {
  if (list) RebuildSentinels(list);
}

char *HistoryListToString(const HistoryList *list) {
  std::string out;
  if (list && list->head) {
    for (HistoryItem *i = list->head->next; i && i != list->tail; i = i->next) {
      const bool last = i->next == list->tail;
      out += i->input ? i->input : "";
      out += "\v\v";
      const char *o = i->output ? i->output : "";
      if (last) {
        out += o;
      } else {
        out += *o ? o : " ";
        out += "\v\v\v\v";
      }
    }
  }
  char *text = DupText(out.data(), out.size());
  WipeString(out);
  return text;
}

char **HistoryListElements(HistoryList *list, int32_t selector) {
  const int32_t n = list && list->count > 2 ? list->count - 2 : 0;
  char **v = StringVectorNULL(n);
  if (!v) return nullptr;
  int32_t k = 0;
  if (list && list->head) {
    for (HistoryItem *i = list->head->next; i && i != list->tail && k < n; i = i->next, ++k) {
      // An empty text would end the vector: it is given as one blank, as in
      // EnvironmentHistoryToString.
      const char *text = selector == 0 ? i->input : i->output;
      v[k] = DupText(text && *text ? text : " ");
    }
    list->iterator = list->tail;
  }
  for (; k < n; ++k) v[k] = DupText(" ");
  return v;
}

}  // namespace qvx
