// The history exports: the history list of a scope, as a host reads and
// edits it. The list itself lives with the persistence code.
#include "common/boundary.h"
#include "libquorvex.h"
#include "objects/environment.h"
#include "persistence/history.h"

using namespace qvx;

extern "C" {

QVX_API HistoryList *GetHistory(Environment *env) noexcept { return env ? env->history : nullptr; }

QVX_API void AppendHistoryItem(Environment *env, const char *input, const char *output) noexcept {
  if (env) AppendToHistoryList(env->history, input, output);
}

QVX_API void RemoveHistoryItem(Environment *env, int32_t position) noexcept {
  if (env) RemoveHistoryListItem(env->history, position);
}

QVX_API void SetLastHistoryItemOutput(Environment *env, const char *output) noexcept {
  if (env) SetLastHistoryListOutput(env->history, output);
}

QVX_API void ClearEnvironmentHistory(Environment *env) noexcept {
  if (!env) return;
  if (!env->history) env->history = NewHistoryList();
  else ClearHistoryList(env->history);
}

QVX_API void ReinitializeHistory(Environment *env) noexcept {
  ClearEnvironmentHistory(env);
  if (env && env->history) env->history->iterator = env->history->head;
}

QVX_API void HistoryIteratorSeekEnd(Environment *env) noexcept {
  if (env && env->history) env->history->iterator = env->history->tail;
}

QVX_API void ClearEnvironmentHistoryEntry(HistoryItem *item) noexcept {
  if (!item) return;
  WipeAndFree(item->input);
  WipeAndFree(item->output);
  item->input = nullptr;
  item->output = nullptr;
}

QVX_API char *EnvironmentHistoryToString(Environment *env) noexcept {
  return Guard(static_cast<char *>(nullptr), [&] { return HistoryListToString(env ? env->history : nullptr); });
}

QVX_API char **EnvironmentHistoryElementsToStringVector(Environment *env, int32_t selector) noexcept {
  return Guard(static_cast<char **>(nullptr),
               [&] { return HistoryListElements(env ? env->history : nullptr, selector); });
}

}  // extern "C"
