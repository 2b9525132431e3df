// Stream form of the dictionary tree and of the key list.
//
// A tree is its size (written only when the walk starts at the tree's root),
// then every real node in pre-order as: int32 key length, the key bytes, the
// value as the tree's write callback puts it, int32 colour. Sentinels are not
// written. Pre-order with colours is an exact image of the tree: the reader
// rebuilds the same shape with a stack of open nodes and never rebalances.
// A list is a caller-given count, then each entry's key and value, no colour.
//
// Streams are trusted for content but not for bounds: a reader given short or
// random bytes stops at the first field the stream cannot supply, keeps the
// nodes it built (size counts exactly those) and reads nothing outside the
// buffer. Such a tree has no meaningful content, but it is well formed.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "common/boundary.h"
#include "libquorvex.h"
#include "persistence/memfile.h"
#include "persistence/rbst.h"

namespace {

void WriteKey(void *stream, StreamMode mode, const char *key) {
  qvx::StreamWriteText(stream, mode, key, std::strlen(key));
}

// Zeroes and frees a temporary key of known length (it may hold NUL bytes).
void WipeBlock(char *text, std::size_t length) {
  volatile char *p = text;
  for (std::size_t i = 0; i < length; ++i) p[i] = 0;
  std::free(text);
}

// Frees a value read for a node that could not be completed.
void DropValue(FreeValueFn f, void *value) {
  if (f && value) f(value);
}

}  // namespace

extern "C" {

QVX_API void RBSTWrite(RBST *tree, RBSTNode *root, void *stream, StreamMode mode) noexcept {
  if (!tree || !stream) return;
  if (root == tree->root) qvx::StreamWriteInt32(stream, mode, tree->size);
  if (!root) return;
  qvx::GuardVoid([&] {
    std::vector<RBSTNode *> stack;
    stack.reserve(64);
    stack.push_back(root);
    while (!stack.empty()) {
      RBSTNode *n = stack.back();
      stack.pop_back();
      if (qvx::IsSentinel(n)) continue;
      WriteKey(stream, mode, n->key);
      if (tree->write_value) tree->write_value(n->value, stream, mode);
      qvx::StreamWriteInt32(stream, mode, n->color);
      if (n->right) stack.push_back(n->right);
      if (n->left) stack.push_back(n->left);
    }
  });
}

QVX_API void RBSTRead(RBST *tree, void *stream, StreamMode mode) noexcept {
  if (!tree) return;
  if (tree->root) {
    if (tree->free_value) RBSTFreeValues(tree, tree->root);
    RBSTFreeNodes(tree, tree->root);
  }
  tree->size = 0;
  tree->root = qvx::NewSentinel(nullptr);
  if (!tree->root || !stream) return;
  int32_t count = 0;
  if (!qvx::StreamReadInt32(stream, mode, &count) || count < 1) return;
  qvx::PreorderBuilder builder(tree);
  for (int32_t i = 0; i < count; ++i) {
    int32_t length = 0;
    if (!qvx::StreamReadInt32(stream, mode, &length)) break;
    char *key = qvx::StreamReadTextBytes(stream, mode, length);
    if (!key) break;
    void *value = tree->read_value ? tree->read_value(stream, mode) : nullptr;
    int32_t color = 1;
    bool added = qvx::StreamReadInt32(stream, mode, &color) &&
                 builder.Add(key, static_cast<std::size_t>(length), value, color);
    WipeBlock(key, static_cast<std::size_t>(length));
    if (!added) {
      DropValue(tree->free_value, value);
      break;
    }
  }
}

QVX_API void KeyListWrite(KeyList *list, KeyListEntry *first, KeyListEntry *end, int32_t count, void *stream,
                          StreamMode mode) noexcept {
  if (!list || !stream) return;
  qvx::StreamWriteInt32(stream, mode, count);
  for (KeyListEntry *e = first; e && e != end; e = e->next) {
    WriteKey(stream, mode, e->key);
    if (list->write_value) list->write_value(e->value, stream, mode);
  }
}

QVX_API void KeyListRead(KeyList *list, void *stream, StreamMode mode) noexcept {
  if (!list) return;
  KeyListClear(list, 1);
  int32_t count = 0;
  if (!stream || !qvx::StreamReadInt32(stream, mode, &count) || count < 1) return;
  for (int32_t i = 0; i < count; ++i) {
    int32_t length = 0;
    if (!qvx::StreamReadInt32(stream, mode, &length)) break;
    char *key = qvx::StreamReadTextBytes(stream, mode, length);
    if (!key) break;
    void *value = list->read_value ? list->read_value(stream, mode) : nullptr;
    auto *e = static_cast<KeyListEntry *>(std::malloc(sizeof(KeyListEntry)));
    if (!e) {
      DropValue(list->free_value, value);
      qvx::WipeAndFree(key);
      break;
    }
    e->key = key;
    e->value = value;
    qvx::KeyListAppend(list, e);
  }
}

}  // extern "C"
